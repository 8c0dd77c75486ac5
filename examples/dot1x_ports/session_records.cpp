// SPDX-License-Identifier: Apache-2.0
#include "session_records.h"

#include <set>
#include <utility>

#include "tables.h"

namespace dot1x_ports {
namespace {

constexpr uint8_t kSearchtype = 0;

// What stands in a key.
struct Identity {
    uint32_t if_index;
    std::string session_id;
    uint8_t searchtype;
};

Identity identity_of(Access access, pexSessionEntry_key *key) {
    Fields fields(access, key);
    Identity identity{fields.number(pexSessionEntry_key_if_index_get_value),
                      fields.text(pexSessionEntry_key_session_id_in_get),
                      fields.get(pexSessionEntry_key_searchtype_get_value)};
    fields.finish(SessionTable::name);
    return identity;
}

// A key object, destroyed unless a record has taken it.
class Key {
 public:
    Key(Access access, uint32_t if_index, const std::string &session_id)
        : access_(access), key_(SessionTable::create_key(access.handle, access.tx_id)) {
        if (key_ == nullptr) throw example::StoreError("no room for a key of a session");
        Fields fields(access, key_);
        fields.put(pexSessionEntry_key_if_index_get_value, pexSessionEntry_key_if_index_set_value,
                   if_index);
        fields.put_text(pexSessionEntry_key_session_id_in_get,
                        pexSessionEntry_key_session_id_in_set, session_id);
        fields.finish(SessionTable::name);
    }
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;
    ~Key() {
        if (key_ != nullptr) SessionTable::destroy_key(access_.handle, access_.tx_id, key_);
    }

    const pexSessionEntry_key &get() const { return *key_; }
    void give_to(kel_record *record) {
        SessionTable::set_key(access_.handle, access_.tx_id, record, std::exchange(key_, nullptr));
    }

 private:
    Access access_;
    pexSessionEntry_key *key_;
};

st_pexSessionEntry_op *find_or_make_session(Access access, kel_table *table, uint32_t if_index,
                                            const std::string &session_id) {
    Key key(access, if_index, session_id);
    if (st_pexSessionEntry_op *object = find<SessionTable>(access, table, key.get())) return object;
    kel_record *record = create_record<SessionTable>(access);
    key.give_to(record);
    insert<SessionTable>(access, table, record);
    return SessionTable::get_object(access.handle, access.tx_id, record);
}

Identity identity_of(Access access, kel_record *record) {
    return identity_of(access, SessionTable::get_key(access.handle, access.tx_id, record));
}

SessionRow read_row(Access access, st_pexSessionEntry_op *object) {
    SessionRow row;
    Fields fields(access, object);
#define X(field) row.field = fields.number(st_pexSessionEntry_op_##field##_get_value);
    DOT1X_SESSION_NUMBERS(X)
#undef X
#define X(field) row.field = fields.text(st_pexSessionEntry_op_##field##_get);
    DOT1X_SESSION_TEXTS(X)
#undef X
    row.next_if_index = fields.number(st_pexSessionEntry_op_next_if_index_get_value);
    fields.finish(SessionTable::name);
    return row;
}

}  // namespace

SessionRecords::SessionRecords(const example::Session &session)
    : table_(open_table<SessionTable>(session, kTableName)) {}

void SessionRecords::write(Access access, const std::vector<PortRows> &ports) const {
    for (const PortRows &port : ports)
        for (const SessionRow &row : port.sessions) write_session(access, port.port.if_index, row);
    erase_vanished(access, ports);
    link(access);
}

void SessionRecords::write_session(Access access, uint32_t if_index, const SessionRow &row) const {
    Fields fields(access, find_or_make_session(access, table_, if_index, row.session_id));
#define X(field)                                          \
    fields.put(st_pexSessionEntry_op_##field##_get_value, \
               st_pexSessionEntry_op_##field##_set_value, row.field);
    DOT1X_SESSION_NUMBERS(X)
#undef X
#define X(field)                                                                              \
    fields.put_text(st_pexSessionEntry_op_##field##_get, st_pexSessionEntry_op_##field##_set, \
                    row.field);
    DOT1X_SESSION_TEXTS(X)
#undef X
    fields.finish(SessionTable::name);
}

void SessionRecords::erase_vanished(Access access, const std::vector<PortRows> &ports) const {
    std::set<uint32_t> asked;
    std::set<std::pair<uint32_t, std::string>> there;
    for (const PortRows &port : ports) {
        asked.insert(port.port.if_index);
        for (const SessionRow &row : port.sessions)
            there.emplace(port.port.if_index, row.session_id);
    }
    for_each_record<SessionTable>(access, table_, [&](kel_record *record, kel_record *) {
        const Identity identity = identity_of(access, record);
        if (identity.searchtype == kSearchtype && asked.contains(identity.if_index) &&
            !there.contains({identity.if_index, identity.session_id}))
            erase_record<SessionTable>(access, table_, record);
    });
}

// Stores in each row the port of the next row, 0 in the last.
void SessionRecords::link(Access access) const {
    for_each_record<SessionTable>(access, table_, [&](kel_record *record, kel_record *next) {
        const uint32_t index = next == nullptr ? 0 : identity_of(access, next).if_index;
        Fields fields(access, SessionTable::get_object(access.handle, access.tx_id, record));
        fields.put(st_pexSessionEntry_op_next_if_index_get_value,
                   st_pexSessionEntry_op_next_if_index_set_value, index);
        fields.finish(SessionTable::name);
    });
}

std::vector<SessionRow> SessionRecords::read(Access access, uint32_t if_index) const {
    std::vector<SessionRow> rows;
    for_each_record<SessionTable>(access, table_, [&](kel_record *record, kel_record *) {
        const Identity identity = identity_of(access, record);
        if (identity.if_index == if_index && identity.searchtype == kSearchtype)
            rows.push_back(
                read_row(access, SessionTable::get_object(access.handle, access.tx_id, record)));
    });
    return rows;
}

}  // namespace dot1x_ports
