// SPDX-License-Identifier: Apache-2.0
//
// The life of one record, in C++: a private store, a table, a record with its object, a search,
// the text and the wire form, and the end.
#include <cstdlib>
#include <iostream>

#include "tarnbase/tarn/tables/ldap_conn.hpp"

static void run() {
    const tarn::store store = tarn::store::create_private();
    tarn::session session(store);
    auto servers = tarn::table<tarn::ldap_conn>::open_or_create(session, "ldap");

    const char *server = "ldap://127.0.0.1:389";
    {
        tarn::transaction transaction(session);
        auto record = servers.make(server);
        record.set_num_conns(3);
        servers.insert(std::move(record));
        transaction.commit();
    }

    auto found = servers.find(server).value();
    std::cout << found.to_text() << found.to_wire().size() << " bytes on the wire\n";

    tarn::transaction transaction(session);
    servers.erase(found);
    transaction.commit();
    std::cout << servers.size() << " records left\n";
}

int main() {
    try {
        run();
    } catch (const std::exception &error) {
        std::cerr << "first_record: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
