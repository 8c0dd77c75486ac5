// SPDX-License-Identifier: Apache-2.0
//
// Descriptions of the schema's items, as JSON and as text.
#ifndef TARNCTL_DESCRIBE_DESCRIBE_H
#define TARNCTL_DESCRIBE_DESCRIBE_H

#include <ostream>
#include <string>

#include "base/schema.h"
#include "json/document.h"
#include "model/value_type.h"
#include "terminal/screen.h"

namespace tarnctl {

Json described(const Table &table);
Json described(const Structure &structure);
Json described(const Enumeration &enumeration);
Json described(const ValueType &type);

void describe(std::ostream &out, const Screen &screen, const Table &table);
void describe(std::ostream &out, const Screen &screen, const Structure &structure);
void describe(std::ostream &out, const Screen &screen, const Enumeration &enumeration);
void describe(std::ostream &out, const Screen &screen, const ValueType &type);

// The order of a table's records in words: "tenant, sname (shorter strings first, ...), source".
std::string order_text(const Table &table);
// "u_int32", "u_int8[1440]".
std::string type_text(const Field &field);

}  // namespace tarnctl

#endif
