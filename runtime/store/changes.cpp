// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/changes.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "runtime/store/record_block.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t granule = 16;
constexpr std::uint64_t granules_in_page = page_size / granule;
static_assert(granules_in_page == 64 * 64);

// The bits of a word for the granules [first, end) of a page.
constexpr std::uint64_t bits_between(std::uint64_t first, std::uint64_t end, std::uint64_t word) {
    const std::uint64_t from = std::max(first, word * 64) - word * 64;
    const std::uint64_t to = std::min(end, word * 64 + 64) - word * 64;
    return (to == 64 ? ~0ULL : (1ULL << to) - 1) & ~((1ULL << from) - 1);
}

// Calls `visit(page, word, bits)` for the words that cover the granules of some bytes.
template <typename Visit>
void each_word(std::uint64_t offset, std::uint64_t length, Visit visit) {
    const std::uint64_t end = (offset + length + granule - 1) / granule;
    for (std::uint64_t at = offset / granule; at < end;) {
        const std::uint64_t page = at / granules_in_page;
        const std::uint64_t first = at % granules_in_page;
        const std::uint64_t stop = std::min(end - page * granules_in_page, granules_in_page);
        for (std::uint64_t word = first / 64; word * 64 < stop; ++word) {
            visit(page, word, bits_between(first, stop, word));
        }
        at = page * granules_in_page + stop;
    }
}

// A block's content without the zeros at its end.
std::span<const char> content_of(const Image &image, Allocator::Extent block) {
    const char *bytes = image.region.base() + block.offset;
    std::uint64_t length = block.size;
    std::uint64_t word = 0;
    while (length >= sizeof word) {
        std::memcpy(&word, bytes + length - sizeof word, sizeof word);
        if (word != 0) break;
        length -= sizeof word;
    }
    return {bytes, length};
}

// The count that other processes see of a record: theirs begin at the store's own reference.
void hide_references(char *counted) {
    std::uint32_t count = 0;
    std::memcpy(&count, counted + 4, sizeof count);
    count = std::min(count, 1U);
    std::memcpy(counted + 4, &count, sizeof count);
}

void build_allocation(FrameBuilder &frame, const Image &image, Allocator::Extent block) {
    const std::span<const char> content = content_of(image, block);
    if (!is_record(image, block)) {
        frame.allocate(block.offset, block.size, content);
        return;
    }
    std::array<char, 128> copy;
    std::memcpy(copy.data(), content.data(), content.size());
    hide_references(copy.data() + references_offset);
    frame.allocate(block.offset, block.size, {copy.data(), content.size()});
}

// Adds [offset, end), which is in one block, with the references of a record apart.
void build_write(FrameBuilder &frame, const Image &image, Allocator::Extent block,
                 std::uint64_t offset, std::uint64_t end) {
    const char *base = image.region.base();
    const std::uint64_t counted = block.offset + references_offset;
    if (offset > counted || end < counted + references_length || !is_record(image, block)) {
        frame.write(offset, {base + offset, end - offset});
        return;
    }
    std::array<char, references_length> references;
    std::memcpy(references.data(), base + counted, references_length);
    hide_references(references.data());
    if (offset < counted) frame.write(offset, {base + offset, counted - offset});
    frame.references(counted, references);
    const std::uint64_t rest = counted + references_length;
    if (rest < end) frame.write(rest, {base + rest, end - rest});
}

}  // namespace

ChangeSet::PageMarks &ChangeSet::marks_of(std::uint64_t page) {
    if (page >= pages_.size()) pages_.resize(page + page / 2 + 16);
    if (pages_[page] == nullptr) pages_[page] = std::make_unique<PageMarks>();
    return *pages_[page];
}

void ChangeSet::add(BlockEvent event) noexcept {
    try {
        blocks_.push_back(event);
    } catch (const std::bad_alloc &) {
        incomplete_ = true;
    }
}

