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

#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

// Both return the header's length; 0 and an error as the functions of items.h.
std::uint32_t write_message_header(kel_handle *handle, void *buffer,
                                   const kel_message_header &header, std::uint32_t remaining,
                                   std::uint32_t *err);
std::uint32_t read_message_header(kel_handle *handle, const void *buffer,
                                  kel_message_header &header, std::uint32_t remaining,
                                  std::uint32_t *err);

}  // namespace tarnbase::runtime

#endif
