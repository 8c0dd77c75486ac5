// SPDX-License-Identifier: Apache-2.0
#include "runtime/arena/allocator.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tarnbase::runtime {

namespace {

// A search in a large store reads pages all over it: in large ones, fewer of their addresses are
// unknown to the processor. A small store takes no more memory than it needs.
constexpr std::uint64_t bytes_in_usual_pages = 4ULL << 20;
// So many bytes before it takes the first one, the system is told that these will be large.
constexpr std::uint64_t large_pages_ahead = 1ULL << 20;

constexpr std::uint64_t set_count = size_class_count + 2;

constexpr std::uint64_t round_to_page(std::uint64_t bytes) {
    return (bytes + page_size - 1) / page_size * page_size;
}

char *block_at(Page *page, std::uint32_t slot) {
    const SizeClass &shape = size_classes[page->size_class];
    return reinterpret_cast<char *>(page) + shape.first + std::uint64_t{slot} * shape.size;
}

// The lowest free slot; the number of slots in a damaged page without one.
std::uint32_t lowest_free_slot(Page *page) {
    const std::uint32_t slots = size_classes[page->size_class].slots;
    std::uint32_t word = 0;
    while (word * 64 < slots && page->bitmap()[word] == ~0ULL) ++word;
    if (word * 64 >= slots) return slots;
    const auto bit = static_cast<std::uint32_t>(std::countr_one(page->bitmap()[word]));
    return std::min(word * 64 + bit, slots);
}

}  // namespace

std::uint64_t Allocator::front_bytes(std::uint64_t capacity) {
    return round_to_page(page_sets_offset +
                         set_count * 8 * PageSet::words_for(capacity / page_size));
}

Allocator::Allocator(Region &region, ArenaState &state)
    : region_(&region), state_(&state), front_(front_bytes(region.capacity())) {
    const std::uint64_t pages = region.capacity() / page_size;
    auto *words = reinterpret_cast<std::uint64_t *>(region.base() + page_sets_offset);
    const auto next_set = [&] {
        PageSet set(words, pages);
        words += PageSet::words_for(pages);
        return set;
    };
    for (PageSet &set : with_free_slot_) set = next_set();
    free_ = next_set();
    heads_ = next_set();
}

void Allocator::format() {
    free_.insert_range(front_ / page_size, region_->capacity() / page_size);
    state_->size = front_;
}

Page *Allocator::page_at(std::uint64_t number) const {
    return reinterpret_cast<Page *>(region_->base() + number * page_size);
}

bool Allocator::is_large(const Page *page) const {
    return page->kind == PageKind::large_block && page->pages != 0 &&
           region_->contains(page, page->pages * page_size);
}

std::uint64_t Allocator::number_of(const Page *page) const {
    return static_cast<std::uint64_t>(reinterpret_cast<const char *>(page) - region_->base()) /
           page_size;
}

// False: the process can't map that much.
bool Allocator::grow_to(std::uint64_t end) {
    if (end <= state_->size) return true;
    if (!region_->reach(end)) return false;
    if (end + large_pages_ahead > front_ + bytes_in_usual_pages)
        region_->use_large_pages(front_ + bytes_in_usual_pages);
    state_->size = end;
    return true;
}

// The pages at the end are free.
void Allocator::shrink() {
    const std::optional<std::uint64_t> last = heads_.last();
    const std::uint64_t end = last ? (*last + page_at(*last)->pages) * page_size : front_;
    state_->size = std::max(front_, std::min(end, state_->size));
    region_->discard(state_->size);
}

Page *Allocator::allocate_run(PageKind kind, std::uint64_t pages) {
    const std::optional<std::uint64_t> first = free_.first_run(pages);
    return first ? take_run(kind, *first, pages) : nullptr;
}

Page *Allocator::take_run(PageKind kind, std::uint64_t first, std::uint64_t pages) {
    if (!grow_to((first + pages) * page_size)) return nullptr;
    for (std::uint64_t i = 0; i < pages; ++i) free_.erase(first + i);
    heads_.insert(first);
    Page *page = page_at(first);
    page->kind = kind;
    page->pages = static_cast<std::uint32_t>(pages);
    return page;
}

void Allocator::release_run(Page *page, std::uint64_t dirty) {
    const std::uint64_t first = number_of(page);
    const std::uint64_t pages = page->pages;
    std::memset(static_cast<void *>(page), 0, dirty);
    heads_.erase(first);
    for (std::uint64_t i = 0; i < pages; ++i) free_.insert(first + i);
    if ((first + pages) * page_size == state_->size) {
        shrink();
    } else {
        discard_groups(first, first + pages);
    }
}

// Returns the memory of large runs of free pages among others.
void Allocator::discard_groups(std::uint64_t first, std::uint64_t end) {
    constexpr std::uint64_t group = PageSet::group;
    for (std::uint64_t page = first / group * group; page < end; page += group) {
        const std::uint64_t begin = page * page_size, bytes = group * page_size;
        if (begin < front_ || begin + bytes > state_->size || !free_.contains_group(page)) continue;
        region_->discard_zeros(begin, bytes);
    }
}

