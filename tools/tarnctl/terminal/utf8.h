// SPDX-License-Identifier: Apache-2.0
//
// UTF-8, character by character.
#ifndef TARNCTL_TERMINAL_UTF8_H
#define TARNCTL_TERMINAL_UTF8_H

#include <cstddef>
#include <string_view>

namespace tarnctl {

struct Utf8Character {
    char32_t code;
    std::size_t length;  // bytes; of what is no character, 1
    bool valid;
};

// The first character of a text that isn't empty. Overlong forms, surrogates and what lies beyond
// U+10FFFF are no characters.
Utf8Character first_utf8(std::string_view text);
bool is_utf8(std::string_view text);

}  // namespace tarnctl

#endif
