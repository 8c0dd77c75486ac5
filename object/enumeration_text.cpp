// SPDX-License-Identifier: Apache-2.0
// The text and XML forms of an enumeration. In XML an enumerator is an empty
// element of its name.
#include <cstdio>
#include <cstring>

#include "frame/conventions.h"
#include "object/enumeration.h"
#include "object/kept_byte.h"

namespace tarnbase::enumeration {

namespace {

// Holds an empty element of any name of the schema.
constexpr std::size_t text_size = 256;

// The enumerator of a user value; null for a value that is none.
const Enumerator *enumerator_of(Type type, const Object *object) {
    if (object == nullptr) return nullptr;
    const std::uint32_t position = object->value - type.first_user_value;
    return position < type.count ? &type.enumerators[position] : nullptr;
}

std::uint32_t print_value(Type type, kel_handle *handle, std::uint32_t tx_id, char *place,
                          std::uint32_t indent, const Object *object, std::uint32_t room,
                          std::uint32_t *err) {
    const Enumerator *enumerator = enumerator_of(type, object);
    static constexpr char unknown[] = "Enum value out of range";
    if (enumerator == nullptr) {
        const KeptByte behind(indent, place, sizeof unknown - 1, room);
        return kel_snprintf(handle, tx_id, place, room, err, "%s", unknown);
    }
    const KeptByte behind(indent, place, std::strlen(enumerator->name) + 1, room);
    return kel_snprintf(handle, tx_id, place, room, err, "%s\n", enumerator->name);
}

}  // namespace

std::uint32_t print(Type type, kel_handle *handle, std::uint32_t tx_id, char *buffer,
                    std::uint32_t indent, const char *name, const Object *object,
                    std::uint32_t remaining, std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    std::uint32_t at = kel_print_space(handle, tx_id, buffer, indent, remaining, err);
    at += kel_snprintf(handle, tx_id, buffer + at, remaining - at, err, "%s@%s:", name, type.name);
    return at + print_value(type, handle, tx_id, buffer + at, indent, object, remaining - at, err);
}

std::uint32_t print_cr(Type type, kel_handle *handle, const Object *object, char *buffer,
                       std::uint32_t length) {
    const std::uint32_t written = print(type, handle, handle->cr_tx_id, buffer, 0, type.name,
                                        object, length, &handle->last_error);
    return handle->last_error == 0 ? written : cr_failure;
}

std::uint32_t to_xml(Type type, kel_handle *handle, std::uint32_t tx_id, const char *name,
                     char *buffer, const Object *object, std::uint32_t remaining, std::uint8_t,
                     std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    const Enumerator *enumerator = enumerator_of(type, object);
    char text[text_size];
    const int length =
        enumerator != nullptr
            ? std::snprintf(text, sizeof text, "<%s/>", enumerator->name)
            : std::snprintf(text, sizeof text, "<%s value out of range/>", type.name);
    std::uint32_t at = start_tag(handle, tx_id, buffer, name, remaining, 0, err);
    at += xml_enum_print(handle, tx_id, buffer + at, text, remaining - at,
                         static_cast<std::uint32_t>(length), err);
    at += end_tag(handle, tx_id, buffer + at, name, remaining - at, err);
    return at;
}

std::uint32_t toxml_cr(Type type, kel_handle *handle, const Object *object, char *buffer,
                       std::uint32_t length) {
    const std::uint32_t written = to_xml(type, handle, handle->cr_tx_id, type.name, buffer, object,
                                         length, 0, &handle->last_error);
    return handle->last_error == 0 ? written : cr_failure;
}

// The first enumerator, in order, that has an element decides; with none the
// value stays.
void from_xml(Type type, kel_handle *handle, std::uint32_t, const char *path, void *document,
              Object *object, std::uint32_t *err, char *message, std::uint32_t message_len) {
    if (!enter(handle, err)) return;
    for (std::uint32_t i = 0; i < type.count; ++i) {
        char enumerator_path[256];
        std::snprintf(enumerator_path, sizeof enumerator_path, "%s/%s", path,
                      type.enumerators[i].name);
        char scratch[128];
        *err = xml_get_element_value(document, enumerator_path, scratch, sizeof scratch, 0);
        if (*err == 0) {
            object->value = type.enumerators[i].user_value;
            return;
        }
        kel_store_err(handle, *err);
        if (*err != ENOENT) {
            if (message != nullptr) {
                std::snprintf(message, message_len, "Failed xpath: %s", path);
            }
            return;
        }
        *err = 0;
    }
}

}  // namespace tarnbase::enumeration
