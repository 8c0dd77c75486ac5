// SPDX-License-Identifier: Apache-2.0
#include "table/key.h"

#include <cstring>

#include "object/enumeration.h"
#include "object/object.h"

namespace tarnbase::table {

namespace {

const std::uint32_t *number(const void *key) { return static_cast<const std::uint32_t *>(key); }
const kel_vstring *text(const void *key) { return static_cast<const kel_vstring *>(key); }
const ip_address *address(const void *key) { return static_cast<const ip_address *>(key); }
const kel_enum_object *enumerator(const void *key) {
    return static_cast<const kel_enum_object *>(key);
}

// Null orders before everything, also where a record lacks its object.
bool same_keys(const Table &model, const void *a, const void *b) {
    switch (model.key_kind) {
        case KeyKind::integer:
            return a == b || (a != nullptr && b != nullptr && *number(a) == *number(b));
        case KeyKind::vstring:
            return kel_vstring_compare(text(a), text(b)) == 0;
        case KeyKind::address:
            return ip_address_compare(address(a), address(b)) == 0;
        case KeyKind::enumeration:
            return enumeration::compare(enumerator(a), enumerator(b)) == 0;
        case KeyKind::structure:
            return model.key_type->compare(a, b) == 0;
    }
    __builtin_unreachable();
}

}  // namespace

void *key_in(const Table &model, void *holder) {
    if (model.key_kind == KeyKind::structure || holder == nullptr) return holder;
    return static_cast<char *>(holder) + model.key_field->offset;
}

const void *stored_key(const Table &model, const kel_record *record) {
    return key_in(model,
                  model.key_kind == KeyKind::structure ? record->key_object : record->object);
}

const void *key_value_in(const Table &model, const void *holder) {
    const void *key = key_in(model, const_cast<void *>(holder));
    if (model.key_kind != KeyKind::enumeration || key == nullptr) return key;
    return &enumerator(key)->value;
}

void put_key_value(const Table &model, void *object, const void *key_value) {
    void *field = key_in(model, object);
    switch (model.key_kind) {
        case KeyKind::integer:
            std::memcpy(field, key_value, sizeof(std::uint32_t));
            return;
        case KeyKind::vstring:
            std::memcpy(field, key_value, sizeof(kel_vstring));
            return;
        case KeyKind::address:
            std::memcpy(field, key_value, sizeof(ip_address));
            return;
        case KeyKind::enumeration:
            static_cast<kel_enum_object *>(field)->value =
                enumeration::map_to_user_value(*number(key_value));
            return;
        case KeyKind::structure:
            return;  // a key object isn't copied
    }
}

bool same_keys(const Table &model, const kel_record *a, const kel_record *b) {
    return same_keys(model, stored_key(model, a), stored_key(model, b));
}

bool has_key_value(const Table &model, const kel_record *record, const void *key_value) {
    if (model.key_kind != KeyKind::enumeration) {
        return same_keys(model, stored_key(model, record), key_value);
    }
    kel_enum_object wanted{};
    wanted.value = enumeration::map_to_user_value(*number(key_value));
    return same_keys(model, stored_key(model, record), &wanted);
}

std::uint32_t key_len(const Table &model, kel_handle *handle, std::uint32_t tx_id,
                      const void *key) {
    switch (model.key_kind) {
        case KeyKind::integer:
            return u_int32_len(handle, tx_id, number(key));
        case KeyKind::vstring:
            return kel_vstring_len(handle, tx_id, text(key));
        case KeyKind::address:
            return ip_address_len(handle, tx_id, address(key));
        case KeyKind::enumeration:
            return enumeration::len();
        case KeyKind::structure:
            return object::len(*model.key_type, {handle, tx_id}, key);
    }
    __builtin_unreachable();
}

std::uint32_t key_marshal(const Table &model, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                          const void *key, std::uint32_t buffer_len, std::uint32_t *err) {
    switch (model.key_kind) {
        case KeyKind::integer:
            return u_int32_marshal(handle, tx_id, buffer, number(key), buffer_len, err);
        case KeyKind::vstring:
            return kel_vstring_marshal(handle, tx_id, buffer, text(key), buffer_len, err);
        case KeyKind::address:
            return ip_address_marshal(handle, tx_id, buffer, address(key), buffer_len, err);
        case KeyKind::enumeration:
            return enumeration::marshal(*model.key_field->enumeration, {handle, tx_id, err},
                                        {buffer, buffer_len}, enumerator(key));
        case KeyKind::structure:
            return object::marshal(*model.key_type, {handle, tx_id, err}, {buffer, buffer_len},
                                   key);
    }
    __builtin_unreachable();
}

std::uint32_t key_unmarshal(const Table &model, kel_handle *handle, std::uint32_t tx_id,
                            const void *buffer, void *key, std::uint32_t buffer_len,
                            std::uint32_t *err) {
    switch (model.key_kind) {
        case KeyKind::integer:
            return u_int32_unmarshal(handle, tx_id, buffer, static_cast<std::uint32_t *>(key),
                                     buffer_len, 0, err);
        case KeyKind::vstring:
            return kel_vstring_unmarshal(handle, tx_id, buffer, static_cast<kel_vstring *>(key),
                                         buffer_len, 0, err);
        case KeyKind::address:
            return ip_address_unmarshal(handle, tx_id, buffer, static_cast<ip_address *>(key),
                                        buffer_len, 0, err);
        case KeyKind::enumeration:
            return enumeration::unmarshal(*model.key_field->enumeration, {handle, tx_id, err},
                                          {buffer, buffer_len}, static_cast<kel_enum_object *>(key),
                                          InPlace::no);
        case KeyKind::structure:
            return object::unmarshal(*model.key_type, {handle, tx_id, err}, {buffer, buffer_len},
                                     key, InPlace::no);
    }
    __builtin_unreachable();
}

std::uint32_t key_print(const Table &model, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                        const void *key, std::uint32_t buffer_len, std::uint32_t *err) {
    switch (model.key_kind) {
        case KeyKind::integer:
            return u_int32_print(handle, tx_id, buffer, 0, model.key_field->name, number(key),
                                 buffer_len, err);
        case KeyKind::vstring:
            return kel_vstring_print(handle, tx_id, buffer, 0, model.key_field->name, text(key),
                                     buffer_len, err);
        case KeyKind::address:
            return ip_address_print(handle, tx_id, buffer, 0, model.key_field->name, address(key),
                                    buffer_len, err);
        case KeyKind::enumeration:
            return enumeration::print(*model.key_field->enumeration, {handle, tx_id, err},
                                      {buffer, buffer_len}, {model.key_field->name},
                                      enumerator(key));
        case KeyKind::structure:
            return object::print(*model.key_type, {handle, tx_id, err}, {buffer, buffer_len}, {""},
                                 key);
    }
    __builtin_unreachable();
}

}  // namespace tarnbase::table
