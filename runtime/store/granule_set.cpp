// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/granule_set.h"

#include <algorithm>
#include <new>

namespace tarnbase::runtime {

namespace {

// The bits from `first` to `last` of a word, both included.
constexpr std::uint64_t bits_between(std::uint64_t first, std::uint64_t last) {
    return ~0ULL << first & ~0ULL >> (63 - last);
}

// Calls `visit(word, bits)` for the words with the bits [first, end) until it returns false.
template <typename Visit>
bool each_word(std::uint64_t first, std::uint64_t end, Visit visit) {
    while (first < end) {
        const std::uint64_t last = std::min(end - 1, first | 63);
        if (!visit(first / 64, bits_between(first % 64, last % 64))) return false;
        first = last + 1;
    }
    return true;
}

}  // namespace

GranuleSet::PageBits &GranuleSet::bits_of(std::uint64_t page) {
    if (page >= pages_.size()) pages_.resize(page + page / 2 + 16);
    if (pages_[page] == nullptr) pages_[page] = std::make_unique<PageBits>();
    PageBits &bits = *pages_[page];
    const bool is_in_use = std::ranges::any_of(bits, [](std::uint64_t word) { return word != 0; });
    if (!is_in_use) pages_in_use_.push_back(page);
    return bits;
}

void GranuleSet::insert(std::uint64_t offset, std::uint64_t length) noexcept try {
    const std::uint64_t end = (offset + length + granule - 1) / granule;
    for (std::uint64_t at = offset / granule; at < end;) {
        const std::uint64_t page = at / granules_in_page, start = page * granules_in_page;
        const std::uint64_t stop = std::min(end, start + granules_in_page);
        PageBits &bits = bits_of(page);
        each_word(at - start, stop - start, [&](std::uint64_t word, std::uint64_t mask) {
            bits[word] |= mask;
            return true;
        });
        at = stop;
    }
} catch (const std::bad_alloc &) {
}

bool GranuleSet::contains(std::uint64_t offset, std::uint64_t length) const {
    const std::uint64_t end = (offset + length + granule - 1) / granule;
    if (end <= offset / granule) return false;
    for (std::uint64_t at = offset / granule; at < end;) {
        const std::uint64_t page = at / granules_in_page, start = page * granules_in_page;
        const std::uint64_t stop = std::min(end, start + granules_in_page);
        if (page >= pages_.size() || pages_[page] == nullptr) return false;
        const PageBits &bits = *pages_[page];
        const auto are_set = [&](std::uint64_t word, std::uint64_t mask) {
            return (bits[word] & mask) == mask;
        };
        if (!each_word(at - start, stop - start, are_set)) return false;
        at = stop;
    }
    return true;
}

void GranuleSet::clear() {
    if (pages_in_use_.size() > most_kept_pages) {
        // An assignment of an empty list would keep the memory.
        decltype(pages_)().swap(pages_);
        decltype(pages_in_use_)().swap(pages_in_use_);
        return;
    }
    for (const std::uint64_t page : pages_in_use_) pages_[page]->fill(0);
    pages_in_use_.clear();
}

}  // namespace tarnbase::runtime
