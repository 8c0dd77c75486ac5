// SPDX-License-Identifier: Apache-2.0
#include "dot1x/keeper.h"

#include <gtest/gtest.h>

#include "dot1x/tables.h"
#include "tarnbase/enums/server_state.h"
#include "tests/support/temporary_directory.h"

namespace tarn_dot1x {
namespace {

// Rows whose every field has a value of its own.
ConfigRow sample_config(uint32_t first) {
    ConfigRow row;
    row.auth_state = 1 + first % 14;
    row.auth_bend_state = 1 + first % 8;
    row.client_authorized = first % 2;
    row.oper_ctrl_dir = 1 - first % 2;
    row.reauth_period_oper = first + 1;
    row.time_to_next_reauth = first + 2;
    return row;
}

StatsRow sample_stats(uint32_t first) {
    StatsRow row;
    uint32_t value = first;
#define X(field) row.field = value++;
    DOT1X_STATS_NUMBERS(X)
#undef X
#define X(field) row.field = #field + std::to_string(first);
    DOT1X_STATS_TEXTS(X)
#undef X
    return row;
}

SessionRow sample_session(const std::string &id, uint32_t first = 1) {
    SessionRow row;
    uint32_t value = first;
#define X(field) row.field = value++;
    DOT1X_SESSION_NUMBERS(X)
#undef X
    row.match = 1;
#define X(field) row.field = #field + std::to_string(first);
    DOT1X_SESSION_TEXTS(X)
#undef X
    row.session_id = id;
    return row;
}

PortRows sample_port(uint32_t if_index, uint32_t first = 1) {
    PortRows rows{.port = {"p" + std::to_string(if_index), if_index}};
    rows.config = sample_config(first);
    rows.stats = sample_stats(first);
    rows.control = {first % 2, 1 - first % 2};
    rows.sessions = {sample_session("S" + std::to_string(if_index), first)};
    return rows;
}

PortRows empty_port(uint32_t if_index) {
    return {.port = {"p" + std::to_string(if_index), if_index}};
}

RadiusRows sample_radius(uint32_t first) {
    RadiusRows rows;
    uint32_t value = first;
    ServerRow &server = rows.servers["one"];
#define X(field) server.field = value++;
    DOT1X_SERVER_NUMBERS(X)
#undef X
#define X(field) server.aaa_authen.field = value++;
    DOT1X_AUTHEN_NUMBERS(X)
#undef X
    server.status = SHOW_AAA_SERVER_ALIVE;
    server.dead_count = 0;
    rows.client.access_rejects = value++;
#define X(field) rows.client.radius_auth_stats.field = value++;
    DOT1X_TRAFFIC_SIGNED(X)
    DOT1X_TRAFFIC_UNSIGNED(X)
#undef X
#define X(field) rows.client.radius_acct_stats.field = value++;
    DOT1X_TRAFFIC_SIGNED(X)
    DOT1X_TRAFFIC_UNSIGNED(X)
#undef X
    return rows;
}

// How many records each table has.
struct Counts {
    std::size_t config, stats, port, port_init, port_reauth, sessions, servers, radius;
    bool operator==(const Counts &) const = default;
};

template <class Table>
std::size_t count(const tarn::session &session) {
    return Table::open(session, kTableName).size();
}

class KeeperTest : public testing::Test {
 protected:
    static Counts counts(const Keeper &keeper) {
        const tarn::session &session = keeper.session();
        return {count<ConfigTable>(session),     count<StatsTable>(session),
                count<PortTable>(session),       count<PortInitTable>(session),
                count<PortReauthTable>(session), count<SessionTable>(session),
                count<ServerTable>(session),     count<RadiusTable>(session)};
    }
    static uint64_t blocks_of(const Keeper &keeper) { return keeper.store().describe().blocks; }
    static std::vector<std::string> ids_of(const PortRows &rows) {
        std::vector<std::string> ids;
        for (const SessionRow &row : rows.sessions) ids.push_back(row.session_id);
        return ids;
    }
    static void expect_stored(const Keeper &keeper, PortRows rows) {
        PortRows stored = keeper.read_port(rows.port);
        for (SessionRow &row : stored.sessions) row.next_if_index = 0;
        EXPECT_EQ(stored.config, rows.config);
        EXPECT_EQ(stored.stats, rows.stats);
        EXPECT_EQ(stored.control, rows.control);
        EXPECT_EQ(stored.sessions, rows.sessions);
    }

