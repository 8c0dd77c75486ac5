// SPDX-License-Identifier: Apache-2.0
//
// UTF-8, character by character.
#ifndef TOOLS_CLI_UTF8_H
#define TOOLS_CLI_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace cli {

struct Utf8Character {
    char32_t code;       // of an invalid character, its byte
    std::size_t length;  // in bytes; 1 of an invalid character
    bool valid;
};

// The first character of a text that isn't empty. Overlong forms, surrogates and codes beyond
// U+10FFFF are invalid.
Utf8Character first_utf8(std::string_view text);
bool is_utf8(std::string_view text);

// Whether the character is invalid or controls a terminal.
bool needs_escape(const Utf8Character &character);
// "\x0a"
std::string escaped_byte(char32_t byte);
// The text with those characters escaped, so that a name from a store stays in its line of a
// message.
std::string one_line(std::string_view text);

}  // namespace cli

#endif
