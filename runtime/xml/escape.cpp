// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/escape.h"

#include "runtime/text/utf8.h"

namespace tarnbase::runtime {

namespace {

constexpr std::string_view escaped_characters = "&<>\"\t\n\r";

bool is_representable(char32_t character) {
    if (character < 0x20) return character == '\t' || character == '\n' || character == '\r';
    return character != 0xfffe && character != 0xffff;
}

std::string_view reference(char character) {
    switch (character) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\t':
            return "&#9;";
        case '\n':
            return "&#10;";
        default:
            return "&#13;";
    }
}

}  // namespace

std::size_t first_unrepresentable(std::string_view text) {
    for (std::size_t offset = 0; offset < text.size();) {
        const Character character = first_character(text.substr(offset));
        if (character.length == 0 || !is_representable(character.value)) return offset;
        offset += character.length;
    }
    return std::string_view::npos;
}

void append_escaped(Line &line, std::string_view text) {
    while (!text.empty()) {
        const std::size_t plain = text.find_first_of(escaped_characters);
        line.text(text.substr(0, plain));
        if (plain == std::string_view::npos) return;
        line.text(reference(text[plain]));
        text.remove_prefix(plain + 1);
    }
}

}  // namespace tarnbase::runtime
