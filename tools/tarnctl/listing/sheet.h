// SPDX-License-Identifier: Apache-2.0
//
// Lines of values that aren't those of one record, such as the lines of groups.
#ifndef TARNCTL_LISTING_SHEET_H
#define TARNCTL_LISTING_SHEET_H

#include <string>
#include <vector>

#include "query/cell.h"

namespace tarnctl {

struct SheetCell {
    std::string text;
    std::string json;  // as text
    Cell order;
};

struct Sheet {
    struct Title {
        std::string text;
        bool is_number = false;
    };

    std::vector<Title> titles;
    std::vector<std::vector<SheetCell>> lines;

    // The index of a title. Failure `usage` with a suggestion.
    std::size_t column(const std::string &title) const;
    // A line as a JSON object with the titles as members.
    std::string json_of_line(std::size_t line) const;
};

}  // namespace tarnctl

#endif
