// SPDX-License-Identifier: Apache-2.0
#include "exchange/format.h"

#include <charconv>
#include <cstdint>

namespace tarnctl {

std::optional<Format> format_of_name(std::string_view path) {
    if (path.ends_with(".yang.json")) return Format::yang_json;
    for (const auto &[name, format] : format_names) {
        if (path.ends_with("." + name)) return format;
    }
    return std::nullopt;
}

std::optional<Format> format_of_content(std::string_view beginning) {
    if (beginning.starts_with(frames_magic)) return Format::frames;
    if (beginning.starts_with(byte_order_mark)) beginning.remove_prefix(byte_order_mark.size());
    const std::size_t first = beginning.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return std::nullopt;
    if (beginning[first] == '<') return Format::xml;
    if (beginning[first] != '{') return std::nullopt;
    const std::size_t name = beginning.find_first_not_of(" \t\r\n", first + 1);
    const bool is_yang =
        name != std::string_view::npos && beginning.substr(name).starts_with("\"tarnbase:");
    return is_yang ? Format::yang_json : Format::json;
}

std::string_view advice_on_version(std::string_view version) {
    uint64_t number = 0;
    const char *end = version.data() + version.size();
    const auto [stop, error] = std::from_chars(version.data(), end, number);
    if (error != std::errc() || stop != end || number <= format_version) return "";
    return "; a newer release made this document: import it with that one";
}

}  // namespace tarnctl
