// SPDX-License-Identifier: Apache-2.0
//
// Compares the LDAP tables of two stores, record by record in key order.
#ifndef EXAMPLES_LDAP_SHOW_DIFFERENCE_H
#define EXAMPLES_LDAP_SHOW_DIFFERENCE_H

#include <string>
#include <vector>

#include "tarnbase/tarn/session.hpp"

namespace ldap_show {

struct Comparison {
    size_t equal = 0;                      // records that are in both and the same
    std::vector<std::string> differences;  // a line each, naming table, server and fields
};

Comparison compare(const tarn::session &first, const tarn::session &second);

}  // namespace ldap_show

#endif
