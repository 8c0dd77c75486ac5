/* SPDX-License-Identifier: Apache-2.0 */
// Appends to a buffer that has space for all of it. Each function returns the end of what it wrote.
#ifndef TARNBASE_RUNTIME_TEXT_APPEND_H
#define TARNBASE_RUNTIME_TEXT_APPEND_H

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

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
    } else {
        for (std::uint32_t i = 0; i < length; ++i) at[i] = text[i];
    }
    return at + length;
}

// A text whose length the compiler has.
template <std::size_t Size>
char *append(char *at, const char (&text)[Size]) {
    std::memcpy(at, text, Size - 1);
    return at + Size - 1;
}

inline char *append_blanks(char *at, std::uint32_t count) {
    std::memset(at, ' ', count);
    return at + count;
}

template <typename Number>
char *append_number(char *at, Number number) {
    return std::to_chars(at, at + longest_number<Number>, number).ptr;
}

}  // namespace tarnbase::runtime

#endif
