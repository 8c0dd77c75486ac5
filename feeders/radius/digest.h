// SPDX-License-Identifier: Apache-2.0
//
// The two digests of RADIUS, over nettle.
#ifndef FEEDERS_RADIUS_DIGEST_H
#define FEEDERS_RADIUS_DIGEST_H

#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

namespace tarn_radius {

using Bytes = std::span<const uint8_t>;
using Digest = std::array<uint8_t, 16>;

inline Bytes bytes_of(std::string_view text) {
    return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

// Of all parts, one after the other.
Digest md5(std::initializer_list<Bytes> parts);
Digest hmac_md5(std::string_view key, std::initializer_list<Bytes> parts);

// In a time that doesn't depend on where they differ.
bool are_equal(const Digest &one, Bytes other);

}  // namespace tarn_radius

#endif
