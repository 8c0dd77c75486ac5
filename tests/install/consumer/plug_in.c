/* SPDX-License-Identifier: Apache-2.0 */
/* A plug-in of a program that has the runtime. It links only the typed library. */
#include <tarnbase/tarnbase.h>

uint32_t count_connections(kel_handle *handle);

uint32_t count_connections(kel_handle *handle) {
    uint32_t err = 0;
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
    return err != 0 ? UINT32_MAX : tbl_ldap_conn_table_get_count(handle, KEL_TX_NONE, table);
}
