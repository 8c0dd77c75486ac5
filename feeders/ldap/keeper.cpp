// SPDX-License-Identifier: Apache-2.0
#include "keeper.h"

#include "tarnbase/tarn/journal.hpp"

namespace tarn_ldap {
namespace {

// A server's record, made with zeros if there is none.
template <class Table>
typename Table::record_type find_or_make(Table &table, const std::string &name) {
    if (const auto found = table.find(name)) return *found;
    return table.insert(table.make(name));
}

}  // namespace

Keeper::Keeper(const std::string &path)
    : store_(tarn::store::open_or_create(path)),
      session_(store_),
      stats_(StatsTable::open_or_create(session_, kTableName)),
      summary_(SummaryTable::open_or_create(session_, kTableName)),
      conn_(ConnTable::open_or_create(session_, kTableName)) {}

void Keeper::keep_journal() {
    kel_journal_settings settings = tarn::try_describe_journal(store_).value().settings;
    if (settings.enabled != 0) return;
    settings.enabled = 1;
    tarn::set_journal(store_, settings);
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

void Keeper::write(const std::string &name, const Server &server, const std::string &label) {
    tarn::transaction transaction(session_);
    tarn::label(session_, transaction, label);
    auto stats = find_or_make(stats_, name);
#define X(field) SET_IF_CHANGED(stats, field, server.stats.field)
    LDAP_STATS_COUNTERS(X)
#undef X
    auto summary = find_or_make(summary_, name);
    SET_IF_CHANGED(summary, req_timeout, server.req_timeout)
    SET_IF_CHANGED(summary, status, server.status)
    auto conn = find_or_make(conn_, name);
    SET_IF_CHANGED(conn, num_conns, server.num_conns)
    transaction.commit();
}

}  // namespace tarn_ldap
