// SPDX-License-Identifier: Apache-2.0
// The XML form of an object: an element of a given name, with an element a field
// in it. An array is as many elements of its name. The reader goes by paths, and
// an absent element leaves its field as it was.
#include <cstdio>

#include "frame/conventions.h"
#include "object/fields.h"
#include "object/object.h"
#include "object/value_operations.h"

namespace tarnbase::object {

namespace {

// Where a text is being written.
struct Output {
    char *buffer;
    std::uint32_t length;
    std::uint32_t at = 0;

    char *place() const { return buffer + at; }
    std::uint32_t remaining() const { return length - at; }
};

void write_array(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                 const void *object, bool tracked, Output &out, std::uint32_t *err) {
    const auto *elements = static_cast<const std::uint8_t *>(place_of(field, object));
    for (std::uint32_t i = 0; i < field.elements && *err == 0; ++i) {
        const std::uint8_t flag =
            tracked ? array_state_flag_get(type, field, handle, tx_id, object, i, err)
                    : std::uint8_t{0};
        out.at +=
            u_int8_to_xml(handle, tx_id, field.name, out.place(),
                          elements == nullptr ? nullptr : elements + i, out.remaining(), flag, err);
    }
}

void write_fields(Type type, kel_handle *handle, std::uint32_t tx_id, const void *object,
                  std::int8_t variant, bool tracked, Output &out, std::uint32_t *err) {
    for (const Field &field : fields_of(type)) {
        if (field.first_variant > variant || *err != 0) return;
        if (field.kind == FieldKind::array) {
            write_array(type, field, handle, tx_id, object, tracked, out, err);
            continue;
        }
        const std::uint8_t flag =
            tracked ? state_flag_get(type, field, handle, tx_id, object, err) : std::uint8_t{0};
        out.at += operations(field).to_xml(field, handle, tx_id, out.place(),
                                           place_of(field, object), out.remaining(), flag, err);
    }
}

}  // namespace

std::uint32_t to_xml(Type type, kel_handle *handle, std::uint32_t tx_id, const char *name,
                     char *buffer, const void *object, std::uint32_t buffer_len,
                     std::uint8_t state_flag, std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    const std::int8_t variant = variant_of(object);
    const bool tracked = tracking_is_on(handle);
    Output out = {buffer, buffer_len};
    out.at += start_tag(handle, tx_id, buffer, name, buffer_len, state_flag, err);
    write_fields(type, handle, tx_id, object, variant, tracked, out, err);
    // Due whatever became of the fields: the service runs with an error set too.
    out.at += end_tag(handle, tx_id, out.place(), name, out.remaining(), err);
    return out.at;
}

std::uint32_t toxml_cr(Type type, kel_handle *handle, const void *object, char *buffer,
                       std::uint32_t buffer_len) {
    const std::uint32_t length = to_xml(type, handle, handle->cr_tx_id, type.name, buffer, object,
                                        buffer_len, 0, &handle->last_error);
    return handle->last_error == 0 ? length : cr_failure;
}

void from_xml(Type type, kel_handle *handle, std::uint32_t tx_id, const char *path, void *document,
              void *object, std::uint32_t *err, char *message, std::uint32_t message_len) {
    if (!enter(handle, err)) return;
    std::uint32_t nodes = 0;
    if (xml_get_element_nodecount(document, path, &nodes) != 0 || nodes == 0) {
        report(handle, err, ENOENT);
        return;
    }
    for (const Field &field : fields_of(type)) {
        char field_path[256];
        std::snprintf(field_path, sizeof field_path, "%s/%s", path, field.name);
        operations(field).from_xml(field, handle, tx_id, field_path, document,
                                   place_of(field, object), err, message, message_len);
        if (*err == ENOENT) *err = 0;
        if (*err != 0) return;
    }
}

}  // namespace tarnbase::object
