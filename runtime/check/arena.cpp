// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/arena.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace tarnbase::runtime {

namespace {

using Number = unsigned long long;

bool is_zero(const char *bytes, std::uint64_t length) {
    return length == 0 || (bytes[0] == 0 && std::memcmp(bytes, bytes + 1,
                                                        static_cast<std::size_t>(length - 1)) == 0);
}

std::string page_name(std::uint64_t number) { return "page " + std::to_string(number); }

bool is_in_use(const Page &page, std::uint32_t slot) {
    return (page.bitmap()[slot / 64] >> slot % 64 & 1) != 0;
}

class ArenaCheck {
 public:
    ArenaCheck(const Image &image, Findings &findings)
        : image_(image),
          findings_(findings),
          allocator_(image.allocator),
          first_(Allocator::front_bytes(image.region.capacity()) / page_size),
          end_(image.header->arena.size / page_size) {}

    void run() {
        for (std::uint64_t page = 0; page < first_; ++page) {
            if (allocator_.heads().contains(page) || allocator_.free_pages().contains(page)) {
                findings_.add(page_name(page),
                              "the store's header and page sets are in it, but "
                              "the sets have it");
            }
        }
        for (std::uint64_t page = first_; page < end_;) page += check_page(page);
        check_sets();
        check_counts();
    }

 private:
    // Returns the number of pages that were checked.
    std::uint64_t check_page(std::uint64_t number) {
        const bool is_free = allocator_.free_pages().contains(number);
        const bool is_head = allocator_.heads().contains(number);
        if (is_free && is_head) {
            findings_.add(page_name(number), "it is in the sets of free pages and of heads");
        } else if (is_free) {
            ++free_;
            if (!is_zero(image_.region.base() + number * page_size, page_size)) {
                findings_.add(page_name(number), "it is free, but its bytes aren't zero");
            }
        } else if (!is_head) {
            findings_.add(page_name(number), "it is neither free nor part of a run");
        } else {
            ++heads_;
            const Page &page = *allocator_.page(number);
            if (page.kind == PageKind::large_block) return check_large(number, page);
            if (page.kind == PageKind::small_blocks && page.size_class < size_class_count) {
                check_small(number, page);
            } else {
                findings_.add(page_name(number), "its head has the kind %u and size class %u",
                              static_cast<unsigned>(page.kind), page.size_class);
            }
        }
        return 1;
    }

    std::uint64_t check_large(std::uint64_t number, const Page &page) {
        if (page.pages == 0 || page.pages > end_ - number) {
            findings_.add(page_name(number), "a block of %u pages begins in it", page.pages);
            return 1;
        }
        if (page.size_class != 0 || page.used != 0) {
            findings_.add(page_name(number),
                          "the head of a large block has the size class %u and "
                          "%u blocks, expected none",
                          page.size_class, page.used);
        }
        for (std::uint64_t i = 1; i < page.pages; ++i) {
            if (allocator_.heads().contains(number + i) ||
                allocator_.free_pages().contains(number + i)) {
                findings_.add(page_name(number + i),
                              "it is part of the block that begins in page "
                              "%llu, but the sets have it",
                              static_cast<Number>(number));
            }
        }
        blocks_ += 1;
        block_bytes_ += page.pages * page_size;
        return page.pages;
    }

    void check_small(std::uint64_t number, const Page &page) {
        const SizeClass &shape = size_classes[page.size_class];
        std::uint32_t used = 0;
        for (std::uint32_t word = 0; word <= (shape.slots - 1) / 64; ++word) {
            std::uint64_t bits = page.bitmap()[word];
            if (shape.slots - word * 64 < 64 && bits >> (shape.slots - word * 64) != 0) {
                findings_.add(page_name(number), "its bitmap has more than %u blocks", shape.slots);
                bits &= (1ULL << (shape.slots - word * 64)) - 1;
            }
            used += static_cast<std::uint32_t>(std::popcount(bits));
        }
        if (used == 0 || used != page.used || page.pages != 1) {
            findings_.add(page_name(number),
                          "its head counts %u blocks in %u pages, the bitmap has "
                          "%u in one",
                          page.used, page.pages, used);
        }
        const bool has_free_slot = used < shape.slots;
        if (has_free_slot) ++with_free_slot_[page.size_class];
        if (allocator_.with_free_slot(page.size_class).contains(number) != has_free_slot) {
            findings_.add(page_name(number),
                          "the set of pages with space for blocks of %u bytes "
                          "is wrong about it",
                          shape.size);
        }
        if (has_free_slot) check_free_slots(number, page);
        blocks_ += used;
        block_bytes_ += std::uint64_t{used} * shape.size;
    }

