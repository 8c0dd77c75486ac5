// SPDX-License-Identifier: Apache-2.0
//
// Where answers come from: hostapd itself, or recordings of it.
#ifndef FEEDERS_DOT1X_SOURCE_H
#define FEEDERS_DOT1X_SOURCE_H

#include <stdexcept>
#include <string>
#include <vector>

#include "answer.h"
#include "mapping.h"

namespace tarn_dot1x {

// hostapd or a recording can't be read; the text names the socket or the file.
class SourceError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// The answers about one port.
struct PortAnswers {
    Port port;
    Text status;
    Text mib;
    std::vector<Text> stations;  // each of one station, or one text of all
    Stations stations_a_text = Stations::one;
};

class Source {
 public:
    virtual ~Source() = default;
    // Queries all ports, in the order of their indexes. Throws SourceError; PortError if a port has
    // no index or another port's.
    virtual std::vector<PortAnswers> poll() = 0;
};

// Throws PortError if two ports have one index.
void sort_by_index(std::vector<PortAnswers> &answers);

}  // namespace tarn_dot1x

#endif
