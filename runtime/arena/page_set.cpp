// SPDX-License-Identifier: Apache-2.0
#include "runtime/arena/page_set.h"

#include <algorithm>
#include <bit>

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t word_bits = 64;

constexpr std::uint64_t words(std::uint64_t bits) { return (bits + word_bits - 1) / word_bits; }

constexpr std::uint64_t bit(std::uint64_t number) { return 1ULL << (number % word_bits); }

}  // namespace

std::uint64_t PageSet::words_for(std::uint64_t limit) {
    std::uint64_t total = 0;
    for (std::uint64_t level = words(limit);; level = words(level)) {
        total += level;
        if (level <= 1) return total;
    }
}

PageSet::PageSet(std::uint64_t *first_word, std::uint64_t limit) : limit_(limit) {
    for (std::uint64_t level = words(limit);; level = words(level)) {
        levels_[depth_++] = first_word;
        if (level <= 1) return;
        first_word += level;
    }
}

void PageSet::insert(std::uint64_t page) {
    least_ = std::min(least_, page);
    for (std::size_t level = 0; level < depth_; ++level, page /= word_bits) {
        std::uint64_t &word = levels_[level][page / word_bits];
        const bool marked_above = word != 0;
        word |= bit(page);
        if (marked_above) return;
    }
}

void PageSet::insert_range(std::uint64_t first, std::uint64_t end) {
    if (first >= end) return;
    least_ = std::min(least_, first);
    for (std::size_t level = 0; level < depth_; ++level) {
        std::uint64_t *const bits = levels_[level];
        const std::uint64_t front = first / word_bits, back = (end - 1) / word_bits;
        const std::uint64_t from_first = ~0ULL << (first % word_bits);
        const std::uint64_t to_last = ~0ULL >> (word_bits - 1 - (end - 1) % word_bits);
        bits[front] |= front == back ? from_first & to_last : from_first;
        if (front != back) {
            std::fill(bits + front + 1, bits + back, ~0ULL);
            bits[back] |= to_last;
        }
        first = front;
        end = back + 1;
    }
}

void PageSet::erase(std::uint64_t page) {
    for (std::size_t level = 0; level < depth_; ++level, page /= word_bits) {
        std::uint64_t &word = levels_[level][page / word_bits];
        word &= ~bit(page);
        if (word != 0) return;
    }
}

bool PageSet::contains(std::uint64_t page) const {
    return page < limit_ && (levels_[0][page / word_bits] & bit(page)) != 0;
}

bool PageSet::contains_group(std::uint64_t page) const {
    static_assert(word_bits % group == 0);
    constexpr std::uint64_t all = (1ULL << group) - 1;
    const std::uint64_t first = page / group * group;
    return page < limit_ && (levels_[0][page / word_bits] >> first % word_bits & all) == all;
}

std::uint64_t PageSet::count_below(std::uint64_t page) const {
    page = std::min(page, limit_);
    std::uint64_t count = 0;
    for (std::uint64_t word = 0; word < page / word_bits; ++word) {
        count += static_cast<std::uint64_t>(std::popcount(levels_[0][word]));
    }
    if (page % word_bits == 0) return count;
    const std::uint64_t last = levels_[0][page / word_bits] & (bit(page) - 1);
    return count + static_cast<std::uint64_t>(std::popcount(last));
}

std::uint64_t PageSet::count() const { return count_below(limit_); }

bool PageSet::is_consistent() const {
    std::uint64_t bits = limit_;
    for (std::size_t level = 0; level < depth_; ++level) {
        const std::uint64_t *const here = levels_[level];
        const std::uint64_t above = words(bits);
        if (bits % word_bits != 0 && here[above - 1] >> bits % word_bits != 0) return false;
        if (level + 1 == depth_) break;
        for (std::uint64_t i = 0; i < above; ++i) {
            const bool is_marked = (levels_[level + 1][i / word_bits] & bit(i)) != 0;
            if (is_marked != (here[i] != 0)) return false;
        }
        bits = above;
    }
    return true;
}

// Goes from the top level to a member; `bit_of` chooses a bit of each word. A damaged set doesn't
// lead outside of its words.
template <typename BitOf>
std::optional<std::uint64_t> PageSet::descend(BitOf bit_of) const {
    std::uint64_t place = 0;
    for (std::size_t level = depth_; level-- > 0;) {
        if (level + 1 != depth_ && levels_[level] + place >= levels_[level + 1])
            return std::nullopt;
        const std::uint64_t word = levels_[level][place];
        if (word == 0) return std::nullopt;
        place = place * word_bits + static_cast<std::uint64_t>(bit_of(word));
    }
    if (place >= limit_) return std::nullopt;
    return place;
}

std::optional<std::uint64_t> PageSet::first() {
    if (contains(least_)) return least_;
    const auto lowest = descend([](std::uint64_t word) { return std::countr_zero(word); });
    if (lowest) least_ = *lowest;
    return lowest;
}

std::optional<std::uint64_t> PageSet::last() const {
    return descend([](std::uint64_t word) { return std::bit_width(word) - 1; });
}

std::optional<std::uint64_t> PageSet::first_run(std::uint64_t count) {
    if (count == 1) return first();
    std::uint64_t run = 0;
    for (std::uint64_t page = first().value_or(limit_); page < limit_;) {
        if (levels_[0][page / word_bits] == 0) {
            run = 0;
            page = (page / word_bits + 1) * word_bits;
            continue;
        }
        run = contains(page) ? run + 1 : 0;
        ++page;
        if (run == count) return page - count;
    }
    return std::nullopt;
}

}  // namespace tarnbase::runtime
