// SPDX-License-Identifier: Apache-2.0
#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

class Find : public WithStore {
 protected:
    // The values of `column`, a line each, that `find` prints.
    std::string found(const std::string &table, const std::string &column,
                      std::vector<std::string> conditions) {
        conditions.insert(conditions.begin(), {"find", table});
        conditions.insert(conditions.end(), {"--format", "csv", "--columns", column});
        const Outcome outcome = on_store(std::move(conditions));
        EXPECT_EQ(outcome.exit_code, outcome.err.empty() ? 0 : 1) << outcome.err;
        std::string lines;
        for (const char c : outcome.out.substr(outcome.out.find('\n') + 1)) {
            if (c != '\r') lines += c;
        }
        return lines;
    }
    std::string numbers(std::vector<std::string> conditions) {
        return found("ldap_conn", "num_conns", std::move(conditions));
    }
    std::string ports(const std::string &condition) {
        return found("dot1xAuthConfigEntry_op:ports", "if_index", {condition});
    }
    std::string sessions(const std::string &condition) {
        return found("pexSessionEntry_op", "if_index", {condition});
    }
};

TEST_F(Find, ComparesNumbersStringsAndTexts) {
    const std::pair<std::vector<std::string>, const char *> cases[] = {
        // numbers
        {{"num_conns=2"}, "2\n"},
        {{"num_conns=0x14"}, "20\n"},
        {{"num_conns!=2"}, "1\n20\n7\n3\n"},
        {{"num_conns<3"}, "1\n2\n"},
        {{"num_conns<=3"}, "1\n2\n3\n"},
        {{"num_conns>7"}, "20\n"},
        {{"num_conns>=7"}, "20\n7\n"},
        // strings, by their bytes
        {{"sname=b.example"}, "2\n20\n"},
        {{"sname>b.example"}, "7\n3\n"},
        {{"sname<b"}, "1\n"},
        {{"sname:hex=612e6578616d706c65"}, "1\n"},
        // regular expressions
        {{R"(sname~\.EXAMPLE$)"}, "1\n2\n20\n3\n"},
        {{"sname~^(a|b)"}, "1\n2\n20\n"},
        {{R"(sname!~\.example$)"}, "7\n"},
        {{R"(sname=~\.example$)"}, "1\n2\n20\n3\n"},
        {{R"(sname=~\.EXAMPLE$)"}, ""},
        {{"num_conns~^2"}, "2\n20\n"},
        // AND, OR, NOT and parentheses; all arguments must hold
        {{"num_conns=1 OR num_conns=7"}, "1\n7\n"},
        {{"num_conns=1 or num_conns>2 and num_conns<8"}, "1\n7\n3\n"},
        {{"(num_conns = 1 OR num_conns > 2) AND num_conns < 7"}, "1\n3\n"},
        {{"NOT (num_conns=1 OR sname~example$)"}, "7\n"},
        {{"num_conns=2 OR num_conns=20", "NOT num_conns=2", "sname~."}, "20\n"},
        {{"num_conns>1", "num_conns<10", "sname~example$"}, "2\n3\n"},
        // the options of show
        {{"num_conns>0", "--tenant", "9"}, "3\n"},
        {{"num_conns>0", "--source", "5"}, "20\n"},
        {{"num_conns>0", "--reverse", "--limit", "1"}, "3\n"},
        {{"num_conns>0", "--offset", "4"}, "3\n"},
        {{"num_conns>1", "--sort", "num_conns:desc"}, "20\n7\n3\n2\n"},
        {{"num_conns>1", "--sort", "tenant:desc,num_conns", "--limit", "2"}, "3\n2\n"},
    };
    for (const auto &[conditions, lines] : cases)
        EXPECT_EQ(numbers(conditions), lines) << conditions.front();
}

TEST_F(Find, ComparesFieldsWithEachOther) {
    const std::string more = "aaa_authen.requests > aaa_author.requests";
    EXPECT_EQ(found("aaa_servers", "sname", {more}), "radius1\n");
    EXPECT_EQ(found("aaa_servers", "sname", {"NOT " + more}), "");
    EXPECT_EQ(found("aaa_servers", "sname", {"minute[5] = aaa_authen.requests"}), "radius1\n");
}

TEST_F(Find, FindsTheRecordsOfAKeyOfAllTenantsAndSources) {
    EXPECT_EQ(numbers({"sname=c.example"}), "3\n");
    EXPECT_EQ(numbers({"sname=b.example", "--source", "5"}), "20\n");
    EXPECT_EQ(ports("if_index=2"), "2\n");
    EXPECT_EQ(sessions("if_index=2 AND session_id_in=s2 AND searchtype=1"), "2\n");
}

TEST_F(Find, ComparesEnumeratorsByNameOrNumber) {
    EXPECT_EQ(ports("auth_state=KEL_DOT1X_AUTH_STATE_HELD"), "2\n");
    EXPECT_EQ(ports("auth_state=held"), "2\n");
    EXPECT_EQ(ports("auth_state!=held"), "1\n");
    EXPECT_EQ(ports("auth_state~_held$"), "2\n");
}

