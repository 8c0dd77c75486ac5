// SPDX-License-Identifier: Apache-2.0
#include "listing/columns.h"

#include <fmt/core.h>

#include <algorithm>

#include "query/single_value.h"

namespace tarnctl {
namespace {

using What = ListingColumn::What;

constexpr What beside_fields[] = {What::tenant, What::source, What::pending};

std::string_view name_of(What what) {
    switch (what) {
        case What::tenant:
            return "tenant";
        case What::source:
            return "source";
        default:
            return "pending";
    }
}

void add_fields(const Table &table, std::vector<ListingColumn> &columns) {
    for (Column &column : columns_of(table)) columns.push_back({What::field, std::move(column)});
}

void add_named(const Table &table, const std::string &name, std::vector<ListingColumn> &columns) {
    if (name == "*" || name == "all") {
        for (ListingColumn &each : all_columns(table)) columns.push_back(std::move(each));
        return;
    }
    for (const What what : beside_fields) {
        if (name == name_of(what)) return columns.push_back({what, std::nullopt});
    }
    const std::size_t before = columns.size();
    for (Column &column : columns_of(table)) {
        if (column.name().starts_with(name + "."))
            columns.push_back({What::field, std::move(column)});
    }
    if (columns.size() == before) columns.push_back({What::field, column_named(table, name)});
}

}  // namespace

std::string ListingColumn::title() const {
    return what == What::field ? column->name() : std::string(name_of(what));
}

bool ListingColumn::is_number() const {
    if (what != What::field) return what != What::pending;
    const Path &path = column->path;
    return path.leaf().is_number() || (path.leaf().kind == Kind::array && !path.whole_array);
}

std::vector<ListingColumn> named_columns(const Table &table,
                                         const std::vector<std::string> &names) {
    std::vector<ListingColumn> columns;
    for (const std::string &name : names) add_named(table, name, columns);
    return columns;
}

ListingColumn single_column(const Table &table, const std::string &name) {
    for (const What what : beside_fields) {
        if (name == name_of(what)) return {what, std::nullopt};
    }
    return {What::field, single_value_column(table, name)};
}

std::vector<ListingColumn> all_columns(const Table &table) {
    std::vector<ListingColumn> columns = {{What::tenant, std::nullopt},
                                          {What::source, std::nullopt}};
    add_fields(table, columns);
    return columns;
}

std::vector<ListingColumn> useful_columns(const Table &table, const std::vector<Record> &records) {
    const auto any = [&](auto is) { return std::any_of(records.begin(), records.end(), is); };
    std::vector<ListingColumn> columns;
    if (any([](const Record &each) { return each.tenant() != 0; }))
        columns.push_back({What::tenant, std::nullopt});
    if (any([](const Record &each) { return each.src() != KEL_SOURCE_DEFAULT; }))
        columns.push_back({What::source, std::nullopt});
    if (any([](const Record &each) { return each.is_pending(); }))
        columns.push_back({What::pending, std::nullopt});
    add_fields(table, columns);
    return columns;
}

std::string cell_text(const Record &record, const ListingColumn &column, Reader reader) {
    if (column.what == What::tenant) return std::to_string(record.tenant());
    if (column.what == What::source) return std::to_string(record.src());
    if (column.what == What::pending) return record.is_pending() ? "true" : "false";
    const Value value = record.value(*column.column);
    if (!value.present()) return reader == Reader::person ? "-" : "";
    if (reader == Reader::person && column.column->path.whole_array)
        return fmt::format("{} values", value.field().elements);
    return value.text();
}

Json cell_json(const Record &record, const ListingColumn &column) {
    if (column.what == What::tenant) return record.tenant();
    if (column.what == What::source) return record.src();
    if (column.what == What::pending) return record.is_pending();
    const Value value = record.value(*column.column);
    return value.present() ? json_of(value) : Json();
}

Cell order_cell(const Record &record, const ListingColumn &column) {
    if (column.what == What::tenant) return Wide{record.tenant()};
    if (column.what == What::source) return Wide{record.src()};
    if (column.what == What::pending) return Wide{record.is_pending()};
    return cell_of(record.value(*column.column));
}

}  // namespace tarnctl
