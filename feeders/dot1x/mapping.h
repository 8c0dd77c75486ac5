// SPDX-License-Identifier: Apache-2.0
//
// Makes the rows of a port from hostapd's answers.
//
// A station without a PAE state isn't a client of 802.1X (any more) and has no rows. The
// tables have one row a port, so with several stations the first authorised one counts, or else the
// first; each station has its own session.
#ifndef FEEDERS_DOT1X_MAPPING_H
#define FEEDERS_DOT1X_MAPPING_H

#include <optional>
#include <string>
#include <vector>

#include "answer.h"
#include "rows.h"

namespace tarn_dot1x {

// A port, by the interface's name and index.
struct Port {
    std::string name;
    uint32_t if_index = 0;
    bool operator==(const Port &) const = default;
};

struct PortRows {
    Port port;
    std::string state = {};  // of hostapd on the port, such as ENABLED
    std::optional<ConfigRow> config = {};
    std::optional<StatsRow> stats = {};
    ControlRow control = {};
    std::vector<SessionRow> sessions = {};
};

PortRows map_port(const Port &port, const Block &status, const std::vector<Block> &stations,
                  Problems &problems);

}  // namespace tarn_dot1x

#endif
