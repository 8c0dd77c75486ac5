// SPDX-License-Identifier: Apache-2.0
// Operations on all fields of an object at once.
#include "frame/conventions.h"
#include "object/fields.h"
#include "object/object.h"
#include "object/value_operations.h"

namespace tarn::object {

void get_all(Type type, kel_handle *handle, std::uint32_t tx_id, const void *object,
             std::initializer_list<void *> out, std::uint32_t *err) {
    if (!enter(handle, err) || variant_of(object) < 0) return;
    void *const *next = out.begin();
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        operations(field).load(field, handle, tx_id, place_of(field, const_cast<void *>(object)),
                               *next++, err);
    }
}

// State flags stay as they are, and one value's failure doesn't stop the rest.
void set_all(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
             std::initializer_list<std::uint64_t> values, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    adjust_variant(type, handle, tx_id, object, err);
    if (variant_of(object) < 0) return;
    if (object == nullptr) {
        report(handle, err, error_not_found);
        return;
    }
    const std::uint64_t *next = values.begin();
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        operations(field).store(field, handle, tx_id, place_of(field, object), *next++, err);
        kel_set_instance_modified(object, 1, is_small(field.kind), 1);
    }
}

std::int32_t compare(Type type, const void *a, const void *b) { return type.compare(a, b); }

std::uint32_t hash(Type type, const void *object, std::uint32_t seed) {
    return type.hash(object, seed);
}

}  // namespace tarn::object
