// SPDX-License-Identifier: Apache-2.0
#include "runtime/wire/message_header.h"

#include <cstring>

#include "runtime/wire/items.h"
#include "runtime/wire/little_endian.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint32_t filler_offset = 1;
constexpr std::uint32_t state_offset = 7;
constexpr std::uint32_t stamp_offset = 8;
constexpr std::uint32_t length_offset = 12;

}  // namespace

std::uint32_t write_message_header(kel_handle *handle, void *buffer,
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

std::uint32_t read_message_header(kel_handle *handle, const void *buffer,
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
