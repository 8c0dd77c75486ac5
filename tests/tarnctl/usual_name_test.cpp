// SPDX-License-Identifier: Apache-2.0
#include "model/usual_name.h"

#include <gtest/gtest.h>

#include "examples/common/ldap_tables.h"
#include "examples/dot1x_ports/tables.h"
#include "model/instance.h"

namespace {

using tarnctl::table_named;
using tarnctl::usual_name;

TEST(UsualName, IsTheOneUnderWhichTheDaemonsOpenTheirTables) {
    for (const char *table :
         {example::ConnTable::name, example::StatsTable::name, example::SummaryTable::name})
        EXPECT_EQ(usual_name(table_named(table)), example::kTableName) << table;
    for (const char *table : {dot1x_ports::ConfigTable::name, dot1x_ports::StatsTable::name,
                              dot1x_ports::PortTable::name, dot1x_ports::PortInitTable::name,
                              dot1x_ports::PortReauthTable::name, dot1x_ports::ServerTable::name,
                              dot1x_ports::RadiusTable::name, dot1x_ports::SessionTable::name})
        EXPECT_EQ(usual_name(table_named(table)), dot1x_ports::kTableName) << table;
}

TEST(UsualName, IsThatOfTheTableWhereNoDaemonKeepsIt) {
    EXPECT_EQ(usual_name(table_named("tbl_lum_credentials")), "lum_credentials");
}

}  // namespace
