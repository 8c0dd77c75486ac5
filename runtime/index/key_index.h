/* SPDX-License-Identifier: Apache-2.0 */
// The index of a table's records, whose nodes are inside them. Its root is the anchor word, whose
// address identifies it: it must not move.
//
// A small index is a tree of its nodes (tree.h). A larger one, if more is known about its order
// than the comparison (key_order.h), is a B+tree: pages with a digest of each key, so that a search
// compares only with nodes of an equal digest. Pages are blocks of the store. If there is no memory
// for one, the index becomes a tree again, so that an insertion never fails.
//
// The key of a node must not be changed while it is in the index. If it is, a search may miss the
// node, but steps from it, its removal and searches for other keys work.
#ifndef TARNBASE_RUNTIME_INDEX_KEY_INDEX_H
#define TARNBASE_RUNTIME_INDEX_KEY_INDEX_H

#include <cstdint>

#include "runtime/base/announce.h"
#include "runtime/index/block_allocator.h"
#include "runtime/index/tree.h"

namespace tarnbase::runtime {

// What edits of an index need. A log without a handle is for an index in the process's own memory:
// nothing is announced.
struct IndexStore {
    WriteLog log;
    BlockAllocator &allocator;
};

// Inserts `node`, whose content doesn't matter. False: an equal one is in the index already.
bool index_insert(const IndexStore &store, void **anchor, kel_index_node *node, Compare compare);
// Removes this very node and zeroes it. False: it isn't in this index.
bool index_remove(const IndexStore &store, void **anchor, kel_index_node *node, Compare compare);

// `root` is the value of the anchor word.
kel_index_node *index_find(void *root, const kel_index_node *probe, Compare compare);
kel_index_node *index_first(void *root);
kel_index_node *index_last(void *root);
// The nodes that order next after and before `node`, which need not be in the index. Its present
// key decides, even if it was changed while the node was in the index.
kel_index_node *index_next(void *root, const kel_index_node *node, Compare compare);
kel_index_node *index_previous(void *root, const kel_index_node *node, Compare compare);

// Visits all nodes in order until a visit returns nonzero. A visit may remove and free the node
// that it is given, and insert others. Returns the last visit's result.
std::uint32_t index_walk(void *root, Visit visit, void *context);

}  // namespace tarnbase::runtime

#endif
