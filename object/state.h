// SPDX-License-Identifier: Apache-2.0
// The state block, as the other workers use it.
#ifndef TARNBASE_OBJECT_STATE_H
#define TARNBASE_OBJECT_STATE_H

#include <cstdint>

#include "frame/conventions.h"
#include "object/object.h"

namespace tarnbase::object {

// The flag that a field write leaves behind; all other values are the callers'.
inline constexpr std::uint8_t state_changed = 2;

// The state block of an object with these flags: behind the object, or where the
// runtime has it.
std::uint8_t *state_block(Type type, kel_handle *handle, std::uint32_t tx_id, const void *object,
                          std::uint8_t flags);

// Whether the object has a state block. A null object has none.
bool has_state_block(const void *object);

// Tells every embedded object where its share of the block at `sttr_base` is.
void update_offsets(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
                    std::uint8_t *sttr_base, std::uint32_t *err);

// The first steps of a field write: prologue, the domain's variant, the field's
// variant test. False: nothing may be changed.
bool begin_write(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                 void *object, std::uint32_t *err);
// The two steps after the prologue alone.
bool admit_write(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id,
                 void *object, std::uint32_t *err);
// Whether the instance is new enough to have the field; else reports error 43.
inline bool admit_read(const Field &field, kel_handle *handle, const void *object,
                       std::uint32_t *err) {
    if (kel_get_instance_variant(object, 1, is_small(field.kind)) >= field.first_variant) {
        return true;
    }
    kel_store_epoch_err(handle, EIDRM, err);
    return false;
}

// The last steps of a field write: the state mark and the modified mark.
void end_write(Type type, const Field &field, kel_handle *handle, std::uint32_t tx_id, void *object,
               std::uint32_t *err);

// With tracking on: whether the object has a state block, else reports error 22.
// With tracking off: true.
bool admit_mark(kel_handle *handle, const void *object, std::uint32_t *err);
// With tracking on: marks the flag byte at `position` as changed.
void mark_changed(Type type, std::uint32_t position, kel_handle *handle, std::uint32_t tx_id,
                  void *object);

// The mode and object tests of the flag readers and of the flag writers, which
// say what is wrong in two different texts.
bool admit_flag_get(kel_handle *handle, const void *object, std::uint32_t *err);
bool admit_flag_set(kel_handle *handle, const void *object, std::uint32_t *err);

}  // namespace tarnbase::object

#endif
