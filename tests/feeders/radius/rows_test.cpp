// SPDX-License-Identifier: Apache-2.0
#include "radius/rows.h"

#include <gtest/gtest.h>

#include "radius/attributes.h"
#include "tarnbase/enums/server_state.h"

namespace tarn_radius {
namespace {

using Kind = Subject::Kind;

const Statistics kServer{{{kAccessAccepts, 1},
                          {kAccessRejects, 2},
                          {kAccessChallenges, 4},
                          {kAuthResponses, 7},
                          {kAuthDuplicateRequests, 8},
                          {kAuthDroppedRequests, 16},
                          {kAccountingResponses, 32},
                          {kAcctDuplicateRequests, 64},
                          {kAcctDroppedRequests, 128},
                          {128, 1000}}};

TEST(Row, OfAServerHasItsCounts) {
    for (const Kind kind : {Kind::server, Kind::client}) {
        const ServerRow row = next_row(std::nullopt, kind, kServer);
        EXPECT_EQ(row.status, uint32_t(SHOW_AAA_SERVER_ALIVE));
        EXPECT_EQ(row.aaa_authen.requests, 23u);
        EXPECT_EQ(row.aaa_authen.transactions, 23u);
        EXPECT_EQ(row.aaa_authen.retransmissions, 8u);
        EXPECT_EQ(row.aaa_authen.accepts, 1u);
        EXPECT_EQ(row.aaa_authen.rejects, 2u);
        EXPECT_EQ(row.aaa_authen.challenges, 4u);
        EXPECT_EQ(row.aaa_authen.transaction_successes, 7u);
        EXPECT_EQ(row.aaa_authen.transaction_failures, 16u);
        EXPECT_EQ(row.acct_requests, 160u);
        EXPECT_EQ(row.acct_transactions, 160u);
        EXPECT_EQ(row.acct_retransmissions, 64u);
        EXPECT_EQ(row.acct_transaction_successes, 32u);
        EXPECT_EQ(row.acct_transaction_failures, 128u);
    }
}

// The server counts them, so a poll would change the row.
TEST(Row, DoesNotHaveTheTotalWithStatusServerPackets) {
    Statistics later = kServer;
    later.values[128] += 1;
    EXPECT_EQ(next_row(std::nullopt, Kind::server, kServer),
              next_row(std::nullopt, Kind::server, later));
}

TEST(Row, OfAServerThatDoesNotReplyKeepsItsCounts) {
    const ServerRow alive = next_row(std::nullopt, Kind::server, kServer);
    const ServerRow dead = next_row(alive, Kind::server, std::nullopt);
    EXPECT_EQ(dead.status, uint32_t(SHOW_AAA_SERVER_DEAD));
    EXPECT_EQ(dead.aaa_authen, alive.aaa_authen);
    EXPECT_EQ(dead.acct_requests, alive.acct_requests);
}

TEST(Row, CountsHowOftenTheServerBecameDead) {
    ServerRow row = next_row(std::nullopt, Kind::server, std::nullopt);
    EXPECT_EQ(row.dead_count, 1u);
    row = next_row(row, Kind::server, std::nullopt);
    EXPECT_EQ(row.dead_count, 1u);
    row = next_row(row, Kind::server, kServer);
    EXPECT_EQ(row.dead_count, 1u);
    row = next_row(row, Kind::server, std::nullopt);
    EXPECT_EQ(row.dead_count, 2u);
}

TEST(Row, HasTheCountersOfAServerThatWasStartedAgain) {
    const ServerRow before = next_row(std::nullopt, Kind::server, kServer);
    const ServerRow after = next_row(before, Kind::server, Statistics{{{kAccessAccepts, 0}}});
    EXPECT_EQ(after.aaa_authen, AuthenRow{});
    EXPECT_EQ(after.acct_requests, 0u);
}

TEST(Row, StaysIfTheReplyHasNoStatistics) {
    const ServerRow before = next_row(std::nullopt, Kind::server, kServer);
    EXPECT_EQ(next_row(before, Kind::server, Statistics{}), before);
}

TEST(Row, OfAHomeServerHasTheCountsOfItsProxy) {
    Statistics home{{{kProxyAccessRequests, 10},
                     {kProxyAccessAccepts, 1},
                     {kProxyAccessRejects, 2},
                     {kProxyAccessChallenges, 4},
                     {kProxyAuthResponses, 7},
                     {kOutstandingRequests, 3},
                     {kServerState, kHomeAlive}}};
    const ServerRow row = next_row(std::nullopt, Kind::home_server, home);
    EXPECT_EQ(row.aaa_authen.requests, 10u);
    EXPECT_EQ(row.aaa_authen.transactions, 10u);
    EXPECT_EQ(row.aaa_authen.accepts, 1u);
    EXPECT_EQ(row.aaa_authen.rejects, 2u);
    EXPECT_EQ(row.aaa_authen.challenges, 4u);
    EXPECT_EQ(row.aaa_authen.transaction_successes, 7u);
    EXPECT_EQ(row.est_outstanding_taraxs_auth, 3u);
    EXPECT_EQ(row.est_outstanding_taraxs_acct, 0u);

    home = {
        {{kProxyAccountingRequests, 5}, {kProxyAccountingResponses, 4}, {kOutstandingRequests, 1}}};
    const ServerRow acct = next_row(std::nullopt, Kind::home_server, home);
    EXPECT_EQ(acct.acct_requests, 5u);
    EXPECT_EQ(acct.acct_transactions, 5u);
    EXPECT_EQ(acct.acct_transaction_successes, 4u);
    EXPECT_EQ(acct.est_outstanding_taraxs_auth, 0u);
    EXPECT_EQ(acct.est_outstanding_taraxs_acct, 1u);
}

TEST(Row, OfAHomeServerHasTheStateThatItsProxySees) {
    const auto status = [](uint32_t state) {
        return next_row(std::nullopt, Kind::home_server, Statistics{{{kServerState, state}}})
            .status;
    };
    EXPECT_EQ(status(kHomeAlive), uint32_t(SHOW_AAA_SERVER_ALIVE));
    EXPECT_EQ(status(kHomeZombie), uint32_t(SHOW_AAA_SERVER_UNKNOWN));
    EXPECT_EQ(status(kHomeDead), uint32_t(SHOW_AAA_SERVER_DEAD));
    EXPECT_EQ(status(kHomeIdle), uint32_t(SHOW_AAA_SERVER_UNKNOWN));
    const ServerRow alive =
        next_row(std::nullopt, Kind::home_server, Statistics{{{kServerState, kHomeAlive}}});
    EXPECT_EQ(next_row(alive, Kind::home_server, Statistics{}).status,
              uint32_t(SHOW_AAA_SERVER_UNKNOWN));
    EXPECT_EQ(next_row(std::nullopt, Kind::home_server, std::nullopt).status,
              uint32_t(SHOW_AAA_SERVER_UNKNOWN));
}

}  // namespace
}  // namespace tarn_radius
