// SPDX-License-Identifier: Apache-2.0
#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

class Get : public WithStore {
 protected:
    // Standard output of `get` with these arguments, which must succeed.
    std::string got(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "get");
        const Outcome outcome = on_store(std::move(arguments));
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    }
    // Its message for arguments with which it must exit with this status.
    std::string refused(int exit_code, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "get");
        const Outcome outcome = on_store(std::move(arguments));
        EXPECT_EQ(outcome.exit_code, exit_code) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        return outcome.err;
    }
};

TEST_F(Get, PrintsARecordWithOneFieldPerLine) {
    EXPECT_EQ(got({"ldap_conn", "b.example"}),
              "tenant     0\n"
              "source     1\n"
              "sname      b.example\n"
              "num_conns  2\n");
}

TEST_F(Get, PrintsEnumeratorsWithNumbersAndArraysAbbreviated) {
    EXPECT_EQ(got({"aaa_servers", "radius1", "--columns", "status,minute,minute[59]"}),
              "status      SHOW_AAA_SERVER_ALIVE (0)\n"
              "minute      1440 values, 0 to 59\n"
              "minute[59]  59\n");
}

TEST_F(Get, FindsBySourceAndTenant) {
    EXPECT_EQ(got({"ldap_conn", "b.example", "--source", "5", "--field", "num_conns"}), "20\n");
    EXPECT_EQ(got({"ldap_conn", "c.example", "--tenant", "9", "--field", "num_conns"}), "3\n");
}

TEST_F(Get, TakesTheKeysValuesInOrderOrByName) {
    const std::string mac = "02:00:00:00:00:01\n";
    EXPECT_EQ(got({"pexSessionEntry_op", "1", "s1", "0", "--field", "mac_addr"}), mac);
    EXPECT_EQ(got({"pexSessionEntry_op", "searchtype=1", "session_id_in=s2", "if_index=2",
                   "--field", "mac_addr"}),
              mac);
    EXPECT_EQ(got({"pexSessionEntry_op", "session_id_in:hex=7332", "2", "1", "--field", "ipAddr"}),
              "2001:db8::1\n");
}

TEST_F(Get, AcceptsAValueWithAnEqualsSign) {
    ASSERT_EQ(on_store({"insert", "ldap_conn", "sname=a=b"}).exit_code, 0);
    EXPECT_EQ(got({"ldap_conn", "a=b", "--field", "sname"}), "a=b\n");
    EXPECT_EQ(got({"ldap_conn", "sname=a=b", "--field", "sname"}), "a=b\n");
}

TEST_F(Get, PrintsASingleValueForScripts) {
    EXPECT_EQ(got({"aaa_servers", "radius1", "--field", "status"}), "SHOW_AAA_SERVER_ALIVE\n");
    EXPECT_EQ(got({"aaa_servers", "radius1", "--field", "aaa_authen.requests"}), "5\n");
    EXPECT_EQ(got({"aaa_servers", "radius1", "--field", "minute[7]"}), "7\n");
    EXPECT_EQ(got({"aaa_servers", "radius1", "--field", "minute"}).find("0 1 2 3 "), 0U);
}

TEST_F(Get, FindsTheNextRecordAfterOrBeforeAKey) {
    EXPECT_EQ(got({"ldap_conn", "aa.example", "--nearest", "--field", "sname"}),
              "ldap1.example.net\n");
    EXPECT_EQ(got({"ldap_conn", "aa.example", "--before", "--field", "sname"}), "b.example\n");
    EXPECT_EQ(got({"ldap_conn", "a.example", "--nearest", "--field", "sname"}), "a.example\n");
    EXPECT_EQ(got({"ldap_conn", "a.example", "--before", "--field", "sname"}), "a.example\n");
}

TEST_F(Get, FindsTheNearestRecordOfTheGivenSource) {
    EXPECT_EQ(got({"ldap_conn", "a", "--nearest", "--source", "5", "--field", "num_conns"}),
              "20\n");
    EXPECT_EQ(refused(1, {"ldap_conn", "zz.example.net.far", "--nearest", "--source", "5"}),
              "tarnctl: tbl_ldap_conn:ldap has no record `zz.example.net.far` or after it of "
              "tenant 0, source 5; the nearest is `b.example`\n");
}

