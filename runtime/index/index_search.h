/* SPDX-License-Identifier: Apache-2.0 */
// Finding the place of a key in the pages of an index.
#ifndef TARNBASE_RUNTIME_INDEX_INDEX_SEARCH_H
#define TARNBASE_RUNTIME_INDEX_INDEX_SEARCH_H

#include <algorithm>
#include <array>
#include <cstdint>

#include "runtime/index/index_page.h"
#include "runtime/index/positions.h"

namespace tarnbase::runtime {

// A node that is searched for.
class Target {
 public:
    Target(const kel_index_node *node, Compare compare)
        : node_(node), compare_(compare), order_(order_of_keys(compare)) {
        if (order_ != nullptr) order_->encode(node, key_);
    }
    const kel_index_node *node() const { return node_; }
    const KeyOrder *order() const { return order_; }
    // Only if the order is known.
    const KeyBytes &key() const { return key_; }
    std::uint32_t compare_with(const kel_index_node *other) const { return compare_(node_, other); }
    // The same with the arguments swapped.
    std::uint32_t compare_from(const kel_index_node *other) const { return compare_(other, node_); }

 private:
    const kel_index_node *node_;
    Compare compare_;
    const KeyOrder *order_;
    KeyBytes key_;
};

// The pages from a leaf up to the root, each with the slot that leads down, or with the leaf's.
struct Path {
    struct Step {
        IndexPage *page;
        std::uint32_t slot;
    };

    std::array<Step, most_index_levels> steps;  // by level
    std::uint32_t levels = 0;

    Step &leaf() { return steps[0]; }
    bool is_root(std::uint32_t level) const { return level + 1 == levels; }
};

// Sets `path` to that of an address in the leaves below a page, found without comparing. False:
// the node isn't there.
bool find_address(IndexPage *page, const kel_index_node *node, Path &path);

// Any address may be prefetched. Inline: a call of a function that only prefetches has no effect
// that gcc 12 would keep it for.
[[gnu::always_inline]] inline void prefetch(std::uintptr_t address) {
    __builtin_prefetch(reinterpret_cast<const void *>(address));
}
// Prefetches a page that is about to be searched, all lines at once; it may be null.
[[gnu::always_inline]] inline void prefetch_page(const IndexPage *page) {
    const auto first = reinterpret_cast<std::uintptr_t>(page);
    for (std::size_t line = 0; line < sizeof *page; line += 64) prefetch(first + line);
}
// Prefetches what a comparison with the node of an entry reads.
[[gnu::always_inline]] inline void prefetch_key(const PageEntry &entry) {
    const auto node = reinterpret_cast<std::uintptr_t>(entry.address);
    const auto at = [&](std::int32_t hint) {
        return node + static_cast<std::uintptr_t>(std::int64_t{16} * hint);
    };
    prefetch(node);
    prefetch(node + sizeof(kel_index_node));
    prefetch(at(entry.hints.object));
    prefetch(at(entry.hints.text));
}

// Slots of a page: those before `first` have smaller keys than the target, those from `end` on
// greater ones.
struct Candidates {
    std::uint32_t first;
    std::uint32_t end;
};
// Found by prefix and digests, without reading a record.
Candidates candidates_in(const IndexPage &page, const Target &target);

// Where a key belongs: the first slot whose key isn't smaller, and whether it is equal.
struct Place {
    std::uint32_t slot;
    bool is_equal;
};

// The place among some slots, by comparing with `node_at(slot)`.
template <typename NodeAt>
Place place_among(Candidates slots, const Target &target, NodeAt node_at) {
    while (slots.first < slots.end) {
        const std::uint32_t middle = slots.first + (slots.end - slots.first) / 2;
        const std::uint32_t order = target.compare_with(node_at(middle));
        if (order == orders_equal) return {middle, true};
        if (order == orders_before) {
            slots.end = middle;
        } else {
            slots.first = middle + 1;
        }
    }
    return {slots.first, false};
}

// Descends from `root`, which isn't null. Returns whether the place in the leaf is one of an equal
// key. Calls `step(page, slot)` for each page, the leaf last.
template <typename Step>
bool descend(IndexPage *root, const Target &target, Step step) {
    IndexPage *page = root;
    while (!page->is_leaf()) {
        const Place place = place_among(candidates_in(*page, target), target,
                                        [&](auto slot) { return first_node(page->page(slot)); });
        const std::uint32_t slot = place.is_equal ? place.slot : place.slot - 1;
        step(page, slot);
        page = page->page(slot);
        prefetch_page(page);
    }
    const Place place = place_among(candidates_in(*page, target), target, [&](auto slot) {
        prefetch_key(page->entry(slot));
        return page->node(slot);
    });
    step(page, place.slot);
    return place.is_equal;
}

}  // namespace tarnbase::runtime

#endif
