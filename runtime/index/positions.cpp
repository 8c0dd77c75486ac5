// SPDX-License-Identifier: Apache-2.0
#include "runtime/index/positions.h"

#include <atomic>

#include "runtime/index/index_form.h"
#include "runtime/index/index_search.h"

namespace tarnbase::runtime {

namespace {

// How often memory was replaced, and how many pages were freed besides.
constinit std::atomic<std::uint64_t> replacements = 0;
constinit std::atomic<std::uint64_t> pages_freed = 0;

std::uint64_t generation() {
    return replacements.load(std::memory_order_relaxed) +
           pages_freed.load(std::memory_order_relaxed);
}

struct LastPosition {
    Position at;
    std::uint64_t generation;
};

constinit thread_local Walk *innermost_walk [[gnu::tls_model("initial-exec")]] = nullptr;
constinit thread_local LastPosition last_position [[gnu::tls_model("initial-exec")]] = {};

}  // namespace

// Calls `visit` with the position of each walk of this thread, if that is in the leaf.
struct WalksOfThread {
    template <typename Visit>
    static void each_in(const IndexPage *leaf, Visit visit) {
        for (Walk *walk = innermost_walk; walk != nullptr; walk = walk->outer_) {
            if (walk->next_.leaf == leaf) visit(walk->next_);
        }
    }
};

void forget_positions() { replacements.fetch_add(1, std::memory_order_relaxed); }

Walk::Walk(void *root)
    : replacements_(replacements.load(std::memory_order_relaxed)), outer_(innermost_walk) {
    if (is_page(root)) {
        move_to({first_leaf(static_cast<IndexPage *>(root)), 0});
    } else {
        node_ = tree_first(root);
    }
    innermost_walk = this;
}

Walk::~Walk() { innermost_walk = outer_; }

void Walk::move_to(Position next) {
    if (next.leaf != next_.leaf && next.leaf != nullptr) prefetch_page(next.leaf->next);
    next_ = next;
    node_ = node_at(next);
}

// Finds the next node in the present form of its index.
void Walk::find_again() {
    next_ = {};
    void **anchor = anchor_of(node_);
    void *root = anchor != nullptr ? *anchor : nullptr;
    Path path;
    if (root == nullptr) {
        node_ = nullptr;
    } else if (is_page(root)) {
        const bool is_found = find_address(static_cast<IndexPage *>(root), node_, path);
        move_to(is_found ? Position{path.leaf().page, path.leaf().slot} : Position{});
    }
}

kel_index_node *Walk::take() {
    const std::uint64_t now = replacements.load(std::memory_order_relaxed);
    if (now != replacements_ && node_ != nullptr) find_again();
    replacements_ = now;
    kel_index_node *const node = node_;
    if (next_.leaf != nullptr) {
        move_to(position_after(next_));
    } else if (node != nullptr) {
        node_ = tree_after(node);
    }
    return node;
}

void entry_inserted(const IndexPage *leaf, std::uint32_t slot) {
    WalksOfThread::each_in(leaf, [&](Position &next) {
        if (slot <= next.slot) ++next.slot;
    });
}

void entry_removed(const IndexPage *leaf, std::uint32_t slot) {
    WalksOfThread::each_in(leaf, [&](Position &next) {
        if (slot < next.slot) --next.slot;
    });
}

void entries_moved(const IndexPage *leaf, std::uint32_t first, Position to) {
    WalksOfThread::each_in(leaf, [&](Position &next) {
        if (next.slot >= first) next = {to.leaf, to.slot + next.slot - first};
    });
}

void page_freed() { pages_freed.fetch_add(1, std::memory_order_relaxed); }

bool find_last_position(const kel_index_node *node, Position &found) {
    const LastPosition &last = last_position;
    if (last.at.leaf == nullptr || last.generation != generation() ||
        last.at.slot >= last.at.leaf->count || last.at.leaf->node(last.at.slot) != node) {
        return false;
    }
    found = last.at;
    return true;
}

void keep_last_position(Position position) { last_position = {position, generation()}; }

}  // namespace tarnbase::runtime
