// SPDX-License-Identifier: Apache-2.0
#include "tests/support/json.h"
#include "tests/tarnctl/store_access.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

class TableCommand : public WithStore {
 protected:
    Outcome table(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "table");
        return on_store(std::move(arguments));
    }
    // In a store without tables.
    std::string made(const std::string &name) {
        const std::string empty = directory / ("of_" + name + ".store");
        EXPECT_EQ(tarnctl({"store", "create", empty}).exit_code, 0);
        const Outcome outcome = tarnctl({"table", "create", name, "--store", empty});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        return outcome.out;
    }
};

TEST_F(TableCommand, ListsTheTablesOfTheStore) {
    const Outcome outcome = table({"list", "--json"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    const auto tables = tarn::test::json_of(outcome.out);
    ASSERT_EQ(tables.size(), 5U);
    EXPECT_EQ(tables[0], nlohmann::json({{"table", "tbl_dot1xAuthConfigEntry_op:more_ports"},
                                         {"records", 1}}));
    EXPECT_TRUE(holds(table({"list"}).out, "tbl_ldap_conn:ldap"));
}

TEST_F(TableCommand, CreatesATableOnce) {
    const Outcome first = table({"create", "ldap_conn:backup"});
    EXPECT_EQ(first.exit_code, 0) << first.err;
    EXPECT_EQ(first.out, "tbl_ldap_conn:backup made\n");
    const Outcome second = table({"create", "ldap_conn:backup"});
    EXPECT_EQ(second.exit_code, 3);
    EXPECT_EQ(second.err, "tarnctl: the store holds tbl_ldap_conn:backup already\n");
    EXPECT_TRUE(holds(table({"list"}).out, "tbl_ldap_conn:backup"));
}

TEST_F(TableCommand, CreatesATableWithTheNameThatTheDaemonsUse) {
    EXPECT_EQ(made("ldap_conn"), "tbl_ldap_conn:ldap made\n");
    EXPECT_EQ(made("ldap_stats"), "tbl_ldap_stats:ldap made\n");
    EXPECT_EQ(made("radius_stats"), "tbl_radius_stats:dot1x made\n");
    EXPECT_EQ(made("lum_credentials"), "tbl_lum_credentials:lum_credentials made\n");
}

TEST_F(TableCommand, DropsATableWithRecordsOnlyByForce) {
    const Outcome refused = table({"drop", "ldap_conn"});
    EXPECT_EQ(refused.exit_code, 4);
    EXPECT_EQ(refused.err,
              "tarnctl: tbl_ldap_conn:ldap holds 5 records; --force deletes them with it\n");
    EXPECT_EQ(connection_records(store), 5U);
    const Outcome dropped = table({"drop", "ldap_conn", "--force"});
    EXPECT_EQ(dropped.exit_code, 0) << dropped.err;
    EXPECT_EQ(dropped.out, "tbl_ldap_conn:ldap dropped, with 5 records\n");
    EXPECT_FALSE(holds(table({"list"}).out, "ldap_conn"));
    EXPECT_EQ(table({"drop", "ldap_conn"}).exit_code, 1);
}

TEST_F(TableCommand, DropsAnEmptyTable) {
    ASSERT_EQ(table({"create", "ldap_conn:backup"}).exit_code, 0);
    const Outcome dropped = table({"drop", "ldap_conn:backup"});
    EXPECT_EQ(dropped.exit_code, 0) << dropped.err;
    EXPECT_EQ(dropped.out, "tbl_ldap_conn:backup dropped\n");
    EXPECT_EQ(connection_records(store), 5U);
}

TEST_F(TableCommand, AsADryRunKeepsEveryByteOfTheStore) {
    const std::string before = content_of(store);
    EXPECT_EQ(table({"create", "ldap_conn:backup", "-n"}).out,
              "tbl_ldap_conn:backup would be made\n");
    EXPECT_EQ(table({"drop", "ldap_conn", "--force", "--dry-run"}).out,
              "tbl_ldap_conn:ldap would be dropped, with 5 records\n");
    EXPECT_TRUE(content_of(store) == before);
}

TEST_F(TableCommand, PrintsNoControlBytesOfANameOrAKey) {
    const std::string odd = "ldap_conn:x\x1b[31my";
    const std::string shown = "tbl_ldap_conn:x\\x1b[31my";
    EXPECT_EQ(table({"create", odd}).out, shown + " made\n");
    EXPECT_EQ(table({"create", odd}).err, "tarnctl: the store holds " + shown + " already\n");
    EXPECT_EQ(on_store({"show", "ldap_conn"}).err,
              "tarnctl: the store holds several tables `tbl_ldap_conn`: `tbl_ldap_conn:ldap`, `" +
                  shown + "`\n");
    ASSERT_EQ(on_store({"insert", odd, "sname=a\x1b[2J"}).exit_code, 0);
    EXPECT_EQ(on_store({"insert", odd, "sname=a\x1b[2J"}).err,
              "tarnctl: " + shown +
                  ": there is already a record of the key `a\\x1b[2J`, tenant 0, source 1\n");
    EXPECT_EQ(table({"drop", "--force", odd}).out, shown + " dropped, with 1 record\n");
}

TEST_F(TableCommand, CreatesNoTableWithAnEmptyName) {
    const std::string text = "tarnctl: `tbl_ldap_conn:`: expected a name after `:`\n";
    const Outcome outcome = table({"create", "ldap_conn:"});
    EXPECT_EQ(outcome.exit_code, 2);
    EXPECT_EQ(outcome.err, text);
    EXPECT_EQ(on_store({"insert", "--create", "ldap_conn:", "sname=x"}).err, text);
}

}  // namespace
}  // namespace tarnctl_test
