// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "tests/support/json.h"
#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace tarn_dot1x_test {
namespace {

using tarn::test::json_of;
using tarn::test::Outcome;
using tarn::test::Process;
using tarn::test::read_file;
using tarn::test::run;
using tarn::test::TemporaryDirectory;
using tarn::test::write_file;
using Json = nlohmann::json;

class Dot1xPortsProgram : public testing::Test {
 protected:
    std::vector<std::string> command(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {TARN_DOT1X, "--store", store});
        return arguments;
    }
    Outcome ports(std::vector<std::string> arguments) const {
        return run(command(std::move(arguments)));
    }
    // Recordings of our own to change.
    std::string copy_recordings() const {
        const std::string copy = directory / "recordings";
        std::filesystem::copy(RECORDINGS, copy);
        return copy;
    }

    TemporaryDirectory directory;
    std::string store = directory / "store";
};

TEST_F(Dot1xPortsProgram, TheRecordingsAreSummedUp) {
    const Outcome outcome = ports({"--recordings", RECORDINGS, "--once"});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out,
              "asked       1 times, 0 malformed\n"
              "port        p1, index 1, ENABLED, authenticated, authorised, user \"alice\" at "
              "ae:d3:38:70:d9:ac, 3 frames in, 3 out, sessions: 1\n"
              "port        p2, index 2, ENABLED, no client\n"
              "port        p3, index 3, ENABLED, authenticated, authorised, user \"alice\" at "
              "82:ee:b6:95:24:d2, 11 frames in, 11 out, sessions: 1\n"
              "port        p4, index 4, ENABLED, no client\n"
              "server      127.0.0.1, alive, 14 requests, 2 accepted, 1 rejected, 11 challenged, "
              "0 accounting requests\n");
}

