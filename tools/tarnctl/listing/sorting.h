// SPDX-License-Identifier: Apache-2.0
//
// Sorting by other values than the key.
#ifndef TARNCTL_LISTING_SORTING_H
#define TARNCTL_LISTING_SORTING_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "query/cell.h"

namespace tarnctl {

// A column to sort by: NAME, NAME:asc or NAME:desc.
struct SortWord {
    std::string name;
    bool descending = false;
};
// Failure `usage` if the text after the colon is another.
SortWord parse_sort_word(const std::string &word);

// Whether the first of two lines comes before the second. The cells are in the order of `words`.
bool comes_first(const std::vector<Cell> &a, const std::vector<Cell> &b,
                 const std::vector<SortWord> &words);

// Sorts items by the cells that `cells_of` returns for each; items with equal cells keep their
// order.
template <class Item, class CellsOf>
void sort_by(std::vector<Item> &items, const std::vector<SortWord> &words, CellsOf cells_of) {
    if (words.empty()) return;
    std::vector<std::pair<std::vector<Cell>, std::size_t>> lines;
    for (std::size_t i = 0; i < items.size(); ++i) lines.emplace_back(cells_of(items[i]), i);
    std::stable_sort(lines.begin(), lines.end(), [&](const auto &a, const auto &b) {
        return comes_first(a.first, b.first, words);
    });
    std::vector<Item> sorted;
    for (const auto &line : lines) sorted.push_back(std::move(items[line.second]));
    items = std::move(sorted);
}

}  // namespace tarnctl

#endif