void *Allocator::allocate(std::uint64_t size) {
    return size <= largest_small_block ? allocate_small(size_class_of(size)) : allocate_large(size);
}

void *Allocator::allocate_small(std::uint32_t size_class) {
    Page *page = nullptr;
    if (const std::optional<std::uint64_t> number = with_free_slot_[size_class].first()) {
        page = page_at(*number);
    } else {
        const std::optional<std::uint64_t> free = free_.first();
        if (!free) return nullptr;
        page = take_small_page(*free, size_class);
        if (page == nullptr) return nullptr;
    }
    if (page->size_class != size_class) return nullptr;  // the page is damaged
    const std::uint32_t slot = lowest_free_slot(page);
    if (slot == size_classes[size_class].slots) return nullptr;
    take_slot(page, slot);
    return block_at(page, slot);
}

Page *Allocator::take_small_page(std::uint64_t number, std::uint32_t size_class) {
    Page *page = take_run(PageKind::small_blocks, number, 1);
    if (page == nullptr) return nullptr;
    page->size_class = size_class;
    with_free_slot_[size_class].insert(number);
    return page;
}

void Allocator::take_slot(Page *page, std::uint32_t slot) {
    const SizeClass &shape = size_classes[page->size_class];
    page->bitmap()[slot / 64] |= 1ULL << slot % 64;
    if (++page->used == shape.slots) with_free_slot_[page->size_class].erase(number_of(page));
    state_->blocks += 1;
    state_->block_bytes += shape.size;
}

void *Allocator::allocate_large(std::uint64_t size) {
    if (size > region_->capacity()) return nullptr;
    const std::uint64_t bytes = round_to_page(large_block_offset + size);
    Page *page = allocate_run(PageKind::large_block, bytes / page_size);
    if (page == nullptr) return nullptr;
    state_->blocks += 1;
    state_->block_bytes += bytes;
    return reinterpret_cast<char *>(page) + large_block_offset;
}

// Whether a page begins with the head of small blocks. Its count is made that of its bitmap.
bool Allocator::recover_small(Page *page) {
    if (page->kind != PageKind::small_blocks || page->size_class >= size_class_count) return false;
    const SizeClass &shape = size_classes[page->size_class];
    const std::uint32_t last = (shape.slots - 1) / 64;
    page->bitmap()[last] &= ~0ULL >> (63 - (shape.slots - 1) % 64);
    std::uint32_t used = 0;
    for (std::uint32_t word = 0; word <= last; ++word) {
        used += static_cast<std::uint32_t>(std::popcount(page->bitmap()[word]));
    }
    if (used == 0) return false;
    page->used = used;
    page->pages = 1;
    state_->blocks += used;
    state_->block_bytes += std::uint64_t{used} * shape.size;
    return true;
}

// Returns the number of pages that belong together.
std::uint64_t Allocator::recover_page(std::uint64_t number) {
    Page *page = page_at(number);
    if (page->kind == PageKind::large_block && page->pages != 0 &&
        page->pages <= state_->size / page_size - number) {
        heads_.insert(number);
        state_->blocks += 1;
        state_->block_bytes += page->pages * page_size;
        return page->pages;
    }
    if (recover_small(page)) {
        heads_.insert(number);
        if (page->used < size_classes[page->size_class].slots) {
            with_free_slot_[page->size_class].insert(number);
        }
        return 1;
    }
    const auto *bytes = reinterpret_cast<const char *>(page);
    // Another page isn't free either: what is free is zero.
    if (std::all_of(bytes, bytes + page_size, [](char byte) { return byte == 0; })) {
        free_.insert(number);
    }
    return 1;
}

void Allocator::recover() {
    std::memset(region_->base() + page_sets_offset, 0, front_ - page_sets_offset);
    state_->blocks = 0;
    state_->block_bytes = 0;
    const std::uint64_t end = state_->size / page_size;
    for (std::uint64_t number = front_ / page_size; number < end;) number += recover_page(number);
    free_.insert_range(end, region_->capacity() / page_size);
}

bool Allocator::claim(std::uint64_t offset, std::uint64_t size) {
    if (offset >= region_->capacity() || size > region_->capacity()) return false;
    return size <= largest_small_block ? claim_small(offset, size_class_of(size))
                                       : claim_large(offset, size);
}

