// SPDX-License-Identifier: Apache-2.0
//
// The index of a port. In hostapd each port has the number 0; the tables are keyed by the index of
// the interface, which these functions find.
#ifndef FEEDERS_TARN_DOT1X_H
#define FEEDERS_TARN_DOT1X_H

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "mapping.h"

namespace tarn_dot1x {

class PortError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// A wrong argument of the program; the text names it.
class UsageError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// Indexes from the command line, by the port's name.
using PortIndexes = std::map<std::string, uint32_t>;

// "NAME=INDEX"; throws UsageError.
PortIndexes parse_indexes(const std::vector<std::string> &arguments);

// The number at the end of a name: 3 of "p3", 12 of "eth0.12".
std::optional<uint32_t> number_at_end(std::string_view name);

// A recorded port: its index on the command line, or else the number at the end of its name.
Port recorded_port(const std::string &name, const PortIndexes &given);

// A port of this machine: its index on the command line, or else that of the interface.
Port live_port(const std::string &name, const PortIndexes &given);

}  // namespace tarn_dot1x

#endif
