// SPDX-License-Identifier: Apache-2.0
// The wire forms of a record and of its key.
//
//   offset  size                record
//        0    27                message header, the runtime's form
//       27    16                the table's LUID
//       43    object::len       value object
//   behind    object::len       key object, on tables keyed by a structure
//
// The key form has no frame: the key field's wire form, or the key object's.
#include <cstring>

#include "frame/conventions.h"
#include "object/object.h"
#include "table/key.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

constexpr std::uint32_t luid_size = sizeof(kel_type_info::luid);
constexpr std::uint32_t frame_size = KEL_MESSAGE_HEADER_SIZE + luid_size;

const char *text_of(std::uint32_t error) { return std::strerror(static_cast<int>(error)); }

// Reserves the header with zeros and copies the LUID behind it; answers the
// cursor. The header itself comes last, when the length is known.
std::uint32_t begin_frame(Model model, kel_handle *handle, char *buffer, std::uint32_t buffer_len,
                          std::uint32_t *err) {
    const auto room = static_cast<std::int32_t>(buffer_len);
    if (room < static_cast<std::int32_t>(KEL_MESSAGE_HEADER_SIZE)) {
        report(handle, err, EMSGSIZE);
        return 0;
    }
    std::memset(buffer, 0, KEL_MESSAGE_HEADER_SIZE);
    if (room < static_cast<std::int32_t>(frame_size)) {
        report(handle, err, EMSGSIZE);
        return KEL_MESSAGE_HEADER_SIZE;
    }
    std::memcpy(buffer + KEL_MESSAGE_HEADER_SIZE, model.luid, luid_size);
    return frame_size;
}

void end_frame(kel_handle *handle, std::uint32_t tx_id, char *buffer, std::uint32_t length,
               std::uint32_t *err) {
    kel_message_header header{};
    header.marker = KEL_MESSAGE_MARKER;
    std::memset(header.filler, 0xff, sizeof header.filler);
    header.state_tracked =
        static_cast<std::uint8_t>(kellib_type_header_get_state_tracking_flag(buffer + frame_size));
    header.stamp = handle->header_stamp;
    header.length = length;
    _kel_message_header_marshal(handle, tx_id, buffer, &header, KEL_MESSAGE_HEADER_SIZE, err);
}

// Appends an object at the cursor. False: the record has none.
bool append(Model model, const Structure &type, kel_handle *handle, std::uint32_t tx_id,
            char *buffer, const void *object, std::uint32_t buffer_len, std::uint32_t &cursor,
            std::uint32_t *err) {
    if (object == nullptr) {
        trace_table(KEL_TRACE_ERROR, "(ERR): Failed to marshal %s record: Field %s is empty",
                    model.name, type.name);
        report(handle, err, ENOENT);
        return false;
    }
    cursor +=
        object::marshal(type, {handle, tx_id, err}, {buffer + cursor, buffer_len - cursor}, object);
    return true;
}

// Reads an object from the cursor into `slot`, in place or into a new one.
void extract(const Structure &type, kel_handle *handle, std::uint32_t tx_id, const char *buffer,
             void *&slot, std::uint32_t buffer_len, std::uint32_t in_place, std::uint32_t &cursor,
             std::uint32_t *err) {
    if (in_place == 0) slot = object::create_internal(type, {handle, tx_id});
    if (slot == nullptr) report(handle, err, in_place != 0 ? ENOENT : ENOMEM);
    if (*err != 0) return;
    cursor += object::unmarshal(type, {handle, tx_id, err}, {buffer + cursor, buffer_len - cursor},
                                slot, InPlace{in_place});
}

}  // namespace

std::uint32_t record_marshal(Model model, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                             const kel_record *record, std::uint32_t buffer_len,
                             std::uint32_t *err) {
    if (*err != 0) {
        trace_table(KEL_TRACE_DEBUG, "(debug): Error present in call to table marshal: %s",
                    text_of(*err));
        return 0;
    }
    kel_clear_last_error(handle);
    auto *bytes = static_cast<char *>(buffer);
    std::uint32_t cursor = begin_frame(model, handle, bytes, buffer_len, err);
    if (!append(model, *model.type, handle, tx_id, bytes, record->object, buffer_len, cursor,
                err)) {
        return cursor;
    }
    if (model.key_type != nullptr && !append(model, *model.key_type, handle, tx_id, bytes,
                                             record->key_object, buffer_len, cursor, err)) {
        return cursor;
    }
    if (*err == 0) end_frame(handle, tx_id, bytes, cursor, err);
    return cursor;
}

