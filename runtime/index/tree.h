/* SPDX-License-Identifier: Apache-2.0 */
// The runtime's one ordered tree. Its nodes stand inside what it orders; its stores
// are announced through the handle's hook. `root` is the value of the anchor word, the
// address of which tells the tree apart from all others: it must not move.
//
// A null handle: a tree in the process's own memory, nothing is announced.
#ifndef TARNBASE_RUNTIME_INDEX_TREE_H
#define TARNBASE_RUNTIME_INDEX_TREE_H

#include <cstdint>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace tarn::runtime {

using Compare = e_avl_compare_function;
using Visit = e_avl_walk_function;

// The three results of a Compare.
inline constexpr std::uint32_t orders_before = 0;
inline constexpr std::uint32_t orders_equal = 1;
inline constexpr std::uint32_t orders_after = 2;

template <typename T>
constexpr std::uint32_t order_of(const T &a, const T &b) {
    return a < b ? orders_before : b < a ? orders_after : orders_equal;
}

// Links `node`, whose content doesn't matter. False: an equal one is there.
bool tree_insert(kel_handle *handle, std::uint32_t tx_id, void **anchor, kel_index_node *node,
                 Compare compare);
// Unlinks this very node and zeroes it. False: it isn't in this tree.
bool tree_remove(kel_handle *handle, std::uint32_t tx_id, void **anchor, kel_index_node *node);

kel_index_node *tree_find(void *root, const kel_index_node *probe, Compare compare);
kel_index_node *tree_first(void *root);
kel_index_node *tree_last(void *root);
// The nodes that order next after and before `node`, which need not be in the tree. What
// counts is its present key, also where that was changed while the node was linked.
kel_index_node *tree_next(void *root, const kel_index_node *node, Compare compare);
kel_index_node *tree_previous(void *root, const kel_index_node *node, Compare compare);

// Visits all nodes in order until a visit, which may unlink its node and free it,
// answers nonzero. Returns the last answer.
std::uint32_t tree_walk(void *root, Visit visit, void *context);

// Nodes in the tree, counted one by one.
std::uint64_t tree_size(void *root);

}  // namespace tarn::runtime

#endif
