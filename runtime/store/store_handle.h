/* SPDX-License-Identifier: Apache-2.0 */
// From a handle to its store. handle/handle.h has the rest of a handle.
#ifndef TARNBASE_RUNTIME_STORE_STORE_HANDLE_H
#define TARNBASE_RUNTIME_STORE_STORE_HANDLE_H

#include "runtime/store/store.h"
#include "tarnbase/handle.h"

namespace tarnbase::runtime {

// Every handle of the embedded runtime is one.
struct StoreHandle : kel_handle {
    kel_store *store = nullptr;
    // The first `alloc_hook`. A program's own may get blocks from elsewhere.
    decltype(kel_handle::alloc_hook) alloc_in_store = nullptr;
};

inline kel_store &store_of(const kel_handle *handle) {
    return *static_cast<const StoreHandle *>(handle)->store;
}

// A handle is its own `arena`, `type_map` and `type_arena`: what a hook or a service gets
// as its first argument leads to the handle, and so to the hooks.
inline kel_handle *handle_of(void *arena) { return static_cast<kel_handle *>(arena); }

}  // namespace tarnbase::runtime

#endif