TEST_F(Dot1xPortsProgram, PortsAndServersHaveTheNamesAndIndexesThatWereGiven) {
    const Outcome outcome =
        ports({"--recordings", RECORDINGS, "--json", "--port", "p1=41", "--port", "p3=7",
               "--server", "campus=127.0.0.1:1812", "--server", "rest"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    const Json json = json_of(outcome.out);
    ASSERT_EQ(json["ports"].size(), 4u);
    EXPECT_EQ(json["ports"][0]["if_index"], 2);
    EXPECT_EQ(json["ports"][3]["name"], "p1");
    EXPECT_EQ(json["ports"][3]["if_index"], 41);
    EXPECT_EQ(json["ports"][3]["tbl_pexSessionEntry_op"][0]["next_if_index"], 0);
    EXPECT_EQ(json["ports"][2]["tbl_pexSessionEntry_op"][0]["next_if_index"], 41);
    ASSERT_EQ(json["tbl_aaa_servers"].size(), 1u);
    EXPECT_EQ(json["tbl_aaa_servers"]["campus"]["aaa_authen"]["requests"], 14);
}

TEST_F(Dot1xPortsProgram, ASecondRunOnTheSameAnswersChangesNothing) {
    const Outcome first = ports({"--recordings", RECORDINGS, "--json"});
    const Outcome second = ports({"--recordings", RECORDINGS, "--json"});
    EXPECT_EQ(first.out, second.out);
}

TEST_F(Dot1xPortsProgram, MalformedLinesAreReportedAndSkipped) {
    const std::string recordings = copy_recordings();
    const std::string file = recordings + "/hostapd-p1-all_sta.txt";
    std::string text = read_file(file);
    const std::string counter = "dot1xAuthEapolFramesRx=3";
    text.replace(text.find(counter), counter.size(), "dot1xAuthEapolFramesRx=three");
    write_file(file, "what is this\n" + text);
    for (const bool strict : {false, true}) {
        const Outcome outcome =
            ports({"--recordings", recordings, "--json", strict ? "--strict" : "--once"});
        EXPECT_EQ(outcome.exit_code, strict ? 1 : 0);
        EXPECT_EQ(outcome.err,
                  file + ":1: found \"what is this\", expected the MAC address of a station\n" +
                      file +
                      ":25: found \"dot1xAuthEapolFramesRx=three\", expected "
                      "dot1xAuthEapolFramesRx=a number below 2^32\n");
        const Json json = json_of(outcome.out);
        EXPECT_EQ(json["malformed"], 2);
        const Json &stats = json["ports"][0]["tbl_dot1xAuthStatsEntry_op"];
        EXPECT_EQ(stats["eapol_frames_rx"], 0);
        EXPECT_EQ(stats["eapol_frames_tx"], 3);
    }
}

TEST_F(Dot1xPortsProgram, PollingFollowsChangesUntilItIsStopped) {
    const std::string later = copy_recordings();
    write_file(later + "/hostapd-p1-all_sta.txt", "");
    for (const char *what : {"all_sta", "mib", "status"})
        std::filesystem::copy_file(later + "/hostapd-p3-" + what + ".txt",
                                   later + "/hostapd-p5-" + what + ".txt");
    // One step takes the program from the first recordings to the others.
    const std::string current = directory / "current";
    std::filesystem::create_directory_symlink(RECORDINGS, current);
    std::filesystem::create_directory_symlink(later, directory / "next");
    Process process(command({"--recordings", current, "--poll", "0.01", "--json", "-v"}));
    ASSERT_TRUE(process.wait_for("poll 1: 4 ports stored\n"));
    std::filesystem::rename(directory / "next", current);
    ASSERT_TRUE(process.wait_for("5 ports stored\n"));
    process.send(SIGTERM);
    const Outcome outcome = process.finish();
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    const Json json = json_of(outcome.out);
    ASSERT_EQ(json["ports"].size(), 5u);
    EXPECT_EQ(json["ports"][0]["tbl_dot1xAuthConfigEntry_op"], nullptr);
    EXPECT_EQ(json["ports"][0]["tbl_pexSessionEntry_op"], Json::array());
    EXPECT_EQ(json["ports"][4]["tbl_dot1xAuthConfigEntry_op"]["auth_state"], 5);
}

TEST_F(Dot1xPortsProgram, AnUnreachableSocketEndsItWithAnError) {
    const std::string socket = directory / "p1";
    const Outcome outcome = ports({"--control", socket});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_EQ(outcome.err,
              "tarn-dot1x: " + socket + ": hostapd can't be reached: No such file or directory\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_FALSE(std::filesystem::exists(store));
}

TEST_F(Dot1xPortsProgram, APortWithoutAnIndexEndsItWithAnError) {
    const std::string recordings = copy_recordings();
    for (const char *what : {"all_sta", "mib", "status"})
        write_file(recordings + "/hostapd-up-" + what + ".txt", "");
    const Outcome outcome = ports({"--recordings", recordings});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_EQ(outcome.err,
              "tarn-dot1x: port up has no number at the end of its name; give --port up=INDEX\n");
}

TEST_F(Dot1xPortsProgram, AFileThatIsNoStoreEndsItWithAnError) {
    write_file(store, "not a store");
    const Outcome outcome = ports({"--recordings", RECORDINGS});
    EXPECT_EQ(outcome.exit_code, 5);
    EXPECT_NE(outcome.err.find(store), std::string::npos) << outcome.err;
    EXPECT_EQ(read_file(store), "not a store");
}

TEST_F(Dot1xPortsProgram, WrongArgumentsEndItWithAnError) {
    EXPECT_EQ(ports({}).exit_code, 2);
    EXPECT_EQ(ports({"--recordings", RECORDINGS, "--control", "p1"}).exit_code, 2);
    EXPECT_EQ(ports({"--recordings", RECORDINGS, "--poll", "1", "--once"}).exit_code, 2);
    EXPECT_EQ(ports({"--recordings", RECORDINGS, "--poll", "-1"}).exit_code, 2);
    EXPECT_EQ(ports({"--recordings", RECORDINGS, "--port", "p1"}).exit_code, 2);
    EXPECT_EQ(ports({"--recordings", RECORDINGS, "--server", "=1"}).exit_code, 2);
    EXPECT_EQ(ports({"--recordings", RECORDINGS, "--server", "a", "--server", "b"}).exit_code, 2);
    EXPECT_FALSE(std::filesystem::exists(store));
    EXPECT_EQ(ports({"--help"}).exit_code, 0);
}

}  // namespace
}  // namespace tarn_dot1x_test
