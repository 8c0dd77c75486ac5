// SPDX-License-Identifier: Apache-2.0
#include "runtime/text/utf8.h"

namespace tarnbase::runtime {

namespace {

// The forms by length: the leading bits of the first byte, and the smallest character
// that takes this length.
struct Form {
    unsigned mask;
    unsigned lead;
    char32_t smallest;
};
constexpr Form forms[] = {
    {0x80, 0x00, 0x0}, {0xe0, 0xc0, 0x80}, {0xf0, 0xe0, 0x800}, {0xf8, 0xf0, 0x10000}};

constexpr char32_t first_surrogate = 0xd800;
constexpr char32_t last_surrogate = 0xdfff;
constexpr char32_t last_character = 0x10ffff;

bool is_character(char32_t value) {
    return value <= last_character && (value < first_surrogate || value > last_surrogate);
}

Character decode(const Form &form, std::string_view bytes) {
    char32_t value = static_cast<unsigned char>(bytes[0]) & ~form.mask;
    for (const char next : bytes.substr(1)) {
        const unsigned byte = static_cast<unsigned char>(next);
        if ((byte & 0xc0U) != 0x80U) return {};
        value = value << 6 | (byte & 0x3fU);
    }
    if (value < form.smallest || !is_character(value)) return {};
    return {value, bytes.size()};
}

}  // namespace

Character first_character(std::string_view text) {
    const unsigned lead = static_cast<unsigned char>(text[0]);
    std::size_t length = 0;
    for (const Form &form : forms) {
        ++length;
        if ((lead & form.mask) != form.lead) continue;
        return length <= text.size() ? decode(form, text.substr(0, length)) : Character{};
    }
    return {};
}

}  // namespace tarnbase::runtime
