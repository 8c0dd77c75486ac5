// SPDX-License-Identifier: Apache-2.0
#include "dot1x/control_socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <thread>

#include "dot1x/live.h"
#include "tests/support/temporary_directory.h"

namespace tarn_dot1x {
namespace {

using Strings = std::vector<std::string>;

// The other end: sends the next of its replies for each command, in a thread of its own.
class Peer {
 public:
    Peer(const std::string &path, std::map<std::string, Strings> answers)
        : answers_(std::move(answers)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.data(), path.size());
        socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const auto *generic = reinterpret_cast<const sockaddr *>(&address);
        if (bind(socket_, generic, sizeof address) != 0) std::abort();
    }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
    ~Peer() {
        if (thread_.joinable()) {
            shutdown(socket_, SHUT_RDWR);
            thread_.join();
        }
        close(socket_);
    }

    void start() {
        thread_ = std::thread([this] {
            while (answer_one()) continue;
        });
    }

 private:
    bool answer_one() {
        char command[256];
        sockaddr_un client{};
        socklen_t length = sizeof client;
        auto *generic = reinterpret_cast<sockaddr *>(&client);
        const ssize_t size = recvfrom(socket_, command, sizeof command, 0, generic, &length);
        if (size <= 0) return false;
        Strings &answers = answers_[std::string(command, size_t(size))];
        const std::string answer = answers.empty() ? "UNKNOWN COMMAND\n" : answers.front();
        if (answers.size() > 1) answers.erase(answers.begin());
        return sendto(socket_, answer.data(), answer.size(), 0, generic, length) >= 0;
    }

    std::map<std::string, Strings> answers_;
    int socket_ = -1;
    std::thread thread_;
};

class ControlSocketTest : public testing::Test {
 protected:
    // The result of a query of the port.
    std::string message_of(std::chrono::milliseconds answer_time = kAnswerTime) const {
        try {
            ControlSocket socket(path, answer_time);
            ask_port({"p1", 1}, socket);
        } catch (const SourceError &error) {
            return error.what();
        }
        return "";
    }

    tarn::test::TemporaryDirectory directory;
    std::string path = directory / "p1";
    std::map<std::string, Strings> answers{{"STATUS", {"state=ENABLED\n"}}, {"MIB", {"m=1\n"}}};
};

TEST_F(ControlSocketTest, AllStationsAreRequested) {
    answers["STA-FIRST"] = {"00:00:00:00:00:01\na=1\n"};
    answers["STA-NEXT 00:00:00:00:00:01"] = {"00:00:00:00:00:02\na=2\n"};
    answers["STA-NEXT 00:00:00:00:00:02"] = {""};
    Peer peer(path, answers);
    peer.start();
    ControlSocket socket(path);
    const PortAnswers port = ask_port({"p1", 7}, socket);
    EXPECT_EQ(port.port, (Port{"p1", 7}));
    EXPECT_EQ(port.status.bytes, "state=ENABLED\n");
    EXPECT_EQ(port.status.name, path + " STATUS");
    EXPECT_EQ(port.mib.bytes, "m=1\n");
    ASSERT_EQ(port.stations.size(), 2u);
    EXPECT_EQ(port.stations[0].name, path + " STA-FIRST");
    EXPECT_EQ(port.stations[1].name, path + " STA-NEXT 00:00:00:00:00:01");
    EXPECT_EQ(port.stations[1].bytes, "00:00:00:00:00:02\na=2\n");
    EXPECT_EQ(port.stations_a_text, Stations::one);
}

TEST_F(ControlSocketTest, TheWalkRestartsIfAStationDisappears) {
    answers["STA-FIRST"] = {"00:00:00:00:00:01\n", "00:00:00:00:00:02\n"};
    answers["STA-NEXT 00:00:00:00:00:01"] = {"FAIL\n"};
    answers["STA-NEXT 00:00:00:00:00:02"] = {""};
    Peer peer(path, answers);
    peer.start();
    ControlSocket socket(path);
    const PortAnswers port = ask_port({"p1", 1}, socket);
    ASSERT_EQ(port.stations.size(), 1u);
    EXPECT_EQ(port.stations[0].bytes, "00:00:00:00:00:02\n");
}

TEST_F(ControlSocketTest, AWalkInACircleIsAborted) {
    answers["STA-FIRST"] = {"00:00:00:00:00:01\n"};
    answers["STA-NEXT 00:00:00:00:00:01"] = {"00:00:00:00:00:01\n"};
    Peer peer(path, answers);
    peer.start();
    EXPECT_EQ(message_of(), path + ": the list of stations changes faster than it can be read");
}

TEST_F(ControlSocketTest, ARefusalIsAnError) {
    Peer peer(path, {{"STATUS", {"FAIL\n"}}});
    peer.start();
    EXPECT_EQ(message_of(), path + ": hostapd answers \"FAIL\" to STATUS");
}

TEST_F(ControlSocketTest, AMissingSocketIsNamed) {
    EXPECT_EQ(message_of(), path + ": hostapd can't be reached: No such file or directory");
}

TEST_F(ControlSocketTest, AnUnusedSocketIsNamed) {
    { Peer gone(path, {}); }
    EXPECT_EQ(message_of(), path + ": hostapd can't be reached: Connection refused");
}

TEST_F(ControlSocketTest, APathThatIsTooLongIsNamed) {
    path = directory / std::string(200, 'x');
    EXPECT_EQ(message_of(), path + ": hostapd can't be reached: File name too long");
}

TEST_F(ControlSocketTest, ASilentPeerTimesOut) {
    const Peer silent(path, {});
    EXPECT_EQ(message_of(std::chrono::milliseconds(1)),
              path + ": hostapd gives no answer to STATUS within 1 ms");
}

TEST_F(ControlSocketTest, TheClientsAddressIsRemoved) {
    tarn::test::TemporaryDirectory temporary;
    const std::string here = temporary / "";
    ASSERT_EQ(setenv("TMPDIR", here.c_str(), 1), 0);
    {
        const Peer silent(path, {});
        const ControlSocket socket(path);
        EXPECT_FALSE(std::filesystem::is_empty(here));
    }
    EXPECT_TRUE(std::filesystem::is_empty(here));
    message_of();
    EXPECT_TRUE(std::filesystem::is_empty(here));
    unsetenv("TMPDIR");
}

TEST_F(ControlSocketTest, LivePortsAreInTheOrderOfTheirIndexes) {
    answers["STA-FIRST"] = {""};
    const std::string second = directory / "p2";
    Peer one(path, answers);
    Peer two(second, answers);
    one.start();
    two.start();
    Live live({path, second}, {{"p1", 9}, {"p2", 4}});
    const auto ports = live.poll();
    ASSERT_EQ(ports.size(), 2u);
    EXPECT_EQ(ports[0].port, (Port{"p2", 4}));
    EXPECT_EQ(ports[1].port, (Port{"p1", 9}));
    EXPECT_TRUE(ports[1].stations.empty());
}

}  // namespace
}  // namespace tarn_dot1x
