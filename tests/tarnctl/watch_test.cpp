// SPDX-License-Identifier: Apache-2.0
//
// tarnctl watch while other processes change the store.
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <sstream>
#include <thread>

#include "tarnbase/tarnbase.h"
#include "tests/support/json.h"
#include "tests/tarnctl/store_access.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

constexpr const char *begun = "tarnctl: watching";

class Watch : public WithStore {
 protected:
    // Starts watching, and returns when it has read the records.
    std::unique_ptr<tarn::test::Process> watch(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {TARNCTL, "watch", "--no-rows"});
        arguments.insert(arguments.end(), {"--interval", "20", "-v", "--store", store});
        auto process = std::make_unique<tarn::test::Process>(arguments);
        EXPECT_TRUE(process->wait_for(begun));
        return process;
    }

    void change(std::vector<std::string> arguments) {
        const Outcome outcome = on_store(std::move(arguments));
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    }
};

TEST_F(Watch, ShowsTheChangesOfAnotherProcess) {
    const auto process = watch({"ldap_conn", "--no-time", "--count", "1"});
    change({"set", "ldap_conn", "b.example", "num_conns=8", "--source", "5"});
    const Outcome outcome = process->finish();
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "~ tbl_ldap_conn:ldap b.example (source 5)  num_conns: 20 -> 8\n");
}

TEST_F(Watch, ShowsInsertedAndDeletedRecords) {
    const auto process = watch({"ldap_conn", "--no-time", "--count", "3"});
    const Outcome batch = on_store({"set", "-"},
                                   "insert ldap_conn sname=new.example num_conns=3\n"
                                   "set ldap_conn a.example num_conns=4\n"
                                   "delete ldap_conn b.example\n");
    EXPECT_EQ(batch.exit_code, 0) << batch.err;
    const Outcome outcome = process->finish();
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "- tbl_ldap_conn:ldap b.example  num_conns: 2\n"
              "~ tbl_ldap_conn:ldap a.example  num_conns: 1 -> 4\n"
              "+ tbl_ldap_conn:ldap new.example  num_conns: 3\n");
    EXPECT_NE(outcome.err.find("tarnctl: 3 changes in"), std::string::npos) << outcome.err;
}

TEST_F(Watch, ShowsOnlyTheElementsThatChanged) {
    const auto process = watch({"--all", "--no-time", "--count", "1"});
    change({"set", "aaa_servers", "radius1", "minute[17]=4", "minute[59]=0"});
    const Outcome outcome = process->finish();
    EXPECT_EQ(outcome.out,
              "~ tbl_aaa_servers:aaa radius1  minute[17]: 17 -> 4, minute[59]: 59 -> 0\n");
}

TEST_F(Watch, PrintsOneObjectPerLineInJson) {
    const auto process = watch({"ldap_conn", "aaa_servers", "--json", "--count", "2"});
    const Outcome batch = on_store({"set", "-"},
                                   "set ldap_conn a.example num_conns=4\n"
                                   "set dot1xAuthConfigEntry_op:ports 1 auth_state=held\n"
                                   "set aaa_servers radius1 status=dead\n");
    EXPECT_EQ(batch.exit_code, 0) << batch.err;
    const Outcome outcome = process->finish();
    std::istringstream lines(outcome.out);
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    auto report = tarn::test::json_of(line);
    EXPECT_EQ(report["table"], "tbl_aaa_servers:aaa");
    EXPECT_EQ(report["change"], "changed");
    EXPECT_EQ(report["fields"]["status"]["new"], "SHOW_AAA_SERVER_DEAD");
    EXPECT_EQ(report["time"].get<std::string>().size(),
              std::string("2026-01-01T00:00:00.000Z").size());
    ASSERT_TRUE(std::getline(lines, line));
    report = tarn::test::json_of(line);
    EXPECT_EQ(report["key"]["sname"], "a.example");
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(Watch, StartsEachChangeWithTheTime) {
    const auto process = watch({"ldap_conn", "--count", "1"});
    change({"set", "ldap_conn", "a.example", "num_conns=8"});
    const Outcome outcome = process->finish();
    EXPECT_EQ(outcome.out.find(" ~ tbl_ldap_conn:ldap a.example  "),
              std::string("2026-01-01 00:00:00").size())
        << outcome.out;
}

TEST_F(Watch, ExitsWithSuccessWhenItIsInterrupted) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const auto process = watch({"ldap_conn"});
        process->send(signal);
        const Outcome outcome = process->finish();
        EXPECT_EQ(outcome.exit_code, 0);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err.find("tarnctl: 0 changes in"), std::string::npos) << outcome.err;
    }
}

TEST_F(Watch, EndsAfterATime) {
    EXPECT_EQ(on_store({"watch", "ldap_conn", "--timeout", "0.05"}).exit_code, 0);
    EXPECT_EQ(on_store({"watch", "ldap_conn", "--timeout", "0.05", "--count", "1"}).exit_code, 1);
}

