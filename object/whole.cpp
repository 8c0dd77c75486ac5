// SPDX-License-Identifier: Apache-2.0
// Operations on all fields of an object at once.
#include "object/fields.h"
#include "object/object.h"
#include "object/value_operations.h"

namespace tarnbase::object {

void get_all(Type type, const Call &call, const void *object, std::initializer_list<void *> out) {
    if (!call.enter() || variant_of(object) < 0) return;
    void *const *next = out.begin();
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        operations(field).load(field, call, place_of(field, const_cast<void *>(object)), *next++);
    }
}

// State flags stay as they are. A field is set also after another one has failed, and
// the first error is the result.
void set_all(Type type, const Call &call, void *object,
             std::initializer_list<std::uint64_t> values) {
    if (!call.enter()) return;
    adjust_variant(type, call, object);
    if (variant_of(object) < 0) return;
    if (object == nullptr) {
        call.report(ENOENT);
        return;
    }
    std::uint32_t first = 0;
    const std::uint64_t *next = values.begin();
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        std::uint32_t error = *call.err;  // of the adjustment
        operations(field).store(field, call.reporting_in(error), place_of(field, object), *next++);
        if (first == 0) first = error;
        set_modified(object, field_instance(field));
    }
    if (first == 0) return;
    // A field that was set later may have cleared the handle's error.
    *call.err = first;
    call.handle->last_error = first;
}

std::int32_t compare(Type type, const void *a, const void *b) { return type.compare(a, b); }

std::uint32_t hash(Type type, const void *object, std::uint32_t seed) {
    return type.hash(object, seed);
}

}  // namespace tarnbase::object