std::uint32_t record_marshal_cr(Model model, kel_handle *handle, const kel_record *record,
                                void *buffer, std::uint32_t buffer_len) {
    const std::uint32_t written = record_marshal(model, handle, handle->cr_tx_id, buffer, record,
                                                 buffer_len, &handle->last_error);
    return handle->last_error != 0 ? cr_failure : written;
}

std::uint32_t record_unmarshal(Model model, kel_handle *handle, std::uint32_t tx_id,
                               kel_record **record, const void *buffer, std::uint32_t buffer_len,
                               std::uint32_t in_place, std::uint32_t *err) {
    if (*err != 0) {
        trace_table(KEL_TRACE_DEBUG, "(debug): Error present in call to %s unmarshal: %s",
                    model.name, text_of(*err));
        return 0;
    }
    kel_clear_last_error(handle);
    kel_record *target =
        in_place != 0 ? *record : create_record(model, handle, tx_id, KEL_SOURCE_DEFAULT, err);
    if (target == nullptr) {
        report(handle, err, in_place != 0 ? ENOENT : ENOMEM);
        return 0;
    }
    const auto *bytes = static_cast<const char *>(buffer);
    std::uint32_t cursor = luid_size;  // stepped over unread: any table's frame is taken
    kel_message_header header{};
    cursor += _kel_message_header_unmarshal(handle, tx_id, bytes, &header, buffer_len, err);
    extract(*model.type, handle, tx_id, bytes, target->object, buffer_len, in_place, cursor, err);
    if (model.key_type != nullptr) {
        extract(*model.key_type, handle, tx_id, bytes, target->key_object, buffer_len, in_place,
                cursor, err);
    }
    *record = target;
    return cursor;
}

std::uint32_t record_len(Model model, kel_handle *handle, std::uint32_t tx_id,
                         const kel_record *record) {
    std::uint32_t length = frame_size + object::len(*model.type, {handle, tx_id}, record->object);
    if (model.key_type != nullptr) {
        length += object::len(*model.key_type, {handle, tx_id}, record->key_object);
    }
    return length;
}

std::uint32_t record_len_cr(Model model, kel_handle *handle, const kel_record *record) {
    if (handle->last_error != 0) return 0;
    return record_len(model, handle, handle->cr_tx_id, record);
}

std::uint32_t record_is_modified(Model model, kel_handle *handle, std::uint32_t tx_id,
                                 kel_record *record, std::uint32_t *err) {
    if (*err != 0) {
        trace_table(KEL_TRACE_DEBUG,
                    "(debug): Error present in call to table is modified: %s for %s", text_of(*err),
                    model.name);
        return 0;
    }
    kel_clear_last_error(handle);
    std::uint32_t modified =
        object::type_type_backpropagate(*model.type, {handle, tx_id, err}, record->object);
    if (modified == 0 && model.key_type != nullptr) {
        modified = object::type_type_backpropagate(*model.key_type, {handle, tx_id, err},
                                                   record->key_object);
    }
    if (modified == 0) return 0;
    trace_table(KEL_TRACE_INFO, "(info): Record was modified");
    return 1;
}

std::uint32_t pkey_len(Model model, kel_handle *handle, std::uint32_t tx_id,
                       const kel_record *record) {
    return key_len(model, handle, tx_id, stored_key(model, record));
}

std::uint32_t pkey_marshal(Model model, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                           const kel_record *record, std::uint32_t buffer_len, std::uint32_t *err) {
    if (*err != 0) {
        trace_table(KEL_TRACE_DEBUG, "(debug): Error present in call to table marshal: %s",
                    text_of(*err));
        return 0;
    }
    kel_clear_last_error(handle);
    const void *key = stored_key(model, record);
    if (key_len(model, handle, tx_id, key) > buffer_len) {
        report(handle, err, EMSGSIZE);
        return 0;
    }
    return key_marshal(model, handle, tx_id, buffer, key, buffer_len, err);
}

std::uint32_t pkey_unmarshal(Model model, kel_handle *handle, std::uint32_t tx_id, void **pkey,
                             const void *buffer, std::uint32_t buffer_len, std::uint32_t *err) {
    if (*err != 0) {
        trace_table(KEL_TRACE_DEBUG, "(debug): Error present in call to %s pkey unmarshal: %s",
                    model.name, text_of(*err));
        return 0;
    }
    kel_clear_last_error(handle);
    if (pkey == nullptr) {
        report(handle, err, EFAULT);
        return 0;
    }
    void *holder = pkey_create(model, handle, tx_id);
    if (holder == nullptr) {
        report(handle, err, ENOMEM);
        return 0;
    }
    const std::uint32_t consumed =
        key_unmarshal(model, handle, tx_id, buffer, key_in(model, holder), buffer_len, err);
    *pkey = holder;
    return consumed;
}

}  // namespace tarnbase::table
