// SPDX-License-Identifier: Apache-2.0
#include "dot1x/answer.h"

#include <gtest/gtest.h>

#include "tests/feeders/dot1x/support.h"

namespace tarn_dot1x {
namespace {

Text recorded(const std::string &file) { return {file, recording(file)}; }

std::string value(const Block &block, const char *name) {
    const Variable *variable = block.find(name);
    return variable == nullptr ? "(absent)" : variable->value;
}

TEST(Answer, ARecordedStationHasItsAddressAndVariables) {
    Problems problems;
    const auto stations =
        parse_stations(recorded("hostapd-p1-all_sta.txt"), Stations::any_number, problems);
    ASSERT_EQ(stations.size(), 1u);
    EXPECT_EQ(stations[0].address, "ae:d3:38:70:d9:ac");
    EXPECT_EQ(stations[0].line, 1u);
    EXPECT_EQ(value(stations[0], "dot1xAuthPaeState"), "5");
    EXPECT_EQ(value(stations[0], "supported_rates"), "");
    EXPECT_EQ(value(stations[0], "last_eap_type_as"), "4 (MD5)");
    EXPECT_EQ(value(stations[0], "dot1xAuthPaeStates"), "(absent)");
    EXPECT_EQ(stations[0].find("dot1xAuthPaeState")->line, 13u);
    EXPECT_EQ(texts(problems), Strings());
}

TEST(Answer, AnEmptyRecordingHasNoStation) {
    Problems problems;
    EXPECT_TRUE(
        parse_stations(recorded("hostapd-p2-all_sta.txt"), Stations::any_number, problems).empty());
    EXPECT_EQ(texts(problems), Strings());
}

TEST(Answer, SeveralStationsFollowEachOther) {
    Problems problems;
    const Text text{"f", "00:11:22:33:44:55\na=1\nAA:bb:CC:dd:EE:ff\na=2\nb=\n"};
    const auto stations = parse_stations(text, Stations::any_number, problems);
    ASSERT_EQ(stations.size(), 2u);
    EXPECT_EQ(value(stations[0], "a"), "1");
    EXPECT_EQ(stations[1].address, "AA:bb:CC:dd:EE:ff");
    EXPECT_EQ(stations[1].line, 3u);
    EXPECT_EQ(value(stations[1], "a"), "2");
    EXPECT_EQ(texts(problems), Strings());
}

TEST(Answer, ALineThatIsNoVariableIsReportedAndSkipped) {
    Problems problems;
    const Text text{"f", "00:11:22:33:44:55\nnothing\n=5\n\na b=1\na=1"};
    const auto stations = parse_stations(text, Stations::one, problems);
    ASSERT_EQ(stations.size(), 1u);
    EXPECT_EQ(stations[0].variables.size(), 1u);
    EXPECT_EQ(value(stations[0], "a"), "1");
    EXPECT_EQ(texts(problems), (Strings{"f:2: found \"nothing\", expected a line NAME=VALUE",
                                        "f:3: found \"=5\", expected a line NAME=VALUE",
                                        "f:5: found \"a b=1\", expected a line NAME=VALUE"}));
}

TEST(Answer, LinesBeforeTheFirstStationAreReported) {
    Problems problems;
    const Text text{"f", "a=1\n00:11:22:33:44:5g\n00:11:22:33:44:55\n"};
    EXPECT_EQ(parse_stations(text, Stations::any_number, problems).size(), 1u);
    EXPECT_EQ(texts(problems),
              (Strings{"f:1: found \"a=1\", expected the MAC address of a station",
                       "f:2: found \"00:11:22:33:44:5g\", expected the MAC address of a station"}));
}

// hostapd writes a user name as the station sent it, so it may hold line ends.
TEST(Answer, LinesInjectedByAUserNameDoNotReplaceRealOnes) {
    Problems problems;
    const Text text{"s STA-FIRST",
                    "00:11:22:33:44:55\ndot1xAuthPaeState=1\n"
                    "dot1xAuthSessionUserName=al\nice\ndot1xAuthPaeState=5\n"
                    "66:66:66:66:66:66\ndot1xAuthPaeState=5\nauthMultiSessionId=1\n"};
    const auto stations = parse_stations(text, Stations::one, problems);
    ASSERT_EQ(stations.size(), 1u);
    EXPECT_EQ(stations[0].address, "00:11:22:33:44:55");
    EXPECT_EQ(value(stations[0], "dot1xAuthPaeState"), "1");
    EXPECT_EQ(value(stations[0], "dot1xAuthSessionUserName"), "al");
    EXPECT_EQ(value(stations[0], "authMultiSessionId"), "1");
    EXPECT_EQ(
        texts(problems),
        (Strings{"s STA-FIRST:4: found \"ice\", expected a line NAME=VALUE",
                 "s STA-FIRST:5: found \"dot1xAuthPaeState=5\", expected dot1xAuthPaeState once, "
                 "and it is in line 2",
                 "s STA-FIRST:6: found \"66:66:66:66:66:66\", expected a line NAME=VALUE",
                 "s STA-FIRST:7: found \"dot1xAuthPaeState=5\", expected dot1xAuthPaeState once, "
                 "and it is in line 2"}));
}

TEST(Answer, TheMibHasABlockForEachServer) {
    Problems problems;
    const auto mib = parse_mib(recorded("hostapd-p2-mib.txt"), problems);
    ASSERT_EQ(mib.size(), 1u);
    EXPECT_EQ(value(mib[0], "radiusAuthServerIndex"), "2");
    EXPECT_EQ(value(mib[0], "radiusAuthClientAccessRejects"), "1");

    const Text text{"f",
                    "dot11RSNAOptionImplemented=TRUE\nradiusAuthServerIndex=1\nx=1\n"
                    "radiusAuthServerIndex=2\nx=2\nradiusAccServerIndex=3\nx=3\n"};
    const auto servers = parse_mib(text, problems);
    ASSERT_EQ(servers.size(), 3u);
    EXPECT_EQ(value(servers[0], "x"), "1");
    EXPECT_EQ(value(servers[1], "x"), "2");
    EXPECT_EQ(value(servers[2], "radiusAccServerIndex"), "3");
    EXPECT_EQ(servers[2].line, 6u);
    EXPECT_EQ(texts(problems), Strings());
}

TEST(Answer, TheStatusIsOneBlock) {
    Problems problems;
    const Block status = parse_status(recorded("hostapd-p4-status.txt"), problems);
    EXPECT_EQ(value(status, "state"), "ENABLED");
    EXPECT_EQ(value(status, "bss[0]"), "p4");
    EXPECT_EQ(status.variables.size(), 28u);
    EXPECT_EQ(texts(problems), Strings());
}

TEST(Answer, AMessageShowsTheStartOfAnInvalidLine) {
    Problems problems;
    parse_status({"f", std::string("\0\x1b[2J\xff", 6) + std::string(100, 'x')}, problems);
    EXPECT_EQ(texts(problems), (Strings{"f:1: found \"\\x00\\x1b[2J\\xff" + std::string(54, 'x') +
                                        "...\", expected a line NAME=VALUE"}));
}

}  // namespace
}  // namespace tarn_dot1x
