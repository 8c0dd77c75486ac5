// SPDX-License-Identifier: Apache-2.0
//
// tarnctl top: changes by table, and the busiest records.
#include <csignal>

#include "tests/support/json.h"
#include "tests/tarnctl/store_access.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class Top : public WithStore {};

TEST_F(Top, CountsChangesByTableAndRecord) {
    tarn::test::Process process(
        {TARNCTL, "top", "--interval", "3600", "--json", "-v", "--store", store});
    ASSERT_TRUE(process.wait_for("tarnctl: counting"));
    for (const char *number : {"num_conns=100", "num_conns=101", "num_conns=102"})
        ASSERT_EQ(on_store({"set", "ldap_conn", "a.example", number}).exit_code, 0);
    ASSERT_EQ(on_store({"set", "-"},
                       "insert ldap_conn sname=new.example\n"
                       "delete ldap_conn c.example --tenant 9\n"
                       "set aaa_servers radius1 status=dead\n")
                  .exit_code,
              0);
    process.send(SIGTERM);
    const Outcome outcome = process.finish();
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const json report = tarn::test::json_of(outcome.out);
    EXPECT_EQ(report["transactions"], 4);
    EXPECT_EQ(report["tables"],
              json::parse(R"({"tbl_aaa_servers:aaa":{"inserted":0,"changed":1,"deleted":0},
                              "tbl_ldap_conn:ldap":{"inserted":1,"changed":3,"deleted":1}})"));
    ASSERT_EQ(report["records"].size(), 4U);
    EXPECT_EQ(report["records"][0],
              json::parse(R"({"record":"tbl_ldap_conn:ldap a.example","changes":3})"));
    EXPECT_EQ(report["records"][2]["record"], "tbl_ldap_conn:ldap c.example (tenant 9, source 1)");
}

TEST_F(Top, PrintsRatesAndEnds) {
    tarn::test::Process process({TARNCTL, "top", "--interval", "3600", "-v", "--store", store});
    ASSERT_TRUE(process.wait_for("tarnctl: counting"));
    ASSERT_EQ(on_store({"set", "ldap_conn", "a.example", "num_conns=8"}).exit_code, 0);
    process.send(SIGINT);
    const Outcome outcome = process.finish();
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, " transactions a second\n\n")) << outcome.out;
    EXPECT_TRUE(holds(outcome.out, "  tbl_ldap_conn:ldap\n")) << outcome.out;
    EXPECT_TRUE(holds(outcome.out, "  tbl_ldap_conn:ldap a.example\n")) << outcome.out;
    EXPECT_EQ(on_store({"top", "--interval", "0.01", "--count", "2", "--json"}).exit_code, 0);
}

TEST_F(Top, RefusesIntervalsThatMakeNoSense) {
    EXPECT_EQ(on_store({"top", "--interval", "0"}).exit_code, 2);
    EXPECT_EQ(on_store({"top", "--count", "0"}).exit_code, 2);
    EXPECT_EQ(tarnctl({"top", directory / "none"}).exit_code, 4);
}

}  // namespace
}  // namespace tarnctl_test
