// SPDX-License-Identifier: Apache-2.0
#include "runtime/replication/engine.h"

#include <cstring>
#include <memory>
#include <new>

#include "runtime/base/announce.h"
#include "runtime/base/errors.h"
#include "runtime/replication/attachment.h"
#include "runtime/replication/ring.h"
#include "runtime/replication/table_vector.h"

namespace tarnbase::runtime {

namespace {

// An object takes at least 6 bytes on the wire, and its trace correlation, which a length
// doesn't count, 9: a record never takes more than three times its length.
constexpr std::uint64_t length_factor = 3;

std::uint32_t append_frame(kel_handle *handle, std::uint32_t tx_id, FrameRing &ring,
                           const Attachment *attached, kel_table *table, const kel_record *record) {
    std::uint32_t error = 0;
    const TableVector vector = TableVector::of(handle, tx_id, attached, table, &error);
    if (error != 0) return error;
    const std::uint64_t size = length_factor * vector.length(handle, tx_id, record);
    if (size > INT32_MAX) return EMSGSIZE;
    // One byte more: marshal stores the last state byte before it checks the size.
    const std::unique_ptr<std::byte[]> bytes(new (std::nothrow) std::byte[size + 1]);
    if (bytes == nullptr) return ENOMEM;
    kel_replication_frame frame{};
    frame.table = table;
    std::memcpy(frame.luid, table->descriptor->luid, sizeof frame.luid);
    frame.tenant = record->tenant_id;
    frame.src = record->src;
    frame.length = vector.marshal(handle, tx_id, bytes.get(), record,
                                  static_cast<std::uint32_t>(size), &error);
    if (error != 0) return error;
    return ring.append(tx_id, frame, bytes.get());
}

}  // namespace

void enqueue_record(kel_handle *handle, std::uint32_t tx_id, Attachment *attached, kel_table *table,
                    kel_record *record, std::uint32_t *err) {
    const WriteLog log{handle, tx_id};
    FrameRing ring(handle);
    if (!ring) {
        // Without a ring there are no frames, and only the cursor moves.
        log.set(table->write_cursor, table->write_cursor + 1);
        return;
    }
    if (attached != nullptr) attached->reads.remove(record);
    if (const auto error = append_frame(handle, tx_id, ring, attached, table, record)) {
        ring.append_lost(tx_id);
        report_error(handle, err, error);
        return;
    }
    log.set(table->write_cursor, ring.next());
}

}  // namespace tarnbase::runtime
