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
// A reader that has fewer fields than the writer jumps over the rest.
#include <algorithm>
#include <cstring>

#include "frame/conventions.h"
#include "object/epoch.h"
#include "object/fields.h"
#include "object/head.h"
#include "object/object.h"
#include "object/runs.h"
#include "object/state.h"
#include "object/stretch.h"
#include "object/value_operations.h"

namespace tarnbase::object {

namespace {

constexpr std::uint8_t wire_flags = OBJ_STATE_TRACKED | OBJ_RA_DATA;

// ---- Writing --------------------------------------------------------------------

// In a full buffer the flag is stored after its end: with tracking on, a buffer has
// one byte more than its stated length.
void put_state(Output &out, std::uint8_t flag) {
    *out.at() = static_cast<char>(flag);
    if (out.remaining() != 0) out.advance(1);
}

// Null `flags`: zeros.
void put_states(Output &out, const std::uint8_t *flags, std::uint32_t count) {
    const std::uint32_t fitting = std::min(out.remaining(), count);
    if (fitting == 0) return;
    if (flags != nullptr) {
        std::memcpy(out.at(), flags, fitting);
    } else {
        std::memset(out.at(), 0, fitting);
    }
    out.advance(fitting);
}

// The body of a form that is being written.
struct Body {
    Type type;
    std::int8_t variant;
    bool tracked;               // state bytes follow the fields
    const std::uint8_t *block;  // null: they are zeros
};

void write_states(const Body &body, const Field &field, Output &out) {
    const std::uint8_t *block = body.block;
    put_state(out, block == nullptr ? std::uint8_t{0} : block[field.state]);
    if (field.kind != FieldKind::array) return;
    put_states(out, block == nullptr ? nullptr : block + field.state + 1, field.elements);
}

void write_body(const Body &body, const Call &call, const void *object, Output &out,
                EpochError &epoch) {
    const FieldRange fields = fields_of(body.type);
    const bool by_stretches =
        !body.tracked && object != nullptr && piece_operations.marshal != nullptr;
    for (const Field *field = fields.begin(); field != fields.end();) {
        if (field->first_variant > body.variant) return;
        const FieldsFrom rest = {field, fields.end(), body.variant};
        if (by_stretches && may_begin_stretch(rest)) {
            field = write_stretch(call, out, rest, object);
            if (field != rest.field) continue;
        }
        const void *place = place_of(*field, object);
        if (const kel_marshal_run run = body.tracked ? nullptr : marshal_run_at(*field)) {
            out.advance(run(call.handle, call.tx_id, out.at(), place, field->run, out.remaining(),
                            call.err));
            field += field->run;
            continue;
        }
        out.advance(operations(*field).marshal(*field, call, out.rest(), place));
        epoch.set_aside(call);
        if (body.tracked) write_states(body, *field, out);
        ++field;
    }
}

// Whether the form is that of the domain's variant if the object is newer.
enum class Limit : std::uint8_t { domain, none };

std::int8_t variant_to_write(Type type, const Call &call, const void *object, Limit limit) {
    std::int8_t variant = variant_of(object);
    const std::int8_t domain = domain_variant(call, descriptor_of(object));
    if (limit == Limit::domain && variant > domain) {
        call.report_epoch();
        variant = domain;
    }
    return variant_data_index_cap(type, variant);
}

void write_ra_data(const Call &call, const void *object, Output &out) {
    std::uint64_t ra_word = 0;
    std::uint8_t ra_byte = 0;
    *call.err = kellib_get_ra_data(call.handle, call.tx_id, object, &ra_word, &ra_byte);
    out.advance(_kel_instance_ra_data_marshal(call.handle, call.tx_id, out.at(), &ra_word, &ra_byte,
                                              out.remaining(), call.err));
}

void write_jump_and_body(const Body &body, const Call &call, const void *object, Output &out,
                         EpochError &epoch) {
    char *place = out.at();
    const std::uint32_t jump_base = out.used();
    std::int32_t jump = 0;
    const std::uint32_t reserved =
        _kel_variant_jump_marshal(call.handle, call.tx_id, place, &jump, out.remaining(), call.err);
    out.advance(reserved);
    if (body.variant >= 0) write_body(body, call, object, out, epoch);
    jump = static_cast<std::int32_t>(out.used() - jump_base);
    // Written after an error too, over what was reserved.
    std::uint32_t error = 0;
    if (reserved != 0) {
        _kel_variant_jump_marshal(call.handle, call.tx_id, place, &jump, jump_length, &error);
    }
    if (!call.failed()) *call.err = error;
}

// Whether the head has no flags.
bool has_plain_form(const Call &call, const void *object) {
    return !call.failed() && (kel_get_instance_obj_flag(object, 1, 0) & OBJ_RA_DATA) == 0 &&
           !tracking_is_on(call.handle);
}

// The same with a head without flags before it, for which the buffer has space.
void write_plain(const Body &body, const Call &call, const void *object, Output &out,
                 EpochError &epoch) {
    char *const head = out.at();
    store_head(head, body.variant);
    out.advance(head_length);
    if (body.variant >= 0) write_body(body, call, object, out, epoch);
    store_jump(head + jump_offset, out.used() - jump_offset);
}

std::uint32_t write(Type type, const Call &call, Output out, const void *object, Limit limit) {
    if (!call.enter()) return 0;
    if (out.is_empty()) {
        call.report(ENOMEM);
        return 0;
    }
    EpochError epoch;
    const std::int8_t variant = variant_to_write(type, call, object, limit);
    epoch.set_aside(call);
    if (may_write_head(out) && has_plain_form(call, object)) {
        write_plain({type, variant, false, nullptr}, call, object, out, epoch);
        epoch.put_back(call);
        return out.used();
    }
    out.advance(_kel_instance_variant_marshal(call.handle, call.tx_id, out.at(), &variant,
                                              out.remaining(), call.err));

    std::uint8_t flags = kel_get_instance_obj_flag(object, 1, 0);
    const bool tracked = tracking_is_on(call.handle);
    const std::uint8_t *block =
        tracked && has_state_block(object) ? state_block(type, call, object, flags) : nullptr;
    flags = static_cast<std::uint8_t>((flags & OBJ_RA_DATA) | (tracked ? OBJ_STATE_TRACKED : 0U));
    out.advance(_kel_instance_obj_flag_marshal(call.handle, call.tx_id, out.at(), &flags,
                                               out.remaining(), call.err));
    if ((flags & OBJ_RA_DATA) != 0) write_ra_data(call, object, out);

    write_jump_and_body({type, variant, tracked, block}, call, object, out, epoch);
    epoch.put_back(call);
    return out.used();
}

}  // namespace

std::uint32_t marshal(Type type, const Call &call, Output out, const void *object) {
    return write(type, call, out, object, Limit::domain);
}

std::uint32_t marshal_for_clone(Type type, const Call &call, Output out, const void *object) {
    return write(type, call, out, object, Limit::none);
}

// ---- Reading --------------------------------------------------------------------

namespace {

// What is done with the state bytes of a form.
enum class StateBytes : std::uint8_t { absent, skip, copy };

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
void read_states(const Call &call, Input &in, std::uint8_t *block, std::uint32_t count) {
    const std::uint32_t present = std::min(in.remaining(), count);
    if (present == 0) return;
    if (block != nullptr) {
        call.log_write(block, present);
        std::memcpy(block, in.at(), present);
    }
    in.advance(present);
}

void read_field_states(const Call &call, Input &in, const Field &field, std::uint8_t *block) {
    std::uint8_t *flags = block == nullptr ? nullptr : block + field.state;
    read_states(call, in, flags, 1);
    if (field.kind != FieldKind::array) return;
    read_states(call, in, flags == nullptr ? nullptr : flags + 1, field.elements);
}

// What an object is filled with.
struct Source {
    std::int8_t variant;
    StateBytes states;
    bool tracked;  // the object gets state bytes, whether the form has them or not
    InPlace in_place;
};

void read_body(Type type, const Call &call, const Source &source, Input &in, void *object) {
    std::uint8_t *block =
        source.states == StateBytes::copy ? state_block(type, call, object) : nullptr;
    const bool has_states = source.states != StateBytes::absent;
    const bool by_stretches =
        !has_states && !source.tracked && piece_operations.unmarshal != nullptr;
    const FieldRange fields = fields_of(type);
    for (const Field *field = fields.begin(); field != fields.end();) {
        if (field->first_variant > source.variant) return;
        const FieldsFrom rest = {field, fields.end(), source.variant};
        if (by_stretches && may_begin_stretch(rest)) {
            field = read_stretch(call, in, rest, object);
            if (field != rest.field) continue;
        }
        void *place = place_of(*field, object);
        if (const kel_unmarshal_run run = has_states ? nullptr : unmarshal_run_at(*field)) {
            in.advance(run(call.handle, call.tx_id, in.at(), place, field->run, in.remaining(),
                           static_cast<std::uint32_t>(source.in_place), call.err));
            field += field->run;
            continue;
        }
        in.advance(operations(*field).unmarshal(*field, call, in.rest(), place, source.in_place));
        if (has_states) read_field_states(call, in, *field, block);
        ++field;
    }
}

// False: it wasn't read, and the object must not be marked as carrying it.
bool read_ra_data(const Call &call, void *object, Input &in) {
    std::uint64_t ra_word = 0;
    std::uint8_t ra_byte = 0;
    in.advance(_kel_instance_ra_data_unmarshal(call.handle, call.tx_id, in.at(), &ra_word, &ra_byte,
                                               in.remaining(), call.err));
    if (call.failed()) return false;
    kellib_update_ra_all(call.handle, call.tx_id, object, ra_word, ra_byte);
    return true;
}

// Continues at the jump's end if the writer wrote more than was read.
void recover(Input &in, std::uint32_t jump_base, std::int32_t jump) {
    const std::uint32_t end = jump_base + static_cast<std::uint32_t>(jump);
    if (static_cast<std::int32_t>(end) <= static_cast<std::int32_t>(in.used())) return;
    trace_type(KEL_TRACE_INFO,
               "(info): offset_jump read_len %d offset_jump_base %d _kel_variant_jump %d",
               static_cast<std::int32_t>(in.used()), static_cast<std::int32_t>(jump_base), jump);
    in.advance(end - in.used());
}

std::uint8_t read_flags(const Call &call, Input &in, void *object) {
    std::uint8_t flags = 0;
    in.advance(_kel_instance_obj_flag_unmarshal(call.handle, call.tx_id, in.at(), &flags,
                                                in.remaining(), call.err));
    flags &= wire_flags;  // a sender can't set the other ones
    if ((flags & OBJ_RA_DATA) != 0 && !read_ra_data(call, object, in)) {
        flags = static_cast<std::uint8_t>(flags & ~OBJ_RA_DATA);
    }
    return flags;
}

struct Head {
    std::int8_t variant = 0;
    std::uint8_t flags = 0;
    std::uint32_t jump_base = 0;
    std::int32_t jump = 0;
};

Head read_head(const Call &call, Input &in, void *object) {
    Head head;
    in.advance(_kel_instance_variant_unmarshal(call.handle, call.tx_id, in.at(), &head.variant,
                                               in.remaining(), call.err));
    head.flags = read_flags(call, in, object);
    head.jump_base = in.used();
    in.advance(_kel_variant_jump_unmarshal(call.handle, call.tx_id, in.at(), &head.jump,
                                           in.remaining(), call.err));
    return head;
}

Head read_plain_head(Input &in) {
    const char *const at = in.at();
    in.advance(head_length);
    return {static_cast<std::int8_t>(at[0]), 0, jump_offset,
            static_cast<std::int32_t>(load_jump(at + jump_offset))};
}

// Announces a whole header, if the runtime can do so at once, and not by its members.
bool announce_header(const Call &call, kel_object *head) {
    return piece_operations.unmarshal != nullptr &&
           piece_operations.unmarshal(call.handle, call.tx_id, nullptr, nullptr, 0, head,
                                      KEL_OBJECT_HEADER_SIZE) != 0;
}

void store_header(Type type, const Call &call, const Head &form, kel_object *head) {
    const std::int8_t variant = variant_data_index_cap(type, form.variant);
    const auto flags = static_cast<std::uint8_t>(head->flags | form.flags);
    if (announce_header(call, head)) {
        head->variant = variant;
        head->flags = flags;
        head->descriptor = choose_descriptor(call, type.descriptor);
        return;
    }
    call.logged_store(head->variant, variant);
    call.logged_store(head->flags, flags);
    call.logged_store(head->descriptor, choose_descriptor(call, type.descriptor));
}

}  // namespace

std::uint32_t unmarshal(Type type, const Call &call, Input in, void *object, InPlace in_place) {
    if (!call.enter()) return 0;
    if (in.is_empty()) {
        call.report(ENOMEM);
        return 0;
    }
    Head head = has_plain_head(in) ? read_plain_head(in) : read_head(call, in, object);
    const StateBytes states = settle_states(call.handle, object, head.flags);
    const bool tracked = (head.flags & OBJ_STATE_TRACKED) != 0;
    const std::int8_t variant = variant_data_index_cap(type, head.variant);
    if (variant >= 0) read_body(type, call, {variant, states, tracked, in_place}, in, object);
    recover(in, head.jump_base, head.jump);
    store_header(type, call, head, header(object));
    return in.used();
}

std::uint32_t len(Type type, const Call &call, const void *object) {
    const std::int8_t variant = variant_of(object);
    if (variant < 0) return head_length;
    const bool tracked = object != nullptr && tracking_is_on(call.handle);
    std::uint32_t length = head_length;
    for (const Field &field : fields_of(type)) {
        if (field.first_variant > variant) break;
        length += operations(field).len(field, call, place_of(field, object));
        if (tracked) length += 1 + field.elements;
    }
    return length;
}

std::uint32_t len_cr(Type type, kel_handle *handle, const void *object) {
    if (handle->last_error != 0) return 0;
    return len(type, Call::cr(handle), object);
}

}  // namespace tarnbase::object
