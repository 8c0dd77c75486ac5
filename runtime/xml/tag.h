/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_RUNTIME_XML_TAG_H
#define TARNBASE_RUNTIME_XML_TAG_H

#include <cstdint>
#include <string_view>

#include "runtime/text/line.h"

namespace tarnbase::runtime {

// `<name>`, or `<name state="2">` for a nonzero state flag, and `</name>`.
inline void append_start_tag(Line &line, std::string_view name, std::uint8_t state_flag) {
    line.character('<').text(name);
    if (state_flag != 0) line.text(" state=\"").number(unsigned{state_flag}).character('"');
    line.character('>');
}
inline void append_end_tag(Line &line, std::string_view name) {
    line.text("</").text(name).character('>');
}

// The tags of an element that contains elements, each on a line of its own. Both return the
// tag's length; 0 with EMSGSIZE if it doesn't fit. The end tag is written after an error too:
// an element whose content failed is still closed.
std::uint32_t write_start_tag(kel_handle *handle, char *buffer, std::string_view name,
                              std::uint32_t remaining, std::uint8_t state_flag, std::uint32_t *err);
std::uint32_t write_end_tag(kel_handle *handle, char *buffer, std::string_view name,
                            std::uint32_t remaining, std::uint32_t *err);

}  // namespace tarnbase::runtime

#endif
