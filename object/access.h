/* SPDX-License-Identifier: Apache-2.0 */
// Accessors of plain fields, one instantiation a field: the hot path of the
// library, where a look-up at run time would cost.
//
// Exported operation                       instantiation
//   <type>_<field>_get                     get<type model, field number>
//   <type>_<field>_get_value               get_value<...>
//   <type>_<field>_set                     set<...>
//   <type>_<field>_set_value               set_value<...>
#ifndef TARNBASE_OBJECT_ACCESS_H
#define TARNBASE_OBJECT_ACCESS_H

#include <cstddef>
#include <cstdint>

#include "frame/schema.h"

namespace tarn::object {

// PlainValue<kind> is the plain value's C type: 32 bits wide for booleans and
// enumerations.
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

template <const Structure &S, std::size_t I>
void *get(kel_handle *handle, std::uint32_t tx_id, void *object, std::uint32_t *err);

template <const Structure &S, std::size_t I>
PlainValue<S.fields[I].kind> get_value(kel_handle *handle, std::uint32_t tx_id, void *object,
                                       std::uint32_t *err);

template <const Structure &S, std::size_t I>
void set(kel_handle *handle, std::uint32_t tx_id, void *object, const void *source,
         std::uint32_t *err);

template <const Structure &S, std::size_t I>
void set_value(kel_handle *handle, std::uint32_t tx_id, void *object,
               PlainValue<S.fields[I].kind> value, std::uint32_t *err);

}  // namespace tarn::object

#endif
