// SPDX-License-Identifier: Apache-2.0
//
// Replies as a server makes them.
#ifndef TESTS_FEEDERS_RADIUS_SIGNED_REPLY_H
#define TESTS_FEEDERS_RADIUS_SIGNED_REPLY_H

#include <algorithm>
#include <string>
#include <vector>

#include "radius/attributes.h"
#include "radius/packet.h"

namespace tarn_radius {

using Packet = std::vector<uint8_t>;

inline Packet attribute(uint8_t type, const Packet &value) {
    Packet bytes{type, uint8_t(value.size() + 2)};
    bytes.insert(bytes.end(), value.begin(), value.end());
    return bytes;
}

inline Packet statistic(uint8_t type, const Packet &value, uint32_t vendor = kVendor) {
    Packet inner{uint8_t(vendor >> 24), uint8_t(vendor >> 16), uint8_t(vendor >> 8),
                 uint8_t(vendor)};
    const Packet own = attribute(type, value);
    inner.insert(inner.end(), own.begin(), own.end());
    return attribute(26, inner);
}

inline Packet number(uint32_t value) {
    return {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)};
}

inline Packet joined(const std::vector<Packet> &parts) {
    Packet all;
    for (const Packet &each : parts) all.insert(all.end(), each.begin(), each.end());
    return all;
}

// An Access-Accept with these attributes.
inline Packet signed_reply(const Request &request, const Packet &attributes,
                           const std::string &secret) {
    const size_t size = attributes.size() + 20;
    Packet packet{2, request.identifier, uint8_t(size >> 8), uint8_t(size)};
    const Digest digest = md5({packet, request.authenticator, attributes, bytes_of(secret)});
    packet.insert(packet.end(), digest.begin(), digest.end());
    packet.insert(packet.end(), attributes.begin(), attributes.end());
    return packet;
}

}  // namespace tarn_radius

#endif
