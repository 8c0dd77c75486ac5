// SPDX-License-Identifier: Apache-2.0
//
// Keeps ports, sessions and RADIUS servers in their tables in a store.
//
// A port that was polled always has its rows of port controls. Its rows of authenticator state,
// counters and sessions are there while hostapd reports a client on it: a row that stayed would
// show an authorised client where there is none. Rows of other ports stay as they are, since
// another process may keep them. So do rows of servers, whose counters keep their last values.
#ifndef FEEDERS_DOT1X_KEEPER_H
#define FEEDERS_DOT1X_KEEPER_H

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "mapping.h"
#include "radius.h"
#include "session_records.h"
#include "tables.h"

namespace tarn_dot1x {

// The rows of one poll, or of a store.
struct Observation {
    std::vector<PortRows> ports;
    RadiusRows radius;
};

class Keeper {
 public:
    // Opens the store, or creates it, and its tables. Throws tarn::error, as all members do.
    explicit Keeper(const std::string &path) : Keeper(tarn::store::open_or_create(path)) {}
    explicit Keeper(tarn::store store);

    // Stores the rows of a poll, in one transaction. If that fails the store is as it was before.
    void write(const Observation &found);

    // What a service has found since it has written last.
    struct Update {
        std::vector<PortRows> ports;
        std::set<uint32_t> present;  // indexes: the rows of all other ports are erased
        std::optional<RadiusRows> radius;
    };
    // As `write`, for the only program that keeps ports in the store.
    void write_update(const Update &update);

    // The stored rows of a port; its `state` isn't stored.
    PortRows read_port(const Port &port) const;
    // The stored rows of all servers and of the client.
    RadiusRows read_radius() const;

    const tarn::store &store() const { return store_; }
    const tarn::session &session() const { return session_; }

 private:
    void write_port(const PortRows &rows);
    void erase_all_but(const std::set<uint32_t> &present);
    void write_radius(RadiusRows rows);
    std::optional<RadiusRow> read_client() const;

    tarn::store store_;
    tarn::session session_;
    ConfigTable config_;
    StatsTable stats_;
    PortTable port_;
    PortInitTable port_init_;
    PortReauthTable port_reauth_;
    ServerTable servers_;
    RadiusTable radius_;
    SessionRecords sessions_;
};

}  // namespace tarn_dot1x

#endif
