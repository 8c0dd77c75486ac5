// SPDX-License-Identifier: Apache-2.0
//
// The three LDAP tables, each with a record a server, keyed by the server's name. The feeder that
// writes them has such names too: an example can be read and copied without it.
#ifndef EXAMPLES_LDAP_SHOW_LDAP_TABLES_H
#define EXAMPLES_LDAP_SHOW_LDAP_TABLES_H

#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tarnbase/tarn/tables/ldap_stats.hpp"
#include "tarnbase/tarn/tables/ldap_summary.hpp"

namespace ldap_show {

// The name under which the programs open their tables. Tables of different kinds can share a name.
constexpr const char *kTableName = "ldap";

using StatsTable = tarn::table<tarn::ldap_stats>;
using SummaryTable = tarn::table<tarn::ldap_summary>;
using ConnTable = tarn::table<tarn::ldap_conn>;

}  // namespace ldap_show

#endif
