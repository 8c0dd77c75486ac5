// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/path.h"

#include <array>
#include <charconv>

namespace tarnbase::runtime {

namespace {

constexpr std::string_view start = "//";

enum class Kind : std::uint8_t { other, digit, letter };

constexpr auto kinds = [] {
    std::array<Kind, 256> result{};
    for (unsigned char c = '0'; c <= '9'; ++c) result[c] = Kind::digit;
    for (unsigned char c = 'a'; c <= 'z'; ++c) result[c] = Kind::letter;
    for (unsigned char c = 'A'; c <= 'Z'; ++c) result[c] = Kind::letter;
    result['_'] = Kind::letter;
    return result;
}();

Kind kind_of(char character) { return kinds[static_cast<unsigned char>(character)]; }

// The offset after the name at `from`; `from` if there is none.
std::size_t end_of_name(std::string_view text, std::size_t from) {
    std::size_t end = from;
    if (end == text.size() || kind_of(text[end]) != Kind::letter) return from;
    while (end < text.size() && kind_of(text[end]) != Kind::other) ++end;
    return end;
}

// Reads all of "[3]". 0: it is something else.
std::uint32_t read_index(std::string_view text) {
    if (text.size() < 3 || text.front() != '[' || text.back() != ']') return 0;
    std::uint32_t index = 0;
    const char *const end = text.data() + text.size() - 1;
    const auto [rest, error] = std::from_chars(text.data() + 1, end, index);
    return error == std::errc{} && rest == end ? index : 0;
}

}  // namespace

PlainPath::PlainPath(std::string_view text, std::size_t known) {
    if (known == 0 && !text.starts_with(start)) return;
    std::size_t slash = known == 0 ? start.size() - 1 : known;  // before the name
    std::size_t end = 0;
    for (;; slash = end) {
        if (slash == text.size() || text[slash] != '/') return;
        end = end_of_name(text, slash + 1);
        if (end == slash + 1) return;
        if (end == text.size() || text[end] != '/') break;
    }
    if (end < text.size()) {
        index = read_index(text.substr(end));
        if (index == 0) return;
    }
    elements = text.substr(0, end);
    name = elements.substr(slash + 1);
    if (slash >= start.size()) parent = elements.substr(0, slash);
}

}  // namespace tarnbase::runtime
