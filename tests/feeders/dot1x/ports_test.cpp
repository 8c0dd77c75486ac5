// SPDX-License-Identifier: Apache-2.0
#include "dot1x/ports.h"

#include <gtest/gtest.h>
#include <net/if.h>

#include "dot1x/recordings.h"
#include "tests/support/temporary_directory.h"

namespace tarn_dot1x {
namespace {

template <class Function>
std::string message_of(Function function) {
    try {
        function();
    } catch (const std::exception &error) {
        return error.what();
    }
    return "";
}

TEST(Ports, TheNumberAtTheEndOfANameIsFound) {
    EXPECT_EQ(number_at_end("p3"), 3u);
    EXPECT_EQ(number_at_end("eth0.12"), 12u);
    EXPECT_EQ(number_at_end("7"), 7u);
    EXPECT_EQ(number_at_end("p4294967295"), 4294967295u);
    EXPECT_EQ(number_at_end("p4294967296"), std::nullopt);
    EXPECT_EQ(number_at_end("uplink"), std::nullopt);
    EXPECT_EQ(number_at_end("p3a"), std::nullopt);
    EXPECT_EQ(number_at_end(""), std::nullopt);
}

TEST(Ports, ARecordedPortHasTheIndexThatWasGivenOrItsNumber) {
    EXPECT_EQ(recorded_port("p3", {}), (Port{"p3", 3}));
    EXPECT_EQ(recorded_port("p3", {{"p3", 70}}), (Port{"p3", 70}));
    EXPECT_EQ(recorded_port("up", {{"up", 0}}), (Port{"up", 0}));
    EXPECT_EQ(message_of([] { recorded_port("up", {}); }),
              "port up has no number at the end of its name; give --port up=INDEX");
}

TEST(Ports, ALivePortHasTheIndexOfItsInterface) {
    const uint32_t loopback = if_nametoindex("lo");
    ASSERT_NE(loopback, 0u);
    EXPECT_EQ(live_port("lo", {}), (Port{"lo", loopback}));
    EXPECT_EQ(live_port("lo", {{"lo", 70}}), (Port{"lo", 70}));
    EXPECT_EQ(message_of([] { live_port("no-such-port", {}); }),
              "port no-such-port is no interface here (No such device); give --port "
              "no-such-port=INDEX");
}

TEST(Ports, IndexesAreReadFromArguments) {
    EXPECT_EQ(parse_indexes({"p1=7", "up=0"}), (PortIndexes{{"p1", 7}, {"up", 0}}));
    for (const std::string wrong : {"p1", "=7", "p1=", "p1=x", "p1=-1", "p1=4294967296"})
        EXPECT_EQ(message_of([&wrong] { parse_indexes({wrong}); }),
                  "--port " + wrong + ": expected NAME=INDEX, such as p1=7");
}

class RecordedPorts : public testing::Test {
 protected:
    // A recording of a port, without a station.
    void record(const std::string &port) {
        for (const char *what : {"all_sta", "mib", "status"})
            tarn::test::write_file(file(port, what), "");
    }
    std::string file(const std::string &port, const std::string &what) const {
        return directory / ("hostapd-" + port + "-" + what + ".txt");
    }
    std::string path() const { return directory / ""; }

    tarn::test::TemporaryDirectory directory;
};

TEST_F(RecordedPorts, PortsAreInTheOrderOfTheirIndexes) {
    for (const char *port : {"p10", "p9", "up"}) record(port);
    tarn::test::write_file(directory / "notes.txt", "not a recording");
    std::vector<Port> ports;
    for (const PortAnswers &answers : Recordings(path(), {{"up", 2}}).poll())
        ports.push_back(answers.port);
    EXPECT_EQ(ports, (std::vector<Port>{{"up", 2}, {"p9", 9}, {"p10", 10}}));
}

TEST_F(RecordedPorts, TwoPortsCannotHaveOneIndex) {
    for (const char *port : {"p1", "q1"}) record(port);
    EXPECT_EQ(message_of([this] { Recordings(path(), {}).poll(); }),
              "ports p1 and q1 have one index, 1");
}

TEST_F(RecordedPorts, WhatIsMissingIsNamed) {
    EXPECT_EQ(message_of([this] { Recordings(path(), {}).poll(); }),
              path() + ": no recording of hostapd, expected files such as hostapd-p1-all_sta.txt");
    record("p1");
    std::filesystem::remove_all(file("p1", "mib"));
    EXPECT_EQ(message_of([this] { Recordings(path(), {}).poll(); }),
              file("p1", "mib") + ": No such file or directory");
    EXPECT_EQ(message_of([this] { Recordings(directory / "nowhere", {}).poll(); }),
              (directory / "nowhere") + ": No such file or directory");
}

}  // namespace
}  // namespace tarn_dot1x
