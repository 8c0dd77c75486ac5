// SPDX-License-Identifier: Apache-2.0
//
// The three LDAP tables, each with a record a server, keyed by the server's name.
#ifndef FEEDERS_LDAP_TABLES_H
#define FEEDERS_LDAP_TABLES_H

#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tarnbase/tarn/tables/ldap_stats.hpp"
#include "tarnbase/tarn/tables/ldap_summary.hpp"

namespace tarn_ldap {

// The name under which the programs open their tables. Tables of different kinds can share a name.
constexpr const char *kTableName = "ldap";

using StatsTable = tarn::table<tarn::ldap_stats>;
using SummaryTable = tarn::table<tarn::ldap_summary>;
using ConnTable = tarn::table<tarn::ldap_conn>;

}  // namespace tarn_ldap

#endif
