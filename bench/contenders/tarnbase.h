/* SPDX-License-Identifier: Apache-2.0 */
// A table with a text key and one with a u_int32 key, in a store with files or a private one.
#ifndef TARNBASE_BENCH_CONTENDERS_TARNBASE_H
#define TARNBASE_BENCH_CONTENDERS_TARNBASE_H

#include <unistd.h>

#include <cerrno>

#include "bench/contenders/keys.h"
#include "bench/folder.h"
#include "bench/session.h"

namespace bench {

// The calls of a table, by its key.
template <typename Key>
struct Calls;

template <>
struct Calls<TextKey> {
    static constexpr auto open = tbl_ldap_conn_table_open;
    static constexpr auto insert = tbl_ldap_conn_insert;
    static constexpr auto remove = tbl_ldap_conn_delete;
    static constexpr auto destroy = tbl_ldap_conn_destroy_record;
    static constexpr auto first = tbl_ldap_conn_st_ldap_conn_sname_get_first;
    static constexpr auto next = tbl_ldap_conn_st_ldap_conn_sname_get_next;
    static constexpr auto walk = tbl_ldap_conn_st_ldap_conn_sname_walk;
    static constexpr auto object = tbl_ldap_conn_st_ldap_conn_get_field;
    static constexpr auto number = st_ldap_conn_num_conns_get_value;
    static constexpr auto set_number = st_ldap_conn_num_conns_set_value;

    static kel_vstring text(const TextKey &key) {
        kel_vstring text;
        kel_vstring_refer(&text, key.bytes.data(), static_cast<std::uint32_t>(key.bytes.size()));
        return text;
    }
    static kel_record *make(kel_handle *handle, std::uint32_t tx, const TextKey &key,
                            std::uint32_t content, std::uint32_t *err) {
        const kel_vstring name = text(key);
        kel_record *record = tbl_ldap_conn_create_record(handle, tx, err);
        st_ldap_conn *made = st_ldap_conn_create(handle, tx);
        st_ldap_conn_sname_set(handle, tx, made, &name, err);
        set_number(handle, tx, made, content, err);
        tbl_ldap_conn_st_ldap_conn_set_field(handle, tx, record, made);
        return record;
    }
    static kel_record *search(kel_handle *handle, std::uint32_t tx, kel_table *table,
                              const TextKey &key, std::uint32_t *err) {
        const kel_vstring name = text(key);
        return tbl_ldap_conn_st_ldap_conn_sname_search(handle, tx, table, &name, err);
    }
};

template <>
struct Calls<NumberKey> {
    static constexpr auto open = tbl_lumiIfDot1xEntry_op_table_open;
    static constexpr auto insert = tbl_lumiIfDot1xEntry_op_insert;
    static constexpr auto remove = tbl_lumiIfDot1xEntry_op_delete;
    static constexpr auto destroy = tbl_lumiIfDot1xEntry_op_destroy_record;
    static constexpr auto first = tbl_lumiIfDot1xEntry_op_st_lumiIfDot1xEntry_op_if_index_get_first;
    static constexpr auto next = tbl_lumiIfDot1xEntry_op_st_lumiIfDot1xEntry_op_if_index_get_next;
    static constexpr auto walk = tbl_lumiIfDot1xEntry_op_st_lumiIfDot1xEntry_op_if_index_walk;
    static constexpr auto object = tbl_lumiIfDot1xEntry_op_st_lumiIfDot1xEntry_op_get_field;
    static constexpr auto number = st_lumiIfDot1xEntry_op_reauth_time_left_get_value;
    static constexpr auto set_number = st_lumiIfDot1xEntry_op_reauth_time_left_set_value;

    static kel_record *make(kel_handle *handle, std::uint32_t tx, const NumberKey &key,
                            std::uint32_t content, std::uint32_t *err) {
        kel_record *record = tbl_lumiIfDot1xEntry_op_create_record(handle, tx, err);
        st_lumiIfDot1xEntry_op *made = st_lumiIfDot1xEntry_op_create(handle, tx);
        st_lumiIfDot1xEntry_op_if_index_set_value(handle, tx, made, key.value, err);
        set_number(handle, tx, made, content, err);
        tbl_lumiIfDot1xEntry_op_st_lumiIfDot1xEntry_op_set_field(handle, tx, record, made);
        return record;
    }
    static kel_record *search(kel_handle *handle, std::uint32_t tx, kel_table *table,
                              const NumberKey &key, std::uint32_t *err) {
        return tbl_lumiIfDot1xEntry_op_st_lumiIfDot1xEntry_op_if_index_search(handle, tx, table,
                                                                              &key.value, err);
    }
};

template <typename Key, bool has_files>
class TarnbaseTable {
    using Table = Calls<Key>;

