// SPDX-License-Identifier: Apache-2.0
// What the library tells the replication engine. The engine itself is the embedder's:
// it reads the marks that are left here in tables, records and handles.
#include "runtime/store/handle.h"
#include "tarnbase/runtime.h"

using namespace tarn::runtime;

void kel_table_set_replication(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                               std::uint32_t marked, std::uint32_t write_cursor_armed) {
    announced_set(handle, tx_id, table->replication_marked, marked);
    announced_set(handle, tx_id, table->write_cursor_armed, write_cursor_armed);
}

void keldb_enq_rec_move_write_cursor_internal(kel_handle *handle, std::uint32_t tx_id,
                                              kel_table *table, kel_record *, std::uint32_t *err) {
    if (*err != 0) return;
    announced_set(handle, tx_id, table->write_cursor, table->write_cursor + 1);
}

void keldb_request_record_destroy(kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                                  std::uint32_t *err) {
    if (*err != 0) return;
    const auto flags = static_cast<std::uint8_t>(record->flags | KEL_RECORD_PENDING_DESTROY);
    announced_set(handle, tx_id, record->flags, flags);
}

void kelrepl_add_to_cache(kel_handle *handle, std::uint32_t, kel_table *table, kel_record *,
                          const void *const *, std::uint32_t *) {
    if (table->replication_marked != 0) private_part(handle).cache_reports += 1;
}

std::uint64_t kel_handle_cache_reports(const kel_handle *handle) {
    return private_part(handle).cache_reports;
}
