// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "tests/tarnctl/store_access.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using Json = nlohmann::ordered_json;

// With a shadow and a record that is pending destruction.
class Show : public WithStore {
 protected:
    void SetUp() override {
        WithStore::SetUp();
        add_connection(store, "rare", "plain");
        add_connection(store, "rare", "shadow", KEL_SOURCE_SHADOW);
        add_connection(store, "rare", "waits", 1, KEL_RECORD_PENDING_DESTROY);
    }

    // Standard output of `show` with these arguments, which must succeed.
    std::string shown(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "show");
        const Outcome outcome = on_store(std::move(arguments));
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    }
};

TEST_F(Show, PrintsTheRecordsOfAllTenantsAndSourcesInKeyOrder) {
    EXPECT_EQ(shown({"ldap_conn:ldap"}),
              "tenant  source  sname              num_conns\n"
              "     0       1  a.example                  1\n"
              "     0       1  b.example                  2\n"
              "     0       5  b.example                 20\n"
              "     0       1  ldap1.example.net          7\n"
              "     9       1  c.example                  3\n");
}

TEST_F(Show, OmitsTenantAndSourceIfTheyAreDefaults) {
    EXPECT_EQ(shown({"ldap_conn:ldap", "--tenant", "0", "--source", "1"}),
              "sname              num_conns\n"
              "a.example                  1\n"
              "b.example                  2\n"
              "ldap1.example.net          7\n");
}

TEST_F(Show, ChoosesByTenant) {
    EXPECT_EQ(shown({"ldap_conn:ldap", "--tenant", "9", "--columns", "sname"}),
              "sname\nc.example\n");
    EXPECT_EQ(shown({"ldap_conn:ldap", "-t", "7", "--columns", "sname"}), "sname\n");
}

TEST_F(Show, ChoosesBySource) {
    EXPECT_EQ(shown({"ldap_conn:ldap", "--source", "5", "--columns", "sname,num_conns"}),
              "sname      num_conns\nb.example         20\n");
}

TEST_F(Show, HidesShadowsByDefault) {
    EXPECT_EQ(shown({"ldap_conn:rare", "--columns", "sname"}), "sname\nplain\nwaits\n");
    EXPECT_EQ(shown({"ldap_conn:rare", "--columns", "sname,source", "--shadows"}),
              "sname   source\nplain        1\nwaits        1\nshadow     255\n");
    EXPECT_EQ(shown({"ldap_conn:rare", "--columns", "sname", "--source", "255"}),
              "sname\nshadow\n");
}

TEST_F(Show, MarksPendingRecords) {
    EXPECT_EQ(shown({"ldap_conn:rare"}),
              "pending  sname  num_conns\n"
              "false    plain          0\n"
              "true     waits          0\n");
    EXPECT_EQ(shown({"ldap_conn:rare", "--pending", "--columns", "sname"}), "sname\nwaits\n");
    EXPECT_EQ(shown({"ldap_conn:rare", "--no-pending"}), "sname  num_conns\nplain          0\n");
}

TEST_F(Show, TakesConditions) {
    EXPECT_EQ(shown({"ldap_conn:ldap", "--where", "num_conns>1", "--where", "num_conns<=3",
                     "--columns", "num_conns"}),
              "num_conns\n        2\n        3\n");
}

TEST_F(Show, ShowsAPartFromEitherEnd) {
    EXPECT_EQ(shown({"ldap_conn:ldap", "--limit", "2", "--columns", "num_conns"}),
              "num_conns\n        1\n        2\n");
    EXPECT_EQ(shown({"ldap_conn:ldap", "--offset", "1", "-l", "2", "--columns", "num_conns"}),
              "num_conns\n        2\n       20\n");
    EXPECT_EQ(shown({"ldap_conn:ldap", "--reverse", "-l", "1", "--columns", "num_conns"}),
              "num_conns\n        3\n");
    EXPECT_EQ(shown({"ldap_conn:ldap", "--offset", "99", "--columns", "num_conns"}), "num_conns\n");
}

