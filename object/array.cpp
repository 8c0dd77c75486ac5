// SPDX-License-Identifier: Apache-2.0
// An array field: its elements are plain bytes of the body; its state share is a flag
// for the array as a whole, then one for each element.
#include "object/array.h"

#include <cstring>

#include "object/element_path.h"
#include "object/labelled_run.h"
#include "object/runs.h"
#include "object/state.h"

namespace tarnbase::object {

namespace {

std::uint8_t *elements_of(const Field &field, void *object) {
    return static_cast<std::uint8_t *>(place_of(field, object));
}

std::uint32_t element_flag(const Field &field, std::uint32_t index) {
    return field.state + 1 + index;
}

void mark_element(Member member, const Call &call, void *object, std::uint32_t index) {
    mark_changed(member.type, call, object, member.field.state);
    mark_changed(member.type, call, object, element_flag(member.field, index));
}

}  // namespace

void array_get_mem(Member member, const Call &call, const void *object, void *out,
                   std::int32_t length) {
    const Field &field = member.field;
    if (!call.enter() || !admit_read(field, call, object)) return;
    if (length > static_cast<std::int32_t>(field.elements)) {
        call.report(EINVAL);
        return;
    }
    if (length > 0) std::memcpy(out, place_of(field, object), static_cast<std::size_t>(length));
}

std::uint8_t *array_get(Member member, const Call &call, void *object, std::uint32_t index) {
    const Field &field = member.field;
    if (!call.enter() || !admit_read(field, call, object)) return nullptr;
    if (index >= field.elements) {
        call.report(ENOENT);
        return nullptr;
    }
    std::uint8_t *elements = elements_of(field, object);
    return u_int8_get(call.handle, call.tx_id, elements == nullptr ? nullptr : elements + index,
                      call.err);
}

std::uint8_t array_get_value(Member member, const Call &call, void *object, std::uint32_t index) {
    if (!call.enter() || !admit_read(member.field, call, object)) return 0;
    const std::uint8_t *access = array_get(member, call, object, index);
    if (access == nullptr) return 0;
    return u_int8_get_value(call.handle, call.tx_id, access, call.err);
}

void array_set_mem(Member member, const Call &call, void *object, const void *source,
                   std::int32_t length) {
    const Field &field = member.field;
    if (!begin_write(member, call, object)) return;
    if (length > static_cast<std::int32_t>(field.elements)) {
        call.report(EINVAL);
        return;
    }
    if (!admit_mark(call, object)) return;
    if (length > 0) {
        const auto size = static_cast<std::size_t>(length);
        call.log_write(elements_of(field, object), size);
        std::memcpy(elements_of(field, object), source, size);
    }
    mark_changed(member.type, call, object, field.state);
    set_modified(object, whole_structure);
}

std::uint32_t array_set_mem_cr(Member member, kel_handle *handle, void *object, const void *source,
                               std::int32_t length) {
    array_set_mem(member, Call::cr(handle), object, source, length);
    return handle->last_error;
}

// Requires: `index` is an element's. No modified mark: array_set_value sets one.
void array_set(Member member, const Call &call, void *object, std::uint32_t index,
               const std::uint8_t *source) {
    if (!begin_write(member, call, object) || source == nullptr) return;
    u_int8_set(call.handle, call.tx_id, elements_of(member.field, object) + index, source,
               call.err);
    if (!admit_mark(call, object)) return;
    mark_element(member, call, object, index);
}

void array_set_value(Member member, const Call &call, void *object, std::uint32_t index,
                     std::uint8_t value) {
    if (!begin_write(member, call, object)) return;
    std::uint32_t ignored = 0;
    std::uint8_t *access = array_get(member, call.reporting_in(ignored), object, index);
    // Once more, so that the caller gets the error.
    if (access == nullptr) access = array_get(member, call, object, index);
    if (access == nullptr) {
        if (!call.failed()) call.report(ENOENT);
        return;
    }
    u_int8_set_value(call.handle, call.tx_id, access, value, call.err);
    if (!admit_mark(call, object)) return;
    mark_element(member, call, object, index);
    set_modified(object, whole_structure);
}

std::uint8_t array_state_flag_get(Member member, const Call &call, const void *object,
                                  std::uint32_t index) {
    if (!admit_flag_get(call, object)) return 0;
    if (index >= member.field.elements) {
        call.report(ENOENT);
        return 0;
    }
    return state_block(member.type, call, object)[element_flag(member.field, index)];
}

void array_state_flag_get_arr(Member member, const Call &call, void *object, std::uint8_t **out) {
    if (!admit_flag_get(call, object)) return;
    *out = state_block(member.type, call, object) + element_flag(member.field, 0);
}

void array_state_flag_set(Member member, const Call &call, void *object, std::uint32_t index,
                          std::uint8_t flag) {
    if (!admit_flag_set(call, object)) return;
    if (index >= member.field.elements) {
        call.report(ENOENT);
        return;
    }
    if (!admit_write(member, call, object)) return;
    std::uint8_t *block = state_block(member.type, call, object);
    call.logged_store(block[element_flag(member.field, index)], flag);
    set_modified(object, whole_structure);
}

// Fills the object's block from its start, without announcing it: the flags of the
// fields before the array are overwritten too.
void array_state_flag_set_arr(Member member, const Call &call, void *object, const void *source,
                              std::uint32_t length) {
    if (!admit_flag_set(call, object)) return;
    if (length != member.field.elements) {
        call.report(ENOENT);
        return;
    }
    if (!admit_write(member, call, object)) return;
    std::memcpy(state_block(member.type, call, object), source, length);
    set_modified(object, whole_structure);
}

// ---- The forms ------------------------------------------------------------------

namespace {

const std::uint8_t *element(const void *place, std::uint32_t index) {
    return place == nullptr ? nullptr : static_cast<const std::uint8_t *>(place) + index;
}

}  // namespace

using Array = Value<FieldKind::array>;

std::uint32_t Array::len(const Field &field, const Call &call, const void *place) {
    return field.elements * u_int8_len(call.handle, call.tx_id, element(place, 0));
}

std::uint32_t Array::marshal(const Field &field, const Call &call, Output out, const void *place) {
    if (const kel_marshal_run run = run_operations_of(FieldKind::array).marshal) {
        return run(call.handle, call.tx_id, out.at(), place, field.elements, out.remaining(),
                   call.err);
    }
    for (std::uint32_t i = 0; i < field.elements; ++i) {
        out.advance(u_int8_marshal(call.handle, call.tx_id, out.at(), element(place, i),
                                   out.remaining(), call.err));
    }
    return out.used();
}

std::uint32_t Array::unmarshal(const Field &field, const Call &call, Input in, void *place,
                               InPlace in_place) {
    if (const kel_unmarshal_run run = run_operations_of(FieldKind::array).unmarshal) {
        return run(call.handle, call.tx_id, in.at(), place, field.elements, in.remaining(),
                   static_cast<std::uint32_t>(in_place), call.err);
    }
    auto *elements = static_cast<std::uint8_t *>(place);
    for (std::uint32_t i = 0; i < field.elements; ++i) {
        in.advance(u_int8_unmarshal(call.handle, call.tx_id, in.at(), elements + i, in.remaining(),
                                    static_cast<std::uint32_t>(in_place), call.err));
    }
    return in.used();
}

std::uint32_t Array::print(const Field &field, const Call &call, Output out, std::uint32_t indent,
                           const void *place) {
    const kel_print_run print_run = run_operations_of(FieldKind::array).print;
    each_piece(field, place, ElementLabels(field), [&](const kel_labelled_run &run) {
        if (print_run != nullptr) {
            out.advance(print_run(call.handle, call.tx_id, out.at(), indent, &run, out.remaining(),
                                  call.err));
            return;
        }
        for (std::uint32_t i = 0; i < run.count; ++i) {
            out.advance(u_int8_print(call.handle, call.tx_id, out.at(), indent, run.labels[i].name,
                                     element(run.values, i), out.remaining(), call.err));
        }
    });
    return out.used();
}

void Array::from_xml(const Field &field, const Call &call, const XmlElement &array, void *place) {
    auto *elements = static_cast<std::uint8_t *>(place);
    ElementPath path(array.path);
    for (std::uint32_t i = 0; i < field.elements; ++i) {
        u_int8_from_xml(call.handle, call.tx_id, path.at_index(i + 1), array.document, elements + i,
                        call.err, array.message, array.message_len);
        if (call.failed()) return;
    }
}

}  // namespace tarnbase::object
