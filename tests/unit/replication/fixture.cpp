// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/replication/fixture.h"

#include <cerrno>
#include <stdexcept>

#include "tarnbase/module.h"

namespace tarn::test {

Numbers::Numbers(kel_handle *on, const char *name) : handle(on) {
    table = tbl_test_number_table_open(handle, KEL_TX_NONE, name, 0, &err);
    if (table == nullptr || kel_replication_attach(handle, tarnbase_table_get_vft) != 0) {
        throw std::runtime_error(kel_error_text());
    }
    kel_table_set_replication(handle, KEL_TX_NONE, table, 1, 1);
}

kel_record *Numbers::make(std::uint32_t key, const std::string &label) {
    kel_record *record = tbl_test_number_create_record(handle, tx, &err);
    st_every *object = st_every_create(handle, tx);
    st_every_a32_set_value(handle, tx, object, key, &err);
    st_every_door_set_value(handle, tx, object, DOOR_OPEN, &err);  // it has no value 0
    kel_vstring text = {};
    kel_vstring_refer(&text, label.data(), static_cast<std::uint32_t>(label.size()));
    st_every_label_set(handle, tx, object, &text, &err);
    tbl_test_number_st_every_set_field(handle, tx, record, object);
    EXPECT_EQ(err, 0U);
    return record;
}

std::uint32_t Numbers::insert(kel_record *record) {
    std::uint32_t error = 0;
    tbl_test_number_insert(handle, tx, table, record, &error);
    return error;
}

kel_record *Numbers::put(std::uint32_t key, const std::string &label) {
    kel_record *record = make(key, label);
    EXPECT_EQ(insert(record), 0U);
    return record;
}

kel_record *Numbers::find(std::uint32_t key) {
    kel_record *record = tbl_test_number_st_every_a32_search(handle, tx, table, &key, &err);
    EXPECT_EQ(err, 0U);
    return record;
}

Bytes Numbers::marshalled(kel_record *record) {
    Bytes bytes(std::size_t{3} * tbl_test_number_table_record_len(handle, tx, record));
    bytes.resize(tbl_test_number_table_record_marshal(
        handle, tx, bytes.data(), record, static_cast<std::uint32_t>(bytes.size()), &err));
    EXPECT_EQ(err, 0U);
    return bytes;
}

void Numbers::begin() { EXPECT_EQ(kel_transaction_begin(handle, &tx), 0U) << kel_error_text(); }

void Numbers::commit() {
    EXPECT_EQ(kel_transaction_commit(handle, tx), 0U) << kel_error_text();
    tx = KEL_TX_NONE;
}

void Numbers::rollback() {
    EXPECT_EQ(kel_transaction_rollback(handle, tx), 0U) << kel_error_text();
    tx = KEL_TX_NONE;
}

kel_replication_reader open_reader(kel_handle *handle, std::uint64_t position) {
    kel_replication_reader reader = {};
    EXPECT_EQ(kel_replication_reader_open(handle, position, &reader), 0U) << kel_error_text();
    return reader;
}

Read read_next(kel_handle *handle, kel_replication_reader &reader) {
    Read read;
    read.bytes.resize(std::size_t{1} << 20);
    read.status = kel_replication_next(handle, &reader, read.bytes.data(),
                                       static_cast<std::uint32_t>(read.bytes.size()), &read.frame);
    read.bytes.resize(read.status == 0 ? read.frame.length : 0);
    return read;
}

std::vector<Bytes> read_all(kel_handle *handle, kel_replication_reader &reader) {
    std::vector<Bytes> all;
    for (;;) {
        Read read = read_next(handle, reader);
        if (read.status == EAGAIN) return all;
        EXPECT_EQ(read.status, 0U) << kel_error_text();
        if (read.status != 0) return all;
        all.push_back(std::move(read.bytes));
    }
}

std::vector<Bytes> read_all(kel_handle *handle) {
    kel_replication_reader reader = open_reader(handle);
    return read_all(handle, reader);
}

}  // namespace tarn::test