    void check_free_slots(std::uint64_t number, const Page &page) {
        const SizeClass &shape = size_classes[page.size_class];
        const char *slots = reinterpret_cast<const char *>(&page) + shape.first;
        for (std::uint32_t slot = 0; slot < shape.slots; ++slot) {
            if (is_in_use(page, slot)) continue;
            if (is_zero(slots + std::uint64_t{slot} * shape.size, shape.size)) continue;
            findings_.add(page_name(number), "its block %u is free, but its bytes aren't zero",
                          slot);
            return;
        }
    }

    void check_set(const PageSet &set, std::uint64_t expected, const std::string &name) {
        if (!set.is_consistent()) findings_.add(name, "its levels don't agree");
        if (set.count() == expected) return;
        findings_.add(name, "it has %llu pages, expected %llu", static_cast<Number>(set.count()),
                      static_cast<Number>(expected));
    }

    void check_sets() {
        const std::uint64_t after = image_.region.capacity() / page_size - end_;
        check_set(allocator_.free_pages(), free_ + after, "the set of free pages");
        check_set(allocator_.heads(), heads_, "the set of pages with a head");
        for (std::uint32_t i = 0; i < size_class_count; ++i) {
            check_set(allocator_.with_free_slot(i), with_free_slot_[i],
                      "the set of pages with space for blocks of " +
                          std::to_string(size_classes[i].size) + " bytes");
        }
    }

    void check_counts() {
        const ArenaState &state = image_.header->arena;
        if (state.blocks == blocks_ && state.block_bytes == block_bytes_) return;
        findings_.add("the header", "it counts %llu blocks of %llu bytes, there are %llu of %llu",
                      static_cast<Number>(state.blocks), static_cast<Number>(state.block_bytes),
                      static_cast<Number>(blocks_), static_cast<Number>(block_bytes_));
    }

    const Image &image_;
    Findings &findings_;
    const Allocator &allocator_;
    std::uint64_t first_;  // page after the header and the sets
    std::uint64_t end_;
    std::uint64_t free_ = 0, heads_ = 0, blocks_ = 0, block_bytes_ = 0;
    std::array<std::uint64_t, size_class_count> with_free_slot_{};
};

}  // namespace

bool check_header(const Image &image, Findings &findings) {
    const StoreHeader &header = *image.header;
    const std::uint64_t before = findings.count();
    if (header.base != image.region.base()) {
        findings.add("the header", "the base address is %p, expected %p", header.base,
                     static_cast<const void *>(image.region.base()));
    }
    if (header.capacity != image.region.capacity()) {
        findings.add("the header", "the capacity is %llu, expected %llu",
                     static_cast<Number>(header.capacity),
                     static_cast<Number>(image.region.capacity()));
    }
    const char *wrong = image.wrong_size();
    if (wrong != nullptr) {
        findings.add("the header", "the size is %llu bytes: %s",
                     static_cast<Number>(header.arena.size), wrong);
    }
    return findings.count() == before;
}

void check_arena(const Image &image, Findings &findings) { ArenaCheck(image, findings).run(); }

void each_block(const Image &image, const std::function<void(Allocator::Extent)> &visit) {
    const std::uint64_t end = image.header->arena.size / page_size;
    for (std::uint64_t number = 0; number < end; ++number) {
        if (!image.allocator.heads().contains(number)) continue;
        const Page &page = *image.allocator.page(number);
        const std::uint64_t start = number * page_size;
        if (page.kind == PageKind::large_block) {
            if (const auto block = image.allocator.find(start + large_block_offset)) visit(*block);
            continue;
        }
        if (page.kind != PageKind::small_blocks || page.size_class >= size_class_count) continue;
        const SizeClass &shape = size_classes[page.size_class];
        for (std::uint32_t slot = 0; slot < shape.slots; ++slot) {
            if (!is_in_use(page, slot)) continue;
            visit({start + shape.first + std::uint64_t{slot} * shape.size, shape.size});
        }
    }
}

}  // namespace tarnbase::runtime
