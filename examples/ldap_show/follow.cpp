// SPDX-License-Identifier: Apache-2.0
#include "follow.h"

#include <csignal>
#include <iostream>

#include "tables.h"

namespace ldap_show {
namespace {

// A signal ends a wait at once, unless it comes right before it.
constexpr std::int64_t kLongestWait = 100;

volatile std::sig_atomic_t stopped = 0;

void stop(int) { stopped = 1; }

void handle_signals() {
    struct sigaction action = {};
    action.sa_handler = stop;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void print(const tarn::store &store, std::ostream &out) {
    const tarn::session session(store, tarn::descriptors::of_library);
    const auto connections = find_table<tarn::tbl_ldap_conn>(session);
    for_each_record<tarn::tbl_ldap_stats>(session, [&](const auto &stats) {
        out << "commit " << store.describe().committed << ": " << stats.sname() << " "
            << stats.total_msg_sent() << " sent, " << stats.total_msg_rcvd() << " received";
        const auto open = connections ? connections->find(stats.sname()) : std::nullopt;
        if (open) out << ", " << open->num_conns() << " connections open";
        out << '\n';
    });
    out << std::flush;
}

}  // namespace

void follow(tarn::store &store, std::ostream &out) {
    handle_signals();
    std::cerr << "ldap_show: following " << store.describe().path << std::endl;
    print(store, out);
    for (bool is_last = false; !is_last;) {
        is_last = stopped != 0;
        if (!store.wait(is_last ? 0 : kLongestWait)) continue;
        store.refresh();
        print(store, out);
    }
}

}  // namespace ldap_show
