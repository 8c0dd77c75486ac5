// SPDX-License-Identifier: Apache-2.0
//
// How many connections are open, counted from a log whose lines come out of order: slapd's
// threads write at the same time, so a connection's `closed` can come before its `ACCEPT`.
#ifndef FEEDERS_LDAP_OPEN_CONNECTIONS_H
#define FEEDERS_LDAP_OPEN_CONNECTIONS_H

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

namespace tarn_ldap {

class OpenConnections {
 public:
    // `count` connections with unknown numbers were open before the log begins.
    void adopt(uint64_t count);
    void opened(uint64_t connection);
    void closed(uint64_t connection);
    // The server starts or stops: nothing is open, and numbers restart.
    void clear();
    uint64_t count() const { return open_.size() + unnamed_; }

 private:
    bool take_unnamed();

    std::unordered_set<uint64_t> open_;
    // Closed, but not yet opened: true if it was counted as one of the unnamed.
    std::unordered_map<uint64_t, bool> closed_early_;
    uint64_t unnamed_ = 0;
};

}  // namespace tarn_ldap

#endif
