// SPDX-License-Identifier: Apache-2.0
#include "listing/sheet.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "model/json.h"

namespace tarnctl {

std::size_t Sheet::column(const std::string &title) const {
    std::vector<std::string_view> known;
    for (std::size_t i = 0; i < titles.size(); ++i) {
        if (titles[i].text == title) return i;
        known.push_back(titles[i].text);
    }
    throw no_such(Exit::usage, "column of the groups", title, known);
}

std::string Sheet::json_of_line(std::size_t line) const {
    std::string object;
    for (std::size_t i = 0; i < titles.size(); ++i)
        object += fmt::format("{}{}:{}", i == 0 ? "{" : ",", json_of_bytes(titles[i].text).dump(),
                              lines[line][i].json);
    return object + "}";
}

}  // namespace tarnctl
