// SPDX-License-Identifier: Apache-2.0
#include "cli/utf8.h"

#include <cstdint>
#include <cstring>

namespace cli {
namespace {

struct Lead {
    std::size_t length;
    unsigned char bits;  // the bits of the code in the first byte
    char32_t smallest;   // what a shorter form couldn't hold
};

Lead lead_of(unsigned char byte) {
    if (byte < 0x80) return {1, byte, 0};
    if ((byte & 0xe0) == 0xc0) return {2, static_cast<unsigned char>(byte & 0x1f), 0x80};
    if ((byte & 0xf0) == 0xe0) return {3, static_cast<unsigned char>(byte & 0x0f), 0x800};
    if ((byte & 0xf8) == 0xf0) return {4, static_cast<unsigned char>(byte & 0x07), 0x10000};
    return {0, 0, 0};
}

bool is_ascii_word(std::string_view text) {
    std::uint64_t word = 0;
    if (text.size() < sizeof word) return false;
    std::memcpy(&word, text.data(), sizeof word);
    return (word & 0x8080808080808080U) == 0;
}

}  // namespace

Utf8Character first_utf8(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const Utf8Character invalid{first, 1, false};
    const Lead lead = lead_of(first);
    if (lead.length == 0 || lead.length > text.size()) return invalid;
    char32_t code = lead.bits;
    for (std::size_t i = 1; i < lead.length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xc0) != 0x80) return invalid;
        code = (code << 6) | (byte & 0x3fU);
    }
    const bool surrogate = code >= 0xd800 && code <= 0xdfff;
    if (code < lead.smallest || code > 0x10ffff || surrogate) return invalid;
    return {code, lead.length, true};
}

bool is_utf8(std::string_view text) {
    while (is_ascii_word(text)) text.remove_prefix(sizeof(std::uint64_t));
    while (!text.empty()) {
        if (static_cast<unsigned char>(text.front()) < 0x80) {
            text.remove_prefix(1);
            continue;
        }
        const Utf8Character character = first_utf8(text);
        if (!character.valid) return false;
        text.remove_prefix(character.length);
    }
    return true;
}

bool needs_escape(const Utf8Character &character) {
    return !character.valid || character.code < 0x20 || character.code == 0x7f;
}

std::string escaped_byte(char32_t byte) {
    constexpr const char *digits = "0123456789abcdef";
    return {'\\', 'x', digits[byte >> 4 & 15], digits[byte & 15]};
}

std::string one_line(std::string_view text) {
    std::string line;
    while (!text.empty()) {
        const Utf8Character character = first_utf8(text);
        if (needs_escape(character)) line += escaped_byte(character.code);
        else line += text.substr(0, character.length);
        text.remove_prefix(character.length);
    }
    return line;
}

}  // namespace cli
