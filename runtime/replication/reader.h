/* SPDX-License-Identifier: Apache-2.0 */
// Following the stream. A reader is a position: it has no data in the store, and the ring
// doesn't wait for it. The functions return a status and set its text as embedded.h says.
#ifndef TARNBASE_RUNTIME_REPLICATION_READER_H
#define TARNBASE_RUNTIME_REPLICATION_READER_H

#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

std::uint32_t open_reader(kel_handle *handle, std::uint64_t position,
                          kel_replication_reader *reader);
std::uint32_t read_next_frame(kel_handle *handle, kel_replication_reader *reader, void *buffer,
                              std::uint32_t buffer_len, kel_replication_frame *frame);
// Committed frames that the reader hasn't read.
std::uint64_t reader_lag(kel_handle *handle, const kel_replication_reader *reader);

}  // namespace tarnbase::runtime

#endif
