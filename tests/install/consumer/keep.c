/* SPDX-License-Identifier: Apache-2.0 */
/* Writes a record to a store, opens the store again and reads the record. */
#include <stdio.h>
#include <string.h>

#include <tarnbase/embedded.h>
#include <tarnbase/tarnbase.h>

static const char server[] = "ldap1.example.net";

static int keep(const char *path) {
    kel_store *store;
    kel_handle *handle;
    uint32_t tx, err = 0;
    if (kel_store_create(path, NULL, &store) != 0 || kel_handle_create(store, 1, &handle) != 0)
        return 1;
    if (kel_transaction_begin(handle, &tx) != 0) return 2;
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
    if (err != 0) return 2;
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    kel_vstring_assign_text(handle, tx, st_ldap_conn_sname_get(handle, tx, conn, &err), server,
                            &err);
    st_ldap_conn_num_conns_set_value(handle, tx, conn, 7, &err);
    kel_record *record = tbl_ldap_conn_create_record(handle, tx, &err);
    tbl_ldap_conn_st_ldap_conn_set_field(handle, tx, record, conn);
    tbl_ldap_conn_insert(handle, tx, table, record, &err);
    if (err != 0 || kel_transaction_commit(handle, tx) != 0) return 3;
    kel_handle_destroy(handle);
    kel_store_close(store);
    return 0;
}

static int look(const char *path) {
    kel_store *store;
    kel_handle *handle;
    uint32_t err = 0;
    if (kel_store_open(path, &store) != 0 || kel_handle_create(store, 1, &handle) != 0) return 4;
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
    kel_vstring key;
    kel_vstring_refer(&key, server, sizeof server - 1);
    kel_record *record =
        tbl_ldap_conn_st_ldap_conn_sname_search(handle, KEL_TX_NONE, table, &key, &err);
    if (record == NULL || err != 0) return 5;
    char text[512];
    memset(text, ' ', sizeof text);
    uint32_t length =
        tbl_ldap_conn_table_record_print(handle, KEL_TX_NONE, text, record, sizeof text, &err);
    if (err != 0 || length == 0) return 6;
    printf("%.*s", (int)length, text);
    kel_handle_destroy(handle);
    kel_store_close(store);
    return 0;
}

int main(int argc, char **argv) {
    if (argc != 2) return 64;
    int status = keep(argv[1]);
    if (status == 0) status = look(argv[1]);
    if (status != 0) fprintf(stderr, "step %d: %s\n", status, kel_error_text());
    return status;
}
