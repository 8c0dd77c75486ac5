// SPDX-License-Identifier: Apache-2.0
//
// Records of any of the tables, and the fields of their objects.
#ifndef EXAMPLES_DOT1X_PORTS_RECORDS_H
#define EXAMPLES_DOT1X_PORTS_RECORDS_H

#include <algorithm>
#include <limits>
#include <string>

#include "common/session.h"

namespace dot1x_ports {

// Whose arena an operation works in, and the transaction that it belongs to.
struct Access {
    kel_handle *handle;
    uint32_t tx_id;
};

// A table outlives every transaction, so it is opened in none.
template <class Table>
kel_table *open_table(const example::Session &session, const char *name) {
    uint32_t err = 0;
    kel_table *table = Table::open(session.handle(), KEL_TX_NONE, name, /*open_only=*/0, &err);
    example::need(err, std::string("opening ") + Table::name);
    return table;
}

// A string that refers to the bytes of `text`.
inline kel_vstring string_of(const std::string &text) {
    kel_vstring string;
    kel_vstring_refer(&string, text.data(), uint32_t(text.size()));
    return string;
}

inline std::string text_of(const kel_vstring *string) {
    uint32_t length = 0;
    const char *bytes = kel_vstring_bytes(string, &length);
    return std::string(bytes, length);
}

// Null if there is none.
template <class Table>
kel_record *find_record(Access access, kel_table *table, const typename Table::Key &key) {
    uint32_t err = 0;
    kel_record *record = Table::search(access.handle, access.tx_id, table, &key, &err);
    example::need(err, std::string("searching ") + Table::name);
    return record;
}

// The object of the record with a key, or null.
template <class Table>
typename Table::Object *find(Access access, kel_table *table, const typename Table::Key &key) {
    kel_record *record = find_record<Table>(access, table, key);
    return record == nullptr ? nullptr : Table::get_object(access.handle, access.tx_id, record);
}

// A record that isn't in the table yet, with an object of zeros.
template <class Table>
kel_record *create_record(Access access) {
    uint32_t err = 0;
    kel_record *record = Table::create_record(access.handle, access.tx_id, &err);
    typename Table::Object *object = Table::create_object(access.handle, access.tx_id);
    if (record == nullptr || object == nullptr)
        throw example::StoreError(std::string("no room for a record of ") + Table::name);
    Table::set_object(access.handle, access.tx_id, record, object);
    return record;
}

template <class Table>
void insert(Access access, kel_table *table, kel_record *record) {
    uint32_t err = 0;
    Table::insert(access.handle, access.tx_id, table, record, &err);
    example::need(err, std::string("inserting into ") + Table::name);
}

// For tables whose key is a field: the object with a key, made if it isn't there.
template <class Table>
typename Table::Object *find_or_make(Access access, kel_table *table,
                                     const typename Table::Key &key) {
    if (typename Table::Object *object = find<Table>(access, table, key)) return object;
    uint32_t err = 0;
    kel_record *record = create_record<Table>(access);
    typename Table::Object *object = Table::get_object(access.handle, access.tx_id, record);
    Table::set_key(access.handle, access.tx_id, object, &key, &err);
    example::need(err, std::string("the key of ") + Table::name);
    insert<Table>(access, table, record);
    return object;
}

// Takes a record out of its table and destroys it with what it owns.
template <class Table>
void erase_record(Access access, kel_table *table, kel_record *record) {
    uint32_t err = 0;
    Table::take_out(access.handle, access.tx_id, table, record, &err);
    Table::destroy_record(access.handle, access.tx_id, record, &err);
    example::need(err, std::string("deleting from ") + Table::name);
}

template <class Table>
void erase(Access access, kel_table *table, const typename Table::Key &key) {
    if (kel_record *record = find_record<Table>(access, table, key))
        erase_record<Table>(access, table, record);
}

// The records of a table in key order; the one at hand may be erased.
template <class Table, class Function>
void for_each_record(Access access, kel_table *table, Function function) {
    uint32_t err = 0;
    kel_record *record = Table::get_first(access.handle, access.tx_id, table, &err);
    while (err == 0 && record != nullptr) {
        kel_record *next = Table::get_next(access.handle, access.tx_id, table, record, &err);
        function(record, next);
        record = next;
    }
    example::need(err, std::string("walking ") + Table::name);
}

// The fields of one object, read and written through their accessors. Values that stay as they are
// cost no log entry and mark nothing as modified.
template <class Object>
class Fields {
 public:
    Fields(Access access, Object *object) : access_(access), object_(object) {}

    template <class Get>
    auto get(Get get_field) {
        return get_field(access_.handle, access_.tx_id, object_, &err_);
    }
    template <class Get>
    uint32_t number(Get get_value) {
        return uint32_t(get(get_value));
    }
    template <class Get>
    std::string text(Get get_string) {
        const kel_vstring *string = get(get_string);
        return string == nullptr ? std::string() : text_of(string);
    }

    template <class Get, class Set>
    void put(Get get_value, Set set_value, uint32_t value) {
        if (get(get_value) != value)
            set_value(access_.handle, access_.tx_id, object_, value, &err_);
    }
    // A field that is signed stays at its largest value.
    template <class Get, class Set>
    void put_signed(Get get_value, Set set_value, uint32_t value) {
        constexpr uint32_t most = std::numeric_limits<int32_t>::max();
        const int32_t kept = int32_t(std::min(value, most));
        if (get(get_value) != kept) set_value(access_.handle, access_.tx_id, object_, kept, &err_);
    }
    template <class Get, class Set>
    void put_text(Get get_string, Set set_string, const std::string &value) {
        if (text(get_string) == value) return;
        const kel_vstring source = string_of(value);
        set_string(access_.handle, access_.tx_id, object_, &source, &err_);
    }

    void finish(const char *table) const {
        example::need(err_, std::string("a field of ") + table);
    }

 private:
    Access access_;
    Object *object_;
    uint32_t err_ = 0;
};

}  // namespace dot1x_ports

#endif
