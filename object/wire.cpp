// SPDX-License-Identifier: Apache-2.0
// The wire form of an object:
//
//   offset        size  item
//        0           1  variant, signed
//        1           1  flags: OBJ_STATE_TRACKED and OBJ_RA_DATA alone
//        2           -  trace correlation, only with OBJ_RA_DATA
//   jump_base        4  jump: bytes from jump_base to the end of the object
//   jump_base + 4    -  body, unless the variant is negative: the form of each
//                       field of the variant, in field order. With
//                       OBJ_STATE_TRACKED the field's state byte follows; an
//                       array's element flags follow that.
//
// A reader that knows fewer fields than the writer jumps over the rest.
#include <algorithm>
#include <cstring>

#include "frame/conventions.h"
#include "object/epoch.h"
#include "object/fields.h"
#include "object/object.h"
#include "object/state.h"
#include "object/value_operations.h"

namespace tarnbase::object {

namespace {

constexpr std::uint8_t wire_flags = OBJ_STATE_TRACKED | OBJ_RA_DATA;
constexpr std::uint32_t header_length = 6;
constexpr std::uint32_t jump_length = 4;

// Where a form is being written: services get the place and the room that is left.
struct Writer {
    std::uint8_t *buffer;
    std::uint32_t length;
    std::uint32_t cursor = 0;

    std::uint8_t *at() const { return buffer + cursor; }
    std::uint32_t remaining() const { return length - cursor; }

    // In a buffer that is full to the byte the flag still lands behind its end:
    // with tracking on, a buffer has one byte more than its stated length.
    void put_state(std::uint8_t flag) {
        *at() = flag;
        if (remaining() != 0) ++cursor;
    }
    // A null `flags` stands for zeros.
    void put_states(const std::uint8_t *flags, std::uint32_t count) {
        const std::uint32_t fitting = std::min(remaining(), count);
        if (fitting == 0) return;
        if (flags != nullptr) {
            std::memcpy(at(), flags, fitting);
        } else {
            std::memset(at(), 0, fitting);
        }
        cursor += fitting;
    }
};

// Where a form is being read. A jump can take the cursor beyond the end.
struct Reader {
    const std::uint8_t *buffer;
    std::uint32_t length;
    std::uint32_t cursor = 0;

