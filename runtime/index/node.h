/* SPDX-License-Identifier: Apache-2.0 */
// The content of a tree's node. Nothing outside this folder uses it.
//
//   offset  size  member
//        0    16  children: the one that orders before the node, the one after
//       16     8  address of the parent, null in the root; the lowest two bits say
//                 which subtree is higher by one: 0 neither, 1 the first, 2 the second
//       24     8  address of the tree's anchor word; null outside any tree
#ifndef TARNBASE_RUNTIME_INDEX_NODE_H
#define TARNBASE_RUNTIME_INDEX_NODE_H

#include <cstdint>

#include "tarnbase/record.h"

namespace tarnbase::runtime {

enum Side : std::uint32_t { before = 0, after = 1 };

constexpr Side opposite(Side side) { return side == before ? after : before; }

// Which subtree of a node is higher.
enum class Balance : std::uintptr_t { even = 0, before_higher = 1, after_higher = 2 };

constexpr Balance higher(Side side) {
    return side == before ? Balance::before_higher : Balance::after_higher;
}

struct Node {
    Node *child[2];
    std::uintptr_t parent_and_balance;
    void **tree;

    Node *parent() const {
        return reinterpret_cast<Node *>(parent_and_balance & ~std::uintptr_t{3});
    }
    Balance balance() const { return static_cast<Balance>(parent_and_balance & 3); }
    Side side_under(const Node *above) const {
        return above->child[before] == this ? before : after;
    }
};
static_assert(sizeof(Node) == sizeof(kel_index_node));
static_assert(alignof(Node) == alignof(kel_index_node));

inline Node *to_node(kel_index_node *node) { return reinterpret_cast<Node *>(node); }
inline const Node *to_node(const kel_index_node *node) {
    return reinterpret_cast<const Node *>(node);
}
inline kel_index_node *to_public(Node *node) { return reinterpret_cast<kel_index_node *>(node); }
inline const kel_index_node *to_public(const Node *node) {
    return reinterpret_cast<const kel_index_node *>(node);
}

}  // namespace tarnbase::runtime

#endif
