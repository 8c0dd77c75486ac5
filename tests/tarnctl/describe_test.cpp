// SPDX-License-Identifier: Apache-2.0
#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

json described(const std::string &name) {
    const Outcome outcome = tarnctl({"describe", "--json", name});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    return tarn::test::json_of(outcome.out);
}

json field(const json &type, const std::string &name) {
    for (const json &each : type["fields"]) {
        if (each["name"] == name) return each;
    }
    ADD_FAILURE() << name << " is missing";
    return {};
}

TEST(Describe, ShowsTheKeyTheOrderAndTheIdentityOfATable) {
    const json table = described("ldap_conn");
    EXPECT_EQ(table["kind"], "table");
    EXPECT_EQ(table["name"], "tbl_ldap_conn");
    EXPECT_EQ(table["luid"], "b1bbd13dd7e17f84a70ee216797542cc");
    EXPECT_EQ(table["digest"], "e1d07067ef74500008674d8ade831baf");
    EXPECT_EQ(table["record_luid"], "e7e9deccdbbc11bc0ff4fcb04f6cf52e");
    EXPECT_EQ(table["record_digest"], "44bc147b5e77b05a720a706230bf6d35");
    EXPECT_EQ(table["file"], "aaa/ldap.tarn");
    EXPECT_EQ(table["key"], json{"sname"});
    EXPECT_EQ(
        table["order"],
        "tenant, sname (shorter strings first, strings of one length by their bytes), source");
    EXPECT_TRUE(table["key_type"].is_null());
    EXPECT_EQ(table["type"]["name"], "st_ldap_conn");
}

TEST(Describe, ShowsTheKeyStructureOfATable) {
    const json table = described("tbl_pexSessionEntry_op");
    EXPECT_EQ(table["key"], (json{"if_index", "session_id_in", "searchtype"}));
    EXPECT_EQ(table["key_type"]["name"], "pexSessionEntry_key");
    EXPECT_EQ(field(table["key_type"], "searchtype")["type"], "u_int8");
}

// 6 bytes of header, 4 of the string's length, 4 of the number; with it a state byte a field.
TEST(Describe, ShowsTheWireSizeOfFieldsTypesAndRecords) {
    const json table = described("tbl_ldap_conn");
    const json type = table["type"];
    EXPECT_EQ(type["variants"][0]["wire"],
              (json{{"fixed", 14}, {"with_state", 16}, {"variable", {"sname"}}}));
    EXPECT_EQ(field(type, "num_conns")["wire"],
              (json{{"fixed", 4}, {"with_state", 5}, {"variable", json::array()}}));
    EXPECT_EQ(table["wire"]["fixed"], 27 + 16 + 14);
}

TEST(Describe, ShowsTheVariantsOfAType) {
    const json type = described("st_aaa_servers");
    ASSERT_EQ(type["variants"].size(), 2U);
    EXPECT_EQ(type["variants"][0]["used_length"], 1836);
    EXPECT_EQ(type["variants"][1]["used_length"], 1904);
    EXPECT_EQ(type["variants"][1]["slop"], 16);
    EXPECT_EQ(field(type, "radius_dtls_stats")["first_variant"], 1);
    EXPECT_EQ(field(type, "minute")["elements"], 1440);
    EXPECT_EQ(type["tables"], json{"tbl_aaa_servers"});
}

TEST(Describe, ShowsAUnitIfThereIsOne) {
    const json time = described("kel_timespec");
    EXPECT_EQ(field(time, "tv_sec")["unit"], "seconds");
    EXPECT_EQ(field(time, "tv_nsec")["unit"], "nanoseconds");
    const json ports = described("st_dot1xAuthConfigEntry_op");
    EXPECT_TRUE(field(ports, "reauth_period_oper")["unit"].is_null());
    EXPECT_NE(tarnctl({"describe", "kel_timespec"}).out.find("nanoseconds"), std::string::npos);
}

TEST(Describe, ShowsWhereATypeIsUsed) {
    const json type = described("lumi_stats");
    EXPECT_EQ(type["tables"], (json{"tbl_lumiEventsStatsObjects_op", "tbl_lumiIfStatsEntry_op"}));
    EXPECT_EQ(type["used_by"], (json{{{"type", "st_lumiEventsStatsObjects_op"}, {"field", "stats"}},
                                     {{"type", "st_lumiIfStatsEntry_op"}, {"field", "stats"}}}));
}

TEST(Describe, ShowsTheEnumeratorsWithTheirNumbers) {
    const json states = described("auth_state");
    EXPECT_EQ(states["kind"], "enum");
    ASSERT_EQ(states["enumerators"].size(), 14U);
    EXPECT_EQ(states["enumerators"][0],
              (json{{"name", "KEL_DOT1X_AUTH_STATE_INITIALIZE"}, {"value", 1}}));
    EXPECT_EQ(states["used_by"][0]["field"], "auth_state");
    const std::string text = tarnctl({"describe", "server_state"}).out;
    EXPECT_NE(text.find("SHOW_AAA_SERVER_DEAD"), std::string::npos) << text;
}

TEST(Describe, ShowsWhatAValueTypeIs) {
    const json strings = described("kel_vstring");
    EXPECT_EQ(strings["kind"], "value");
    EXPECT_EQ(strings["wire"], "4 bytes length, then the bytes");
    EXPECT_EQ(strings["used_by"].size(), 47U);
    EXPECT_EQ(described("ip_address")["used_by"].size(), 4U);
}

TEST(Describe, ShowsTablesAsText) {
    const Outcome outcome = tarnctl({"describe", "tbl_pexSessionEntry_op"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    for (const char *part : {"tbl_pexSessionEntry_op: an authentication session on a port",
                             "order         tenant, if_index (by number), session_id_in",
                             "pexSessionEntry_key: key of an authentication session",
                             "FIELD          TYPE         WIRE  KEY  MEANING", "framed IP address"})
        EXPECT_NE(outcome.out.find(part), std::string::npos) << part << "\n" << outcome.out;
}

TEST(Describe, SuggestsSimilarNames) {
    const Outcome outcome = tarnctl({"describe", "st_ldap_con"});
    EXPECT_EQ(outcome.exit_code, 2);
    EXPECT_EQ(outcome.err,
              "tarnctl: no table or type `st_ldap_con`; did you mean `st_ldap_conn`?\n");
    EXPECT_EQ(tarnctl({"describe"}).exit_code, 2);
}

}  // namespace
}  // namespace tarnctl_test