    const std::uint8_t *at() const { return buffer + std::min(cursor, length); }
    std::uint32_t remaining() const { return length - std::min(cursor, length); }
};

void write_states(Writer &out, const Field &field, const std::uint8_t *block) {
    out.put_state(block == nullptr ? std::uint8_t{0} : block[field.state]);
    if (field.kind != FieldKind::array) return;
    out.put_states(block == nullptr ? nullptr : block + field.state + 1, field.elements);
}

// The fields of the variant. `tracked`: state bytes follow, zeros without a block.
void write_body(Type type, kel_handle *handle, std::uint32_t tx_id, const void *object,
                std::int8_t variant, bool tracked, const std::uint8_t *block, Writer &out,
                EpochError &epoch, std::uint32_t *err) {
    for (const Field &field : fields_of(type)) {
        if (field.first_variant > variant) return;
        out.cursor += operations(field).marshal(field, handle, tx_id, out.at(),
                                                place_of(field, object), out.remaining(), err);
        epoch.keep_aside(err);
        if (tracked) write_states(out, field, block);
    }
}

std::int8_t variant_to_write(Type type, kel_handle *handle, const void *object, bool check_variant,
                             std::uint32_t *err) {
    std::int8_t variant = variant_of(object);
    const std::int8_t domain = domain_variant(handle, descriptor_of(object), err);
    if (check_variant && variant > domain) {
        kel_store_epoch_err(handle, EIDRM, err);
        variant = domain;
    }
    return variant_data_index_cap(type, variant);
}

void write_ra_data(kel_handle *handle, std::uint32_t tx_id, const void *object, Writer &out,
                   std::uint32_t *err) {
    std::uint64_t ra_word = 0;
    std::uint8_t ra_byte = 0;
    *err = kellib_get_ra_data(handle, tx_id, object, &ra_word, &ra_byte);
    out.cursor += _kel_instance_ra_data_marshal(handle, tx_id, out.at(), &ra_word, &ra_byte,
                                                out.remaining(), err);
}

std::uint32_t write(Type type, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                    const void *object, std::uint32_t buffer_len, bool check_variant,
                    std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    if (static_cast<std::int32_t>(buffer_len) < 1) {
        report(handle, err, ENOMEM);
        return 0;
    }
    EpochError epoch;
    Writer out = {static_cast<std::uint8_t *>(buffer), buffer_len};
    const std::int8_t variant = variant_to_write(type, handle, object, check_variant, err);
    epoch.keep_aside(err);
    out.cursor +=
        _kel_instance_variant_marshal(handle, tx_id, out.at(), &variant, out.remaining(), err);

    std::uint8_t flags = kel_get_instance_obj_flag(object, 1, 0);
    const bool tracked = tracking_is_on(handle);
    const std::uint8_t *block = tracked && has_state_block(object)
                                    ? state_block(type, handle, tx_id, object, flags)
                                    : nullptr;
    flags = static_cast<std::uint8_t>((flags & OBJ_RA_DATA) | (tracked ? OBJ_STATE_TRACKED : 0U));
    out.cursor +=
        _kel_instance_obj_flag_marshal(handle, tx_id, out.at(), &flags, out.remaining(), err);
    if ((flags & OBJ_RA_DATA) != 0) write_ra_data(handle, tx_id, object, out, err);

    const std::uint32_t jump_base = out.cursor;
    std::int32_t jump = 0;
    const std::uint32_t reserved =
        _kel_variant_jump_marshal(handle, tx_id, out.at(), &jump, out.remaining(), err);
    out.cursor += reserved;
    if (variant >= 0) {
        write_body(type, handle, tx_id, object, variant, tracked, block, out, epoch, err);
    }
    jump = static_cast<std::int32_t>(out.cursor - jump_base);
    // Written with what stands also after an error, if there is an item to patch.
    std::uint32_t slot = 0;
    if (reserved != 0) {
        _kel_variant_jump_marshal(handle, tx_id, out.buffer + jump_base, &jump, jump_length, &slot);
    }
    if (*err == 0) *err = slot;
    epoch.put_back(handle, err);
    return out.cursor;
}

}  // namespace

std::uint32_t marshal(Type type, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                      const void *object, std::uint32_t buffer_len, std::uint32_t *err) {
    return write(type, handle, tx_id, buffer, object, buffer_len, true, err);
}

std::uint32_t marshal_for_clone(Type type, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                                const void *object, std::uint32_t buffer_len, std::uint32_t *err) {
    return write(type, handle, tx_id, buffer, object, buffer_len, false, err);
}

namespace {

// What is to be done with the state bytes of a form.
enum class StateBytes { absent, skip, copy };

StateBytes settle_states(kel_handle *handle, const void *object, std::uint8_t &flags) {
    const bool on_wire = (flags & OBJ_STATE_TRACKED) != 0;
    if (!tracking_is_on(handle)) {
        flags = static_cast<std::uint8_t>(flags & ~OBJ_STATE_TRACKED);
        return on_wire ? StateBytes::skip : StateBytes::absent;
    }
    if (!has_state_block(object)) {
        trace_type(KEL_TRACE_FATAL, "(FATAL): KEL handle and object state tracking mis-match");
        std::abort();
    }
    flags = static_cast<std::uint8_t>(flags | OBJ_STATE_TRACKED);
    return on_wire ? StateBytes::copy : StateBytes::absent;
}

// Moves up to `count` state bytes to the block, or past them; a buffer that ends
// early has fewer.
void read_states(kel_handle *handle, std::uint32_t tx_id, Reader &in, std::uint8_t *block,
                 std::uint32_t count) {
    const std::uint32_t present = std::min(in.remaining(), count);
    if (present == 0) return;
    if (block != nullptr) {
        log_write(handle, tx_id, block, present);
        std::memcpy(block, in.at(), present);
    }
    in.cursor += present;
}

void read_body(Type type, kel_handle *handle, std::uint32_t tx_id, void *object,
               std::int8_t variant, StateBytes states, Reader &in, std::uint32_t in_place,
               std::uint32_t *err) {
    std::uint8_t *block = states == StateBytes::copy
                              ? state_block(type, handle, tx_id, object, header(object)->flags)
                              : nullptr;
    for (const Field &field : fields_of(type)) {
        if (field.first_variant > variant) return;
        in.cursor += operations(field).unmarshal(
            field, handle, tx_id, in.at(), place_of(field, object), in.remaining(), in_place, err);
        if (states == StateBytes::absent) continue;
        read_states(handle, tx_id, in, block == nullptr ? nullptr : block + field.state, 1);
        if (field.kind != FieldKind::array) continue;
        read_states(handle, tx_id, in, block == nullptr ? nullptr : block + field.state + 1,
                    field.elements);
    }
}

// False: it didn't arrive, and the object isn't to be marked as carrying it.
bool read_ra_data(kel_handle *handle, std::uint32_t tx_id, void *object, Reader &in,
                  std::uint32_t *err) {
    std::uint64_t ra_word = 0;
    std::uint8_t ra_byte = 0;
    in.cursor += _kel_instance_ra_data_unmarshal(handle, tx_id, in.at(), &ra_word, &ra_byte,
                                                 in.remaining(), err);
    if (*err != 0) return false;
    kellib_update_ra_all(handle, tx_id, object, ra_word, ra_byte);
    return true;
}

// Goes on at the jump's end if the writer wrote more than was read.
void recover(Reader &in, std::uint32_t jump_base, std::int32_t jump) {
    const std::uint32_t end = jump_base + static_cast<std::uint32_t>(jump);
    if (static_cast<std::int32_t>(end) <= static_cast<std::int32_t>(in.cursor)) return;
    trace_type(KEL_TRACE_INFO,
               "(info): offset_jump read_len %d offset_jump_base %d _kel_variant_jump %d",
               static_cast<std::int32_t>(in.cursor), static_cast<std::int32_t>(jump_base), jump);
    in.cursor = end;
}

}  // namespace

std::uint32_t unmarshal(Type type, kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                        void *object, std::uint32_t buffer_len, std::uint32_t in_place,
                        std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    if (static_cast<std::int32_t>(buffer_len) < 1) {
        report(handle, err, ENOMEM);
        return 0;
    }
    Reader in = {static_cast<const std::uint8_t *>(buffer), buffer_len};
    std::int8_t variant = 0;
    in.cursor +=
        _kel_instance_variant_unmarshal(handle, tx_id, in.at(), &variant, in.remaining(), err);
    std::uint8_t flags = 0;
    in.cursor +=
        _kel_instance_obj_flag_unmarshal(handle, tx_id, in.at(), &flags, in.remaining(), err);
    // The other bits are nobody's to send.
    flags &= wire_flags;
    if ((flags & OBJ_RA_DATA) != 0 && !read_ra_data(handle, tx_id, object, in, err)) {
        flags = static_cast<std::uint8_t>(flags & ~OBJ_RA_DATA);
    }
    variant = variant_data_index_cap(type, variant);

    const std::uint32_t jump_base = in.cursor;
    std::int32_t jump = 0;
    in.cursor += _kel_variant_jump_unmarshal(handle, tx_id, in.at(), &jump, in.remaining(), err);
    const StateBytes states = settle_states(handle, object, flags);
    if (variant >= 0) {
        read_body(type, handle, tx_id, object, variant, states, in, in_place, err);
    }
    recover(in, jump_base, jump);

    kel_object *head = header(object);
    logged_store(handle, tx_id, head->variant, variant);
    logged_store(handle, tx_id, head->flags, static_cast<std::uint8_t>(head->flags | flags));
    logged_store(handle, tx_id, head->descriptor,
                 choose_descriptor(handle, tx_id, type.descriptor));
    return in.cursor;
}

std::uint32_t len(Type type, kel_handle *handle, std::uint32_t tx_id, const void *object) {
    const std::int8_t variant = variant_of(object);
    if (variant < 0) return header_length;
    const bool tracked = object != nullptr && tracking_is_on(handle);
    std::uint32_t length = header_length;
    for (const Field &field : fields_of(type)) {
        if (field.first_variant > variant) break;
        length += operations(field).len(field, handle, tx_id, place_of(field, object));
        if (tracked) length += 1 + field.elements;
    }
    return length;
}

std::uint32_t len_cr(Type type, kel_handle *handle, const void *object) {
    if (handle->last_error != 0) return 0;
    return len(type, handle, handle->cr_tx_id, object);
}

}  // namespace tarnbase::object
