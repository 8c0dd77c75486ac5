// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/changes.h"

#include <algorithm>
#include <bit>
#include <new>
#include <numeric>

#include "runtime/store/frame_content.h"

namespace tarnbase::runtime {

namespace {

// A set that had more events than this frees their memory.
constexpr std::size_t most_kept_events = 65536;

// So few events are faster compared than counted.
constexpr std::size_t least_sorted_by_digits = 4096;
constexpr unsigned digit_bits = 11;

// The bits of a word for the granules [first, end) of a page.
constexpr std::uint64_t bits_between(std::uint64_t first, std::uint64_t end, std::uint64_t word) {
    const std::uint64_t from = std::max(first, word * 64) - word * 64;
    const std::uint64_t to = std::min(end, word * 64 + 64) - word * 64;
    return (to == 64 ? ~0ULL : (1ULL << to) - 1) & ~((1ULL << from) - 1);
}

}  // namespace

// Calls `visit(page, word, bits)` for the words that cover the granules of some bytes.
template <typename Visit>
void ChangeSet::each_word(std::uint64_t offset, std::uint64_t length, Visit visit) {
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

// Calls `visit(offset, end)` for the runs of marked bytes, in increasing order.
template <typename Visit>
void ChangeSet::each_run(Visit visit) {
    std::sort(pages_in_use_.begin(), pages_in_use_.end());
    for (const std::uint64_t page : pages_in_use_) {
        const PageMarks &marks = *pages_[page];
        std::uint64_t first = 0, end = 0;  // granules of the run that isn't visited yet
        const auto visit_run = [&] {
            const std::uint64_t start = page * page_size;
            if (first < end) visit(start + first * granule, start + end * granule);
        };
        for (std::uint64_t left = marks.words_in_use; left != 0; left &= left - 1) {
            const auto word = static_cast<std::uint64_t>(std::countr_zero(left));
            for (std::uint64_t bits = marks.words[word]; bits != 0;) {
                const auto from = static_cast<std::uint64_t>(std::countr_zero(bits));
                const auto run = static_cast<std::uint64_t>(std::countr_one(bits >> from));
                if (word * 64 + from != end) {
                    visit_run();
                    first = word * 64 + from;
                }
                end = word * 64 + from + run;
                bits = from + run == 64 ? 0 : bits & ~0ULL << (from + run);
            }
        }
        visit_run();
    }
}

// Calls `visit(offset, was_allocated, is_allocated)` for each block that has events, in
// increasing order.
template <typename Visit>
void ChangeSet::each_block(Visit visit) const {
    for (std::size_t i = 0, end = 0; i < blocks_.size(); i = end) {
        while (end < blocks_.size() && blocks_[end].offset() == blocks_[i].offset()) ++end;
        visit(blocks_[i].offset(), !blocks_[i].is_allocation(), blocks_[end - 1].is_allocation());
    }
}

ChangeSet::PageMarks &ChangeSet::marks_of(std::uint64_t page) {
    if (page >= pages_.size()) pages_.resize(page + page / 2 + 16);
    if (pages_[page] == nullptr) {
        const std::size_t used = pages_in_use_.size();
        if (used == pool_.size()) pool_.push_back(std::make_unique<PageMarks>());
        pages_in_use_.push_back(page);
        pages_[page] = pool_[used].get();
    }
    return *pages_[page];
}

void ChangeSet::add(std::uint64_t offset, bool is_allocation) noexcept {
    // A frame can't contain as many.
    if (blocks_.size() >> BlockEvent::number_bits != 0) {
        incomplete_ = true;
        return;
    }
    try {
        blocks_.emplace_back(offset, blocks_.size(), is_allocation);
    } catch (const std::bad_alloc &) {
        incomplete_ = true;
    }
}

void ChangeSet::mark_anywhere(std::uint64_t offset, std::uint64_t length) noexcept try {
    each_word(offset, length, [&](std::uint64_t page, std::uint64_t word, std::uint64_t bits) {
        PageMarks &marks = marks_of(page);
        marks.words_in_use |= 1ULL << word;
        marks.words[word] |= bits;
    });
} catch (const std::bad_alloc &) {
    incomplete_ = true;
}

void ChangeSet::unmark(std::uint64_t offset, std::uint64_t length) {
    each_word(offset, length, [&](std::uint64_t page, std::uint64_t word, std::uint64_t bits) {
        if (page < pages_.size() && pages_[page] != nullptr) pages_[page]->words[word] &= ~bits;
    });
}

void ChangeSet::clear() {
    if (blocks_.size() > most_kept_events) std::vector<BlockEvent>().swap(blocks_);
    blocks_.clear();
    for (const std::uint64_t page : pages_in_use_) {
        PageMarks &marks = *pages_[page];
        for (; marks.words_in_use != 0; marks.words_in_use &= marks.words_in_use - 1) {
            marks.words[static_cast<std::size_t>(std::countr_zero(marks.words_in_use))] = 0;
        }
        pages_[page] = nullptr;
    }
    pages_in_use_.clear();
    incomplete_ = false;
    has_unannounced_bytes_ = false;
}

// Many are sorted digit by digit of their places: those of one place are in order already, and
// stay.
void ChangeSet::sort_blocks() {
    if (blocks_.size() < least_sorted_by_digits) {
        std::sort(blocks_.begin(), blocks_.end());
        return;
    }
    const std::uint64_t last = std::max_element(blocks_.begin(), blocks_.end())->place();
    std::vector<BlockEvent> sorted = blocks_;
    for (unsigned shift = 0; last >> shift != 0; shift += digit_bits) {
        std::array<std::size_t, 1U << digit_bits> next{};
        const auto digit = [&](BlockEvent each) { return (each.place() >> shift) % next.size(); };
        for (const BlockEvent each : blocks_) ++next[digit(each)];
        std::exclusive_scan(next.begin(), next.end(), next.begin(), std::size_t{0});
        for (const BlockEvent each : blocks_) sorted[next[digit(each)]++] = each;
        blocks_.swap(sorted);
    }
}

void ChangeSet::build_blocks(FrameBuilder &frame, FrameContent &content, const Image &image) {
    sort_blocks();
    each_block([&](std::uint64_t offset, bool was_allocated, bool is_allocated) {
        if (was_allocated) frame.release(offset);
        if (is_allocated) return;
        if (const auto block = image.allocator.find(offset)) unmark(block->offset, block->size);
    });
    each_block([&](std::uint64_t offset, bool, bool is_allocated) {
        if (!is_allocated) return;
        const auto block = image.allocator.find(offset);
        content.add_allocation(*block);
        unmark(block->offset, block->size);
    });
}

void ChangeSet::build(FrameBuilder &frame, const Image &image) {
    FrameContent content(frame, image);
    build_blocks(frame, content, image);
    content.add_counters();
    each_run([&](std::uint64_t offset, std::uint64_t end) { content.add_bytes(offset, end); });
}

void ChangeSet::build_undone(FrameBuilder &frame, const Image &image) {
    FrameContent content(frame, image);
    each_run([&](std::uint64_t offset, std::uint64_t end) { content.add_objects(offset, end); });
}

}  // namespace tarnbase::runtime
