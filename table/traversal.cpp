// SPDX-License-Identifier: Apache-2.0
// Ordered steps through the index. A position is a record block, found by
// comparison alone, so that a deleted record and a probe are positions too.
#include "frame/conventions.h"
#include "table/key.h"
#include "table/node.h"
#include "table/reads.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

using Step = kel_index_node *(*)(void *root, const kel_index_node *node,
                                 e_avl_compare_function compare);

struct Filter {
    std::uint32_t src;
    std::uint32_t match_src;
    std::uint32_t skip_pending;

    bool wrong_source(const kel_record *record) const {
        return match_src != 0 && record->src != static_cast<std::uint8_t>(src);
    }
    bool hidden(const kel_record *record) const { return skip_pending != 0 && is_pending(record); }
};

// The next record, by `step`, in the current tenant's run that passes the filter.
kel_record *walk_from(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                      const kel_record *position, Step step, const Filter &filter,
                      std::uint32_t *err) {
    if (!enter(handle, err)) return nullptr;
    const std::uint16_t tenant = current_tenant();
    kel_index_node *node = step(table->index_root, &position->index_node, model.compare);
    for (; node != nullptr; node = step(table->index_root, node, model.compare)) {
        kel_record *record = record_of(node);
        if (record->tenant_id != tenant) return nullptr;
        if (filter.wrong_source(record) || filter.hidden(record)) continue;
        return answer(model, handle, tx_id, table, record, err);
    }
    return nullptr;
}

// The first record from one end of the tree that passes the filter, if it is of
// the current tenant. `short_of_run` tells the tenants on the way to its run.
template <typename ShortOfRun>
kel_record *scan_from_end(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                          kel_index_node *(*end)(void *root), Step step, const Filter &filter,
                          ShortOfRun short_of_run, std::uint32_t *err) {
    if (!enter(handle, err)) return nullptr;
    const std::uint16_t tenant = current_tenant();
    kel_index_node *node = end(table->index_root);
    for (; node != nullptr; node = step(table->index_root, node, model.compare)) {
        kel_record *record = record_of(node);
        if (filter.wrong_source(record) || short_of_run(record->tenant_id, tenant) ||
            filter.hidden(record)) {
            continue;
        }
        if (record->tenant_id != tenant) return nullptr;
        return answer(model, handle, tx_id, table, record, err);
    }
    return nullptr;
}

// One step to a neighbour with the same key, of whatever tenant and source.
kel_record *sub_step(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                     const kel_record *position, Step step, std::uint32_t *err) {
    if (!enter(handle, err)) return nullptr;
    kel_index_node *node = step(table->index_root, &position->index_node, model.compare);
    if (node == nullptr || !same_keys(model, position, record_of(node))) return nullptr;
    return answer(model, handle, tx_id, table, record_of(node), err);
}

}  // namespace

kel_record *first(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                  std::uint32_t src, std::uint32_t match_src, std::uint32_t skip_pending,
                  std::uint32_t *err) {
    const auto below = [](std::uint16_t tenant, std::uint16_t wanted) { return tenant < wanted; };
    return scan_from_end(model, handle, tx_id, table, e_avl_get_first, e_avl_get_next,
                         {src, match_src, skip_pending}, below, err);
}

kel_record *last(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                 std::uint32_t src, std::uint32_t match_src, std::uint32_t skip_pending,
                 std::uint32_t *err) {
    const auto above = [](std::uint16_t tenant, std::uint16_t wanted) { return tenant > wanted; };
    return scan_from_end(model, handle, tx_id, table, e_avl_get_last, e_avl_get_prev,
                         {src, match_src, skip_pending}, above, err);
}

kel_record *next(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                 const kel_record *record, std::uint32_t src, std::uint32_t match_src,
                 std::uint32_t skip_pending, std::uint32_t *err) {
    return walk_from(model, handle, tx_id, table, record, e_avl_get_next,
                     {src, match_src, skip_pending}, err);
}

kel_record *prev(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                 const kel_record *record, std::uint32_t src, std::uint32_t match_src,
                 std::uint32_t skip_pending, std::uint32_t *err) {
    return walk_from(model, handle, tx_id, table, record, e_avl_get_prev,
                     {src, match_src, skip_pending}, err);
}

