// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/type_map.h"

#include "runtime/catalog/named_entry.h"
#include "runtime/store/store_handle.h"

namespace tarnbase::runtime {

void type_map_insert(kel_handle *handle, const char *luid_text, kel_type_info_copy *copy) {
    set_named(handle, &store_of(handle).header->types, luid_text, copy);
}

kel_type_info_copy *type_map_lookup(const kel_handle *handle, const char *luid_text) {
    const NamedEntry *entry = find_named(store_of(handle).header->types, luid_text);
    return entry != nullptr ? static_cast<kel_type_info_copy *>(entry->value) : nullptr;
}

}  // namespace tarnbase::runtime
