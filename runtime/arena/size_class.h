/* SPDX-License-Identifier: Apache-2.0 */
// The sizes of small blocks: multiples of 16 up to 128 bytes, then four sizes to a
// doubling, up to 16 KiB. A page holds blocks of one class.
#ifndef TARNBASE_RUNTIME_ARENA_SIZE_CLASS_H
#define TARNBASE_RUNTIME_ARENA_SIZE_CLASS_H

#include <array>
#include <bit>
#include <cstdint>

#include "runtime/arena/page.h"

namespace tarnbase::runtime {

inline constexpr std::uint32_t small_class_count = 7;  // 32, 48, ... 128
inline constexpr std::uint32_t size_class_count = small_class_count + 4 * 7;
inline constexpr std::uint64_t largest_small_block = 16384;

// The class of the smallest blocks that hold `size` bytes, at most the largest.
constexpr std::uint32_t size_class_of(std::uint64_t size) {
    if (size <= 32) return 0;
    if (size <= 128) return static_cast<std::uint32_t>((size + 15) / 16 - 2);
    const std::uint64_t last = size - 1;
    const auto doubling = static_cast<std::uint32_t>(std::bit_width(last)) - 1;
    const auto quarter = static_cast<std::uint32_t>(last >> (doubling - 2)) & 3;
    return small_class_count + (doubling - 7) * 4 + quarter;
}

struct SizeClass {
    std::uint32_t size;   // bytes of a block
    std::uint32_t slots;  // blocks in a page
    std::uint32_t first;  // offset of the first block in its page
};

constexpr std::uint32_t first_block_offset(std::uint32_t slots) {
    const auto end = static_cast<std::uint32_t>(sizeof(Page)) + (slots + 63) / 64 * 8;
    return (end + 15) / 16 * 16;
}

constexpr SizeClass make_size_class(std::uint32_t index) {
    SizeClass made{};
    if (index < small_class_count) {
        made.size = 32 + 16 * index;
    } else {
        const std::uint32_t step = index - small_class_count;
        made.size = (5 + step % 4) << (5 + step / 4);
    }
    made.slots = static_cast<std::uint32_t>(page_size) / made.size;
    while (first_block_offset(made.slots) + made.slots * made.size > page_size) --made.slots;
    made.first = first_block_offset(made.slots);
    return made;
}

inline constexpr auto size_classes = [] {
    std::array<SizeClass, size_class_count> table{};
    for (std::uint32_t i = 0; i < size_class_count; ++i) table[i] = make_size_class(i);
    return table;
}();

static_assert(size_classes.back().size == largest_small_block);
static_assert(size_class_of(largest_small_block) == size_class_count - 1);
static_assert(size_classes[size_class_of(80)].size == 80);

}  // namespace tarnbase::runtime

#endif
