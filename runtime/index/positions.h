/* SPDX-License-Identifier: Apache-2.0 */
// Positions in the leaves of key indexes that a thread keeps between calls: one for each of its
// walks, whose visits may change the index, and one for its last search or step.
#ifndef TARNBASE_RUNTIME_INDEX_POSITIONS_H
#define TARNBASE_RUNTIME_INDEX_POSITIONS_H

#include <cstdint>

#include "runtime/index/index_page.h"

namespace tarnbase::runtime {

struct Position {
    IndexPage *leaf;
    std::uint32_t slot;
};

// Invalidates all positions. Called when memory was replaced: by a rollback, by what another
// process has committed, by another store, or by the other form of an index.
void forget_positions();

// A walk over an index. Edits by this thread adjust its position.
class Walk {
 public:
    explicit Walk(void *root);
    ~Walk();
    Walk(const Walk &) = delete;
    Walk &operator=(const Walk &) = delete;

    // The next node, or null.
    kel_index_node *take();

 private:
    friend struct WalksOfThread;
    void move_to(Position next);
    void find_again();

    Position next_{};                 // the position of `node_` in pages; unused in a tree
    kel_index_node *node_ = nullptr;  // the next node
    std::uint64_t replacements_;      // the number of replacements before `next_` was found
    Walk *outer_;                     // the walk in whose visit this one runs
};

// Edits call these to adjust the walks of the thread.
void entry_inserted(const IndexPage *leaf, std::uint32_t slot);
void entry_removed(const IndexPage *leaf, std::uint32_t slot);
// The entries from `first` on have become those from `to.slot` on of another leaf.
void entries_moved(const IndexPage *leaf, std::uint32_t first, Position to);
// A page is freed: its entries have moved.
void page_freed();

// The position that this thread's last search or step has found.
bool find_last_position(const kel_index_node *node, Position &found);
void keep_last_position(Position position);

// The positions after and before one; a null leaf at the ends.
inline Position position_after(Position at) {
    if (at.slot + 1 < at.leaf->count) return {at.leaf, at.slot + 1};
    return {at.leaf->next, 0};
}
inline Position position_before(Position at) {
    if (at.slot > 0) return {at.leaf, at.slot - 1};
    IndexPage *leaf = at.leaf->previous;
    return {leaf, leaf != nullptr ? leaf->count - 1U : 0};
}
inline kel_index_node *node_at(Position at) {
    return at.leaf != nullptr ? at.leaf->node(at.slot) : nullptr;
}

}  // namespace tarnbase::runtime

#endif
