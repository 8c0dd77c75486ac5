// SPDX-License-Identifier: Apache-2.0
//
// What a slapd counts itself, read from its database cn=Monitor.
#ifndef FEEDERS_LDAP_MONITOR_H
#define FEEDERS_LDAP_MONITOR_H

#include <memory>
#include <stdexcept>
#include <string>

#include "counters.h"

namespace tarn_ldap {

struct MonitorSettings {
    std::string url;            // "ldap://host", "ldaps://host", "ldapi://%2Frun%2Fslapd%2Fldapi"
    double interval = 10;       // seconds between two queries
    bool start_tls = false;     // before anything else; it must succeed
    bool external = false;      // bind with SASL EXTERNAL, else with `user`, or anonymously
    std::string user;           // a DN
    std::string password_file;  // its first line is the password
    std::string certificates;   // a file with those of the authorities; by default the system's
};

class MonitorFailure : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// A connection to a server. It waits for the network, for a few seconds at most.
class Monitor {
 public:
    explicit Monitor(MonitorSettings settings);
    Monitor(const Monitor &) = delete;
    Monitor &operator=(const Monitor &) = delete;
    ~Monitor();

    // The fields that the server counts: requests, results, entries, messages and connections since
    // it was started. Connects first if it isn't connected. Throws MonitorFailure, and is then not
    // connected.
    Server read();

 private:
    struct Connection;

    MonitorSettings settings_;
    std::unique_ptr<Connection> connection_;
};

}  // namespace tarn_ldap

#endif