TEST_F(Watch, SeesChangesOutsideOfTransactions) {
    const auto process = watch({"ldap_conn", "--no-time", "--count", "1"});
    change_store(store, [](kel_handle *handle) {
        uint32_t err = 0;
        st_ldap_conn *conn = connection_of(handle, "a.example");
        st_ldap_conn_num_conns_set_value(handle, KEL_TX_NONE, conn, 70, &err);
        ASSERT_EQ(err, 0U);
    });
    EXPECT_EQ(process->finish().out, "~ tbl_ldap_conn:ldap a.example  num_conns: 1 -> 70\n");
}

TEST_F(Watch, SeesTheChangesOfATransactionWhenItIsCommitted) {
    const auto process = watch({"--all", "--no-time", "--count", "1"});
    with_store(store, [](kel_handle *handle) {
        uint32_t err = 0;
        uint32_t tx_id = 0;
        st_ldap_conn *conn = connection_of(handle, "a.example");
        ASSERT_EQ(kel_transaction_begin(handle, &tx_id), 0U);
        st_ldap_conn_num_conns_set_value(handle, tx_id, conn, 50, &err);
        st_ldap_conn_num_conns_set_value(handle, tx_id, conn, 60, &err);
        ASSERT_EQ(kel_transaction_commit(handle, tx_id), 0U);
    });
    EXPECT_EQ(process->finish().out, "~ tbl_ldap_conn:ldap a.example  num_conns: 1 -> 60\n");
}

TEST_F(Watch, BeginsWhileAnotherProcessIsWriting) {
    with_store(store, [this](kel_handle *handle) {
        uint32_t tx_id = 0;
        ASSERT_EQ(kel_transaction_begin(handle, &tx_id), 0U);
        const auto process = watch({"ldap_conn"});
        process->send(SIGTERM);
        EXPECT_EQ(process->finish().exit_code, 0);
        ASSERT_EQ(kel_transaction_commit(handle, tx_id), 0U);
    });
}

TEST_F(Watch, SeesATableThatIsCreatedLater) {
    const auto process = watch({"--all", "--no-time", "--count", "1"});
    change({"insert", "--create", "ldap_conn:fresh", "sname=x"});
    EXPECT_EQ(process->finish().out, "+ tbl_ldap_conn:fresh x\n");
}

TEST_F(Watch, SeesACommitAtOnce) {
    tarn::test::Process process({TARNCTL, "watch", "ldap_conn", "--no-rows", "--no-time", "--count",
                                 "1", "--interval", "3600000", "-v", "--store", store});
    ASSERT_TRUE(process.wait_for(begun));
    change({"set", "ldap_conn", "a.example", "num_conns=8"});
    EXPECT_EQ(process.finish().out, "~ tbl_ldap_conn:ldap a.example  num_conns: 1 -> 8\n");
}

// The processor time of a process, in nanoseconds.
uint64_t time_of(pid_t process) {
    std::istringstream text(
        tarn::test::read_file("/proc/" + std::to_string(process) + "/schedstat"));
    uint64_t time = 0;
    text >> time;
    return time;
}

TEST_F(Watch, TakesNoTimeUntilSomethingIsCommitted) {
    const auto process = watch({"ldap_conn"});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const uint64_t before = time_of(process->pid());
    if (before == 0) GTEST_SKIP() << "the kernel doesn't count it";
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_LT(time_of(process->pid()) - before, 10'000'000U);
    process->send(SIGTERM);
    EXPECT_EQ(process->finish().exit_code, 0);
}

TEST_F(Watch, PrintsTheRecordsAsTheyAreFirst) {
    tarn::test::Process process({TARNCTL, "watch", "ldap_conn", "--no-time", "--count", "1", "-v",
                                 "--where", "num_conns<3", "--columns", "num_conns", "--store",
                                 store});
    ASSERT_TRUE(process.wait_for(begun));
    const Outcome batch = on_store({"set", "-"},
                                   "set ldap_conn ldap1.example.net num_conns=9\n"
                                   "set ldap_conn a.example num_conns=4\n");
    EXPECT_EQ(batch.exit_code, 0) << batch.err;
    EXPECT_EQ(process.finish().out,
              "= tbl_ldap_conn:ldap a.example  num_conns: 1\n"
              "= tbl_ldap_conn:ldap b.example  num_conns: 2\n"
              "~ tbl_ldap_conn:ldap a.example  num_conns: 1 -> 4\n");
}

// Each value of num_conns in the lines of JSON.
std::string values_in(const std::string &text) {
    std::istringstream lines(text);
    std::string values;
    for (std::string line; std::getline(lines, line);) {
        const auto report = tarn::test::json_of(line);
        values += report["change"].get<std::string>() + ' ' +
                  std::to_string(report["fields"]["num_conns"]["new"].get<int>()) + '\n';
    }
    return values;
}

