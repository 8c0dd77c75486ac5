// SPDX-License-Identifier: Apache-2.0
//
// Shows what another process writes, as it commits.
#ifndef EXAMPLES_LDAP_SHOW_FOLLOW_H
#define EXAMPLES_LDAP_SHOW_FOLLOW_H

#include <ostream>

#include "ldap_tables.h"

namespace ldap_show {

// Prints a line for each server, now and after every commit, until SIGINT or SIGTERM. Of several
// commits in a short time only the last one is seen. Throws tarn::error.
void follow(tarn::store &store, std::ostream &out);

}  // namespace ldap_show

#endif
