// SPDX-License-Identifier: Apache-2.0
// Variants: the numbered revisions of a type, and the modified marks.
#include "frame/conventions.h"
#include "object/fields.h"
#include "object/object.h"
#include "object/value_operations.h"

namespace tarnbase::object {

std::int8_t variant_data_index_cap(Type type, std::int8_t variant) {
    return variant > type.top_variant ? type.top_variant : variant;
}

std::int32_t adjust_variant(Type type, const Call &call, void *object) {
    return kellib_adjust_variant(call.handle, call.tx_id, object, descriptor_of(object),
                                 type.top_variant, call.err);
}

// A domain may have a newer revision of the type than this library: a variant above
// the top one makes every field number valid.
std::uint32_t is_valid_cr(Type type, kel_handle *handle, std::uint32_t field_index) {
    std::int32_t needed = 0;
    while (needed <= type.top_variant && field_index >= type.field_numbers[needed]) ++needed;
    if (needed == 0) return 1;
    return domain_variant(Call::cr(handle), type.descriptor) >= needed ? 1 : 0;
}

// The fields after the first marked one keep their marks.
std::uint32_t type_type_backpropagate(Type type, const Call &call, void *object) {
    if (!call.enter()) return 0;
    if (object == nullptr) {
        trace_type(KEL_TRACE_INFO, "(info): backpropagate: Null pointer to %s type", type.name);
        return 0;
    }
    const bool own = is_modified(object, whole_structure);
    std::uint32_t found = 0;
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::array) continue;
        found = operations(field).backpropagate(field, call, place_of(field, object));
        if (found != 0) break;
    }
    if (!own) return found;
    clear_modified(object, whole_structure);
    return 1;
}

}  // namespace tarnbase::object
