// SPDX-License-Identifier: Apache-2.0
#include "exporter/api.h"

#include <fmt/core.h>

#include <chrono>
#include <memory>
#include <utility>

#include "describe/describe.h"
#include "exporter/figures.h"
#include "exporter/records.h"

namespace exporter {
namespace {

using tarnctl::Json;
using tarnctl::Store;

// A stream without events writes something so often, so that a connection that is gone is noticed.
constexpr std::chrono::seconds between_signs{15};

template <class Function>
void read_open(FollowedStore &store, Function function) {
    if (!store.read(function))
        throw ApiError(503, fmt::format("the store {} isn't open", store.name()));
}

// The answer to a request for records, without them.
Json head_of(const FollowedStore &store, uint64_t transaction) {
    return {{"store", store.name()}, {"transaction", transaction}};
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
            piece += event_text({position_.identity, each.transaction}, each.kind, *each.data);
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

Response tables_response(const Stores &stores, const Request &request) {
    const auto name = request.parameter("store");
    Json list = Json::array();
    for (const auto &each : stores) {
        if (name && each->name() != *name) continue;
        each->read([&](const Store &store, uint64_t transaction) {
            add_tables(store, each->name(), transaction, list);
        });
    }
    return json_response({{"tables", std::move(list)}});
}

Response records_response(const Stores &stores, const Request &request, const std::string &table) {
    Json json;
    FollowedStore &followed = store_of(stores, request);
    read_open(followed, [&](const Store &store, uint64_t transaction) {
        json = head_of(followed, transaction);
        json.set("tables", records_of(store, request, table));
    });
    return json_response(json);
}

Response record_response(const Stores &stores, const Request &request, const std::string &table,
                         const std::vector<std::string> &key) {
    Json json;
    FollowedStore &followed = store_of(stores, request);
    read_open(followed, [&](const Store &store, uint64_t transaction) {
        json = head_of(followed, transaction);
        json.update(records_of_key(store, table, key));
    });
    return json_response(json);
}

Response schema_response() {
    Json tables = Json::array();
    for (const TableFigures &each : figures_of_schema()) {
        Json table = tarnctl::described(*each.table);
        table.set("metrics", json_of(each));
        tables.add(table);
    }
    Json structures = Json::array();
    for (const tarnctl::Structure *each : tarnctl::catalogue.structures)
        structures.add(tarnctl::described(*each));
    Json enumerations = Json::array();
    for (const tarnctl::Enumeration *each : tarnctl::catalogue.enumerations)
        enumerations.add(tarnctl::described(*each));
    return json_response({{"module", tarnctl::catalogue.module},
                          {"tables", std::move(tables)},
                          {"structures", std::move(structures)},
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
        states.set(each->name(), state);
    }
    Response response = json_response({{"healthy", are_open}, {"stores", std::move(states)}});
    response.status = are_open ? 200 : 503;
    return response;
}

}  // namespace exporter
