// SPDX-License-Identifier: Apache-2.0
//
// tarnctl revert: a transaction is taken back, or refused.
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include "tarnbase/tarn/tracking.hpp"
#include "tarnbase/tarnbase.h"
#include "tests/tarnctl/past.h"
#include "tests/tarnctl/store_access.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class Revert : public WithPast {
 protected:
    Outcome revert(uint64_t number, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"revert", std::to_string(number)});
        return on_store(options);
    }
    std::string whole() { return out_of({"export", "-f", "json"}); }
};

TEST_F(Revert, TakesBackWhatATransactionChanged) {
    const std::string before = whole();
    const uint64_t number = change({"set", "-"},
                                   "insert ldap_conn sname=new.example num_conns=3\n"
                                   "set ldap_conn a.example num_conns=4\n"
                                   "delete ldap_conn b.example --source 5\n"
                                   "delete ldap_conn c.example --tenant 9\n"
                                   "delete aaa_servers radius1\n"
                                   "delete pexSessionEntry_op 2 s2 1\n"
                                   "set dot1xAuthConfigEntry_op:ports 1 auth_state=held\n");
    EXPECT_NE(whole(), before);
    const Outcome outcome = revert(number);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "~ tbl_ldap_conn:ldap a.example\n    num_conns: 4 -> 1\n"));
    EXPECT_TRUE(holds(outcome.out, "- tbl_ldap_conn:ldap new.example\n")) << outcome.out;
    EXPECT_TRUE(holds(outcome.out, "+ tbl_aaa_servers:aaa radius1\n")) << outcome.out;
    EXPECT_EQ(whole(), before);
    const json label = lines_of({"log", "--json"}).back()["label"];
    EXPECT_EQ(label, "revert of transaction " + std::to_string(number));
}

TEST_F(Revert, LeavesOtherFieldsAndCanBeReverted) {
    const uint64_t number = change({"set", "aaa_servers", "radius1", "minute[3]=9"});
    change({"set", "aaa_servers", "radius1", "minute[4]=8", "status=dead"});
    const std::string changed = whole();
    ASSERT_EQ(revert(number).exit_code, 0);
    const std::string field = out_of({"get", "aaa_servers", "radius1", "--field", "minute"});
    EXPECT_TRUE(holds(field, "0 1 2 3 8 5 ")) << field;
    ASSERT_EQ(revert(last_transaction()).exit_code, 0);
    EXPECT_EQ(whole(), changed);
}

// Inserts a server by a program, and returns it.
st_aaa_servers *insert_server(kel_handle *handle, const char *name) {
    uint32_t err = 0;
    kel_table *table = tbl_aaa_servers_table_open(handle, KEL_TX_NONE, "aaa", 1, &err);
    kel_record *record = tbl_aaa_servers_create_record(handle, KEL_TX_NONE, &err);
    st_aaa_servers *server = st_aaa_servers_create(handle, KEL_TX_NONE);
    kel_vstring text;
    kel_vstring_refer(&text, name, static_cast<uint32_t>(std::strlen(name)));
    st_aaa_servers_sname_set(handle, KEL_TX_NONE, server, &text, &err);
    tbl_aaa_servers_st_aaa_servers_set_field(handle, KEL_TX_NONE, record, server);
    tbl_aaa_servers_insert(handle, KEL_TX_NONE, table, record, &err);
    EXPECT_EQ(err, 0U);
    return server;
}

TEST_F(Revert, RestoresARecordOfAnOlderVariant) {
    change_store(store, [](kel_handle *handle) {
        kel_handle_set_variant(handle, &_st_aaa_servers_type_info_internal, 0);
        insert_server(handle, "old");
    });
    const std::string before = whole();
    EXPECT_TRUE(holds(before, R"("variant":0)"));
    for (const std::vector<std::string> &each :
         {std::vector<std::string>{"delete", "aaa_servers", "old"},
          std::vector<std::string>{"set", "aaa_servers", "old", "status=dead", "minute[7]=1"}}) {
        const uint64_t number = change(each);
        EXPECT_NE(whole(), before);
        const Outcome outcome = revert(number);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_TRUE(whole() == before) << each[0];
    }
}

