// SPDX-License-Identifier: Apache-2.0
//
// tarn-ldap keeps the tables of a log that grows, and ldap_show reads them meanwhile.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "tests/support/json.h"
#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace tarn::test {
namespace {

using Json = nlohmann::json;

class Follow : public testing::Test {
 protected:
    std::vector<std::string> command(std::vector<std::string> more = {}) {
        std::vector<std::string> all = {TARN_LDAP,   "--store",  store, "--json",
                                        "--verbose", "--follow", log};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    // The value of a field as another process reads it from the store.
    std::string shown(const std::string &field) {
        const Outcome outcome = run({LDAP_SHOW, "--store", store, "--xml"});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        const std::string tag = "<" + field + ">";
        const size_t start = outcome.out.find(tag);
        if (start == std::string::npos) return "(none)";
        return outcome.out.substr(start + tag.size(),
                                  outcome.out.find('<', start + 1) - start - tag.size());
    }
    static std::string stored(int lines) { return "stored " + std::to_string(lines) + " lines"; }
    // The recorded log from its `from`th line to before its `to`th.
    static std::string recorded(int from, int to) {
        const std::string text = read_file(RECORDING);
        const auto start_of = [&](int line) {
            size_t place = 0;
            while (line-- > 1) place = text.find('\n', place) + 1;
            return place;
        };
        return text.substr(start_of(from), start_of(to) - start_of(from));
    }

    TemporaryDirectory directory;
    std::string store = directory / "store";
    std::string log = directory / "log";
};

TEST_F(Follow, AnotherProcessReadsEachBatchWhileTheLogGrows) {
    write_file(log, recorded(1, 8));
    Process stats(command());
    ASSERT_TRUE(stats.wait_for(stored(7)));
    EXPECT_EQ(shown("sname"), "ldap://127.0.0.1:3389");
    EXPECT_EQ(shown("num_conns"), "1");
    EXPECT_EQ(shown("total_bind_req"), "1");
    EXPECT_EQ(shown("total_msg_sent"), "1");

    append_file(log, recorded(8, 22));
    ASSERT_TRUE(stats.wait_for(stored(21)));
    EXPECT_EQ(shown("num_conns"), "0");
    EXPECT_EQ(shown("total_msg_sent"), "7");

    stats.send(SIGTERM);
    const Outcome outcome = stats.finish();
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(json_of(outcome.out)["tbl_ldap_stats"]["total_msg_sent"], 7);
    EXPECT_EQ(json_of(outcome.out)["tbl_ldap_summary"]["status"], true);
}

TEST_F(Follow, ALineWrittenInPiecesIsOneLine) {
    const std::string text = recorded(1, 30);
    write_file(log, text.substr(0, text.size() - 30));
    Process stats(command());
    ASSERT_TRUE(stats.wait_for(stored(28)));
    append_file(log, text.substr(text.size() - 30));
    ASSERT_TRUE(stats.wait_for(stored(29)));
    stats.send(SIGINT);
    const Outcome outcome = stats.finish();
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(json_of(outcome.out)["malformed"], 0);
}

TEST_F(Follow, ARotatedLogIsReadOnInTheNewFile) {
    write_file(log, recorded(1, 40));
    Process stats(command());
    ASSERT_TRUE(stats.wait_for(stored(39)));
    std::filesystem::rename(log, log + ".1");
    append_file(log + ".1", recorded(40, 50));
    write_file(log, recorded(50, 94));
    ASSERT_TRUE(stats.wait_for(stored(93)));
    stats.send(SIGTERM);
    Json rotated = json_of(stats.finish().out);
    std::filesystem::remove_all(store);
    EXPECT_EQ(rotated, json_of(run({TARN_LDAP, "--store", store, "--json", RECORDING}).out));
}

TEST_F(Follow, ATruncatedLogIsReadFromItsStart) {
    write_file(log, recorded(1, 40));
    Process stats(command());
    ASSERT_TRUE(stats.wait_for(stored(39)));
    write_file(log, recorded(40, 60));
    ASSERT_TRUE(stats.wait_for(stored(59)));
    append_file(log, "nonsense\n");
    ASSERT_TRUE(stats.wait_for(log + ":21: found \"nonsense\""));
    stats.send(SIGTERM);
    EXPECT_EQ(stats.finish().exit_code, 0);
}

TEST_F(Follow, FollowingEndsAfterATimeWithoutNewLines) {
    write_file(log, recorded(1, 94));
    const Outcome outcome = run(command({"--exit-idle", "0.01"}));
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(json_of(outcome.out)["lines"], 93);
}

TEST_F(Follow, TheNextRunContinuesWhereTheLastOneEnded) {
    write_file(log, recorded(1, 8));
    EXPECT_EQ(run(command({"--exit-idle", "0.01"})).exit_code, 0);
    EXPECT_EQ(shown("num_conns"), "1");
    // The last 86 of the 93 lines, in a log of their own.
    write_file(log, recorded(8, 94));
    const Json parts = json_of(run(command({"--exit-idle", "0.01"})).out);
    std::filesystem::remove_all(store);
    const Json whole = json_of(run({TARN_LDAP, "--store", store, "--json", RECORDING}).out);
    EXPECT_EQ(parts["lines"], 86);
    EXPECT_EQ(parts["tbl_ldap_conn"], whole["tbl_ldap_conn"]);
    EXPECT_EQ(parts["tbl_ldap_stats"]["total_msg_sent"], whole["tbl_ldap_stats"]["total_msg_sent"]);
    EXPECT_EQ(parts["tbl_ldap_stats"]["total_msg_rcvd"], whole["tbl_ldap_stats"]["total_msg_rcvd"]);
}

}  // namespace
}  // namespace tarn::test
