// SPDX-License-Identifier: Apache-2.0
//
// Suggestions for misspelt names.
#ifndef TOOLS_CLI_SUGGESTION_H
#define TOOLS_CLI_SUGGESTION_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

// The number of characters to insert, delete, replace or swap with their neighbour.
std::size_t edit_distance(std::string_view a, std::string_view b);

// The nearest name, the first of several; none if it is too far away. Ignores case.
std::optional<std::string_view> nearest(std::string_view name,
                                        const std::vector<std::string_view> &known);

// "no command `shwo`; did you mean `show`?", with the nearest of the names if one is near.
std::string no_such_text(std::string_view kind, std::string_view name,
                         const std::vector<std::string_view> &known);

}  // namespace cli

#endif
