/* SPDX-License-Identifier: Apache-2.0 */
// What every read of an index does: it is limited to one tenant, and the record that it
// returns goes to the replication engine's cache.
#ifndef TARNBASE_TABLE_READS_H
#define TARNBASE_TABLE_READS_H

#include <cstdint>

#include "frame/call.h"
#include "frame/schema.h"

namespace tarnbase::table {

inline std::uint16_t current_tenant() {
    std::uint16_t tenant = 0;
    mt_get_tenant_id(&tenant);
    return tenant;
}

inline bool is_pending(const kel_record *record) {
    return (record->flags & KEL_RECORD_PENDING_DESTROY) != 0;
}

struct Read {
    const Table &model;
    const Call &call;
    kel_table *table;

    // Adds the record to the engine's cache unless it is a shadow. Returns the record,
    // also if the engine leaves an error in `*err`.
    kel_record *found(kel_record *record) const {
        if (record->src != KEL_SOURCE_SHADOW) {
            kelrepl_add_to_cache(call.handle, call.tx_id, table, record, model.vector, call.err);
        }
        return record;
    }
};

}  // namespace tarnbase::table

#endif
