/* SPDX-License-Identifier: Apache-2.0 */
// The seven hooks of a handle.
#ifndef TARNBASE_TESTS_SUPPORT_HANDLE_HOOKS_H
#define TARNBASE_TESTS_SUPPORT_HANDLE_HOOKS_H

#include "tarnbase/handle.h"

namespace tarn::test {

// Fills them with the static functions of a class.
template <typename Functions>
void set_hooks(kel_handle &handle) {
    handle.type_alloc_hook = &Functions::type_alloc;
    handle.alloc_hook = &Functions::alloc;
    handle.free_hook = &Functions::free;
    handle.write_log_hook = &Functions::write_log;
    handle.delta_log_hook = &Functions::delta_log;
    handle.type_map_insert_hook = &Functions::type_map_insert;
    handle.type_map_lookup_hook = &Functions::type_map_lookup;
}

inline void copy_hooks(const kel_handle &from, kel_handle &to) {
    to.type_alloc_hook = from.type_alloc_hook;
    to.alloc_hook = from.alloc_hook;
    to.free_hook = from.free_hook;
    to.write_log_hook = from.write_log_hook;
    to.delta_log_hook = from.delta_log_hook;
    to.type_map_insert_hook = from.type_map_insert_hook;
    to.type_map_lookup_hook = from.type_map_lookup_hook;
}

}  // namespace tarn::test

#endif
