// SPDX-License-Identifier: Apache-2.0
// A table from its first open to its end, a record from its creation to its end, and a store
// that is written by one process and read by another.
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tarnbase/runtime.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"
#include "tests/support/temporary_directory.h"

namespace tarn::test {
namespace {

using u32 = std::uint32_t;

class Lifecycle : public ModeTest {};
TARN_EACH_MODE(Lifecycle);

TEST_P(Lifecycle, OfATableFromOpenToFree) {
    kel_table *table = tbl_ldap_conn_table_open(handle, tx, "ldap", 0, &err);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_STREQ(table->table_name, "ldap/b1bbd13dd7e17f84a70ee216797542cc");
    EXPECT_EQ(loam_get_key(handle->arena, table->table_name), table);
    EXPECT_EQ(table->record_count, 0U);
    EXPECT_EQ(kel_store_first_table(session.store()), table);
    kel_variant_usage &usage = table->descriptor->variant_info->variants[0];
    EXPECT_EQ(std::string(table->descriptor->luid_text), "b1bbd13dd7e17f84a70ee216797542cc");
    const std::uint64_t created = usage.created;
    const std::uint64_t destroyed = usage.destroyed;

    EXPECT_EQ(tbl_ldap_conn_table_open(handle, tx, "ldap", 1, &err), table);
    EXPECT_EQ(usage.created, created);
    tbl_ldap_conn_table_close(handle, tx, table, &err);
    EXPECT_EQ(kel_store_first_table(session.store()), table);

    tbl_ldap_conn_table_free(handle, tx, table, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(usage.destroyed, destroyed + 1);
    EXPECT_EQ(kel_store_first_table(session.store()), nullptr);
    EXPECT_EQ(loam_get_key(handle->arena, "ldap/b1bbd13dd7e17f84a70ee216797542cc"), nullptr);
    EXPECT_EQ(tbl_ldap_conn_table_open(handle, tx, "ldap", 1, &err), nullptr);
}

// A record with 7 connections and a key, in a transaction.
kel_record *insert_server(kel_handle *handle, u32 tx, kel_table *table, const kel_vstring &key,
                          u32 *err) {
    kel_record *record = tbl_ldap_conn_create_record(handle, tx, err);
    st_ldap_conn *object = st_ldap_conn_create(handle, tx);
    st_ldap_conn_sname_set(handle, tx, object, &key, err);
    st_ldap_conn_num_conns_set_value(handle, tx, object, 7, err);
    tbl_ldap_conn_st_ldap_conn_set_field(handle, tx, record, object);
    tbl_ldap_conn_insert(handle, tx, table, record, err);
    return record;
}

// Expects the wire form, the text and the XML of that record.
void expect_forms(kel_handle *handle, u32 tx, kel_record *record) {
    u32 err = 0;
    std::vector<std::uint8_t> wire(tbl_ldap_conn_table_record_len(handle, tx, record));
    const u32 length = static_cast<u32>(wire.size());
    EXPECT_EQ(tbl_ldap_conn_table_record_marshal(handle, tx, wire.data(), record, length, &err),
              length);
    std::string text(1024, ' ');
    text.resize(tbl_ldap_conn_table_record_print(handle, tx, text.data(), record, 1024, &err));
    EXPECT_NE(text.find("sname: \"ldap1.example.net\"\n"), std::string::npos) << text;
    EXPECT_NE(text.find("num_conns: 7\n"), std::string::npos) << text;
    std::string xml(1024, ' ');
    xml.resize(tbl_ldap_conn_table_record_to_xml(handle, tx, xml.data(), record, 1024, &err));
    EXPECT_NE(xml.find("ldap1.example.net</sname>"), std::string::npos) << xml;
    EXPECT_EQ(err, 0U);
}

TEST_P(Lifecycle, OfARecordFromCreationToDestruction) {
    kel_table *table = tbl_ldap_conn_table_open(handle, tx, "ldap", 0, &err);
    // Allocates what the store allocates only once.
    st_ldap_conn_destroy(handle, tx, st_ldap_conn_create(handle, tx));
    const std::uint64_t blocks = session.blocks();
    kel_vstring key = {};
    kel_vstring_refer(&key, "ldap1.example.net", 17);
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    kel_record *record = insert_server(handle, tx, table, key, &err);
    ASSERT_EQ(err, 0U);
    ASSERT_EQ(kel_transaction_commit(handle, tx), 0U);
    tx = KEL_TX_NONE;

    EXPECT_EQ(tbl_ldap_conn_st_ldap_conn_sname_search(handle, tx, table, &key, &err), record);
    EXPECT_EQ(tbl_ldap_conn_st_ldap_conn_sname_get_first(handle, tx, table, &err), record);
    EXPECT_EQ(tbl_ldap_conn_st_ldap_conn_sname_get_next(handle, tx, table, record, &err), nullptr);
    EXPECT_EQ(tbl_ldap_conn_table_get_count(handle, tx, table), 1U);
    EXPECT_EQ(err, 0U);
    expect_forms(handle, tx, record);

    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    tbl_ldap_conn_delete(handle, tx, table, record, &err);
    tbl_ldap_conn_destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
    ASSERT_EQ(kel_transaction_commit(handle, tx), 0U);
    EXPECT_EQ(tbl_ldap_conn_table_get_count(handle, tx, table), 0U);
    EXPECT_EQ(session.blocks(), blocks);
}

// Makes a store with one record. Returns 0 on success.
int write_in_first_process(const std::string &path) {
    kel_store *store = nullptr;
    if (kel_store_create(path.c_str(), nullptr, &store) != 0) return 1;
    kel_handle *handle = nullptr;
    if (kel_handle_create(store, 1, &handle) != 0) return 2;
    u32 tx = 0;
    if (kel_transaction_begin(handle, &tx) != 0) return 3;
    u32 err = 0;
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
    kel_vstring key = {};
    kel_vstring_refer(&key, "ldap1", 5);
    insert_server(handle, tx, table, key, &err);
    if (kel_transaction_commit(handle, tx) != 0) return 4;
    kel_handle_destroy(handle);
    kel_store_close(store);
    return err == 0 ? 0 : 5;
}

// Reads a store that another process wrote. Returns 0 on success.
int read_in_second_process(const std::string &path) {
    kel_store *store = nullptr;
    if (kel_store_open(path.c_str(), &store) != 0) return 1;
    kel_handle *handle = nullptr;
    if (kel_handle_create(store, 1, &handle) != 0) return 2;
    u32 err = 0;
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 1, &err);
    if (table == nullptr) return 3;
    kel_record *record =
        tbl_ldap_conn_st_ldap_conn_sname_get_first(handle, KEL_TX_NONE, table, &err);
    if (record == nullptr) return 4;
    st_ldap_conn *object = tbl_ldap_conn_st_ldap_conn_get_field(handle, KEL_TX_NONE, record);
    const u32 connections = st_ldap_conn_num_conns_get_value(handle, KEL_TX_NONE, object, &err);
    const bool named = std::string(record->descriptor->name) == "tbl_ldap_conn_record";
    kel_handle_destroy(handle);
    kel_store_close(store);
    return connections == 7 && named && err == 0 ? 0 : 5;
}

TEST(LifecycleOfAStore, IsWrittenByOneProcessAndReadByAnother) {
    const TemporaryDirectory directory;
    const std::string path = directory / "store";
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) _exit(write_in_first_process(path));
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(read_in_second_process(path), 0) << kel_error_text();
}

}  // namespace
}  // namespace tarn::test
