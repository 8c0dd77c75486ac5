// SPDX-License-Identifier: Apache-2.0
#include "runtime/catalog/keyed_store.h"

#include <cerrno>

#include "runtime/base/error_text.h"
#include "runtime/store/store_handle.h"
#include "tarnbase/runtime.h"

using namespace tarnbase::runtime;

void *loam_get_key(void *arena, const char *key) { return key_value(handle_of(arena), key); }

std::uint32_t loam_set_key(void *arena, const char *key, void *value) {
    return set_key(handle_of(arena), key, value) ? 1 : 0;
}

void loam_delete_key(void *arena, const char *key) { remove_key(handle_of(arena), key); }

std::uint32_t loam_set_range(void *arena, void *address, std::uint64_t length, std::uint32_t) {
    // Every process maps the whole store: a range in it needs no entry.
    if (store_of(handle_of(arena)).contains(address, length)) return 1;
    fail(EINVAL, "the range of %llu bytes at %p is not in the store",
         static_cast<unsigned long long>(length), address);
    return 0;
}

void loam_perror() { ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): %s", error_text()); }
