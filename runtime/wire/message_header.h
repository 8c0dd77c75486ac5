/* SPDX-License-Identifier: Apache-2.0 */
// A record's message header on the wire: 27 bytes.
//
//   offset  size  item
//        0     1  marker
//        1     6  filler
//        7     1  state_tracked
//        8     4  stamp, little-endian
//       12     4  length, little-endian
//       16    11  zero
//
// Reading doesn't check the items: which marker and length are valid is up to the receiver.
#ifndef TARNBASE_RUNTIME_WIRE_MESSAGE_HEADER_H
#define TARNBASE_RUNTIME_WIRE_MESSAGE_HEADER_H

#include <cstdint>
#include <cstring>

#include "runtime/wire/items.h"
#include "runtime/wire/little_endian.h"

namespace tarnbase::runtime {

inline constexpr std::uint32_t filler_offset = 1;
inline constexpr std::uint32_t state_offset = 7;
inline constexpr std::uint32_t stamp_offset = 8;
inline constexpr std::uint32_t length_offset = 12;

// Both return the header's length; 0 and an error as the functions of items.h.
inline std::uint32_t write_message_header(kel_handle *handle, void *buffer,
                                          const kel_message_header &header, std::uint32_t remaining,
                                          std::uint32_t *err) {
    if (!has_space(handle, KEL_MESSAGE_HEADER_SIZE, remaining, err)) return 0;
    auto *bytes = static_cast<std::uint8_t *>(buffer);
    std::memset(bytes, 0, KEL_MESSAGE_HEADER_SIZE);
    bytes[0] = header.marker;
    std::memcpy(bytes + filler_offset, header.filler, sizeof header.filler);
    bytes[state_offset] = header.state_tracked;
    store_little(bytes + stamp_offset, header.stamp);
    store_little(bytes + length_offset, header.length);
    return KEL_MESSAGE_HEADER_SIZE;
}

inline std::uint32_t read_message_header(kel_handle *handle, const void *buffer,
                                         kel_message_header &header, std::uint32_t remaining,
                                         std::uint32_t *err) {
    if (!has_space(handle, KEL_MESSAGE_HEADER_SIZE, remaining, err)) return 0;
    const auto *bytes = static_cast<const std::uint8_t *>(buffer);
    header.marker = bytes[0];
    std::memcpy(header.filler, bytes + filler_offset, sizeof header.filler);
    header.state_tracked = bytes[state_offset];
    header.stamp = load_little<std::uint32_t>(bytes + stamp_offset);
    header.length = load_little<std::uint32_t>(bytes + length_offset);
    return KEL_MESSAGE_HEADER_SIZE;
}

}  // namespace tarnbase::runtime

#endif
