// SPDX-License-Identifier: Apache-2.0
//
// The fields of conditions, orders and groups.
#ifndef TARNCTL_QUERY_SINGLE_VALUE_H
#define TARNCTL_QUERY_SINGLE_VALUE_H

#include <string_view>

#include "model/record.h"

namespace tarnctl {

// The column of this name. Failure `usage` if there is none, or if it isn't a single value.
Column single_value_column(const Table &table, std::string_view name);

}  // namespace tarnctl

#endif
