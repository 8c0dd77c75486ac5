// SPDX-License-Identifier: Apache-2.0
//
// Bytes as hexadecimal digits, two a byte.
#ifndef TARNCTL_BASE_HEX_H
#define TARNCTL_BASE_HEX_H

#include <string>
#include <string_view>

namespace tarnctl {

// The value of a digit of either case; -1 if it isn't one.
int hex_digit_value(char digit);
std::string hex_of(std::string_view bytes);
// The bytes of a run of digits. Failure `data`, which begins with `name`, if they aren't pairs.
std::string bytes_of_hex(std::string_view digits, std::string_view name);

}  // namespace tarnctl

#endif
