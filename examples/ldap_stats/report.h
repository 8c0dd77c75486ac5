// SPDX-License-Identifier: Apache-2.0
//
// The output of the program.
#ifndef EXAMPLES_LDAP_STATS_REPORT_H
#define EXAMPLES_LDAP_STATS_REPORT_H

#include <string>

#include "job.h"

namespace ldap_stats {

std::string to_text(const Report &report);
// One object: "server", "lines", "malformed", and an object a table with its fields by name.
std::string to_json(const Report &report);

}  // namespace ldap_stats

#endif
