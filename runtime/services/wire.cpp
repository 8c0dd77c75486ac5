// SPDX-License-Identifier: Apache-2.0
// Wire primitives, and what is on the wire besides the fields.
#include "runtime/handle/handle.h"
#include "runtime/handle/mappings.h"
#include "runtime/services/own.h"
#include "runtime/variant/instance.h"
#include "runtime/wire/items.h"
#include "runtime/wire/message_header.h"

using namespace tarnbase::runtime;

std::uint32_t _kel_instance_variant_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                            const std::int8_t *variant, std::uint32_t remaining,
                                            std::uint32_t *err) {
    return write_item(handle, buffer, *variant, remaining, err);
}

std::uint32_t _kel_instance_variant_unmarshal(kel_handle *handle, std::uint32_t, const void *buffer,
                                              std::int8_t *variant, std::uint32_t remaining,
                                              std::uint32_t *err) {
    return read_item(handle, buffer, variant, remaining, err);
}

std::uint32_t _kel_instance_obj_flag_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                             const std::uint8_t *flags, std::uint32_t remaining,
                                             std::uint32_t *err) {
    return write_item(handle, buffer, *flags, remaining, err);
}

std::uint32_t _kel_instance_obj_flag_unmarshal(kel_handle *handle, std::uint32_t,
                                               const void *buffer, std::uint8_t *flags,
                                               std::uint32_t remaining, std::uint32_t *err) {
    return read_item(handle, buffer, flags, remaining, err);
}

std::uint32_t _kel_instance_ra_data_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                            const std::uint64_t *ra_word,
                                            const std::uint8_t *ra_byte, std::uint32_t remaining,
                                            std::uint32_t *err) {
    return write_ra_data(handle, buffer, *ra_word, *ra_byte, remaining, err);
}

std::uint32_t _kel_instance_ra_data_unmarshal(kel_handle *handle, std::uint32_t, const void *buffer,
                                              std::uint64_t *ra_word, std::uint8_t *ra_byte,
                                              std::uint32_t remaining, std::uint32_t *err) {
    return read_ra_data(handle, buffer, ra_word, ra_byte, remaining, err);
}

std::uint32_t _kel_variant_jump_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                        const std::int32_t *jump, std::uint32_t remaining,
                                        std::uint32_t *err) {
    return write_item(handle, buffer, *jump, remaining, err);
}

std::uint32_t _kel_variant_jump_unmarshal(kel_handle *handle, std::uint32_t, const void *buffer,
                                          std::int32_t *jump, std::uint32_t remaining,
                                          std::uint32_t *err) {
    return read_item(handle, buffer, jump, remaining, err);
}

std::uint32_t _kel_message_header_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                          const kel_message_header *header, std::uint32_t remaining,
                                          std::uint32_t *err) {
    return write_message_header(handle, buffer, *header, remaining, err);
}

std::uint32_t _kel_message_header_unmarshal(kel_handle *handle, std::uint32_t, const void *buffer,
                                            kel_message_header *header, std::uint32_t remaining,
                                            std::uint32_t *err) {
    return read_message_header(handle, buffer, *header, remaining, err);
}

std::uint8_t kel_get_instance_obj_flag(const void *object, std::uint32_t, std::uint32_t) {
    return instance_flags(object);
}

// An object that was copied from another has its flag, but no entry.
std::uint32_t kellib_get_ra_data(kel_handle *handle, std::uint32_t, const void *object,
                                 std::uint64_t *ra_word, std::uint8_t *ra_byte) {
    const ObjectData *entry = object_data_of(handle).find(object);
    if (entry == nullptr) return 0;
    *ra_word = entry->ra_word;
    *ra_byte = entry->ra_byte;
    return 0;
}

void kellib_update_ra_all(kel_handle *handle, std::uint32_t tx_id, void *object,
                          std::uint64_t ra_word, std::uint8_t ra_byte) {
    object_data_of(handle).set_ra_data({handle, tx_id}, object, ra_word, ra_byte);
}

// A record has members for its correlation.
void kellib_record_update_ra_all(kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                                 std::uint64_t uuid, std::uint8_t mark) {
    const WriteLog log{handle, tx_id};
    log.set(record->ra_uuid, uuid);
    log.set(record->ra_byte, mark);
}

void kellib_get_handle_ws(kel_handle *handle, void **workspace, std::uint32_t *length) {
    Handle &part = private_part(handle);
    *workspace = workspace_of(part);
    *length = *workspace != nullptr ? part.workspace_length : 0;
}

TARNBASE_OWN_NAME(_kel_instance_variant_marshal, own_variant_marshal)
TARNBASE_OWN_NAME(_kel_instance_variant_unmarshal, own_variant_unmarshal)
TARNBASE_OWN_NAME(_kel_instance_obj_flag_marshal, own_obj_flag_marshal)
TARNBASE_OWN_NAME(_kel_instance_obj_flag_unmarshal, own_obj_flag_unmarshal)
TARNBASE_OWN_NAME(_kel_variant_jump_marshal, own_jump_marshal)
TARNBASE_OWN_NAME(_kel_variant_jump_unmarshal, own_jump_unmarshal)
TARNBASE_OWN_NAME(kel_get_instance_obj_flag, own_get_obj_flag)
