// SPDX-License-Identifier: Apache-2.0
#include "listing/selection.h"

#include <algorithm>

#include "base/argument.h"
#include "listing/columns.h"
#include "listing/sorting.h"
#include "query/filter.h"
#include "terminal/progress.h"

namespace tarnctl {
namespace {

bool has_state(const Record &record, const SelectionOptions &options) {
    if (options.tenant && record.tenant() != *options.tenant) return false;
    if (options.source && record.src() != *options.source) return false;
    return record.is_pending() ? !options.no_pending : !options.only_pending;
}

bool is_hidden(const Record &record, const SelectionOptions &options) {
    return record.is_shadow() && !options.shadows && !options.source;
}

// How many records the walk has to find: with another order, or groups, all.
uint64_t needed(const SelectionOptions &options) {
    if (options.reverse || !options.limit || !options.sort.empty() || options.grouping.wanted())
        return UINT64_MAX;
    return options.offset + std::min(*options.limit, UINT64_MAX - options.offset);
}

template <class Item>
void cut_out(std::vector<Item> &items, const SelectionOptions &options) {
    if (options.reverse) std::reverse(items.begin(), items.end());
    const auto skipped = std::min<uint64_t>(options.offset, items.size());
    items.erase(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(skipped));
    if (options.limit && *options.limit < items.size())
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(*options.limit), items.end());
}

std::vector<SortWord> sort_words(const SelectionOptions &options) {
    std::vector<SortWord> words;
    for (const std::string &word : options.sort) words.push_back(parse_sort_word(word));
    return words;
}

void sort_records(std::vector<Record> &records, const std::vector<ListingColumn> &columns,
                  const std::vector<SortWord> &words) {
    sort_by(records, words, [&](const Record &record) {
        std::vector<Cell> cells;
        for (const ListingColumn &each : columns) cells.push_back(order_cell(record, each));
        return cells;
    });
}

void sort_groups(Sheet &groups, const std::vector<SortWord> &words) {
    std::vector<std::size_t> columns;
    for (const SortWord &each : words) columns.push_back(groups.column(each.name));
    sort_by(groups.lines, words, [&](const std::vector<SheetCell> &line) {
        std::vector<Cell> cells;
        for (const std::size_t each : columns) cells.push_back(line[each].order);
        return cells;
    });
}

void look_at_records(const Store &store, const Instance &instance, const SelectionOptions &options,
                     Selection &selection) {
    const Filter filter =
        read_argument([&] { return Filter(*instance.table, options.conditions); });
    const uint64_t enough = needed(options);
    Progress progress("records", instance.block->record_count);
    const auto look_at = [&](const Record &record) {
        if (selection.records.size() >= enough) return false;
        ++selection.looked_at;
        progress.advance();
        if (!has_state(record, options) || !filter.passes(record)) return true;
        if (is_hidden(record, options)) ++selection.hidden_shadows;
        else selection.records.push_back(record);
        return true;
    };
    selection.left_out = for_each_candidate(store, instance, filter, look_at, options.unreadable);
}

}  // namespace

Selection select(const Store &store, const Instance &instance, const SelectionOptions &options) {
    const std::vector<SortWord> words = sort_words(options);
    std::vector<ListingColumn> columns;
    if (!options.grouping.wanted())
        for (const SortWord &each : words)
            columns.push_back(single_column(*instance.table, each.name));
    Selection selection;
    look_at_records(store, instance, options, selection);
    if (options.grouping.wanted()) {
        selection.groups = group(*instance.table, selection.records, options.grouping);
        sort_groups(*selection.groups, words);
        cut_out(selection.groups->lines, options);
    } else {
        sort_records(selection.records, columns, words);
        cut_out(selection.records, options);
    }
    return selection;
}

}  // namespace tarnctl
