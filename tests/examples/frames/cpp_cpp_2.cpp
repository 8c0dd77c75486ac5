// SPDX-License-Identifier: Apache-2.0
// The snapshot of docs/cpp.md, in a program that inserts what it then adds up.
#include <exception>
#include <iostream>

#include "tarnbase/tarn/snapshot.hpp"
#include "tarnbase/tarn/tables/ldap_conn.hpp"

namespace {

tarn::table<tarn::ldap_conn> insert(tarn::session &session) {
    tarn::transaction transaction(session);
    auto servers = tarn::table<tarn::ldap_conn>::open_or_create(session, "ldap");
    auto record = servers.make("ldap1.example.net");
    record.set_num_conns(7);
    servers.insert(std::move(record));
    transaction.commit();
    return servers;
}

}  // namespace

int main() try {
    const auto store = tarn::store::open_or_create("first.store");
    tarn::session session(store);
    auto servers = insert(session);
    std::uint32_t total = 0;
#include "blocks/cpp_cpp_2.cpp"
    return total == 7 ? 0 : 1;
} catch (const std::exception &error) {
    std::cerr << error.what() << '\n';
    return 1;
}
