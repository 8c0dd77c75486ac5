/* SPDX-License-Identifier: Apache-2.0 */
// A table of servers by name, in a private store.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_ORDER_SERVERS_H
#define TARNBASE_TESTS_UNIT_RUNTIME_ORDER_SERVERS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tarnbase/embedded.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"

namespace tarn::test {

class Servers : public ::testing::Test {
 protected:
    void SetUp() override {
        ASSERT_EQ(kel_store_create_private(nullptr, &store), 0U) << kel_error_text();
        ASSERT_EQ(kel_handle_create(store, 0, &handle), 0U);
        table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "servers", 0, &err);
        ASSERT_NE(table, nullptr);
    }
    void TearDown() override {
        kel_thread_set_tenant(0);
        kel_handle_destroy(handle);
        kel_store_close(store);
    }

    kel_record *insert(const std::string &name, std::uint32_t source = 1) {
        st_ldap_conn *conn = st_ldap_conn_create(handle, KEL_TX_NONE);
        kel_vstring_assign(handle, KEL_TX_NONE,
                           st_ldap_conn_sname_get(handle, KEL_TX_NONE, conn, &err), name.data(),
                           static_cast<std::uint32_t>(name.size()), &err);
        kel_record *record = tbl_ldap_conn_create_record_w_src(handle, KEL_TX_NONE, source, &err);
        tbl_ldap_conn_st_ldap_conn_set_field(handle, KEL_TX_NONE, record, conn);
        tbl_ldap_conn_insert(handle, KEL_TX_NONE, table, record, &err);
        return record;
    }
    kel_record *find(const std::string &name) {
        kel_vstring key{};
        kel_vstring_refer(&key, name.data(), static_cast<std::uint32_t>(name.size()));
        return tbl_ldap_conn_st_ldap_conn_sname_search(handle, KEL_TX_NONE, table, &key, &err);
    }
    std::vector<kel_record *> walked() {
        std::vector<kel_record *> records;
        kel_record *record =
            tbl_ldap_conn_st_ldap_conn_sname_get_first(handle, KEL_TX_NONE, table, &err);
        for (; record != nullptr; record = tbl_ldap_conn_st_ldap_conn_sname_get_next(
                                      handle, KEL_TX_NONE, table, record, &err)) {
            records.push_back(record);
        }
        return records;
    }

    kel_store *store = nullptr;
    kel_handle *handle = nullptr;
    kel_table *table = nullptr;
    std::uint32_t err = 0;
};

}  // namespace tarn::test

#endif
