// SPDX-License-Identifier: Apache-2.0
// The search of docs/cpp.md, in a program without a throw that inserts what it then finds.
#include <iostream>

#include "tarnbase/tarn/tables/ldap_conn.hpp"

namespace {

int status = 1;

void log(const char *text) { std::cerr << text << '\n'; }
void show(const tarn::record<tarn::ldap_conn> &server) { status = server.num_conns() == 7 ? 0 : 1; }

tarn::result<void> insert(tarn::session &session, tarn::table<tarn::ldap_conn> &servers) {
    auto transaction = tarn::transaction::try_begin(session);
    if (!transaction) return transaction.error();
    auto record = servers.try_make("ldap1.example.net");
    if (!record) return record.error();
    if (auto set = record->try_set_num_conns(7); !set) return set;
    if (auto inserted = servers.try_insert(std::move(*record)); !inserted) return inserted.error();
    return transaction->try_commit();
}

void look(tarn::table<tarn::ldap_conn> &servers) {
#include "blocks/cpp_cpp_3.cpp"
}

}  // namespace

int main() {
    auto store = tarn::store::try_open_or_create("first.store");
    auto session = tarn::session::try_open(*store);
    auto servers = tarn::table<tarn::ldap_conn>::try_open_or_create(*session, "ldap");
    if (!servers) {
        log(servers.error().what());
        return 1;
    }
    if (auto inserted = insert(*session, *servers); !inserted) log(inserted.error().what());
    look(*servers);
    return status;
}
