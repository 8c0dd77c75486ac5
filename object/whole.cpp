// SPDX-License-Identifier: Apache-2.0
// Operations on all fields of an object at once.
#include "frame/conventions.h"
#include "object/fields.h"
#include "object/object.h"
#include "object/value_operations.h"

namespace tarnbase::object {

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

// State flags stay as they are. Each value gets its turn whatever became of those
// before it, and the first error is the result.
void set_all(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
             std::initializer_list<std::uint64_t> values, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    adjust_variant(type, handle, tx_id, object, err);
    if (variant_of(object) < 0) return;
    if (object == nullptr) {
        report(handle, err, ENOENT);
        return;
    }
    std::uint32_t first = 0;
    const std::uint64_t *next = values.begin();
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        std::uint32_t slot = *err;  // of the adjustment
        operations(field).store(field, handle, tx_id, place_of(field, object), *next++, &slot);
        if (first == 0) first = slot;
        kel_set_instance_modified(object, 1, is_small(field.kind), 1);
    }
    if (first == 0) return;
    // The value has stored its error, and one after it may have cleared it.
    *err = first;
    handle->last_error = first;
}

std::int32_t compare(Type type, const void *a, const void *b) { return type.compare(a, b); }

std::uint32_t hash(Type type, const void *object, std::uint32_t seed) {
    return type.hash(object, seed);
}

}  // namespace tarnbase::object