TEST_F(Show, ExpandsAStructureToItsFields) {
    const std::string out = shown({"aaa_servers", "--columns", "sname,aaa_authen"});
    EXPECT_EQ(out.find("sname    aaa_authen.requests"), 0U) << out;
    EXPECT_NE(out.find("\nradius1                    5"), std::string::npos) << out;
}

TEST_F(Show, ShowsTheLengthOfAnArrayAndSingleElements) {
    EXPECT_EQ(shown({"aaa_servers", "--columns", "minute,minute[61]"}),
              "minute       minute[61]\n1440 values           1\n");
}

TEST_F(Show, PutsTheColumnsOfAKeyStructureFirst) {
    const std::string out = shown({"pexSessionEntry_op"});
    EXPECT_EQ(out.find("if_index  session_id_in  searchtype"), 0U) << out;
    EXPECT_NE(out.find("192.0.2.1"), std::string::npos);
    EXPECT_NE(out.find("2001:db8::1"), std::string::npos);
}

TEST_F(Show, TruncatesNothingInAPipe) {
    const std::string out = shown({"aaa_servers"});
    EXPECT_NE(out.find("radius_dtls_stats"), std::string::npos);
    EXPECT_EQ(out.find("..."), std::string::npos);
    EXPECT_EQ(out.find('\x1b'), std::string::npos);
    EXPECT_EQ(shown({"aaa_servers", "--color", "auto"}), out);
}

TEST_F(Show, ColoursAPipeOnRequest) {
    EXPECT_EQ(shown({"ldap_conn:rare", "--no-pending", "--columns", "sname", "--color", "always"}),
              "\x1b[1msname\x1b[0m\nplain\n");
}

TEST_F(Show, PrintsOneFieldPerLine) {
    EXPECT_EQ(shown({"ldap_conn:ldap", "--format", "list", "--limit", "2", "--columns",
                     "sname,num_conns"}),
              "sname      a.example\nnum_conns  1\n\nsname      b.example\nnum_conns  2\n");
}

TEST_F(Show, PrintsTheLibrarysOwnText) {
    const std::string out = shown({"ldap_conn:ldap", "-f", "text", "--limit", "1"});
    EXPECT_NE(out.find("a.example"), std::string::npos) << out;
    EXPECT_NE(out.find("num_conns"), std::string::npos) << out;
    EXPECT_EQ(out.back(), '\n');
}

TEST_F(Show, PrintsXmlAsExportDoes) {
    const Outcome exported = on_store({"export", "--format", "xml", "aaa_servers"});
    EXPECT_EQ(exported.exit_code, 0) << exported.err;
    EXPECT_EQ(shown({"aaa_servers", "--format", "xml"}), exported.out);
    EXPECT_EQ(exported.out.find("<?xml"), 0U);
}

TEST_F(Show, PrintsJsonAsExportDoes) {
    const Outcome exported = on_store({"export", "--format", "json", "ldap_conn:ldap"});
    EXPECT_EQ(exported.exit_code, 0) << exported.err;
    const std::string out = shown({"ldap_conn:ldap", "--json"});
    EXPECT_EQ(out, exported.out);
    EXPECT_EQ(shown({"ldap_conn:ldap", "--format", "json"}), out);
    const Json records = Json::parse(out)["tarnbase"]["tables"][0]["records"];
    ASSERT_EQ(records.size(), 5U);
    EXPECT_EQ(records[0], Json::parse(R"({"tenant": 0, "source": 1,
                                          "fields": {"sname": "a.example", "num_conns": 1}})"));
}

