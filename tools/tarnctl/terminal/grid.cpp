// SPDX-License-Identifier: Apache-2.0
#include "terminal/grid.h"

#include <algorithm>
#include <numeric>

namespace tarnctl {
namespace {

constexpr std::size_t gap = 2;        // blanks between columns
constexpr std::size_t narrowest = 4;  // a column isn't cut to less
constexpr std::size_t readable = 8;   // a cell cut to less is of little use

std::size_t line_width(const std::vector<std::size_t> &widths) {
    if (widths.empty()) return 0;
    return std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
}

// Narrows the widest columns, a cell at a time, so that narrow ones stay uncut.
void make_fit(std::vector<std::size_t> &widths, std::size_t limit) {
    for (std::size_t width = line_width(widths); width > limit; --width) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (widest == widths.end() || *widest <= narrowest) return;
        --*widest;
    }
}

std::string aligned(std::string text, std::size_t width, bool right) {
    const std::size_t used = width_of(text);
    const std::string blanks(width - std::min(used, width), ' ');
    return right ? blanks + text : text + blanks;
}

}  // namespace

void Grid::add(std::vector<std::string> cells, Style style) {
    cells.resize(columns_.size());
    rows_.push_back({std::move(cells), style});
}

std::vector<std::size_t> Grid::widths(const Screen &screen) const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::size_t width = width_of(shown(columns_[i].title, screen));
        for (const Row &row : rows_) width = std::max(width, width_of(shown(row.cells[i], screen)));
        widths.push_back(width);
    }
    return widths;
}

std::size_t Grid::leave_out_to_fit(std::size_t kept, const Screen &screen,
                                   const std::vector<bool> &dull) {
    const std::vector<std::size_t> wanted = widths(screen);
    if (screen.width == 0 || line_width(wanted) <= screen.width) return 0;
    kept = std::max<std::size_t>(kept, 1);
    std::vector<bool> stays(wanted.size(), false);
    std::size_t used = 0;
    const auto take = [&](std::size_t column) {
        stays[column] = true;
        used += wanted[column] + gap;
    };
    for (std::size_t i = 0; i < kept && i < wanted.size(); ++i) take(i);
    for (const bool turn : {false, true})
        for (std::size_t i = kept; i < wanted.size(); ++i)
            if ((!dull.empty() && dull[i]) == turn && used + wanted[i] <= screen.width) take(i);
    const std::size_t before = columns_.size();
    keep(stays);
    return before - columns_.size();
}

void Grid::keep(const std::vector<bool> &stays) {
    const auto thin_out = [&](auto &items) {
        std::size_t end = 0;
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (!stays[i]) continue;
            if (end != i) items[end] = std::move(items[i]);
            ++end;
        }
        items.resize(end);
    };
    thin_out(columns_);
    for (Row &row : rows_) thin_out(row.cells);
}

bool Grid::is_readable(const Screen &screen) const {
    if (screen.width == 0) return true;
    std::vector<std::size_t> least = widths(screen);
    for (std::size_t &width : least) width = std::min(width, readable);
    return line_width(least) <= screen.width;
}

void Grid::print_row(std::ostream &out, const Row &row, const std::vector<std::size_t> &widths,
                     const Screen &screen) const {
    std::string line;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (i > 0) line.append(gap, ' ');
        line += aligned(cut(shown(row.cells[i], screen), widths[i], screen), widths[i],
                        columns_[i].right_aligned);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << (row.style == nullptr ? line : row.style(line, screen)) << '\n';
}

void Grid::print(std::ostream &out, const Screen &screen) const {
    std::vector<std::size_t> wanted = widths(screen);
    if (screen.width > 0) make_fit(wanted, screen.width);
    Row titles{{}, bold};
    for (const GridColumn &column : columns_) titles.cells.push_back(column.title);
    print_row(out, titles, wanted, screen);
    for (const Row &row : rows_) print_row(out, row, wanted, screen);
}

}  // namespace tarnctl
