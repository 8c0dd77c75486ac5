// SPDX-License-Identifier: Apache-2.0
//
// The characters of XML 1.0, and how bytes that are none of them are written in escaped text: a
// byte as \x and two hexadecimal digits, and a backslash as two.
#ifndef TARNCTL_EXCHANGE_XML_TEXT_H
#define TARNCTL_EXCHANGE_XML_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnctl {

// The offset of the first byte that XML can't carry, npos if it can carry all: control characters
// but tab and the ends of lines, U+FFFE, U+FFFF, and what is no UTF-8.
std::size_t first_unfit_for_xml(std::string_view text);
// With references for what would be markup, or would be read as a blank.
std::string xml_escaped(std::string_view text);

std::string escape_unfit(std::string_view bytes);
// The bytes again. Failure `data` that begins with `name` if a backslash begins something else.
std::string unescape_unfit(std::string_view text, std::string_view name);

}  // namespace tarnctl

#endif