TEST_F(Show, PrintsChosenColumnsAsMembersOfJsonObjects) {
    const Json records =
        Json::parse(shown({"aaa_servers", "--json", "--columns",
                           "source,pending,sname,status,aaa_authen.requests,minute[61],minute"}));
    ASSERT_EQ(records.size(), 1U);
    const Json &record = records[0];
    EXPECT_EQ(record["source"], 1);
    EXPECT_EQ(record["pending"], false);
    EXPECT_EQ(record["sname"], "radius1");
    EXPECT_EQ(record["status"], "SHOW_AAA_SERVER_ALIVE");
    EXPECT_EQ(record["aaa_authen.requests"], 5);
    EXPECT_EQ(record["minute[61]"], 1);
    EXPECT_EQ(record["minute"].size(), 1440U);
    EXPECT_EQ(shown({"ldap_conn:ldap", "-t", "7", "--json", "--columns", "sname"}), "[]\n");
}

TEST_F(Show, PrintsCsvWithTitlesAndWholeArrays) {
    EXPECT_EQ(shown({"ldap_conn:ldap", "--format", "csv", "--source", "5"}),
              "tenant,source,sname,num_conns\r\n0,5,b.example,20\r\n");
    EXPECT_EQ(shown({"aaa_servers", "-f", "csv", "-c", "minute"}).find("minute\r\n0 1 2 3 "), 0U);
}

TEST_F(Show, QuotesCsvCellsThatNeedIt) {
    const Outcome inserted =
        on_store({"insert", "--create", "ldap_conn:quoted", "sname=a \"b\", c\nd"});
    ASSERT_EQ(inserted.exit_code, 0) << inserted.err;
    EXPECT_EQ(shown({"ldap_conn:quoted", "--format", "csv", "--columns", "sname"}),
              "sname\r\n\"a \"\"b\"\", c\nd\"\r\n");
}

TEST_F(Show, EscapesControlCharactersInATable) {
    const Outcome inserted = on_store({"insert", "--create", "ldap_conn:odd", "sname=a\nb\x1b[2J"});
    ASSERT_EQ(inserted.exit_code, 0) << inserted.err;
    EXPECT_EQ(shown({"ldap_conn:odd", "--columns", "sname"}), "sname\na\\x0ab\\x1b[2J\n");
}

TEST_F(Show, AcceptsAStarForAllColumns) {
    const std::string expected = "tenant,source,sname,num_conns\r\n0,5,b.example,20\r\n";
    EXPECT_EQ(shown({"ldap_conn:ldap", "-f", "csv", "--source", "5", "-c", "*"}), expected);
    EXPECT_EQ(shown({"ldap_conn:ldap", "-f", "csv", "--source", "5", "-c", "all"}), expected);
}

TEST_F(Show, PrintsGroupsAsTableCsvAndJson) {
    const std::vector<std::string> by = {"ldap_conn:ldap", "--group-by", "tenant,source",
                                         "--aggregate", "max(sname),count"};
    EXPECT_EQ(shown(by),
              "tenant  source  max(sname)         count\n"
              "     0       1  ldap1.example.net      3\n"
              "     0       5  b.example              1\n"
              "     9       1  c.example              1\n");
    std::vector<std::string> csv = by;
    csv.insert(csv.end(), {"--format", "csv", "--sort", "count:desc,tenant:desc", "-l", "2"});
    EXPECT_EQ(shown(csv),
              "tenant,source,max(sname),count\r\n0,1,ldap1.example.net,3\r\n9,1,c.example,1\r\n");
    EXPECT_EQ(
        shown({"ldap_conn:ldap", "--aggregate", "count,min(num_conns),sum(num_conns)", "--json"}),
        "[\n{\"count\":5,\"min(num_conns)\":1,\"sum(num_conns)\":33}\n]\n");
}

