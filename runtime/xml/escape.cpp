// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/escape.h"

#include <algorithm>

#include "runtime/text/utf8.h"

namespace tarnbase::runtime {

namespace {

bool is_escaped(char character) {
    switch (character) {
        case '&':
        case '<':
        case '>':
        case '"':
        case '\t':
        case '\n':
        case '\r':
            return true;
        default:
            return false;
    }
}

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
        if (static_cast<signed char>(text[offset]) >= 0x20) {  // ASCII
            ++offset;
            continue;
        }
        const Character character = first_character(text.substr(offset));
        if (character.length == 0 || !is_representable(character.value)) return offset;
        offset += character.length;
    }
    return std::string_view::npos;
}

void append_escaped(Line &line, std::string_view text) {
    while (!text.empty()) {
        const auto *const found = std::find_if(text.begin(), text.end(), is_escaped);
        const auto plain = static_cast<std::size_t>(found - text.begin());
        line.text(text.substr(0, plain));
        if (plain == text.size()) return;
        line.text(reference(text[plain]));
        text.remove_prefix(plain + 1);
    }
}

}  // namespace tarnbase::runtime
