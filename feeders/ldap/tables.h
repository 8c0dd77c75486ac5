// SPDX-License-Identifier: Apache-2.0
//
// The three LDAP tables, each with a record a server, keyed by the server's name; and the places in
// logs, each keyed by its log.
#ifndef FEEDERS_LDAP_TABLES_H
#define FEEDERS_LDAP_TABLES_H

#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tarnbase/tarn/tables/ldap_stats.hpp"
#include "tarnbase/tarn/tables/ldap_summary.hpp"
#include "tarnbase/tarn/tables/lumvDownloadServerListEntry_op.hpp"

namespace tarn_ldap {

// The name under which the programs open their tables. Tables of different kinds can share a name.
constexpr const char *kTableName = "ldap";

using StatsTable = tarn::table<tarn::ldap_stats>;
using SummaryTable = tarn::table<tarn::ldap_summary>;
using ConnTable = tarn::table<tarn::ldap_conn>;

// A table of lists that are downloaded, with a generation as text each: of a log, that is the place
// to which it is counted.
constexpr const char *kPlacesName = "ldap.places";
using PlacesTable = tarn::table<tarn::lumvDownloadServerListEntry_op>;

}  // namespace tarn_ldap

#endif
