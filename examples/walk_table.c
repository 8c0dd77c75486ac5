/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Two processes and a store, in C.
 *
 *   walk_table fill STORE          puts four servers into the store, in one transaction
 *   walk_table show STORE [FROM]   in another process: shows them in key order, from a key on
 */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tarnbase/embedded.h"
#include "tarnbase/tables/tbl_ldap_conn.h"

static void need(uint32_t err, const char *what) {
    if (err == 0) return;
    fprintf(stderr, "walk_table: %s: %s\n", what, strerror((int)err));
    exit(EXIT_FAILURE);
}

/* For calls that leave an error text. */
static void need_status(uint32_t status) {
    if (status == 0) return;
    fprintf(stderr, "walk_table: %s\n", kel_error_text());
    exit(EXIT_FAILURE);
}

/* Counts a connection of a server, in a new record if it has none. */
static void add_server(kel_handle *handle, uint32_t tx_id, kel_table *table, const char *name,
                       uint32_t *connections) {
    uint32_t err = 0;
    kel_vstring key;
    kel_vstring_refer(&key, name, (uint32_t)strlen(name));
    kel_record *known = tbl_ldap_conn_st_ldap_conn_sname_search(handle, tx_id, table, &key, &err);
    need(err, "searching");
    if (known != NULL) {
        st_ldap_conn *conn = tbl_ldap_conn_st_ldap_conn_get_field(handle, tx_id, known);
        uint32_t count = st_ldap_conn_num_conns_get_value(handle, tx_id, conn, &err);
        st_ldap_conn_num_conns_set_value(handle, tx_id, conn, count + 1, &err);
        need(err, "counting");
        return;
    }
    kel_record *record = tbl_ldap_conn_create_record(handle, tx_id, &err);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx_id);
    need(record == NULL || conn == NULL ? ENOMEM : 0, "making a record");
    st_ldap_conn_sname_set(handle, tx_id, conn, &key, &err);
    st_ldap_conn_num_conns_set_value(handle, tx_id, conn, ++*connections, &err);
    tbl_ldap_conn_st_ldap_conn_set_field(handle, tx_id, record, conn);
    tbl_ldap_conn_insert(handle, tx_id, table, record, &err);
    need(err, "inserting");
}

/* The handle puts descriptors in the store, so that the other process can read it. */
static void fill(const char *path) {
    static const char *const names[] = {"ldap3", "ldap1", "backup", "ldap2"};
    kel_store *store;
    kel_handle *handle;
    uint32_t tx_id;
    uint32_t err = 0;
    uint32_t connections = 0;
    need_status(kel_store_open_or_create(path, NULL, &store));
    need_status(kel_handle_create(store, 1, &handle));
    need_status(kel_transaction_begin(handle, &tx_id));
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
    need(err, "opening the table");
    for (size_t i = 0; i < sizeof names / sizeof names[0]; ++i)
        add_server(handle, tx_id, table, names[i], &connections);
    need_status(kel_transaction_commit(handle, tx_id));
    printf("%u servers stored\n",
           (unsigned)tbl_ldap_conn_table_get_count(handle, KEL_TX_NONE, table));

    kel_handle_destroy(handle);
    kel_store_close(store);
}

static void show_server(kel_handle *handle, kel_record *record) {
    uint32_t err = 0;
    uint32_t length = 0;
    st_ldap_conn *conn = tbl_ldap_conn_st_ldap_conn_get_field(handle, KEL_TX_NONE, record);
    const char *name =
        kel_vstring_bytes(st_ldap_conn_sname_get(handle, KEL_TX_NONE, conn, &err), &length);
    uint32_t connections = st_ldap_conn_num_conns_get_value(handle, KEL_TX_NONE, conn, &err);
    need(err, "reading a record");
    printf("%.*s: %u connections\n", (int)length, name, (unsigned)connections);
}

/* Shorter names come first, names of the same length in byte order. */
static void show(const char *path, const char *from) {
    kel_store *store;
    kel_handle *handle;
    uint32_t err = 0;
    need_status(kel_store_open(path, &store));
    need_status(kel_handle_create(store, 1, &handle));
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 1, &err);
    need(table == NULL && err == 0 ? ENOENT : err, "opening the table");

    kel_vstring key;
    kel_vstring_refer(&key, from, (uint32_t)strlen(from));
    kel_record *record =
        tbl_ldap_conn_st_ldap_conn_sname_search_nearest(handle, KEL_TX_NONE, table, &key, &err);
    while (record != NULL) {
        show_server(handle, record);
        record =
            tbl_ldap_conn_st_ldap_conn_sname_get_next(handle, KEL_TX_NONE, table, record, &err);
    }
    need(err, "walking");

    kel_handle_destroy(handle);
    kel_store_close(store);
}

int main(int argc, char **argv) {
    if (argc == 3 && strcmp(argv[1], "fill") == 0) {
        fill(argv[2]);
    } else if (argc >= 3 && strcmp(argv[1], "show") == 0) {
        show(argv[2], argc > 3 ? argv[3] : "");
    } else {
        fprintf(stderr, "usage: walk_table fill STORE | walk_table show STORE [FROM]\n");
        return 2;
    }
    return EXIT_SUCCESS;
}
