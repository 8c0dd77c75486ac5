// SPDX-License-Identifier: Apache-2.0
#include "exporter/api.h"

#include <fmt/core.h>

#include <charconv>
#include <chrono>
#include <memory>
#include <utility>

#include "base/failure.h"
#include "describe/describe.h"
#include "exporter/figures.h"
#include "listing/columns.h"
#include "listing/key_words.h"
#include "listing/selection.h"
#include "model/instance.h"
#include "model/json.h"

namespace exporter {
namespace {

using tarnctl::Exit;
using tarnctl::Failure;
using tarnctl::Instance;
using tarnctl::Json;
using tarnctl::ListingColumn;
using tarnctl::Record;
using tarnctl::Store;
using tarnctl::TableReference;

constexpr uint64_t usual_limit = 1000;
constexpr uint64_t most_records = 100000;
// A stream without events writes something so often, so that a connection that is gone is noticed.
constexpr std::chrono::seconds between_signs{15};

Response json_response(const Json &json) {
    return {.body = json.dump() + "\n", .headers = {{"Cache-Control", "no-store"}}};
}

FollowedStore &store_of(const Stores &stores, const Request &request) {
    const auto name = request.parameter("store");
    if (!name && stores.size() == 1) return *stores.front();
    std::string names;
    for (const auto &each : stores) {
        if (name && each->name() == *name) return *each;
        names += (names.empty() ? "" : ", ") + each->name();
    }
    if (name) throw ApiError(404, fmt::format("no store `{}`; there are {}", *name, names));
    throw ApiError(400, "store: expected one of " + names);
}

template <class Function>
void read_open(FollowedStore &store, Function function) {
    if (!store.read(function))
        throw ApiError(503, fmt::format("the store {} isn't open", store.name()));
}

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

// The answer to a request for records, without them.
Json head_of(const FollowedStore &store, uint64_t transaction) {
    return {{"store", store.name()}, {"transaction", transaction}};
}

Json json_of(const Store &store, const Instance &instance, const Request &request) {
    const uint64_t limit = number_of(request, "limit", usual_limit, most_records);
    tarnctl::SelectionOptions options = selection_of(request);
    options.limit = limit + 1;
    const std::vector<std::string> names = request.all("column");
    std::vector<ListingColumn> columns;
    if (!names.empty()) columns = tarnctl::named_columns(*instance.table, names);
    const tarnctl::Selection selection = tarnctl::select(store, instance, options);
    Json records = Json::array();
    for (std::size_t i = 0; i < selection.records.size() && i < limit; ++i)
        records.add(json_of(selection.records[i], columns));
    return {{"table", tarnctl::json_of_bytes(instance.full_name())},
            {"records", std::move(records)},
            {"more", selection.records.size() > limit}};
}

Json json_of(const TableFigures &table) {
    Json figures = Json::array();
    for (const Figure &each : table.figures)
        figures.add({{"field", each.column.name()},
                     {"metric", each.name},
                     {"type", each.is_counter ? "counter" : "gauge"},
                     {"help", each.help}});
    Json labels = Json::array();
    for (const LabelField &each : table.info)
        labels.add({{"field", each.column.name()}, {"label", each.name}});
    Json key = Json::array();
    for (const LabelField &each : table.key)
        key.add({{"field", each.column.name()}, {"label", each.name}});
    return {
        {"key", std::move(key)}, {"figures", std::move(figures)}, {"labels", std::move(labels)}};
}

std::string event_text(const EventPosition &position, std::string_view kind,
                       const std::string &data) {
    return fmt::format("id: {}\nevent: {}\ndata: {}\n\n", position.text(), kind, data);
}

// The events of one client.
class ChangeStream {
 public:
    ChangeStream(FollowedStore &store, EventPosition position, bool is_new)
        : store_(store), position_(std::move(position)), is_new_(is_new) {}

    bool next(std::string &piece) {
        if (std::exchange(is_new_, false)) {
            piece = event_text(position_, "begin", place().dump());
            return true;
        }
        const EventPosition before = position_;
        const EventBatch batch = store_.events().next(position_, between_signs);
        if (batch.kind == EventBatch::Kind::end) return false;
        piece = batch.kind == EventBatch::Kind::nothing ? ":\n\n" : "";
        if (batch.kind == EventBatch::Kind::gap) piece = gap_text(before);
        for (const Event &each : batch.events)
            piece += event_text({position_.identity, each.transaction}, "changes", *each.data);
        return true;
    }

