// SPDX-License-Identifier: Apache-2.0
#include "keeper.h"

#include "tarnbase/tarn/journal.hpp"

namespace tarn_ldap {
namespace {

constexpr std::string_view kOf = " of ";

// A server's record, made with zeros if there is none.
template <class Table>
typename Table::record_type find_or_make(Table &table, const std::string &name) {
    if (const auto found = table.find(name)) return *found;
    return table.insert(table.make(name));
}

}  // namespace

Keeper::Keeper(tarn::store store)
    : store_(std::move(store)),
      session_(store_),
      stats_(StatsTable::open_or_create(session_, kTableName)),
      summary_(SummaryTable::open_or_create(session_, kTableName)),
      conn_(ConnTable::open_or_create(session_, kTableName)) {
    if (const auto places = PlacesTable::try_open(session_, kPlacesName)) places_ = *places;
    else if (places.error().number() != ENOENT) throw places.error();
}

std::optional<Server> Keeper::read(const std::string &name) const {
    const auto stats = stats_.find(name);
    const auto summary = summary_.find(name);
    const auto conn = conn_.find(name);
    if (!stats && !summary && !conn) return std::nullopt;

    Server server;
#define X(field) server.stats.field = stats->field();
    if (stats) {
        LDAP_STATS_COUNTERS(X)
    }
#undef X
    if (summary) {
        server.req_timeout = summary->req_timeout();
        server.status = summary->status();
    }
    if (conn) server.num_conns = conn->num_conns();
    return server;
}

// Setting a field to the value that it has would cost a log entry and mark the object as modified.
#define SET_IF_CHANGED(record, field, value) \
    if (record.field() != (value)) record.set_##field(value);

void Keeper::write(const std::string &name, const Server &server, const Origin &origin) {
    // A new table belongs to no transaction.
    if (!origin.source.empty() && !places_)
        places_ = PlacesTable::open_or_create(session_, kPlacesName);
    tarn::transaction transaction(session_);
    tarn::label(session_, transaction, origin.label);
    auto stats = find_or_make(stats_, name);
#define X(field) SET_IF_CHANGED(stats, field, server.stats.field)
    LDAP_STATS_COUNTERS(X)
#undef X
    auto summary = find_or_make(summary_, name);
    SET_IF_CHANGED(summary, req_timeout, server.req_timeout)
    SET_IF_CHANGED(summary, status, server.status)
    auto conn = find_or_make(conn_, name);
    SET_IF_CHANGED(conn, num_conns, server.num_conns)
    if (!origin.source.empty()) {
        auto place = find_or_make(*places_, origin.source);
        SET_IF_CHANGED(place, gen_num, origin.position + std::string(kOf) + name)
    }
    transaction.commit();
}

std::optional<Place> Keeper::place(const std::string &source) const {
    if (!places_) return std::nullopt;
    const auto record = places_->find(source);
    if (!record) return std::nullopt;
    const std::string text(record->gen_num());
    const size_t end = text.find(kOf);
    if (end == std::string::npos) return Place{text, ""};
    return Place{text.substr(0, end), text.substr(end + kOf.size())};
}

}  // namespace tarn_ldap
