// SPDX-License-Identifier: Apache-2.0
#include "feeders/ldap/tally.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include "tests/feeders/ldap/recording.h"

namespace tarn_ldap {
namespace {

constexpr uint32_t kMost = std::numeric_limits<uint32_t>::max();

void count_line(Tally &tally, const std::string &text) {
    const auto parsed = parse_line(text);
    ASSERT_TRUE(std::holds_alternative<LogLine>(parsed)) << text;
    tally.count(std::get<LogLine>(parsed));
}

Tally tally_of(std::initializer_list<const char *> lines) {
    Tally tally;
    for (const char *line : lines) count_line(tally, line);
    return tally;
}

Stats stats_of(std::initializer_list<const char *> lines) { return tally_of(lines).server().stats; }

TEST(Tally, ABindOfTwoLinesIsOneRequestInAnyOrder) {
    const Stats in_order = stats_of({"conn=1 op=0 BIND dn=\"a\" method=128",
                                     "conn=1 op=0 BIND dn=\"a\" mech=SIMPLE bind_ssf=0 ssf=0",
                                     "conn=1 op=0 RESULT tag=97 err=0 etime=0.000100 text="});
    const Stats out_of_order = stats_of({"conn=1 op=0 BIND dn=\"a\" method=128",
                                         "conn=1 op=0 RESULT tag=97 err=0 etime=0.000100 text=",
                                         "conn=1 op=0 BIND dn=\"a\" mech=SIMPLE bind_ssf=0 ssf=0"});
    const Stats expected{.total_msg_sent = 1,
                         .total_msg_rcvd = 1,
                         .avg_resp_delay = 100,
                         .max_resp_delay = 100,
                         .total_bind_req = 1,
                         .total_bind_resp = 1,
                         .bind_success = 1};
    EXPECT_EQ(in_order, expected);
    EXPECT_EQ(out_of_order, expected);
}

TEST(Tally, ABindThatNeedsMoreStepsHasNeitherSucceededNorFailed) {
    const Stats stats =
        stats_of({"conn=1 op=0 RESULT tag=97 err=14 text=", "conn=1 op=1 RESULT tag=97 err=0 text=",
                  "conn=2 op=0 RESULT tag=97 err=49 text="});
    EXPECT_EQ(stats.total_bind_resp, 3u);
    EXPECT_EQ(stats.bind_success, 1u);
    EXPECT_EQ(stats.bind_fail, 1u);
}

TEST(Tally, EntriesOfASearchAreMessagesInAdditionToItsResult) {
    const Stats stats = stats_of({"conn=1 op=1 SRCH base=\"\" scope=2 deref=0 filter=\"(a=b)\"",
                                  "conn=1 op=1 SRCH attr=dn",
                                  "conn=1 op=1 SEARCH RESULT tag=101 err=0 nentries=9 text=",
                                  "conn=1 op=2 SEARCH RESULT tag=101 err=32 nentries=0 text="});
    const Stats expected{.total_msg_sent = 1,
                         .total_msg_rcvd = 11,
                         .total_search_req = 1,
                         .total_search_resentry = 9,
                         .total_search_resdone = 2,
                         .search_success = 1,
                         .search_fail = 1};
    EXPECT_EQ(stats, expected);
}

TEST(Tally, ComparesReturnTrueFalseOrThatTheAttributeIsMissing) {
    const Stats stats = stats_of(
        {"conn=1 op=1 CMP dn=\"a\" attr=\"sn\"", "conn=1 op=1 RESULT tag=111 err=6 text=",
         "conn=1 op=2 RESULT tag=111 err=5 text=", "conn=1 op=3 RESULT tag=111 err=16 text="});
    const Stats expected{.total_msg_sent = 1,
                         .total_msg_rcvd = 3,
                         .total_compare_req = 1,
                         .total_compare_resp = 3,
                         .missing_attr = 1};
    EXPECT_EQ(stats, expected);
}

TEST(Tally, ExtendedOperationsAreCountedWithAndWithoutATag) {
    const Stats stats =
        stats_of({"conn=1 op=1 EXT oid=1.3.6.1.4.1.4203.1.11.3", "conn=1 op=1 WHOAMI",
                  "conn=1 op=1 RESULT oid= err=0 text=", "conn=1 op=2 RESULT tag=120 err=2 text="});
    const Stats expected{.total_msg_sent = 1,
                         .total_msg_rcvd = 2,
                         .total_extended_req = 1,
                         .total_extended_resp = 2};
    EXPECT_EQ(stats, expected);
}

TEST(Tally, OtherOperationsAndNoticesAreMessages) {
    const Stats stats = stats_of(
        {"conn=1 op=1 ADD dn=\"a\"", "conn=1 op=1 RESULT tag=105 err=0 text=", "conn=1 op=2 UNBIND",
         "conn=1 op=3 ABANDON msg=2", "conn=1 op=4 DISCONNECT tag=97 err=2 text="});
    EXPECT_EQ(stats, (Stats{.total_msg_sent = 3, .total_msg_rcvd = 2}));
}

TEST(Tally, DelaysGiveTheirRoundedMeanAndTheLongest) {
    const Stats stats = stats_of({"conn=1 op=1 RESULT tag=97 err=0 etime=0.000100 text=",
                                  "conn=1 op=2 RESULT tag=97 err=0 etime=0.000103 text=",
                                  "conn=1 op=3 RESULT tag=97 err=0 text="});
    EXPECT_EQ(stats.avg_resp_delay, 102u);
    EXPECT_EQ(stats.max_resp_delay, 103u);
}

TEST(Tally, DelaysTooLongForTheirFieldAreStoredAsItsMaximum) {
    const Stats stats = stats_of({"conn=1 op=1 RESULT tag=97 err=0 etime=18446744073709.0 text=",
                                  "conn=1 op=2 RESULT tag=97 err=0 etime=99999.0 text="});
    EXPECT_EQ(stats.avg_resp_delay, kMost);
    EXPECT_EQ(stats.max_resp_delay, kMost);
}

TEST(Tally, CountersWrapAndTheNumberOfConnectionsDoesNot) {
    Server stored;
    stored.stats.total_msg_sent = kMost;
    stored.stats.total_search_resentry = kMost - 1;
    stored.num_conns = kMost;
    Tally tally;
    tally.adopt(stored);
    count_line(tally, "conn=1 op=1 UNBIND");
    count_line(tally, "conn=1 op=2 SEARCH RESULT tag=101 err=0 nentries=5 text=");
    count_line(tally, "conn=2 fd=3 ACCEPT from IP=1.1.1.1:1 (IP=2.2.2.2:2)");
    EXPECT_EQ(tally.server().stats.total_msg_sent, 0u);
    EXPECT_EQ(tally.server().stats.total_search_resentry, 3u);
    EXPECT_EQ(tally.server().num_conns, kMost);
}

TEST(Tally, AServerRunsFromItsStartUntilItIsToldToStop) {
    EXPECT_FALSE(tally_of({}).server().status);
    EXPECT_FALSE(tally_of({"@(#) $OpenLDAP: slapd 2.5 $"}).server().status);
    EXPECT_TRUE(tally_of({"5f0e1234 slapd starting"}).server().status);
    EXPECT_FALSE(
        tally_of({"slapd starting", "5f0e1234 daemon: shutdown requested"}).server().status);
    EXPECT_FALSE(tally_of({"slapd starting", "slapd stopped."}).server().status);
    EXPECT_TRUE(tally_of({"slapd stopped.", "slapd starting"}).server().status);
}

TEST(Tally, AServerThatWorksRunsUnlessItWasToldToStop) {
    EXPECT_TRUE(tally_of({"conn=1 op=1 UNBIND"}).server().status);
    EXPECT_FALSE(tally_of({"slapd shutdown: waiting", "conn=1 fd=2 closed"}).server().status);
}

TEST(Tally, TheStoredStatusIsKeptUntilTheLogChangesIt) {
    Tally tally;
    tally.adopt({.stats = {}, .req_timeout = 5, .status = true, .num_conns = 0});
    EXPECT_TRUE(tally.server().status);
    EXPECT_EQ(tally.server().req_timeout, 5u);
    count_line(tally, "slapd stopped.");
    EXPECT_FALSE(tally.server().status);
}

TEST(Tally, AStoppedServerHasNoConnections) {
    EXPECT_EQ(tally_of({"conn=1 fd=3 ACCEPT from IP=1.1.1.1:1 (IP=2.2.2.2:2)"}).server().num_conns,
              1u);
    const Tally stopped =
        tally_of({"conn=1 fd=3 ACCEPT from IP=1.1.1.1:1 (IP=2.2.2.2:2)", "slapd stopped."});
    EXPECT_EQ(stopped.server().num_conns, 0u);
}

TEST(Tally, ConnectionsStoredBeforeARestartOfTheServerAreGone) {
    Tally tally = tally_of({"slapd starting"});
    tally.adopt({.stats = {}, .req_timeout = 0, .status = true, .num_conns = 9});
    EXPECT_EQ(tally.server().num_conns, 0u);
}

TEST(Tally, TheFirstListenerNamesTheServer) {
    const Tally tally = tally_of({"conn=1 op=0 BIND dn=\"\" method=128",
                                  "conn=1 fd=3 ACCEPT from IP=1.1.1.1:1 (IP=127.0.0.1:3389)",
                                  "conn=2 fd=3 ACCEPT from IP=1.1.1.1:1 (IP=127.0.0.1:636)"});
    EXPECT_EQ(tally.name(), "ldap://127.0.0.1:3389");
    EXPECT_FALSE(tally_of({"slapd starting"}).name());
}

TEST(Tally, ListenersOfEachKindHaveTheirUrls) {
    EXPECT_EQ(name_of_listener("IP=[::]:389"), "ldap://[::]:389");
    EXPECT_EQ(name_of_listener("IP=0.0.0.0:636"), "ldaps://0.0.0.0:636");
    EXPECT_EQ(name_of_listener("PATH=/run/slapd/ldapi"), "ldapi://%2Frun%2Fslapd%2Fldapi");
    EXPECT_EQ(name_of_listener("IP=1.2.3.4\x1b:389"), std::nullopt);
    EXPECT_EQ(name_of_listener("unknown"), std::nullopt);
}

Server count_recording(const std::vector<std::string> &lines, size_t restart_at) {
    Tally first;
    for (size_t i = 0; i < restart_at; ++i) count_line(first, lines[i]);
    Tally second;
    second.adopt(first.server());
    for (size_t i = restart_at; i < lines.size(); ++i) count_line(second, lines[i]);
    return second.server();
}

TEST(Tally, CountingContinuesAfterAnInterruptionAtAnyLine) {
    auto lines = recorded_lines();
    ASSERT_EQ(lines.size(), 93u);
    lines.resize(lines.size() - 4);  // to a moment with a connection open
    const Server whole = count_recording(lines, 0);
    EXPECT_EQ(whole.num_conns, 1u);
    EXPECT_TRUE(whole.status);
    for (size_t restart_at = 1; restart_at <= lines.size(); ++restart_at) {
        Server parts = count_recording(lines, restart_at);
        EXPECT_NEAR(parts.stats.avg_resp_delay, whole.stats.avg_resp_delay, 1) << restart_at;
        parts.stats.avg_resp_delay = whole.stats.avg_resp_delay;
        EXPECT_EQ(parts, whole) << restart_at;
    }
}

}  // namespace
}  // namespace tarn_ldap
