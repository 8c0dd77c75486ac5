// SPDX-License-Identifier: Apache-2.0
#include "keeper.h"

#include <utility>

#include "tarnbase/tarn/journal.hpp"

namespace tarn_radius {
namespace {

// Setting a field to the value that it has would cost a log entry and mark the object as modified.
#define PUT(field)                                                           \
    if (const auto value = static_cast<decltype(object.field())>(row.field); \
        object.field() != value)                                             \
        object.set_##field(value);
#define READ(field) row.field = static_cast<uint32_t>(object.field());

void put(tarn::aaa_type object, const AuthenRow &row) { RADIUS_AUTHEN_NUMBERS(PUT) }

void put(tarn::aaa_servers object, const ServerRow &row) {
    RADIUS_SERVER_NUMBERS(PUT)
    put(object.aaa_authen(), row.aaa_authen);
}

AuthenRow read_object(const tarn::aaa_type &object) {
    AuthenRow row;
    RADIUS_AUTHEN_NUMBERS(READ)
    return row;
}

ServerRow read_object(const tarn::aaa_servers &object) {
    ServerRow row;
    RADIUS_SERVER_NUMBERS(READ)
    row.aaa_authen = read_object(object.aaa_authen());
    return row;
}

#undef PUT
#undef READ

// A label has 1024 bytes at most.
constexpr size_t kLongestLabel = 1024;

std::string label_of(const std::vector<std::string> &servers) {
    const std::string start = "Status-Server of ";
    std::string names;
    for (const std::string &each : servers) names += (names.empty() ? "" : ", ") + each;
    if (start.size() + names.size() <= kLongestLabel) return start + names;
    return start + std::to_string(servers.size()) + " servers";
}

}  // namespace

Keeper::Keeper(tarn::store store)
    : store_(std::move(store)),
      session_(store_),
      servers_(ServerTable::open_or_create(session_, kTableName)) {}

std::optional<ServerRow> Keeper::read(const std::string &name) const {
    const auto found = servers_.find(name);
    if (!found) return std::nullopt;
    return read_object(*found);
}

void Keeper::write(const std::map<std::string, ServerRow> &rows,
                   const std::vector<std::string> &servers) {
    tarn::transaction transaction(session_);
    tarn::label(session_, transaction, label_of(servers));
    for (const auto &[name, row] : rows) {
        const auto found = servers_.find(name);
        put(found ? *found : servers_.insert(servers_.make(name)), row);
    }
    transaction.commit();
}

}  // namespace tarn_radius
