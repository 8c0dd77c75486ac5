// SPDX-License-Identifier: Apache-2.0
#include "runtime/index/index_search.h"

namespace tarnbase::runtime {

namespace {

// Without a branch, which could not be predicted: the mask is of ones if the half is skipped. gcc
// makes a branch of a conditional expression here.
std::uint32_t first_not_below(const IndexPage &page, std::uint32_t first, std::uint64_t digest) {
    std::uint32_t length = page.count - first;
    const std::uint8_t *base = page.places + first;
    while (length > 1) {
        const std::uint32_t half = length / 2;
        const bool is_below = page.digests[base[half - 1]] < digest;
        base += half & (0U - static_cast<std::uint32_t>(is_below));
        length -= half;
    }
    if (length == 1 && page.digests[*base] < digest) ++base;
    return static_cast<std::uint32_t>(base - page.places);
}

}  // namespace

Candidates candidates_in(const IndexPage &page, const Target &target) {
    const std::uint32_t first = page.first_digest();
    const std::uint32_t count = page.count;
    if (target.order() == nullptr) return {first, count};
    const unsigned char *key = target.key().data();
    const int prefix = std::memcmp(key, page.prefix, page.skip);
    if (prefix < 0) return {first, first};
    if (prefix > 0) return {count, count};
    const std::uint64_t digest = number_of(key + page.skip);
    const std::uint32_t from = first_not_below(page, first, digest);
    std::uint32_t end = from;
    while (end < count && page.digest(end) == digest) ++end;
    return {from, end};
}

bool find_address(IndexPage *page, const kel_index_node *node, Path &path) {
    for (std::uint32_t slot = 0; slot < page->count; ++slot) {
        path.steps[page->level] = {page, slot};
        if (page->is_leaf() ? page->node(slot) == node
                            : find_address(page->page(slot), node, path)) {
            return true;
        }
    }
    return false;
}

}  // namespace tarnbase::runtime
