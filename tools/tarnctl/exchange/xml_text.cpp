// SPDX-License-Identifier: Apache-2.0
#include "exchange/xml_text.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "base/hex.h"
#include "cli/utf8.h"

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
        const cli::Utf8Character character = cli::first_utf8(text.substr(offset));
        if (!character.valid || !is_xml_character(character.code)) return offset;
        offset += character.length;
    }
    return std::string_view::npos;
}

std::string escape_unfit(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const cli::Utf8Character character = cli::first_utf8(bytes);
        const std::string_view piece = bytes.substr(0, character.length);
        if (piece == "\\") text += "\\\\";
        else if (character.valid && is_xml_character(character.code)) text += piece;
        else
            for (const char c : piece)
                text += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        bytes.remove_prefix(character.length);
    }
    return text;
}

std::string unescape_unfit(std::string_view text, std::string_view name) {
    std::string bytes;
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('\\'), text.size());
        bytes += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) break;
        if (text.starts_with("\\\\")) {
            bytes += '\\';
            text.remove_prefix(2);
        } else if (text.starts_with("\\x") && text.size() >= 4) {
            bytes += bytes_of_hex(text.substr(2, 2), name);
            text.remove_prefix(4);
        } else {
            throw Failure(
                Exit::data,
                fmt::format("{}: expected \\\\ or \\x and two hexadecimal digits, not `{}`", name,
                            text.substr(0, 4)));
        }
    }
    return bytes;
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
