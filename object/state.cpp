// SPDX-License-Identifier: Apache-2.0
// The state block: one flag byte for each field and more for embedded objects. A
// top-level object's block follows it directly; an embedded object's is its share of
// its parent's.
#include "object/state.h"

#include <cstring>
#include <utility>

#include "frame/conventions.h"
#include "object/value_operations.h"

namespace tarnbase::object {

std::uint8_t *state_block(Type type, const Call &call, const void *object, std::uint8_t flags) {
    const std::uint32_t distance = (flags & OBJ_STATE_ELSEWHERE) != 0
                                       ? kellib_get_sttr_offset(call.handle, call.tx_id, object)
                                       : type.plain_size;
    return static_cast<std::uint8_t *>(const_cast<void *>(object)) + distance;
}

bool has_state_block(const void *object) {
    return object != nullptr && (header(object)->flags & OBJ_STATE_TRACKED) != 0;
}

namespace {

// Records the distance from `place` to its state block. The service has no error
// argument: a runtime that can't record it stores an error in the handle.
bool record_offset(const Call &call, void *place, std::uint32_t distance) {
    const std::uint32_t error_before = std::exchange(call.handle->last_error, 0);
    kellib_update_sttr_offset(call.handle, call.tx_id, place, distance);
    if (call.handle->last_error != 0) {
        *call.err = call.handle->last_error;
        return false;
    }
    call.handle->last_error = error_before;
    return true;
}

}  // namespace

// Stops at the first offset that isn't recorded: without it the object's flags would
// be looked for directly after the object, inside its parent.
void update_offsets(Type type, const Call &call, void *object, std::uint8_t *sttr_base) {
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        auto *place = static_cast<std::uint8_t *>(place_of(field, object));
        // The field's own flag byte comes first in its share.
        std::uint8_t *position = sttr_base + field.state + 1;
        if (!record_offset(call, place, static_cast<std::uint32_t>(position - place))) return;
        operations(field).offset_update(field, call, place, position);
    }
}

void offset_update(Type type, const Call &call, void *object, void *sttr_base) {
    if (!call.enter()) return;
    update_offsets(type, call, object, static_cast<std::uint8_t *>(sttr_base));
}

void offset_remove(Type type, const Call &call, void *object) {
    if (!call.enter()) return;
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        void *place = place_of(field, object);
        kel_hd_mapping_destroy(call.handle, call.tx_id, place, call.err);
        operations(field).offset_remove(field, call, place);
    }
}

bool admit_write(Member member, const Call &call, void *object) {
    adjust_variant(member.type, call, object);
    return admit_read(member.field, call, object);
}

bool begin_write(Member member, const Call &call, void *object) {
    if (!call.enter() || !admit_write(member, call, object)) return false;
    if (object == nullptr) call.report(ENOENT);
    return object != nullptr;
}

namespace {

// With tracking on: whether the object has a state block, else reports EINVAL.
bool require_state_block(const Call &call, const void *object) {
    if (has_state_block(object)) return true;
    call.report(EINVAL);
    trace_type(KEL_TRACE_ERROR, "(ERR): The object is not state tracked");
    return false;
}

void mark(Type type, const Call &call, void *object, std::uint32_t position) {
    std::uint8_t *block = state_block(type, call, object);
    call.logged_store(block[position], state_changed);
}

}  // namespace

bool admit_mark(const Call &call, const void *object) {
    return !tracking_is_on(call.handle) || require_state_block(call, object);
}

void mark_changed(Type type, const Call &call, void *object, std::uint32_t position) {
    if (tracking_is_on(call.handle)) mark(type, call, object, position);
}

void end_write(Member member, const Call &call, void *object) {
    if (tracking_is_on(call.handle)) {
        if (!require_state_block(call, object)) return;
        mark(member.type, call, object, member.field.state);
    }
    set_modified(object, field_instance(member.field));
}

namespace {

// A null control record leaves the decision to the object.
bool mode_admits_flags(const Call &call) {
    if (call.handle->state_tracking == nullptr || tracking_is_on(call.handle)) return true;
    call.report(EINVAL);
    return false;
}

}  // namespace

bool admit_flag_get(const Call &call, const void *object) {
    if (call.failed() || !mode_admits_flags(call)) return false;
    if (has_state_block(object)) return true;
    call.report(EINVAL);
    trace_type(KEL_TRACE_ERROR, "(ERR): The object is non state tracked");
    return false;
}

bool admit_flag_set(const Call &call, const void *object) {
    if (call.failed() || !mode_admits_flags(call)) return false;
    if (has_state_block(object)) return true;
    trace_type(KEL_TRACE_ERROR, "(ERR): The object is not state tracked");
    call.report(EINVAL);
    return false;
}

std::uint8_t state_flag_get(Member member, const Call &call, const void *object) {
    if (!admit_flag_get(call, object)) return 0;
    return state_block(member.type, call, object)[member.field.state];
}

void state_flag_set(Member member, const Call &call, void *object, std::uint8_t flag) {
    if (!admit_flag_set(call, object)) return;
    if (!admit_write(member, call, object)) return;
    std::uint8_t *block = state_block(member.type, call, object);
    call.logged_store(block[member.field.state], flag);
    set_modified(object, field_instance(member.field));
}

// Neither logged nor reported, and no mode word is fatal here.
void set_all_state_tracking_flag(Type type, const Call &call, void *object, std::uint8_t flag) {
    const kel_state_tracking *tracking = call.handle->state_tracking;
    if (tracking == nullptr || tracking->state_tracking_mode != KEL_STATE_TRACKING_ON) return;
    if (!has_state_block(object)) return;
    std::memset(state_block(type, call, object), flag, type.state_length);
}

}  // namespace tarnbase::object
