// SPDX-License-Identifier: Apache-2.0
#include "dot1x/radius.h"

#include <gtest/gtest.h>

#include "tarnbase/enums/server_state.h"
#include "tests/feeders/dot1x/support.h"

namespace tarn_dot1x {
namespace {

RadiusRows rows_of(const Strings &mibs, const ServerNames &names = {}) {
    RadiusRows rows;
    Problems problems;
    for (const std::string &mib : mibs)
        add_servers(parse_mib({"mib", mib}, problems), names, rows, problems);
    EXPECT_EQ(texts(problems), Strings());
    return rows;
}

Strings recorded_mibs() {
    Strings mibs;
    for (const char *port : {"p1", "p2", "p3", "p4"})
        mibs.push_back(recording(std::string("hostapd-") + port + "-mib.txt"));
    return mibs;
}

std::string auth_server(const std::string &address, const std::string &port,
                        const std::string &more = "") {
    return "radiusAuthServerIndex=1\nradiusAuthServerAddress=" + address +
           "\nradiusAuthClientServerPortNumber=" + port + "\n" + more;
}

constexpr const char *kAuth =
    "radiusAuthClientRoundTripTime=7\n"
    "radiusAuthClientAccessRequests=1000\n"
    "radiusAuthClientAccessRetransmissions=2\n"
    "radiusAuthClientAccessAccepts=10\n"
    "radiusAuthClientAccessRejects=20\n"
    "radiusAuthClientAccessChallenges=40\n"
    "radiusAuthClientMalformedAccessResponses=3\n"
    "radiusAuthClientBadAuthenticators=4\n"
    "radiusAuthClientPendingRequests=30\n"
    "radiusAuthClientTimeouts=5\n"
    "radiusAuthClientUnknownTypes=6\n"
    "radiusAuthClientPacketsDropped=8\n";

constexpr const char *kAcct =
    "radiusAccServerIndex=2\n"
    "radiusAccServerAddress=10.0.0.1\n"
    "radiusAccClientServerPortNumber=1813\n"
    "radiusAccClientRoundTripTime=70\n"
    "radiusAccClientRequests=100\n"
    "radiusAccClientRetransmissions=2\n"
    "radiusAccClientResponses=50\n"
    "radiusAccClientMalformedResponses=3\n"
    "radiusAccClientBadAuthenticators=4\n"
    "radiusAccClientPendingRequests=30\n"
    "radiusAccClientTimeouts=5\n"
    "radiusAccClientUnknownTypes=6\n"
    "radiusAccClientPacketsDropped=8\n";

TEST(Radius, EachVariableOfAnAuthenticationServerIsCounted) {
    const RadiusRows rows = rows_of({auth_server("10.0.0.1", "1812", kAuth)});
    ServerRow server;
    server.est_outstanding_taraxs_auth = 30;
    server.aaa_authen.requests = 1000;
    server.aaa_authen.transactions = 1000;
    server.aaa_authen.request_timeouts = 5;
    server.aaa_authen.retransmissions = 2;
    server.aaa_authen.accepts = 10;
    server.aaa_authen.rejects = 20;
    server.aaa_authen.challenges = 40;
    server.aaa_authen.unexpected_responses = 6;
    server.aaa_authen.incorrect_responses = 3 + 4;
    server.aaa_authen.transaction_successes = 10 + 20 + 40;
    EXPECT_EQ(rows.servers, (std::map<std::string, ServerRow>{{"10.0.0.1", server}}));

    RadiusRow client;
    client.access_rejects = 20;
    client.radius_auth_stats.responses_seen = 10 + 20 + 40 + 3 + 4 + 6 + 8;
    client.radius_auth_stats.with_response = 70;
    client.radius_auth_stats.without_response = 1000 - 70 - 30;
    client.radius_auth_stats.timeouts = 5;
    client.radius_auth_stats.response_time_max = 7;
    client.radius_auth_stats.malformed_responses = 3;
    client.radius_auth_stats.bad_authenticators = 4;
    client.radius_auth_stats.unknown_responses = 6;
    EXPECT_EQ(rows.client, client);
}

TEST(Radius, EachVariableOfAnAccountingServerIsCounted) {
    const RadiusRows rows = rows_of({kAcct});
    ServerRow server;
    server.acct_requests = 100;
    server.acct_transactions = 100;
    server.acct_request_timeouts = 5;
    server.acct_retransmissions = 2;
    server.acct_unexpected_responses = 6;
    server.acct_incorrect_responses = 3 + 4;
    server.acct_transaction_successes = 50;
    server.est_outstanding_taraxs_acct = 30;
    EXPECT_EQ(rows.servers, (std::map<std::string, ServerRow>{{"10.0.0.1", server}}));

    RadiusRow client;
    client.radius_acct_stats.responses_seen = 50 + 3 + 4 + 6 + 8;
    client.radius_acct_stats.with_response = 50;
    client.radius_acct_stats.without_response = 100 - 50 - 30;
    client.radius_acct_stats.timeouts = 5;
    client.radius_acct_stats.response_time_max = 70;
    client.radius_acct_stats.malformed_responses = 3;
    client.radius_acct_stats.bad_authenticators = 4;
    client.radius_acct_stats.unknown_responses = 6;
    EXPECT_EQ(rows.client, client);
}

TEST(Radius, TheRecordedPortsOfOneServerAreAdded) {
    const RadiusRows rows = rows_of(recorded_mibs());
    ASSERT_EQ(rows.servers.size(), 1u);
    const AuthenRow &authen = rows.servers.at("127.0.0.1").aaa_authen;
    EXPECT_EQ(authen.requests, 14u);
    EXPECT_EQ(authen.accepts, 2u);
    EXPECT_EQ(authen.rejects, 1u);
    EXPECT_EQ(authen.challenges, 11u);
    EXPECT_EQ(rows.client.access_rejects, 1u);
    EXPECT_EQ(rows.client.radius_auth_stats.with_response, 14u);
    EXPECT_EQ(rows.client.radius_auth_stats.without_response, 0u);
    EXPECT_EQ(rows.client.radius_auth_stats.response_time_max, 100u);
}

// The server's own counters of the same day: it has seen what its clients sent it.
TEST(Radius, TheRecordedServerHasSeenWhatThePortsSentToIt) {
    const std::string response = recording("freeradius-status-server.txt");
    const auto counter = [&response](const std::string &name) {
        const size_t at = response.find("FreeRADIUS-Total-" + name + " = ");
        EXPECT_NE(at, std::string::npos) << name;
        return std::stoul(response.substr(response.find('=', at) + 1));
    };
    const AuthenRow authen = rows_of(recorded_mibs()).servers.at("127.0.0.1").aaa_authen;
    EXPECT_LE(authen.requests, counter("Access-Requests"));
    EXPECT_LE(authen.accepts, counter("Access-Accepts"));
    EXPECT_EQ(authen.rejects, counter("Access-Rejects"));
    EXPECT_LE(authen.challenges, counter("Access-Challenges"));
}

TEST(Radius, ServersAreNamedByAddressOrByTheUser) {
    const Strings mibs{auth_server("10.0.0.1", "1812"), auth_server("10.0.0.1", "2812"),
                       auth_server("fd00::1", "1812"), auth_server("10.0.0.2", "1812")};
    const auto names_of = [&mibs](const ServerNames &names) {
        Strings result;
        for (const auto &server : rows_of(mibs, names).servers) result.push_back(server.first);
        return result;
    };
    EXPECT_EQ(names_of({}), (Strings{"10.0.0.1", "10.0.0.2", "fd00::1"}));
    EXPECT_EQ(names_of({{{"10.0.0.1", "a"}, {"10.0.0.1:2812", "b"}, {"[fd00::1]:1812", "c"}}, {}}),
              (Strings{"10.0.0.2", "a", "b", "c"}));
    EXPECT_EQ(names_of({{{"10.0.0.1", "a"}}, "rest"}), (Strings{"a", "rest"}));
}

TEST(Radius, AServerWithoutAnAddressIsReportedAndSkipped) {
    RadiusRows rows;
    Problems problems;
    add_servers(
        parse_mib({"f", "radiusAuthServerIndex=1\nradiusAuthClientAccessRequests=1\n"}, problems),
        {}, rows, problems);
    EXPECT_TRUE(rows.servers.empty());
    EXPECT_EQ(rows.client, RadiusRow{});
    EXPECT_EQ(texts(problems), (Strings{"f:1: found \"a RADIUS server\", expected a RADIUS server "
                                        "with its address"}));
}

TEST(Radius, SumsWrapAsCountersDo) {
    const std::string most = "radiusAuthClientAccessRejects=4294967295\n";
    const std::string two = "radiusAuthClientAccessRejects=2\n";
    const RadiusRows rows =
        rows_of({auth_server("10.0.0.1", "1812", most), auth_server("10.0.0.1", "1812", two)});
    EXPECT_EQ(rows.servers.at("10.0.0.1").aaa_authen.rejects, 1u);
}

TEST(Radius, ARequestHandledByAnotherServerIsNotMissed) {
    const RadiusRows rows = rows_of({auth_server("10.0.0.1", "1812",
                                                 "radiusAuthClientAccessRequests=1\n"
                                                 "radiusAuthClientAccessAccepts=2\n")});
    EXPECT_EQ(rows.client.radius_auth_stats.without_response, 0u);
}

ServerRow counted(uint32_t requests, uint32_t answers, uint32_t timeouts) {
    ServerRow row;
    row.aaa_authen.requests = requests;
    row.aaa_authen.transaction_successes = answers;
    row.aaa_authen.request_timeouts = timeouts;
    return row;
}

// What follows a row with that status and these counters.
ServerRow after(ServerRow before, uint32_t status, ServerRow now) {
    before.status = status;
    before.dead_count = 5;
    carry_on(before, now);
    return now;
}

TEST(Radius, AServerIsAliveOrDeadByItsResponsesSinceTheLastPoll) {
    constexpr uint32_t alive = SHOW_AAA_SERVER_ALIVE;
    constexpr uint32_t dead = SHOW_AAA_SERVER_DEAD;
    constexpr uint32_t unknown = SHOW_AAA_SERVER_UNKNOWN;
    const auto first = [](ServerRow now) {
        carry_on(std::nullopt, now);
        return now;
    };
    EXPECT_EQ(first(counted(0, 0, 0)).status, unknown);
    EXPECT_EQ(first(counted(1, 0, 0)).status, unknown);
    EXPECT_EQ(first(counted(1, 1, 0)).status, alive);
    EXPECT_EQ(first(counted(1, 0, 1)).status, dead);
    EXPECT_EQ(first(counted(1, 0, 1)).dead_count, 1u);

    const ServerRow before = counted(10, 8, 2);
    EXPECT_EQ(after(before, alive, counted(10, 8, 2)).status, alive);
    EXPECT_EQ(after(before, dead, counted(10, 8, 2)).status, dead);
    EXPECT_EQ(after(before, dead, counted(10, 8, 2)).dead_count, 5u);
    EXPECT_EQ(after(before, alive, counted(11, 8, 3)).status, dead);
    EXPECT_EQ(after(before, alive, counted(11, 8, 3)).dead_count, 6u);
    EXPECT_EQ(after(before, dead, counted(11, 8, 3)).dead_count, 5u);
    EXPECT_EQ(after(before, dead, counted(11, 9, 3)).status, alive);
    EXPECT_EQ(after(before, dead, counted(11, 9, 3)).dead_count, 5u);
}

TEST(Radius, CountersThatRestartAreNotCompared) {
    const ServerRow before = counted(10, 8, 2);
    EXPECT_EQ(after(before, SHOW_AAA_SERVER_DEAD, counted(0, 0, 0)).status,
              uint32_t(SHOW_AAA_SERVER_DEAD));
    EXPECT_EQ(after(before, SHOW_AAA_SERVER_DEAD, counted(8, 8, 0)).status,
              uint32_t(SHOW_AAA_SERVER_ALIVE));
    EXPECT_EQ(after(before, SHOW_AAA_SERVER_ALIVE, counted(2, 0, 2)).status,
              uint32_t(SHOW_AAA_SERVER_DEAD));
    EXPECT_EQ(after(before, SHOW_AAA_SERVER_ALIVE, counted(2, 0, 2)).dead_count, 6u);
}

TEST(Radius, AnAccountingResponseCountsAsAliveToo) {
    ServerRow now = counted(1, 0, 1);
    now.acct_transaction_successes = 1;
    carry_on(std::nullopt, now);
    EXPECT_EQ(now.status, uint32_t(SHOW_AAA_SERVER_ALIVE));
}

TEST(Radius, TheLargestResponseTimeIsKept) {
    RadiusRow before;
    before.radius_auth_stats.response_time_max = 100;
    before.radius_acct_stats.response_time_max = 1;
    RadiusRow now;
    now.radius_auth_stats.response_time_max = 3;
    now.radius_acct_stats.response_time_max = 3;
    carry_on(before, now);
    EXPECT_EQ(now.radius_auth_stats.response_time_max, 100u);
    EXPECT_EQ(now.radius_acct_stats.response_time_max, 3u);
}

}  // namespace
}  // namespace tarn_dot1x
