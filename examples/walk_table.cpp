// SPDX-License-Identifier: Apache-2.0
//
// Two processes and a store, in C++.
//
//   walk_table fill STORE          puts four servers into the store, in one transaction
//   walk_table show STORE [FROM]   in another process: shows them in key order, from a key on
#include <cstdlib>
#include <iostream>
#include <string>

#include "tarnbase/tarn/tables/ldap_conn.hpp"

static void fill(const std::string &path) {
    const tarn::store store = tarn::store::open_or_create(path);
    tarn::session session(store);
    auto servers = tarn::table<tarn::ldap_conn>::open_or_create(session, "ldap");

    tarn::transaction transaction(session);
    std::uint32_t connections = 0;
    for (const char *name : {"ldap3", "ldap1", "backup", "ldap2"}) {
        if (auto known = servers.find(name)) {
            known->set_num_conns(known->num_conns() + 1);
            continue;
        }
        auto record = servers.make(name);
        record.set_num_conns(++connections);
        servers.insert(std::move(record));
    }
    transaction.commit();
    std::cout << servers.size() << " servers stored\n";
}

// Shorter names come first, names of the same length in byte order.
static void show(const std::string &path, const std::string &from) {
    const tarn::store store = tarn::store::open(path);
    const tarn::session session(store);
    const auto servers = tarn::table<tarn::ldap_conn>::open(session, "ldap");
    for (const auto server : servers.from(from))
        std::cout << server.sname() << ": " << server.num_conns() << " connections\n";
}

int main(int argc, char **argv) {
    const std::string command = argc > 2 ? argv[1] : "";
    try {
        if (command == "fill") {
            fill(argv[2]);
        } else if (command == "show") {
            show(argv[2], argc > 3 ? argv[3] : "");
        } else {
            std::cerr << "usage: walk_table fill STORE | walk_table show STORE [FROM]\n";
            return 2;
        }
    } catch (const std::exception &error) {
        std::cerr << "walk_table: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
