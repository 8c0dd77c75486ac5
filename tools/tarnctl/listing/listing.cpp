// SPDX-License-Identifier: Apache-2.0
#include "listing/listing.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "exchange/writer.h"
#include "model/json.h"
#include "terminal/grid.h"
#include "terminal/progress.h"

namespace tarnctl {
namespace {

std::string counted(uint64_t count, std::string_view what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::vector<ListingColumn> columns_or(const Listing &listing, std::vector<ListingColumn> suitable) {
    return listing.columns.empty() ? std::move(suitable) : listing.columns;
}

std::vector<ListingColumn> columns_for_people(const Listing &listing) {
    return columns_or(listing, telling_columns(*listing.instance.table, listing.selection.records));
}

template <class Print>
void for_each_with_progress(const std::vector<Record> &records, Print print) {
    Progress progress("records", records.size());
    for (const Record &record : records) {
        print(record);
        progress.advance();
    }
}

void print_summary(std::ostream &out, const Listing &listing, std::size_t columns_left_out,
                   const Screen &screen) {
    std::string text = counted(listing.selection.records.size(), "record");
    if (listing.selection.hidden_shadows > 0)
        text += fmt::format("; {} hidden: --shadows",
                            counted(listing.selection.hidden_shadows, "shadow"));
    if (columns_left_out > 0)
        text += fmt::format("; {} left out: --columns, get", counted(columns_left_out, "column"));
    out << dim(text, screen) << '\n';
}

void print_table(std::ostream &out, const Listing &listing, const Screen &screen) {
    const std::vector<ListingColumn> columns = columns_for_people(listing);
    std::vector<GridColumn> titles;
    for (const ListingColumn &each : columns) titles.push_back({each.title(), each.is_number()});
    Grid grid(std::move(titles));
    for_each_with_progress(listing.selection.records, [&](const Record &record) {
        std::vector<std::string> cells;
        for (const ListingColumn &each : columns)
            cells.push_back(cell_text(record, each, Reader::person));
        grid.add(std::move(cells), record.is_pending() ? yellow : nullptr);
    });
    std::size_t left_out = 0;
    if (listing.columns.empty()) {
        const auto leading = std::find_if_not(
            columns.begin(), columns.end(), [](const ListingColumn &each) { return each.leads(); });
        left_out =
            grid.leave_out_to_fit(static_cast<std::size_t>(leading - columns.begin()), screen);
    }
    grid.print(out, screen);
    if (screen.is_terminal || left_out > 0) print_summary(out, listing, left_out, screen);
}

// An enumerator with its number, an array with what can be told of it in a line.
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

std::string csv_cell(const std::string &text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
    return quoted + "\"";
}

void print_csv(std::ostream &out, const Listing &listing) {
    const std::vector<ListingColumn> columns =
        columns_or(listing, all_columns(*listing.instance.table));
    std::string line;
    for (const ListingColumn &each : columns)
        line += (line.empty() ? "" : ",") + csv_cell(each.title());
    out << line << "\r\n";
    for_each_with_progress(listing.selection.records, [&](const Record &record) {
        line.clear();
        for (const ListingColumn &each : columns)
            line += (&each == columns.data() ? "" : ",") +
                    csv_cell(cell_text(record, each, Reader::program));
        out << line << "\r\n";
    });
}

Json cell_json(const Record &record, const ListingColumn &column) {
    using What = ListingColumn::What;
    if (column.what == What::tenant) return record.tenant();
    if (column.what == What::source) return record.src();
    if (column.what == What::pending) return record.is_pending();
    const Value value = record.value(*column.column);
    return value.present() ? json_of(value) : Json();
}

Json columns_json(const Record &record, const std::vector<ListingColumn> &columns) {
    Json json = Json::object();
    for (const ListingColumn &each : columns) json[each.title()] = cell_json(record, each);
    return json;
}

// The documents of export.
void print_export(std::ostream &out, const Listing &listing, Format format) {
    const std::unique_ptr<Writer> writer = make_writer(format, out);
    writer->begin_table(listing.instance);
    for_each_with_progress(listing.selection.records,
                           [&](const Record &record) { writer->write(record); });
    writer->end_table();
    writer->end();
}

// With chosen columns.
void print_json_array(std::ostream &out, const Listing &listing) {
    const char *before = "[\n";
    for_each_with_progress(listing.selection.records, [&](const Record &record) {
        out << before << columns_json(record, listing.columns).dump();
        before = ",\n";
    });
    out << (listing.selection.records.empty() ? "[]\n" : "\n]\n");
}

void print_text(std::ostream &out, const Listing &listing) {
    for_each_with_progress(listing.selection.records,
                           [&](const Record &record) { out << record.text(); });
}

// The forms whose bytes a terminal doesn't change.
void print_document(std::ostream &out, const Listing &listing) {
    if (listing.form == Form::text) print_text(out, listing);
    else if (listing.form == Form::csv) print_csv(out, listing);
    else if (listing.form == Form::xml) print_export(out, listing, Format::xml);
    else if (listing.columns.empty()) print_export(out, listing, Format::json);
    else print_json_array(out, listing);
}

// On a terminal nothing but line ends may control it.
std::string safe_lines(std::string_view text, const Screen &screen) {
    std::string safe;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        safe += shown(line, screen);
        if (end < text.size()) safe += '\n';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return safe;
}

template <class Print>
void print_safely(std::ostream &out, const Screen &screen, Print print) {
    if (!screen.is_terminal) return print(out);
    std::ostringstream document;
    print(document);
    out << safe_lines(document.str(), screen);
}

}  // namespace

void print_listing(std::ostream &out, const Listing &listing, const Screen &screen) {
    if (listing.form == Form::table) print_table(out, listing, screen);
    else if (listing.form == Form::list) print_list(out, listing, screen);
    else print_safely(out, screen, [&](std::ostream &safe) { print_document(safe, listing); });
}

void print_record(std::ostream &out, const Listing &listing, const Screen &screen) {
    if (listing.form != Form::json) return print_listing(out, listing, screen);
    const Record &record = listing.selection.records.front();
    const Json json =
        listing.columns.empty() ? json_of(record) : columns_json(record, listing.columns);
    print_safely(out, screen, [&](std::ostream &safe) { safe << json.dump() << '\n'; });
}

}  // namespace tarnctl
