// SPDX-License-Identifier: Apache-2.0
#include "keeper.h"

#include "common/ldap_tables.h"

namespace ldap_stats {
namespace {

using example::ConnTable;
using example::need;
using example::Session;
using example::StatsTable;
using example::StoreError;
using example::SummaryTable;
using example::Transaction;

// A table outlives every transaction, so it is opened in none.
template <class Table>
kel_table *open_table(const Session &session) {
    uint32_t err = 0;
    kel_table *table =
        Table::open(session.handle(), KEL_TX_NONE, example::kTableName, /*open_only=*/0, &err);
    need(err, std::string("opening ") + Table::name);
    return table;
}

// A key that refers to the text of `name`.
kel_vstring key_of(const std::string &name) {
    kel_vstring key;
    kel_vstring_refer(&key, name.data(), uint32_t(name.size()));
    return key;
}

// The object of a server's record, or null if there is none.
template <class Table>
typename Table::Object *find(kel_handle *handle, uint32_t tx_id, kel_table *table,
                             const std::string &name) {
    uint32_t err = 0;
    const kel_vstring key = key_of(name);
    kel_record *record = Table::search(handle, tx_id, table, &key, &err);
    need(err, std::string("searching ") + Table::name);
    return record == nullptr ? nullptr : Table::get_object(handle, tx_id, record);
}

// Makes a server's record, all zero but for its name.
template <class Table>
typename Table::Object *make(kel_handle *handle, uint32_t tx_id, kel_table *table,
                             const std::string &name) {
    uint32_t err = 0;
    const kel_vstring key = key_of(name);
    kel_record *record = Table::create_record(handle, tx_id, &err);
    typename Table::Object *object = Table::create_object(handle, tx_id);
    if (record == nullptr || object == nullptr)
        throw StoreError(std::string("no room for a record of ") + Table::name);
    Table::set_sname(handle, tx_id, object, &key, &err);
    Table::set_object(handle, tx_id, record, object);
    Table::insert(handle, tx_id, table, record, &err);
    need(err, std::string("inserting into ") + Table::name);
    return object;
}

template <class Table>
typename Table::Object *find_or_make(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                     const std::string &name) {
    typename Table::Object *object = find<Table>(handle, tx_id, table, name);
    return object != nullptr ? object : make<Table>(handle, tx_id, table, name);
}

// The fields of one object, read and written through their accessors.
template <class Object>
class Fields {
 public:
    Fields(kel_handle *handle, uint32_t tx_id, Object *object)
        : handle_(handle), tx_id_(tx_id), object_(object) {}

    template <class Get>
    uint32_t get(Get get_value) {
        return get_value(handle_, tx_id_, object_, &err_);
    }
    // A value that stays costs no log entry and marks nothing as modified.
    template <class Get, class Set>
    void put(Get get_value, Set set_value, uint32_t value) {
        if (get(get_value) != value) set_value(handle_, tx_id_, object_, value, &err_);
    }
    void finish(const char *table) const { need(err_, std::string("a field of ") + table); }

 private:
    kel_handle *handle_;
    uint32_t tx_id_;
    Object *object_;
    uint32_t err_ = 0;
};

}  // namespace

Keeper::Keeper(const std::string &path)
    : session_(Session::open_or_create(path)),
      stats_(open_table<StatsTable>(session_)),
      summary_(open_table<SummaryTable>(session_)),
      conn_(open_table<ConnTable>(session_)) {}

std::optional<Server> Keeper::read(const std::string &name) const {
    kel_handle *handle = session_.handle();
    st_ldap_stats *stats = find<StatsTable>(handle, KEL_TX_NONE, stats_, name);
    st_ldap_summary *summary = find<SummaryTable>(handle, KEL_TX_NONE, summary_, name);
    st_ldap_conn *conn = find<ConnTable>(handle, KEL_TX_NONE, conn_, name);
    if (stats == nullptr && summary == nullptr && conn == nullptr) return std::nullopt;

    // The value forms read a null object as zeros.
    Server server;
    Fields stats_fields(handle, KEL_TX_NONE, stats);
#define X(field) server.stats.field = stats_fields.get(st_ldap_stats_##field##_get_value);
    LDAP_STATS_COUNTERS(X)
#undef X
    stats_fields.finish(StatsTable::name);
    Fields summary_fields(handle, KEL_TX_NONE, summary);
    server.req_timeout = summary_fields.get(st_ldap_summary_req_timeout_get_value);
    server.status = summary_fields.get(st_ldap_summary_status_get_value) != 0;
    summary_fields.finish(SummaryTable::name);
    Fields conn_fields(handle, KEL_TX_NONE, conn);
    server.num_conns = conn_fields.get(st_ldap_conn_num_conns_get_value);
    conn_fields.finish(ConnTable::name);
    return server;
}

void Keeper::write(const std::string &name, const Server &server) {
    kel_handle *handle = session_.handle();
    Transaction transaction(session_);
    const uint32_t tx_id = transaction.id();

    Fields stats(handle, tx_id, find_or_make<StatsTable>(handle, tx_id, stats_, name));
#define X(field)                                                                    \
    stats.put(st_ldap_stats_##field##_get_value, st_ldap_stats_##field##_set_value, \
              server.stats.field);
    LDAP_STATS_COUNTERS(X)
#undef X
    stats.finish(StatsTable::name);
    Fields summary(handle, tx_id, find_or_make<SummaryTable>(handle, tx_id, summary_, name));
    summary.put(st_ldap_summary_req_timeout_get_value, st_ldap_summary_req_timeout_set_value,
                server.req_timeout);
    summary.put(st_ldap_summary_status_get_value, st_ldap_summary_status_set_value,
                server.status ? 1 : 0);
    summary.finish(SummaryTable::name);
    Fields conn(handle, tx_id, find_or_make<ConnTable>(handle, tx_id, conn_, name));
    conn.put(st_ldap_conn_num_conns_get_value, st_ldap_conn_num_conns_set_value, server.num_conns);
    conn.finish(ConnTable::name);
    transaction.commit();
}

}  // namespace ldap_stats
