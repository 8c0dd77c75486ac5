// SPDX-License-Identifier: Apache-2.0
//
// Inserts a record that no other process can read: its descriptors are the library's.
//   insert_unreadable STORE
#include <iostream>

#include "tarnbase/tarn/tables/ldap_conn.hpp"

int main(int argc, char **argv) try {
    if (argc != 2) return 2;
    auto store = tarn::store::open(argv[1]);
    tarn::session session(store, tarn::descriptors::of_library);
    auto servers = tarn::table<tarn::ldap_conn>::open_or_create(session, "plain");
    tarn::transaction transaction(session);
    servers.insert(servers.make("unreadable.example"));
    transaction.commit();
    return 0;
} catch (const std::exception &error) {
    std::cerr << "insert_unreadable: " << error.what() << '\n';
    return 1;
}
