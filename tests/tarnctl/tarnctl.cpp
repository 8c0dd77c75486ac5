// SPDX-License-Identifier: Apache-2.0
#include "tests/tarnctl/tarnctl.h"

#include <cstdlib>
#include <cstring>

#include "tarnbase/embedded.h"
#include "tarnbase/tarnbase.h"

namespace tarnctl_test {
namespace {

constexpr uint32_t tx = KEL_TX_NONE;

kel_vstring text(const char *bytes) {
    kel_vstring string;
    kel_vstring_refer(&string, bytes, static_cast<uint32_t>(std::strlen(bytes)));
    return string;
}

ip_address address(const char *bytes, uint8_t family) {
    ip_address result;
    ip_address_refer(&result, family, bytes);
    return result;
}

// The library's calls on one handle; an error of any of them is seen at the end.
struct Filling {
    kel_handle *handle;
    uint32_t err = 0;

    void connections(kel_table *table, const char *server, uint32_t number, uint32_t src = 1) {
        const kel_vstring name = text(server);
        kel_record *record = tbl_ldap_conn_create_record_w_src(handle, tx, src, &err);
        st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
        st_ldap_conn_sname_set(handle, tx, conn, &name, &err);
        st_ldap_conn_num_conns_set_value(handle, tx, conn, number, &err);
        tbl_ldap_conn_st_ldap_conn_set_field(handle, tx, record, conn);
        tbl_ldap_conn_insert(handle, tx, table, record, &err);
    }

    void server(kel_table *table, const char *server) {
        const kel_vstring name = text(server);
        kel_record *record = tbl_aaa_servers_create_record(handle, tx, &err);
        st_aaa_servers *object = st_aaa_servers_create(handle, tx);
        st_aaa_servers_sname_set(handle, tx, object, &name, &err);
        st_aaa_servers_status_set_value(handle, tx, object, SHOW_AAA_SERVER_ALIVE, &err);
        st_aaa_type *authen = st_aaa_servers_aaa_authen_get(handle, tx, object, &err);
        st_aaa_type_requests_set_value(handle, tx, authen, 5, &err);
        for (uint32_t i = 0; i < 1440; ++i)
            st_aaa_servers_minute_set_value(handle, tx, object, i, static_cast<uint8_t>(i % 60),
                                            &err);
        tbl_aaa_servers_st_aaa_servers_set_field(handle, tx, record, object);
        tbl_aaa_servers_insert(handle, tx, table, record, &err);
    }

    void session(kel_table *table, uint32_t port, const char *id, uint8_t search,
                 const ip_address &client) {
        const kel_vstring session = text(id);
        const kel_vstring mac = text("02:00:00:00:00:01");
        kel_record *record = tbl_pexSessionEntry_op_create_record(handle, tx, &err);
        pexSessionEntry_key *key = pexSessionEntry_key_create(handle, tx);
        pexSessionEntry_key_if_index_set_value(handle, tx, key, port, &err);
        pexSessionEntry_key_session_id_in_set(handle, tx, key, &session, &err);
        pexSessionEntry_key_searchtype_set_value(handle, tx, key, search, &err);
        st_pexSessionEntry_op *object = st_pexSessionEntry_op_create(handle, tx);
        st_pexSessionEntry_op_mac_addr_set(handle, tx, object, &mac, &err);
        st_pexSessionEntry_op_ipAddr_set(handle, tx, object, &client, &err);
        tbl_pexSessionEntry_op_pexSessionEntry_key_set_field(handle, tx, record, key);
        tbl_pexSessionEntry_op_st_pexSessionEntry_op_set_field(handle, tx, record, object);
        tbl_pexSessionEntry_op_insert(handle, tx, table, record, &err);
    }

