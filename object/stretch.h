// SPDX-License-Identifier: Apache-2.0
// Stretches: fields that follow each other and whose places on the wire follow from the model,
// which are numbers, arrays, and nested structures of nothing else in their newest variant. The
// runtime may write or read a stretch in one call. What isn't such a field, or isn't on the wire as
// this library writes it, is left to the operations of the fields.
#ifndef TARNBASE_OBJECT_STRETCH_H
#define TARNBASE_OBJECT_STRETCH_H

#include <cstdint>

#include "frame/call.h"
#include "frame/cursor.h"
#include "frame/schema.h"

namespace tarnbase::object {

// The fields of a variant from one on.
struct FieldsFrom {
    const Field *field;
    const Field *end;
    std::int8_t variant;
};

constexpr bool may_be_in_stretch(FieldKind kind) {
    constexpr KindSet set([](const KindFacts &each) {
        return each.group == KindGroup::number || each.group == KindGroup::array ||
               each.group == KindGroup::structure;
    });
    return set.has(kind);
}

// Whether a stretch of more than one run may begin here.
inline bool may_begin_stretch(const FieldsFrom &fields) {
    const Field *const next = fields.field + fields.field->run;
    return fields.field->kind == FieldKind::structure ||
           (next != fields.end && may_be_in_stretch(fields.field->kind) &&
            may_be_in_stretch(next->kind));
}

// Write or read the stretch that begins with the first field, if the runtime can do so at once.
// Return the field after it; the first field if nothing is done. Requires: tracking is off, the
// object isn't null, and `piece_operations` has the operation.
const Field *write_stretch(const Call &call, Output &out, const FieldsFrom &fields,
                           const void *object);
const Field *read_stretch(const Call &call, Input &in, const FieldsFrom &fields, void *object);

}  // namespace tarnbase::object

#endif
