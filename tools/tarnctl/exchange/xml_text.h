// SPDX-License-Identifier: Apache-2.0
//
// The characters of XML 1.0.
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

}  // namespace tarnctl

#endif
