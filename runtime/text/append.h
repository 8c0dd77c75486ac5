/* SPDX-License-Identifier: Apache-2.0 */
// Appends to a buffer that has space for all of it. Each function returns the end of what it wrote.
#ifndef TARNBASE_RUNTIME_TEXT_APPEND_H
#define TARNBASE_RUNTIME_TEXT_APPEND_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace tarnbase::runtime {

// The most characters that a number of the type has.
template <typename Number>
inline constexpr std::uint32_t longest_number = std::numeric_limits<Number>::digits10 + 1 +
                                                (std::numeric_limits<Number>::is_signed ? 1 : 0);

// Two copies of `Size` bytes, which may overlap, cover Size to 2 * Size bytes.
template <std::size_t Size>
void copy_both_ends(char *at, const char *text, std::size_t length) {
    char first[Size];
    char last[Size];
    std::memcpy(first, text, Size);
    std::memcpy(last, text + length - Size, Size);
    std::memcpy(at, first, Size);
    std::memcpy(at + length - Size, last, Size);
}

// Names are short: for them a call of memcpy takes longer than copying does.
inline char *append(char *at, const char *text, std::uint32_t length) {
    if (length > 32) {
        std::memcpy(at, text, length);
    } else if (length >= 16) {
        copy_both_ends<16>(at, text, length);
    } else if (length >= 8) {
        copy_both_ends<8>(at, text, length);
    } else if (length >= 4) {
        copy_both_ends<4>(at, text, length);
    } else if (length >= 2) {
        copy_both_ends<2>(at, text, length);
    } else if (length == 1) {
        *at = *text;
    }
    return at + length;
}

// A text whose length the compiler has.
template <std::size_t Size>
char *append(char *at, const char (&text)[Size]) {
    std::memcpy(at, text, Size - 1);
    return at + Size - 1;
}

// Two stores of `Size` blanks cover Size to 2 * Size bytes.
template <std::size_t Size>
void blank_both_ends(char *at, std::size_t count) {
    std::memset(at, ' ', Size);
    std::memset(at + count - Size, ' ', Size);
}

inline char *append_blanks(char *at, std::uint32_t count) {
    if (count > 16) {
        std::memset(at, ' ', count);
    } else if (count >= 8) {
        blank_both_ends<8>(at, count);
    } else if (count >= 4) {
        blank_both_ends<4>(at, count);
    } else if (count >= 2) {
        blank_both_ends<2>(at, count);
    } else if (count == 1) {
        *at = ' ';
    }
    return at + count;
}

// "00" to "99", one after the other.
inline constexpr std::array<char, 200> digit_pairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < pairs.size(); i += 2) {
        pairs[i] = static_cast<char>('0' + i / 20);
        pairs[i + 1] = static_cast<char>('0' + i / 2 % 10);
    }
    return pairs;
}();

// Two digits of a number below 100, four of one below 10000.
inline char *append_two(char *at, std::uint32_t number) {
    std::memcpy(at, digit_pairs.data() + std::size_t{2} * number, 2);
    return at + 2;
}
inline char *append_four(char *at, std::uint32_t number) {
    return append_two(append_two(at, number / 100), number % 100);
}

// A number below 10000, without zeros before it.
inline char *append_below_10000(char *at, std::uint32_t number) {
    if (number >= 1000) return append_four(at, number);
    if (number >= 100) {
        *at++ = static_cast<char>('0' + number / 100);
        return append_two(at, number % 100);
    }
    if (number >= 10) return append_two(at, number);
    *at = static_cast<char>('0' + number);
    return at + 1;
}

// Two digits at a time, which takes half as long as std::to_chars.
template <typename Unsigned>
char *append_unsigned(char *at, Unsigned number);

// A number of more than eight digits.
template <typename Unsigned>
[[gnu::noinline]] char *append_long(char *at, Unsigned number) {
    at = append_unsigned(at, static_cast<Unsigned>(number / 100000000));
    const auto last = static_cast<std::uint32_t>(number % 100000000);
    return append_four(append_four(at, last / 10000), last % 10000);
}

template <typename Unsigned>
[[gnu::always_inline]] inline char *append_unsigned(char *at, Unsigned number) {
    if (number >= 100000000) return append_long(at, number);
    const auto all = static_cast<std::uint32_t>(number);
    if (all < 10000) return append_below_10000(at, all);
    return append_four(append_below_10000(at, all / 10000), all % 10000);
}

template <typename Number>
char *append_number(char *at, Number number) {
    using Unsigned =
        std::conditional_t<(sizeof(Number) > sizeof(std::uint32_t)), std::uint64_t, std::uint32_t>;
    auto magnitude = static_cast<Unsigned>(number);
    if constexpr (std::is_signed_v<Number>) {
        if (number < 0) {
            *at++ = '-';
            magnitude = Unsigned{0} - magnitude;
        }
    }
    return append_unsigned(at, magnitude);
}

}  // namespace tarnbase::runtime

#endif
