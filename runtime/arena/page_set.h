/* SPDX-License-Identifier: Apache-2.0 */
// A set of page numbers, kept in the store as bits.
//
// Level 0 has a bit for each page; each further level has a bit for each word of the level
// below, set if that word isn't zero, up to a level of one word. The bytes are a function
// of the members alone: erasing a member and inserting it again restores every byte.
#ifndef TARNBASE_RUNTIME_ARENA_PAGE_SET_H
#define TARNBASE_RUNTIME_ARENA_PAGE_SET_H

#include <array>
#include <cstdint>
#include <optional>

namespace tarnbase::runtime {

class PageSet {
 public:
    // The number of words of a set of numbers below `limit`.
    static std::uint64_t words_for(std::uint64_t limit);

    PageSet() = default;
    // The set whose words are at `words`. Zero words are the empty set.
    PageSet(std::uint64_t *words, std::uint64_t limit);

    void insert(std::uint64_t page);
    // Inserts the pages of [first, end), word by word.
    void insert_range(std::uint64_t first, std::uint64_t end);
    void erase(std::uint64_t page);
    bool contains(std::uint64_t page) const;
    // Whether it contains all of the `group` pages, from the multiple of that, around this one.
    static constexpr std::uint64_t group = 16;
    bool contains_group(std::uint64_t page) const;

    // The number of members, and of those below a page.
    std::uint64_t count() const;
    std::uint64_t count_below(std::uint64_t page) const;
    // Whether the bits of each level are those that the level below requires, and no bit is set
    // for what isn't below the limit.
    bool is_consistent() const;

    // The lowest and the highest member. A bound of the lowest one is remembered: members may be
    // added only through this object.
    std::optional<std::uint64_t> first();
    std::optional<std::uint64_t> last() const;
    // The first member of the lowest run of `count` members.
    std::optional<std::uint64_t> first_run(std::uint64_t count);

 private:
    template <typename BitOf>
    std::optional<std::uint64_t> descend(BitOf bit_of) const;

    static constexpr std::size_t max_levels = 8;  // 2^48 pages: more than can be mapped

    std::array<std::uint64_t *, max_levels> levels_{};
    std::size_t depth_ = 0;
    std::uint64_t limit_ = 0;
    std::uint64_t least_ = 0;  // no member is below it
};

}  // namespace tarnbase::runtime

#endif