 private:
    Json place() const {
        return {{"store", store_.name()}, {"transaction", position_.transaction}};
    }
    // The transactions that are missing, if it is the same store still.
    std::string gap_text(const EventPosition &before) const {
        Json json = place();
        json.set("replaced", before.identity != position_.identity);
        if (before.identity == position_.identity) json.set("first", before.transaction + 1);
        return event_text(position_, "gap", json.dump());
    }

    FollowedStore &store_;
    EventPosition position_;
    bool is_new_;
};

}  // namespace

Response error_response(int status, const std::string &text) {
    Response response = json_response({{"error", text}});
    response.status = status;
    return response;
}

Response tables_response(const Stores &stores, const Request &request) {
    const auto name = request.parameter("store");
    Json list = Json::array();
    for (const auto &each : stores) {
        if (name && each->name() != *name) continue;
        each->read([&](const Store &store, uint64_t transaction) {
            for (const Instance &instance : tarnctl::instances(store))
                list.add({{"store", each->name()},
                          {"transaction", transaction},
                          {"table", tarnctl::json_of_bytes(instance.full_name())},
                          {"type", instance.table->name},
                          {"meaning", instance.table->type->meaning},
                          {"records", instance.block->record_count}});
        });
    }
    return json_response({{"tables", std::move(list)}});
}

Response records_response(const Stores &stores, const Request &request, const std::string &table) {
    Json json;
    FollowedStore &followed = store_of(stores, request);
    read_open(followed, [&](const Store &store, uint64_t transaction) {
        json = head_of(followed, transaction);
        Json tables = Json::array();
        for (const Instance &each : instances_of(store, table))
            tables.add(json_of(store, each, request));
        json.set("tables", std::move(tables));
    });
    return json_response(json);
}

Response record_response(const Stores &stores, const Request &request, const std::string &table,
                         const std::vector<std::string> &key) {
    Json json;
    FollowedStore &followed = store_of(stores, request);
    read_open(followed, [&](const Store &store, uint64_t transaction) {
        json = head_of(followed, transaction);
        Json records = Json::array();
        bool is_found = false;
        for (const Instance &each : instances_of(store, table)) {
            const tarnctl::Key wanted(*each.table, tarnctl::key_texts(*each.table, key));
            tarnctl::for_each_record_of_key(store, each, wanted, [&](const Record &record) {
                is_found = true;
                Json found{{"table", tarnctl::json_of_bytes(each.full_name())}};
                found.update(tarnctl::json_of(record));
                records.add(std::move(found));
                return true;
            });
        }
        if (!is_found) throw ApiError(404, fmt::format("{} has no record of this key", table));
        json.set("records", std::move(records));
    });
    return json_response(json);
}

Response schema_response() {
    Json tables = Json::array();
    for (const TableFigures &each : figures_of_schema()) {
        Json table = tarnctl::described(*each.table);
        table.set("metrics", json_of(each));
        tables.add(std::move(table));
    }
    Json enumerations = Json::array();
    for (const tarnctl::Enumeration *each : tarnctl::catalogue.enumerations)
        enumerations.add(tarnctl::described(*each));
    return json_response({{"module", tarnctl::catalogue.module},
                          {"tables", std::move(tables)},
                          {"enumerations", std::move(enumerations)}});
}

Response changes_response(const Stores &stores, const Request &request) {
    FollowedStore &store = store_of(stores, request);
    const std::optional<EventPosition> newest = store.events().newest();
    if (!newest) throw ApiError(503, fmt::format("the store {} isn't open", store.name()));
    const bool is_new = request.last_event_id.empty();
    const auto position = is_new ? newest : EventPosition::parse(request.last_event_id);
    if (!position) throw ApiError(400, "Last-Event-ID: expected the id of an event");
    const auto stream = std::make_shared<ChangeStream>(store, *position, is_new);
    return {.type = "text/event-stream",
            .body = "",
            .headers = {{"Cache-Control", "no-store"}},
            .next_piece = [stream](std::string &piece) { return stream->next(piece); }};
}

Response health_response(const Stores &stores) {
    Json states = Json::object();
    bool are_open = true;
    for (const auto &each : stores) {
        const StoreStatus status = each->status();
        are_open = are_open && status.is_open;
        Json state{{"open", status.is_open}, {"transaction", status.transaction}};
        if (!status.is_open) state.set("error", status.error);
        states.set(each->name(), std::move(state));
    }
    Response response = json_response({{"healthy", are_open}, {"stores", std::move(states)}});
    response.status = are_open ? 200 : 503;
    return response;
}

}  // namespace exporter
