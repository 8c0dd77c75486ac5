// SPDX-License-Identifier: Apache-2.0
//
// Rows of cells as an aligned table. On a screen of limited width the widest columns are cut until
// a row fits a line; where nothing limits the width every cell stands whole.
#ifndef TARNCTL_TERMINAL_GRID_H
#define TARNCTL_TERMINAL_GRID_H

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "terminal/screen.h"

namespace tarnctl {

struct GridColumn {
    std::string title;
    bool right_aligned = false;
};

class Grid {
 public:
    explicit Grid(std::vector<GridColumn> columns) : columns_(std::move(columns)) {}

    // One cell a column, any text: what isn't safe to print is escaped when it is printed. Cells
    // that are missing at the end are empty.
    void add(std::vector<std::string> cells);
    std::size_t rows() const { return rows_.size(); }
    // The titles, and a line for each row.
    void print(std::ostream &out, const Screen &screen) const;

 private:
    std::vector<GridColumn> columns_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace tarnctl

#endif
