/* SPDX-License-Identifier: Apache-2.0 */
// Records of a table by tenant and source, for all tenants but the default one.
#ifndef TARNBASE_RUNTIME_TENANT_COUNTERS_H
#define TARNBASE_RUNTIME_TENANT_COUNTERS_H

#include <cstdint>

#include "tarnbase/handle.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

// A node of the tree at a table's word `tenant_counters`.
struct TenantCounters {
    kel_index_node node;
    std::uint32_t tenant;
    std::uint32_t total;
    std::uint32_t by_source[256];
};
static_assert(sizeof(TenantCounters) == 1064);

// Adds a record of that source to the tenant's counters. False: no memory.
bool count_record(kel_handle *handle, std::uint32_t tx_id, kel_table *table, std::uint16_t tenant,
                  std::uint8_t src);
// Subtracts one. A tenant can delete another's records, so a counter of zero stays zero.
void uncount_record(kel_handle *handle, std::uint32_t tx_id, kel_table *table, std::uint16_t tenant,
                    std::uint8_t src);
// The tenant's records: of one source, or of all if `src` is null.
std::uint32_t counted_records(const kel_table *table, std::uint16_t tenant,
                              const std::uint8_t *src);

// Frees all counters of a table that is being freed.
void drop_tenant_counters(kel_handle *handle, std::uint32_t tx_id, kel_table *table);

}  // namespace tarnbase::runtime

#endif
