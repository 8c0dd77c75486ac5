/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The life of a record, in C: a private store, a table, a record with its object, a search, the
 * text and the wire form, and the deletion.
 */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tarnbase/embedded.h"
#include "tarnbase/tarnbase.h"

static void need(uint32_t err, const char *what) {
    if (err == 0) return;
    fprintf(stderr, "first_record: %s: %s\n", what, strerror((int)err));
    exit(EXIT_FAILURE);
}

/* A record for a server, with its data object. The record owns the object from set_field on. */
static kel_record *make_record(kel_handle *handle, uint32_t tx_id, const kel_vstring *server,
                               uint32_t connections) {
    uint32_t err = 0;
    kel_record *record = tbl_ldap_conn_create_record(handle, tx_id, &err);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx_id);
    need(record == NULL || conn == NULL ? ENOMEM : 0, "creating the record");
    st_ldap_conn_sname_set(handle, tx_id, conn, server, &err);
    st_ldap_conn_num_conns_set_value(handle, tx_id, conn, connections, &err);
    need(err, "setting the fields");
    tbl_ldap_conn_st_ldap_conn_set_field(handle, tx_id, record, conn);
    return record;
}

/* The record as text and in its wire form. */
static void show_record(kel_handle *handle, uint32_t tx_id, kel_record *record) {
    uint32_t err = 0;
    char text[512];
    memset(text, ' ', sizeof text); /* print skips the indentation of closing braces */
    uint32_t length =
        tbl_ldap_conn_table_record_print(handle, tx_id, text, record, sizeof text, &err);
    need(err, "printing the record");
    printf("%.*s", (int)length, text);

    unsigned char wire[256];
    length = tbl_ldap_conn_table_record_marshal(handle, tx_id, wire, record, sizeof wire, &err);
    need(err, "marshalling the record");
    printf("%u bytes on the wire\n", (unsigned)length);
}

int main(void) {
    kel_store *store;
    kel_handle *handle;
    uint32_t tx_id;
    uint32_t err = 0;
    need(kel_store_create_private(NULL, &store), "making a store");
    need(kel_handle_create(store, 0, &handle), "making a handle");

    /* A new table belongs to no transaction. */
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
    need(err, "opening the table");

    const char name[] = "ldap://127.0.0.1:389";
    kel_vstring server;
    kel_vstring_refer(&server, name, sizeof name - 1);

    need(kel_transaction_begin(handle, &tx_id), "beginning a transaction");
    tbl_ldap_conn_insert(handle, tx_id, table, make_record(handle, tx_id, &server, 3), &err);
    need(err, "inserting the record");
    need(kel_transaction_commit(handle, tx_id), "committing");

    kel_record *found =
        tbl_ldap_conn_st_ldap_conn_sname_search(handle, KEL_TX_NONE, table, &server, &err);
    need(found == NULL ? ENOENT : err, "searching the record");
    show_record(handle, KEL_TX_NONE, found);

    need(kel_transaction_begin(handle, &tx_id), "beginning a transaction");
    tbl_ldap_conn_delete(handle, tx_id, table, found, &err);
    tbl_ldap_conn_destroy_record(handle, tx_id, found, &err);
    need(err, "deleting the record");
    need(kel_transaction_commit(handle, tx_id), "committing");
    printf("%u records left\n",
           (unsigned)tbl_ldap_conn_table_get_count(handle, KEL_TX_NONE, table));

    kel_handle_destroy(handle);
    kel_store_close(store);
    return EXIT_SUCCESS;
}
