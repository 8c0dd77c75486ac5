// SPDX-License-Identifier: Apache-2.0
//
// The value of a field in a form that has an order.
#ifndef TARNCTL_QUERY_CELL_H
#define TARNCTL_QUERY_CELL_H

#include <string>
#include <variant>

#include "model/value.h"

namespace tarnctl {

// Holds every number of a field, and the sum of those of any store.
__extension__ typedef __int128 Wide;

// Fields that the record's variant lacks come first. Numbers, booleans and enumerators are ordered
// by number, objects by the bytes that their type has an order of (value_type.h).
using Cell = std::variant<std::monostate, Wide, std::string>;

Cell cell_of(const Value &value);

// Whether cells of the two fields can be compared.
bool are_comparable(const Path &a, const Path &b);

}  // namespace tarnctl

#endif