TEST_F(Show, PrintsSeveralTables) {
    EXPECT_EQ(shown({"ldap_conn:rare", "dot1xAuthConfigEntry_op:more_ports", "-c", "source"}),
              "tbl_ldap_conn:rare\nsource\n     1\n     1\n\n"
              "tbl_dot1xAuthConfigEntry_op:more_ports\nsource\n     1\n");
    const Json tables =
        Json::parse(shown({"ldap_conn:rare", "aaa_servers", "--json"}))["tarnbase"]["tables"];
    ASSERT_EQ(tables.size(), 2U);
    EXPECT_EQ(tables[1]["table"], "tbl_aaa_servers");
    EXPECT_EQ(shown({"ldap_conn:rare", "aaa_servers", "--json", "--aggregate", "count"}),
              "[\n{\"table\":\"tbl_ldap_conn:rare\",\"count\":2},\n"
              "{\"table\":\"tbl_aaa_servers:aaa\",\"count\":1}\n]\n");
    expect_refusals({{2, {"show", "ldap_conn:rare", "aaa_servers", "--format", "csv"}, ""}});
}

TEST_F(Show, NamesWhatIsMissing) {
    expect_refusals({
        {2,
         {"show", "tbl_ldap_con"},
         "tarnctl: no table `tbl_ldap_con`; did you mean `tbl_ldap_conn`?\n"},
        {1, {"show", "ldap_stats"}, "tbl_ldap_stats"},
        {2, {"show", "ldap_conn"}, "`tbl_ldap_conn:ldap`"},
        {2, {"show", "ldap_conn"}, "`tbl_ldap_conn:rare`"},
        {2,
         {"show", "ldap_conn:ldap", "--columns", "num_conn"},
         "tarnctl: no field of tbl_ldap_conn `num_conn`; did you mean `num_conns`?\n"},
    });
}

TEST_F(Show, RefusesColumnsOfWholeForms) {
    for (const char *form : {"text", "xml"}) {
        expect_refusals(
            {{2, {"show", "ldap_conn:ldap", "--format", form, "--columns", "sname"}, "--columns"}});
    }
}

TEST_F(Show, RefusesConflictingOrInvalidOptions) {
    const std::vector<std::vector<std::string>> wrong = {
        {"--pending", "--no-pending"},
        {"--format", "html"},
        {"--json", "--format", "csv"},
        {"--source", "256"},
        {"--tenant", "-1"},
        {"--tenant", "65536"},
        {"--limit", "many"},
        {"--offset", "-1"},
        {"--where", "no condition"},
        {"--color", "red"},
        {"--sort", "num_conn"},
        {"--sort", "num_conns:down"},
        {"--group-by", "num_conn"},
        {"--group-by", "sname", "--columns", "sname"},
        {"--group-by", "sname", "--format", "xml"},
        {"--group-by", "sname", "--sort", "num_conns"},
        {"--aggregate", "sum(sname)"},
    };
    for (std::vector<std::string> arguments : wrong) {
        arguments.insert(arguments.begin(), {"show", "ldap_conn:ldap"});
        expect_refusals({{2, arguments, ""}});
    }
}

TEST_F(Show, NamesAStoreThatCannotBeOpened) {
    const Outcome outcome = tarnctl({"show", "ldap_conn", "--store", directory / "none.store"});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_NE(outcome.err.find("none.store"), std::string::npos) << outcome.err;
}

// The library's trace of the refusal would repeat it.
TEST_F(Show, ReportsOnceWhatXmlCannotRepresent) {
    ASSERT_EQ(on_store({"insert", "--create", "ldap_conn:odd", "sname=a\x01"}).exit_code, 0);
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"show", "ldap_conn:odd", "--format", "xml"},
          {"get", "ldap_conn:odd", "a\x01", "--format", "xml"}}) {
        const Outcome outcome = on_store(words);
        EXPECT_EQ(outcome.exit_code, 3);
        EXPECT_TRUE(outcome.err.starts_with("tarnctl: tbl_ldap_conn:odd: record `a\\x01`: sname: "))
            << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
    }
}

}  // namespace
}  // namespace tarnctl_test
