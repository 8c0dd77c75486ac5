// SPDX-License-Identifier: Apache-2.0
// Inserting records in the key index and removing them. The order of stores is part of the
// design: the tree first, then the link to the table, the counters, and last the flags.
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

// What a change in the index does to the counters.
enum class Change : std::uint8_t { removed = 0, inserted = 1 };

// A record counts as unmodified when it is inserted.
void reset_modified(const Structure &type, const Call &call, void *object) {
    if (object::type_type_backpropagate(type, call, object) != 0) {
        trace_table(KEL_TRACE_VERBOSE,
                    "(verbose): Record was modified. Done resetting modified bit.");
    }
}

// The tenant that counts is the thread's, not the record's.
void change_tenant_count(const Call &call, kel_table *table, std::uint8_t src, Change change) {
    const std::uint16_t tenant = current_tenant();
    if (tenant != 0) {
        keldb_update_tenant_counter(call.handle, call.tx_id, table,
                                    static_cast<std::uint32_t>(change), tenant, src, call.err);
    }
}

void change_counts(const Call &call, kel_table *table, std::uint8_t src, Change change) {
    const std::uint32_t step = change == Change::inserted ? 1 : ~std::uint32_t{0};
    call.logged_store(table->record_count, table->record_count + step);
    call.logged_store(table->src_counts[src], table->src_counts[src] + step);
    change_tenant_count(call, table, src, change);
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

bool insert_in_tree(Model model, const Call &call, kel_table *table, kel_record *record) {
    if (e_avl_insert(call.handle->arena, call.tx_id, &table->index_root, &record->index_node,
                     &table->index_aux, model.compare) != 0) {
        return true;
    }
    trace_table(KEL_TRACE_ERROR, "(ERR): %s insert record exists for %s", model.name,
                model.key_label);
    call.report(EEXIST);
    return false;
}

void remove_from_tree(Model model, const Call &call, kel_table *table, kel_record *record) {
    if (e_avl_delete(call.handle->arena, call.tx_id, &table->index_root, &record->index_node,
                     &table->index_aux, model.compare) != 0) {
        return;
    }
    trace_table(KEL_TRACE_ERROR, "(ERR): %s delete, record not found for %s", model.name,
                model.key_label);
    call.report(ENOENT);
}

}  // namespace

void insert(Model model, const Call &call, kel_table *table, kel_record *record,
            Insertion insertion) {
    if (!call.enter()) return;
    const std::uint8_t flags = record->flags;
    if (!insert_in_tree(model, call, table, record)) return;
    call.logged_store(record->table, table);
    reset_modified(*model.type, call, record->object);
    if (model.key_type != nullptr) reset_modified(*model.key_type, call, record->key_object);
    change_counts(call, table, record->src, Change::inserted);
    const std::uint32_t by_key = insertion.by_key_alone ? KEL_RECORD_PKEY_INSERTED : 0U;
    const std::uint8_t others = without(flags, KEL_RECORD_PKEY_INSERTED | index_bits);
    call.logged_store(record->flags,
                      static_cast<std::uint8_t>(others | by_key | KEL_RECORD_IN_INDEX));
    if (table->replication_marked != 0 && table->write_cursor_armed != 0) {
        keldb_enq_rec_move_write_cursor_internal(call.handle, call.tx_id, table, record, call.err);
    }
}

std::uint32_t insert_cr(Model model, kel_handle *handle, kel_table *table, kel_record *record) {
    insert(model, Call::cr(handle), table, record);
    return handle->last_error;
}

void remove(Model model, const Call &call, kel_table *table, kel_record *record) {
    if (!call.enter()) return;
    if (table->replication_marked != 0 && call.handle->replication_engine_active == 0) {
        trace_table(KEL_TRACE_ERROR,
                    "(ERR): %s_delete() cannot be direclty used when the table is marked for "
                    "replication",
                    model.name);
        call.report(EINVAL);
        return;
    }
    const std::uint8_t flags = record->flags;
    remove_from_tree(model, call, table, record);
    // The link is cleared even if the record wasn't found.
    call.logged_store(record->table, static_cast<kel_table *>(nullptr));
    if ((flags & KEL_RECORD_PKEY_INSERTED) != 0) {
        call.logged_store(record->flags, without(flags, KEL_RECORD_PKEY_INSERTED));
    }
    if (call.failed()) return;
    if (!counts_allow_removal(model, table, record->src)) return;
    change_counts(call, table, record->src, Change::removed);
}

std::uint32_t remove_cr(Model model, kel_handle *handle, kel_table *table, kel_record *record,
                        std::uint32_t destroy) {
    const Call call = Call::cr(handle);
    remove(model, call, table, record);
    if (destroy != 0) destroy_record(model, call, record);
    return handle->last_error;
}

}  // namespace tarnbase::table
