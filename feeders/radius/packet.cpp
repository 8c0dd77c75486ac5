// SPDX-License-Identifier: Apache-2.0
#include "packet.h"

#include <algorithm>
#include <array>

#include "attributes.h"

namespace tarn_radius {
namespace {

enum Code : uint8_t { kAccessAccept = 2, kAccountingResponse = 5, kStatusServer = 12 };

constexpr uint8_t kVendorSpecific = 26;
constexpr uint8_t kMessageAuthenticator = 80;
constexpr size_t kHeader = 20;
constexpr size_t kAuthenticatorAt = 4;
constexpr Digest kNoDigest{};

uint32_t number_in(Bytes bytes) {
    uint32_t number = 0;
    for (const uint8_t byte : bytes) number = number << 8 | byte;
    return number;
}

std::array<uint8_t, 4> number_bytes(uint32_t number) {
    return {uint8_t(number >> 24), uint8_t(number >> 16), uint8_t(number >> 8), uint8_t(number)};
}

void append(std::vector<uint8_t> &bytes, Bytes more) {
    for (const uint8_t byte : more) bytes.push_back(byte);
}

void append_attribute(std::vector<uint8_t> &packet, uint8_t type, Bytes value) {
    packet.push_back(type);
    packet.push_back(uint8_t(value.size() + 2));
    append(packet, value);
}

void append_vendor(std::vector<uint8_t> &packet, uint8_t type, Bytes value) {
    std::vector<uint8_t> inner;
    append(inner, number_bytes(kVendor));
    append_attribute(inner, type, value);
    append_attribute(packet, kVendorSpecific, inner);
}

void append_subject(std::vector<uint8_t> &packet, const Subject &subject) {
    const uint32_t both = kAuthentication | kAccounting;
    switch (subject.kind) {
        case Subject::Kind::server:
            return append_vendor(packet, kStatisticsType, number_bytes(both | kInternal));
        case Subject::Kind::client: {
            const bool is_four = subject.endpoint->family() == AF_INET;
            append_vendor(packet, kStatisticsType, number_bytes(both | kClient));
            return append_vendor(packet, is_four ? kClientAddress : kClientAddress6,
                                 subject.endpoint->address());
        }
        case Subject::Kind::home_server: {
            const bool is_four = subject.endpoint->family() == AF_INET;
            append_vendor(packet, kStatisticsType, number_bytes(both | kHomeServer));
            append_vendor(packet, is_four ? kServerAddress : kServerAddress6,
                          subject.endpoint->address());
            return append_vendor(packet, kServerPort, number_bytes(subject.endpoint->port()));
        }
    }
}

// Calls `take` with the type and the value of each attribute, until it returns false. Returns false
// if one of them isn't whole.
template <class Take>
bool for_each_attribute(Bytes attributes, const Take &take) {
    while (!attributes.empty()) {
        if (attributes.size() < 2 || attributes[1] < 2 || attributes[1] > attributes.size())
            return false;
        if (!take(attributes[0], attributes.subspan(2, size_t(attributes[1]) - 2))) return false;
        attributes = attributes.subspan(attributes[1]);
    }
    return true;
}

bool is_subject(uint8_t type) {
    return type == kClientAddress || type == kServerAddress || type == kClientAddress6 ||
           type == kServerAddress6;
}

bool read_vendor(Bytes value, Statistics &statistics) {
    if (value.size() < 4) return false;
    if (number_in(value.first(4)) != kVendor) return true;
    return for_each_attribute(value.subspan(4), [&](uint8_t type, Bytes inner) {
        // The numbers before a subject are those of the whole server, which come unrequested; there
        // is an error in the place of a subject that the server doesn't have.
        if (is_subject(type) || (type == kError && !statistics.has_subject))
            statistics.values.clear();
        statistics.has_subject |= is_subject(type);
        if (type == kError) statistics.error.assign(inner.begin(), inner.end());
        else if (inner.size() == 4 && !is_subject(type)) statistics.values[type] = number_in(inner);
        return true;
    });
}

// `packet` has a Message-Authenticator with this value.
bool is_authentic(Bytes packet, Bytes value, const Request &request, std::string_view secret) {
    const auto before = size_t(value.data() - packet.data());
    return are_equal(hmac_md5(secret, {packet.first(kAuthenticatorAt), request.authenticator,
                                       packet.subspan(kHeader, before - kHeader), kNoDigest,
                                       packet.subspan(before + value.size())}),
                     value);
}

std::string problem_of_header(Bytes packet, const Request &request) {
    if (packet.size() < kHeader) return "it is cut";
    const size_t length = number_in(packet.subspan(2, 2));
    if (length < kHeader || length > packet.size()) return "it is cut";
    if (length > kLongestPacket) return "it is too long";
    if (packet[0] != kAccessAccept && packet[0] != kAccountingResponse)
        return "its code is " + std::to_string(packet[0]) + ", expected Access-Accept";
    if (packet[1] != request.identifier) return "its identifier is of another request";
    return "";
}

}  // namespace

uint32_t Statistics::value(uint8_t type) const {
    const auto found = values.find(type);
    return found == values.end() ? 0 : found->second;
}

std::vector<uint8_t> make_request(const Request &request, const Subject &subject,
                                  std::string_view secret) {
    std::vector<uint8_t> packet{kStatusServer, request.identifier, 0, 0};
    append(packet, request.authenticator);
    append_attribute(packet, kMessageAuthenticator, kNoDigest);
    append_subject(packet, subject);
    packet[2] = uint8_t(packet.size() >> 8);
    packet[3] = uint8_t(packet.size());
    const Digest digest = hmac_md5(secret, {packet});
    std::ranges::copy(digest, packet.begin() + kHeader + 2);
    return packet;
}

std::optional<uint8_t> identifier_of(Bytes packet) {
    if (packet.size() < 2) return std::nullopt;
    return packet[1];
}

Reply read_reply(Bytes datagram, const Request &request, std::string_view secret) {
    Reply reply{problem_of_header(datagram, request), {}};
    if (!reply.problem.empty()) return reply;
    // Bytes after the packet are padding.
    const Bytes packet = datagram.first(number_in(datagram.subspan(2, 2)));
    const Bytes attributes = packet.subspan(kHeader);
    const Digest expected =
        md5({packet.first(kAuthenticatorAt), request.authenticator, attributes, bytes_of(secret)});
    if (!are_equal(expected, packet.subspan(kAuthenticatorAt, expected.size()))) {
        reply.problem = "its Response Authenticator is wrong: is the secret the server's?";
        return reply;
    }
    const bool is_whole = for_each_attribute(attributes, [&](uint8_t type, Bytes value) {
        if (type == kVendorSpecific) return read_vendor(value, reply.statistics);
        return type != kMessageAuthenticator || is_authentic(packet, value, request, secret);
    });
    if (!is_whole) reply = {"its Message-Authenticator is wrong, or an attribute isn't whole", {}};
    return reply;
}

}  // namespace tarn_radius
