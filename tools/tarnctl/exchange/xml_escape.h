// SPDX-License-Identifier: Apache-2.0
//
// Records that XML can't carry as they are. An element with the attribute escaped="true" holds
//
//   of a string or a table's name   its bytes in the form of xml_text.h: `bad\x01name`
//   of an enumeration               the number that is none of its enumerators'
//
// The other elements are those of the library's own form.
#ifndef TARNCTL_EXCHANGE_XML_ESCAPE_H
#define TARNCTL_EXCHANGE_XML_ESCAPE_H

#include <string>
#include <string_view>

#include "model/record.h"

namespace tarnctl {

// The attribute, after the name of an element or its other attributes.
inline constexpr std::string_view escaped_mark = " escaped=\"true\"";

// The record's element.
std::string escaped_form(const Record &record);

}  // namespace tarnctl

#endif
