// SPDX-License-Identifier: Apache-2.0
#include "object/value_operations.h"

#include "frame/kinds.h"
#include "object/array.h"
#include "object/fields.h"
#include "object/value_type.h"

namespace tarnbase::object {

namespace {

template <FieldKind Kind>
void load(const Field &field, const Call &call, void *place, void *out) {
    const void *access = Value<Kind>::get(field, call, place);
    *static_cast<PlainValue<Kind> *>(out) =
        access == nullptr ? 0 : Value<Kind>::get_value(field, call, access);
}

template <FieldKind Kind>
void store(const Field &field, const Call &call, void *place, std::uint64_t value) {
    Value<Kind>::set_value(field, call, place, static_cast<PlainValue<Kind>>(value));
}

template <FieldKind Kind>
constexpr ValueOperations operations_of() {
    using V = Value<Kind>;
    ValueOperations made = {};
    made.compare = &V::compare;
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
    if constexpr (has_header(Kind)) {
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

}  // namespace

constexpr ValueOperations value_operations[] = {
#define TARN_OPERATIONS(group, kind, ...) operations_of<FieldKind::kind>(),
    TARN_FIELD_KINDS(TARN_OPERATIONS)
#undef TARN_OPERATIONS
};

}  // namespace tarnbase::object
