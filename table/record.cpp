// SPDX-License-Identifier: Apache-2.0
// The life of a record block: creation, references, destruction.
#include <cstring>

#include "frame/conventions.h"
#include "object/object.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

// The new record's memory. A `_cr` creation gets the fallback record if there is no memory.
kel_record *allocate(Model model, const Call &call) {
    kel_handle *handle = call.handle;
    void *block = handle->alloc_hook(handle->arena, call.tx_id, model.record_size);
    if (block != nullptr || handle->cr_fallback_enabled == 0) {
        return static_cast<kel_record *>(block);
    }
    if (handle->last_error == 0) kel_store_err(handle, ENOMEM);
    return model.fallback;
}

void stamp_correlation(const Call &call, kel_record *record) {
    std::uint64_t uuid = 0;
    std::uint8_t mark = 0;
    ptrail_get_radioactive_bit(&uuid, &mark);
    if (uuid != 0 || mark != 0) {
        kellib_record_update_ra_all(call.handle, call.tx_id, record, uuid, mark);
    }
    trace_table(KEL_TRACE_VERBOSE, "(verbose): CREATE: set uuid in OM record to %lu ",
                static_cast<unsigned long>(uuid));
}

// Increments one of the counters of the record's descriptor.
void increment_usage(const Call &call, const kel_record *record,
                     std::uint64_t kel_variant_usage::*counter) {
    kel_variant_usage &usage = usage_record(record->descriptor, 0, 0, TraceModule::table);
    logged_count(call, record->descriptor, usage.*counter, 1);
}

// Removes the record from its index. If that fails, destruction continues.
void leave_index(Model model, const Call &call, kel_record *record) {
    if (record->table == nullptr) return;
    remove(model, call, record->table, record);
    if (!call.failed()) return;
    trace_table(KEL_TRACE_ERROR, "(ERR): Error %d deleting %s record when destroying",
                static_cast<int>(*call.err), model.name);
    *call.err = 0;
}

void destroy_objects(Model model, const Call &call, kel_record *record) {
    object::destroy(*model.type, call, record->object);
    if (model.key_type != nullptr) object::destroy(*model.key_type, call, record->key_object);
}

// Removes the record's mapping. False: `*err` is set.
bool unmap(Model model, const Call &call, kel_record *record) {
    if ((record->flags & KEL_RECORD_HD_MAPPED) == 0 || call.handle->hd_mapping_enabled == 0) {
        return true;
    }
    kel_hd_mapping_destroy(call.handle, call.tx_id, record, call.err);
    if (!call.failed()) return true;
    trace_table(KEL_TRACE_ERROR,
                "(ERR): %s destroy: Failed to remove oid mapping for object. Error %s", model.name,
                std::strerror(static_cast<int>(*call.err)));
    kel_store_err(call.handle, *call.err);
    return false;
}

const Structure &pkey_type(Model model) {
    return model.key_type != nullptr ? *model.key_type : *model.type;
}

}  // namespace

kel_record *create_record(Model model, const Call &call, std::uint32_t src) {
    kel_tarnbase_type_trace_init();
    kel_record *record = allocate(model, call);
    if (record == nullptr) return nullptr;
    std::memset(record, 0, model.record_size);
    call.log_write(record, sizeof record->descriptor);
    record->descriptor = choose_descriptor(call, model.record_descriptor);
    stamp_correlation(call, record);
    increment_usage(call, record, &kel_variant_usage::created);
    *call.err = 0;
    record->ref_count = 1;
    record->src = static_cast<std::uint8_t>(src);
    mt_get_tenant_id(&record->tenant_id);
    return record;
}

kel_record *create_record_cr(Model model, kel_handle *handle, std::uint32_t with_objects) {
    handle->cr_fallback_enabled = 1;
    const Call call = Call::cr(handle);
    kel_record *record = create_record(model, call, KEL_SOURCE_DEFAULT);
    if (with_objects != 0) {
        record->object = object::create(*model.type, call);
        if (model.key_type != nullptr) record->key_object = object::create(*model.key_type, call);
    }
    handle->cr_fallback_enabled = 0;
    return record;
}

std::uint32_t record_add_ref(const Call &call, kel_record *record) {
    if (record == nullptr) {
        call.report(ENOENT);
        return 0;
    }
    return record->ref_count++;  // unlogged, unlike the decrement
}

void destroy_record(Model model, const Call &call, kel_record *record) {
    if (record == nullptr) {
        call.report(ENOENT);
        return;
    }
    call.logged_store(record->ref_count, record->ref_count - 1);
    if (record->ref_count != 0) return;
    leave_index(model, call, record);
    destroy_objects(model, call, record);
    require_descriptor(record->descriptor, TraceModule::table);
    increment_usage(call, record, &kel_variant_usage::destroyed);
    *call.err = 0;
    if (!unmap(model, call, record)) return;
    call.logged_store(record->descriptor, static_cast<const kel_type_info *>(nullptr));
    if (record != model.fallback) {
        call.handle->free_hook(call.handle->arena, call.tx_id, record);
    }
}

void request_record_destroy(Model model, const Call &call, kel_table *table, kel_record *record) {
    if (!call.enter()) return;
    if (record == nullptr || table->replication_marked == 0) {
        call.report(EINVAL);
        return;
    }
    keldb_request_record_destroy(call.handle, call.tx_id, record, call.err);
    if (call.failed()) {
        trace_table(KEL_TRACE_ERROR, "(ERR): %s request destroy record failed", model.name);
    }
}

void *pkey_create(Model model, const Call &call) { return object::create(pkey_type(model), call); }

void pkey_destroy(Model model, const Call &call, void *key_object) {
    object::destroy(pkey_type(model), call, key_object);
}

}  // namespace tarnbase::table
