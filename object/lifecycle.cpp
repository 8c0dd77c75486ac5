// SPDX-License-Identifier: Apache-2.0
// From raw memory to a live object, and back.
#include <cstring>

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

void *create(Type type, const Call &call) {
    kel_tarnbase_type_trace_init();
    return create_internal(type, call);
}

void *create_cr(Type type, kel_handle *handle) {
    kel_tarnbase_type_trace_init();
    handle->cr_fallback_enabled = 1;
    void *object = create_internal(type, Call::cr(handle));
    handle->cr_fallback_enabled = 0;
    return object;
}

namespace {

// The offsets that a failed creation has recorded would outlive the object.
void drop_offsets(Type type, const Call &call, void *object) {
    if (!tracking_is_on(call.handle)) return;
    const std::uint32_t last_error = call.handle->last_error;
    std::uint32_t ignored = 0;
    offset_remove(type, call.reporting_in(ignored), object);
    call.handle->last_error = last_error;
}

}  // namespace

void *create_internal(Type type, const Call &call) {
    kel_handle *handle = call.handle;
    if (handle->cr_fallback_enabled != 0 && handle->last_error != 0) return type.fallback;
    const std::uint32_t size = size_of(type, handle);
    void *object = handle->alloc_hook(handle->arena, call.tx_id, size);
    if (object == nullptr) {
        if (handle->cr_fallback_enabled == 0) return nullptr;
        if (handle->last_error == 0) kel_store_err(handle, ENOMEM);
        return type.fallback;
    }
    std::memset(object, 0, size);
    std::uint32_t error = 0;
    initialize(type, call.reporting_in(error), object, {.descriptor = type.descriptor});
    if (error == 0) return object;
    trace_type(KEL_TRACE_ERROR, "(ERR): error in %s create: %s", type.name, error_text(error));
    drop_offsets(type, call, object);
    handle->free_hook(handle->arena, call.tx_id, object);
    return nullptr;
}

namespace {

void count_created(Type type, const Call &call, const kel_object *object) {
    const kel_type_info *descriptor = object->descriptor;
    kel_variant_usage &usage =
        usage_record(descriptor, object->variant, usage_index(object->variant, type.top_variant),
                     TraceModule::type);
    logged_count(call, descriptor, usage.created, 1);
    *call.err = 0;
    logged_count(call, descriptor, usage.live, 1);
    *call.err = 0;
}

void count_destroyed(Type type, const Call &call, const kel_object *object) {
    const kel_type_info *descriptor = object->descriptor;
    require_descriptor(descriptor, TraceModule::type);
    const std::int8_t variant = variant_of(object);
    kel_variant_usage &usage = usage_record(
        descriptor, variant, usage_index(variant, type.top_variant), TraceModule::type);
    logged_count(call, descriptor, usage.destroyed, 1);
    logged_count(call, descriptor, usage.live, -1);
}

// Records the shares of a tracked object's embedded objects in the state block.
// `sttr_base` becomes the one that the fields are initialised with. False: the
// object is nested, and the caller has passed no share for it.
bool place_state(Type type, const Call &call, kel_object *object, void **sttr_base) {
    const bool elsewhere = (object->flags & OBJ_STATE_ELSEWHERE) != 0;
    if ((object->flags & OBJ_NESTED) != 0) {
        if (*sttr_base == nullptr) {
            call.report(EINVAL);
            trace_type(KEL_TRACE_ERROR,
                       "(ERR): sttr_base can not be NULL in NESTED case. Please check the parent "
                       "object and provide the correct state tracking base pointer");
            return false;
        }
        if (!elsewhere) return true;
    }
    if (*sttr_base == nullptr) *sttr_base = reinterpret_cast<char *>(object) + type.plain_size;
    std::uint8_t *base = elsewhere ? state_block(type, call, object, object->flags)
                                   : static_cast<std::uint8_t *>(*sttr_base);
    update_offsets(type, call, object, base);
    return true;
}

}  // namespace

void initialize(Type type, const Call &call, void *object, const Initial &initial) {
    if (!call.enter()) return;
    const std::int8_t variant =
        variant_data_index_cap(type, domain_variant(call, initial.descriptor));
    write_header(call, header(object), variant, initial);
    const bool tracked = tracking_is_on(call.handle);
    if (tracked) add_flags(call, header(object), OBJ_STATE_TRACKED, initial.log_writes);
    Initial of_fields = initial;
    if (initial.quiet == 0) {
        count_created(type, call, header(object));
        if (tracked && !place_state(type, call, header(object), &of_fields.sttr_base)) return;
    }
    for (const Field &field : fields_of(type)) {
        if (!has_header(field.kind)) continue;
        operations(field).initialize(field, call, place_of(field, object), of_fields);
    }
}

