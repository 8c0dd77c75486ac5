/* SPDX-License-Identifier: Apache-2.0 */
/* Loads the libraries and opens a first table; load_time compares it with empty.c. */
#include "tarnbase/embedded.h"
#include "tarnbase/tables/tbl_ldap_conn.h"

int main(void) {
    kel_store *store = NULL;
    kel_handle *handle = NULL;
    uint32_t err = 0;
    if (kel_store_create_private(NULL, &store) != 0) return 1;
    if (kel_handle_create(store, 1, &handle) != 0) return 1;
    return tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "first", 0, &err) == NULL;
}
