// SPDX-License-Identifier: Apache-2.0
// The wire forms of a record and of its key.
//
//   offset  size                record
//        0    27                message header, the runtime's form
//       27    16                the table's LUID
//       43    object::len       the object
//   after it  object::len       the key object, on tables keyed by a structure
//
// The key's form has no header: it is the wire form of the key field or of the key object.
#include <cstring>

#include "frame/conventions.h"
#include "object/header.h"
#include "object/object.h"
#include "object/value_operations.h"
#include "table/key.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

using object::error_text;

constexpr std::uint32_t luid_size = sizeof(kel_type_info::luid);
constexpr std::uint32_t frame_size = KEL_MESSAGE_HEADER_SIZE + luid_size;

// Reserves the header, as zeros, and writes the LUID after it. The header is written last,
// when the length is known.
void begin_frame(Model model, const Call &call, Output &out) {
    const auto length = static_cast<std::int32_t>(out.remaining());
    if (length < static_cast<std::int32_t>(KEL_MESSAGE_HEADER_SIZE)) {
        call.report(EMSGSIZE);
        return;
    }
    std::memset(out.at(), 0, KEL_MESSAGE_HEADER_SIZE);
    out.advance(KEL_MESSAGE_HEADER_SIZE);
    if (length < static_cast<std::int32_t>(frame_size)) {
        call.report(EMSGSIZE);
        return;
    }
    std::memcpy(out.at(), model.luid, luid_size);
    out.advance(luid_size);
}

// Writes the header of the frame of `length` bytes at `frame`.
void end_frame(const Call &call, char *frame, std::uint32_t length) {
    kel_message_header header{};
    header.marker = KEL_MESSAGE_MARKER;
    std::memset(header.filler, 0xff, sizeof header.filler);
    header.state_tracked =
        static_cast<std::uint8_t>(kellib_type_header_get_state_tracking_flag(frame + frame_size));
    header.stamp = call.handle->header_stamp;
    header.length = length;
    _kel_message_header_marshal(call.handle, call.tx_id, frame, &header, KEL_MESSAGE_HEADER_SIZE,
                                call.err);
}

// Writes an object. False: the record has none.
bool append(Model model, const Structure &type, const Call &call, Output &out, const void *object) {
    if (object == nullptr) {
        trace_table(KEL_TRACE_ERROR, "(ERR): Failed to marshal %s record: Field %s is empty",
                    model.name, type.name);
        call.report(ENOENT);
        return false;
    }
    out.advance(object::marshal(type, call, out.rest(), object));
    return true;
}

// Reads an object into the one at `slot`, or into a new one that is stored there.
void extract(const Structure &type, const Call &call, Input &in, void *&slot, InPlace in_place) {
    if (in_place == InPlace::no) slot = object::create_internal(type, call);
    if (slot == nullptr) call.report(in_place == InPlace::no ? ENOMEM : ENOENT);
    if (call.failed()) return;
    in.advance(object::unmarshal(type, call, in.rest(), slot, in_place));
}

}  // namespace

std::uint32_t record_marshal(Model model, const Call &call, Output out, const kel_record *record) {
    if (call.failed()) {
        trace_table(KEL_TRACE_DEBUG, "(debug): Error present in call to table marshal: %s",
                    error_text(*call.err));
        return 0;
    }
    call.enter();
    char *const frame = out.at();
    begin_frame(model, call, out);
    if (!append(model, *model.type, call, out, record->object)) return out.used();
    if (model.key_type != nullptr &&
        !append(model, *model.key_type, call, out, record->key_object)) {
        return out.used();
    }
    if (!call.failed()) end_frame(call, frame, out.used());
    return out.used();
}

std::uint32_t record_marshal_cr(Model model, kel_handle *handle, Output out,
                                const kel_record *record) {
    const std::uint32_t written = record_marshal(model, Call::cr(handle), out, record);
    return handle->last_error != 0 ? cr_failure : written;
}

std::uint32_t record_unmarshal(Model model, const Call &call, Input in, kel_record **record,
                               InPlace in_place) {
    if (call.failed()) {
        trace_table(KEL_TRACE_DEBUG, "(debug): Error present in call to %s unmarshal: %s",
                    model.name, error_text(*call.err));
        return 0;
    }
    call.enter();
    kel_record *target =
        in_place == InPlace::no ? create_record(model, call, KEL_SOURCE_DEFAULT) : *record;
    if (target == nullptr) {
        call.report(in_place == InPlace::no ? ENOMEM : ENOENT);
        return 0;
    }
    kel_message_header header{};
    in.advance(_kel_message_header_unmarshal(call.handle, call.tx_id, in.at(), &header,
                                             in.remaining(), call.err));
    in.advance(luid_size);  // skipped: the frame of any table is read
    extract(*model.type, call, in, target->object, in_place);
    if (model.key_type != nullptr) {
        extract(*model.key_type, call, in, target->key_object, in_place);
    }
    *record = target;
    return in.used();
}

std::uint32_t record_len(Model model, const Call &call, const kel_record *record) {
    std::uint32_t length = frame_size + object::len(*model.type, call, record->object);
    if (model.key_type != nullptr) {
        length += object::len(*model.key_type, call, record->key_object);
    }
    return length;
}

std::uint32_t record_len_cr(Model model, kel_handle *handle, const kel_record *record) {
    if (handle->last_error != 0) return 0;
    return record_len(model, Call::cr(handle), record);
}

std::uint32_t record_is_modified(Model model, const Call &call, kel_record *record) {
    if (call.failed()) {
        trace_table(KEL_TRACE_DEBUG,
                    "(debug): Error present in call to table is modified: %s for %s",
                    error_text(*call.err), model.name);
        return 0;
    }
    call.enter();
    std::uint32_t modified = object::type_type_backpropagate(*model.type, call, record->object);
    if (modified == 0 && model.key_type != nullptr) {
        modified = object::type_type_backpropagate(*model.key_type, call, record->key_object);
    }
    if (modified == 0) return 0;
    trace_table(KEL_TRACE_INFO, "(info): Record was modified");
    return 1;
}

std::uint32_t pkey_len(Model model, const Call &call, const kel_record *record) {
    return object::operations(*model.key).len(*model.key, call, stored_key(model, record));
}

std::uint32_t pkey_marshal(Model model, const Call &call, Output out, const kel_record *record) {
    if (call.failed()) {
        trace_table(KEL_TRACE_DEBUG, "(debug): Error present in call to table marshal: %s",
                    error_text(*call.err));
        return 0;
    }
    call.enter();
    if (pkey_len(model, call, record) > out.remaining()) {
        call.report(EMSGSIZE);
        return 0;
    }
    const Field &key = *model.key;
    return object::operations(key).marshal(key, call, out, stored_key(model, record));
}

std::uint32_t pkey_unmarshal(Model model, const Call &call, Input in, void **pkey) {
    if (call.failed()) {
        trace_table(KEL_TRACE_DEBUG, "(debug): Error present in call to %s pkey unmarshal: %s",
                    model.name, error_text(*call.err));
        return 0;
    }
    call.enter();
    if (pkey == nullptr) {
        call.report(EFAULT);
        return 0;
    }
    void *holder = pkey_create(model, call);
    if (holder == nullptr) {
        call.report(ENOMEM);
        return 0;
    }
    const Field &key = *model.key;
    const std::uint32_t consumed = object::operations(key).unmarshal(
        key, call, in, object::place_of(key, holder), InPlace::no);
    *pkey = holder;
    return consumed;
}

}  // namespace tarnbase::table
