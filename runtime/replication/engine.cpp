// SPDX-License-Identifier: Apache-2.0
// What the library tells the replication engine, and what the engine makes of it.
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "runtime/handle/handle.h"
#include "runtime/replication/ring.h"
#include "runtime/replication/table_vector.h"
#include "tarnbase/runtime.h"

using namespace tarn::runtime;

namespace {

// An object of the wire form has 6 bytes at least and its trace correlation, which a
// length doesn't count, 9: a record never takes more than three times its length.
constexpr std::uint64_t length_factor = 3;

std::uint32_t enqueue(kel_handle *handle, std::uint32_t tx_id, FrameRing &ring, kel_table *table,
                      const kel_record *record) {
    std::uint32_t error = 0;
    const TableVector vector = TableVector::of(handle, tx_id, table, &error);
    if (error != 0) return error;
    const std::uint64_t room = length_factor * vector.length(handle, tx_id, record);
    if (room > INT32_MAX) return EMSGSIZE;
    // One byte more: a last state byte is stored without asking for room.
    const std::unique_ptr<std::byte[]> bytes(new (std::nothrow) std::byte[room + 1]);
    if (bytes == nullptr) return ENOMEM;
    kel_replication_frame frame{};
    frame.table = table;
    std::memcpy(frame.luid, table->descriptor->luid, sizeof frame.luid);
    frame.tenant = record->tenant_id;
    frame.src = record->src;
    frame.length = vector.marshal(handle, tx_id, bytes.get(), record,
                                  static_cast<std::uint32_t>(room), &error);
    if (error != 0) return error;
    return ring.append(tx_id, frame, bytes.get());
}

}  // namespace

void kel_table_set_replication(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                               std::uint32_t marked, std::uint32_t write_cursor_armed) {
    announced_set(handle, tx_id, table->replication_marked, marked);
    announced_set(handle, tx_id, table->write_cursor_armed, write_cursor_armed);
}

void keldb_enq_rec_move_write_cursor_internal(kel_handle *handle, std::uint32_t tx_id,
                                              kel_table *table, kel_record *record,
                                              std::uint32_t *err) {
    if (*err != 0) return;
    FrameRing ring(handle);
    if (!ring) {
        // Nobody has asked for frames: only the count goes on.
        announced_set(handle, tx_id, table->write_cursor, table->write_cursor + 1);
        return;
    }
    if (auto *attached = private_part(handle).replication.get()) attached->reads.forget(record);
    if (const std::uint32_t error = enqueue(handle, tx_id, ring, table, record); error != 0) {
        ring.append_lost(tx_id);
        report_error(handle, err, error);
        return;
    }
    announced_set(handle, tx_id, table->write_cursor, ring.next());
}

void keldb_request_record_destroy(kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                                  std::uint32_t *err) {
    if (*err != 0) return;
    const auto flags = static_cast<std::uint8_t>(record->flags | KEL_RECORD_PENDING_DESTROY);
    announced_set(handle, tx_id, record->flags, flags);
}

void kelrepl_add_to_cache(kel_handle *handle, std::uint32_t, kel_table *table, kel_record *record,
                          const void *const *vector, std::uint32_t *) {
    if (table->replication_marked == 0) return;
    Handle &whole = private_part(handle);
    whole.cache_reports += 1;
    if (whole.replication != nullptr) whole.replication->reads.note(record, vector);
}
