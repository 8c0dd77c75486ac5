// SPDX-License-Identifier: Apache-2.0
//
// Object identifiers, whose order is that of vectors.
#ifndef TOOLS_AGENTX_OID_H
#define TOOLS_AGENTX_OID_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace agentx {

using Oid = std::vector<uint32_t>;

// What SNMP allows.
constexpr std::size_t longest_oid = 128;

inline bool starts_with(const Oid &oid, const Oid &front) {
    return oid.size() >= front.size() && std::equal(front.begin(), front.end(), oid.begin());
}

inline Oid joined(std::span<const uint32_t> front, std::span<const uint32_t> rest) {
    Oid whole(front.begin(), front.end());
    whole.insert(whole.end(), rest.begin(), rest.end());
    return whole;
}

// As the index of a text of any length: its length, then its bytes.
inline void append_text(Oid &oid, std::string_view text) {
    oid.push_back(static_cast<uint32_t>(text.size()));
    for (const char c : text) oid.push_back(static_cast<unsigned char>(c));
}

}  // namespace agentx

#endif
