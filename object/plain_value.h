// SPDX-License-Identifier: Apache-2.0
// PlainValue<kind>: the C type of a field's plain value, 32 bits wide for
// booleans and enumerations.
#ifndef TARNBASE_OBJECT_PLAIN_VALUE_H
#define TARNBASE_OBJECT_PLAIN_VALUE_H

#include <cstdint>

#include "frame/schema.h"

namespace tarnbase::object {

template <FieldKind Kind>
struct PlainValueOf;
template <>
struct PlainValueOf<FieldKind::u_int8> {
    using type = std::uint8_t;
};
template <>
struct PlainValueOf<FieldKind::u_int16> {
    using type = std::uint16_t;
};
template <>
struct PlainValueOf<FieldKind::u_int32> {
    using type = std::uint32_t;
};
template <>
struct PlainValueOf<FieldKind::u_int64> {
    using type = std::uint64_t;
};
template <>
struct PlainValueOf<FieldKind::int32> {
    using type = std::int32_t;
};
template <>
struct PlainValueOf<FieldKind::int64> {
    using type = std::int64_t;
};
template <>
struct PlainValueOf<FieldKind::boolean> {
    using type = std::uint32_t;
};
template <>
struct PlainValueOf<FieldKind::enumeration> {
    using type = std::uint32_t;
};
template <FieldKind Kind>
using PlainValue = typename PlainValueOf<Kind>::type;

}  // namespace tarnbase::object

#endif
