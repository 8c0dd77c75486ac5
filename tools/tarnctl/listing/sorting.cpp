// SPDX-License-Identifier: Apache-2.0
#include "listing/sorting.h"

#include <fmt/core.h>

#include "base/failure.h"

namespace tarnctl {

SortWord parse_sort_word(const std::string &word) {
    const std::size_t colon = word.find(':');
    const std::string direction = colon == std::string::npos ? "asc" : word.substr(colon + 1);
    if (direction != "asc" && direction != "desc")
        throw Failure(Exit::usage,
                      fmt::format("--sort: `{}`: expected asc or desc after the colon, "
                                  "not `{}`",
                                  word, direction));
    return {word.substr(0, colon), direction == "desc"};
}

bool comes_first(const std::vector<Cell> &a, const std::vector<Cell> &b,
                 const std::vector<SortWord> &words) {
    for (std::size_t i = 0; i < words.size(); ++i)
        if (a[i] != b[i]) return (a[i] < b[i]) != words[i].descending;
    return false;
}

}  // namespace tarnctl
