// SPDX-License-Identifier: Apache-2.0
// Operations on all fields of an object at once.
#include "object/whole.h"

#include <cstring>

#include "frame/conventions.h"
#include "object/fields.h"
#include "object/state.h"
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

namespace {

// Brings the destination's place of its state block back into the copied header,
// and copies the block. False: tracking is on and the source has no block.
bool copy_state(Type type, kel_handle *handle, std::uint32_t tx_id, void *destination,
                const void *source, std::uint8_t flags_before, std::uint32_t *err) {
    if (handle->state_tracking == nullptr) return true;
    constexpr unsigned elsewhere = OBJ_STATE_ELSEWHERE;
    std::uint8_t &flags = header(destination)->flags;
    flags = static_cast<std::uint8_t>((flags & ~elsewhere) | (flags_before & elsewhere));
    if (!tracking_is_on(handle)) return true;
    if (!admit_mark(handle, destination, err)) return false;
    std::uint8_t *block = state_block(type, handle, tx_id, destination, flags_before);
    std::uint32_t slot = 0;
    update_offsets(type, handle, tx_id, destination, block, &slot);
    if (*err == 0) *err = slot;
    std::memcpy(block, state_block(type, handle, tx_id, source, header(source)->flags),
                type.state_length);
    return true;
}

}  // namespace

// Each field gets its turn whatever became of those before: two objects that show one
// text are of no use.
void own_embedded(Type type, kel_handle *handle, std::uint32_t tx_id, void *destination,
                  const void *source, std::uint32_t *err) {
    std::uint32_t first = 0;
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        std::uint32_t slot = 0;
        operations(field).set(field, handle, tx_id, place_of(field, destination),
                              place_of(field, source), &slot);
        if (first == 0) first = slot;
    }
    if (first != 0) report(handle, err, first);
}

// Runs with an error set too, for the same reason.
void set(Type type, kel_handle *handle, std::uint32_t tx_id, void *destination, const void *source,
         std::uint32_t *err) {
    adjust_variant(type, handle, tx_id, destination, err);
    if (destination == source) return;
    if (destination == nullptr || source == nullptr) {
        if (*err == 0) report(handle, err, error_not_found);
        return;
    }
    const std::uint8_t flags_before = header(destination)->flags;
    log_write(handle, tx_id, destination, type.plain_size);
    std::memcpy(destination, source, type.plain_size);
    if (!copy_state(type, handle, tx_id, destination, source, flags_before, err)) return;
    std::uint32_t slot = 0;
    own_embedded(type, handle, tx_id, destination, source, &slot);
    if (*err == 0) *err = slot;
}

std::int32_t compare(Type type, const void *a, const void *b) { return type.compare(a, b); }

std::uint32_t hash(Type type, const void *object, std::uint32_t seed) {
    return type.hash(object, seed);
}

}  // namespace tarn::object
