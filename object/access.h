// SPDX-License-Identifier: Apache-2.0
// Accessors of fields, one instantiation a field: the hot path of the library,
// where a look-up at run time would cost. Arrays have their own, in array.cpp.
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

#include "frame/conventions.h"
#include "frame/schema.h"
#include "object/fields.h"
#include "object/plain_value.h"
#include "object/state.h"
#include "object/value_type.h"

namespace tarnbase::object {

// Access to the field; null with error 43 if the instance is too old to have it.
template <const Structure &S, std::size_t I>
void *get(kel_handle *handle, std::uint32_t tx_id, void *object, std::uint32_t *err) {
    constexpr const Field &field = S.fields[I];
    if (!enter(handle, err) || !admit_read(field, handle, object, err)) return nullptr;
    return Value<field.kind>::get(field, handle, tx_id, place_of(field, object), err);
}

// The plain value; 0 of a null object.
template <const Structure &S, std::size_t I>
PlainValue<S.fields[I].kind> get_value(kel_handle *handle, std::uint32_t tx_id, void *object,
                                       std::uint32_t *err) {
    constexpr const Field &field = S.fields[I];
    const void *access = get<S, I>(handle, tx_id, object, err);
    if (access == nullptr) return 0;
    return Value<field.kind>::get_value(field, handle, tx_id, access, err);
}

template <const Structure &S, std::size_t I>
void set(kel_handle *handle, std::uint32_t tx_id, void *object, const void *source,
         std::uint32_t *err) {
    constexpr const Field &field = S.fields[I];
    if (!begin_write(S, field, handle, tx_id, object, err)) return;
    Value<field.kind>::set(field, handle, tx_id, place_of(field, object), source, err);
    end_write(S, field, handle, tx_id, object, err);
}

// Goes through the read path once more, as a `_get` of the field would.
template <const Structure &S, std::size_t I>
void set_value(kel_handle *handle, std::uint32_t tx_id, void *object,
               PlainValue<S.fields[I].kind> value, std::uint32_t *err) {
    constexpr const Field &field = S.fields[I];
    if (!begin_write(S, field, handle, tx_id, object, err)) return;
    void *access = get<S, I>(handle, tx_id, object, err);
    if (*err != 0) return;
    if (access == nullptr) {
        report(handle, err, ENOENT);
        return;
    }
    Value<field.kind>::set_value(field, handle, tx_id, access, value, err);
    end_write(S, field, handle, tx_id, object, err);
}

}  // namespace tarnbase::object

#endif
