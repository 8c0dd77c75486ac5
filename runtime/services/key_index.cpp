// SPDX-License-Identifier: Apache-2.0
// The key index of a table. The second anchor word is unused and stays zero.
#include "runtime/index/tree.h"
#include "runtime/store/store_handle.h"

using namespace tarnbase::runtime;

std::uint32_t e_avl_insert(void *arena, std::uint32_t tx_id, void **root, kel_index_node *node,
                           std::uintptr_t *, e_avl_compare_function compare) {
    kel_handle *const handle = handle_of(arena);
    if (*root == nullptr) store_of(handle).order_of_new_tree = compare;
    return tree_insert({handle, tx_id}, root, node, compare);
}

std::uint32_t e_avl_delete(void *arena, std::uint32_t tx_id, void **root, kel_index_node *node,
                           std::uintptr_t *, e_avl_compare_function) {
    return tree_remove({handle_of(arena), tx_id}, root, node);
}

kel_index_node *e_avl_search(void *root, const kel_index_node *probe,
                             e_avl_compare_function compare) {
    return tree_find(root, probe, compare);
}

kel_index_node *e_avl_get_first(void *root) { return tree_first(root); }

kel_index_node *e_avl_get_last(void *root) { return tree_last(root); }

kel_index_node *e_avl_get_next(void *root, const kel_index_node *node,
                               e_avl_compare_function compare) {
    return tree_next(root, node, compare);
}

kel_index_node *e_avl_get_prev(void *root, const kel_index_node *node,
                               e_avl_compare_function compare) {
    return tree_previous(root, node, compare);
}

std::uint32_t e_avl_walk(void *root, e_avl_walk_function callback, void *context) {
    return tree_walk(root, callback, context);
}
