// SPDX-License-Identifier: Apache-2.0
#include "listing/listing.h"

#include <fmt/core.h>

#include <memory>
#include <sstream>

#include "exchange/writer.h"
#include "listing/lines.h"
#include "model/json.h"
#include "terminal/style.h"

namespace tarnctl {
namespace {

std::string csv_cell(const std::string &text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
    return quoted + "\"";
}

template <class Cells, class Text>
void print_csv_line(std::ostream &out, const Cells &cells, Text text) {
    const char *before = "";
    for (const auto &each : cells) {
        out << before << csv_cell(text(each));
        before = ",";
    }
    out << "\r\n";
}

void print_csv_records(std::ostream &out, const Listing &listing) {
    const std::vector<ListingColumn> columns =
        columns_or(listing, all_columns(*listing.instance.table));
    print_csv_line(out, columns, [](const ListingColumn &each) { return each.title(); });
    for_each_with_progress(listing.selection.records, [&](const Record &record) {
        print_csv_line(out, columns, [&](const ListingColumn &each) {
            return cell_text(record, each, Reader::program);
        });
    });
}

void print_csv_groups(std::ostream &out, const Sheet &groups) {
    print_csv_line(out, groups.titles, [](const Sheet::Title &each) { return each.text; });
    for (const std::vector<SheetCell> &line : groups.lines)
        print_csv_line(out, line, [](const SheetCell &each) {
            return each.json == "null" ? std::string() : each.text;
        });
}

Json columns_json(const Record &record, const std::vector<ListingColumn> &columns) {
    Json json = Json::object();
    for (const ListingColumn &each : columns) json.set(each.title(), cell_json(record, each));
    return json;
}

// The document of export.
void print_export(std::ostream &out, const std::vector<Listing> &listings, Format format) {
    const std::unique_ptr<Writer> writer = make_writer(format, out);
    for (const Listing &listing : listings) {
        writer->begin_table(listing.instance);
        for_each_with_progress(listing.selection.records,
                               [&](const Record &record) { writer->write(record); });
        writer->end_table();
    }
    writer->end();
}

// Objects whose members are the chosen columns, or those of groups.
class JsonArray {
 public:
    JsonArray(std::ostream &out, bool names_tables) : out_(out), names_tables_(names_tables) {}

    void add(const Listing &listing) {
        const Selection &selection = listing.selection;
        for (std::size_t i = 0; selection.groups && i < selection.groups->lines.size(); ++i)
            add(listing, selection.groups->json_of_line(i));
        if (selection.groups) return;
        for_each_with_progress(selection.records, [&](const Record &record) {
            add(listing, columns_json(record, listing.columns).dump());
        });
    }
    void end() { out_ << (any_ ? "\n]\n" : "[]\n"); }

 private:
    void add(const Listing &listing, std::string object) {
        if (names_tables_)
            object.insert(1, fmt::format("\"table\":{},",
                                         json_of_bytes(listing.instance.full_name()).dump()));
        out_ << (any_ ? ",\n" : "[\n") << object;
        any_ = true;
    }

    std::ostream &out_;
    bool names_tables_;
    bool any_ = false;
};

void print_json(std::ostream &out, const std::vector<Listing> &listings) {
    const Listing &first = listings.front();
    if (first.columns.empty() && !first.selection.groups)
        return print_export(out, listings, Format::json);
    JsonArray array(out, listings.size() > 1);
    for (const Listing &listing : listings) array.add(listing);
    array.end();
}

// On a terminal all control characters but line ends are escaped.
template <class Print>
void print_safely(std::ostream &out, const Screen &screen, Print print) {
    if (!screen.is_terminal) return print(out);
    std::ostringstream document;
    print(document);
    out << shown_lines(document.str(), screen);
}

void print_csv(std::ostream &out, const Listing &listing) {
    if (listing.selection.groups) print_csv_groups(out, *listing.selection.groups);
    else print_csv_records(out, listing);
}

void print_text(std::ostream &out, const Listing &listing) {
    for_each_with_progress(listing.selection.records,
                           [&](const Record &record) { out << record.text(); });
}

// Several tables with their names.
void print_for_people(std::ostream &out, const std::vector<Listing> &listings,
                      const Screen &screen) {
    for (const Listing &listing : listings) {
        if (&listing != &listings.front()) out << '\n';
        if (listings.size() > 1)
            out << bold(shown(listing.instance.full_name(), screen), screen) << '\n';
        if (listing.form != Form::text) print_lines(out, listing, screen);
        else print_safely(out, screen, [&](std::ostream &safe) { print_text(safe, listing); });
    }
}

}  // namespace

void print_listings(std::ostream &out, const std::vector<Listing> &listings, const Screen &screen) {
    const auto safely = [&](auto print) { print_safely(out, screen, print); };
    switch (listings.front().form) {
        case Form::xml:
            return safely([&](std::ostream &safe) { print_export(safe, listings, Format::xml); });
        case Form::json:
            return safely([&](std::ostream &safe) { print_json(safe, listings); });
        case Form::csv:
            return safely([&](std::ostream &safe) { print_csv(safe, listings.front()); });
        default:
            print_for_people(out, listings, screen);
    }
}

void print_record(std::ostream &out, const Listing &listing, const Screen &screen) {
    if (listing.form != Form::json) return print_listings(out, {listing}, screen);
    const Record &record = listing.selection.records.front();
    const Json json =
        listing.columns.empty() ? json_of(record) : columns_json(record, listing.columns);
    print_safely(out, screen, [&](std::ostream &safe) { safe << json.dump() << '\n'; });
}

}  // namespace tarnctl
