// SPDX-License-Identifier: Apache-2.0
#include "runtime/text/quoted.h"

#include <algorithm>

#include "runtime/text/utf8.h"

namespace tarnbase::runtime {

namespace {

bool is_control(char32_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

void append_bytes_in_hex(Line &line, std::string_view bytes) {
    constexpr char digits[] = "0123456789abcdef";
    for (const char byte : bytes) {
        const unsigned value = static_cast<unsigned char>(byte);
        line.text("\\x").character(digits[value >> 4]).character(digits[value & 15]);
    }
}

// The escape of a character that has a short one.
std::string_view short_escape(char32_t character) {
    switch (character) {
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        case '\n':
            return "\\n";
        case '\t':
            return "\\t";
        case '\r':
            return "\\r";
        default:
            return {};
    }
}

bool is_plain(char character) {
    return character >= 0x20 && character < 0x7f && character != '"' && character != '\\';
}

}  // namespace

void append_quoted(Line &line, std::string_view bytes) {
    line.character('"');
    while (!bytes.empty()) {
        const auto *const odd = std::find_if_not(bytes.begin(), bytes.end(), is_plain);
        const auto plain = static_cast<std::size_t>(odd - bytes.begin());
        line.text(bytes.substr(0, plain));
        bytes.remove_prefix(plain);
        if (bytes.empty()) break;
        const auto [character, length] = first_character(bytes);
        const std::string_view piece = bytes.substr(0, length == 0 ? 1 : length);
        if (length == 0 || (is_control(character) && short_escape(character).empty())) {
            append_bytes_in_hex(line, piece);
        } else if (const auto escape = short_escape(character); !escape.empty()) {
            line.text(escape);
        } else {
            line.text(piece);
        }
        bytes.remove_prefix(piece.size());
    }
    line.character('"');
}

}  // namespace tarnbase::runtime
