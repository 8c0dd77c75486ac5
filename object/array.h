// SPDX-License-Identifier: Apache-2.0
// An array of u_int8 as a field: each form consists of those of its elements.
#ifndef TARNBASE_OBJECT_ARRAY_H
#define TARNBASE_OBJECT_ARRAY_H

#include <cstdint>
#include <cstring>

#include "object/value_type.h"

namespace tarnbase::object {

template <>
struct Value<FieldKind::array> {
    static std::int32_t compare(const Field &field, const void *a, const void *b) {
        if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
        return std::memcmp(a, b, field.elements);
    }
    static std::uint32_t hash(const Field &field, const void *place, std::uint32_t seed) {
        return SuperFastHash(static_cast<const char *>(place),
                             static_cast<std::int32_t>(field.elements), seed);
    }
    static std::uint32_t len(const Field &field, const Call &call, const void *place);
    static std::uint32_t marshal(const Field &field, const Call &call, Output out,
                                 const void *place);
    static std::uint32_t unmarshal(const Field &field, const Call &call, Input in, void *place,
                                   InPlace in_place);
    // Labelled from 0.
    static std::uint32_t print(const Field &field, const Call &call, Output out,
                               std::uint32_t indent, const void *place);
    // Addressed from 1. The first absent element ends the array: ENOENT, which the
    // caller takes for no error.
    static void from_xml(const Field &field, const Call &call, const XmlElement &array,
                         void *place);
};

}  // namespace tarnbase::object

#endif
