// SPDX-License-Identifier: Apache-2.0
// The life of a record block: creation, references, destruction.
#include <cstring>

#include "frame/conventions.h"
#include "object/object.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

// The new record's memory. In a `_cr` creation the fallback record stands in for
// a block that couldn't be had.
kel_record *allocate(Model model, kel_handle *handle, std::uint32_t tx_id) {
    void *block = handle->alloc_hook(handle->arena, tx_id, model.record_size);
    if (block != nullptr || handle->cr_fallback_enabled == 0) {
        return static_cast<kel_record *>(block);
    }
    if (handle->last_error == 0) kel_store_err(handle, ENOMEM);
    return model.fallback;
}

void stamp_correlation(kel_handle *handle, std::uint32_t tx_id, kel_record *record) {
    std::uint64_t uuid = 0;
    std::uint8_t mark = 0;
    ptrail_get_radioactive_bit(&uuid, &mark);
    if (uuid != 0 || mark != 0) kellib_record_update_ra_all(handle, tx_id, record, uuid, mark);
    trace_table(KEL_TRACE_VERBOSE, "(verbose): CREATE: set uuid in OM record to %lu ",
                static_cast<unsigned long>(uuid));
}

// Takes the record out of its index. Destruction goes on when that is refused.
void leave_index(Model model, kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                 std::uint32_t *err) {
    if (record->table == nullptr) return;
    remove(model, handle, tx_id, record->table, record, err);
    if (*err == 0) return;
    trace_table(KEL_TRACE_ERROR, "(ERR): Error %d deleting %s record when destroying",
                static_cast<int>(*err), model.name);
    *err = 0;
}

// False: the mapping couldn't be removed and `*err` tells why.
bool unmap(Model model, kel_handle *handle, std::uint32_t tx_id, kel_record *record,
           std::uint32_t *err) {
    if ((record->flags & KEL_RECORD_HD_MAPPED) == 0 || handle->hd_mapping_enabled == 0) {
        return true;
    }
    kel_hd_mapping_destroy(handle, tx_id, record, err);
    if (*err == 0) return true;
    trace_table(KEL_TRACE_ERROR,
                "(ERR): %s destroy: Failed to remove oid mapping for object. Error %s", model.name,
                std::strerror(static_cast<int>(*err)));
    kel_store_err(handle, *err);
    return false;
}

}  // namespace

kel_record *create_record(Model model, kel_handle *handle, std::uint32_t tx_id, std::uint8_t src,
                          std::uint32_t *err) {
    kel_tarnbase_type_trace_init();
    kel_record *record = allocate(model, handle, tx_id);
    if (record == nullptr) return nullptr;
    std::memset(record, 0, model.record_size);
    log_write(handle, tx_id, record, sizeof record->descriptor);
    record->descriptor = choose_descriptor(handle, tx_id, model.record_descriptor);
    stamp_correlation(handle, tx_id, record);
    logged_count(handle, tx_id, record->descriptor,
                 usage_record(record->descriptor, 0, 0, TraceModule::table).created, 1);
    *err = 0;
    record->ref_count = 1;
    record->src = src;
    mt_get_tenant_id(&record->tenant_id);
    return record;
}

kel_record *create_record_cr(Model model, kel_handle *handle, std::uint32_t with_objects) {
    handle->cr_fallback_enabled = 1;
    const std::uint32_t tx_id = handle->cr_tx_id;
    kel_record *record =
        create_record(model, handle, tx_id, KEL_SOURCE_DEFAULT, &handle->last_error);
    if (with_objects != 0) {
        record->object = object::create(*model.type, {handle, tx_id});
        if (model.key_type != nullptr) {
            record->key_object = object::create(*model.key_type, {handle, tx_id});
        }
    }
    handle->cr_fallback_enabled = 0;
    return record;
}

std::uint32_t record_add_ref(kel_handle *handle, std::uint32_t, kel_record *record,
                             std::uint32_t *err) {
    if (record == nullptr) {
        report(handle, err, ENOENT);
        return 0;
    }
    return record->ref_count++;  // unlogged, unlike the decrement
}

void destroy_record(Model model, kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                    std::uint32_t *err) {
    if (record == nullptr) {
        report(handle, err, ENOENT);
        return;
    }
    logged_store(handle, tx_id, record->ref_count, record->ref_count - 1);
    if (record->ref_count != 0) return;
    leave_index(model, handle, tx_id, record, err);
    object::destroy(*model.type, {handle, tx_id}, record->object);
    if (model.key_type != nullptr) {
        object::destroy(*model.key_type, {handle, tx_id}, record->key_object);
    }
    require_descriptor(record->descriptor, TraceModule::table);
    logged_count(handle, tx_id, record->descriptor,
                 usage_record(record->descriptor, 0, 0, TraceModule::table).destroyed, 1);
    *err = 0;
    if (!unmap(model, handle, tx_id, record, err)) return;
    logged_store(handle, tx_id, record->descriptor, static_cast<const kel_type_info *>(nullptr));
    if (record != model.fallback) handle->free_hook(handle->arena, tx_id, record);
}

void destroy_record_cr(Model model, kel_handle *handle, kel_record *record) {
    destroy_record(model, handle, handle->cr_tx_id, record, &handle->last_error);
}

void request_record_destroy(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                            kel_record *record, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    if (record == nullptr || table->replication_marked == 0) {
        report(handle, err, EINVAL);
        return;
    }
    keldb_request_record_destroy(handle, tx_id, record, err);
    if (*err != 0) {
        trace_table(KEL_TRACE_ERROR, "(ERR): %s request destroy record failed", model.name);
    }
}

void *pkey_create(Model model, kel_handle *handle, std::uint32_t tx_id) {
    return object::create(model.key_type != nullptr ? *model.key_type : *model.type,
                          {handle, tx_id});
}

void pkey_destroy(Model model, kel_handle *handle, std::uint32_t tx_id, void *key_object) {
    object::destroy(model.key_type != nullptr ? *model.key_type : *model.type, {handle, tx_id},
                    key_object);
}

}  // namespace tarnbase::table
