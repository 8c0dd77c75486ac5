/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_RUNTIME_TEXT_UTF8_H
#define TARNBASE_RUNTIME_TEXT_UTF8_H

#include <cstddef>
#include <string_view>

namespace tarnbase::runtime {

// A character at the start of a text. `length` 0: the text doesn't start with valid UTF-8
// (cut short, overlong, a surrogate, or above U+10FFFF).
struct Character {
    char32_t value = 0;
    std::size_t length = 0;
};

// Requires: the text isn't empty.
Character first_character(std::string_view text);

}  // namespace tarnbase::runtime

#endif
