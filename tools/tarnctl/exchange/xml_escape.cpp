// SPDX-License-Identifier: Apache-2.0
#include "exchange/xml_escape.h"

#include <fmt/core.h>

#include "exchange/xml_text.h"

namespace tarnctl {
namespace {

std::string element(std::string_view name, std::string_view mark, std::string_view content) {
    return fmt::format("<{}{}>{}</{}>\n", name, mark, content, name);
}

std::string text_element(std::string_view name, std::string_view bytes) {
    if (first_unfit_for_xml(bytes) == std::string_view::npos)
        return element(name, "", xml_escaped(bytes));
    return element(name, escaped_mark, xml_escaped(escape_unfit(bytes)));
}

std::string enumeration_element(std::string_view name, const Value &value) {
    const auto number = static_cast<uint32_t>(value.number());
    const Enumerator *found = enumerator_of(*value.field().enumeration, number);
    if (found == nullptr) return element(name, escaped_mark, std::to_string(number));
    return element(name, "", fmt::format("<{}/>", found->name));
}

std::string leaf_element(const Value &value) {
    const Field &field = value.field();
    if (field.kind == Kind::enumeration) return enumeration_element(field.name, value);
    if (!value.is_whole_array()) return text_element(field.name, value.text());
    std::string elements;
    for (const uint8_t each : value.elements())
        elements += element(field.name, "", std::to_string(each));
    return elements;
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as structures nest
std::string fields_of(kel_handle *handle, void *object, const Structure &structure) {
    const int variant = static_cast<const kel_object *>(object)->variant;
    std::string elements;
    for (const Field &field : structure.fields) {
        if (field.first_variant > variant) break;
        if (field.structure != nullptr) {
            uint32_t err = 0;
            void *inner = field.call.get(handle, KEL_TX_NONE, object, 0, &err);
            elements += element(field.name, "", "\n" + fields_of(handle, inner, *field.structure));
            continue;
        }
        const Path path{{&field}, 0, field.kind == Kind::array};
        elements += leaf_element(Value(handle, KEL_TX_NONE, object, path));
    }
    return elements;
}

}  // namespace

std::string escaped_form(const Record &record) {
    const Table &table = *record.table;
    std::string objects = "\n";
    const auto add = [&](void *object, const Structure &structure) {
        if (object != nullptr)
            objects +=
                element(structure.name, "", "\n" + fields_of(record.handle, object, structure));
    };
    add(table.object(record.handle, KEL_TX_NONE, record.record), *table.type);
    if (table.key_type != nullptr)
        add(table.key_object(record.handle, KEL_TX_NONE, record.record), *table.key_type);
    return element(table.name, "", objects);
}

}  // namespace tarnctl