TEST_F(Find, ComparesAddressesInTheirOrder) {
    EXPECT_EQ(sessions("ipAddr=192.0.2.1"), "1\n");
    EXPECT_EQ(sessions("ipAddr=2001:db8::1"), "2\n");
    EXPECT_EQ(sessions("ipAddr>192.0.2.0"), "1\n2\n");
    EXPECT_EQ(sessions("ipAddr<192.0.2.1"), "");
    EXPECT_EQ(sessions("ipAddr="), "");
}

TEST_F(Find, SearchesStructuresArraysAndKeys) {
    EXPECT_EQ(found("aaa_servers", "sname", {"aaa_authen.requests=5", "minute[61]=1"}),
              "radius1\n");
    EXPECT_EQ(found("aaa_servers", "sname", {"minute[61]=2"}), "");
    EXPECT_EQ(sessions("session_id_in=s2"), "2\n");
}

TEST_F(Find, Groups) {
    const Outcome groups = on_store({"find", "ldap_conn", "sname~example$", "--group-by", "sname",
                                     "--aggregate", "count,sum(num_conns)"});
    EXPECT_EQ(groups.exit_code, 0) << groups.err;
    EXPECT_EQ(groups.out,
              "sname      count  sum(num_conns)\n"
              "a.example      1               1\n"
              "b.example      2              22\n"
              "c.example      1               3\n");
}

TEST_F(Find, PrintsATableByDefault) {
    const Outcome outcome = on_store({"find", "ldap_conn", "num_conns=7"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "sname              num_conns\nldap1.example.net          7\n");
}

TEST_F(Find, ExitsWithOneIfNothingWasFound) {
    const Outcome outcome = on_store({"find", "ldap_conn", "num_conns>99", "sname~."});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "tarnctl: no such record in tbl_ldap_conn:ldap: `num_conns>99`, `sname~.`\n");
}

TEST_F(Find, PrintsAWholeDocumentEvenOfNothing) {
    const Outcome outcome = on_store({"find", "ldap_conn", "num_conns>99", "--json"});
    EXPECT_EQ(outcome.exit_code, 1);
    const auto document = tarn::test::json_of(outcome.out);
    EXPECT_EQ(document["tarnbase"]["tables"][0]["records"].size(), 0U);
    EXPECT_EQ(on_store({"find", "ldap_conn", "num_conns>99", "--json", "-c", "sname"}).out, "[]\n");
}

TEST_F(Find, CountsOnly) {
    const Outcome some = on_store({"find", "ldap_conn", "num_conns>2", "--count"});
    EXPECT_EQ(some.exit_code, 0);
    EXPECT_EQ(some.out, "3\n");
    const Outcome none = on_store({"find", "ldap_conn", "num_conns>99", "--count"});
    EXPECT_EQ(none.exit_code, 1);
    EXPECT_EQ(none.out, "0\n");
    EXPECT_EQ(none.err, "");
}

struct Bad {
    const char *condition;
    int exit_code;
    const char *message;
};

TEST_F(Find, ReportsAnInvalidCondition) {
    const Bad bad[] = {
        {"num_conn=1", 2, "no field of tbl_ldap_conn `num_conn`; did you mean `num_conns`?"},
        {"num_conns", 2, "expected one of = != < <= > >= ~ !~ =~ after the field\n  num_conns\n"},
        {"=1", 2, "expected a condition such as FIELD=VALUE\n  =1\n  ^\n"},
        {"num_conns>1 OR", 2, "expected a condition such as FIELD=VALUE\n"},
        {"sname~*.example", 2, "`*.example` is no regular expression: "},
        {"num_conns=many", 2, "num_conns: expected a number from 0 to 4294967295, not `many`"},
        {"num_conns>4294967296", 2, "num_conns: expected a number from 0 to 4294967295"},
        {"num_conns:hex=00", 2, "num_conns: only a string can be given as `:hex`"},
        {"sname:hex=0", 2, "sname: expected two hexadecimal digits a byte"},
        {"sname[0]=a", 2, "`sname[0]`: the field is no array"},
        {"sname.length=1", 2, "`sname.length`: the value in front of `.` has no fields"},
    };
    for (const Bad &each : bad) {
        const Outcome outcome = on_store({"find", "ldap_conn", each.condition});
        EXPECT_EQ(outcome.exit_code, each.exit_code) << each.condition;
        EXPECT_EQ(outcome.err.find(std::string("tarnctl: ") + each.message), 0U) << outcome.err;
    }
}

TEST_F(Find, ReportsAnInvalidConditionOfAnArrayAStructureOrAnEnumeration) {
    const Bad bad[] = {
        {"minute=1", 2, "minute: an array isn't a single value; name one of its elements"},
        {"minute[1440]=1", 2, "`minute[1440]`: the array has elements 0 to 1439"},
        {"aaa_authen=1", 2, "`aaa_authen`: a st_aaa_type isn't a single value"},
        {"status=ALIV", 2, "status: expected an enumerator of "},
    };
    for (const Bad &each : bad) {
        const Outcome outcome = on_store({"find", "aaa_servers", each.condition});
        EXPECT_EQ(outcome.exit_code, each.exit_code) << each.condition;
        EXPECT_EQ(outcome.err.find(std::string("tarnctl: ") + each.message), 0U) << outcome.err;
    }
}

TEST_F(Find, NeedsACondition) { EXPECT_EQ(on_store({"find", "ldap_conn"}).exit_code, 2); }

}  // namespace
}  // namespace tarnctl_test
