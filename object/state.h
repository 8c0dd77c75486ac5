// SPDX-License-Identifier: Apache-2.0
// The state block, as the other workers use it.
#ifndef TARNBASE_OBJECT_STATE_H
#define TARNBASE_OBJECT_STATE_H

#include <cstdint>

#include "frame/call.h"
#include "object/fields.h"
#include "object/object.h"

namespace tarnbase::object {

// The flag of a field after a write. All other values are for callers to define.
inline constexpr std::uint8_t state_changed = 2;

// The state block of an object with these flags: after the object, or where the
// runtime has recorded it.
std::uint8_t *state_block(Type type, const Call &call, const void *object, std::uint8_t flags);
inline std::uint8_t *state_block(Type type, const Call &call, const void *object) {
    return state_block(type, call, object, header(object)->flags);
}

// Whether the object has a state block. A null object has none.
bool has_state_block(const void *object);

// Records for every embedded object where its share of the block at `sttr_base` is.
void update_offsets(Type type, const Call &call, void *object, std::uint8_t *sttr_base);

// The first steps of a field write: prologue, the domain's variant, the field's
// variant test. False: nothing may be changed.
bool begin_write(Member member, const Call &call, void *object);
// The two steps after the prologue alone.
bool admit_write(Member member, const Call &call, void *object);
// Whether the instance is new enough to have the field; else reports EIDRM.
inline bool admit_read(const Field &field, const Call &call, const void *object) {
    if (instance_variant(object, field_instance(field)) >= field.first_variant) return true;
    call.report_epoch();
    return false;
}

// The last steps of a field write: the state mark and the modified mark.
void end_write(Member member, const Call &call, void *object);

// With tracking on: whether the object has a state block, else reports EINVAL.
// With tracking off: true.
bool admit_mark(const Call &call, const void *object);
// With tracking on: marks the flag byte at `position` as changed.
void mark_changed(Type type, const Call &call, void *object, std::uint32_t position);

// The mode and object tests of the flag readers and of the flag writers, whose
// trace texts differ.
bool admit_flag_get(const Call &call, const void *object);
bool admit_flag_set(const Call &call, const void *object);

}  // namespace tarnbase::object

#endif
