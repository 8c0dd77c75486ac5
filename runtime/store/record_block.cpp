// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/record_block.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "runtime/index/index_page.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

namespace {

constexpr const char *record_kind = "table_record";
constexpr const char *table_kind = "table";

constexpr std::uint64_t class_size(std::uint64_t size) {
    return size_classes[size_class_of(size)].size;
}

bool has_kind(const kel_type_info &type, const char *kind) {
    return type.magic == KEL_TYPE_INFO_MAGIC && std::strcmp(type.kind, kind) == 0;
}

// The record and table descriptors of the libraries that are loaded, in order of their addresses.
std::vector<const kel_type_info *> constant_types() {
    std::vector<const kel_type_info *> types;
    for (const kel_module_record *module = kel_module_tot_root.first; module != nullptr;
         module = module->link_next) {
        for (const kel_type_info *const *type = module->descriptors; *type != nullptr; ++type) {
            if (has_kind(**type, record_kind) || has_kind(**type, table_kind)) {
                types.push_back(*type);
            }
        }
    }
    std::sort(types.begin(), types.end());
    return types;
}

bool is_constant_type(const kel_type_info *type) {
    thread_local std::vector<const kel_type_info *> known;
    thread_local std::uint32_t modules = 0;
    if (modules != kel_module_tot_root.count) {
        known = constant_types();
        modules = kel_module_tot_root.count;
    }
    return std::binary_search(known.begin(), known.end(), type);
}

// Whether the type is a descriptor of that kind, whatever it is the address of.
bool is_of_kind(const Image &image, const kel_type_info *type, const char *kind) {
    if (!image.region.contains(type, sizeof *type)) {
        return is_constant_type(type) && has_kind(*type, kind);
    }
    const auto copy = image.allocator.find(image.offset_of(type));
    return copy && image.offset_of(type) == copy->offset && copy->size >= sizeof *type &&
           has_kind(*type, kind);
}

}  // namespace

bool BlockKinds::has_type(Allocator::Extent block, const char *kind,
                          const kel_type_info *&known) const {
    const kel_type_info *type = nullptr;
    std::memcpy(&type, image_.region.base() + block.offset, sizeof type);
    if (type == nullptr) return false;
    if (type != known && !is_of_kind(image_, type, kind)) return false;
    known = type;
    return true;
}

bool BlockKinds::is_record(Allocator::Extent block) {
    return (block.size == class_size(KEL_RECORD_SIZE) ||
            block.size == class_size(sizeof(kel_record))) &&
           has_type(block, record_kind, record_type_);
}

bool BlockKinds::is_table(Allocator::Extent block) {
    return block.size == class_size(sizeof(kel_table)) && has_type(block, table_kind, table_type_);
}

bool BlockKinds::is_index_page(Allocator::Extent block) const {
    std::uint64_t mark = 0;
    std::memcpy(&mark, image_.region.base() + block.offset, sizeof mark);
    return mark == index_page_mark;
}

bool is_record(const Image &image, Allocator::Extent block) {
    return BlockKinds(image).is_record(block);
}

}  // namespace tarnbase::runtime
