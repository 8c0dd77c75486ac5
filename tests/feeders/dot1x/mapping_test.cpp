// SPDX-License-Identifier: Apache-2.0
#include "dot1x/mapping.h"

#include <gtest/gtest.h>

#include "dot1x/mib.h"
#include "tarnbase/enums/auth_bend_state.h"
#include "tarnbase/enums/auth_mgr_ctrl_dir.h"
#include "tarnbase/enums/auth_state.h"
#include "tests/feeders/dot1x/support.h"

namespace tarn_dot1x {
namespace {

PortRows map_texts(const Port &port, const std::string &stations, Problems &problems) {
    const Block status = parse_status({"status", "state=ENABLED\n"}, problems);
    return map_port(port, status, parse_stations({"sta", stations}, Stations::any_number, problems),
                    problems);
}

// A station with these variables, as hostapd writes it.
std::string station(const std::string &variables, const std::string &address = "00:00:00:00:00:01",
                    const std::string &session = "S") {
    return address + "\ndot1xAuthSessionId=" + session + "\n" + variables;
}

// The rows of the recorded port p3.
ConfigRow recorded_config() {
    ConfigRow config;
    config.auth_state = KEL_DOT1X_AUTH_STATE_AUTHENTICATED;
    config.auth_bend_state = KEL_DOT1X_AUTH_BEND_STATE_IDLE;
    config.client_authorized = 1;
    config.oper_ctrl_dir = KEL_MGR_CTRL_DIR_BOTH;
    config.reauth_period_oper = 3600;
    config.time_to_next_reauth = 3591;
    return config;
}

StatsRow recorded_stats() {
    StatsRow stats;
    stats.eapol_frames_rx = 11;
    stats.eapol_frames_tx = 11;
    stats.eapol_start_frames_rx = 1;
    stats.eapol_resp_id_frames_rx = 1;
    stats.eapol_resp_frames_rx = 10;
    stats.eapol_req_id_frames_tx = 1;
    stats.eapol_req_frames_tx = 10;
    stats.last_eapol_frame_version = 1;
    stats.last_eapol_frame_source = "82:ee:b6:95:24:d2";
    stats.user_name = "alice";
    return stats;
}

SessionRow recorded_session() {
    SessionRow session;
    session.session_id = "8860ACFE0F3B8887";
    session.session_id_len = 16;
    session.mac_addr = "82:ee:b6:95:24:d2";
    session.user_name = "alice";
    session.authorized_by = "remoteAuthServer";
    session.session_state = KEL_DOT1X_AUTH_STATE_AUTHENTICATED;
    session.oper_port_mode = 2;
    session.session_reauth_interval = 3600;
    session.match = 1;
    return session;
}

TEST(Mapping, ARecordedPortHasAllItsFields) {
    Problems problems;
    const Block status = parse_status({"s", recording("hostapd-p3-status.txt")}, problems);
    const auto stations =
        parse_stations({"a", recording("hostapd-p3-all_sta.txt")}, Stations::any_number, problems);
    const PortRows rows = map_port({"p3", 17}, status, stations, problems);
    EXPECT_EQ(texts(problems), Strings());
    EXPECT_EQ(rows.port, (Port{"p3", 17}));
    EXPECT_EQ(rows.state, "ENABLED");
    EXPECT_EQ(rows.config, recorded_config());
    EXPECT_EQ(rows.stats, recorded_stats());
    EXPECT_EQ(rows.sessions, std::vector<SessionRow>{recorded_session()});
    EXPECT_EQ(rows.control, ControlRow{});
}

TEST(Mapping, APortWithoutAStationHasOnlyItsControls) {
    Problems problems;
    const PortRows rows = map_texts({"p4", 4}, recording("hostapd-p4-all_sta.txt"), problems);
    EXPECT_EQ(rows.config, std::nullopt);
    EXPECT_EQ(rows.stats, std::nullopt);
    EXPECT_TRUE(rows.sessions.empty());
    EXPECT_EQ(texts(problems), Strings());
}

// Each counter is stored in its own field: all values differ.
TEST(Mapping, EachCounterHasItsOwnField) {
    std::string text = "dot1xAuthPaeState=1\n";
    uint32_t number = 100;
    for (const auto &entry : kStatsNumbers)
        text += std::string(entry.variable) + "=" + std::to_string(number++) + "\n";
    Problems problems;
    const PortRows rows = map_texts({"p", 1}, station(text), problems);
    ASSERT_TRUE(rows.stats);
    uint32_t expected = 100;
#define X(field) EXPECT_EQ(rows.stats->field, expected++) << #field;
    DOT1X_STATS_NUMBERS(X)
#undef X
    EXPECT_EQ(expected, number);
}

TEST(Mapping, TheStatesHaveTheNumbersOfTheMib) {
    const uint32_t pae[] = {KEL_DOT1X_AUTH_STATE_INITIALIZE,    KEL_DOT1X_AUTH_STATE_DISCONNECTED,
                            KEL_DOT1X_AUTH_STATE_CONNECTING,    KEL_DOT1X_AUTH_STATE_AUTHENTICATING,
                            KEL_DOT1X_AUTH_STATE_AUTHENTICATED, KEL_DOT1X_AUTH_STATE_ABORTING,
                            KEL_DOT1X_AUTH_STATE_HELD,          KEL_DOT1X_AUTH_STATE_FORCE_AUTH,
                            KEL_DOT1X_AUTH_STATE_FORCE_UNAUTH,  KEL_DOT1X_AUTH_STATE_RESTART};
    const uint32_t backend[] = {
        KEL_DOT1X_AUTH_BEND_STATE_REQUEST,    KEL_DOT1X_AUTH_BEND_STATE_RESPONSE,
        KEL_DOT1X_AUTH_BEND_STATE_SUCCESS,    KEL_DOT1X_AUTH_BEND_STATE_FAIL,
        KEL_DOT1X_AUTH_BEND_STATE_TIMEOUT,    KEL_DOT1X_AUTH_BEND_STATE_IDLE,
        KEL_DOT1X_AUTH_BEND_STATE_INITIALIZE, KEL_DOT1X_AUTH_BEND_STATE_IGNORE};
    for (size_t i = 0; i < std::size(pae); ++i) {
        Problems problems;
        const PortRows rows = map_texts(
            {"p", 1}, station("dot1xAuthPaeState=" + std::to_string(i + 1) + "\n"), problems);
        EXPECT_EQ(rows.config->auth_state, pae[i]);
        EXPECT_EQ(rows.sessions.at(0).session_state, pae[i]);
        EXPECT_EQ(texts(problems), Strings());
    }
    for (size_t i = 0; i < std::size(backend); ++i) {
        Problems problems;
        const PortRows rows = map_texts({"p", 1},
                                        station("dot1xAuthPaeState=1\ndot1xAuthBackendAuthState=" +
                                                std::to_string(i + 1) + "\n"),
                                        problems);
        EXPECT_EQ(rows.config->auth_bend_state, backend[i]);
        EXPECT_EQ(texts(problems), Strings());
    }
}

TEST(Mapping, AnInvalidValueIsReportedOnceAndSkipped) {
    const char *number = "a number below 2^32";
    const struct {
        std::string variable;
        const char *value;
        const char *expected;
    } cases[] = {
        {"dot1xAuthPaeState", "11", "1 or 2 or 3 or 4 or 5 or 6 or 7 or 8 or 9 or 10"},
        {"dot1xAuthBackendAuthState", "0", "1 or 2 or 3 or 4 or 5 or 6 or 7 or 8"},
        {"dot1xAuthAuthControlledPortStatus", "3", "1 or 2"},
        {"dot1xAuthOperControlledDirections", "2", "0 or 1"},
        {"dot1xAuthEapolFramesRx", "-1", number},
        {"dot1xAuthEapolFramesTx", "4294967296", number},
        {"dot1xAuthEapolStartFramesRx", "5 ", number},
        {"dot1xAuthEapolLogoffFramesRx", "", number},
    };
    std::string variables;
    Strings expected;
    int line = 3;
    for (const auto &each : cases) {
        const std::string found = each.variable + "=" + each.value;
        variables += found + "\n";
        expected.push_back("sta:" + std::to_string(line++) + ": found \"" + found +
                           "\", expected " + each.variable + "=" + each.expected);
    }
    Problems problems;
    const PortRows rows = map_texts(
        {"p", 1}, station(variables + "dot1xAuthInvalidEapolFramesRx=4294967295\n"), problems);
    ASSERT_TRUE(rows.config && rows.stats);
    EXPECT_EQ(*rows.config, ConfigRow{});
    StatsRow stats;
    stats.invalid_eapol_frames_rx = 4294967295;
    EXPECT_EQ(*rows.stats, stats);
    EXPECT_EQ(texts(problems), expected);
}

TEST(Mapping, AStationWithoutAPaeStateIsNoClient) {
    Problems problems;
    const PortRows rows =
        map_texts({"p", 1}, "00:00:00:00:00:01\nflags=\ntimeout_next=REMOVE\n", problems);
    EXPECT_EQ(rows.config, std::nullopt);
    EXPECT_TRUE(rows.sessions.empty());
    EXPECT_EQ(texts(problems), Strings());
}

TEST(Mapping, TheAuthorisedStationCountsForThePort) {
    const std::string shut = "dot1xAuthPaeState=7\ndot1xAuthAuthControlledPortStatus=2\n";
    const std::string open = "dot1xAuthPaeState=5\ndot1xAuthAuthControlledPortStatus=1\n";
    Problems problems;
    const PortRows rows =
        map_texts({"p", 1},
                  station(shut + "dot1xAuthSessionUserName=a\n", "00:00:00:00:00:01", "A") +
                      station(open + "dot1xAuthSessionUserName=b\n", "00:00:00:00:00:02", "B") +
                      station(open + "dot1xAuthSessionUserName=c\n", "00:00:00:00:00:03", "C"),
                  problems);
    EXPECT_EQ(rows.config->auth_state, uint32_t(KEL_DOT1X_AUTH_STATE_AUTHENTICATED));
    EXPECT_EQ(rows.stats->user_name, "b");
    ASSERT_EQ(rows.sessions.size(), 3u);
    EXPECT_EQ(rows.sessions[0].user_name, "a");
    EXPECT_EQ(rows.sessions[0].authorized_by, "");
    EXPECT_EQ(rows.sessions[2].mac_addr, "00:00:00:00:00:03");
    EXPECT_EQ(texts(problems), Strings());
}

TEST(Mapping, OfSeveralStationsThatAreNotAuthorisedTheFirstCounts) {
    const std::string shut = "dot1xAuthPaeState=7\ndot1xAuthAuthControlledPortStatus=2\n";
    Problems problems;
    const PortRows rows =
        map_texts({"p", 1},
                  station(shut + "dot1xAuthSessionUserName=a\n", "00:00:00:00:00:01", "A") +
                      station(shut + "dot1xAuthSessionUserName=b\n", "00:00:00:00:00:02", "B"),
                  problems);
    EXPECT_EQ(rows.stats->user_name, "a");
}

TEST(Mapping, TheReauthenticationFieldsHaveTheCurrentValues) {
    const auto timing = [](const std::string &status, const std::string &enabled,
                           const std::string &period, const std::string &time) {
        Problems problems;
        return *map_texts(
                    {"p", 1},
                    station("dot1xAuthPaeState=5\ndot1xAuthAuthControlledPortStatus=" + status +
                            "\ndot1xAuthReAuthEnabled=" + enabled + "\ndot1xAuthReAuthPeriod=" +
                            period + "\ndot1xAuthSessionTime=" + time + "\n"),
                    problems)
                    .config;
    };
    EXPECT_EQ(timing("1", "TRUE", "3600", "9").time_to_next_reauth, 3591u);
    EXPECT_EQ(timing("1", "TRUE", "60", "130").time_to_next_reauth, 50u);
    EXPECT_EQ(timing("1", "TRUE", "60", "130").reauth_period_oper, 60u);
    EXPECT_EQ(timing("1", "FALSE", "60", "130").reauth_period_oper, 0u);
    EXPECT_EQ(timing("1", "FALSE", "60", "130").time_to_next_reauth, 0u);
    EXPECT_EQ(timing("2", "TRUE", "60", "130").time_to_next_reauth, 0u);
    EXPECT_EQ(timing("2", "TRUE", "60", "130").reauth_period_oper, 60u);
    EXPECT_EQ(timing("1", "TRUE", "0", "130").time_to_next_reauth, 0u);
}

TEST(Mapping, TheControlsOfAnyStationAreThoseOfThePort) {
    Problems problems;
    const std::string first = "dot1xAuthPaeState=1\ndot1xPaePortInitialize=0\n";
    const std::string second =
        "dot1xAuthPaeState=1\ndot1xPaePortInitialize=1\ndot1xPaePortReauthenticate=TRUE\n";
    const PortRows rows =
        map_texts({"p", 1}, station(first) + station(second, "00:00:00:00:00:02", "T"), problems);
    EXPECT_EQ(rows.control, (ControlRow{1, 1}));
    EXPECT_EQ(texts(problems), Strings());
}

TEST(Mapping, AStationWithoutItsOwnSessionIsReported) {
    Problems problems;
    const PortRows rows = map_texts({"p", 1},
                                    "00:00:00:00:00:01\ndot1xAuthPaeState=1\n" +
                                        station("dot1xAuthPaeState=1\n", "00:00:00:00:00:02") +
                                        station("dot1xAuthPaeState=1\n", "00:00:00:00:00:03"),
                                    problems);
    EXPECT_EQ(rows.sessions.size(), 1u);
    EXPECT_EQ(texts(problems),
              (Strings{"sta:1: found \"00:00:00:00:00:01\", expected a station with a "
                       "dot1xAuthSessionId",
                       "sta:6: found \"00:00:00:00:00:03\", expected a dot1xAuthSessionId of its "
                       "own, not S"}));
}

TEST(Mapping, AResponseOfAnotherPortIsReported) {
    Problems problems;
    const Block status = parse_status({"f", "state=DISABLED\nbss[0]=p2\n"}, problems);
    EXPECT_EQ(map_port({"p1", 1}, status, {}, problems).state, "DISABLED");
    EXPECT_EQ(map_port({"p2", 1}, parse_status({"g", ""}, problems), {}, problems).state, "");
    EXPECT_EQ(texts(problems), (Strings{"f:2: found \"bss[0]=p2\", expected bss[0]=p1",
                                        "g:1: found \"no state\", expected a line state=STATE"}));
}

}  // namespace
}  // namespace tarn_dot1x
