/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_RUNTIME_XML_ESCAPE_H
#define TARNBASE_RUNTIME_XML_ESCAPE_H

#include <cstddef>
#include <string_view>

#include "runtime/text/line.h"

namespace tarnbase::runtime {

// Offset of the first byte that XML 1.0 can't represent, escaped or not: a control character
// other than tab, LF and CR, U+FFFE, U+FFFF, or invalid UTF-8. std::string_view::npos if
// there is none.
std::size_t first_unrepresentable(std::string_view text);

// Appends a text so that a reader gets exactly the same characters. It stays on one line:
// line ends and tabs are written as references. Requires: XML can represent the text.
void append_escaped(Line &line, std::string_view text);

}  // namespace tarnbase::runtime

#endif
