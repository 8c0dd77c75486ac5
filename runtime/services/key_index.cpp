// SPDX-License-Identifier: Apache-2.0
// The key index of a table. The second anchor word is unused and stays zero.
#include "runtime/index/key_index.h"
#include "runtime/store/store_handle.h"

using namespace tarnbase::runtime;

std::uint32_t e_avl_insert(void *arena, std::uint32_t tx_id, void **root, kel_index_node *node,
                           std::uintptr_t *, e_avl_compare_function compare) {
    kel_handle *const handle = handle_of(arena);
    kel_store &store = store_of(handle);
    if (*root == nullptr) store.order_of_new_tree = compare;
    return index_insert({{handle, tx_id}, store}, root, node, compare) ? 1 : 0;
}

std::uint32_t e_avl_delete(void *arena, std::uint32_t tx_id, void **root, kel_index_node *node,
                           std::uintptr_t *, e_avl_compare_function compare) {
    kel_handle *const handle = handle_of(arena);
    return index_remove({{handle, tx_id}, store_of(handle)}, root, node, compare) ? 1 : 0;
}

kel_index_node *e_avl_search(void *root, const kel_index_node *probe,
                             e_avl_compare_function compare) {
    return index_find(root, probe, compare);
}

kel_index_node *e_avl_get_first(void *root) { return index_first(root); }

kel_index_node *e_avl_get_last(void *root) { return index_last(root); }

kel_index_node *e_avl_get_next(void *root, const kel_index_node *node,
                               e_avl_compare_function compare) {
    return index_next(root, node, compare);
}

kel_index_node *e_avl_get_prev(void *root, const kel_index_node *node,
                               e_avl_compare_function compare) {
    return index_previous(root, node, compare);
}

std::uint32_t e_avl_walk(void *root, e_avl_walk_function callback, void *context) {
    return index_walk(root, callback, context);
}
