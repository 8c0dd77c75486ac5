// SPDX-License-Identifier: Apache-2.0
// From raw memory to a live object, and back.
#include <cstring>

#include "frame/conventions.h"
#include "object/copy.h"
#include "object/fields.h"
#include "object/header.h"
#include "object/object.h"
#include "object/state.h"
#include "object/value_operations.h"

namespace tarnbase::object {

std::uint32_t size_of(Type type, const kel_handle *handle) {
    return type.plain_size + (tracking_is_on(handle) ? type.state_length : 0);
}

void *create(Type type, kel_handle *handle, std::uint32_t tx_id) {
    kel_tarnbase_type_trace_init();
    return create_internal(type, handle, tx_id);
}

void *create_cr(Type type, kel_handle *handle) {
    kel_tarnbase_type_trace_init();
    handle->cr_fallback_enabled = 1;
    void *object = create_internal(type, handle, handle->cr_tx_id);
    handle->cr_fallback_enabled = 0;
    return object;
}

namespace {

// The places that a failed creation has recorded would outlive the object.
void forget_offsets(Type type, kel_handle *handle, std::uint32_t tx_id, void *object) {
    if (!tracking_is_on(handle)) return;
    const std::uint32_t last_error = handle->last_error;
    std::uint32_t ignored = 0;
    offset_remove(type, handle, tx_id, object, &ignored);
    handle->last_error = last_error;
}

}  // namespace

void *create_internal(Type type, kel_handle *handle, std::uint32_t tx_id) {
    if (handle->cr_fallback_enabled != 0 && handle->last_error != 0) return type.fallback;
    const std::uint32_t size = size_of(type, handle);
    void *object = handle->alloc_hook(handle->arena, tx_id, size);
    if (object == nullptr) {
        if (handle->cr_fallback_enabled == 0) return nullptr;
        if (handle->last_error == 0) kel_store_err(handle, ENOMEM);
        return type.fallback;
    }
    std::memset(object, 0, size);
    std::uint32_t error = 0;
    initialize(type, handle, tx_id, object, type.descriptor, 1, 0, 0, nullptr, &error);
    if (error == 0) return object;
    trace_type(KEL_TRACE_ERROR, "(ERR): error in %s create: %s", type.name, error_text(error));
    forget_offsets(type, handle, tx_id, object);
    handle->free_hook(handle->arena, tx_id, object);
    return nullptr;
}

namespace {

void count_created(Type type, kel_handle *handle, std::uint32_t tx_id, const kel_object *object,
                   std::uint32_t *err) {
    const kel_type_info *descriptor = object->descriptor;
    kel_variant_usage &usage =
        usage_record(descriptor, object->variant, usage_index(object->variant, type.top_variant),
                     TraceModule::type);
    logged_count(handle, tx_id, descriptor, usage.created, 1);
    *err = 0;
    logged_count(handle, tx_id, descriptor, usage.live, 1);
    *err = 0;
}

void count_destroyed(Type type, kel_handle *handle, std::uint32_t tx_id, const kel_object *object) {
    const kel_type_info *descriptor = object->descriptor;
    require_descriptor(descriptor, TraceModule::type);
    const std::int8_t variant = variant_of(object);
    kel_variant_usage &usage = usage_record(
        descriptor, variant, usage_index(variant, type.top_variant), TraceModule::type);
    logged_count(handle, tx_id, descriptor, usage.destroyed, 1);
    logged_count(handle, tx_id, descriptor, usage.live, -1);
}

// Gives the embedded objects of a tracked object their places in the state block.
// `sttr_base` becomes what the fields are to be initialised with. False: the
// object is nested and nobody told it where its block is.
bool place_state(Type type, kel_handle *handle, std::uint32_t tx_id, kel_object *object,
                 void **sttr_base, std::uint32_t *err) {
    const bool elsewhere = (object->flags & OBJ_STATE_ELSEWHERE) != 0;
    if ((object->flags & OBJ_NESTED) != 0) {
        if (*sttr_base == nullptr) {
            report(handle, err, EINVAL);
            trace_type(KEL_TRACE_ERROR,
                       "(ERR): sttr_base can not be NULL in NESTED case. Please check the parent "
                       "object and provide the correct state tracking base pointer");
            return false;
        }
        if (!elsewhere) return true;
    }
    if (*sttr_base == nullptr) *sttr_base = reinterpret_cast<char *>(object) + type.plain_size;
    std::uint8_t *base = elsewhere ? state_block(type, handle, tx_id, object, object->flags)
                                   : static_cast<std::uint8_t *>(*sttr_base);
    update_offsets(type, handle, tx_id, object, base, err);
    return true;
}

}  // namespace

void initialize(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                const kel_type_info *descriptor, std::uint32_t log_writes, std::uint32_t quiet,
                std::uint8_t flags, void *sttr_base, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    const std::int8_t variant =
        variant_data_index_cap(type, domain_variant(handle, descriptor, err));
    write_header(handle, tx_id, header(object), variant, descriptor, flags, log_writes);
    const bool tracked = tracking_is_on(handle);
    if (tracked) add_flags(handle, tx_id, header(object), OBJ_STATE_TRACKED, log_writes);
    if (quiet == 0) {
        count_created(type, handle, tx_id, header(object), err);
        if (tracked && !place_state(type, handle, tx_id, header(object), &sttr_base, err)) return;
    }
    for (const Field &field : fields_of(type)) {
        if (!is_embedded(field.kind)) continue;
        operations(field).initialize(field, handle, tx_id, place_of(field, object), log_writes,
                                     quiet, sttr_base, err);
    }
}

void set_instance_embedded(Type type, kel_handle *handle, std::uint32_t tx_id, void *object) {
    if (object == nullptr) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Invalid object pointer passed in to set instance flag");
        return;
    }
    for (const Field &field : fields_of(type)) {
        if (!is_embedded(field.kind)) continue;
        operations(field).set_instance_embedded(field, handle, tx_id, place_of(field, object));
    }
    add_flags(handle, tx_id, header(object), OBJ_EMBEDDED, 1);
}

