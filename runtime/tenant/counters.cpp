// SPDX-License-Identifier: Apache-2.0
// A table's tenants are a tree at its word `tenant_counters`: a block for each tenant,
// allocated when its first record is counted.
#include "runtime/tenant/counters.h"

#include "runtime/index/tree.h"
#include "runtime/store/store_handle.h"

namespace tarnbase::runtime {

namespace {

TenantCounters *counters_of(kel_index_node *node) {
    return reinterpret_cast<TenantCounters *>(node);
}

std::uint32_t tenant_of(const kel_index_node *node) {
    return reinterpret_cast<const TenantCounters *>(node)->tenant;
}

std::uint32_t compare_tenants(const kel_index_node *a, const kel_index_node *b) {
    return order_of(tenant_of(a), tenant_of(b));
}

TenantCounters *find(const kel_table *table, std::uint16_t tenant) {
    TenantCounters probe;
    probe.node = {};
    probe.tenant = tenant;
    return counters_of(tree_find(table->tenant_counters, &probe.node, compare_tenants));
}

// Null: no memory.
TenantCounters *add(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                    std::uint16_t tenant) {
    auto *counters =
        static_cast<TenantCounters *>(store_of(handle).allocate(tx_id, sizeof(TenantCounters)));
    if (counters == nullptr) return nullptr;
    counters->tenant = tenant;
    tree_insert({handle, tx_id}, &table->tenant_counters, &counters->node, compare_tenants);
    return counters;
}

}  // namespace

bool count_record(kel_handle *handle, std::uint32_t tx_id, kel_table *table, std::uint16_t tenant,
                  std::uint8_t src) {
    TenantCounters *counters = find(table, tenant);
    if (counters == nullptr) counters = add(handle, tx_id, table, tenant);
    if (counters == nullptr) return false;
    const WriteLog log{handle, tx_id};
    log.set(counters->total, counters->total + 1);
    log.set(counters->by_source[src], counters->by_source[src] + 1);
    return true;
}

void uncount_record(kel_handle *handle, std::uint32_t tx_id, kel_table *table, std::uint16_t tenant,
                    std::uint8_t src) {
    TenantCounters *counters = find(table, tenant);
    if (counters == nullptr) return;
    const WriteLog log{handle, tx_id};
    for (std::uint32_t *counter : {&counters->total, &counters->by_source[src]}) {
        if (*counter != 0) log.set(*counter, *counter - 1);
    }
}

std::uint32_t counted_records(const kel_table *table, std::uint16_t tenant,
                              const std::uint8_t *src) {
    const TenantCounters *counters = find(table, tenant);
    if (counters == nullptr) return 0;
    return src != nullptr ? counters->by_source[*src] : counters->total;
}

void drop_tenant_counters(kel_handle *handle, std::uint32_t tx_id, kel_table *table) {
    while (kel_index_node *node = tree_first(table->tenant_counters)) {
        tree_remove({handle, tx_id}, &table->tenant_counters, node);
        store_of(handle).release(tx_id, node);
    }
}

}  // namespace tarnbase::runtime
