// SPDX-License-Identifier: Apache-2.0
//
// Makes the rows of RADIUS servers and of the client from the variables of all ports.
//
// In hostapd each port is a client. Their counters are added, by server and over all servers.
// Counters wrap at 2^32.
#ifndef FEEDERS_DOT1X_RADIUS_H
#define FEEDERS_DOT1X_RADIUS_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "answer.h"
#include "rows.h"

namespace tarn_dot1x {

// Names of servers. A server without one has the name for all others, or else its address.
struct ServerNames {
    std::map<std::string, std::string> by_address;  // of "ADDRESS" or "ADDRESS:PORT"
    std::optional<std::string> others;
};

struct RadiusRows {
    std::map<std::string, ServerRow> servers;  // by name
    RadiusRow client;
};

// "ADDRESS:PORT", with an IPv6 address in brackets.
std::string with_port(const std::string &address, uint32_t port);

// Adds the servers of one port.
void add_servers(const std::vector<Block> &servers, const ServerNames &names, RadiusRows &rows,
                 Problems &problems);

// Continues the stored row, if there is one: a server is alive if it has responded since then, dead
// if requests to it only timed out, and otherwise as before. dead_count counts the changes to dead.
void carry_on(const std::optional<ServerRow> &before, ServerRow &row);

// Keeps the largest response time of all polls.
void carry_on(const std::optional<RadiusRow> &before, RadiusRow &row);

}  // namespace tarn_dot1x

#endif
