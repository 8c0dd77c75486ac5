// SPDX-License-Identifier: Apache-2.0
// The state block: one flag byte a field and more for embedded objects. A
// top-level object's block lies right behind it; an embedded object's is its
// share of its parent's.
#include "object/state.h"

#include <cstring>
#include <utility>

#include "frame/conventions.h"
#include "object/fields.h"
#include "object/value_operations.h"

namespace tarnbase::object {

std::uint8_t *state_block(Type type, kel_handle *handle, std::uint32_t tx_id, const void *object,
                          std::uint8_t flags) {
    const std::uint32_t distance = (flags & OBJ_STATE_ELSEWHERE) != 0
                                       ? kellib_get_sttr_offset(handle, tx_id, object)
                                       : type.plain_size;
    return static_cast<std::uint8_t *>(const_cast<void *>(object)) + distance;
}

bool has_state_block(const void *object) {
    return object != nullptr && (header(object)->flags & OBJ_STATE_TRACKED) != 0;
}

namespace {

// Records where the place's state block lies. The service has no error of its own: a
// runtime that can't record it stores one in the handle.
bool record_offset(kel_handle *handle, std::uint32_t tx_id, void *place, std::uint32_t distance,
                   std::uint32_t *err) {
    const std::uint32_t error_before = std::exchange(handle->last_error, 0);
    kellib_update_sttr_offset(handle, tx_id, place, distance);
    if (handle->last_error != 0) {
        *err = handle->last_error;
        return false;
    }
    handle->last_error = error_before;
    return true;
}

}  // namespace

// Stops at the first place that isn't recorded: the object's flags would be taken to
// lie right behind it, in its parent.
void update_offsets(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                    std::uint8_t *sttr_base, std::uint32_t *err) {
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        auto *place = static_cast<std::uint8_t *>(place_of(field, object));
        // The field's own flag byte comes first in its share.
        std::uint8_t *position = sttr_base + field.state + 1;
        const auto distance = static_cast<std::uint32_t>(position - place);
        if (!record_offset(handle, tx_id, place, distance, err)) return;
        operations(field).offset_update(field, handle, tx_id, place, position, err);
    }
}

void offset_update(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                   void *sttr_base, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    update_offsets(type, handle, tx_id, object, static_cast<std::uint8_t *>(sttr_base), err);
}

void offset_remove(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                   std::uint32_t *err) {
    if (!enter(handle, err)) return;
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        void *place = place_of(field, object);
        kel_hd_mapping_destroy(handle, tx_id, place, err);
        operations(field).offset_remove(field, handle, tx_id, place, err);
    }
}

bool admit_write(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                 void *object, std::uint32_t *err) {
    adjust_variant(type, handle, tx_id, object, err);
    return admit_read(field, handle, object, err);
}

bool begin_write(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                 void *object, std::uint32_t *err) {
    if (!enter(handle, err) || !admit_write(type, field, handle, tx_id, object, err)) return false;
    if (object == nullptr) report(handle, err, ENOENT);
    return object != nullptr;
}

bool admit_mark(kel_handle *handle, const void *object, std::uint32_t *err) {
    if (!tracking_is_on(handle) || has_state_block(object)) return true;
    report(handle, err, EINVAL);
    trace_type(KEL_TRACE_ERROR, "(ERR): The object is not state tracked");
    return false;
}

void mark_changed(Type type, std::uint32_t position, kel_handle *handle, std::uint32_t tx_id,
                  void *object) {
    if (!tracking_is_on(handle)) return;
    std::uint8_t *block = state_block(type, handle, tx_id, object, header(object)->flags);
    logged_store(handle, tx_id, block[position], state_changed);
}

void end_write(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id, void *object,
               std::uint32_t *err) {
    if (!admit_mark(handle, object, err)) return;
    mark_changed(type, field.state, handle, tx_id, object);
    kel_set_instance_modified(object, 1, is_small(field.kind), 1);
}

namespace {

// A null control record leaves the question to the object.
bool mode_admits_flags(kel_handle *handle, std::uint32_t *err) {
    if (handle->state_tracking == nullptr || tracking_is_on(handle)) return true;
    report(handle, err, EINVAL);
    return false;
}

}  // namespace

bool admit_flag_get(kel_handle *handle, const void *object, std::uint32_t *err) {
    if (*err != 0 || !mode_admits_flags(handle, err)) return false;
    if (has_state_block(object)) return true;
    report(handle, err, EINVAL);
    trace_type(KEL_TRACE_ERROR, "(ERR): The object is non state tracked");
    return false;
}

bool admit_flag_set(kel_handle *handle, const void *object, std::uint32_t *err) {
    if (*err != 0 || !mode_admits_flags(handle, err)) return false;
    if (has_state_block(object)) return true;
    trace_type(KEL_TRACE_ERROR, "(ERR): The object is not state tracked");
    report(handle, err, EINVAL);
    return false;
}

std::uint8_t state_flag_get(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                            const void *object, std::uint32_t *err) {
    if (!admit_flag_get(handle, object, err)) return 0;
    return state_block(type, handle, tx_id, object, header(object)->flags)[field.state];
}

void state_flag_set(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                    void *object, std::uint8_t flag, std::uint32_t *err) {
    if (!admit_flag_set(handle, object, err)) return;
    if (!admit_write(type, field, handle, tx_id, object, err)) return;
    std::uint8_t *block = state_block(type, handle, tx_id, object, header(object)->flags);
    logged_store(handle, tx_id, block[field.state], flag);
    kel_set_instance_modified(object, 1, is_small(field.kind), 1);
}

// Neither logged nor reported, and no mode word is fatal here.
void set_all_state_tracking_flag(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                                 std::uint8_t flag) {
    const kel_state_tracking *tracking = handle->state_tracking;
    if (tracking == nullptr || tracking->state_tracking_mode != KEL_STATE_TRACKING_ON) return;
    if (!has_state_block(object)) return;
    std::memset(state_block(type, handle, tx_id, object, header(object)->flags), flag,
                type.state_length);
}

}  // namespace tarnbase::object
