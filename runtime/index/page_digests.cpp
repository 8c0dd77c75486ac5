// SPDX-License-Identifier: Apache-2.0
#include "runtime/index/page_digests.h"

#include <algorithm>

namespace tarnbase::runtime {

namespace {

// Common bytes that a new prefix leaves out, so that the next keys of the page needn't shorten it.
constexpr std::uint32_t spare_bytes = 2;

std::uint32_t common_length(const unsigned char *a, const unsigned char *b, std::uint32_t most) {
    return static_cast<std::uint32_t>(std::mismatch(a, a + most, b).first - a);
}

KeyBytes key_of(const IndexPage &page, std::uint32_t slot, const KeyOrder &order) {
    KeyBytes key;
    order.encode(page.is_leaf() ? page.node(slot) : first_node(page.page(slot)), key);
    return key;
}

void announce_head_and_digests(WriteLog log, IndexPage &page) {
    announce_bytes(log, &page.count, sizeof(std::uint64_t));
    announce_bytes(log, page.prefix, longest_prefix);
    announce_bytes(log, page.digests, sizeof page.digests);
}

void set_prefix(IndexPage &page, const unsigned char *bytes, std::uint32_t skip) {
    std::memmove(page.prefix, bytes, skip);
    std::memset(page.prefix + skip, 0, longest_prefix - skip);
    page.skip = static_cast<std::uint8_t>(skip);
}

// The length of a new prefix. What the first and the last key begin with, all between begin with.
std::uint32_t best_skip(const KeyBytes &first, const KeyBytes &last) {
    const std::uint32_t common = common_length(first.data(), last.data(), longest_prefix);
    return common > spare_bytes ? common - spare_bytes : 0;
}

void fill_digests(IndexPage &page, const KeyOrder &order) {
    for (std::uint32_t slot = page.first_digest(); slot < page.count; ++slot) {
        page.digests[page.places[slot]] = number_of(key_of(page, slot, order).data() + page.skip);
    }
}

}  // namespace

void announce_bytes(WriteLog log, void *address, std::uint64_t length) {
    if (log.handle != nullptr && length != 0) log.announce(address, length);
}

void fit_prefix(WriteLog log, IndexPage &page, const KeyBytes &key) {
    const std::uint32_t common = common_length(key.data(), page.prefix, page.skip);
    if (common < page.skip) shorten_prefix(log, page, common);
}

void shorten_prefix(WriteLog log, IndexPage &page, std::uint32_t skip) {
    if (skip == page.skip) return;
    announce_head_and_digests(log, page);
    // The bytes that are put before each digest, and how far they shift it.
    const std::uint32_t moved = page.skip - skip;
    unsigned char bytes[longest_prefix + digest_bytes] = {};
    std::memcpy(bytes, page.prefix + skip, moved);
    const std::uint64_t front = number_of(bytes);
    for (std::uint64_t &digest : page.digests) {
        digest = moved >= digest_bytes ? front : front | digest >> 8 * moved;
    }
    set_prefix(page, page.prefix, skip);
}

std::uint32_t common_prefix(const IndexPage &a, const IndexPage &b) {
    return common_length(a.prefix, b.prefix, std::min(a.skip, b.skip));
}

void make_digests(IndexPage &page, const KeyOrder &order) {
    if (page.count <= page.first_digest()) return;
    const KeyBytes first = key_of(page, page.first_digest(), order);
    set_prefix(page, first.data(), best_skip(first, key_of(page, page.count - 1U, order)));
    fill_digests(page, order);
}

void improve_digests(WriteLog log, IndexPage &page, const KeyOrder &order) {
    constexpr std::uint32_t many = 8;  // one entry in eight
    std::uint32_t equal = 0;
    for (std::uint32_t slot = page.first_digest() + 1; slot < page.count; ++slot) {
        if (page.digest(slot - 1) == page.digest(slot)) ++equal;
    }
    if (equal <= page.count / many) return;
    const KeyBytes first = key_of(page, page.first_digest(), order);
    const std::uint32_t skip = best_skip(first, key_of(page, page.count - 1U, order));
    if (skip <= page.skip) return;
    announce_head_and_digests(log, page);
    set_prefix(page, first.data(), skip);
    fill_digests(page, order);
}

}  // namespace tarnbase::runtime
