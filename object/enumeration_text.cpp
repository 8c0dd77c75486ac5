// SPDX-License-Identifier: Apache-2.0
// The text and XML forms of an enumeration. In XML an enumerator is an empty
// element of its name.
#include <cstdio>
#include <cstring>

#include "frame/conventions.h"
#include "object/element_path.h"
#include "object/enumeration.h"
#include "object/kept_byte.h"

namespace tarnbase::enumeration {

namespace {

// Holds an empty element of any name in the schema.
constexpr std::size_t text_size = 256;

// The enumerator of a user value; null if no enumerator has the value.
const Enumerator *enumerator_of(Type type, const Object *object) {
    if (object == nullptr) return nullptr;
    const std::uint32_t position = object->value - type.first_user_value;
    return position < type.count ? &type.enumerators[position] : nullptr;
}

std::uint32_t print_value(Type type, const Call &call, Output out, std::uint32_t indent,
                          const Object *object) {
    const Enumerator *enumerator = enumerator_of(type, object);
    static constexpr char unknown[] = "Enum value out of range";
    if (enumerator == nullptr) {
        const KeptByte after(indent, out, sizeof unknown - 1);
        return kel_snprintf(call.handle, call.tx_id, out.at(), out.remaining(), call.err, "%s",
                            unknown);
    }
    const KeptByte after(indent, out, std::strlen(enumerator->name) + 1);
    return kel_snprintf(call.handle, call.tx_id, out.at(), out.remaining(), call.err, "%s\n",
                        enumerator->name);
}

}  // namespace

std::uint32_t print(Type type, const Call &call, Output out, Label label, const Object *object) {
    if (!call.enter()) return 0;
    out.advance(kel_print_space(call.handle, call.tx_id, out.at(), label.indent, out.remaining(),
                                call.err));
    out.advance(kel_snprintf(call.handle, call.tx_id, out.at(), out.remaining(), call.err,
                             "%s@%s:", label.name, type.name));
    out.advance(print_value(type, call, out.rest(), label.indent, object));
    return out.used();
}

std::uint32_t print_cr(Type type, kel_handle *handle, Output out, const Object *object) {
    const std::uint32_t length = print(type, Call::cr(handle), out, {type.name}, object);
    return handle->last_error == 0 ? length : cr_failure;
}

std::uint32_t to_xml(Type type, const Call &call, Output out, const char *name,
                     const Object *object) {
    if (!call.enter()) return 0;
    const Enumerator *enumerator = enumerator_of(type, object);
    char text[text_size];
    const int length =
        enumerator != nullptr
            ? std::snprintf(text, sizeof text, "<%s/>", enumerator->name)
            : std::snprintf(text, sizeof text, "<%s value out of range/>", type.name);
    out.advance(start_tag(call.handle, call.tx_id, out.at(), name, out.remaining(), 0, call.err));
    out.advance(xml_enum_print(call.handle, call.tx_id, out.at(), text, out.remaining(),
                               static_cast<std::uint32_t>(length), call.err));
    out.advance(end_tag(call.handle, call.tx_id, out.at(), name, out.remaining(), call.err));
    return out.used();
}

std::uint32_t toxml_cr(Type type, kel_handle *handle, Output out, const Object *object) {
    const std::uint32_t length = to_xml(type, Call::cr(handle), out, type.name, object);
    return handle->last_error == 0 ? length : cr_failure;
}

// The first enumerator, in order, that has an element is the value; with none the
// value is unchanged.
void from_xml(Type type, const Call &call, const XmlElement &element, Object *object) {
    if (!call.enter()) return;
    ElementPath path(element.path);
    for (std::uint32_t i = 0; i < type.count; ++i) {
        char scratch[128];
        *call.err = xml_get_element_value(element.document, path.at_name(type.enumerators[i].name),
                                          scratch, sizeof scratch, 0);
        if (!call.failed()) {
            object->value = type.enumerators[i].user_value;
            return;
        }
        kel_store_err(call.handle, *call.err);
        if (*call.err != ENOENT) {
            if (element.message != nullptr) {
                std::snprintf(element.message, element.message_len, "Failed xpath: %s",
                              element.path);
            }
            return;
        }
        *call.err = 0;
    }
}

}  // namespace tarnbase::enumeration
