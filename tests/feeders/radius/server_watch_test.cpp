// SPDX-License-Identifier: Apache-2.0
//
// The exchange with a server, which is a socket of the test.
#include "radius/server_watch.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <set>

#include "signed_reply.h"

namespace tarn_radius {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kForever(60000);

// A socket on 127.0.0.1.
class Peer {
 public:
    Peer() : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        const Endpoint any = Endpoint::parse("127.0.0.1", 1);
        sockaddr_storage address{};
        std::memcpy(&address, any.data(), any.size());
        reinterpret_cast<sockaddr_in &>(address).sin_port = 0;
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr *>(&address), sizeof(sockaddr_in)), 0);
        socklen_t size = sizeof address;
        getsockname(socket_, reinterpret_cast<sockaddr *>(&address), &size);
        endpoint.emplace(address);
    }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
    ~Peer() { close(socket_); }

    int number() const { return socket_; }
    // The next packet, and where it is from.
    std::optional<Request> receive() {
        uint8_t bytes[kLongestPacket];
        socklen_t size = sizeof from_;
        const ssize_t count =
            recvfrom(socket_, bytes, sizeof bytes, 0, reinterpret_cast<sockaddr *>(&from_), &size);
        if (count < 20) return std::nullopt;
        Request request{bytes[1], {}};
        std::copy_n(bytes + 4, 16, request.authenticator.begin());
        return request;
    }
    void reply(const Packet &packet) const { send_to(from_, packet); }
    void send_to(const sockaddr_storage &to, const Packet &packet) const {
        sendto(socket_, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr *>(&to),
               sizeof(sockaddr_in));
    }
    const sockaddr_storage &from() const { return from_; }

    std::optional<Endpoint> endpoint;

 private:
    int socket_;
    sockaddr_storage from_{};
};

class Watch : public testing::Test {
 protected:
    using Serve = std::function<void(const Request &)>;

    // The result of one poll of a server that does `serve` with each request.
    Observation poll(const Serve &serve, size_t subjects = 1) {
        return poll(serve, subjects, milliseconds(200));
    }
    Observation poll(const Serve &serve, size_t subjects, milliseconds patience) {
        service.loop.watch(server.number(), [&] {
            while (const auto request = server.receive()) {
                requests.push_back(*request);
                serve(*request);
            }
        });
        Observation found;
        ServerSettings settings{"main", *server.endpoint, "secret", std::vector<Subject>(subjects)};
        const ServerWatch watch(service, settings, {kForever, patience},
                                [&](const Observation &observation) {
                                    found = observation;
                                    service.loop.stop();
                                });
        service.loop.run();
        service.loop.forget(server.number());
        return found;
    }
    Packet good(const Request &request, uint32_t accepts = 1) const {
        return signed_reply(request, statistic(kAccessAccepts, number(accepts)), "secret");
    }

    feeder::Service service{"test", {feeder::LogTarget::standard_error, feeder::Level::error}};
    Peer server;
    std::vector<Request> requests;
};

TEST_F(Watch, QueriesEachSubject) {
    const Observation found = poll(
        [this](const Request &request) { server.reply(good(request, uint32_t(requests.size()))); },
        3, kForever);
    ASSERT_EQ(found.statistics.size(), 3u);
    EXPECT_EQ(requests.size(), 3u);
    EXPECT_EQ(found.statistics[2].value(kAccessAccepts), 3u);
}

TEST_F(Watch, SendsANewPacketWhenOneIsLost) {
    const Observation found = poll([this](const Request &request) {
        if (requests.size() == 3) server.reply(good(request));
    });
    EXPECT_EQ(found.statistics.size(), 1u);
    std::set<uint8_t> identifiers;
    std::set<Digest> authenticators;
    for (const Request &each : requests) {
        identifiers.insert(each.identifier);
        authenticators.insert(each.authenticator);
    }
    EXPECT_EQ(identifiers.size(), 3u);
    EXPECT_EQ(authenticators.size(), 3u);
}

TEST_F(Watch, TakesALateReplyToAnEarlierPacket) {
    const Observation found = poll([this](const Request &) {
        if (requests.size() == 2) server.reply(good(requests[0]));
    });
    EXPECT_EQ(found.statistics.size(), 1u);
}

TEST_F(Watch, GivesUpAfterThreePackets) {
    const Observation found = poll([](const Request &) {}, 1, milliseconds(20));
    EXPECT_EQ(requests.size(), 3u);
    EXPECT_TRUE(found.statistics.empty());
    EXPECT_EQ(found.problem, "no reply from " + server.endpoint->text());
}

TEST_F(Watch, HasNothingOfAServerThatRepliesToAPartOfTheQueries) {
    const Observation found = poll(
        [this](const Request &request) {
            if (requests.size() == 1) server.reply(good(request));
        },
        2);
    EXPECT_TRUE(found.statistics.empty());
}

TEST_F(Watch, DropsAReplyWithAnotherIdentifierOrSecret) {
    const Observation found = poll([this](const Request &request) {
        Request other = request;
        other.identifier = uint8_t(other.identifier + 100);
        server.reply(good(other));
        server.reply({});
        server.reply(signed_reply(request, {}, "wrong"));
    });
    EXPECT_TRUE(found.statistics.empty());
    EXPECT_NE(found.problem.find("Response Authenticator is wrong"), std::string::npos);
}

TEST_F(Watch, DropsAReplyFromAnotherAddress) {
    const Peer other;
    const Observation found =
        poll([&](const Request &request) { other.send_to(server.from(), good(request)); });
    EXPECT_TRUE(found.statistics.empty());
    EXPECT_NE(found.problem.find("it isn't from the server"), std::string::npos);
}

TEST_F(Watch, GoesOnAfterAHostileReply) {
    const Observation found = poll([this](const Request &request) {
        server.reply(Packet(kLongestPacket, 0xff));
        server.reply(good(request));
    });
    EXPECT_EQ(found.statistics.size(), 1u);
}

}  // namespace
}  // namespace tarn_radius
