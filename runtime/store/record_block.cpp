// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/record_block.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t class_size(std::uint64_t size) {
    return size_classes[size_class_of(size)].size;
}

bool is_record_type(const kel_type_info &type) {
    return type.magic == KEL_TYPE_INFO_MAGIC && std::strcmp(type.kind, "table_record") == 0;
}

// The record descriptors of the libraries that are loaded, in order of their addresses.
std::vector<const kel_type_info *> constant_record_types() {
    std::vector<const kel_type_info *> types;
    for (const kel_module_record *module = kel_module_tot_root.first; module != nullptr;
         module = module->link_next) {
        for (const kel_type_info *const *type = module->descriptors; *type != nullptr; ++type) {
            if (is_record_type(**type)) types.push_back(*type);
        }
    }
    std::sort(types.begin(), types.end());
    return types;
}

bool is_constant_record_type(const kel_type_info *type) {
    thread_local std::vector<const kel_type_info *> known;
    thread_local std::uint32_t modules = 0;
    if (modules != kel_module_tot_root.count) {
        known = constant_record_types();
        modules = kel_module_tot_root.count;
    }
    return std::binary_search(known.begin(), known.end(), type);
}

}  // namespace

bool is_record(const Image &image, Allocator::Extent block) {
    if (block.size != class_size(KEL_RECORD_SIZE) && block.size != class_size(sizeof(kel_record))) {
        return false;
    }
    const kel_type_info *type = nullptr;
    std::memcpy(&type, image.region.base() + block.offset, sizeof type);
    if (!image.region.contains(type, sizeof *type)) return is_constant_record_type(type);
    const auto copy = image.allocator.find(image.offset_of(type));
    return copy && image.offset_of(type) == copy->offset && copy->size >= sizeof *type &&
           is_record_type(*type);
}

}  // namespace tarnbase::runtime