 public:
    static constexpr bool has_transactions = true;
    static constexpr bool is_fast = true;

    TarnbaseTable() : session_(has_files ? folder_.store().c_str() : nullptr) {
        begin();
        table_ = Table::open(session_.handle, tx_, "bench", 0, &err_);
        need(table_ != nullptr, "table_open");
        commit();
    }

    void begin() { need(kel_transaction_begin(session_.handle, &tx_) == 0, "begin"); }
    void commit() { ended(kel_transaction_commit(session_.handle, tx_)); }
    void roll_back() { ended(kel_transaction_rollback(session_.handle, tx_)); }
    void begin_read() { need(kel_store_begin_read(session_.store, 1) == 0, "begin_read"); }
    void end_read() { need(kel_store_end_read(session_.store) == 0, "end_read"); }

    // Waits for the work in the background.
    void settle() {
        while (has_files && kel_store_checkpoint(session_.store) == EBUSY) ::usleep(1000);
    }

    void insert(const Key &key, std::uint32_t number) {
        kel_record *record = Table::make(session_.handle, tx_, key, number, &err_);
        Table::insert(session_.handle, tx_, table_, record, &err_);
        need(err_ == 0, "insert");
    }
    void update(const Key &key, std::uint32_t number) {
        kel_record *record = search(key);
        Table::set_number(session_.handle, tx_, Table::object(session_.handle, tx_, record), number,
                          &err_);
        need(err_ == 0, "update");
    }
    const void *find(const Key &key) { return search(key); }
    std::uint32_t read(const Key &key) { return number_of(search(key)); }
    void erase(const Key &key) {
        kel_record *record = search(key);
        Table::remove(session_.handle, tx_, table_, record, &err_);
        Table::destroy(session_.handle, tx_, record, &err_);
        need(err_ == 0, "erase");
    }
    bool has_first() { return Table::first(session_.handle, tx_, table_, &err_) != nullptr; }
    std::uint32_t scan() {
        return for_each([](kel_record *) {});
    }
    std::uint32_t scan_and_read(std::uint64_t &sum) {
        return for_each([&](kel_record *record) { sum += number_of(record); });
    }
    std::uint32_t walk() {
        std::uint32_t count = 0;
        Table::walk(
            table_,
            [](kel_record *, void *context) {
                ++*static_cast<std::uint32_t *>(context);
                return std::uint32_t{0};
            },
            &count, &err_);
        return count;
    }
    kel_store_description description() const {
        kel_store_description found;
        kel_store_describe(session_.store, &found);
        return found;
    }
    kel_store *store() const { return session_.store; }

 private:
    kel_record *search(const Key &key) {
        return Table::search(session_.handle, tx_, table_, key, &err_);
    }
    std::uint32_t number_of(kel_record *record) {
        return Table::number(session_.handle, tx_, Table::object(session_.handle, tx_, record),
                             &err_);
    }
    template <typename Function>
    std::uint32_t for_each(const Function &function) {
        std::uint32_t count = 0;
        kel_record *record = Table::first(session_.handle, tx_, table_, &err_);
        for (; record != nullptr;
             record = Table::next(session_.handle, tx_, table_, record, &err_)) {
            function(record);
            ++count;
        }
        return count;
    }
    void ended(std::uint32_t status) {
        need(status == 0, "end of a transaction");
        tx_ = KEL_TX_NONE;
    }

    Folder folder_;
    Session session_;
    kel_table *table_ = nullptr;
    std::uint32_t tx_ = KEL_TX_NONE;
    std::uint32_t err_ = 0;
};

template <typename Key>
struct WithFiles : TarnbaseTable<Key, true> {
    static constexpr const char *name = "tarnbase";
};
template <typename Key>
struct Private : TarnbaseTable<Key, false> {
    static constexpr const char *name = "tarnbase, private";
};

}  // namespace bench

#endif
