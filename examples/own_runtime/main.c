/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Three records on a runtime of the program's own: inserted, found, listed, marshalled, renamed,
 * deleted. Then tables by id.
 */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "own_runtime.h"
#include "tarnbase/tables/tbl_ldap_conn.h"

static const uint32_t no_tx = KEL_TX_NONE;

/* Ends the program with an error. */
static void need(uint32_t err, const char *what) {
    if (err == 0) return;
    fprintf(stderr, "%s: error %u\n", what, err);
    exit(1);
}

static void insert(kel_handle *handle, kel_table *table, const char *server, uint32_t connections) {
    uint32_t err = 0;
    kel_vstring name;
    own_string_refer(&name, server);
    st_ldap_conn *const conn = st_ldap_conn_create(handle, no_tx);
    st_ldap_conn_sname_set(handle, no_tx, conn, &name, &err);
    st_ldap_conn_num_conns_set_value(handle, no_tx, conn, connections, &err);
    kel_record *const record = tbl_ldap_conn_create_record(handle, no_tx, &err);
    tbl_ldap_conn_st_ldap_conn_set_field(handle, no_tx, record, conn);
    tbl_ldap_conn_insert(handle, no_tx, table, record, &err);
    need(err, "insert");
}

static void list(kel_handle *handle, kel_table *table) {
    uint32_t err = 0;
    kel_record *record = tbl_ldap_conn_st_ldap_conn_sname_get_first(handle, no_tx, table, &err);
    while (record != NULL) {
        char text[512];
        memset(text, ' ', sizeof text); /* the indentation of inner braces */
        const uint32_t length =
            tbl_ldap_conn_table_record_print(handle, no_tx, text, record, sizeof text, &err);
        fwrite(text, 1, length, stdout);
        record = tbl_ldap_conn_st_ldap_conn_sname_get_next(handle, no_tx, table, record, &err);
    }
    need(err, "list");
}

/* Copies the record of a server through its wire form, and compares the bytes of both. */
static void copy(kel_handle *handle, kel_table *table, const char *server) {
    uint32_t err = 0;
    kel_vstring key;
    own_string_refer(&key, server);
    const kel_record *const found =
        tbl_ldap_conn_st_ldap_conn_sname_search(handle, no_tx, table, &key, &err);
    if (found == NULL) need(ENOENT, server);
    unsigned char frame[256], again[256];
    kel_record *made = NULL;
    const uint32_t length =
        tbl_ldap_conn_table_record_marshal(handle, no_tx, frame, found, sizeof frame, &err);
    tbl_ldap_conn_table_record_unmarshal(handle, no_tx, &made, frame, length, 0, &err);
    need(err, "unmarshal");
    const uint32_t second =
        tbl_ldap_conn_table_record_marshal(handle, no_tx, again, made, sizeof again, &err);
    int same = second == length;
    for (uint32_t i = 0; i < length && same; ++i) same = frame[i] == again[i];
    printf("%s: %u bytes on the wire, %s\n", server, length, same ? "and back" : "not the same");
    tbl_ldap_conn_destroy_record(handle, no_tx, made, &err);
    need(err, "copy");
}

/* Changes the first record's key in place: the next record is that after the new key. */
static void rename_first(kel_handle *handle, kel_table *table, const char *server) {
    uint32_t err = 0;
    kel_vstring name;
    own_string_refer(&name, server);
    kel_record *const record =
        tbl_ldap_conn_st_ldap_conn_sname_get_first(handle, no_tx, table, &err);
    st_ldap_conn *const conn = tbl_ldap_conn_st_ldap_conn_get_field(handle, no_tx, record);
    st_ldap_conn_sname_set(handle, no_tx, conn, &name, &err);
    const kel_record *const before =
        tbl_ldap_conn_st_ldap_conn_sname_get_prev(handle, no_tx, table, record, &err);
    need(err, "rename");
    char key[64];
    const uint32_t length =
        tbl_ldap_conn_pkey_print(handle, no_tx, table, before, key, sizeof key, &err);
    need(err, "the record before");
    printf("before %s: %.*s", server, (int)length, key);
}

static void empty(kel_handle *handle, kel_table *table) {
    uint32_t err = 0;
    kel_record *record;
    while ((record = tbl_ldap_conn_st_ldap_conn_sname_get_first(handle, no_tx, table, &err)) !=
           NULL)
        tbl_ldap_conn_destroy_record(handle, no_tx, record, &err);
    tbl_ldap_conn_table_free(handle, no_tx, table, &err);
    need(err, "empty");
}

/* Tables by id: three opened, the second one freed. */
static void number(kel_handle *handle) {
    uint32_t err = 0;
    for (uint64_t id = 7; id <= 9; ++id) tbl_ldap_conn_table_open_by_id(handle, no_tx, id, 0, &err);
    need(err, "open by id");
    kel_table *table = tbl_ldap_conn_table_open_by_id(handle, no_tx, 8, 1, &err);
    if (table == NULL) need(ENOENT, "table 8");
    tbl_ldap_conn_table_free(handle, no_tx, table, &err);
    printf("tables by id:");
    for (uint64_t id = 7; id <= 9; ++id) {
        table = tbl_ldap_conn_table_open_by_id(handle, no_tx, id, 1, &err);
        if (table == NULL) continue;
        printf(" %u", (unsigned)id);
        tbl_ldap_conn_table_free(handle, no_tx, table, &err);
    }
    printf("\n");
    need(err, "tables by id");
}

int main(void) {
    kel_handle *const handle = own_handle_create();
    if (handle == NULL) return 1;
    uint32_t err = 0;
    kel_table *const table = tbl_ldap_conn_table_open(handle, no_tx, "ldap", 0, &err);
    need(err, "open");
    insert(handle, table, "ldap2.example.net", 2);
    insert(handle, table, "ldap1.example.net", 7);
    insert(handle, table, "local", 1);
    list(handle, table);
    copy(handle, table, "ldap1.example.net");
    rename_first(handle, table, "ldap3.example.net");
    empty(handle, table);
    number(handle);
    const unsigned left = own_handle_destroy(handle);
    printf("%u blocks left\n", left);
    return left != 0;
}
