// SPDX-License-Identifier: Apache-2.0
// Putting records into the key index and taking them out. The order of stores is
// part of the design: the tree first, then link, counters, and the flags last.
#include "frame/conventions.h"
#include "object/object.h"
#include "table/reads.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

constexpr std::uint8_t index_bits = KEL_RECORD_IN_INDEX | KEL_RECORD_PENDING_DESTROY;

std::uint8_t without(std::uint8_t flags, std::uint32_t bits) {
    return static_cast<std::uint8_t>(flags & ~bits);
}

// A record counts as not modified from its insertion on.
void reset_modified(kel_handle *handle, std::uint32_t tx_id, const Structure &type, void *object,
                    std::uint32_t *err) {
    if (object::type_type_backpropagate(type, {handle, tx_id, err}, object) != 0) {
        trace_table(KEL_TRACE_VERBOSE,
                    "(verbose): Record was modified. Done resetting modified bit.");
    }
}

void change_counts(kel_handle *handle, std::uint32_t tx_id, kel_table *table, std::uint8_t src,
                   std::uint32_t step) {
    logged_store(handle, tx_id, table->record_count, table->record_count + step);
    logged_store(handle, tx_id, table->src_counts[src], table->src_counts[src] + step);
}

// The tenant that counts is the caller's, not the one the record was made under.
void change_tenant_count(kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                         std::uint8_t src, std::uint32_t direction, std::uint32_t *err) {
    const std::uint16_t tenant = current_tenant();
    if (tenant != 0) {
        keldb_update_tenant_counter(handle, tx_id, table, direction, tenant, src, err);
    }
}

bool counts_allow_removal(Model model, const kel_table *table, std::uint8_t src) {
    if (table->record_count == 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): %s delete: record count already 0!", model.name);
        return false;
    }
    if (table->src_counts[src] == 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): %s delete: src(%u) record count already 0!",
                    model.name, static_cast<unsigned>(src));
        return false;
    }
    return true;
}

}  // namespace

void insert(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
            kel_record *record, std::uint32_t pkey, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    std::uint8_t flags = record->flags;
    if (e_avl_insert(handle->arena, tx_id, &table->index_root, &record->index_node,
                     &table->index_aux, model.compare) == 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): %s insert record exists for %s", model.name,
                    model.key_label);
        report(handle, err, EEXIST);
        return;
    }
    logged_store(handle, tx_id, record->table, table);
    if (pkey != 0) {
        flags |= KEL_RECORD_PKEY_INSERTED;
    } else {
        flags = without(flags, KEL_RECORD_PKEY_INSERTED | index_bits);
    }
    reset_modified(handle, tx_id, *model.type, record->object, err);
    if (model.key_type != nullptr) {
        reset_modified(handle, tx_id, *model.key_type, record->key_object, err);
    }
    change_counts(handle, tx_id, table, record->src, 1);
    change_tenant_count(handle, tx_id, table, record->src, 1, err);
    flags = without(flags, index_bits) | KEL_RECORD_IN_INDEX;
    logged_store(handle, tx_id, record->flags, flags);
    if (table->replication_marked != 0 && table->write_cursor_armed != 0) {
        keldb_enq_rec_move_write_cursor_internal(handle, tx_id, table, record, err);
    }
}

std::uint32_t insert_cr(Model model, kel_handle *handle, kel_table *table, kel_record *record) {
    insert(model, handle, handle->cr_tx_id, table, record, 0, &handle->last_error);
    return handle->last_error;
}

void remove(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
            kel_record *record, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    if (table->replication_marked != 0 && handle->replication_engine_active == 0) {
        trace_table(KEL_TRACE_ERROR,
                    "(ERR): %s_delete() cannot be direclty used when the table is marked for "
                    "replication",
                    model.name);
        report(handle, err, EINVAL);
        return;
    }
    const std::uint8_t flags = record->flags;
    if (e_avl_delete(handle->arena, tx_id, &table->index_root, &record->index_node,
                     &table->index_aux, model.compare) == 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): %s delete, record not found for %s", model.name,
                    model.key_label);
        report(handle, err, ENOENT);
    }
    // A record that wasn't found is set outside all the same.
    logged_store(handle, tx_id, record->table, static_cast<kel_table *>(nullptr));
    if ((flags & KEL_RECORD_PKEY_INSERTED) != 0) {
        logged_store(handle, tx_id, record->flags, without(flags, KEL_RECORD_PKEY_INSERTED));
    }
    if (*err != 0) return;
    if (!counts_allow_removal(model, table, record->src)) return;
    change_counts(handle, tx_id, table, record->src, ~std::uint32_t{0});
    change_tenant_count(handle, tx_id, table, record->src, 0, err);
}

std::uint32_t remove_cr(Model model, kel_handle *handle, kel_table *table, kel_record *record,
                        std::uint32_t destroy) {
    remove(model, handle, handle->cr_tx_id, table, record, &handle->last_error);
    if (destroy != 0) {
        destroy_record(model, handle, handle->cr_tx_id, record, &handle->last_error);
    }
    return handle->last_error;
}

}  // namespace tarnbase::table
