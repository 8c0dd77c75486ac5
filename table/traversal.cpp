// SPDX-License-Identifier: Apache-2.0
// Ordered steps through the index. A position is a record block, found by comparison
// alone, so that a deleted record and a probe are positions too.
#include "frame/conventions.h"
#include "table/key.h"
#include "table/node.h"
#include "table/order.h"
#include "table/reads.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

// The order of a probe and a record by tenant: the probe is on that side of all records of its own
// tenant. It is in no index, so it has no table.
template <std::uint32_t side>
std::uint32_t compare_tenants(const kel_index_node *a, const kel_index_node *b) {
    if (a == nullptr || b == nullptr) return order_of(a != nullptr, b != nullptr);
    const kel_record *first = record_of(a);
    const kel_record *second = record_of(b);
    if (first->tenant_id != second->tenant_id) {
        return order_of(first->tenant_id, second->tenant_id);
    }
    return first->table == nullptr ? side : 2 - side;
}
constexpr std::uint32_t side_before = 0;
constexpr std::uint32_t side_after = 2;

// A direction: the end of the tree where it begins, its step, whether it reaches the records of
// tenant `a` before those of tenant `b`, and the order of a probe where it enters a tenant.
struct Way {
    kel_index_node *(*end)(void *root);
    kel_index_node *(*step)(void *root, const kel_index_node *node, e_avl_compare_function compare);
    bool (*is_before)(std::uint16_t a, std::uint16_t b);
    e_avl_compare_function compare_tenants;
    bool backward;
};
constexpr Way forward = {.end = e_avl_get_first,
                         .step = e_avl_get_next,
                         .is_before = [](std::uint16_t a, std::uint16_t b) { return a < b; },
                         .compare_tenants = compare_tenants<side_before>,
                         .backward = false};
constexpr Way backward = {.end = e_avl_get_last,
                          .step = e_avl_get_prev,
                          .is_before = [](std::uint16_t a, std::uint16_t b) { return a > b; },
                          .compare_tenants = compare_tenants<side_after>,
                          .backward = true};

bool is_wrong_source(const Selection &selection, const kel_record *record) {
    return !selection.any_source && record->src != static_cast<std::uint8_t>(selection.source);
}
bool is_hidden(const Selection &selection, const kel_record *record) {
    return selection.skip_pending && is_pending(record);
}

// The next selected record after a position, of the current tenant.
kel_record *walk_from(const Read &read, const kel_record *position, const Way &way,
                      Selection selection) {
    if (!read.call.enter()) return nullptr;
    const std::uint16_t tenant = current_tenant();
    void *root = read.table->index_root;
    kel_index_node *node = way.step(root, &position->index_node, read.model.compare);
    for (; node != nullptr; node = way.step(root, node, read.model.compare)) {
        kel_record *record = record_of(node);
        if (record->tenant_id != tenant) return nullptr;
        if (is_wrong_source(selection, record) || is_hidden(selection, record)) continue;
        return read.found(record);
    }
    return nullptr;
}

// The node of the first record that isn't of a tenant before this one, from one end of the tree.
kel_index_node *enter_tenant(void *root, const Way &way, std::uint16_t tenant) {
    kel_index_node *end = way.end(root);
    if (end == nullptr || !way.is_before(record_of(end)->tenant_id, tenant)) return end;
    kel_record probe{};
    probe.tenant_id = tenant;
    return way.step(root, &probe.index_node, way.compare_tenants);
}

// The first selected record from one end of the tree, if it is of the current tenant.
kel_record *scan_from_end(const Read &read, const Way &way, Selection selection) {
    if (!read.call.enter()) return nullptr;
    const std::uint16_t tenant = current_tenant();
    void *root = read.table->index_root;
    kel_index_node *node = enter_tenant(root, way, tenant);
    for (; node != nullptr; node = way.step(root, node, read.model.compare)) {
        kel_record *record = record_of(node);
        if (is_wrong_source(selection, record) || is_hidden(selection, record)) continue;
        return record->tenant_id == tenant ? read.found(record) : nullptr;
    }
    return nullptr;
}

