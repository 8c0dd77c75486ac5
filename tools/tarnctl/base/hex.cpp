// SPDX-License-Identifier: Apache-2.0
#include "base/hex.h"

#include <fmt/core.h>

#include "base/failure.h"

namespace tarnctl {

int hex_digit_value(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

std::string hex_of(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        hex += {digits[byte >> 4U], digits[byte & 15U]};
    }
    return hex;
}

std::string bytes_of_hex(std::string_view digits, std::string_view name) {
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = hex_digit_value(digits[i]);
        const int low = i + 1 < digits.size() ? hex_digit_value(digits[i + 1]) : -1;
        if (high < 0 || low < 0)
            throw Failure(Exit::data, fmt::format("{}: expected two hexadecimal digits a byte, "
                                                  "not `{}`",
                                                  name, digits.substr(i, 2)));
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

}  // namespace tarnctl
