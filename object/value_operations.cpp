// SPDX-License-Identifier: Apache-2.0
#include "object/value_operations.h"

#include "object/array.h"
#include "object/fields.h"
#include "object/value_type.h"

namespace tarnbase::object {

namespace {

template <FieldKind Kind>
void load(const Field &field, kel_handle *handle, std::uint32_t tx_id, void *place, void *out,
          std::uint32_t *err) {
    const void *access = Value<Kind>::get(field, handle, tx_id, place, err);
    *static_cast<PlainValue<Kind> *>(out) =
        access == nullptr ? 0 : Value<Kind>::get_value(field, handle, tx_id, access, err);
}

template <FieldKind Kind>
void store(const Field &field, kel_handle *handle, std::uint32_t tx_id, void *place,
           std::uint64_t value, std::uint32_t *err) {
    Value<Kind>::set_value(field, handle, tx_id, place, static_cast<PlainValue<Kind>>(value), err);
}

template <FieldKind Kind>
constexpr ValueOperations operations_of() {
    using V = Value<Kind>;
    ValueOperations made = {};
    made.len = &V::len;
    made.marshal = &V::marshal;
    made.unmarshal = &V::unmarshal;
    made.print = &V::print;
    made.from_xml = &V::from_xml;
    if constexpr (Kind != FieldKind::array) {
        made.to_xml = &V::to_xml;
        made.set = &V::set;
        made.backpropagate = &V::backpropagate;
    }
    if constexpr (has_plain_value(Kind)) {
        made.load = &load<Kind>;
        made.store = &store<Kind>;
    }
    if constexpr (is_embedded(Kind)) {
        made.initialize = &V::initialize;
        made.set_instance_embedded = &V::set_instance_embedded;
    }
    if constexpr (owns_state(Kind)) {
        made.get_oid_count = &V::get_oid_count;
        made.get_object_references = &V::get_object_references;
        made.destroy_internal = &V::destroy_internal;
        made.offset_update = &V::offset_update;
        made.offset_remove = &V::offset_remove;
    }
    return made;
}

// In the order of FieldKind.
constexpr ValueOperations table[] = {
    operations_of<FieldKind::u_int8>(),    operations_of<FieldKind::u_int16>(),
    operations_of<FieldKind::u_int32>(),   operations_of<FieldKind::u_int64>(),
    operations_of<FieldKind::int32>(),     operations_of<FieldKind::int64>(),
    operations_of<FieldKind::boolean>(),   operations_of<FieldKind::enumeration>(),
    operations_of<FieldKind::vstring>(),   operations_of<FieldKind::address>(),
    operations_of<FieldKind::structure>(), operations_of<FieldKind::array>(),
};
static_assert(static_cast<unsigned>(FieldKind::array) + 1 == sizeof table / sizeof table[0]);

}  // namespace

const ValueOperations &operations(const Field &field) {
    return table[static_cast<unsigned>(field.kind)];
}

}  // namespace tarnbase::object
