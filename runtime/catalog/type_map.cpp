// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/type_map.h"

#include <cstring>

#include "runtime/store/store_handle.h"

namespace tarnbase::runtime {

void type_map_insert(kel_handle *handle, const char *luid_text, kel_type_info_copy *copy) {
    set_named(handle, &store_of(handle).header->types, luid_text, copy);
}

kel_type_info_copy *type_map_lookup(const kel_handle *handle, const char *luid_text) {
    const NamedEntry *entry = find_named(store_of(handle).header->types, luid_text);
    return entry != nullptr ? static_cast<kel_type_info_copy *>(entry->value) : nullptr;
}

void FoundTypes::begin(std::uint32_t tx_id) {
    tx_id_ = tx_id;
    ++transactions_;
}

kel_type_info_copy *FoundTypes::lookup(const kel_handle *handle, std::uint32_t tx_id,
                                       const char *luid_text) {
    if (tx_id != tx_id_ || store_of(handle).transaction(tx_id) == nullptr)
        return type_map_lookup(handle, luid_text);
    const auto address = reinterpret_cast<std::uintptr_t>(luid_text);
    Found &found = found_[(address >> 3U ^ address >> 8U) % places];
    // Another text may be at the address by now.
    if (found.transaction != transactions_ || found.luid_text != luid_text ||
        std::strcmp(found.entry->name, luid_text) != 0) {
        const NamedEntry *entry = find_named(store_of(handle).header->types, luid_text);
        if (entry == nullptr) return nullptr;
        found = {transactions_, luid_text, entry};
    }
    return static_cast<kel_type_info_copy *>(found.entry->value);
}

}  // namespace tarnbase::runtime