void ChangeSet::mark(std::uint64_t offset, std::uint64_t length) noexcept try {
    if (is_last_block(offset) && is_last_block(offset + length - 1)) return;
    each_word(offset, length, [&](std::uint64_t page, std::uint64_t word, std::uint64_t bits) {
        PageMarks &marks = marks_of(page);
        if (marks.words_in_use == 0) pages_in_use_.push_back(page);
        marks.words_in_use |= 1ULL << word;
        marks.words[word] |= bits;
    });
} catch (const std::bad_alloc &) {
    incomplete_ = true;
}

void ChangeSet::unmark(std::uint64_t offset, std::uint64_t length) {
    last_block_ = {};
    each_word(offset, length, [&](std::uint64_t page, std::uint64_t word, std::uint64_t bits) {
        if (page < pages_.size() && pages_[page] != nullptr) pages_[page]->words[word] &= ~bits;
    });
}

void ChangeSet::clear() {
    last_block_ = {};
    blocks_.clear();
    for (const std::uint64_t page : pages_in_use_) *pages_[page] = {};
    pages_in_use_.clear();
    incomplete_ = false;
}

void ChangeSet::build_blocks(FrameBuilder &frame, const Image &image) {
    std::stable_sort(blocks_.begin(), blocks_.end(),
                     [](const auto &a, const auto &b) { return a.offset < b.offset; });
    const auto each_block = [&](auto visit) {
        for (std::size_t i = 0, end = 0; i < blocks_.size(); i = end) {
            while (end < blocks_.size() && blocks_[end].offset == blocks_[i].offset) ++end;
            visit(blocks_[i].offset, !blocks_[i].is_allocation, blocks_[end - 1].is_allocation);
        }
    };
    each_block([&](std::uint64_t offset, bool was_allocated, bool is_allocated) {
        if (was_allocated) frame.release(offset);
        if (is_allocated) return;
        if (const auto block = image.allocator.find(offset)) unmark(block->offset, block->size);
    });
    each_block([&](std::uint64_t offset, bool, bool is_allocated) {
        if (!is_allocated) return;
        const auto block = image.allocator.find(offset);
        build_allocation(frame, image, *block);
        unmark(block->offset, block->size);
    });
}

void ChangeSet::build_writes(FrameBuilder &frame, const Image &image) {
    // Adds [offset, end) as far as it is in allocated blocks, or in the header.
    const auto add = [&](std::uint64_t offset, std::uint64_t end) {
        if (offset < page_sets_offset) {
            offset = std::max(offset, counters_offset);
            frame.write(offset, {image.region.base() + offset, end - offset});
            return;
        }
        while (offset < end) {
            const auto block = image.allocator.find(offset);
            const std::uint64_t stop =
                block ? std::min(end, block->offset + block->size) : offset + granule;
            if (block) build_write(frame, image, *block, offset, stop);
            offset = stop;
        }
    };
    std::sort(pages_in_use_.begin(), pages_in_use_.end());
    for (const std::uint64_t page : pages_in_use_) {
        const PageMarks &marks = *pages_[page];
        std::uint64_t first = 0, end = 0;  // the run of granules that isn't added yet
        for (std::uint64_t left = marks.words_in_use; left != 0; left &= left - 1) {
            const auto word = static_cast<std::uint64_t>(std::countr_zero(left));
            for (std::uint64_t bits = marks.words[word]; bits != 0;) {
                const auto from = static_cast<std::uint64_t>(std::countr_zero(bits));
                const auto run = static_cast<std::uint64_t>(std::countr_one(bits >> from));
                if (word * 64 + from != end) {
                    if (first < end)
                        add(page * page_size + first * granule, page * page_size + end * granule);
                    first = word * 64 + from;
                }
                end = word * 64 + from + run;
                bits = from + run == 64 ? 0 : bits & ~0ULL << (from + run);
            }
        }
        if (first < end) add(page * page_size + first * granule, page * page_size + end * granule);
    }
}

void ChangeSet::build(FrameBuilder &frame, const Image &image) {
    build_blocks(frame, image);
    mark(counters_offset, counters_end - counters_offset);
    build_writes(frame, image);
}

}  // namespace tarnbase::runtime
