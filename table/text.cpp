// SPDX-License-Identifier: Apache-2.0
// The text and XML forms of a record, and the text form of its key.
#include <cstdio>

#include "frame/conventions.h"
#include "object/object.h"
#include "table/key.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

constexpr std::uint32_t object_indent = 2;
constexpr std::size_t path_size = 256;

// A caller's buffer that is filled from the front.
struct Room {
    char *buffer;
    std::uint32_t length;
    std::uint32_t used = 0;

    char *at() const { return buffer + used; }
    std::uint32_t left() const { return length - used; }
};

// Appends an object's text. Its wire length is the room that it must find.
void print_object(const Structure &type, kel_handle *handle, std::uint32_t tx_id, Room &output,
                  const void *object, std::uint32_t *err) {
    const std::uint32_t wanted = object::len(type, {handle, tx_id}, object);
    if (static_cast<std::int32_t>(output.left()) < static_cast<std::int32_t>(wanted)) {
        report(handle, err, EMSGSIZE);
        return;
    }
    output.used += object::print(type, {handle, tx_id, err}, {output.at(), output.left()},
                                 {type.name, object_indent}, object);
}

void object_to_xml(const Structure &type, kel_handle *handle, std::uint32_t tx_id, Room &output,
                   const void *object, std::uint32_t *err) {
    output.used += object::to_xml(type, {handle, tx_id, err}, {output.at(), output.left()},
                                  {type.name}, object);
}

// Makes an object in `slot` and reads it from wherever the document has it. An
// absent element leaves `*err` at 2. False: the record can't be had.
bool object_from_xml(const Structure &type, kel_handle *handle, std::uint32_t tx_id, void *document,
                     void *&slot, std::uint32_t *err, char *message, std::uint32_t message_len) {
    slot = object::create_internal(type, {handle, tx_id});
    if (slot == nullptr) {
        report(handle, err, ENOMEM);
        return false;
    }
    char path[path_size];
    std::snprintf(path, sizeof path, "//%s", type.name);
    object::from_xml(type, {handle, tx_id, err}, {document, path, message, message_len}, slot);
    return *err == 0 || *err == ENOENT;
}

}  // namespace

std::uint32_t pkey_print(Model model, kel_handle *handle, std::uint32_t tx_id, kel_table *table,
                         const kel_record *record, char *buffer, std::uint32_t buffer_len,
                         std::uint32_t *err) {
    if (*err != 0) return 0;
    if (handle == nullptr) {
        *err = EINVAL;  // there is no handle to keep it in
        return 0;
    }
    kel_clear_last_error(handle);
    if (table == nullptr || record == nullptr) {
        report(handle, err, EINVAL);
        return 0;
    }
    const void *key = stored_key(model, record);
    if (static_cast<std::int32_t>(key_len(model, handle, tx_id, key)) >
        static_cast<std::int32_t>(buffer_len)) {
        report(handle, err, EMSGSIZE);
        return 0;
    }
    return key_print(model, handle, tx_id, buffer, key, buffer_len, err);
}

std::uint32_t record_print(Model model, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                           const kel_record *record, std::uint32_t buffer_len, std::uint32_t *err) {
    Room output{buffer, buffer_len};
    output.used += kel_print_space(handle, tx_id, output.at(), 0, output.left(), err);
    output.used +=
        kel_snprintf(handle, tx_id, output.at(), output.left(), err, "record@%s: {\n", model.name);
    if (*err == 0) print_object(*model.type, handle, tx_id, output, record->object, err);
    if (*err == 0 && model.key_type != nullptr) {
        print_object(*model.key_type, handle, tx_id, output, record->key_object, err);
    }
    // The record is closed also after an error, as far as the services write then.
    output.used += kel_print_space(handle, tx_id, output.at(), 0, output.left(), err);
    output.used += kel_snprintf(handle, tx_id, output.at(), output.left(), err, "}\n");
    return output.used;
}

std::uint32_t record_print_cr(Model model, kel_handle *handle, const kel_record *record,
                              char *buffer, std::uint32_t buffer_len) {
    if (handle->last_error != 0) return cr_failure;
    const std::uint32_t written = record_print(model, handle, handle->cr_tx_id, buffer, record,
                                               buffer_len, &handle->last_error);
    return handle->last_error != 0 ? cr_failure : written;
}

std::uint32_t record_to_xml(Model model, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                            const kel_record *record, std::uint32_t buffer_len,
                            std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    Room output{buffer, buffer_len};
    output.used += start_tag(handle, tx_id, output.at(), model.name, output.left(), 0, err);
    if (*err == 0) object_to_xml(*model.type, handle, tx_id, output, record->object, err);
    if (*err == 0 && model.key_type != nullptr) {
        object_to_xml(*model.key_type, handle, tx_id, output, record->key_object, err);
    }
    output.used += end_tag(handle, tx_id, output.at(), model.name, output.left(), err);
    return output.used;
}

std::uint32_t record_toxml_cr(Model model, kel_handle *handle, const kel_record *record,
                              char *buffer, std::uint32_t buffer_len) {
    if (handle->last_error != 0) return cr_failure;
    const std::uint32_t written = record_to_xml(model, handle, handle->cr_tx_id, buffer, record,
                                                buffer_len, &handle->last_error);
    return handle->last_error != 0 ? cr_failure : written;
}

// On a failure the record isn't released: the caller ends its transaction.
kel_record *record_from_xml(Model model, kel_handle *handle, std::uint32_t tx_id, void *document,
                            std::uint32_t *err, char *message, std::uint32_t message_len) {
    if (!enter(handle, err)) return nullptr;
    kel_record *record = create_record(model, handle, tx_id, KEL_SOURCE_DEFAULT, err);
    if (record == nullptr) {
        report(handle, err, ENOMEM);
        return nullptr;
    }
    if (!object_from_xml(*model.type, handle, tx_id, document, record->object, err, message,
                         message_len)) {
        return nullptr;
    }
    if (model.key_type != nullptr &&
        !object_from_xml(*model.key_type, handle, tx_id, document, record->key_object, err, message,
                         message_len)) {
        return nullptr;
    }
    *err = 0;  // an absent element is no error here
    return record;
}

}  // namespace tarnbase::table
