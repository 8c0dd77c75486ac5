/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_RUNTIME_TEXT_QUOTED_H
#define TARNBASE_RUNTIME_TEXT_QUOTED_H

#include <string_view>

#include "runtime/text/line.h"

namespace tarnbase::runtime {

// Appends any bytes as readable text on one line, in double quotes. Quotes,
// backslashes, tabs and line ends are escaped as in C; other control characters
// and bytes that are not valid UTF-8 become \xHH, always with two digits.
void append_quoted(Line &line, std::string_view bytes);

}  // namespace tarnbase::runtime

#endif