    tarn::test::TemporaryDirectory directory;
    std::string path = directory / "store";
};

TEST_F(KeeperTest, PortsAreReadAsTheyWereWritten) {
    Keeper keeper(path);
    keeper.write({{sample_port(1), sample_port(0, 50), empty_port(4294967295)}, {}});
    expect_stored(keeper, sample_port(1));
    expect_stored(keeper, sample_port(0, 50));
    expect_stored(keeper, empty_port(4294967295));
    expect_stored(keeper, empty_port(2));
    EXPECT_EQ(counts(keeper), (Counts{2, 2, 3, 3, 3, 2, 0, 1}));
    keeper.write({{sample_port(1, 90)}, {}});
    expect_stored(keeper, sample_port(1, 90));
    expect_stored(keeper, sample_port(0, 50));
}

TEST_F(KeeperTest, BothTablesOfTheInitialiseControlHaveIt) {
    Keeper keeper(path);
    PortRows rows = empty_port(3);
    for (const uint32_t init : {1u, 0u, 1u}) {
        rows.control.init = init;
        keeper.write({{rows}, {}});
        const auto port = PortTable::open(keeper.session(), kTableName);
        const auto port_init = PortInitTable::open(keeper.session(), kTableName);
        EXPECT_EQ(port.find(3)->init(), init != 0);
        EXPECT_EQ(port_init.find(3)->init(), init != 0);
    }
}

TEST_F(KeeperTest, RadiusRowsAreReadAsTheyWereWritten) {
    Keeper keeper(path);
    const RadiusRows written = sample_radius(100);
    keeper.write({{}, written});
    EXPECT_EQ(keeper.read_radius().servers, written.servers);
    EXPECT_EQ(keeper.read_radius().client, written.client);
}

TEST_F(KeeperTest, APollContinuesFromTheStoredCounters) {
    RadiusRows rows;
    rows.servers["one"].aaa_authen.requests = 1;
    rows.servers["one"].aaa_authen.request_timeouts = 1;
    rows.client.radius_auth_stats.response_time_max = 100;
    { Keeper(path).write({{}, rows}); }
    Keeper keeper(path);
    rows.client.radius_auth_stats.response_time_max = 3;
    keeper.write({{}, rows});
    EXPECT_EQ(keeper.read_radius().client.radius_auth_stats.response_time_max, 100u);
    EXPECT_EQ(keeper.read_radius().servers.at("one").status, uint32_t(SHOW_AAA_SERVER_DEAD));
    EXPECT_EQ(keeper.read_radius().servers.at("one").dead_count, 1u);
}

TEST_F(KeeperTest, SignedFieldsStayAtTheirLargestValue) {
    Keeper keeper(path);
    RadiusRows rows;
    rows.client.access_rejects = 2147483648;
    rows.client.radius_acct_stats.timeouts = 4294967295;
    rows.client.radius_acct_stats.malformed_responses = 4294967295;
    keeper.write({{}, rows});
    const RadiusRow client = keeper.read_radius().client;
    EXPECT_EQ(client.access_rejects, 2147483647u);
    EXPECT_EQ(client.radius_acct_stats.timeouts, 2147483647u);
    EXPECT_EQ(client.radius_acct_stats.malformed_responses, 4294967295u);
}

TEST_F(KeeperTest, TheRowsOfADisconnectedClientAreErased) {
    Keeper keeper(path);
    keeper.write({{sample_port(1), sample_port(2)}, {}});
    keeper.write({{empty_port(1), sample_port(2)}, {}});
    expect_stored(keeper, empty_port(1));
    expect_stored(keeper, sample_port(2));
    EXPECT_EQ(counts(keeper), (Counts{1, 1, 2, 2, 2, 1, 0, 1}));
}

TEST_F(KeeperTest, TheRowsOfAPortThatWasNotPolledAreKept) {
    Keeper keeper(path);
    keeper.write({{sample_port(1), sample_port(2)}, {}});
    keeper.write({{empty_port(2)}, {}});
    expect_stored(keeper, sample_port(1));
    expect_stored(keeper, empty_port(2));
}

TEST_F(KeeperTest, ServersThatAreNoLongerReportedAreKept) {
    Keeper keeper(path);
    const RadiusRows written = sample_radius(100);
    keeper.write({{}, written});
    keeper.write({{}, {}});
    EXPECT_EQ(keeper.read_radius().servers, written.servers);
}

TEST_F(KeeperTest, OnlyTheExistingSessionsAreKept) {
    Keeper keeper(path);
    PortRows rows = sample_port(5);
    const std::string long_id(300, 'x');
    rows.sessions = {sample_session("AA"), sample_session("B"), sample_session(long_id)};
    keeper.write({{rows}, {}});
    // Shorter identifiers come first.
    EXPECT_EQ(ids_of(keeper.read_port(rows.port)), (std::vector<std::string>{"B", "AA", long_id}));
    rows.sessions = {sample_session("AA", 7), sample_session("C")};
    keeper.write({{rows}, {}});
    EXPECT_EQ(ids_of(keeper.read_port(rows.port)), (std::vector<std::string>{"C", "AA"}));
    SessionRow changed = keeper.read_port(rows.port).sessions[1];
    changed.next_if_index = 0;
    EXPECT_EQ(changed, sample_session("AA", 7));
}

TEST_F(KeeperTest, EachSessionHasThePortOfTheNextOne) {
    Keeper keeper(path);
    PortRows two = sample_port(2);
    two.sessions = {sample_session("A"), sample_session("B")};
    keeper.write({{two, sample_port(7), sample_port(9)}, {}});
    const auto next = [&keeper](uint32_t if_index, size_t session) {
        return keeper.read_port({"", if_index}).sessions.at(session).next_if_index;
    };
    EXPECT_EQ(next(2, 0), 2u);
    EXPECT_EQ(next(2, 1), 7u);
    EXPECT_EQ(next(7, 0), 9u);
    EXPECT_EQ(next(9, 0), 0u);
    keeper.write({{empty_port(7)}, {}});
    EXPECT_EQ(next(2, 1), 9u);
}

TEST_F(KeeperTest, ASessionOfAnotherSearchTypeIsKept) {
    Keeper keeper(path);
    keeper.write({{sample_port(1)}, {}});
    kel_store *store = kel_handle_store(keeper.session().c_handle());
    ASSERT_EQ(kel_store_lock(store), 0u);
    auto table = SessionTable::open(keeper.session(), kTableName);
    table.insert(table.make({1, "", 9}));
    ASSERT_EQ(kel_store_unlock(store), 0u);
    keeper.write({{empty_port(1)}, {}});
    EXPECT_EQ(counts(keeper).sessions, 1u);
    EXPECT_TRUE(keeper.read_port({"", 1}).sessions.empty());
}

TEST_F(KeeperTest, AKeeperReadsWhatAnEarlierOneWrote) {
    { Keeper(path).write({{sample_port(1)}, sample_radius(3)}); }
    const Keeper next(path);
    expect_stored(next, sample_port(1));
    EXPECT_EQ(next.read_radius().servers, sample_radius(3).servers);
}

TEST_F(KeeperTest, ConnectingAndDisconnectingLeaksNoBlock) {
    Keeper keeper(path);
    keeper.write({{empty_port(1)}, sample_radius(1)});
    const uint64_t blocks = blocks_of(keeper);
    for (uint32_t i = 0; i < 20; ++i) {
        PortRows rows = sample_port(1, i);
        rows.sessions.push_back(sample_session("a session's very long identifier"));
        keeper.write({{rows}, sample_radius(1)});
        keeper.write({{empty_port(1)}, sample_radius(1)});
    }
    EXPECT_EQ(blocks_of(keeper), blocks);
}

TEST_F(KeeperTest, StoringTheSameAgainTakesNoBlock) {
    Keeper keeper(path);
    PortRows rows = sample_port(1);
    rows.sessions.push_back(sample_session("a session's very long identifier"));
    keeper.write({{rows}, sample_radius(1)});
    const uint64_t blocks = blocks_of(keeper);
    keeper.write({{rows}, sample_radius(1)});
    EXPECT_EQ(blocks_of(keeper), blocks);
    expect_stored(keeper, rows);
}

// Each allocation of a poll fails once: the store is as it was, and the poll can be tried again.
TEST_F(KeeperTest, AFailedPollKeepsTheStore) {
    Keeper keeper(path);
    keeper.write({{sample_port(1)}, sample_radius(1)});
    const uint64_t blocks = blocks_of(keeper);
    PortRows changed = sample_port(1, 40);
    changed.stats->user_name = "a name that is too long for its string";
    changed.sessions = {sample_session("another session, with a long identifier")};
    const Observation found{{changed, sample_port(2)}, sample_radius(200)};
    int failures = 0;
    for (uint64_t n = 1;; ++n) {
        kel_store_fail_allocation(keeper.store().c_store(), n);
        try {
            keeper.write(found);
            break;
        } catch (const tarn::error &) {
            ++failures;
        }
        SCOPED_TRACE("allocation " + std::to_string(n));
        expect_stored(keeper, sample_port(1));
        expect_stored(keeper, empty_port(2));
        ASSERT_EQ(blocks_of(keeper), blocks);
    }
    kel_store_fail_allocation(keeper.store().c_store(), 0);
    EXPECT_GT(failures, 10);
    expect_stored(keeper, changed);
    expect_stored(keeper, sample_port(2));
}

}  // namespace
}  // namespace tarn_dot1x
