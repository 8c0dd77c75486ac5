// SPDX-License-Identifier: Apache-2.0
//
// The output of the program.
#ifndef EXAMPLES_DOT1X_PORTS_REPORT_H
#define EXAMPLES_DOT1X_PORTS_REPORT_H

#include <string>

#include "job.h"

namespace dot1x_ports {

// A line a port, and one a RADIUS server.
std::string to_text(const Report &report);

// One object: "polls", "malformed", "ports" with an object a port that has its rows under the names
// of their tables (null if there is none), "tbl_aaa_servers" by name and "tbl_radius_stats".
std::string to_json(const Report &report);

}  // namespace dot1x_ports

#endif
