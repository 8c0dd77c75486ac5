// SPDX-License-Identifier: Apache-2.0
//
// Keeps ports, sessions and RADIUS servers in their tables in a store file.
//
// A port that was asked about has its rows of port controls in any case. Its rows of authenticator
// state, counters and sessions are there while hostapd tells of a client on it: a row that stayed
// would tell of an authorised client where there is none. Rows of ports that weren't asked about
// stay as they are: another process may keep them. So do rows of servers, as counters end with a
// value and not with nothing.
#ifndef EXAMPLES_DOT1X_PORTS_KEEPER_H
#define EXAMPLES_DOT1X_PORTS_KEEPER_H

#include <optional>
#include <string>
#include <vector>

#include "common/session.h"
#include "mapping.h"
#include "radius.h"
#include "records.h"
#include "session_records.h"

namespace dot1x_ports {

// What one poll found, or what a store holds.
struct Observation {
    std::vector<PortRows> ports;
    RadiusRows radius;
};

class Keeper {
 public:
    // Opens the store file, or makes it, and its tables. Throws example::StoreError, as do all.
    explicit Keeper(const std::string &path);

    // Stores what a poll found, in one transaction. If that fails the store is as it was before.
    void write(const Observation &found);

    // What is stored of a port; its `state` isn't.
    PortRows read_port(const Port &port) const;
    // What is stored of all servers and of the client.
    RadiusRows read_radius() const;

    const example::Session &session() const { return session_; }

 private:
    Access reading() const { return {session_.handle(), KEL_TX_NONE}; }
    void write_port(Access access, const PortRows &rows) const;
    void write_radius(Access access, RadiusRows rows) const;
    std::optional<ServerRow> read_server(Access access, const std::string &name) const;
    std::optional<RadiusRow> read_client(Access access) const;

    example::Session session_;
    kel_table *config_;
    kel_table *stats_;
    kel_table *port_;
    kel_table *port_init_;
    kel_table *port_reauth_;
    kel_table *servers_;
    kel_table *radius_;
    SessionRecords sessions_;
};

}  // namespace dot1x_ports

#endif
