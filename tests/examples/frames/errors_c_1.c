/* SPDX-License-Identifier: Apache-2.0 */
/* The pattern of docs/errors.md, in the function that a program would have it in. */
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "tarnbase/embedded.h"
#include "tarnbase/tarnbase.h"

static uint32_t add_server(kel_handle *handle, uint32_t tx, kel_table *table) {
    static const char name[] = "ldap1.example.net";
    kel_vstring sname;
    kel_vstring_refer(&sname, name, sizeof name - 1);
#include "blocks/errors_c_1.c"
    return err;
}

int main(void) {
    kel_store *store;
    kel_handle *handle;
    uint32_t tx;
    uint32_t failure = 0;
    if (kel_store_open_or_create("first.store", NULL, &store) != 0 ||
        kel_handle_create(store, 1, &handle) != 0 || kel_transaction_begin(handle, &tx) != 0) {
        fprintf(stderr, "%s\n", kel_error_text());
        return 1;
    }
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &failure);
    if (failure == 0) failure = add_server(handle, tx, table);
    if (failure != 0) fprintf(stderr, "%s\n", strerror((int)failure));
    kel_handle_destroy(handle);
    kel_store_close(store);
    return failure != 0;
}
