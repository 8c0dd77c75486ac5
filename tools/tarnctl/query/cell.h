// SPDX-License-Identifier: Apache-2.0
//
// A value taken out of its record, in a form that has an order.
#ifndef TARNCTL_QUERY_CELL_H
#define TARNCTL_QUERY_CELL_H

#include <string>
#include <variant>

#include "model/value.h"

namespace tarnctl {

// Room for every number of a field, and for the sum of those of any store.
__extension__ typedef __int128 Wide;

// Nothing, of a field that the record's variant is too old to have, comes first. Numbers,
// booleans and enumerators are in the order of their numbers, strings in that of their bytes,
// addresses in that of ip_address_compare.
using Cell = std::variant<std::monostate, Wide, std::string>;

Cell cell_of(const Value &value);

// Whether cells of the two fields can be compared.
bool are_comparable(const Path &a, const Path &b);

}  // namespace tarnctl

#endif
