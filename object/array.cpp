// SPDX-License-Identifier: Apache-2.0
// An array field: its elements are plain bytes of the body; its state share is a
// flag for the array as a whole, then one an element.
#include "object/array.h"

#include <cstdio>
#include <cstring>

#include "frame/conventions.h"
#include "object/fields.h"
#include "object/state.h"

namespace tarnbase::object {

namespace {

std::uint8_t *elements_of(const Field &field, void *object) {
    return static_cast<std::uint8_t *>(place_of(field, object));
}

std::uint32_t element_flag(const Field &field, std::uint32_t index) {
    return field.state + 1 + index;
}

void mark_element(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                  void *object, std::uint32_t index) {
    mark_changed(type, field.state, handle, tx_id, object);
    mark_changed(type, element_flag(field, index), handle, tx_id, object);
}

}  // namespace

void array_get_mem(Type, const Field &field, kel_handle *handle, std::uint32_t, const void *object,
                   void *out, std::int32_t length, std::uint32_t *err) {
    if (!enter(handle, err) || !admit_read(field, handle, object, err)) return;
    if (length > static_cast<std::int32_t>(field.elements)) {
        report(handle, err, EINVAL);
        return;
    }
    if (length > 0) std::memcpy(out, place_of(field, object), static_cast<std::size_t>(length));
}

std::uint8_t *array_get(Type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                        void *object, std::uint32_t index, std::uint32_t *err) {
    if (!enter(handle, err) || !admit_read(field, handle, object, err)) return nullptr;
    if (index >= field.elements) {
        report(handle, err, ENOENT);
        return nullptr;
    }
    std::uint8_t *elements = elements_of(field, object);
    return u_int8_get(handle, tx_id, elements == nullptr ? nullptr : elements + index, err);
}

std::uint8_t array_get_value(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                             void *object, std::uint32_t index, std::uint32_t *err) {
    if (!enter(handle, err) || !admit_read(field, handle, object, err)) return 0;
    const std::uint8_t *access = array_get(type, field, handle, tx_id, object, index, err);
    return access == nullptr ? std::uint8_t{0} : u_int8_get_value(handle, tx_id, access, err);
}

void array_set_mem(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                   void *object, const void *source, std::int32_t length, std::uint32_t *err) {
    if (!begin_write(type, field, handle, tx_id, object, err)) return;
    if (length > static_cast<std::int32_t>(field.elements)) {
        report(handle, err, EINVAL);
        return;
    }
    if (!admit_mark(handle, object, err)) return;
    if (length > 0) {
        const auto size = static_cast<std::size_t>(length);
        log_write(handle, tx_id, elements_of(field, object), size);
        std::memcpy(elements_of(field, object), source, size);
    }
    mark_changed(type, field.state, handle, tx_id, object);
    kel_set_instance_modified(object, 1, 0, 1);
}

std::uint32_t array_set_mem_cr(Type type, const Field &field, kel_handle *handle, void *object,
                               const void *source, std::int32_t length) {
    array_set_mem(type, field, handle, handle->cr_tx_id, object, source, length,
                  &handle->last_error);
    return handle->last_error;
}

// Requires: `index` is an element's. No modified mark: array_set_value sets one.
void array_set(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id, void *object,
               std::uint32_t index, const std::uint8_t *source, std::uint32_t *err) {
    if (!begin_write(type, field, handle, tx_id, object, err) || source == nullptr) return;
    u_int8_set(handle, tx_id, elements_of(field, object) + index, source, err);
    if (!admit_mark(handle, object, err)) return;
    mark_element(type, field, handle, tx_id, object, index);
}

void array_set_value(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                     void *object, std::uint32_t index, std::uint8_t value, std::uint32_t *err) {
    if (!begin_write(type, field, handle, tx_id, object, err)) return;
    std::uint32_t slot = 0;
    std::uint8_t *access = array_get(type, field, handle, tx_id, object, index, &slot);
    // Once more, so that the caller gets the error.
    if (access == nullptr) access = array_get(type, field, handle, tx_id, object, index, err);
    if (access == nullptr) {
        if (*err == 0) report(handle, err, ENOENT);
        return;
    }
    u_int8_set_value(handle, tx_id, access, value, err);
    if (!admit_mark(handle, object, err)) return;
    mark_element(type, field, handle, tx_id, object, index);
    kel_set_instance_modified(object, 1, 0, 1);
}

std::uint8_t array_state_flag_get(Type type, const Field &field, kel_handle *handle,
                                  std::uint32_t tx_id, const void *object, std::uint32_t index,
                                  std::uint32_t *err) {
    if (!admit_flag_get(handle, object, err)) return 0;
    if (index >= field.elements) {
        report(handle, err, ENOENT);
        return 0;
    }
    return state_block(type, handle, tx_id, object,
                       header(object)->flags)[element_flag(field, index)];
}

void array_state_flag_get_arr(Type type, const Field &field, kel_handle *handle,
                              std::uint32_t tx_id, void *object, std::uint8_t **out,
                              std::uint32_t *err) {
    if (!admit_flag_get(handle, object, err)) return;
    *out = state_block(type, handle, tx_id, object, header(object)->flags) + element_flag(field, 0);
}

void array_state_flag_set(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                          void *object, std::uint32_t index, std::uint8_t flag,
                          std::uint32_t *err) {
    if (!admit_flag_set(handle, object, err)) return;
    if (index >= field.elements) {
        report(handle, err, ENOENT);
        return;
    }
    if (!admit_write(type, field, handle, tx_id, object, err)) return;
    std::uint8_t *block = state_block(type, handle, tx_id, object, header(object)->flags);
    logged_store(handle, tx_id, block[element_flag(field, index)], flag);
    kel_set_instance_modified(object, 1, 0, 1);
}

// Fills the object's block from its start, without a log call: the flags of the
// fields ahead of the array are overwritten too.
void array_state_flag_set_arr(Type type, const Field &field, kel_handle *handle,
                              std::uint32_t tx_id, void *object, const void *source,
                              std::uint32_t length, std::uint32_t *err) {
    if (!admit_flag_set(handle, object, err)) return;
    if (length != field.elements) {
        report(handle, err, ENOENT);
        return;
    }
    if (!admit_write(type, field, handle, tx_id, object, err)) return;
    std::memcpy(state_block(type, handle, tx_id, object, header(object)->flags), source, length);
    kel_set_instance_modified(object, 1, 0, 1);
}

// ---- The forms ------------------------------------------------------------------

namespace {

const std::uint8_t *element(const void *place, std::uint32_t index) {
    return place == nullptr ? nullptr : static_cast<const std::uint8_t *>(place) + index;
}

}  // namespace

using Array = Value<FieldKind::array>;

std::uint32_t Array::len(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                         const void *place) {
    return field.elements * u_int8_len(handle, tx_id, element(place, 0));
}

std::uint32_t Array::marshal(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                             void *buffer, const void *place, std::uint32_t remaining,
                             std::uint32_t *err) {
    std::uint32_t cursor = 0;
    for (std::uint32_t i = 0; i < field.elements; ++i) {
        cursor += u_int8_marshal(handle, tx_id, static_cast<char *>(buffer) + cursor,
                                 element(place, i), remaining - cursor, err);
    }
    return cursor;
}

std::uint32_t Array::unmarshal(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                               const void *buffer, void *place, std::uint32_t remaining,
                               std::uint32_t in_place, std::uint32_t *err) {
    std::uint32_t cursor = 0;
    for (std::uint32_t i = 0; i < field.elements; ++i) {
        cursor += u_int8_unmarshal(handle, tx_id, static_cast<const char *>(buffer) + cursor,
                                   static_cast<std::uint8_t *>(place) + i, remaining - cursor,
                                   in_place, err);
    }
    return cursor;
}

std::uint32_t Array::print(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                           char *buffer, std::uint32_t indent, const void *place,
                           std::uint32_t remaining, std::uint32_t *err) {
    std::uint32_t cursor = 0;
    for (std::uint32_t i = 0; i < field.elements; ++i) {
        char label[80];
        std::snprintf(label, sizeof label, "%s[%d]", field.name, static_cast<int>(i));
        cursor += u_int8_print(handle, tx_id, buffer + cursor, indent, label, element(place, i),
                               remaining - cursor, err);
    }
    return cursor;
}

void Array::from_xml(const Field &field, kel_handle *handle, std::uint32_t tx_id, const char *path,
                     void *document, void *place, std::uint32_t *err, char *message,
                     std::uint32_t message_len) {
    for (std::uint32_t i = 0; i < field.elements; ++i) {
        char element_path[256];
        std::snprintf(element_path, sizeof element_path, "%s[%d]", path, static_cast<int>(i) + 1);
        u_int8_from_xml(handle, tx_id, element_path, document,
                        static_cast<std::uint8_t *>(place) + i, err, message, message_len);
        if (*err != 0) return;
    }
}

}  // namespace tarnbase::object
