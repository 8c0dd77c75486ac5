// SPDX-License-Identifier: Apache-2.0
// An array of u_int8 as a field: its forms run through those of its elements.
#ifndef TARNBASE_OBJECT_ARRAY_H
#define TARNBASE_OBJECT_ARRAY_H

#include <cstdint>

#include "object/value_type.h"

namespace tarnbase::object {

template <>
struct Value<FieldKind::array> {
    static std::uint32_t len(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                             const void *place);
    static std::uint32_t marshal(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                 void *buffer, const void *place, std::uint32_t remaining,
                                 std::uint32_t *err);
    static std::uint32_t unmarshal(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                                   const void *buffer, void *place, std::uint32_t remaining,
                                   std::uint32_t in_place, std::uint32_t *err);
    // Labelled from 0.
    static std::uint32_t print(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                               char *buffer, std::uint32_t indent, const void *place,
                               std::uint32_t remaining, std::uint32_t *err);
    // Addressed from 1. The first absent element ends the array, without an error.
    static void from_xml(const Field &field, kel_handle *handle, std::uint32_t tx_id,
                         const char *path, void *document, void *place, std::uint32_t *err,
                         char *message, std::uint32_t message_len);
};

}  // namespace tarnbase::object

#endif
