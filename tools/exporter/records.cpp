// SPDX-License-Identifier: Apache-2.0
#include "exporter/records.h"

#include <fmt/core.h>

#include <charconv>
#include <utility>

#include "base/failure.h"
#include "exporter/failure.h"
#include "listing/columns.h"
#include "listing/key_words.h"
#include "listing/selection.h"
#include "model/json.h"

namespace exporter {
namespace {

using tarnctl::Failure;
using tarnctl::Instance;
using tarnctl::Json;
using tarnctl::ListingColumn;
using tarnctl::Record;
using tarnctl::Store;
using tarnctl::TableReference;

constexpr uint64_t usual_limit = 1000;
constexpr uint64_t most_records = 100000;

// The instances that a name means. Another process may have removed the table.
std::vector<Instance> instances_of(const Store &store, const std::string &name) {
    const TableReference reference = reference_of(name);
    std::vector<Instance> found = tarnctl::instances_of(store, *reference.table);
    std::erase_if(found, [&](const Instance &each) { return !reference.means(each); });
    if (found.empty())
        throw ApiError(404, fmt::format("the store has no table {}", reference.text()));
    return found;
}

tarnctl::SelectionOptions selection_of(const Request &request) {
    tarnctl::SelectionOptions options;
    options.conditions = request.all("where");
    options.sort = request.all("sort");
    options.offset = number_of(request, "offset", 0, UINT64_MAX - 1);
    options.reverse = request.parameter("reverse") == "true";
    options.shadows = request.parameter("shadows") == "true";
    if (request.parameter("tenant"))
        options.tenant = static_cast<uint16_t>(number_of(request, "tenant", 0, UINT16_MAX));
    if (request.parameter("source"))
        options.source = static_cast<uint8_t>(number_of(request, "source", 0, UINT8_MAX));
    return options;
}

Json json_of(const Record &record, const std::vector<ListingColumn> &columns) {
    if (columns.empty()) return tarnctl::json_of(record);
    Json row = Json::object();
    for (const ListingColumn &each : columns) row.set(each.title(), cell_json(record, each));
    return row;
}

Json json_of(const Store &store, const Instance &instance, const Request &request) {
    const uint64_t limit = number_of(request, "limit", usual_limit, most_records);
    tarnctl::SelectionOptions options = selection_of(request);
    options.limit = limit + 1;
    options.unreadable = tarnctl::Unreadable::leave_out;
    const std::vector<std::string> names = request.all("column");
    std::vector<ListingColumn> columns;
    if (!names.empty()) columns = tarnctl::named_columns(*instance.table, names);
    const tarnctl::Selection selection = tarnctl::select(store, instance, options);
    Json records = Json::array();
    for (std::size_t i = 0; i < selection.records.size() && i < limit; ++i)
        records.add(json_of(selection.records[i], columns));
    Json json{{"table", tarnctl::json_of_bytes(instance.full_name())},
              {"records", std::move(records)},
              {"more", selection.records.size() > limit}};
    if (selection.left_out > 0) json.set("unreadable", selection.left_out);
    return json;
}

}  // namespace

uint64_t number_of(const Request &request, const std::string &name, uint64_t usual, uint64_t most) {
    const auto text = request.parameter(name);
    if (!text) return usual;
    uint64_t number = 0;
    const auto read = std::from_chars(text->data(), text->data() + text->size(), number);
    if (read.ec != std::errc() || read.ptr != text->data() + text->size() || number > most)
        throw ApiError(400, fmt::format("{}: expected a number from 0 to {}", name, most));
    return number;
}

TableReference reference_of(const std::string &name) {
    try {
        return tarnctl::parse_table(name);
    } catch (const Failure &failure) {
        throw ApiError(404, failure.what());
    }
}

void add_tables(const Store &store, const std::string &name, uint64_t transaction, Json &list) {
    for (const Instance &instance : tarnctl::instances(store))
        list.add({{"store", name},
                  {"transaction", transaction},
                  {"table", tarnctl::json_of_bytes(instance.full_name())},
                  {"type", instance.table->name},
                  {"meaning", instance.table->type->meaning},
                  {"records", instance.block->record_count}});
}

Json records_of(const Store &store, const Request &request, const std::string &table) {
    Json tables = Json::array();
    for (const Instance &each : instances_of(store, table))
        tables.add(json_of(store, each, request));
    return tables;
}

Json records_of_key(const Store &store, const std::string &table,
                    const std::vector<std::string> &key) {
    Json records = Json::array();
    bool is_found = false;
    uint64_t unreadable = 0;
    for (const Instance &each : instances_of(store, table)) {
        const tarnctl::Key wanted(*each.table, tarnctl::key_texts(*each.table, key));
        const auto add = [&](const Record &record) {
            is_found = true;
            Json found{{"table", tarnctl::json_of_bytes(each.full_name())}};
            found.update(tarnctl::json_of(record));
            records.add(found);
            return true;
        };
        unreadable += tarnctl::for_each_record_of_key(store, each, wanted, add,
                                                      tarnctl::Unreadable::leave_out);
    }
    if (!is_found && unreadable == 0)
        throw ApiError(404, fmt::format("{} has no record of this key", table));
    Json json{{"records", std::move(records)}};
    if (unreadable > 0) json.set("unreadable", unreadable);
    return json;
}

}  // namespace exporter
