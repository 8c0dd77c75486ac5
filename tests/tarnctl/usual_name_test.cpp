// SPDX-License-Identifier: Apache-2.0
#include "model/usual_name.h"

#include <gtest/gtest.h>

#include "feeders/dot1x/tables.h"
#include "feeders/ldap/tables.h"
#include "model/instance.h"

namespace {

using tarnctl::table_named;
using tarnctl::usual_name;

TEST(UsualName, IsTheNameWithWhichTheDaemonsOpenTheirTables) {
    const struct {
        const char *table;
        const char *name;
    } cases[] = {
        {tarn::tbl_ldap_conn::name, tarn_ldap::kTableName},
        {tarn::tbl_ldap_stats::name, tarn_ldap::kTableName},
        {tarn::tbl_ldap_summary::name, tarn_ldap::kTableName},
        {tarn::tbl_dot1xAuthConfigEntry_op::name, tarn_dot1x::kTableName},
        {tarn::tbl_dot1xAuthStatsEntry_op::name, tarn_dot1x::kTableName},
        {tarn::tbl_dot1xPaePortEntry_op::name, tarn_dot1x::kTableName},
        {tarn::tbl_dot1xPaePortEntryInit_op::name, tarn_dot1x::kTableName},
        {tarn::tbl_dot1xPaePortEntryReauth_op::name, tarn_dot1x::kTableName},
        {tarn::tbl_aaa_servers::name, tarn_dot1x::kTableName},
        {tarn::tbl_radius_stats::name, tarn_dot1x::kTableName},
        {tarn::tbl_pexSessionEntry_op::name, tarn_dot1x::kTableName},
        {"tbl_lum_credentials", "lum_credentials"},  // no daemon keeps it
    };
    for (const auto &each : cases)
        EXPECT_EQ(usual_name(table_named(each.table)), each.name) << each.table;
}

}  // namespace
