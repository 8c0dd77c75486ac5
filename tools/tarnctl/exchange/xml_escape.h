// SPDX-License-Identifier: Apache-2.0
//
// Records that XML can't represent. An element with the attribute escaped="true" contains
//
//   of a string or a table's name   its bytes in the form of xml_text.h: `bad\x01name`
//   of an enumeration               the number that no enumerator has
//
// The other elements have the library's form.
#ifndef TARNCTL_EXCHANGE_XML_ESCAPE_H
#define TARNCTL_EXCHANGE_XML_ESCAPE_H

#include <string>
#include <string_view>

#include "model/record.h"

namespace tarnctl {

// The attribute, after a blank.
inline constexpr std::string_view escaped_mark = " escaped=\"true\"";

// The record's element.
std::string escaped_form(const Record &record);

}  // namespace tarnctl

#endif
