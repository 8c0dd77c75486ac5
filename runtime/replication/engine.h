/* SPDX-License-Identifier: Apache-2.0 */
// Putting a new record in the stream.
#ifndef TARNBASE_RUNTIME_REPLICATION_ENGINE_H
#define TARNBASE_RUNTIME_REPLICATION_ENGINE_H

#include <cstdint>

#include "tarnbase/handle.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

struct Attachment;

// Appends a record to the ring, if the store has one, and moves the table's write cursor.
// `attached` may be null. A record that can't be enqueued uses a position, and the error is
// reported.
void enqueue_record(kel_handle *handle, std::uint32_t tx_id, Attachment *attached, kel_table *table,
                    kel_record *record, std::uint32_t *err);

}  // namespace tarnbase::runtime

#endif
