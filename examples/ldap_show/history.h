// SPDX-License-Identifier: Apache-2.0
//
// The past of a store that keeps a journal.
#ifndef EXAMPLES_LDAP_SHOW_HISTORY_H
#define EXAMPLES_LDAP_SHOW_HISTORY_H

#include <ostream>
#include <string>

namespace ldap_show {

// Prints a line for each transaction, as far back as they are kept, that changed the counters of a
// server: its number, its label and the fields.
void print_history(const std::string &store, std::ostream &out);

}  // namespace ldap_show

#endif
