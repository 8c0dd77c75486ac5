// SPDX-License-Identifier: Apache-2.0
// The same as keep.c with the C++ interface.
#include <iostream>
#include <tarnbase/tarn/store.hpp>
#include <tarnbase/tarn/tables/ldap_conn.hpp>
#include <tarnbase/tarn/transaction.hpp>

namespace {

void keep(const char *path) {
    const auto store = tarn::store::create(path);
    tarn::session session(store);
    auto table = tarn::table<tarn::ldap_conn>::open_or_create(session, "ldap");
    tarn::transaction transaction(session);
    table.insert(table.make("ldap3.example.net")).set_num_conns(11);
    transaction.commit();
}

bool look(const char *path) {
    const auto store = tarn::store::open(path);
    const tarn::session session(store);
    const auto table = tarn::table<tarn::ldap_conn>::open(session, "ldap");
    for (const auto &record : table) {
        std::cout << "C++ " << __cplusplus << ": " << record.sname() << " has "
                  << record.num_conns() << " connections\n";
    }
    const auto found = table.find("ldap3.example.net");
    return table.size() == 1 && found && found->num_conns() == 11;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) return 64;
    try {
        keep(argv[1]);
        return look(argv[1]) ? 0 : 1;
    } catch (const tarn::error &error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
}