bool Allocator::claim_small(std::uint64_t offset, std::uint32_t size_class) {
    const SizeClass &shape = size_classes[size_class];
    const std::uint64_t number = offset / page_size;
    const std::uint64_t inside = offset % page_size;
    if (inside < shape.first || (inside - shape.first) % shape.size != 0) return false;
    const auto slot = static_cast<std::uint32_t>((inside - shape.first) / shape.size);
    if (slot >= shape.slots) return false;
    Page *page = page_at(number);
    if (free_.contains(number)) {
        page = take_small_page(number, size_class);
        if (page == nullptr) return false;
    } else if (!heads_.contains(number) || page->kind != PageKind::small_blocks ||
               page->size_class != size_class || (page->bitmap()[slot / 64] >> slot % 64 & 1)) {
        return false;
    }
    take_slot(page, slot);
    return true;
}

bool Allocator::claim_large(std::uint64_t offset, std::uint64_t size) {
    const std::uint64_t first = offset / page_size;
    const std::uint64_t bytes = round_to_page(large_block_offset + size);
    const std::uint64_t pages = bytes / page_size;
    if (offset % page_size != large_block_offset) return false;
    if (pages > region_->capacity() / page_size - first) return false;
    for (std::uint64_t i = 0; i < pages; ++i) {
        if (!free_.contains(first + i)) return false;
    }
    if (take_run(PageKind::large_block, first, pages) == nullptr) return false;
    state_->blocks += 1;
    state_->block_bytes += bytes;
    return true;
}

std::uint64_t Allocator::free_bytes() const {
    const std::uint64_t free_pages = free_.count_below(state_->size / page_size);
    return state_->size - front_ - free_pages * page_size - state_->block_bytes;
}

std::optional<Allocator::Extent> Allocator::find(std::uint64_t offset) const {
    std::uint64_t number = offset / page_size;
    if (offset >= state_->size || free_.contains(number)) return std::nullopt;
    while (!heads_.contains(number)) {
        if (number-- == 0) return std::nullopt;
    }
    const Page *page = page_at(number);
    const std::uint64_t start = number * page_size;
    const std::uint64_t inside = offset - start;
    if (page->kind == PageKind::large_block) {
        if (!is_large(page)) return std::nullopt;
        const std::uint64_t end = page->pages * page_size;
        if (inside < large_block_offset || inside >= end) return std::nullopt;
        return Extent{start + large_block_offset, end - large_block_offset};
    }
    if (page->kind != PageKind::small_blocks || page->size_class >= size_class_count) {
        return std::nullopt;
    }
    const SizeClass &shape = size_classes[page->size_class];
    if (inside < shape.first || inside >= page_size) return std::nullopt;
    const auto slot = (static_cast<std::uint32_t>(inside) - shape.first) / shape.size;
    if (slot >= shape.slots || (page->bitmap()[slot / 64] >> slot % 64 & 1) == 0) {
        return std::nullopt;
    }
    return Extent{start + shape.first + std::uint64_t{slot} * shape.size, shape.size};
}

std::optional<Allocator::Place> Allocator::locate(const void *block) const {
    if (!region_->contains(block, 1)) return std::nullopt;
    const auto offset =
        static_cast<std::uint64_t>(static_cast<const char *>(block) - region_->base());
    const std::uint64_t number = offset / page_size;
    // Only the first page of a large block has a head.
    if (!heads_.contains(number)) return std::nullopt;
    Page *page = page_at(number);
    const std::uint64_t inside = offset % page_size;
    if (page->kind == PageKind::large_block) {
        if (inside != large_block_offset || !is_large(page)) return std::nullopt;
        return Place{page, 0};
    }
    if (page->kind != PageKind::small_blocks || page->size_class >= size_class_count) {
        return std::nullopt;
    }
    const SizeClass &shape = size_classes[page->size_class];
    if (inside < shape.first || (inside - shape.first) % shape.size != 0) return std::nullopt;
    const auto slot = static_cast<std::uint32_t>((inside - shape.first) / shape.size);
    if (slot >= shape.slots || (page->bitmap()[slot / 64] >> slot % 64 & 1) == 0) {
        return std::nullopt;
    }
    return Place{page, slot};
}

bool Allocator::release(void *block) {
    const std::optional<Place> place = locate(block);
    if (!place) return false;
    state_->blocks -= 1;
    if (place->page->kind == PageKind::small_blocks) {
        state_->block_bytes -= size_classes[place->page->size_class].size;
        release_small(place->page, place->slot);
    } else {
        const std::uint64_t bytes = place->page->pages * page_size;
        state_->block_bytes -= bytes;
        release_run(place->page, bytes);
    }
    return true;
}

void Allocator::release_small(Page *page, std::uint32_t slot) {
    const SizeClass &shape = size_classes[page->size_class];
    PageSet &with_free_slot = with_free_slot_[page->size_class];
    std::memset(block_at(page, slot), 0, shape.size);
    page->bitmap()[slot / 64] &= ~(1ULL << slot % 64);
    if (page->used == shape.slots) with_free_slot.insert(number_of(page));
    if (--page->used > 0) return;
    with_free_slot.erase(number_of(page));
    release_run(page, shape.first);
}

}  // namespace tarnbase::runtime
