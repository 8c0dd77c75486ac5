// SPDX-License-Identifier: Apache-2.0
//
// Counts the lines of a log. Nothing here depends on files or tables.
//
// Counters wrap at 2^32 as a Counter32 of an SNMP MIB does. The number of connections and the
// delays are gauges and stay at 2^32 - 1 when they would exceed it.
#ifndef FEEDERS_LDAP_TALLY_H
#define FEEDERS_LDAP_TALLY_H

#include <optional>
#include <string>

#include "counters.h"
#include "log_line.h"
#include "open_connections.h"

namespace tarn_ldap {

class Tally {
 public:
    // Continues from the stored values of the server. Call it once.
    void adopt(const Server &stored);
    void count(const LogLine &line);
    Server server() const;
    // The server's name, from the listener of the first connection that was accepted.
    const std::optional<std::string> &name() const { return name_; }

 private:
    void count_request(Operation operation);
    void count_result(const LogLine &line);
    void count_delay(uint64_t microseconds);
    void count_start_or_stop(LineKind kind);

    Stats stats_;
    uint32_t req_timeout_ = 0;
    uint64_t delay_sum_ = 0;
    uint64_t delay_count_ = 0;
    OpenConnections connections_;
    bool stored_status_ = false;
    std::optional<bool> running_;     // unset until the log shows it
    bool connections_known_ = false;  // the log shows a moment at which none was open
    std::optional<std::string> name_;
};

// "IP=127.0.0.1:3389" becomes "ldap://127.0.0.1:3389", port 636 "ldaps://...", and
// "PATH=/run/slapd/ldapi" becomes "ldapi://%2Frun%2Fslapd%2Fldapi".
std::optional<std::string> name_of_listener(std::string_view listener);

}  // namespace tarn_ldap

#endif
