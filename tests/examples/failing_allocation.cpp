// SPDX-License-Identifier: Apache-2.0
//
// Linked into a program, makes its allocation number $FAIL_ALLOCATION fail, counted from 1 over
// all its handles, and then makes the file $FAIL_MARK.
#include <dlfcn.h>

#include <cstdlib>
#include <fstream>

#include "tarnbase/embedded.h"

namespace {

void *(*allocate)(void *arena, std::uint32_t tx_id, std::uint64_t size) = nullptr;
unsigned long until_failure = 0;

void *allocate_or_fail(void *arena, std::uint32_t tx_id, std::uint64_t size) {
    if (until_failure == 0 || --until_failure != 0) return allocate(arena, tx_id, size);
    const std::ofstream mark(std::getenv("FAIL_MARK"));
    return nullptr;
}

}  // namespace

// In place of the runtime's: a handle whose allocator fails once.
std::uint32_t kel_handle_create(kel_store *store, std::uint32_t store_types_enabled,
                                kel_handle **handle) {
    static const auto make =
        reinterpret_cast<decltype(&kel_handle_create)>(dlsym(RTLD_NEXT, "kel_handle_create"));
    const std::uint32_t status = make(store, store_types_enabled, handle);
    if (status != 0) return status;
    if (allocate == nullptr)
        until_failure = std::strtoul(std::getenv("FAIL_ALLOCATION"), nullptr, 10);
    allocate = (*handle)->alloc_hook;
    (*handle)->alloc_hook = allocate_or_fail;
    return 0;
}
