// SPDX-License-Identifier: Apache-2.0
#include "runtime/salvage/finds.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "runtime/arena/size_class.h"
#include "runtime/catalog/named_entry.h"
#include "runtime/check/arena.h"
#include "runtime/index/node.h"

namespace tarnbase::runtime {

namespace {

// The table whose tree a record's node says it is in.
kel_table *table_of_node(const kel_record *record) {
    const auto anchor = reinterpret_cast<std::uintptr_t>(to_node(&record->index_node)->tree);
    if (anchor == 0) return nullptr;
    return reinterpret_cast<kel_table *>(anchor - offsetof(kel_table, index_root));
}

constexpr std::uint64_t bytes_for(std::uint64_t size) {
    return size_classes[size_class_of(size)].size;
}

}  // namespace

void Finds::search(Descriptors &descriptors) {
    each_block(image_, [&](Allocator::Extent block) { look_at(block, descriptors); });
    // One of the links may be damaged, if the other one leads to a table that others have, too.
    for (kel_record *record : unsure_) {
        const kel_type_info *type = descriptors.readable(record->descriptor);
        if (type == nullptr || std::string_view(type->kind) != "table_record") continue;
        for (kel_table *table : {table_of_node(record), record->table}) {
            const auto found = records_.find(table);
            if (found == records_.end()) continue;
            found->second.push_back(record);
            break;
        }
    }
    for (auto &[table, records] : records_) std::sort(records.begin(), records.end());
}

void Finds::look_at(Allocator::Extent block, Descriptors &descriptors) {
    char *bytes = image_.region.base() + block.offset;
    if (take_name(bytes, block)) return;
    if (block.size >= sizeof(kel_type_info_copy)) {
        const auto *copy = reinterpret_cast<const kel_type_info_copy *>(bytes);
        const bool is_copy = copy->info.magic == KEL_TYPE_INFO_MAGIC;
        if (is_copy && !blocks_.is_claimed(block.offset) &&
            std::memchr(copy->info.luid_text, 0, sizeof copy->info.luid_text) != nullptr) {
            descriptors.add_copy(copy->info.luid_text, copy);
        }
    }
    // Longer blocks, such as the buckets of a map, may have addresses in the same places.
    if (block.size == bytes_for(KEL_RECORD_SIZE) || block.size == bytes_for(sizeof(kel_record))) {
        take_record(reinterpret_cast<kel_record *>(bytes));
    }
}

// Whether it is an entry of a tree of names, which is followed by its name.
bool Finds::take_name(const char *bytes, Allocator::Extent block) {
    if (block.size <= sizeof(NamedEntry)) return false;
    const auto *entry = reinterpret_cast<const NamedEntry *>(bytes);
    const char *text = reinterpret_cast<const char *>(entry + 1);
    if (entry->name != text || std::memchr(text, 0, block.size - sizeof *entry) == nullptr) {
        return false;
    }
    names_.emplace(entry->value, text);
    return true;
}

void Finds::take_record(kel_record *record) {
    kel_table *by_node = table_of_node(record);
    if (by_node == nullptr || record->table == nullptr) return;
    if (by_node == record->table) {
        if (blocks_.is_inside(by_node)) records_[by_node].push_back(record);
    } else if (blocks_.is_inside(by_node) || blocks_.is_inside(record->table)) {
        unsure_.push_back(record);
    }
}

}  // namespace tarnbase::runtime
