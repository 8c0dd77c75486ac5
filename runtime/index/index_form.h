/* SPDX-License-Identifier: Apache-2.0 */
// The two forms of an index: a tree of its nodes, and pages that refer to them.
#ifndef TARNBASE_RUNTIME_INDEX_INDEX_FORM_H
#define TARNBASE_RUNTIME_INDEX_INDEX_FORM_H

#include "runtime/index/index_page.h"
#include "runtime/index/key_index.h"
#include "runtime/index/node.h"

namespace tarnbase::runtime {

// The anchor of the index that a node is in, or null. A node in pages has nothing else.
inline void **anchor_of(const kel_index_node *node) { return to_node(node)->tree; }
inline kel_index_node node_in(void **anchor) {
    kel_index_node made{};
    to_node(&made)->tree = anchor;
    return made;
}

// A new page without entries, or null.
IndexPage *make_page(const IndexStore &store, std::uint32_t level);

// Replaces the tree by pages, if there is memory for them. Otherwise the tree stays.
void make_pages_of_tree(const IndexStore &store, void **anchor, const KeyOrder &order);
// Replaces the pages by a tree, which needs no memory.
void make_tree_of_pages(const IndexStore &store, void **anchor);

}  // namespace tarnbase::runtime

#endif
