// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/keyed_store.h"

#include <cerrno>

#include "runtime/base/error_text.h"
#include "runtime/catalog/named_entry.h"
#include "runtime/store/store_handle.h"

namespace tarnbase::runtime {

void *key_value(const kel_handle *handle, const char *key) {
    const NamedEntry *entry = find_named(store_of(handle).header->keys, key);
    return entry != nullptr ? entry->value : nullptr;
}

bool set_key(kel_handle *handle, const char *key, void *value) {
    if (set_named(handle, &store_of(handle).header->keys, key, value)) return true;
    fail(ENOMEM, "the store has no memory for the key %s", key);
    return false;
}

void remove_key(kel_handle *handle, const char *key) {
    remove_named(handle, &store_of(handle).header->keys, key);
}

}  // namespace tarnbase::runtime