    void port(kel_table *table, uint32_t index, uint32_t state) {
        kel_record *record = tbl_dot1xAuthConfigEntry_op_create_record(handle, tx, &err);
        st_dot1xAuthConfigEntry_op *object = st_dot1xAuthConfigEntry_op_create(handle, tx);
        st_dot1xAuthConfigEntry_op_if_index_set_value(handle, tx, object, index, &err);
        st_dot1xAuthConfigEntry_op_auth_state_set_value(handle, tx, object, state, &err);
        st_dot1xAuthConfigEntry_op_auth_bend_state_set_value(handle, tx, object,
                                                             KEL_DOT1X_AUTH_BEND_STATE_IDLE, &err);
        tbl_dot1xAuthConfigEntry_op_st_dot1xAuthConfigEntry_op_set_field(handle, tx, record,
                                                                         object);
        tbl_dot1xAuthConfigEntry_op_insert(handle, tx, table, record, &err);
    }
};

void fill_tables(Filling &fill) {
    kel_handle *handle = fill.handle;
    kel_table *conns = tbl_ldap_conn_table_open(handle, tx, "ldap", 0, &fill.err);
    fill.connections(conns, "ldap1.example.net", 7);
    fill.connections(conns, "b.example", 2);
    fill.connections(conns, "a.example", 1);
    fill.connections(conns, "b.example", 20, 5);
    kel_thread_set_tenant(9);
    fill.connections(conns, "c.example", 3);
    kel_thread_set_tenant(0);

    fill.server(tbl_aaa_servers_table_open(handle, tx, "aaa", 0, &fill.err), "radius1");

    kel_table *sessions = tbl_pexSessionEntry_op_table_open(handle, tx, "sessions", 0, &fill.err);
    fill.session(sessions, 1, "s1", 0, address("\xc0\x00\x02\x01", KEL_ADDRESS_IPV4));
    fill.session(sessions, 2, "s2", 1,
                 address("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x01", KEL_ADDRESS_IPV6));

    kel_table *ports = tbl_dot1xAuthConfigEntry_op_table_open(handle, tx, "ports", 0, &fill.err);
    kel_table *more =
        tbl_dot1xAuthConfigEntry_op_table_open(handle, tx, "more_ports", 0, &fill.err);
    fill.port(ports, 1, KEL_DOT1X_AUTH_STATE_AUTHENTICATED);
    fill.port(ports, 2, KEL_DOT1X_AUTH_STATE_HELD);
    fill.port(more, 3, KEL_DOT1X_AUTH_STATE_HELD);
}

}  // namespace

Outcome tarnctl(std::vector<std::string> arguments, const std::string &input) {
    // Read where tarnctl was built with a sanitizer.
    setenv("LSAN_OPTIONS", "print_suppressions=0:suppressions=" LEAKS, 1);
    arguments.insert(arguments.begin(), TARNCTL);
    return tarn::test::run(std::move(arguments), input);
}

void WithStore::SetUp() {
    kel_store *made = nullptr;
    kel_handle *handle = nullptr;
    ASSERT_EQ(kel_store_create(store.c_str(), nullptr, &made), 0U) << kel_error_text();
    ASSERT_EQ(kel_handle_create(made, 1, &handle), 0U) << kel_error_text();
    ASSERT_EQ(kel_store_lock(made), 0U) << kel_error_text();
    Filling fill{handle};
    fill_tables(fill);
    ASSERT_EQ(fill.err, 0U);
    ASSERT_EQ(kel_store_unlock(made), 0U) << kel_error_text();
    kel_handle_destroy(handle);
    kel_store_close(made);
}

Outcome WithStore::on_store(std::vector<std::string> arguments, const std::string &input) {
    arguments.insert(arguments.end(), {"--store", store});
    return tarnctl(std::move(arguments), input);
}

void WithStore::expect_refusals(const std::vector<Refusal> &calls) {
    for (const Refusal &call : calls) {
        SCOPED_TRACE(testing::PrintToString(call.arguments));
        const Outcome outcome = on_store(call.arguments);
        EXPECT_EQ(outcome.exit_code, call.exit_code);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
        if (call.message.ends_with('\n')) {
            EXPECT_EQ(outcome.err, call.message);
        } else {
            EXPECT_TRUE(holds(outcome.err, call.message)) << outcome.err;
        }
    }
}

}  // namespace tarnctl_test
