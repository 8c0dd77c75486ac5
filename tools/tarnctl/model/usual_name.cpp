// SPDX-License-Identifier: Apache-2.0
#include "model/usual_name.h"

#include <algorithm>
#include <iterator>

#include "model/instance.h"

namespace tarnctl {
namespace {

struct Kept {
    std::string_view table;
    std::string_view name;
};

// The tables that daemons keep.
constexpr Kept kept[] = {
    {"tbl_aaa_servers", "dot1x"},
    {"tbl_dot1xAuthConfigEntry_op", "dot1x"},
    {"tbl_dot1xAuthStatsEntry_op", "dot1x"},
    {"tbl_dot1xPaePortEntryInit_op", "dot1x"},
    {"tbl_dot1xPaePortEntryReauth_op", "dot1x"},
    {"tbl_dot1xPaePortEntry_op", "dot1x"},
    {"tbl_ldap_conn", "ldap"},
    {"tbl_ldap_stats", "ldap"},
    {"tbl_ldap_summary", "ldap"},
    {"tbl_pexSessionEntry_op", "dot1x"},
    {"tbl_radius_stats", "dot1x"},
};

}  // namespace

std::string usual_name(const Table &table) {
    const auto found = std::find_if(std::begin(kept), std::end(kept),
                                    [&](const Kept &each) { return each.table == table.name; });
    return std::string(found == std::end(kept) ? table.name.substr(table_prefix.size())
                                               : found->name);
}

}  // namespace tarnctl
