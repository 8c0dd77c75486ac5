// SPDX-License-Identifier: Apache-2.0
//
// The output of the program.
#ifndef FEEDERS_LDAP_REPORT_H
#define FEEDERS_LDAP_REPORT_H

#include <string>

#include "job.h"

namespace tarn_ldap {

std::string to_text(const Report &report);
// One object: "server", "lines", "malformed", and an object a table with its fields by name.
std::string to_json(const Report &report);

}  // namespace tarn_ldap

#endif
