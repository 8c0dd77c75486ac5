// SPDX-License-Identifier: Apache-2.0
// Setting a whole object from another: the bytes, the state block, and then the
// contents that each object owns.
#include "object/copy.h"

#include <cstddef>
#include <cstring>

#include "frame/conventions.h"
#include "object/fields.h"
#include "object/state.h"
#include "object/value_operations.h"

namespace tarnbase::object {

namespace {

// The flags of the destination that no copy replaces: where its state block is, and
// the runtime's modified mark. In a tracking handle, an object without a state block
// doesn't get the flag that says it has one either.
unsigned own_flags(const kel_handle *handle, const void *destination) {
    unsigned own = OBJ_STATE_ELSEWHERE | OBJ_MODIFIED;
    if (tracking_is_on(handle) && !has_state_block(destination)) own |= OBJ_STATE_TRACKED;
    return own;
}

// A copy of an object's bytes in which its header, and those of the objects in it,
// keep their own flags. Proceeds from one flags byte to the next.
class ByteCopy {
 public:
    ByteCopy(void *destination, const void *source, unsigned own)
        : to_(static_cast<std::uint8_t *>(destination)),
          from_(static_cast<const std::uint8_t *>(source)),
          own_(own) {}

    void copy(Type type) {
        copy_structure(type, 0);
        copy_to(type.plain_size);
    }

 private:
    void copy_structure(Type type, std::uint32_t place) {
        copy_flags(place);
        for (const Field &field : fields_of(type)) {
            if (field.kind == FieldKind::structure) {
                copy_structure(*field.structure, place + field.offset);
            } else if (has_header(field.kind)) {
                copy_flags(place + field.offset);
            }
        }
    }
    void copy_flags(std::uint32_t place) {
        const std::uint32_t at = place + static_cast<std::uint32_t>(offsetof(kel_object, flags));
        copy_to(at);
        to_[at] = static_cast<std::uint8_t>((from_[at] & ~own_) | (to_[at] & own_));
        done_ = at + 1;
    }
    void copy_to(std::uint32_t end) {
        std::memcpy(to_ + done_, from_ + done_, end - done_);
        done_ = end;
    }

    std::uint8_t *to_;
    const std::uint8_t *from_;
    unsigned own_;
    std::uint32_t done_ = 0;
};

// Removes trace data if the copied flags no longer mark it: nothing would remove the entry
// later. An entry that also holds the offset of a state block is removed with
// its object.
void remove_trace_data(Type type, const Call &call, void *destination, const void *source) {
    constexpr unsigned reasons = OBJ_RA_DATA | OBJ_STATE_ELSEWHERE;
    const bool has_it = (header(destination)->flags & reasons) == OBJ_RA_DATA;
    if (has_it && (header(source)->flags & OBJ_RA_DATA) == 0) {
        std::uint32_t ignored = 0;
        kel_hd_mapping_destroy(call.handle, call.tx_id, destination, &ignored);
    }
    for (const Field &field : fields_of(type)) {
        if (field.kind != FieldKind::structure) continue;
        remove_trace_data(*field.structure, call, place_of(field, destination),
                          place_of(field, source));
    }
}

// Copies the state block. False: tracking is on and one of the two has none.
bool copy_state(Type type, const Call &call, void *destination, const void *source) {
    if (!tracking_is_on(call.handle)) return true;
    if (!admit_mark(call, destination)) return false;
    std::uint8_t *block = state_block(type, call, destination);
    std::uint32_t error = 0;
    update_offsets(type, call.reporting_in(error), destination, block);
    if (!call.failed()) *call.err = error;
    std::memcpy(block, state_block(type, call, source), type.state_length);
    return true;
}

}  // namespace

// Sets each field, also after one has failed: two objects must not share a text.
void own_embedded(Type type, const Call &call, void *destination, const void *source) {
    std::uint32_t first = 0;
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        std::uint32_t error = 0;
        operations(field).set(field, call.reporting_in(error), place_of(field, destination),
                              place_of(field, source));
        if (first == 0) first = error;
    }
    if (first != 0) call.report(first);
}

// Runs with an error set too, for the same reason.
void set(Type type, const Call &call, void *destination, const void *source) {
    adjust_variant(type, call, destination);
    if (destination == source) return;
    if (destination == nullptr || source == nullptr) {
        if (!call.failed()) call.report(ENOENT);
        return;
    }
    if (call.handle->hd_mapping_enabled != 0) remove_trace_data(type, call, destination, source);
    call.log_write(destination, type.plain_size);
    ByteCopy(destination, source, own_flags(call.handle, destination)).copy(type);
    if (!copy_state(type, call, destination, source)) return;
    std::uint32_t error = 0;
    own_embedded(type, call.reporting_in(error), destination, source);
    if (!call.failed()) *call.err = error;
}

}  // namespace tarnbase::object
