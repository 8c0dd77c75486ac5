// SPDX-License-Identifier: Apache-2.0
//
// The tables that the program keeps.
#ifndef FEEDERS_DOT1X_TABLES_H
#define FEEDERS_DOT1X_TABLES_H

#include "tarnbase/tarn/tables/aaa_servers.hpp"
#include "tarnbase/tarn/tables/dot1xAuthConfigEntry_op.hpp"
#include "tarnbase/tarn/tables/dot1xAuthStatsEntry_op.hpp"
#include "tarnbase/tarn/tables/dot1xPaePortEntryInit_op.hpp"
#include "tarnbase/tarn/tables/dot1xPaePortEntryReauth_op.hpp"
#include "tarnbase/tarn/tables/dot1xPaePortEntry_op.hpp"
#include "tarnbase/tarn/tables/pexSessionEntry_op.hpp"
#include "tarnbase/tarn/tables/radius_stats.hpp"

namespace tarn_dot1x {

// The name under which the tables are opened.
constexpr const char *kTableName = "dot1x";

using ConfigTable = tarn::table<tarn::dot1xAuthConfigEntry_op>;
using StatsTable = tarn::table<tarn::dot1xAuthStatsEntry_op>;
using PortTable = tarn::table<tarn::dot1xPaePortEntry_op>;
using PortInitTable = tarn::table<tarn::dot1xPaePortEntryInit_op>;
using PortReauthTable = tarn::table<tarn::dot1xPaePortEntryReauth_op>;
using SessionTable = tarn::table<tarn::pexSessionEntry_op>;
using ServerTable = tarn::table<tarn::aaa_servers>;
using RadiusTable = tarn::table<tarn::radius_stats>;

// The record with a key, made with zeros if there is none.
template <class Table>
typename Table::record_type find_or_make(Table &table, const typename Table::key_type &key) {
    if (const auto found = table.find(key)) return *found;
    return table.insert(table.make(key));
}

}  // namespace tarn_dot1x

#endif