std::uint32_t get_oid_count(kel_handle *handle, std::uint32_t, void *object, std::uint32_t *err) {
    if (*err != 0) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Error already present in call to get object oid count");
    } else if (object == nullptr) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Invalid object passed in to get object oid count");
        report(handle, err, EINVAL);
    }
    return 0;
}

void get_object_references(kel_handle *handle, std::uint32_t, void *object, std::uint64_t *,
                           std::uint32_t, std::uint32_t *err) {
    if (*err != 0) {
        trace_type(KEL_TRACE_ERROR,
                   "(ERR): Error present in call to get table references from object");
    } else if (object == nullptr) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Cannot get table references. Invalid object passed on");
        report(handle, err, EINVAL);
    }
}

namespace {

// Whether a mapped object may go: false while something refers to it.
bool leave_oid_mapping(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                       std::uint32_t *error) {
    const std::uint32_t gone = kel_request_oid_mapping_destroy(handle, tx_id, object, error);
    if (*error != 0) {
        trace_type(KEL_TRACE_ERROR,
                   "(ERR): %s destroy: Failed to remove oid mapping for object. Error %s",
                   type.name, error_text(*error));
        kel_store_err(handle, *error);
        return false;
    }
    if (gone == 0) {
        trace_type(KEL_TRACE_INFO,
                   "(info): %s destroy: Object has references and will be cleaned up when all of "
                   "them are released",
                   type.name);
        return false;
    }
    trace_type(KEL_TRACE_DEBUG, "(debug): %s destroy: Successfully removed OID mapping", type.name);
    return true;
}

// Takes back the references that a field holds. They stand on the stack of this
// call, hence one call a field, never inlined.
[[gnu::noinline]] bool drop_references(Type type, const Field &field, kel_handle *handle,
                                       std::uint32_t tx_id, void *place, std::uint32_t count,
                                       std::uint32_t *error) {
    auto *references =
        static_cast<std::uint64_t *>(__builtin_alloca(count * sizeof(std::uint64_t)));
    operations(field).get_object_references(field, handle, tx_id, place, references, count, error);
    if (*error != 0) {
        trace_type(KEL_TRACE_ERROR,
                   "(ERR): %s destroy: Failed to get oid references from object. Error %s",
                   type.name, error_text(*error));
        return false;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        kellib_lookup_and_update_oid_ref_count(handle, tx_id, references[i], 0, error);
        if (*error == 0) continue;
        trace_type(KEL_TRACE_ERROR,
                   "(ERR): %s destroy: Failed to decrement ref count of oid %p. Error %s",
                   type.name, reinterpret_cast<void *>(references[i]), error_text(*error));
        *error = 0;
    }
    return true;
}

bool destroy_fields(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                    std::uint32_t *error) {
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        void *place = place_of(field, object);
        const std::uint32_t count =
            operations(field).get_oid_count(field, handle, tx_id, place, error);
        if (count != 0 && !drop_references(type, field, handle, tx_id, place, count, error)) {
            return false;
        }
        operations(field).destroy_internal(field, handle, tx_id, place);
    }
    return true;
}

bool leave_hd_mapping(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                      std::uint32_t *error) {
    const bool mapped = (header(object)->flags & (OBJ_RA_DATA | OBJ_STATE_ELSEWHERE)) != 0;
    if (!mapped || handle->hd_mapping_enabled == 0) return true;
    kel_hd_mapping_destroy(handle, tx_id, object, error);
    if (*error == 0) return true;
    trace_type(KEL_TRACE_ERROR,
               "(ERR): %s destroy: Failed to remove oid mapping for object. Error %s", type.name,
               error_text(*error));
    kel_store_err(handle, *error);
    return false;
}

}  // namespace

void destroy(Type type, kel_handle *handle, std::uint32_t tx_id, void *object) {
    if (object == type.fallback) return;
    destroy_internal(type, handle, tx_id, object, 1);
}

void destroy_cr(Type type, kel_handle *handle, void *object) {
    destroy_internal(type, handle, handle->cr_tx_id, object, 1);
}

void destroy_internal(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                      std::uint32_t release) {
    if (object == nullptr || object == type.fallback) return;
    std::uint32_t error = 0;
    kel_object *head = header(object);
    if ((head->flags & OBJ_OID_MAPPED) != 0 &&
        !leave_oid_mapping(type, handle, tx_id, object, &error)) {
        return;
    }
    if (!destroy_fields(type, handle, tx_id, object, &error)) return;
    // The distance is asked for and not used: the runtime may count on the call.
    constexpr unsigned away = OBJ_STATE_TRACKED | OBJ_STATE_ELSEWHERE;
    if ((head->flags & away) == away) kellib_get_sttr_offset(handle, tx_id, object);
    count_destroyed(type, handle, tx_id, head);
    if (!leave_hd_mapping(type, handle, tx_id, object, &error) || release == 0) return;
    logged_store<const kel_type_info *>(handle, tx_id, head->descriptor, nullptr);
    handle->free_hook(handle->arena, tx_id, object);
}

void post_copyout_cleanup(Type type, kel_handle *handle, std::uint32_t tx_id, void *destination,
                          const void *source, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    own_embedded(type, handle, tx_id, destination, source, err);
}

}  // namespace tarnbase::object
