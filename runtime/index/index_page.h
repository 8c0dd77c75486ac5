/* SPDX-License-Identifier: Apache-2.0 */
// The pages of a key index. Only this folder, the check and the frames of a commit use them.
//
//   offset  size  member
//        0     8  mark: `index_page_mark`
//        8     2  entries in use, never 0
//       10     1  level: 0 a leaf, else one more than that of the pages below
//       11     1  skip: bytes of the prefix
//       12     4  0
//       16    16  a leaf: address of the next leaf and of the one before; null at the ends
//       32    32  prefix: the bytes that the keys of the page begin with, then zeros
//       64    58  places: those of the entries in order, then those that are free
//      122     6  0
//      128   464  digests: of the entry in each place the 8 bytes of its key after the prefix, as a
//                 number
//      592   928  entries, 16 bytes for each place
//
//   entry               0     8  of a leaf a node, of another page a page below
//                       8     8  of a leaf where the node's key is: KeyHints
//
// An entry stays in its place while others are inserted before it, so that an insertion changes few
// bytes.
//
// The key of a page below is that of its first node, or of one that was the first and has been
// removed. In a page that isn't a leaf, the first key need not begin with the prefix, and its
// digest is unused.
#ifndef TARNBASE_RUNTIME_INDEX_INDEX_PAGE_H
#define TARNBASE_RUNTIME_INDEX_INDEX_PAGE_H

#include <bit>
#include <cstdint>
#include <cstring>

#include "runtime/index/key_order.h"

namespace tarnbase::runtime {

// Not an address. The first word of every other block that an index or an object refers to is one.
inline constexpr std::uint64_t index_page_mark = 0xf17e5c0de81e55edULL;

struct PageEntry {
    void *address;
    KeyHints hints;
};

struct IndexPage {
    static constexpr std::uint32_t capacity = 58;

    std::uint64_t mark;
    std::uint16_t count;
    std::uint8_t level;
    std::uint8_t skip;
    std::uint32_t reserved;
    IndexPage *next;
    IndexPage *previous;
    unsigned char prefix[longest_prefix];
    std::uint8_t places[capacity];
    std::uint8_t unused[6];
    std::uint64_t digests[capacity];
    PageEntry entries[capacity];

    bool is_leaf() const { return level == 0; }
    bool is_full() const { return count == capacity; }
    // The first entry whose digest is used.
    std::uint32_t first_digest() const { return is_leaf() ? 0 : 1; }
    // Of the entries in order.
    std::uint64_t digest(std::uint32_t slot) const { return digests[places[slot]]; }
    const PageEntry &entry(std::uint32_t slot) const { return entries[places[slot]]; }
    kel_index_node *node(std::uint32_t slot) const {
        return static_cast<kel_index_node *>(entry(slot).address);
    }
    IndexPage *page(std::uint32_t slot) const {
        return static_cast<IndexPage *>(entry(slot).address);
    }
};
static_assert(sizeof(IndexPage) == 1520);

// More levels than the largest index has.
inline constexpr std::uint32_t most_index_levels = 16;

// Whether a root is a page, and not a node of a tree.
inline bool is_page(const void *root) {
    return root != nullptr && static_cast<const IndexPage *>(root)->mark == index_page_mark;
}

inline IndexPage *first_leaf(IndexPage *page) {
    while (!page->is_leaf()) page = page->page(0);
    return page;
}
inline IndexPage *last_leaf(IndexPage *page) {
    while (!page->is_leaf()) page = page->page(page->count - 1U);
    return page;
}
// The first node in the leaves below a page.
inline kel_index_node *first_node(IndexPage *page) { return first_leaf(page)->node(0); }

// Eight bytes as a number that orders as they do.
inline std::uint64_t number_of(const unsigned char *bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::little) word = __builtin_bswap64(word);
    return word;
}

}  // namespace tarnbase::runtime

#endif
