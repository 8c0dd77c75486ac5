// SPDX-License-Identifier: Apache-2.0
//
// The characters of XML 1.0, and escaped text for other bytes: a byte as \x and two hexadecimal
// digits, and a backslash as two.
#ifndef TARNCTL_EXCHANGE_XML_TEXT_H
#define TARNCTL_EXCHANGE_XML_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnctl {

// The offset of the first byte that XML can't represent, or npos: control characters but tab and
// line ends, U+FFFE, U+FFFF, and bytes that aren't UTF-8.
std::size_t first_unfit_for_xml(std::string_view text);
// With references for markup, and for characters that would be read as a blank.
std::string xml_escaped(std::string_view text);

std::string escape_unfit(std::string_view bytes);
// The reverse. Failure `data`, which begins with `name`, for a malformed escape.
std::string unescape_unfit(std::string_view text, std::string_view name);

}  // namespace tarnctl

#endif