// A change by a program that has newer variants raises the variant of the record.
TEST_F(Revert, IsRefusedOfARaisedVariantIfTheRecordWasChangedSince) {
    change_store(store, [](kel_handle *handle) {
        kel_handle_set_variant(handle, &_st_aaa_servers_type_info_internal, 0);
        insert_server(handle, "old");
    });
    const uint64_t number = change({"set", "aaa_servers", "old", "status=dead"});
    const uint64_t later = change({"set", "aaa_servers", "old", "dead_count=1"});
    const Outcome refused = revert(number);
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_TRUE(holds(refused.err, "tbl_aaa_servers:aaa old  dead_count: 0 -> 1 in transaction " +
                                       std::to_string(later)))
        << refused.err;
    ASSERT_EQ(revert(later).exit_code, 0);
    EXPECT_EQ(revert(number).exit_code, 1);
}

TEST_F(Revert, RestoresStateFlags) {
    change_store(store, [](kel_handle *handle) {
        const tarn::tracking_scope scope(handle, tarn::tracking::on);
        uint32_t err = 0;
        st_aaa_servers *server = insert_server(handle, "tracked");
        st_aaa_servers_minute_set_value(handle, KEL_TX_NONE, server, 3, 9, &err);
        st_aaa_servers_minute_state_flag_set(handle, KEL_TX_NONE, server, 4, 1, &err);
        st_aaa_type *authen = st_aaa_servers_aaa_authen_get(handle, KEL_TX_NONE, server, &err);
        st_aaa_type_requests_set_value(handle, KEL_TX_NONE, authen, 5, &err);
        st_aaa_type_requests_state_flag_set(handle, KEL_TX_NONE, authen, 1, &err);
        EXPECT_EQ(err, 0U);
    });
    const std::string before = whole();
    EXPECT_TRUE(holds(before, R"("aaa_authen.requests":1)"));
    const std::vector<std::vector<std::string>> changes = {
        {"delete", "aaa_servers", "tracked"},
        {"set", "aaa_servers", "tracked", "status=dead"},
        {"set", "aaa_servers", "tracked", "aaa_authen.requests=6", "minute[4]=1"}};
    for (const std::vector<std::string> &each : changes) {
        const uint64_t number = change(each);
        EXPECT_NE(whole(), before);
        const Outcome outcome = revert(number);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_TRUE(whole() == before) << each[0] << each.back();
    }
}

TEST_F(Revert, TakesBackStateFlagsAlone) {
    change_store(store, [](kel_handle *handle) {
        const tarn::tracking_scope scope(handle, tarn::tracking::on);
        insert_server(handle, "tracked");
    });
    const auto set_flag = [&](uint8_t flag) {
        change_store(store, [&](kel_handle *handle) {
            uint32_t err = 0;
            kel_table *table = tbl_aaa_servers_table_open(handle, KEL_TX_NONE, "aaa", 1, &err);
            kel_vstring name;
            kel_vstring_refer(&name, "tracked", 7);
            kel_record *record = tbl_aaa_servers_st_aaa_servers_sname_search(handle, KEL_TX_NONE,
                                                                             table, &name, &err);
            st_aaa_servers_status_state_flag_set(
                handle, KEL_TX_NONE,
                tbl_aaa_servers_st_aaa_servers_get_field(handle, KEL_TX_NONE, record), flag, &err);
            EXPECT_EQ(err, 0U);
        });
        return last_transaction();
    };
    const std::string before = whole();
    const uint64_t number = set_flag(1);
    EXPECT_NE(whole(), before);
    const Outcome outcome = revert(number);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "~ tbl_aaa_servers:aaa tracked\n    state(status): 1 -> 0\n");
    EXPECT_EQ(whole(), before);

    const uint64_t again = set_flag(1);
    set_flag(3);
    const Outcome refused = revert(again);
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_TRUE(holds(refused.err, "tbl_aaa_servers:aaa tracked  state(status): it is 3, not 1"))
        << refused.err;
}

TEST_F(Revert, RestoresThePendingMarkOfADeletedRecord) {
    add_connection(store, "rare", "waits", 1, KEL_RECORD_PENDING_DESTROY);
    const std::string before = whole();
    EXPECT_TRUE(holds(before, R"("pending":true)"));
    const uint64_t number = change({"delete", "ldap_conn:rare", "waits"});
    const Outcome outcome = revert(number);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(whole(), before);
}

TEST_F(Revert, IsRefusedOfAPendingMark) {
    change_store(store, [](kel_handle *handle) {
        uint32_t err = 0;
        kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 1, &err);
        kel_record *record =
            tbl_ldap_conn_st_ldap_conn_sname_get_first_ignore_src(handle, KEL_TX_NONE, table, &err);
        handle->write_log_hook(handle->arena, &record->flags, sizeof record->flags, KEL_TX_NONE);
        record->flags |= KEL_RECORD_PENDING_DESTROY;
    });
    const std::string before = whole();
    EXPECT_TRUE(holds(before, R"("pending":true)"));
    const Outcome outcome = revert(last_transaction());
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_TRUE(
        holds(outcome.err, "a.example  whether it awaits its destruction can't be set back"))
        << outcome.err;
    EXPECT_EQ(whole(), before);
}

