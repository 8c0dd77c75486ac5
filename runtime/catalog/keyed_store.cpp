// SPDX-License-Identifier: Apache-2.0
// The keyed store: texts to addresses, by which a process finds what another one
// made. Its services get no transaction: their changes are at once permanent.
#include <cerrno>

#include "runtime/base/error_text.h"
#include "runtime/catalog/named_entry.h"
#include "runtime/handle/handle.h"
#include "tarnbase/runtime.h"

using namespace tarn::runtime;

namespace {

void *&keys_of(kel_handle *handle) { return store_of(handle).header->keys; }

}  // namespace

void *loam_get_key(void *arena, const char *key) {
    const NamedEntry *entry = find_named(keys_of(handle_of(arena)), key);
    return entry != nullptr ? entry->value : nullptr;
}

std::uint32_t loam_set_key(void *arena, const char *key, void *value) {
    kel_handle *handle = handle_of(arena);
    if (NamedEntry *entry = find_named(keys_of(handle), key)) {
        announced_set(handle, KEL_TX_NONE, entry->value, value);
        return 1;
    }
    if (add_named(handle, &keys_of(handle), key, value) != nullptr) return 1;
    fail(ENOMEM, "the store has no memory for the key %s", key);
    return 0;
}

void loam_delete_key(void *arena, const char *key) {
    kel_handle *handle = handle_of(arena);
    remove_named(handle, &keys_of(handle), key);
}

std::uint32_t loam_set_range(void *arena, void *address, std::uint64_t length, std::uint32_t) {
    // The whole store is in every process's view: a range needs no entry of its own.
    if (store_of(handle_of(arena)).contains(address, length)) return 1;
    fail(EINVAL, "the range of %llu bytes at %p is not in the store",
         static_cast<unsigned long long>(length), address);
    return 0;
}

void loam_perror() { ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): %s", kel_error_text()); }
