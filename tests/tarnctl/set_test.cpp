// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include "tarnbase/tarnbase.h"
#include "tests/support/json.h"
#include "tests/tarnctl/store_access.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using Set = WithStore;

TEST_F(Set, ChangesAFieldOfOneRecord) {
    const Outcome outcome = on_store({"set", "ldap_conn", "b.example", "num_conns=8"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(connections(store, "b.example"), 8U);
    EXPECT_EQ(connections(store, "b.example", 5), 20U);
}

TEST_F(Set, FindsTheRecordOfASourceAndATenant) {
    const Outcome source =
        on_store({"set", "ldap_conn", "b.example", "num_conns=8", "--source", "5", "-v"});
    EXPECT_EQ(source.out, "~ tbl_ldap_conn:ldap b.example (source 5)\n    num_conns: 20 -> 8\n");
    EXPECT_EQ(connections(store, "b.example", 5), 8U);
    EXPECT_EQ(on_store({"set", "ldap_conn", "c.example", "num_conns=8"}).exit_code, 1);
    EXPECT_EQ(on_store({"set", "ldap_conn", "c.example", "num_conns=8", "--tenant", "9"}).exit_code,
              0);
    EXPECT_EQ(connections(store, "c.example", 1, 9), 8U);
}

TEST_F(Set, TakesTheKeyByName) {
    ASSERT_EQ(on_store({"insert", "ldap_conn", "sname=a=b"}).exit_code, 0);
    const Outcome outcome = on_store({"set", "ldap_conn", "sname=a=b", "num_conns=8"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(connections(store, "a=b"), 8U);
    const Outcome by_place = on_store({"set", "ldap_conn", "a=b", "num_conns=8"});
    EXPECT_EQ(by_place.exit_code, 2);
    EXPECT_NE(by_place.err.find("written with its field's name, as `sname=a=b`"), std::string::npos)
        << by_place.err;
}

TEST_F(Set, TakesTheValuesOfAKeyStructureInItsOrder) {
    const Outcome outcome = on_store(
        {"set", "pexSessionEntry_op", "2", "s2", "searchtype=1", "ipAddr=192.0.2.9", "-v"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("    ipAddr: 2001:db8::1 -> 192.0.2.9\n"), std::string::npos)
        << outcome.out;
    const Outcome missing = on_store({"set", "pexSessionEntry_op", "2", "ipAddr="});
    EXPECT_EQ(missing.exit_code, 2);
    EXPECT_NE(missing.err.find("the key field `session_id_in` is missing"), std::string::npos)
        << missing.err;
    const Outcome many = on_store({"set", "ldap_conn", "a.example", "b.example", "num_conns=1"});
    EXPECT_EQ(many.exit_code, 2);
    EXPECT_NE(many.err.find("`b.example` is one more"), std::string::npos) << many.err;
}

TEST_F(Set, ChangesNestedFieldsElementsAndEnumerators) {
    const Outcome outcome = on_store({"set", "aaa_servers", "radius1", "status=dead",
                                      "aaa_authen.requests=6", "minute[5]=200", "--json"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    const ServerValues values = server_values(store);
    EXPECT_EQ(values.status, static_cast<uint32_t>(SHOW_AAA_SERVER_DEAD));
    EXPECT_EQ(values.requests, 6U);
    EXPECT_EQ(values.minute5, 200U);
    const auto fields = tarn::test::json_of(outcome.out)["changes"][0]["fields"];
    EXPECT_EQ(fields.size(), 3U);
    EXPECT_EQ(fields["status"]["old"], "SHOW_AAA_SERVER_ALIVE");
    EXPECT_EQ(fields["minute[5]"], nlohmann::json({{"old", 5}, {"new", 200}}));
}

TEST_F(Set, CountsOnlyWhatChanges) {
    const Outcome outcome = on_store({"set", "ldap_conn", "--all", "num_conns=2", "-v"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("4 records changed\n"), std::string::npos) << outcome.out;
    EXPECT_EQ(connections(store, "c.example", 1, 9), 2U);
    const Outcome again = on_store({"set", "ldap_conn", "--all", "num_conns=2", "-v"});
    EXPECT_EQ(again.out, "no record changed\n");
}

TEST_F(Set, ChangesAllRecordsThatMatchConditions) {
    const Outcome outcome = on_store({"set", "ldap_conn", "--where", "num_conns>1", "--where",
                                      "sname=b.example", "num_conns=9"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "2 records changed\n");
    EXPECT_EQ(connections(store, "b.example"), 9U);
    EXPECT_EQ(connections(store, "b.example", 5), 9U);
    EXPECT_EQ(connections(store, "a.example"), 1U);

    const Outcome of_source =
        on_store({"set", "ldap_conn", "--where", "num_conns=9", "num_conns=1", "--source", "5"});
    EXPECT_EQ(of_source.out, "1 record changed\n");
    EXPECT_EQ(connections(store, "b.example"), 9U);
}

TEST_F(Set, OfNoRecordIsNotFound) {
    const Outcome key = on_store({"set", "ldap_conn", "d.example", "num_conns=9"});
    EXPECT_EQ(key.exit_code, 1);
    EXPECT_EQ(key.err,
              "tarnctl: tbl_ldap_conn:ldap: no record of the key `d.example`, tenant 0, "
              "source 1\n");
    const Outcome where = on_store({"set", "ldap_conn", "--where", "num_conns=77", "num_conns=9"});
    EXPECT_EQ(where.exit_code, 1);
    EXPECT_NE(where.err.find("no record meets the conditions"), std::string::npos);
    const Outcome table = on_store({"set", "ldap_stats", "x", "--all"});
    EXPECT_EQ(table.exit_code, 2);
    EXPECT_EQ(on_store({"set", "ldap_conn:none", "--all", "num_conns=1"}).exit_code, 1);
}

TEST_F(Set, RefusesToChangeAKey) {
    for (const auto &words :
         std::vector<std::vector<std::string>>{{"set", "ldap_conn", "a.example", "sname=x"},
                                               {"set", "ldap_conn", "--all", "sname=x"}}) {
        const Outcome outcome = on_store(words);
        EXPECT_EQ(outcome.exit_code, 2);
        EXPECT_NE(outcome.err.find("`sname` is part of the key of tbl_ldap_conn and "
                                   "can't be changed"),
                  std::string::npos)
            << outcome.err;
    }
}

TEST_F(Set, RefusesConflictingArguments) {
    const std::vector<std::string> cases[] = {
        {"a.example"},
        {"a.example", "--all", "num_conns=1"},
        {"--all", "--where", "num_conns=1", "num_conns=1"},
        {"--where", "num_con=1", "num_conns=1"},
    };
    for (std::vector<std::string> words : cases) {
        words.insert(words.begin(), {"set", "ldap_conn"});
        EXPECT_EQ(on_store(words).exit_code, 2) << words.back();
    }
    EXPECT_EQ(connections(store, "a.example"), 1U);
}

TEST_F(Set, ReportsThatARecordIsTooOldForAField) {
    change_store(store, [](kel_handle *handle) {
        uint32_t err = 0;
        kel_handle_set_variant(handle, &_st_aaa_servers_type_info_internal, 0);
        kel_table *table = tbl_aaa_servers_table_open(handle, KEL_TX_NONE, "aaa", 1, &err);
        kel_record *record = tbl_aaa_servers_create_record(handle, KEL_TX_NONE, &err);
        st_aaa_servers *server = st_aaa_servers_create(handle, KEL_TX_NONE);
        kel_vstring name;
        kel_vstring_refer(&name, "old", 3);
        st_aaa_servers_sname_set(handle, KEL_TX_NONE, server, &name, &err);
        tbl_aaa_servers_st_aaa_servers_set_field(handle, KEL_TX_NONE, record, server);
        tbl_aaa_servers_insert(handle, KEL_TX_NONE, table, record, &err);
        ASSERT_EQ(err, 0U);
    });
    const std::string field = "radius_dtls_stats.";
    const Outcome tree = on_store({"set", "aaa_servers", "old", "radius_dtls_stats=1"});
    EXPECT_EQ(tree.exit_code, 2) << tree.err;
    const std::size_t begin = tree.err.find(field) + field.size();
    const std::string inner = tree.err.substr(begin, tree.err.find('`', begin) - begin);
    const Outcome outcome = on_store({"set", "aaa_servers", "old", field + inner + "=1"});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_NE(outcome.err.find(field + inner +
                               ": the record `old` of tbl_aaa_servers was made as "
                               "an older variant, which has no such field"),
              std::string::npos)
        << outcome.err;
}

TEST_F(Set, OfAMissingRecordIsNoErrorOnRequest) {
    for (const std::vector<std::string> &chosen :
         std::vector<std::vector<std::string>>{{"ldap_conn", "gone.example"},
                                               {"ldap_conn", "--where", "num_conns=99"},
                                               {"ldap_conn:other", "a.example"}}) {
        std::vector<std::string> arguments{"set", "num_conns=3"};
        arguments.insert(arguments.begin() + 1, chosen.begin(), chosen.end());
        EXPECT_EQ(on_store(arguments).exit_code, 1);
        arguments.push_back("--if-exists");
        const Outcome outcome = on_store(arguments);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }
    EXPECT_EQ(on_store({"set", "ldap_conn", "a.example", "num_conns=3", "--if-exists"}).exit_code,
              0);
    EXPECT_EQ(connections(store, "a.example"), 3U);
}

TEST_F(Set, AddsToIntegersAndSubtractsFromThem) {
    EXPECT_EQ(on_store({"set", "ldap_conn", "a.example", "num_conns+=5"}).exit_code, 0);
    EXPECT_EQ(connections(store, "a.example"), 6U);
    EXPECT_EQ(on_store({"set", "ldap_conn", "a.example", "num_conns-=2"}).exit_code, 0);
    EXPECT_EQ(connections(store, "a.example"), 4U);
    EXPECT_EQ(on_store({"set", "aaa_servers", "radius1", "minute[5]+=250"}).exit_code, 0);
    EXPECT_EQ(server_values(store).minute5, 255);
}

TEST_F(Set, RefusesASumThatTheFieldCannotHold) {
    const Outcome above = on_store({"set", "ldap_conn", "a.example", "num_conns+=4294967295"});
    EXPECT_EQ(above.exit_code, 3);
    EXPECT_EQ(above.err,
              "tarnctl: num_conns: 1 + 4294967295 is above 4294967295, the largest value\n");
    const Outcome below = on_store({"set", "ldap_conn", "a.example", "num_conns-=2"});
    EXPECT_EQ(below.exit_code, 3);
    EXPECT_EQ(below.err, "tarnctl: num_conns: 1 - 2 is below 0, the smallest value\n");
    EXPECT_EQ(on_store({"set", "aaa_servers", "radius1", "minute[5]+=251"}).exit_code, 3);
    EXPECT_EQ(on_store({"set", "ldap_conn", "a.example", "num_conns+=x"}).exit_code, 2);
    EXPECT_EQ(on_store({"set", "aaa_servers", "radius1", "status+=1"}).exit_code, 2);
    EXPECT_EQ(on_store({"set", "aaa_servers", "radius1", "minute+=1"}).exit_code, 2);
    EXPECT_EQ(on_store({"set", "ldap_conn", "sname+=1", "num_conns=1"}).exit_code, 2);
    EXPECT_EQ(connections(store, "a.example"), 1U);
}

TEST_F(Set, AsADryRunKeepsEveryByteOfTheStore) {
    const std::string before = content_of(store);
    const Outcome outcome = on_store({"set", "ldap_conn", "a.example", "num_conns=9", "-n"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "~ tbl_ldap_conn:ldap a.example\n    num_conns: 1 -> 9\n"
              "1 record changed (dry run)\n");
    EXPECT_TRUE(content_of(store) == before);
}

TEST_F(Set, WhileATransactionIsOpenFailsAsBusy) {
    with_store(store, [&](kel_handle *handle) {
        uint32_t tx_id = 0;
        ASSERT_EQ(kel_transaction_begin(handle, &tx_id), 0U);
        const Outcome outcome = on_store({"set", "ldap_conn", "a.example", "num_conns=9"});
        EXPECT_EQ(outcome.exit_code, 5);
        EXPECT_NE(outcome.err.find("another process is the writer: held by"), std::string::npos)
            << outcome.err;
        EXPECT_EQ(on_store({"set", "ldap_conn", "a.example", "num_conns=9", "--dry-run"}).exit_code,
                  0);
        ASSERT_EQ(kel_transaction_rollback(handle, tx_id), 0U);
    });
}

TEST_F(Set, WaitsForTheWriterAndNamesIt) {
    with_store(store, [&](kel_handle *handle) {
        uint32_t tx_id = 0;
        ASSERT_EQ(kel_transaction_begin(handle, &tx_id), 0U);
        tarn::test::Process process({TARNCTL, "set", "ldap_conn", "a.example", "num_conns=9",
                                     "--wait", "60", "--store", store});
        const std::string text = "tarnctl: waiting for " + std::to_string(getpid()) +
                                 " (tarnctl_test), the writer since 20";
        EXPECT_TRUE(process.wait_for(text));
        ASSERT_EQ(kel_transaction_rollback(handle, tx_id), 0U);
        const Outcome outcome = process.finish();
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    });
    EXPECT_EQ(connections(store, "a.example"), 9U);
}

TEST_F(Set, WaitsNoLongerThanRequested) {
    change_store(store, [&](kel_handle *) {
        for (const std::vector<std::string> &words :
             {std::vector<std::string>{"set", "ldap_conn", "a.example", "num_conns=9"},
              {"delete", "ldap_conn", "a.example"},
              {"insert", "ldap_conn", "sname=new"},
              {"table", "create", "ldap_conn:new"},
              {"table", "drop", "--force", "ldap_conn"},
              {"store", "compact"}}) {
            std::vector<std::string> arguments = words;
            arguments.insert(arguments.end(), {"--wait", "0"});
            const Outcome outcome = on_store(arguments);
            EXPECT_EQ(outcome.exit_code, 5) << words[0];
            EXPECT_EQ(outcome.err.find("waiting for"), std::string::npos) << outcome.err;
        }
        const Outcome outcome =
            on_store({"set", "ldap_conn", "a.example", "num_conns=9", "--wait", "1.1"});
        EXPECT_EQ(outcome.exit_code, 5);
        EXPECT_TRUE(holds(outcome.err, "tarnctl: waiting for ")) << outcome.err;
        EXPECT_TRUE(holds(outcome.err, "another process is the writer: held by")) << outcome.err;
    });
    EXPECT_EQ(on_store({"set", "ldap_conn", "a.example", "num_conns=9", "--wait", "-1"}).exit_code,
              2);
}

}  // namespace
}  // namespace tarnctl_test
