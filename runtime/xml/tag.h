/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_RUNTIME_XML_TAG_H
#define TARNBASE_RUNTIME_XML_TAG_H

#include <cstdint>
#include <string_view>

#include "runtime/text/line.h"

namespace tarn::runtime {

// `<name>`, or `<name state="2">` for a nonzero state flag, and `</name>`.
void append_start_tag(Line &line, std::string_view name, std::uint8_t state_flag);
void append_end_tag(Line &line, std::string_view name);

}  // namespace tarn::runtime

#endif
