// SPDX-License-Identifier: Apache-2.0
//
// Rows of cells as an aligned table. On a screen of limited width the widest columns are cut until
// a row fits a line.
#ifndef TARNCTL_TERMINAL_GRID_H
#define TARNCTL_TERMINAL_GRID_H

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "terminal/screen.h"
#include "terminal/style.h"

namespace tarnctl {

struct GridColumn {
    std::string title;
    bool right_aligned = false;
};

class Grid {
 public:
    explicit Grid(std::vector<GridColumn> columns) : columns_(std::move(columns)) {}

    // One cell a column, any text: unsafe characters are escaped when it is printed. Missing cells
    // at the end are empty. `style` is bold, dim, red, ... for the row.
    void add(std::vector<std::string> cells, Style style = nullptr);
    std::size_t rows() const { return rows_.size(); }
    std::size_t columns() const { return columns_.size(); }
    // Leaves out columns so that the others fit the screen uncut. The first `kept` stay; the others
    // stay as long as they fit, those that `dull` marks last. Returns how many are left out.
    std::size_t leave_out_to_fit(std::size_t kept, const Screen &screen,
                                 const std::vector<bool> &dull = {});
    // Whether a row fits the screen with the first eight cells of each column at least.
    bool is_readable(const Screen &screen) const;
    // The titles, and a line for each row.
    void print(std::ostream &out, const Screen &screen) const;

 private:
    struct Row {
        std::vector<std::string> cells;
        Style style;
    };

    std::vector<std::size_t> widths(const Screen &screen) const;
    void keep(const std::vector<bool> &stays);
    void print_row(std::ostream &out, const Row &row, const std::vector<std::size_t> &widths,
                   const Screen &screen) const;

    std::vector<GridColumn> columns_;
    std::vector<Row> rows_;
};

}  // namespace tarnctl

#endif
