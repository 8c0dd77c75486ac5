// SPDX-License-Identifier: Apache-2.0
#include "exchange/xml_text.h"

#include <fmt/format.h>

#include "terminal/utf8.h"

namespace tarnctl {

namespace {

bool is_xml_character(char32_t character) {
    if (character < 0x20) return character == '\t' || character == '\n' || character == '\r';
    const bool surrogate = character >= 0xd800 && character <= 0xdfff;
    return !surrogate && character != 0xfffe && character != 0xffff && character <= 0x10ffff;
}

}  // namespace

std::size_t first_unfit_for_xml(std::string_view text) {
    for (std::size_t offset = 0; offset < text.size();) {
        const Utf8Character character = first_utf8(text.substr(offset));
        if (!character.valid || !is_xml_character(character.code)) return offset;
        offset += character.length;
    }
    return std::string_view::npos;
}

std::string xml_escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '&') escaped += "&amp;";
        else if (c == '<') escaped += "&lt;";
        else if (c == '>') escaped += "&gt;";
        else if (c == '"') escaped += "&quot;";
        else if (c == '\t' || c == '\n' || c == '\r') escaped += fmt::format("&#{};", int{c});
        else escaped += c;
    }
    return escaped;
}

}  // namespace tarnctl
