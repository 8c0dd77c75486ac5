/* SPDX-License-Identifier: Apache-2.0 */
/* The reading loop of docs/embedding.md, after an insert in a marked and armed table. */
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "tarnbase/embedded.h"
#include "tarnbase/tarnbase.h"

static uint32_t frames_sent;

static void send_frame(const kel_replication_frame *frame, const unsigned char *bytes) {
    if (frame->length > 0 && bytes != NULL) ++frames_sent;
}
static uint32_t send_whole_tables(void) { return EOVERFLOW; }
static uint32_t wait_for_more(void) { return EAGAIN; } /* no other process writes */

static uint32_t insert_server(kel_handle *handle, uint32_t tx, kel_table *table) {
    static const char name[] = "ldap1.example.net";
    uint32_t err = 0;
    kel_vstring sname;
    kel_vstring_refer(&sname, name, sizeof name - 1);
    kel_record *record = tbl_ldap_conn_create_record(handle, tx, &err);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    if (record == NULL || conn == NULL) return ENOMEM;
    st_ldap_conn_sname_set(handle, tx, conn, &sname, &err);
    st_ldap_conn_num_conns_set_value(handle, tx, conn, 7, &err);
    tbl_ldap_conn_st_ldap_conn_set_field(handle, tx, record, conn);
    tbl_ldap_conn_insert(handle, tx, table, record, &err);
    return err;
}

static uint32_t read_frames(kel_handle *handle) {
    unsigned char buffer[4096];
    kel_replication_frame frame;
#include "blocks/embedding_c_1.c"
    return status == EAGAIN && frames_sent > 0 ? 0 : status;
}

int main(void) {
    kel_store *store;
    kel_handle *handle;
    uint32_t tx;
    uint32_t err = 0;
    if (kel_store_open_or_create("first.store", NULL, &store) != 0 ||
        kel_handle_create(store, 1, &handle) != 0) {
        fprintf(stderr, "%s\n", kel_error_text());
        return 1;
    }
    err = kel_transaction_begin(handle, &tx);
    if (err == 0) {
        err = kel_replication_attach(handle, tarnbase_table_get_vft);
        kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
        if (err == 0) kel_table_set_replication(handle, KEL_TX_NONE, table, 1, 1);
        if (err == 0) err = insert_server(handle, tx, table);
        if (err == 0) err = kel_transaction_commit(handle, tx);
        else kel_transaction_rollback(handle, tx);
    }
    if (err == 0) err = read_frames(handle);
    if (err != 0) fprintf(stderr, "%s\n", strerror((int)err));
    kel_handle_destroy(handle);
    kel_store_close(store);
    return err != 0;
}
