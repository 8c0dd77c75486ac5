// SPDX-License-Identifier: Apache-2.0
#include <filesystem>

#include "tarnbase/tarnbase.h"
#include "tests/support/json.h"
#include "tests/tarnctl/store_access.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using Insert = WithStore;

TEST_F(Insert, InsertsARecord) {
    const Outcome outcome = on_store({"insert", "ldap_conn", "sname=new.example", "num_conns=3"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(connections(store, "new.example"), 3U);
    EXPECT_EQ(connection_records(store), 6U);
}

TEST_F(Insert, TakesTenantAndSource) {
    const Outcome outcome = on_store({"insert", "ldap_conn", "sname=b.example", "num_conns=4",
                                      "--source", "7", "--tenant", "9", "--verbose"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "+ tbl_ldap_conn:ldap b.example (tenant 9, source 7)\n    num_conns: 4\n");
    EXPECT_EQ(connections(store, "b.example", 7, 9), 4U);
    EXPECT_EQ(connections(store, "b.example"), 2U);
}

TEST_F(Insert, ReportsInJson) {
    const Outcome outcome = on_store({"insert", "aaa_servers", "sname=radius2", "status=dead",
                                      "aaa_authen.requests=0x10", "minute[5]=7", "--json"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    const auto report = tarn::test::json_of(outcome.out);
    EXPECT_EQ(report["dry_run"], false);
    EXPECT_EQ(report["inserted"], 1);
    const auto &change = report["changes"][0];
    EXPECT_EQ(change["change"], "inserted");
    EXPECT_EQ(change["table"], "tbl_aaa_servers:aaa");
    EXPECT_EQ(change["key"], nlohmann::json({{"sname", "radius2"}}));
    EXPECT_EQ(change["fields"]["status"]["new"], "SHOW_AAA_SERVER_DEAD");
    EXPECT_EQ(change["fields"]["aaa_authen.requests"]["new"], 16);
    EXPECT_EQ(change["fields"]["minute"]["new"].size(), 1440U);
    EXPECT_EQ(change["fields"]["minute"]["new"][5], 7);
    EXPECT_FALSE(change["fields"]["minute"].contains("old"));
}

TEST_F(Insert, TakesAllFieldsOfAKeyStructure) {
    const Outcome outcome =
        on_store({"insert", "pexSessionEntry_op", "if_index=3", "session_id_in=s3", "searchtype=0",
                  "ipAddr=192.0.2.3", "mac_addr=02:00:00:00:00:03", "-v"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out.find("+ tbl_pexSessionEntry_op:sessions 3, s3, "), 0U) << outcome.out;
    EXPECT_NE(outcome.out.find("    ipAddr: 192.0.2.3\n"), std::string::npos) << outcome.out;
}

TEST_F(Insert, RefusesATableOfAnotherKindUnderAPath) {
    ASSERT_EQ(on_store({"insert", "--create", "aaa_servers:net/shared", "sname=radius3"}).exit_code,
              0);
    const Outcome outcome =
        on_store({"insert", "--create", "ldap_conn:net/shared", "sname=new.example"});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(holds(outcome.err, store + " holds a tbl_aaa_servers under the name `net/shared`; "
                                           "expected a tbl_ldap_conn"))
        << outcome.err;
    EXPECT_EQ(on_store({"delete", "aaa_servers:net/shared", "radius3"}).exit_code, 0);
}

TEST_F(Insert, NamesTheKeyFieldThatIsMissing) {
    expect_refusals({{2,
                      {"insert", "pexSessionEntry_op", "if_index=3"},
                      "the key field `session_id_in` is missing"}});
}

TEST_F(Insert, CreatesATableOnlyOnRequest) {
    expect_refusals({{1,
                      {"insert", "ldap_conn:other", "sname=x", "num_conns=1"},
                      "tarnctl: " + store +
                          " holds no table `tbl_ldap_conn:other`; it holds "
                          "`tbl_ldap_conn:ldap`; --create makes it\n"}});

    const Outcome outcome =
        on_store({"insert", "--create", "ldap_conn:other", "sname=a=b [c,d]", "num_conns=1"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.err,
              "tarnctl: the store holds no table `tbl_ldap_conn:other`; it was made\n");
    EXPECT_EQ(connections(store, "a=b [c,d]", 1, 0, "other"), 1U);
}

TEST_F(Insert, UpdatesAnExistingRecordOnRequest) {
    EXPECT_EQ(on_store({"insert", "ldap_conn", "sname=a.example", "num_conns=9"}).exit_code, 3);
    for (const char *word : {"num_conns=9", "num_conns+=1"}) {
        const Outcome outcome =
            on_store({"insert", "ldap_conn", "sname=a.example", word, "--or-update", "--json"});
        ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(tarn::test::json_of(outcome.out)["changed"], 1);
    }
    EXPECT_EQ(connections(store, "a.example"), 10U);
    EXPECT_EQ(connection_records(store), 5U);

    const Outcome added =
        on_store({"insert", "ldap_conn", "sname=new.example", "num_conns+=2", "--or-update"});
    EXPECT_EQ(added.exit_code, 0) << added.err;
    EXPECT_EQ(connections(store, "new.example"), 2U);
    EXPECT_EQ(on_store({"insert", "ldap_conn", "sname=newer", "num_conns+=2"}).exit_code, 2);
}

TEST_F(Insert, TakesBytesInHexadecimal) {
    const Outcome outcome =
        on_store({"insert", "ldap_conn", "sname:hex=00ff0a", "num_conns=5", "--json"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(connections(store, std::string("\0\xff\n", 3)), 5U);
    EXPECT_EQ(tarn::test::json_of(outcome.out)["changes"][0]["key"]["sname"]["hex"], "00ff0a");

    EXPECT_EQ(on_store({"insert", "ldap_conn", "sname:hex=0", "num_conns=5"}).exit_code, 2);
    EXPECT_EQ(on_store({"insert", "ldap_conn", "sname=x", "num_conns:hex=05"}).exit_code, 2);
}

TEST_F(Insert, TakesAWholeArray) {
    std::string figures = "minute=7";
    for (int i = 1; i < 1440; ++i) figures += " 0";
    const Outcome outcome = on_store({"insert", "aaa_servers", "sname=radius2", figures, "-v"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("    minute: 7 0 0 0"), std::string::npos) << outcome.out;

    expect_refusals({{2,
                      {"insert", "aaa_servers", "sname=radius3", "minute=1 2"},
                      "minute: expected 1440 numbers"}});
}

TEST_F(Insert, RefusesAnExistingKey) {
    expect_refusals({{3,
                      {"insert", "ldap_conn", "sname=a.example"},
                      "tarnctl: tbl_ldap_conn:ldap: there is already a record of the key "
                      "`a.example`, tenant 0, source 1\n"}});
    EXPECT_EQ(connections(store, "a.example"), 1U);
    EXPECT_EQ(connection_records(store), 5U);
}

TEST_F(Insert, RefusesUnknownFields) {
    expect_refusals({
        {2, {"insert", "ldap_conn", "a.example"}, "expected FIELD=VALUE, not `a.example`"},
        {2, {"insert", "ldap_conn", "sname=x", "num_cons=1"}, "did you mean `num_conns`?"},
        {2, {"insert", "ldap_conn", "sname=x", "sname=y"}, "`sname` is given twice"},
        {2, {"insert", "ldap_con", "sname=x"}, "did you mean `ldap_conn`?"},
        {2, {"insert"}, "TABLE is missing"},
    });
}

TEST_F(Insert, RefusesInvalidValues) {
    const std::string before = content_of(store);
    expect_refusals({
        {2, {"insert", "ldap_conn", "sname=x", "num_conns=many"}, "num_conns: expected a number"},
        {2, {"insert", "ldap_conn", "sname=x", "--source", "256"}, ""},
        {2, {"insert", "ldap_conn", "sname=x", "--tenant", "65536"}, ""},
    });
    EXPECT_TRUE(content_of(store) == before);
}

TEST_F(Insert, AsADryRunKeepsEveryByteOfTheStore) {
    const std::string before = content_of(store);
    const Outcome outcome =
        on_store({"insert", "ldap_conn:new_table", "sname=x", "num_conns=3", "--create", "-n"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "+ tbl_ldap_conn:new_table x\n    num_conns: 3\n"
              "1 record inserted (dry run)\n");
    EXPECT_EQ(outcome.err,
              "tarnctl: the store holds no table `tbl_ldap_conn:new_table`; it would be made\n");
    EXPECT_TRUE(content_of(store) == before);
}

TEST_F(Insert, IntoAFileThatIsNoStoreIsAStoreError) {
    std::filesystem::remove_all(store);
    tarn::test::write_file(store, "no store");
    expect_refusals({{4, {"insert", "ldap_conn", "sname=x"}, store},
                     {4, {"insert", "ldap_conn", "sname=x", "--dry-run"}, ""}});
}

// An insert through a handle without a replication engine would be missing in the stream.
TEST_F(Insert, IntoAReplicatedTableAddsAFrame) {
    change_store(store, [](kel_handle *handle) {
        uint32_t err = 0;
        kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 1, &err);
        ASSERT_EQ(kel_replication_attach(handle, tarnbase_table_get_vft), 0U);
        kel_table_set_replication(handle, KEL_TX_NONE, table, 1, 1);
    });
    const Outcome outcome = on_store({"insert", "ldap_conn", "sname=new.example"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    with_store(store, [](kel_handle *handle) {
        kel_replication_reader reader{};
        ASSERT_EQ(kel_replication_reader_open(handle, KEL_REPLICATION_OLDEST, &reader), 0U);
        EXPECT_EQ(kel_replication_lag(handle, &reader), 1U);
    });
}

}  // namespace
}  // namespace tarnctl_test
