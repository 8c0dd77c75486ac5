// SPDX-License-Identifier: Apache-2.0
//
// Status-Server packets and their replies (RFC 2865, RFC 5997), as bytes. Nothing here uses a
// network or a store.
#ifndef FEEDERS_RADIUS_PACKET_H
#define FEEDERS_RADIUS_PACKET_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "digest.h"
#include "endpoint.h"

namespace tarn_radius {

// The largest packet of RADIUS.
constexpr size_t kLongestPacket = 4096;

// Of what the server is to send its statistics.
struct Subject {
    enum class Kind { server, client, home_server };
    Kind kind = Kind::server;
    std::optional<Endpoint> endpoint = {};  // of a client, only the address
};

// What a reply has to fit.
struct Request {
    uint8_t identifier = 0;
    Digest authenticator{};  // unpredictable
};

// FreeRADIUS's statistics, by the types of the vendor's attributes: attributes.h.
struct Statistics {
    std::map<uint8_t, uint32_t> values = {};
    bool has_subject = false;  // they are of a client or a home server
    std::string error = {};    // the server's words, such as that there is no such client

    uint32_t value(uint8_t type) const;
};

struct Reply {
    std::string problem = {};  // for which the reply has to be dropped; empty if there is none
    Statistics statistics = {};
};

std::vector<uint8_t> make_request(const Request &request, const Subject &subject,
                                  std::string_view secret);

// The identifier of a packet; none if it is too short to have one.
std::optional<uint8_t> identifier_of(Bytes packet);

// Verifies a reply and reads its statistics. Attributes of others are skipped.
Reply read_reply(Bytes packet, const Request &request, std::string_view secret);

}  // namespace tarn_radius

#endif