// One step to a neighbour with the same key, of any tenant and source.
kel_record *sub_step(const Read &read, const kel_record *position, const Way &way) {
    if (!read.call.enter()) return nullptr;
    kel_index_node *node =
        way.step(read.table->index_root, &position->index_node, read.model.compare);
    if (node == nullptr || !same_keys(read.model, position, record_of(node))) return nullptr;
    return read.found(record_of(node));
}

// The neighbour of a key, whether a record has the key or not.
kel_record *step_by_key(const Read &read, const void *key, const Way &way, Selection selection) {
    Search wanted = {.backward = way.backward,
                     .source = selection.source,
                     .skip_pending = selection.skip_pending};
    const kel_record *at = search(read.model, read.call, read.table, key, wanted);
    if (read.call.failed()) return nullptr;
    if (at != nullptr) return walk_from(read, at, way, selection);
    wanted.nearest = true;
    return search(read.model, read.call, read.table, key, wanted);
}

}  // namespace

kel_record *first(Model model, const Call &call, kel_table *table, Selection selection) {
    return scan_from_end({model, call, table}, forward, selection);
}

kel_record *last(Model model, const Call &call, kel_table *table, Selection selection) {
    return scan_from_end({model, call, table}, backward, selection);
}

kel_record *next(Model model, const Call &call, kel_table *table, const kel_record *record,
                 Selection selection) {
    return walk_from({model, call, table}, record, forward, selection);
}

kel_record *prev(Model model, const Call &call, kel_table *table, const kel_record *record,
                 Selection selection) {
    return walk_from({model, call, table}, record, backward, selection);
}

kel_record *sub_next(Model model, const Call &call, kel_table *table, kel_record *record) {
    return sub_step({model, call, table}, record, forward);
}

kel_record *sub_prev(Model model, const Call &call, kel_table *table, kel_record *record) {
    return sub_step({model, call, table}, record, backward);
}

// The shadow is the last record with its key.
kel_record *shadow(Model model, const Call &call, kel_table *table, kel_record *record) {
    while (record != nullptr && record->src != KEL_SOURCE_SHADOW) {
        record = sub_next(model, call, table, record);
    }
    return record;
}

kel_record *next_by_key(Model model, const Call &call, kel_table *table, const void *key,
                        Selection selection) {
    return step_by_key({model, call, table}, key, forward, selection);
}

kel_record *prev_by_key(Model model, const Call &call, kel_table *table, const void *key,
                        Selection selection) {
    return step_by_key({model, call, table}, key, backward, selection);
}

kel_record *next_by_object(Model model, const Call &call, kel_table *table, const void *object,
                           Selection selection) {
    return next_by_key(model, call, table, key_value_in(model, object), selection);
}

kel_record *prev_by_object(Model model, const Call &call, kel_table *table, const void *object) {
    return prev_by_key(model, call, table, key_value_in(model, object));
}

kel_record *get_cr(Model model, kel_handle *handle, kel_table *table, Selector selector,
                   Selection selection) {
    const Call call = Call::cr(handle);
    switch (selector.number) {
        case 0:
            return first(model, call, table, selection);
        case 1:
            return last(model, call, table, selection);
        case 2:
            return prev(model, call, table, selector.record, selection);
        case 3:
            return next(model, call, table, selector.record, selection);
        default:
            trace_table(KEL_TRACE_ERROR, "(ERR): invalid record get flag %d",
                        static_cast<int>(selector.number));
            kel_store_err(handle, EINVAL);
            return nullptr;
    }
}

void walk(kel_table *table, kel_walk_pair pair, e_avl_walk_function visit,
          const std::uint32_t *err) {
    if (*err != 0) return;
    e_avl_walk(table->index_root, visit, &pair);
}

void walk_cr(kel_handle *handle, kel_table *table, std::uint32_t key_number, kel_walk_pair pair,
             e_avl_walk_function visit) {
    if (key_number != 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): unknow key:%d", static_cast<int>(key_number));
        return;
    }
    walk(table, pair, visit, &handle->last_error);
}

}  // namespace tarnbase::table