TEST_F(Watch, GoesOnWhereItsCursorIs) {
    const std::string cursor = directory / "cursor";
    const std::vector<std::string> arguments = {"watch",    "ldap_conn", "--json",
                                                "--cursor", cursor,      "--timeout"};
    const auto watch_on = [&] {
        std::vector<std::string> all = arguments;
        all.push_back("0.3");
        return values_in(on_store(all).out);
    };
    EXPECT_NE(watch_on().find("present 20"), std::string::npos);
    for (const char *value : {"30", "31"})
        change({"set", "ldap_conn", "a.example", std::string("num_conns=") + value});
    EXPECT_EQ(watch_on(), "changed 30\nchanged 31\n");
    EXPECT_EQ(watch_on(), "");
    tarn::test::write_file(cursor, "no cursor");
    EXPECT_EQ(on_store({"watch", "--all", "--cursor", cursor}).exit_code, 3);
}

TEST_F(Watch, BeginsWithATransactionOrSaysThatItIsMissing) {
    change({"set", "ldap_conn", "a.example", "num_conns=30"});
    EXPECT_EQ(on_store({"watch", "ldap_conn", "--from", "99999"}).exit_code, 4);
    const std::vector<std::string> from_first = {"watch",  "ldap_conn", "--from", "1",
                                                 "--json", "--timeout", "0.3"};
    const std::string all = on_store(from_first).out;
    EXPECT_NE(all.find("inserted"), std::string::npos) << all;
    EXPECT_EQ(all.find("present"), std::string::npos) << all;
    ASSERT_EQ(on_store({"store", "compact"}).exit_code, 0);
    const std::string later = on_store(from_first).out;
    EXPECT_NE(later.find(R"("change":"gap","first":1,"last":)"), std::string::npos) << later;
    EXPECT_NE(later.find("present"), std::string::npos) << later;
}

TEST_F(Watch, BeginsAtATime) {
    ASSERT_EQ(on_store({"journal", "start"}).exit_code, 0);
    change({"set", "ldap_conn", "a.example", "num_conns=30"});
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    change({"set", "ldap_conn", "a.example", "num_conns=31"});
    const std::string log = on_store({"log", "--json"}).out;
    const auto last = tarn::test::json_of(log.substr(log.rfind('\n', log.size() - 2) + 1));
    const auto changes_from = [&](const std::string &time) {
        return on_store({"watch", "ldap_conn", "--from", time, "--json", "--timeout", "0.3"}).out;
    };
    EXPECT_EQ(values_in(changes_from(last["time"])), "changed 31\n");
    EXPECT_EQ(on_store({"watch", "ldap_conn", "--from", "soon"}).exit_code, 2);
    ASSERT_EQ(on_store({"store", "compact"}).exit_code, 0);
    EXPECT_EQ(values_in(changes_from(last["time"])), "changed 31\n");
}

TEST_F(Watch, PrintsEachChangeOfAFastWriterOnce) {
    constexpr int changes = 2000;
    const auto process = watch({"ldap_conn", "--json", "--count", std::to_string(changes)});
    with_store(store, [](kel_handle *handle) {
        for (int i = 0; i < changes; ++i) {
            uint32_t tx_id = 0;
            uint32_t err = 0;
            ASSERT_EQ(kel_transaction_begin(handle, &tx_id), 0U);
            st_ldap_conn *conn = connection_of(handle, "a.example");
            st_ldap_conn_num_conns_set_value(handle, tx_id, conn, 100U + static_cast<unsigned>(i),
                                             &err);
            ASSERT_EQ(kel_transaction_commit(handle, tx_id), 0U);
        }
    });
    std::string expected;
    for (int i = 0; i < changes; ++i) expected += "changed " + std::to_string(100 + i) + '\n';
    EXPECT_EQ(values_in(process->finish().out), expected);
}

TEST_F(Watch, NamesTheAuthorIfTheStoreKeepsAJournal) {
    ASSERT_EQ(on_store({"journal", "start"}).exit_code, 0);
    const auto process = watch({"ldap_conn", "--json", "--count", "1"});
    change({"set", "ldap_conn", "a.example", "num_conns=30"});
    const auto report = tarn::test::json_of(process->finish().out);
    EXPECT_GT(report["pid"].get<int>(), 0);
    EXPECT_EQ(report["uid"], getuid());
    EXPECT_NE(report["command"].get<std::string>().find("num_conns=30"), std::string::npos);
}

TEST_F(Watch, NeedsExistingTables) {
    EXPECT_EQ(on_store({"watch"}).exit_code, 2);
    EXPECT_EQ(on_store({"watch", "ldap_conn", "--all"}).exit_code, 2);
    EXPECT_EQ(on_store({"watch", "ldap_con"}).exit_code, 2);
    EXPECT_EQ(on_store({"watch", "ldap_conn", "--interval", "0"}).exit_code, 2);
    const Outcome none = on_store({"watch", "ldap_conn:none"});
    EXPECT_EQ(none.exit_code, 1);
    EXPECT_NE(none.err.find("it holds `tbl_ldap_conn:ldap`"), std::string::npos) << none.err;
    std::filesystem::remove_all(store);
    tarn::test::write_file(store, "no store");
    EXPECT_EQ(on_store({"watch", "--all"}).exit_code, 4);
}

}  // namespace
}  // namespace tarnctl_test