TEST_F(Get, PrintsTheRecordsJson) {
    EXPECT_EQ(got({"ldap_conn", "b.example", "--json"}),
              "{\"tenant\":0,\"source\":1,\"fields\":{\"sname\":\"b.example\",\"num_conns\":2}}\n");
    EXPECT_EQ(got({"ldap_conn", "b.example", "--json", "--columns", "source,num_conns"}),
              "{\"source\":1,\"num_conns\":2}\n");
    const auto record =
        tarn::test::json_of(got({"pexSessionEntry_op", "1", "s1", "0", "--format", "json"}));
    EXPECT_EQ(record["key"]["session_id_in"], "s1");
    EXPECT_EQ(record["fields"]["ipAddr"], "192.0.2.1");
}

TEST_F(Get, PrintsTheOtherFormsOfARecord) {
    EXPECT_EQ(got({"ldap_conn", "b.example", "--format", "csv"}),
              "tenant,source,sname,num_conns\r\n0,1,b.example,2\r\n");
    EXPECT_EQ(got({"ldap_conn", "b.example", "--format", "table"}),
              "sname      num_conns\nb.example          2\n");
    EXPECT_NE(got({"ldap_conn", "b.example", "--format", "xml"}).find("<num_conns>2</num_conns>"),
              std::string::npos);
    EXPECT_NE(got({"ldap_conn", "b.example", "--format", "text"}).find("b.example"),
              std::string::npos);
}

TEST_F(Get, NamesAMissingKeyAndTheNearest) {
    EXPECT_EQ(
        refused(1, {"ldap_conn", "ldap1.exmaple.net"}),
        "tarnctl: tbl_ldap_conn:ldap has no record `ldap1.exmaple.net` of tenant 0, source 1; "
        "did you mean `ldap1.example.net`?\n");
    EXPECT_EQ(refused(1, {"ldap_conn", "x"}),
              "tarnctl: tbl_ldap_conn:ldap has no record `x` of tenant 0, source 1; the nearest is "
              "`a.example`\n");
    EXPECT_EQ(refused(1, {"pexSessionEntry_op", "1", "nowhere at all", "1"}),
              "tarnctl: tbl_pexSessionEntry_op:sessions has no record `1, nowhere at all, 1` of "
              "tenant 0, source 1; the nearest is `2, s2, 1`\n");
}

TEST_F(Get, ReportsTheSameKeyOfAnotherTenantOrSource) {
    EXPECT_EQ(refused(1, {"ldap_conn", "c.example"}),
              "tarnctl: tbl_ldap_conn:ldap has no record `c.example` of tenant 0, source 1; there "
              "is one of tenant 9, source 1\n");
}

TEST_F(Get, ChecksTheNumberOfTheKeysValues) {
    EXPECT_EQ(refused(2, {"pexSessionEntry_op", "1", "s1"}),
              "tarnctl: the key of tbl_pexSessionEntry_op has 3 values, if_index session_id_in "
              "searchtype; 2 given\n");
    EXPECT_EQ(refused(2, {"ldap_conn", "a", "b"}),
              "tarnctl: the key of tbl_ldap_conn has 1 value, sname; 2 given\n");
    EXPECT_EQ(refused(2, {"pexSessionEntry_op", "1", "if_index=2", "if_index=3"}),
              "tarnctl: if_index: given twice\n");
}

TEST_F(Get, NamesTheFieldOfAnInvalidKey) {
    EXPECT_NE(
        refused(2, {"dot1xAuthConfigEntry_op:ports", "one"}).find("if_index: expected a number"),
        std::string::npos);
    EXPECT_NE(refused(2, {"dot1xAuthConfigEntry_op:ports", "if_index:hex=00"}).find("if_index"),
              std::string::npos);
    EXPECT_NE(refused(2, {"ldap_conn", "sname:hex=0x"}).find("sname"), std::string::npos);
}

TEST_F(Get, NamesAFieldThatDoesNotExist) {
    EXPECT_EQ(refused(2, {"ldap_conn", "a.example", "--field", "num_conn"}),
              "tarnctl: no field of tbl_ldap_conn `num_conn`; did you mean `num_conns`?\n");
}

TEST_F(Get, RefusesConflictingOptions) {
    for (const std::vector<std::string> &options : std::vector<std::vector<std::string>>{
             {"--nearest", "--before"},
             {"--field", "sname", "--json"},
             {"--field", "sname", "--format", "csv"},
             {"--field", "sname", "--columns", "sname"},
             {"--source", "300"},
         }) {
        std::vector<std::string> arguments = {"ldap_conn", "a.example"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_NE(refused(2, arguments), "") << options[0];
    }
}

}  // namespace
}  // namespace tarnctl_test
