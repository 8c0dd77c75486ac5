// SPDX-License-Identifier: Apache-2.0
// Counts of a table's records: the table's own for tenant 0, the runtime's for any other.
#include "table/reads.h"
#include "table/table.h"

namespace tarnbase::table {

std::uint32_t get_count(const Call &call, kel_table *table) {
    if (table == nullptr) return 0;
    const std::uint16_t tenant = current_tenant();
    if (tenant == 0) return table->record_count;
    std::uint32_t records = 0;
    keldb_get_tenant_counter(call.handle, call.tx_id, table, &records, tenant, nullptr);
    return records;
}

std::uint32_t get_count_by_src(const Call &call, kel_table *table, std::uint32_t src) {
    if (table == nullptr) return 0;
    const std::uint16_t tenant = current_tenant();
    auto source = static_cast<std::uint8_t>(src);
    if (tenant == 0) return table->src_counts[source];
    std::uint32_t records = 0;
    keldb_get_tenant_counter(call.handle, call.tx_id, table, &records, tenant, &source);
    return records;
}

}  // namespace tarnbase::table
