// SPDX-License-Identifier: Apache-2.0
// A table's tenants are a tree at its word `tenant_counters`: a block a tenant, made
// when the tenant's first record is counted.
#include "runtime/tenant/counters.h"

#include <cerrno>

#include "runtime/handle/handle.h"
#include "runtime/index/tree.h"
#include "tarnbase/runtime.h"

using namespace tarn::runtime;

namespace {

struct TenantCounters {
    kel_index_node node;
    std::uint32_t tenant;
    std::uint32_t total;
    std::uint32_t by_source[256];
};
static_assert(sizeof(TenantCounters) == 1064);

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
TenantCounters *make(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                     std::uint16_t tenant) {
    auto *made =
        static_cast<TenantCounters *>(store_of(handle).allocate(tx_id, sizeof(TenantCounters)));
    if (made == nullptr) return nullptr;
    made->tenant = tenant;
    tree_insert(handle, tx_id, &table->tenant_counters, &made->node, compare_tenants);
    return made;
}

}  // namespace

void keldb_update_tenant_counter(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                                 std::uint32_t direction, std::uint16_t tenant, std::uint8_t src,
                                 std::uint32_t *err) {
    if (*err != 0) return;
    TenantCounters *counters = find(table, tenant);
    if (counters == nullptr && direction == 0) return;
    if (counters == nullptr) counters = make(handle, tx_id, table, tenant);
    if (counters == nullptr) {
        report_error(handle, err, ENOMEM);
        return;
    }
    // A tenant can take away records that another one has added: never below zero.
    const auto change = [&](std::uint32_t &counter) {
        if (direction != 0) {
            announced_set(handle, tx_id, counter, counter + 1);
        } else if (counter != 0) {
            announced_set(handle, tx_id, counter, counter - 1);
        }
    };
    change(counters->total);
    change(counters->by_source[src]);
}

void keldb_get_tenant_counter(kel_handle *, std::uint32_t, kel_table *table, std::uint32_t *count,
                              std::uint16_t tenant, const std::uint8_t *src) {
    const TenantCounters *counters = find(table, tenant);
    if (counters == nullptr) {
        *count = 0;
    } else {
        *count = src != nullptr ? counters->by_source[*src] : counters->total;
    }
}

void tarn::runtime::drop_tenant_counters(kel_handle *handle, std::uint32_t tx_id,
                                         kel_table *table) {
    while (kel_index_node *node = tree_first(table->tenant_counters)) {
        tree_remove(handle, tx_id, &table->tenant_counters, node);
        store_of(handle).release(tx_id, node);
    }
}
