// SPDX-License-Identifier: Apache-2.0
//
// The output of the program.
#ifndef FEEDERS_DOT1X_REPORT_H
#define FEEDERS_DOT1X_REPORT_H

#include <string>

#include "job.h"

namespace tarn_dot1x {

// A line a port, and one a RADIUS server.
std::string to_text(const Report &report);

// One object: "polls", "malformed", "ports" with an object a port that has its rows under the names
// of their tables (null if there is none), "tbl_aaa_servers" by name and "tbl_radius_stats".
std::string to_json(const Report &report);

}  // namespace tarn_dot1x

#endif
