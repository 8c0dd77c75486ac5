// SPDX-License-Identifier: Apache-2.0
#include "listing/lines.h"

#include <fmt/core.h>

#include <algorithm>

#include "terminal/grid.h"
#include "terminal/progress.h"

namespace tarnctl {
namespace {

// With fewer columns besides the leading ones a list is used in place of a table.
constexpr std::size_t fewest_columns = 2;

std::string counted(uint64_t count, std::string_view what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

void print_summary(std::ostream &out, const Listing &listing, std::size_t columns_left_out,
                   const Screen &screen) {
    std::string text = listing.selection.groups
                           ? counted(listing.selection.groups->lines.size(), "group")
                           : counted(listing.selection.records.size(), "record");
    if (listing.selection.hidden_shadows > 0)
        text += fmt::format("; {} hidden: --shadows",
                            counted(listing.selection.hidden_shadows, "shadow"));
    if (columns_left_out > 0)
        text += fmt::format("; {} hidden: --columns or --format list shows them",
                            counted(columns_left_out, "column"));
    out << dim(text, screen) << '\n';
}

Grid grid_of(const Listing &listing, const std::vector<ListingColumn> &columns) {
    std::vector<GridColumn> titles;
    for (const ListingColumn &each : columns) titles.push_back({each.title(), each.is_number()});
    Grid grid(std::move(titles));
    for_each_with_progress(listing.selection.records, [&](const Record &record) {
        std::vector<std::string> cells;
        for (const ListingColumn &each : columns)
            cells.push_back(cell_text(record, each, Reader::person));
        grid.add(std::move(cells), record.is_pending() ? yellow : nullptr);
    });
    return grid;
}

bool is_blank(const Record &record, const ListingColumn &column) {
    const std::string text = cell_text(record, column, Reader::person);
    return text.empty() || text == "0" || text == "false" || text == "-";
}

// The columns in which no record has anything but 0, false or nothing.
std::vector<bool> blank_columns(const Listing &listing, const std::vector<ListingColumn> &columns) {
    std::vector<bool> blank;
    for (const ListingColumn &column : columns)
        blank.push_back(
            std::all_of(listing.selection.records.begin(), listing.selection.records.end(),
                        [&](const Record &record) { return is_blank(record, column); }));
    return blank;
}

// Returns false, and prints nothing, if a list is more readable.
bool print_table(std::ostream &out, const Listing &listing, const Screen &screen) {
    const std::vector<ListingColumn> columns =
        columns_or(listing, useful_columns(*listing.instance.table, listing.selection.records));
    Grid grid = grid_of(listing, columns);
    std::size_t left_out = 0;
    std::size_t fewest = 0;
    if (listing.columns.empty() && screen.width > 0) {
        const auto leading = std::find_if_not(
            columns.begin(), columns.end(), [](const ListingColumn &each) { return each.leads(); });
        const auto kept = static_cast<std::size_t>(leading - columns.begin());
        left_out = grid.leave_out_to_fit(kept, screen, blank_columns(listing, columns));
        fewest = std::min(kept + fewest_columns, columns.size());
    }
    const bool is_readable = grid.is_readable(screen) && grid.columns() >= fewest;
    if (listing.form == Form::automatic && !is_readable) return false;
    grid.print(out, screen);
    if (screen.is_terminal || left_out > 0) print_summary(out, listing, left_out, screen);
    return true;
}

void print_groups(std::ostream &out, const Listing &listing, const Screen &screen) {
    const Sheet &groups = *listing.selection.groups;
    std::vector<GridColumn> titles;
    for (const Sheet::Title &each : groups.titles) titles.push_back({each.text, each.is_number});
    Grid grid(std::move(titles));
    for (const std::vector<SheetCell> &line : groups.lines) {
        std::vector<std::string> cells;
        for (const SheetCell &each : line) cells.push_back(each.text);
        grid.add(std::move(cells));
    }
    grid.print(out, screen);
    if (screen.is_terminal) print_summary(out, listing, 0, screen);
}

// An enumerator with its number, an array with its range.
std::string list_text(const Record &record, const ListingColumn &column) {
    std::string text = cell_text(record, column, Reader::person);
    if (column.what != ListingColumn::What::field) return text;
    const Value value = record.value(*column.column);
    if (!value.present()) return text;
    if (value.field().kind == Kind::enumeration && text != std::to_string(value.number()))
        return fmt::format("{} ({})", text, value.number());
    if (!column.column->path.whole_array) return text;
    const std::vector<uint8_t> elements = value.elements();
    const auto [least, most] = std::minmax_element(elements.begin(), elements.end());
    return fmt::format("{}, {} to {}", text, *least, *most);
}

void print_list_record(std::ostream &out, const Record &record,
                       const std::vector<ListingColumn> &columns, const Screen &screen) {
    std::size_t width = 0;
    for (const ListingColumn &each : columns) width = std::max(width, each.title().size());
    for (const ListingColumn &each : columns) {
        out << dim(fmt::format("{:{}}", each.title(), width), screen);
        const std::string value = shown(list_text(record, each), screen);
        if (!value.empty()) out << "  " << value;
        out << '\n';
    }
}

void print_list(std::ostream &out, const Listing &listing, const Screen &screen) {
    const std::vector<ListingColumn> columns =
        columns_or(listing, all_columns(*listing.instance.table));
    bool first = true;
    for_each_with_progress(listing.selection.records, [&](const Record &record) {
        if (!first) out << '\n';
        first = false;
        print_list_record(out, record, columns, screen);
    });
}

}  // namespace

void print_lines(std::ostream &out, const Listing &listing, const Screen &screen) {
    if (listing.selection.groups) return print_groups(out, listing, screen);
    if (listing.form != Form::list && print_table(out, listing, screen)) return;
    print_list(out, listing, screen);
}

std::vector<ListingColumn> columns_or(const Listing &listing, std::vector<ListingColumn> suitable) {
    return listing.columns.empty() ? std::move(suitable) : listing.columns;
}

void for_each_with_progress(const std::vector<Record> &records,
                            const std::function<void(const Record &)> &print) {
    Progress progress("records", records.size());
    for (const Record &record : records) {
        print(record);
        progress.advance();
    }
}

}  // namespace tarnctl
