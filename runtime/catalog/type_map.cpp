// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/type_map.h"

#include "runtime/catalog/named_entry.h"
#include "runtime/handle/handle.h"

namespace tarn::runtime {

void type_map_insert(kel_handle *handle, const char *luid_text, kel_type_info_copy *copy) {
    void *&types = store_of(handle).header->types;
    if (NamedEntry *entry = find_named(types, luid_text)) {
        announced_set(handle, KEL_TX_NONE, entry->value, static_cast<void *>(copy));
    } else {
        add_named(handle, &types, luid_text, copy);
    }
}

kel_type_info_copy *type_map_lookup(const kel_store &store, const char *luid_text) {
    const NamedEntry *entry = find_named(store.header->types, luid_text);
    return entry != nullptr ? static_cast<kel_type_info_copy *>(entry->value) : nullptr;
}

}  // namespace tarn::runtime
