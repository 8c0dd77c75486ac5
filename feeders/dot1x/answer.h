// SPDX-License-Identifier: Apache-2.0
//
// Reads hostapd's answers. Nothing here depends on sockets, files or tables.
//
//   stations  = { station }                  STA-FIRST, STA-NEXT; all of them in a recording
//   station   = address NL { variable NL }
//   address   = hex hex ":" ... six times    the station's MAC address
//   variables = { variable NL }              MIB, STATUS
//   variable  = name "=" value               the value may be empty
//
// A station's name for its user is whatever bytes the station sent, line ends included, and hostapd
// writes them as they are. So one station could write lines of its own choice after its name:
// therefore the first of several variables of one name counts, and an answer about one station has
// one address line. In a recording of several stations a forged address line can't be distinguished
// from a real one.
#ifndef FEEDERS_DOT1X_ANSWER_H
#define FEEDERS_DOT1X_ANSWER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "problem.h"

namespace tarn_dot1x {

// A text that hostapd wrote, and its name in messages.
struct Text {
    std::string name;
    std::string bytes;
};

struct Variable {
    std::string name;
    std::string value;
    uint64_t line;
};

// Variables that belong together: of a station, of a RADIUS server, of a port.
struct Block {
    std::string source;   // the text's name
    std::string address;  // of a station
    uint64_t line = 1;
    std::vector<Variable> variables;

    // Null if the block has no variable of that name.
    const Variable *find(std::string_view name) const;
};

enum class Stations { one, any_number };

// The stations that an answer is about.
std::vector<Block> parse_stations(const Text &text, Stations stations, Problems &problems);

// The variables of an answer about the port itself.
Block parse_status(const Text &text, Problems &problems);

// A block for each RADIUS server: from radiusAuthServerIndex or radiusAccServerIndex to the next.
std::vector<Block> parse_mib(const Text &text, Problems &problems);

}  // namespace tarn_dot1x

#endif
