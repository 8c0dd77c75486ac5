// SPDX-License-Identifier: Apache-2.0
// The text form of an object:
//
//   <indent>name@type: {
//   <indent + 2>each field, as its type prints it
//   <indent>}
#include <cstring>

#include "frame/conventions.h"
#include "object/fields.h"
#include "object/kept_byte.h"
#include "object/object.h"
#include "object/value_operations.h"

namespace tarnbase::object {

namespace {

std::uint32_t close_text(kel_handle *handle, std::uint32_t tx_id, char *place, std::uint32_t indent,
                         std::uint32_t room, std::uint32_t *err) {
    const KeptByte behind(indent, place, std::strlen("}\n"), room);
    return kel_snprintf(handle, tx_id, place, room, err, "}\n");
}

}  // namespace

std::uint32_t print(Type type, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                    std::uint32_t indent, const char *name, const void *object,
                    std::uint32_t buffer_len, std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    const std::int8_t variant = variant_of(object);
    std::uint32_t at = kel_print_space(handle, tx_id, buffer, indent, buffer_len, err);
    at += kel_snprintf(handle, tx_id, buffer + at, buffer_len - at, err, "%s@%s: {\n", name,
                       type.name);
    for (const Field &field : fields_of(type)) {
        // An instance too old for a field ends here, without the closing line.
        if (field.first_variant > variant) return at;
        at += operations(field).print(field, handle, tx_id, buffer + at, indent + 2,
                                      place_of(field, object), buffer_len - at, err);
    }
    // The closing blanks land on the opening ones; here they are stepped over.
    at += kel_print_space(handle, tx_id, buffer, indent, buffer_len - at, err);
    return at + close_text(handle, tx_id, buffer + at, indent, buffer_len - at, err);
}

std::uint32_t print_cr(Type type, kel_handle *handle, const void *object, char *buffer,
                       std::uint32_t buffer_len) {
    const std::uint32_t length = print(type, handle, handle->cr_tx_id, buffer, 0, type.name, object,
                                       buffer_len, &handle->last_error);
    return handle->last_error == 0 ? length : cr_failure;
}

}  // namespace tarnbase::object
