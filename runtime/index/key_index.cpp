// SPDX-License-Identifier: Apache-2.0
#include "runtime/index/key_index.h"

#include <cstring>

#include "runtime/index/index_editor.h"
#include "runtime/index/index_form.h"
#include "runtime/index/index_search.h"
#include "runtime/index/positions.h"

namespace tarnbase::runtime {

namespace {

IndexPage *page_of(void *root) { return static_cast<IndexPage *>(root); }

Position next_to(Position at, Side side) {
    return side == after ? position_after(at) : position_before(at);
}

// The place of a key with the pages that lead to it. Returns whether an equal key is there.
bool find_path(void *root, const Target &target, Path &path) {
    path.levels = page_of(root)->level + 1U;
    return descend(page_of(root), target, [&](IndexPage *page, std::uint32_t slot) {
        path.steps[page->level] = {page, slot};
    });
}

// Whether a node orders between its neighbours: its key may have been changed in place.
bool is_in_order(Position at, const Target &target) {
    const IndexPage &leaf = *at.leaf;
    if (target.order() != nullptr && at.slot > 0 && at.slot + 1U < leaf.count &&
        std::memcmp(target.key().data(), leaf.prefix, leaf.skip) == 0) {
        const std::uint64_t digest = number_of(target.key().data() + leaf.skip);
        if (leaf.digest(at.slot - 1) < digest && digest < leaf.digest(at.slot + 1)) return true;
    }
    const kel_index_node *low = node_at(position_before(at));
    const kel_index_node *high = node_at(position_after(at));
    return (low == nullptr || target.compare_from(low) == orders_before) &&
           (high == nullptr || target.compare_with(high) == orders_before);
}

// The nearest node on that side of one whose key was changed in place.
Position nearest_to_misplaced(void *root, const Target &target, Side side) {
    const bool forward = side == after;
    const std::uint32_t wanted = forward ? orders_before : orders_after;
    IndexPage *leaf = forward ? first_leaf(page_of(root)) : last_leaf(page_of(root));
    for (Position at = {leaf, forward ? 0 : leaf->count - 1U}; at.leaf != nullptr;
         at = next_to(at, side)) {
        if (node_at(at) != target.node() && target.compare_with(node_at(at)) == wanted) return at;
    }
    return {};
}

// Finds the place of a node by the last search or step, or by another search. Returns whether a
// node with an equal key is there, which may be the node itself.
bool locate(void *root, const Target &target, Position &at) {
    if (const kel_index_node *node = target.node();
        anchor_of(node) != nullptr && find_last_position(node, at) && *anchor_of(node) == root) {
        return true;
    }
    return descend(page_of(root), target, [&](IndexPage *page, std::uint32_t slot) {
        at = {page, slot};
    });
}

// The neighbour of a node that need not be in the index and is never the result itself.
Position neighbour(void *root, const Target &target, Side side) {
    Position at{};
    const bool is_equal = locate(root, target, at);
    if (is_equal && node_at(at) == target.node()) {
        return is_in_order(at, target) ? next_to(at, side)
                                       : nearest_to_misplaced(root, target, side);
    }
    // Without an equal key, the place is that of the first greater one, or the end of the leaf.
    if (is_equal || side == before) {
        at = next_to(at, side);
    } else if (at.slot == at.leaf->count) {
        at = {at.leaf->next, 0};
    }
    return node_at(at) == target.node() && at.leaf != nullptr ? next_to(at, side) : at;
}

// The position some steps on, at most in the next leaf; no leaf if there are fewer records.
Position some_steps_on(Position at, std::uint32_t steps, Side side) {
    const std::uint32_t rest = side == after ? at.leaf->count - 1U - at.slot : at.slot;
    if (steps <= rest) return {at.leaf, side == after ? at.slot + steps : at.slot - steps};
    const std::uint32_t beyond = steps - rest - 1;
    IndexPage *leaf = side == after ? at.leaf->next : at.leaf->previous;
    if (leaf == nullptr || beyond >= leaf->count) return {};
    return {leaf, side == after ? beyond : leaf->count - 1U - beyond};
}

// Prefetches what later steps in this direction reach: a record, and at a leaf's first one the next
// leaf.
[[gnu::always_inline]] inline void prefetch_from(Position at, Side side) {
    constexpr std::uint32_t steps = 6;
    const Position ahead = some_steps_on(at, steps, side);
    if (ahead.leaf != nullptr) prefetch_key(ahead.leaf->entry(ahead.slot));
    if (at.slot != (side == after ? 0 : at.leaf->count - 1U)) return;
    prefetch_page(side == after ? at.leaf->next : at.leaf->previous);
}

kel_index_node *step(void *root, const kel_index_node *node, Compare compare, Side side) {
    const Position found = neighbour(root, Target(node, compare), side);
    if (found.leaf == nullptr) return nullptr;
    keep_last_position(found);
    prefetch_from(found, side);
    return node_at(found);
}

// A tree of this height or more takes more time than pages.
constexpr std::uint32_t least_height_of_pages = 5;

bool insert_in_tree(const IndexStore &store, void **anchor, kel_index_node *node, Compare compare) {
    bool is_higher = false;
    if (!tree_insert(store.log, anchor, node, compare, &is_higher)) return false;
    // If there is no memory for the pages, they are tried again when the tree grows by a level.
    const KeyOrder *order = is_higher ? order_of_keys(compare) : nullptr;
    if (order != nullptr && tree_height(*anchor) >= least_height_of_pages) {
        make_pages_of_tree(store, anchor, *order);
    }
    return true;
}

bool insert_in_pages(const IndexStore &store, void **anchor, kel_index_node *node,
                     Compare compare) {
    const Target target(node, compare);
    Path path;
    if (find_path(*anchor, target, path)) return false;
    if (target.order() != nullptr &&
        IndexEditor(store, anchor, *target.order()).insert(path, node, target.key())) {
        return true;
    }
    make_tree_of_pages(store, anchor);
    return insert_in_tree(store, anchor, node, compare);
}

// Removes the node that was found last without a search, if its leaf is all that changes.
bool remove_at_last_position(const IndexStore &store, void **anchor, const kel_index_node *node,
                             Compare compare) {
    Position at{};
    const KeyOrder *order = order_of_keys(compare);
    if (order == nullptr || !find_last_position(node, at)) return false;
    return IndexEditor(store, anchor, *order).remove_from_large(at);
}

}  // namespace

bool index_insert(const IndexStore &store, void **anchor, kel_index_node *node, Compare compare) {
    return is_page(*anchor) ? insert_in_pages(store, anchor, node, compare)
                            : insert_in_tree(store, anchor, node, compare);
}

bool index_remove(const IndexStore &store, void **anchor, kel_index_node *node, Compare compare) {
    if (!is_page(*anchor)) return tree_remove(store.log, anchor, node);
    if (anchor_of(node) != anchor) return false;
    if (remove_at_last_position(store, anchor, node, compare)) return true;
    const Target target(node, compare);
    Path path;
    // A node whose key was changed, or a copy of one, isn't where its key belongs.
    const bool is_at_its_place =
        find_path(*anchor, target, path) && path.leaf().page->node(path.leaf().slot) == node;
    if (!is_at_its_place && !find_address(page_of(*anchor), node, path)) return false;
    if (target.order() != nullptr) {
        IndexEditor(store, anchor, *target.order()).remove(path);
        return true;
    }
    make_tree_of_pages(store, anchor);
    return tree_remove(store.log, anchor, node);
}

kel_index_node *index_find(void *root, const kel_index_node *probe, Compare compare) {
    if (!is_page(root)) return tree_find(root, probe, compare);
    const Target target(probe, compare);
    Position at{};
    const bool is_found = descend(page_of(root), target, [&](IndexPage *page, std::uint32_t slot) {
        at = {page, slot};
    });
    if (!is_found) return nullptr;
    keep_last_position(at);
    return node_at(at);
}

kel_index_node *index_first(void *root) {
    return is_page(root) ? first_node(page_of(root)) : tree_first(root);
}

kel_index_node *index_last(void *root) {
    if (!is_page(root)) return tree_last(root);
    const IndexPage *leaf = last_leaf(page_of(root));
    return leaf->node(leaf->count - 1U);
}

kel_index_node *index_next(void *root, const kel_index_node *node, Compare compare) {
    return is_page(root) ? step(root, node, compare, after) : tree_next(root, node, compare);
}

kel_index_node *index_previous(void *root, const kel_index_node *node, Compare compare) {
    return is_page(root) ? step(root, node, compare, before) : tree_previous(root, node, compare);
}

std::uint32_t index_walk(void *root, Visit visit, void *context) {
    Walk walk(root);
    while (kel_index_node *node = walk.take()) {
        if (const std::uint32_t result = visit(node, context)) return result;
    }
    return 0;
}

}  // namespace tarnbase::runtime
