/* SPDX-License-Identifier: Apache-2.0 */
// The runtime's one ordered tree. Its nodes are inside what it orders, its root is the
// anchor word. The anchor's address identifies the tree: it must not move. A log without a
// handle is for a tree in the process's own memory: nothing is announced.
#ifndef TARNBASE_RUNTIME_INDEX_TREE_H
#define TARNBASE_RUNTIME_INDEX_TREE_H

#include <cstdint>

#include "runtime/base/announce.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

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

// Links `node`, whose content doesn't matter. False: an equal one is linked already. Sets
// `*is_higher`, if given, to whether the tree has a level more.
bool tree_insert(WriteLog log, void **anchor, kel_index_node *node, Compare compare,
                 bool *is_higher = nullptr);
// Unlinks this very node and zeroes it. False: it isn't in this tree.
bool tree_remove(WriteLog log, void **anchor, kel_index_node *node);

// `root` is the value of the anchor word.
kel_index_node *tree_find(void *root, const kel_index_node *probe, Compare compare);
kel_index_node *tree_first(void *root);
kel_index_node *tree_last(void *root);
// The nodes that order next after and before `node`, which need not be in the tree. Its
// present key decides, even if it was changed while the node was linked.
kel_index_node *tree_next(void *root, const kel_index_node *node, Compare compare);
kel_index_node *tree_previous(void *root, const kel_index_node *node, Compare compare);

// The node after one that is in a tree, found by its links.
kel_index_node *tree_after(kel_index_node *node);

// Visits all nodes in order until a visit, which may unlink and free its node, returns
// nonzero. Returns the last visit's result.
std::uint32_t tree_walk(void *root, Visit visit, void *context);

// Nodes in the tree, counted one by one.
std::uint64_t tree_size(void *root);
std::uint32_t tree_height(void *root);

// Makes a tree of the `count` nodes that `next(context)` returns in order, whatever their content.
using NextNode = kel_index_node *(*)(void *context);
void tree_build(WriteLog log, void **anchor, std::uint64_t count, NextNode next, void *context);

}  // namespace tarnbase::runtime

#endif
