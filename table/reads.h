/* SPDX-License-Identifier: Apache-2.0 */
// What every read of an index shares: the tenant it is confined to, and reporting
// the record it answers to the replication engine.
#ifndef TARNBASE_TABLE_READS_H
#define TARNBASE_TABLE_READS_H

#include <cstdint>

#include "frame/schema.h"

namespace tarnbase::table {

inline std::uint16_t current_tenant() {
    std::uint16_t tenant = 0;
    mt_get_tenant_id(&tenant);
    return tenant;
}

// The low byte of a caller's source; a `_cr` form reads 0 as the default source.
inline std::uint32_t source_of_cr(std::uint32_t src) {
    const std::uint32_t low = src & 0xffU;
    return low == 0 ? KEL_SOURCE_DEFAULT : low;
}

inline bool is_pending(const kel_record *record) {
    return (record->flags & KEL_RECORD_PENDING_DESTROY) != 0;
}

// Answers a record that was found: told to the engine unless it is a shadow. An
// error of that call stays in `*err` and takes nothing from the answer.
inline kel_record *answer(const Table &model, kel_handle *handle, std::uint32_t tx_id,
                          kel_table *table, kel_record *record, std::uint32_t *err) {
    if (record->src != KEL_SOURCE_SHADOW) {
        kelrepl_add_to_cache(handle, tx_id, table, record, model.vector, err);
    }
    return record;
}

}  // namespace tarnbase::table

#endif
