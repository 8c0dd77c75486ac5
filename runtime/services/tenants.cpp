// SPDX-License-Identifier: Apache-2.0
// Tenants and replication.
#include "runtime/base/announce.h"
#include "runtime/base/errors.h"
#include "runtime/handle/handle.h"
#include "runtime/replication/engine.h"
#include "runtime/tenant/counters.h"
#include "runtime/trace/thread.h"

using namespace tarnbase::runtime;

void mt_get_tenant_id(std::uint16_t *tenant) { *tenant = thread_context.tenant; }

void keldb_update_tenant_counter(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                                 std::uint32_t direction, std::uint16_t tenant, std::uint8_t src,
                                 std::uint32_t *err) {
    if (*err != 0) return;
    if (direction == 0) {
        uncount_record(handle, tx_id, table, tenant, src);
    } else if (!count_record(handle, tx_id, table, tenant, src)) {
        report_error(handle, err, ENOMEM);
    }
}

void keldb_get_tenant_counter(kel_handle *, std::uint32_t, kel_table *table, std::uint32_t *count,
                              std::uint16_t tenant, const std::uint8_t *src) {
    *count = counted_records(table, tenant, src);
}

void keldb_enq_rec_move_write_cursor_internal(kel_handle *handle, std::uint32_t tx_id,
                                              kel_table *table, kel_record *record,
                                              std::uint32_t *err) {
    if (*err != 0) return;
    enqueue_record(handle, tx_id, private_part(handle).replication.get(), table, record, err);
}

void keldb_request_record_destroy(kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                                  std::uint32_t *err) {
    if (*err != 0) return;
    const auto flags = static_cast<std::uint8_t>(record->flags | KEL_RECORD_PENDING_DESTROY);
    WriteLog{handle, tx_id}.set(record->flags, flags);
}

void kelrepl_add_to_cache(kel_handle *handle, std::uint32_t, kel_table *table, kel_record *record,
                          const void *const *vector, std::uint32_t *) {
    if (table->replication_marked == 0) return;
    Handle &part = private_part(handle);
    part.cache_reports += 1;
    if (part.replication != nullptr) part.replication->reads.note(record, vector);
}
