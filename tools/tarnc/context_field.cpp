// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "context.h"
#include "context_parts.h"

namespace tarnc {
namespace {

// Whether setting the field may make a text.
bool has_text(const Field &field) {
    if (field.kind != FieldKind::structure) return field.kind == FieldKind::vstring;
    const std::vector<Field> &fields = field.structure->fields;
    return std::any_of(fields.begin(), fields.end(), has_text);
}

// The descriptor of an embedded object.
std::string embedded_descriptor(const Field &field) {
    return tarnbase::has_header(field.kind) ? "&_" + field.type + "_type_info_internal" : "nullptr";
}

std::string member_type(const Field &field) {
    return field.kind == FieldKind::structure ? "whole_" + field.type : field.facts().c_type;
}

void set_plain_value(Context &context, const Schema &schema, const Field &field) {
    if (!field.has_plain_value()) return;
    const std::string argument = safe_name(schema, field.name);
    context.set("plain", field.facts().plain);
    context.set("argument", argument);
    context.set("widened", tarnbase::is_signed(field.kind)
                               ? "static_cast<std::uint64_t>(" + argument + ")"
                               : argument);
}

std::string blanks_to_fill(const std::string &words, std::size_t width) {
    return std::string(width > words.size() ? width - words.size() : 0, ' ');
}

std::string left_aligned(const std::string &words, std::size_t width) {
    return words + blanks_to_fill(words, width);
}

std::string right_aligned(const std::string &words, std::size_t width) {
    return blanks_to_fill(words, width) + words;
}

std::string written_type(const Field &field) {
    return field.kind == FieldKind::array ? field.type + "[" + text(field.elements) + "]"
                                          : field.type;
}

// "time left [seconds]"
std::string meaning_and_unit(const Field &field) {
    return field.unit.empty() ? field.meaning : field.meaning + " [" + field.unit + "]";
}

// A field in the comment of its header: type, name and meaning in columns.
std::string field_line(const Structure &structure, const Field &field) {
    std::size_t type_width = 0;
    std::size_t name_width = 0;
    for (const Field &each : structure.fields) {
        type_width = std::max(type_width, written_type(each).size());
        name_width = std::max(name_width, each.name.size());
    }
    return left_aligned(written_type(field), type_width + 1) +
           left_aligned(field.name, name_width + 2) + meaning_and_unit(field);
}

std::string layout_line(const Field &field) {
    const auto number = [](std::uint64_t value, std::size_t width) {
        return right_aligned(text(value), width);
    };
    return number(field.offset, 6) + number(field.size, 6) + number(field.state, 6) +
           number(static_cast<std::uint64_t>(field.first_variant), 8) + " " + written_type(field) +
           " " + field.name;
}

std::string yang_type(const Field &field) {
    constexpr std::size_t suffix = 2;  // of "uint32_t"
    const std::string c_type = field.facts().c_type;
    switch (field.kind) {
        case FieldKind::boolean:
            return "boolean";
        case FieldKind::enumeration:
            return field.type;
        case FieldKind::vstring:
            return "string";
        case FieldKind::address:
            return "inet:ip-address-no-zone";
        case FieldKind::structure:
            return "";
        default:
            return c_type.substr(0, c_type.size() - suffix);
    }
}

}  // namespace

Context context_of(const Schema &schema, const Structure &structure, const Field &field) {
    const bool is_array = field.kind == FieldKind::array;
    const bool is_item = field.enumeration != nullptr || field.structure != nullptr;
    const std::string variant_note =
        field.first_variant > 0
            ? " From variant " + text(static_cast<std::uint64_t>(field.first_variant)) + " on."
            : "";
    Context context;
    context.set("field", field.name);
    context.set("name_length", text(field.name.size()));
    context.set("heading", "`" + field.name + "`: " + meaning_and_unit(field) + "." + variant_note);
    context.set("quoted_meaning", quoted(field.meaning));
    context.set("quoted_unit", quoted(field.unit));
    context.set("measure", field.measure);
    context.set("measure_name", field.measure_name);
    context.set("field_type", field.type);
    context.set("number", text(field.number));
    const std::string model = "tarnbase::model::" + structure.name;
    context.set("model_field", "{" + model + ", " + model + "_fields[" + text(field.number) + "]}");
    context.set("access", is_item ? field.type : field.facts().c_type);
    context.set("single", flag(!is_array));
    context.set("array", flag(is_array));
    context.set("nested", flag(field.structure != nullptr));
    context.set("leaf", flag(!is_array && field.structure == nullptr));
    context.set("yang_type", yang_type(field));
    context.set("measured", flag(!field.unit.empty()));
    context.set("object", flag(!is_array && !field.has_plain_value()));
    context.set("enumerated", flag(field.kind == FieldKind::enumeration));
    context.set("texts", flag(has_text(field)));
    context.set("kind", field.facts().name);
    context.set("first_variant", text(static_cast<std::uint64_t>(field.first_variant)));
    context.set("run", text(field.run));
    context.set("offset", text(field.offset));
    context.set("size", text(field.size));
    context.set("state", text(field.state));
    context.set("elements", text(field.elements));
    context.set("descriptor", embedded_descriptor(field));
    context.set("enumeration", field.enumeration != nullptr ? "&" + field.type : "nullptr");
    context.set("structure", field.structure != nullptr ? "&" + field.type : "nullptr");
    context.set("member_type", member_type(field));
    context.set("member",
                safe_name(schema, field.name) + (is_array ? "[" + text(field.elements) + "]" : ""));
    context.set("member_name", safe_name(schema, field.name));
    context.set("field_line", field_line(structure, field));
    context.set("layout_line", layout_line(field));
    set_plain_value(context, schema, field);
    return context;
}

}  // namespace tarnc
