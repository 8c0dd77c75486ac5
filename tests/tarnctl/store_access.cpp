// SPDX-License-Identifier: Apache-2.0
#include "tests/tarnctl/store_access.h"

#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "tarnbase/tarnbase.h"
#include "tests/support/temporary_directory.h"

namespace tarnctl_test {
namespace {

constexpr uint32_t tx = KEL_TX_NONE;

kel_vstring text(const std::string &bytes) {
    kel_vstring string;
    kel_vstring_refer(&string, bytes.data(), static_cast<uint32_t>(bytes.size()));
    return string;
}

}  // namespace

void with_store(const std::string &store, const std::function<void(kel_handle *)> &function) {
    kel_store *opened = nullptr;
    kel_handle *handle = nullptr;
    ASSERT_EQ(kel_store_open(store.c_str(), &opened), 0U) << kel_error_text();
    ASSERT_EQ(kel_handle_create(opened, 1, &handle), 0U) << kel_error_text();
    function(handle);
    kel_handle_destroy(handle);
    kel_store_close(opened);
}

void change_store(const std::string &store, const std::function<void(kel_handle *)> &function) {
    with_store(store, [&](kel_handle *handle) {
        ASSERT_EQ(kel_store_lock(kel_handle_store(handle)), 0U) << kel_error_text();
        function(handle);
        ASSERT_EQ(kel_store_unlock(kel_handle_store(handle)), 0U) << kel_error_text();
    });
}

std::string content_of(const std::string &store) {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(store)) {
        const std::string name = entry.path().filename();
        if (name.starts_with("log-") || name.starts_with("checkpoint-")) names.insert(name);
    }
    std::string content = std::to_string(description(store).log_end);
    for (const std::string &name : names)
        content += '\n' + name + '\n' + tarn::test::read_file(store + '/' + name);
    return content;
}

std::optional<uint32_t> connections(const std::string &store, const std::string &server,
                                    uint32_t src, uint16_t tenant, const std::string &table) {
    std::optional<uint32_t> found;
    with_store(store, [&](kel_handle *handle) {
        uint32_t err = 0;
        kel_table *block = tbl_ldap_conn_table_open(handle, tx, table.c_str(), 1, &err);
        if (block == nullptr) return;
        const kel_vstring name = text(server);
        kel_thread_set_tenant(tenant);
        kel_record *record =
            tbl_ldap_conn_st_ldap_conn_sname_search_w_src(handle, tx, block, &name, src, &err);
        kel_thread_set_tenant(0);
        if (record == nullptr) return;
        st_ldap_conn *conn = tbl_ldap_conn_st_ldap_conn_get_field(handle, tx, record);
        found = st_ldap_conn_num_conns_get_value(handle, tx, conn, &err);
        EXPECT_EQ(err, 0U);
    });
    return found;
}

st_ldap_conn *connection_of(kel_handle *handle, const std::string &server) {
    uint32_t err = 0;
    kel_table *table = tbl_ldap_conn_table_open(handle, tx, "ldap", 1, &err);
    const kel_vstring name = text(server);
    kel_record *record =
        tbl_ldap_conn_st_ldap_conn_sname_search_w_src(handle, tx, table, &name, 1, &err);
    return tbl_ldap_conn_st_ldap_conn_get_field(handle, tx, record);
}

uint32_t connection_records(const std::string &store) {
    uint32_t records = 0;
    with_store(store, [&](kel_handle *handle) {
        uint32_t err = 0;
        const kel_table *block = tbl_ldap_conn_table_open(handle, tx, "ldap", 1, &err);
        ASSERT_NE(block, nullptr);
        records = block->record_count;
    });
    return records;
}

ServerValues server_values(const std::string &store) {
    ServerValues values;
    with_store(store, [&](kel_handle *handle) {
        uint32_t err = 0;
        kel_table *block = tbl_aaa_servers_table_open(handle, tx, "aaa", 1, &err);
        ASSERT_NE(block, nullptr);
        kel_record *record =
            tbl_aaa_servers_st_aaa_servers_sname_get_first_ignore_src(handle, tx, block, &err);
        ASSERT_NE(record, nullptr);
        st_aaa_servers *server = tbl_aaa_servers_st_aaa_servers_get_field(handle, tx, record);
        values.status = st_aaa_servers_status_get_value(handle, tx, server, &err);
        st_aaa_type *authen = st_aaa_servers_aaa_authen_get(handle, tx, server, &err);
        values.requests = st_aaa_type_requests_get_value(handle, tx, authen, &err);
        values.minute5 = st_aaa_servers_minute_get_value(handle, tx, server, 5, &err);
        EXPECT_EQ(err, 0U);
    });
    return values;
}

void add_connection(const std::string &store, const std::string &table, const std::string &server,
                    uint32_t src, uint8_t flags) {
    change_store(store, [&](kel_handle *handle) {
        uint32_t err = 0;
        kel_table *block = tbl_ldap_conn_table_open(handle, tx, table.c_str(), 0, &err);
        const kel_vstring name = text(server);
        kel_record *record = tbl_ldap_conn_create_record_w_src(handle, tx, src, &err);
        st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
        st_ldap_conn_sname_set(handle, tx, conn, &name, &err);
        tbl_ldap_conn_st_ldap_conn_set_field(handle, tx, record, conn);
        tbl_ldap_conn_insert(handle, tx, block, record, &err);
        record->flags |= flags;
        EXPECT_EQ(err, 0U);
    });
}

kel_store_description description(const std::string &store) {
    kel_store_description result{};
    with_store(store, [&](kel_handle *handle) {
        kel_store_describe(kel_handle_store(handle), &result);
        result.path = nullptr;
    });
    return result;
}

}  // namespace tarnctl_test
