/* SPDX-License-Identifier: Apache-2.0 */
// The blocks of a store.
//
// Free bytes are zero, and an allocation takes the lowest free place. The allocator's data
// is therefore a function of the allocated blocks: rolling an allocation back restores
// every byte, and another process that repeats allocations and releases has the same bytes.
// The store's size is the end of the last page in use.
//
// This data is outside the blocks: sets of page numbers after the store's header, and a
// head at the start of each page in use (page.h).
#ifndef TARNBASE_RUNTIME_ARENA_ALLOCATOR_H
#define TARNBASE_RUNTIME_ARENA_ALLOCATOR_H

#include <array>
#include <cstdint>
#include <optional>

#include "runtime/arena/page.h"
#include "runtime/arena/page_set.h"
#include "runtime/arena/region.h"
#include "runtime/arena/size_class.h"

namespace tarnbase::runtime {

// Where the page sets begin in a store.
inline constexpr std::uint64_t page_sets_offset = 4096;

// The allocator's counts, in the store's header.
struct ArenaState {
    std::uint64_t blocks;       // blocks allocated
    std::uint64_t block_bytes;  // bytes of these, in their size classes
    std::uint64_t size;         // bytes from the base to the end of the last page in use
};

class Allocator {
 public:
    // Bytes at the start of a store of `capacity` bytes that are never allocated: up to the end
    // of the page sets.
    static std::uint64_t front_bytes(std::uint64_t capacity);

    Allocator() = default;
    // The allocator of a mapped store.
    Allocator(Region &region, ArenaState &state);
    // Marks all pages of a new store as free.
    void format();

    // A zeroed block of at least `size` bytes; null if there is no space.
    void *allocate(std::uint64_t size);
    // Zeroes and frees a block. False: it is no allocated block.
    bool release(void *block);
    // Begins to load what the release of a block will read.
    void prefetch(const void *block) const {
        const std::ptrdiff_t offset = static_cast<const char *>(block) - region_->base();
        __builtin_prefetch(page_at(static_cast<std::uint64_t>(offset) / page_size));
        __builtin_prefetch(block, 1);
    }
    // Bytes of the pages in use in which nothing is allocated.
    std::uint64_t free_bytes() const;
    bool is_allocated(const void *block) const { return locate(block).has_value(); }

    // Makes the sets of pages and the counts those that the pages' heads and bitmaps say, whatever
    // they are now. Requires: the state's size is at most what is mapped.
    void recover();

    // Allocates the block that another process got at `offset`, with all of its `size` bytes.
    // False: there is no such block, or it isn't free.
    bool claim(std::uint64_t offset, std::uint64_t size);

    // The place of a block: its offset from the base, and all of its bytes.
    struct Extent {
        std::uint64_t offset;
        std::uint64_t size;
    };
    // The allocated block that contains a byte, anywhere in it.
    std::optional<Extent> find(std::uint64_t offset) const;

    // The allocator's data, for a check. `page` needs a number below the number of pages.
    const PageSet &with_free_slot(std::uint32_t size_class) const {
        return with_free_slot_[size_class];
    }
    const PageSet &free_pages() const { return free_; }
    const PageSet &heads() const { return heads_; }
    const Page *page(std::uint64_t number) const { return page_at(number); }

 private:
    // The place of an allocated block. A large block has slot 0.
    struct Place {
        Page *page;
        std::uint32_t slot;
    };

    std::optional<Place> locate(const void *block) const;
    Page *allocate_run(PageKind kind, std::uint64_t pages);
    Page *take_run(PageKind kind, std::uint64_t first, std::uint64_t pages);
    Page *take_small_page(std::uint64_t number, std::uint32_t size_class);
    void take_slot(Page *page, std::uint32_t slot);
    bool claim_small(std::uint64_t offset, std::uint32_t size_class);
    bool claim_large(std::uint64_t offset, std::uint64_t size);
    void release_run(Page *page, std::uint64_t dirty);
    void discard_groups(std::uint64_t first, std::uint64_t end);
    void *allocate_small(std::uint32_t size_class);
    void *allocate_large(std::uint64_t size);
    void release_small(Page *page, std::uint32_t slot);
    bool grow_to(std::uint64_t end);
    void shrink();
    std::uint64_t recover_page(std::uint64_t number);
    bool recover_small(Page *page);

    // Whether a page's head is one of a large block whose bytes are mapped.
    bool is_large(const Page *page) const;
    Page *page_at(std::uint64_t number) const;
    std::uint64_t number_of(const Page *page) const;

    Region *region_ = nullptr;
    ArenaState *state_ = nullptr;
    std::uint64_t front_ = 0;                               // bytes before the first page
    std::array<PageSet, size_class_count> with_free_slot_;  // pages of small blocks
    PageSet free_;                                          // pages not in use
    PageSet heads_;                                         // pages that begin with a head
};

}  // namespace tarnbase::runtime

#endif