TEST_F(Revert, IsRefusedWithTheConflicts) {
    const uint64_t number = change({"set", "-"},
                                   "insert ldap_conn sname=new.example num_conns=3\n"
                                   "set ldap_conn a.example num_conns=4\n"
                                   "set ldap_conn b.example num_conns=5\n"
                                   "delete ldap_conn ldap1.example.net\n");
    change({"set", "ldap_conn", "new.example", "num_conns=30"});
    change({"set", "ldap_conn", "a.example", "num_conns=40"});
    change({"set", "ldap_conn", "a.example", "num_conns=4"});
    change({"delete", "ldap_conn", "b.example"});
    change({"insert", "ldap_conn", "sname=ldap1.example.net"});
    const std::string before = whole();
    const Outcome outcome = revert(number);
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(whole(), before);
    const auto conflict = [&](const std::string &record, const std::string &what, uint64_t later) {
        const std::string line = "tbl_ldap_conn:ldap " + record + "  " + what + " in transaction " +
                                 std::to_string(number + later) + "  by tarnctl[";
        EXPECT_TRUE(holds(outcome.err, line)) << line << "\n" << outcome.err;
    };
    conflict("new.example", "num_conns: 3 -> 30", 1);
    conflict("a.example", "num_conns: 4 -> 40", 2);
    conflict("a.example", "num_conns: 40 -> 4", 3);
    conflict("b.example", "it was deleted", 4);
    conflict("ldap1.example.net", "it was inserted again", 5);
    const json list = tarn::test::json_of(revert(number, {"--json"}).out);
    EXPECT_EQ(list["conflicts"].size(), 5U);
    EXPECT_EQ(list["changes"], json::array());
}

TEST_F(Revert, IsTried) {
    const uint64_t number = change({"set", "ldap_conn", "a.example", "num_conns=4"});
    const std::string before = whole();
    const Outcome outcome = revert(number, {"--dry-run"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "~ tbl_ldap_conn:ldap a.example\n    num_conns: 4 -> 1\n");
    EXPECT_EQ(whole(), before);
    EXPECT_EQ(last_transaction(), number);
    const json trial = tarn::test::json_of(revert(number, {"-n", "--json"}).out);
    EXPECT_EQ(trial["dry_run"], true);
    EXPECT_EQ(trial["changes"][0]["fields"], json::parse(R"({"num_conns":{"old":4,"new":1}})"));
}

TEST_F(Revert, SaysWhatItCannotRead) {
    EXPECT_EQ(revert(0).exit_code, 2);
    EXPECT_EQ(revert(99999).exit_code, 4);
    EXPECT_EQ(revert(last_transaction() + 1).exit_code, 1);
    const uint64_t number = change({"set", "ldap_conn", "a.example", "num_conns=4"});
    ASSERT_EQ(on_store({"journal", "stop"}).exit_code, 0);
    const Outcome gone = revert(number);
    EXPECT_EQ(gone.exit_code, 1);
    EXPECT_TRUE(holds(gone.err, "isn't kept")) << gone.err;
}

// The store is as before or as after, whenever the command is killed.
TEST_F(Revert, KilledItIsDoneCompletelyOrNotAtAll) {
    std::string batch;
    for (int i = 0; i < 200; ++i)
        batch += "insert ldap_conn sname=n" + std::to_string(i) + " num_conns=1\n";
    const std::string before = whole();
    const uint64_t number = change({"set", "-"}, batch);
    const std::string after = whole();
    bool is_reverted = false;
    for (int delay = 0; !is_reverted && delay < 400; delay += 10) {
        tarn::test::Process process({TARNCTL, "revert", std::to_string(number), "--store", store});
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        process.send(SIGKILL);
        process.finish();
        const std::string now = whole();
        is_reverted = now == before;
        EXPECT_TRUE(is_reverted || now == after) << delay;
    }
    if (!is_reverted) is_reverted = revert(number).exit_code == 0;
    EXPECT_TRUE(is_reverted);
    EXPECT_EQ(whole(), before);
    EXPECT_EQ(on_store({"store", "check"}).exit_code, 0);
}

}  // namespace
}  // namespace tarnctl_test