kel_record *first_ignore_src(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                             std::uint32_t *err) {
    return first(model, handle, tx_id, table, 0, 0, 0, err);
}

kel_record *next_ignore_src(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                            const kel_record *record, std::uint32_t *err) {
    return next(model, handle, tx_id, table, record, 0, 0, 0, err);
}

kel_record *prev_ignore_src(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                            const kel_record *record, std::uint32_t *err) {
    return prev(model, handle, tx_id, table, record, 0, 0, 0, err);
}

kel_record *sub_next(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                     kel_record *record, std::uint32_t *err) {
    return sub_step(model, handle, tx_id, table, record, e_avl_get_next, err);
}

kel_record *sub_prev(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                     kel_record *record, std::uint32_t *err) {
    return sub_step(model, handle, tx_id, table, record, e_avl_get_prev, err);
}

// The shadow is the last entry of its key.
kel_record *shadow(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                   kel_record *record, std::uint32_t *err) {
    while (record != nullptr && record->src != KEL_SOURCE_SHADOW) {
        record = sub_next(model, handle, tx_id, table, record, err);
    }
    return record;
}

kel_record *next_by_key(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                        const void *key, std::uint32_t src, std::uint32_t skip_pending,
                        std::uint32_t *err) {
    kel_record *at = search(model, handle, tx_id, table, key, 0, 1, src, skip_pending, err);
    if (*err != 0) return nullptr;
    if (at == nullptr) {
        return search(model, handle, tx_id, table, key, 1, 1, src, skip_pending, err);
    }
    return next(model, handle, tx_id, table, at, src, 1, skip_pending, err);
}

kel_record *prev_by_key(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                        const void *key, std::uint32_t src, std::uint32_t skip_pending,
                        std::uint32_t *err) {
    kel_record *at = search(model, handle, tx_id, table, key, 0, 0, src, skip_pending, err);
    if (*err != 0) return nullptr;
    if (at == nullptr) {
        return search(model, handle, tx_id, table, key, 1, 0, src, skip_pending, err);
    }
    return prev(model, handle, tx_id, table, at, src, 1, skip_pending, err);
}

kel_record *next_by_object(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                           const void *object, std::uint32_t src, std::uint32_t *err) {
    return next_by_key(model, handle, tx_id, table, key_value_in(model, object), src, 0, err);
}

kel_record *prev_by_object(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                           const void *object, std::uint32_t *err) {
    return prev_by_key(model, handle, tx_id, table, key_value_in(model, object), KEL_SOURCE_DEFAULT,
                       0, err);
}

kel_record *get_cr(Model model, kel_handle *handle, kel_table *table, std::uint32_t selector,
                   const kel_record *record, std::uint32_t src, std::uint32_t mode) {
    const std::uint32_t tx_id = handle->cr_tx_id;
    const std::uint32_t source = source_of_cr(src);
    const std::uint32_t match_src = mode == 0 ? 1 : 0;
    std::uint32_t *err = &handle->last_error;
    switch (selector) {
        case 0:
            return first(model, handle, tx_id, table, source, match_src, 0, err);
        case 1:
            return last(model, handle, tx_id, table, source, match_src, 0, err);
        case 2:
            return prev(model, handle, tx_id, table, record, source, match_src, 0, err);
        case 3:
            return next(model, handle, tx_id, table, record, source, match_src, 0, err);
        default:
            trace_table(KEL_TRACE_ERROR, "(ERR): invalid record get flag %d",
                        static_cast<int>(selector));
            kel_store_err(handle, EINVAL);
            return nullptr;
    }
}

void walk(kel_table *table, kel_walk_function function, void *context, e_avl_walk_function visit,
          std::uint32_t *err) {
    if (*err != 0) return;
    kel_walk_pair pair{function, context};
    e_avl_walk(table->index_root, visit, &pair);
}

void walk_cr(kel_handle *handle, kel_table *table, std::uint32_t key_number,
             kel_walk_function function, void *context, e_avl_walk_function visit) {
    if (key_number != 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): unknow key:%d", static_cast<int>(key_number));
        return;
    }
    walk(table, function, context, visit, &handle->last_error);
}

}  // namespace tarnbase::table
