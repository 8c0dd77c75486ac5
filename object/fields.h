// SPDX-License-Identifier: Apache-2.0
// Walking a structure's fields, and reading an object's header.
#ifndef TARNBASE_OBJECT_FIELDS_H
#define TARNBASE_OBJECT_FIELDS_H

#include <cstdint>

#include "frame/call.h"
#include "frame/schema.h"
#include "object/instance.h"

namespace tarnbase::object {

// For `for (const Field &field : fields_of(type))`.
struct FieldRange {
    const Field *first;
    const Field *last;
    const Field *begin() const { return first; }
    const Field *end() const { return last; }
};
inline FieldRange fields_of(const Structure &type) {
    return {type.fields, type.fields + type.field_count};
}

// The address of a field; null in a null object.
inline void *place_of(const Field &field, void *object) {
    return object == nullptr ? nullptr : static_cast<char *>(object) + field.offset;
}
inline const void *place_of(const Field &field, const void *object) {
    return object == nullptr ? nullptr : static_cast<const char *>(object) + field.offset;
}

inline kel_object *header(void *object) { return static_cast<kel_object *>(object); }
inline const kel_object *header(const void *object) {
    return static_cast<const kel_object *>(object);
}

// The descriptor that the variant services are called with; null for a null object.
inline const kel_type_info *descriptor_of(const void *object) {
    return object == nullptr ? nullptr : header(object)->descriptor;
}

// The variant of a structure's instance; 0 for a null object.
inline std::int8_t variant_of(const void *object) {
    return static_cast<std::int8_t>(instance_variant(object, whole_structure));
}

// The variant that the handle's domain uses for the descriptor's type.
inline std::int8_t domain_variant(const Call &call, const kel_type_info *descriptor) {
    return static_cast<std::int8_t>(
        kel_domain_lookup_variant(call.handle, &call.handle->variant_domain, descriptor, call.err));
}

}  // namespace tarnbase::object

#endif
