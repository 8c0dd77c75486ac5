/* SPDX-License-Identifier: Apache-2.0 */
// Pages: the units in which a store's memory is allocated. A free page is zero.
//
// Every page or run of pages in use begins with a head:
//
//   offset  size  member
//        0     4  kind: 1 small blocks, 2 a large block
//        4     4  size class of the small blocks
//        8     4  small blocks in use
//       12     4  pages of the run: 1 but for a large block
//       16        bitmap of the small blocks in use, 8 bytes for every 64
//
// The small blocks follow the head at the next multiple of 16, lowest slot first. A large
// block begins at byte 64.
#ifndef TARNBASE_RUNTIME_ARENA_PAGE_H
#define TARNBASE_RUNTIME_ARENA_PAGE_H

#include <cstdint>

namespace tarnbase::runtime {

inline constexpr std::uint64_t page_size = 65536;
inline constexpr std::uint64_t large_block_offset = 64;

enum class PageKind : std::uint32_t { small_blocks = 1, large_block = 2 };

struct Page {
    PageKind kind;
    std::uint32_t size_class;
    std::uint32_t used;
    std::uint32_t pages;

    std::uint64_t *bitmap() { return reinterpret_cast<std::uint64_t *>(this + 1); }
    const std::uint64_t *bitmap() const {
        return reinterpret_cast<const std::uint64_t *>(this + 1);
    }
};
static_assert(sizeof(Page) == 16);

}  // namespace tarnbase::runtime

#endif
