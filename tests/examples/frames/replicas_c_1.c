/* SPDX-License-Identifier: Apache-2.0 */
/* The loop of docs/replicas.md, after an insert. It ends where it would wait for another process.
 */
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "tarnbase/embedded.h"
#include "tarnbase/replica.h"
#include "tarnbase/tarnbase.h"

static int failed(const char *text) {
    fprintf(stderr, "%s\n", text);
    return 1;
}
static void read_tables_again(kel_store *store, uint64_t missed) {
    printf("%p: %u transactions missed\n", (void *)store, (unsigned)missed);
}
static void use(const kel_replica_change *change) { printf("%u\n", change->what); }

static uint32_t insert_server(kel_handle *handle, uint32_t tx) {
    uint32_t err = 0;
    kel_vstring sname;
    kel_vstring_refer(&sname, "ldap1.example.net", 17);
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
    if (table == NULL) return err;
    kel_record *record = tbl_ldap_conn_create_record(handle, tx, &err);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    if (record == NULL || conn == NULL) return ENOMEM;
    st_ldap_conn_sname_set(handle, tx, conn, &sname, &err);
    st_ldap_conn_num_conns_set_value(handle, tx, conn, 7, &err);
    tbl_ldap_conn_st_ldap_conn_set_field(handle, tx, record, conn);
    tbl_ldap_conn_insert(handle, tx, table, record, &err);
    return err;
}

static uint32_t make_store(void) {
    kel_store *store;
    kel_handle *handle;
    uint32_t tx;
    uint32_t err = kel_store_open_or_create("first.store", NULL, &store);
    if (err != 0) return err;
    err = kel_handle_create(store, 1, &handle);
    if (err == 0) err = kel_transaction_begin(handle, &tx);
    if (err == 0) {
        err = insert_server(handle, tx);
        if (err == 0) err = kel_transaction_commit(handle, tx);
        else kel_transaction_rollback(handle, tx);
    }
    kel_handle_destroy(handle);
    kel_store_close(store);
    return err;
}

#define kel_store_wait(store, milliseconds) return kel_replica_close(replica), 0

int main(void) {
    const uint32_t err = make_store();
    if (err != 0) return failed(strerror((int)err));
#include "blocks/replicas_c_1.c"
}
