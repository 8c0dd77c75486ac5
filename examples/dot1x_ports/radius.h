// SPDX-License-Identifier: Apache-2.0
//
// From the RADIUS client variables of all ports to the rows of the servers and of the client.
//
// Each port is a client of its own to hostapd. Their counters are added: by server, and over all
// servers. Counters wrap at 2^32.
#ifndef EXAMPLES_DOT1X_PORTS_RADIUS_H
#define EXAMPLES_DOT1X_PORTS_RADIUS_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "answer.h"
#include "rows.h"

namespace dot1x_ports {

// Names of servers. One without a name of its own has the one for all others, or else its address.
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

// Goes on from the row before, if there is one: a server lives if it has answered since then, is
// dead if requests to it only ran out of time, and else is as it was. dead_count counts how often
// it was marked dead.
void carry_on(const std::optional<ServerRow> &before, ServerRow &row);

// The largest response time is the largest one ever seen.
void carry_on(const std::optional<RadiusRow> &before, RadiusRow &row);

}  // namespace dot1x_ports

#endif
