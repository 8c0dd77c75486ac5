// SPDX-License-Identifier: Apache-2.0
// Accessors of fields, one instantiation for each field: the hot path of the library,
// where a look-up at run time would cost. Those of arrays are in array.cpp.
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

#include "frame/call.h"
#include "frame/schema.h"
#include "object/fields.h"
#include "object/state.h"
#include "object/value_type.h"

namespace tarnbase::object {

// Access to the field; null with EIDRM if the instance is too old to have it.
template <const Structure &S, std::size_t I>
void *get(const Call &call, void *object) {
    constexpr const Field &field = S.fields[I];
    if (!call.enter() || !admit_read(field, call, object)) return nullptr;
    return Value<field.kind>::get(field, call, place_of(field, object));
}

// The plain value; 0 for a null object.
template <const Structure &S, std::size_t I>
PlainValue<S.fields[I].kind> get_value(const Call &call, void *object) {
    constexpr const Field &field = S.fields[I];
    const void *access = get<S, I>(call, object);
    if (access == nullptr) return 0;
    return Value<field.kind>::get_value(field, call, access);
}

template <const Structure &S, std::size_t I>
void set(const Call &call, void *object, const void *source) {
    constexpr const Field &field = S.fields[I];
    if (!begin_write({S, field}, call, object)) return;
    Value<field.kind>::set(field, call, place_of(field, object), source);
    end_write({S, field}, call, object);
}

// Takes the read path too, like `_get` of the field.
template <const Structure &S, std::size_t I>
void set_value(const Call &call, void *object, PlainValue<S.fields[I].kind> value) {
    constexpr const Field &field = S.fields[I];
    if (!begin_write({S, field}, call, object)) return;
    void *access = get<S, I>(call, object);
    if (call.failed()) return;
    if (access == nullptr) {
        call.report(ENOENT);
        return;
    }
    Value<field.kind>::set_value(field, call, access, value);
    end_write({S, field}, call, object);
}

}  // namespace tarnbase::object

#endif
