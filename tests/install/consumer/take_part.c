/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Replaces one service and one weak handler of the installed libraries,
 * and loads a plug-in, its argument, that links the library without a runtime.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>

#include <tarnbase/embedded.h>
#include <tarnbase/runtime.h>
#include <tarnbase/tarnbase.h>

static unsigned tenant_calls, handler_calls;

/* Each record of this program belongs to tenant 5. */
void mt_get_tenant_id(uint16_t *tenant) {
    ++tenant_calls;
    *tenant = 5;
}

void tarnbase_tbl_ldap_conn_table_record_create_handler(kel_handle *handle, uint32_t tx_id,
                                                        void *table, void *record, uint32_t *err) {
    (void)handle, (void)tx_id, (void)table, (void)record;
    ++handler_calls;
    *err = 0;
}

int main(int argc, char **argv) {
    kel_store *store;
    kel_handle *handle;
    uint32_t err = 0;
    if (argc != 2) return 64;
    if (kel_store_create_private(NULL, &store) != 0 || kel_handle_create(store, 0, &handle) != 0)
        return 1;

    kel_record *record = tbl_ldap_conn_create_record(handle, KEL_TX_NONE, &err);
    if (err != 0 || tenant_calls == 0) {
        fprintf(stderr, "the runtime's service was called\n");
        return 2;
    }
    tbl_ldap_conn_table_record_create_cb(handle, KEL_TX_NONE, NULL, record, &err);
    if (err != 0 || handler_calls != 1) {
        fprintf(stderr, "the weak handler was called\n");
        return 3;
    }

    void *plug_in = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (plug_in == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 4;
    }
    uint32_t (*count)(kel_handle *);
    *(void **)&count = dlsym(plug_in, "count_connections");
    if (count == NULL || count(handle) != 0) return 5;
    dlclose(plug_in);

    tbl_ldap_conn_destroy_record(handle, KEL_TX_NONE, record, &err);
    kel_handle_destroy(handle);
    kel_store_close(store);
    printf("service and handler of the program, plug-in without a runtime\n");
    return err != 0;
}
