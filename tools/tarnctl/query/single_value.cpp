// SPDX-License-Identifier: Apache-2.0
#include "query/single_value.h"

#include <fmt/core.h>

#include "base/failure.h"

namespace tarnctl {

Column single_value_column(const Table &table, std::string_view name) {
    Column column = column_named(table, name);
    if (!column.path.whole_array) return column;
    throw Failure(Exit::usage, fmt::format("{}: an array isn't a single value; name one of its "
                                           "elements, as `{}[0]`",
                                           name, name));
}

}  // namespace tarnctl