void set_instance_embedded(Type type, const Call &call, void *object) {
    if (object == nullptr) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Invalid object pointer passed in to set instance flag");
        return;
    }
    for (const Field &field : fields_of(type)) {
        if (!has_header(field.kind)) continue;
        operations(field).set_instance_embedded(field, call, place_of(field, object));
    }
    add_flags(call, header(object), OBJ_EMBEDDED, 1);
}

std::uint32_t get_oid_count(const Call &call, const void *object) {
    if (call.failed()) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Error already present in call to get object oid count");
    } else if (object == nullptr) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Invalid object passed in to get object oid count");
        call.report(EINVAL);
    }
    return 0;
}

void get_object_references(const Call &call, const void *object) {
    if (call.failed()) {
        trace_type(KEL_TRACE_ERROR,
                   "(ERR): Error present in call to get table references from object");
    } else if (object == nullptr) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Cannot get table references. Invalid object passed on");
        call.report(EINVAL);
    }
}

namespace {

// Whether a mapped object may be destroyed: false while something refers to it.
bool leave_oid_mapping(Type type, const Call &call, void *object) {
    const std::uint32_t gone =
        kel_request_oid_mapping_destroy(call.handle, call.tx_id, object, call.err);
    if (call.failed()) {
        trace_type(KEL_TRACE_ERROR,
                   "(ERR): %s destroy: Failed to remove oid mapping for object. Error %s",
                   type.name, error_text(*call.err));
        kel_store_err(call.handle, *call.err);
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

// Releases the references that a field holds. They are on the stack of this call,
// hence one call for each field, never inlined.
[[gnu::noinline]] bool drop_references(Member member, const Call &call, void *place,
                                       std::uint32_t count) {
    const char *type_name = member.type.name;
    auto *references =
        static_cast<std::uint64_t *>(__builtin_alloca(count * sizeof(std::uint64_t)));
    operations(member.field).get_object_references(member.field, call, place, references, count);
    if (call.failed()) {
        trace_type(KEL_TRACE_ERROR,
                   "(ERR): %s destroy: Failed to get oid references from object. Error %s",
                   type_name, error_text(*call.err));
        return false;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        kellib_lookup_and_update_oid_ref_count(call.handle, call.tx_id, references[i], 0, call.err);
        if (!call.failed()) continue;
        trace_type(KEL_TRACE_ERROR,
                   "(ERR): %s destroy: Failed to decrement ref count of oid %p. Error %s",
                   type_name, reinterpret_cast<void *>(references[i]), error_text(*call.err));
        *call.err = 0;
    }
    return true;
}

bool destroy_fields(Type type, const Call &call, void *object) {
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        void *place = place_of(field, object);
        const std::uint32_t count = operations(field).get_oid_count(field, call, place);
        if (count != 0 && !drop_references({type, field}, call, place, count)) return false;
        operations(field).destroy_internal(field, call, place);
    }
    return true;
}

bool leave_hd_mapping(Type type, const Call &call, void *object) {
    const bool mapped = (header(object)->flags & (OBJ_RA_DATA | OBJ_STATE_ELSEWHERE)) != 0;
    if (!mapped || call.handle->hd_mapping_enabled == 0) return true;
    kel_hd_mapping_destroy(call.handle, call.tx_id, object, call.err);
    if (!call.failed()) return true;
    trace_type(KEL_TRACE_ERROR,
               "(ERR): %s destroy: Failed to remove oid mapping for object. Error %s", type.name,
               error_text(*call.err));
    kel_store_err(call.handle, *call.err);
    return false;
}

}  // namespace

void destroy(Type type, const Call &call, void *object) {
    if (object == type.fallback) return;
    destroy_internal(type, call, object, Release::free);
}

void destroy_cr(Type type, kel_handle *handle, void *object) {
    destroy_internal(type, Call::cr(handle), object, Release::free);
}

void destroy_internal(Type type, const Call &outer, void *object, Release release) {
    if (object == nullptr || object == type.fallback) return;
    std::uint32_t error = 0;
    const Call call = outer.reporting_in(error);
    kel_object *head = header(object);
    if ((head->flags & OBJ_OID_MAPPED) != 0 && !leave_oid_mapping(type, call, object)) return;
    if (!destroy_fields(type, call, object)) return;
    // The offset is not used: the runtime may rely on the call.
    constexpr unsigned away = OBJ_STATE_TRACKED | OBJ_STATE_ELSEWHERE;
    if ((head->flags & away) == away) kellib_get_sttr_offset(call.handle, call.tx_id, object);
    count_destroyed(type, call, head);
    if (!leave_hd_mapping(type, call, object) || release == Release::keep) return;
    call.logged_store<const kel_type_info *>(head->descriptor, nullptr);
    call.handle->free_hook(call.handle->arena, call.tx_id, object);
}

void post_copyout_cleanup(Type type, const Call &call, void *destination, const void *source) {
    if (!call.enter()) return;
    own_embedded(type, call, destination, source);
}

}  // namespace tarnbase::object
