// SPDX-License-Identifier: Apache-2.0
#include "tarnbase/tarnbase.h"
#include "tests/support/json.h"
#include "tests/tarnctl/store_access.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using Delete = WithStore;

TEST_F(Delete, RemovesOneRecord) {
    const kel_store_description before = description(store);
    const Outcome outcome = on_store({"delete", "ldap_conn", "ldap1.example.net", "-v"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "- tbl_ldap_conn:ldap ldap1.example.net\n    num_conns: 7\n");
    EXPECT_EQ(connections(store, "ldap1.example.net"), std::nullopt);
    EXPECT_EQ(connection_records(store), 4U);
    // The record, its object, and the text of the name, which is too long for the object.
    EXPECT_EQ(description(store).blocks, before.blocks - 3);
}

TEST_F(Delete, FindsTheRecordOfASourceAndATenant) {
    EXPECT_EQ(on_store({"delete", "ldap_conn", "sname=b.example", "--source", "5"}).exit_code, 0);
    EXPECT_EQ(connections(store, "b.example", 5), std::nullopt);
    EXPECT_EQ(connections(store, "b.example"), 2U);
    EXPECT_EQ(on_store({"delete", "ldap_conn", "c.example", "--tenant", "9"}).exit_code, 0);
    with_store(store, [](kel_handle *handle) {
        uint32_t err = 0;
        kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 1, &err);
        kel_thread_set_tenant(9);
        EXPECT_EQ(tbl_ldap_conn_table_get_count(handle, KEL_TX_NONE, table), 0U);
        kel_thread_set_tenant(0);
    });
}

TEST_F(Delete, RemovesAndCountsAllRecords) {
    const Outcome outcome = on_store({"delete", "ldap_conn", "--all"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "5 records deleted\n");
    EXPECT_EQ(connection_records(store), 0U);
    const Outcome again = on_store({"delete", "ldap_conn", "--all"});
    EXPECT_EQ(again.exit_code, 0);
    EXPECT_EQ(again.out, "no record changed\n");
}

TEST_F(Delete, IsLimitedToOneTenantOrSourceOnRequest) {
    EXPECT_EQ(on_store({"delete", "ldap_conn", "--all", "--tenant", "9"}).out,
              "1 record deleted\n");
    EXPECT_EQ(on_store({"delete", "ldap_conn", "--all", "--source", "1"}).out,
              "3 records deleted\n");
    EXPECT_EQ(connections(store, "b.example", 5), 20U);
}

TEST_F(Delete, RemovesRecordsThatMatchConditions) {
    const Outcome outcome = on_store({"delete", "ldap_conn", "-w", "num_conns<3", "--json"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    const auto report = tarn::test::json_of(outcome.out);
    EXPECT_EQ(report["deleted"], 2);
    EXPECT_EQ(report["changes"][0]["change"], "deleted");
    EXPECT_EQ(report["changes"][0]["fields"]["num_conns"], nlohmann::json({{"old", 1}}));
    EXPECT_EQ(connection_records(store), 3U);
    EXPECT_EQ(on_store({"delete", "ldap_conn", "-w", "num_conns<3"}).exit_code, 1);
}

TEST_F(Delete, OfNoRecordIsNotFound) {
    const Outcome outcome = on_store({"delete", "ldap_conn", "d.example"});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_NE(outcome.err.find("no record of the key `d.example`"), std::string::npos);
}

TEST_F(Delete, NeedsAKeyOrConditions) {
    const Outcome nothing = on_store({"delete", "ldap_conn"});
    EXPECT_EQ(nothing.exit_code, 2);
    EXPECT_NE(nothing.err.find("the key field `sname` is missing"), std::string::npos);
    const Outcome field = on_store({"delete", "ldap_conn", "num_conns=1"});
    EXPECT_EQ(field.exit_code, 2);
    EXPECT_NE(field.err.find("chosen by --where"), std::string::npos) << field.err;
    EXPECT_EQ(on_store({"delete", "ldap_conn", "a.example", "--all"}).exit_code, 2);
    EXPECT_EQ(on_store({"delete", "ldap_conn", "sname=a.example", "--all"}).exit_code, 2);
    EXPECT_EQ(connection_records(store), 5U);
}

TEST_F(Delete, OfAReplicatedTableIsRefused) {
    change_store(store, [](kel_handle *handle) {
        uint32_t err = 0;
        kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 1, &err);
        kel_table_set_replication(handle, KEL_TX_NONE, table, 1, 0);
    });
    const Outcome outcome = on_store({"delete", "ldap_conn", "a.example"});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_EQ(outcome.err,
              "tarnctl: tbl_ldap_conn:ldap is marked for replication: only its replication engine "
              "deletes its records (error 22 of the library)\n");
    EXPECT_EQ(connections(store, "a.example"), 1U);
}

TEST_F(Delete, AsADryRunKeepsEveryByteOfTheStore) {
    const std::string before = content_of(store);
    const Outcome outcome = on_store({"delete", "ldap_conn", "--all", "--dry-run"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("- tbl_ldap_conn:ldap c.example (tenant 9)\n    num_conns: 3\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("5 records deleted (dry run)\n"), std::string::npos);
    EXPECT_TRUE(content_of(store) == before);
}

}  // namespace
}  // namespace tarnctl_test
