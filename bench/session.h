/* SPDX-License-Identifier: Apache-2.0 */
// A store with a handle, and a table of LDAP servers to work on.
#ifndef TARNBASE_BENCH_SESSION_H
#define TARNBASE_BENCH_SESSION_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tarnbase/embedded.h"
#include "tarnbase/tarnbase.h"

namespace bench {

struct Session {
    kel_store *store = nullptr;
    kel_handle *handle = nullptr;

    // Without a path the store is private.
    explicit Session(const char *path = nullptr) {
        if ((path == nullptr ? kel_store_create_private(nullptr, &store)
                             : kel_store_create(path, nullptr, &store)) != 0 ||
            kel_handle_create(store, 0, &handle) != 0) {
            std::fprintf(stderr, "%s\n", kel_error_text());
            std::exit(1);
        }
    }
    ~Session() {
        kel_handle_destroy(handle);
        kel_store_close(store);
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
};

inline std::string server_name(std::uint32_t i) {
    char name[16];
    std::snprintf(name, sizeof name, "ldap%07u", i);
    return name;
}

// Inserts a record for server `i`.
inline void add_server(const Session &session, kel_table *table, std::uint32_t tx,
                       std::uint32_t i) {
    std::uint32_t err = 0;
    const std::string name = server_name(i);
    st_ldap_conn *conn = st_ldap_conn_create(session.handle, tx);
    kel_vstring_assign(session.handle, tx, st_ldap_conn_sname_get(session.handle, tx, conn, &err),
                       name.data(), static_cast<std::uint32_t>(name.size()), &err);
    kel_record *record = tbl_ldap_conn_create_record(session.handle, tx, &err);
    tbl_ldap_conn_st_ldap_conn_set_field(session.handle, tx, record, conn);
    tbl_ldap_conn_insert(session.handle, tx, table, record, &err);
    if (err != 0) std::abort();
}

}  // namespace bench

#endif
