// SPDX-License-Identifier: Apache-2.0
// One table of value operations, by field kind: what a worker needs to treat all
// fields of a structure alike. An entry is null where the kind has no such
// operation. The signatures are those of value_type.h.
#ifndef TARNBASE_OBJECT_VALUE_OPERATIONS_H
#define TARNBASE_OBJECT_VALUE_OPERATIONS_H

#include <cstdint>

#include "frame/call.h"
#include "frame/cursor.h"
#include "frame/schema.h"
#include "object/arguments.h"

namespace tarnbase::object {

struct ValueOperations {
    // Every kind.
    std::int32_t (*compare)(const Field &, const void *a, const void *b);
    std::uint32_t (*len)(const Field &, const Call &, const void *place);
    std::uint32_t (*marshal)(const Field &, const Call &, Output out, const void *place);
    std::uint32_t (*unmarshal)(const Field &, const Call &, Input in, void *place,
                               InPlace in_place);
    std::uint32_t (*print)(const Field &, const Call &, Output out, std::uint32_t indent,
                           const void *place);
    void (*from_xml)(const Field &, const Call &, const XmlElement &element, void *place);
    // Not arrays.
    std::uint32_t (*to_xml)(const Field &, const Call &, Output out, const void *place,
                            std::uint8_t state_flag);
    void (*set)(const Field &, const Call &, void *place, const void *source);
    std::uint32_t (*backpropagate)(const Field &, const Call &, void *place);
    // Plain values: from a field to `out`, of the value's type, and back.
    void (*load)(const Field &, const Call &, void *place, void *out);
    void (*store)(const Field &, const Call &, void *place, std::uint64_t value);
    // Embedded objects. Descriptor and flags of `initial` are not used.
    void (*initialize)(const Field &, const Call &, void *place, const Initial &initial);
    void (*set_instance_embedded)(const Field &, const Call &, void *place);
    // Embedded objects with a state share of their own.
    std::uint32_t (*get_oid_count)(const Field &, const Call &, void *place);
    void (*get_object_references)(const Field &, const Call &, void *place,
                                  std::uint64_t *references, std::uint32_t count);
    void (*destroy_internal)(const Field &, const Call &, void *place);
    void (*offset_update)(const Field &, const Call &, void *place, void *sttr_base);
    void (*offset_remove)(const Field &, const Call &, void *place);
};

// By kind.
extern const ValueOperations value_operations[];

inline const ValueOperations &operations(const Field &field) {
    return value_operations[static_cast<unsigned>(field.kind)];
}

}  // namespace tarnbase::object

#endif
