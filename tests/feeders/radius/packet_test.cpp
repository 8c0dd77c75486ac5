// SPDX-License-Identifier: Apache-2.0
#include "radius/packet.h"

#include <gtest/gtest.h>

#include <random>

#include "signed_reply.h"

namespace tarn_radius {
namespace {

constexpr const char *kSecret = "xyzzy5461";

// The exchange that RFC 5997 prints as an example.
const Request kPrinted{0xda,
                       {0x8a, 0x54, 0xf4, 0x68, 0x6f, 0xb3, 0x94, 0xc5, 0x28, 0x66, 0xe3, 0x02,
                        0x18, 0x5d, 0x06, 0x23}};
const Packet kPrintedReply{0x02, 0xda, 0x00, 0x14, 0xef, 0x0d, 0x55, 0x2a, 0x4b, 0xf2,
                           0xd6, 0x93, 0xec, 0x2b, 0x6f, 0xe8, 0xb5, 0x41, 0x1d, 0x66};
const Packet kPrintedAuthenticator{0x5a, 0x66, 0x5e, 0x2e, 0x1e, 0x84, 0x11, 0xf3,
                                   0xe2, 0x43, 0x82, 0x20, 0x97, 0xc8, 0x4f, 0xa3};

const Request kRequest{7, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}};

Packet reply_with(const std::vector<Packet> &attributes) {
    return signed_reply(kRequest, joined(attributes), kSecret);
}

// A reply whose Message-Authenticator is this one, or its own if that is empty.
Packet reply_with_authenticator(const Packet &authenticator) {
    const Packet statistics = statistic(kAccessAccepts, number(9));
    Packet attributes = joined({statistics, attribute(80, Packet(16))});
    const size_t size = attributes.size() + 20;
    const Packet header{2, kRequest.identifier, uint8_t(size >> 8), uint8_t(size)};
    const Digest own = hmac_md5(kSecret, {header, kRequest.authenticator, attributes});
    const Packet value = authenticator.empty() ? Packet(own.begin(), own.end()) : authenticator;
    return signed_reply(kRequest, joined({statistics, attribute(80, value)}), kSecret);
}

TEST(Request, HasTheAttributesOfItsSubject) {
    const auto attributes = [](const Subject &subject) {
        const Packet packet = make_request(kRequest, subject, kSecret);
        EXPECT_EQ(packet[0], 12);
        EXPECT_EQ(packet[1], 7);
        EXPECT_EQ(packet[2] << 8 | packet[3], int(packet.size()));
        return Packet(packet.begin() + 38, packet.end());
    };
    const Endpoint four = Endpoint::parse("192.0.2.9:1812", 1);
    const Endpoint six = Endpoint::parse("[2001:db8::9]:1812", 1);
    const Packet four_bytes{192, 0, 2, 9};
    const Packet six_bytes{0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9};
    using Kind = Subject::Kind;
    EXPECT_EQ(attributes({}), statistic(127, number(0x13)));
    EXPECT_EQ(attributes({Kind::client, four}),
              joined({statistic(127, number(0x23)), statistic(167, four_bytes)}));
    EXPECT_EQ(attributes({Kind::client, six}),
              joined({statistic(127, number(0x23)), statistic(188, six_bytes)}));
    EXPECT_EQ(attributes({Kind::home_server, four}),
              joined({statistic(127, number(0x83)), statistic(170, four_bytes),
                      statistic(171, number(1812))}));
    EXPECT_EQ(attributes({Kind::home_server, six}),
              joined({statistic(127, number(0x83)), statistic(189, six_bytes),
                      statistic(171, number(1812))}));
}

TEST(Request, IsSignedAsTheStandardPrintsIt) {
    const Packet header{0x0c, 0xda, 0x00, 0x26};
    const Digest digest =
        hmac_md5(kSecret, {header, kPrinted.authenticator, attribute(80, Packet(16))});
    EXPECT_EQ(Packet(digest.begin(), digest.end()), kPrintedAuthenticator);

    Packet packet = make_request(kRequest, {}, kSecret);
    const Packet own(packet.begin() + 22, packet.begin() + 38);
    std::fill(packet.begin() + 22, packet.begin() + 38, uint8_t(0));
    const Digest expected = hmac_md5(kSecret, {packet});
    EXPECT_EQ(own, Packet(expected.begin(), expected.end()));
}

TEST(Reply, ThatTheStandardPrintsIsVerified) {
    EXPECT_EQ(read_reply(kPrintedReply, kPrinted, kSecret).problem, "");
    EXPECT_NE(read_reply(kPrintedReply, kPrinted, "other").problem, "");
    EXPECT_NE(read_reply(kPrintedReply, kRequest, kSecret).problem, "");
}

TEST(Reply, HasTheStatisticsOfTheVendorAlone) {
    const Reply reply =
        read_reply(reply_with({statistic(kAccessAccepts, number(0x01020304)),
                               statistic(kAccessRejects, number(5), 9), attribute(18, {'h', 'i'}),
                               statistic(kAccessChallenges, {1, 2, 3})}),
                   kRequest, kSecret);
    EXPECT_EQ(reply.problem, "");
    EXPECT_EQ(reply.statistics.values, (std::map<uint8_t, uint32_t>{{kAccessAccepts, 0x01020304}}));
    EXPECT_EQ(reply.statistics.error, "");
}

TEST(Reply, OfASubjectHasNoNumbersOfTheWholeServer) {
    const Packet whole = statistic(kAccessAccepts, number(7));
    for (const uint8_t subject :
         {kClientAddress, kClientAddress6, kServerAddress, kServerAddress6}) {
        const Packet packet = reply_with(
            {whole, statistic(subject, {127, 0, 0, 1}), statistic(kAccessRejects, number(2))});
        EXPECT_EQ(read_reply(packet, kRequest, kSecret).statistics.values,
                  (std::map<uint8_t, uint32_t>{{kAccessRejects, 2}}));
    }
}

TEST(Reply, HasTheServersWordsAboutAnError) {
    const Packet count = statistic(kAccessAccepts, number(1));
    const Packet error = statistic(kError, {'n', 'o'});
    const Reply missing = read_reply(reply_with({count, error}), kRequest, kSecret);
    EXPECT_EQ(missing.statistics.error, "no");
    EXPECT_TRUE(missing.statistics.values.empty());
    // A home server that has only one kind of traffic.
    const Reply half = read_reply(
        reply_with({statistic(kServerAddress, {127, 0, 0, 1}), count, error}), kRequest, kSecret);
    EXPECT_EQ(half.statistics.value(kAccessAccepts), 1u);
}

TEST(Reply, IsDroppedIfAnyBitIsOther) {
    for (const Packet &packet :
         {reply_with({statistic(kAccessAccepts, number(1))}), reply_with_authenticator({})}) {
        ASSERT_EQ(read_reply(packet, kRequest, kSecret).problem, "");
        for (size_t bit = 0; bit < packet.size() * 8; ++bit) {
            Packet other = packet;
            other[bit / 8] = uint8_t(other[bit / 8] ^ 1 << bit % 8);
            const Reply reply = read_reply(other, kRequest, kSecret);
            EXPECT_NE(reply.problem, "") << bit;
            EXPECT_TRUE(reply.statistics.values.empty()) << bit;
        }
    }
}

TEST(Reply, IsDroppedIfItIsCut) {
    const Packet packet = reply_with({statistic(kAccessAccepts, number(1))});
    for (size_t size = 0; size < packet.size(); ++size)
        EXPECT_EQ(read_reply(Bytes(packet).first(size), kRequest, kSecret).problem, "it is cut");
}

TEST(Reply, MayHavePadding) {
    Packet packet = reply_with({statistic(kAccessAccepts, number(1))});
    packet.insert(packet.end(), 100, 0xff);
    EXPECT_EQ(read_reply(packet, kRequest, kSecret).statistics.value(kAccessAccepts), 1u);
}

TEST(Reply, IsDroppedIfItsMessageAuthenticatorIsWrong) {
    EXPECT_EQ(read_reply(reply_with_authenticator({}), kRequest, kSecret).problem, "");
    for (const Packet &wrong : {Packet(16), Packet(15), Packet(1)})
        EXPECT_NE(read_reply(reply_with_authenticator(wrong), kRequest, kSecret).problem, "");
}

TEST(Reply, IsDroppedIfAnAttributeIsNotWhole) {
    const std::vector<Packet> hostile{{26},
                                      {26, 0},
                                      {26, 1},
                                      {26, 200, 0},
                                      {26, 2},
                                      {26, 5, 0, 0, 0},
                                      attribute(26, {0, 0, 0x2c, 0x50, 129}),
                                      attribute(26, {0, 0, 0x2c, 0x50, 129, 0}),
                                      attribute(26, {0, 0, 0x2c, 0x50, 129, 7, 0, 0, 0, 1})};
    for (const Packet &each : hostile) {
        const Reply reply =
            read_reply(reply_with({statistic(kAccessAccepts, number(1)), each}), kRequest, kSecret);
        EXPECT_NE(reply.problem, "");
        EXPECT_TRUE(reply.statistics.values.empty());
    }
}

// Of a server that is hostile, or of one whose secret is not a secret.
TEST(Reply, OfAnyBytesIsRead) {
    std::mt19937 random(1);
    size_t whole = 0;
    for (int turn = 0; turn < 20000; ++turn) {
        Packet attributes(random() % 64);
        for (uint8_t &each : attributes)
            each = uint8_t(random() % 4 == 0 ? random() : random() % 8);
        if (attributes.size() > 8 && turn % 2 == 0) {
            const Packet start{26, uint8_t(random() % 16), 0, 0, 0x2c, 0x50};
            std::ranges::copy(start, attributes.begin());
        }
        const Reply reply =
            read_reply(signed_reply(kRequest, attributes, kSecret), kRequest, kSecret);
        whole += reply.problem.empty() ? 1 : 0;
    }
    EXPECT_GT(whole, 100u);
}

}  // namespace
}  // namespace tarn_radius
