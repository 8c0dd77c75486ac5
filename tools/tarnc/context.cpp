// SPDX-License-Identifier: Apache-2.0
#include "context.h"

#include <filesystem>
#include <set>

namespace tarnc {
namespace {

Context empty_list() { return Context{Context::type::list}; }

Context flag(bool value) {
    return Context{value ? Context::type::bool_true : Context::type::bool_false};
}

std::string text(std::uint64_t number) { return std::to_string(number); }

// The descriptor of an item, and whatever its definition needs.
Context descriptor(const Schema &schema, const std::string &symbol, const std::string &name,
                   const std::string &kind, const Identity &identity, const Context &variants,
                   std::size_t count) {
    Context context;
    context.set("symbol", symbol);
    context.set("name", name);
    context.set("module", schema.module);
    context.set("kind", kind);
    context.set("luid", identity.luid);
    context.set("luid_bytes", bytes_of(identity.luid));
    context.set("variants", variants);
    context.set("variant_info", "{" + text(count) + ", " + symbol + "_usage}");
    return context;
}

Context variant(std::size_t number, std::uint32_t used, std::uint32_t slop) {
    Context context;
    context.set("variant", text(number));
    context.set("used", text(used));
    context.set("usage", "{" + text(number) + ", " + text(used) + ", " + text(slop) + ", 0, 0, 0}");
    return context;
}

Context one_variant(std::size_t number, std::uint32_t used) {
    Context list = empty_list();
    list.push_back(variant(number, used, 0));
    return list;
}

Context variants_of(const Structure &structure) {
    Context list = empty_list();
    for (std::size_t v = 0; v < structure.variants.size(); ++v) {
        const std::uint32_t used = structure.variants[v].used;
        Context each = variant(v, used, structure.plain_size - used);
        each.set("field_numbers", text(structure.variants[v].field_numbers));
        list.push_back(each);
    }
    return list;
}

std::string worker_kind(const Field &field) {
    switch (field.kind) {
        case FieldKind::array:
            return "array";
        case FieldKind::enumeration:
            return "enumeration";
        case FieldKind::structure:
            return "structure";
        default:
            return field.built_in->worker;
    }
}

// The descriptor of an embedded object.
std::string embedded_descriptor(const Field &field) {
    const bool is_object = field.kind >= FieldKind::boolean && field.kind != FieldKind::array;
    return is_object ? "&_" + field.type + "_type_info_internal" : "nullptr";
}

std::string member_type(const Field &field) {
    switch (field.kind) {
        case FieldKind::array:
            return "uint8_t";
        case FieldKind::enumeration:
            return "kel_enum_object";
        case FieldKind::structure:
            return "whole_" + field.type;
        default:
            return field.built_in->access;
    }
}

void set_plain_value(Context &context, const Field &field) {
    if (!field.has_plain_value()) return;
    const bool is_signed = field.kind == FieldKind::int32 || field.kind == FieldKind::int64;
    const std::string argument = safe_name(field.name);
    context.set("plain", field.enumeration != nullptr ? "uint32_t" : field.built_in->plain);
    context.set("argument", argument);
    context.set("widened", is_signed ? "static_cast<std::uint64_t>(" + argument + ")" : argument);
}

Context context_of(const Structure &structure, const Field &field) {
    const bool is_array = field.kind == FieldKind::array;
    const std::string variant_note =
        field.first_variant > 0
            ? " From variant " + text(static_cast<std::uint64_t>(field.first_variant)) + " on."
            : "";
    Context context;
    context.set("field", field.name);
    context.set("heading", "`" + field.name + "`: " + field.meaning + "." + variant_note);
    context.set("field_type", field.type);
    context.set("number", text(field.number));
    context.set("model_field",
                "tarn::model::" + structure.name + "_fields[" + text(field.number) + "]");
    context.set("access", field.built_in != nullptr ? field.built_in->access : field.type);
    context.set("single", flag(!is_array));
    context.set("array", flag(is_array));
    context.set("enumerated", flag(field.kind == FieldKind::enumeration));
    context.set("worker_kind", worker_kind(field));
    context.set("first_variant", text(static_cast<std::uint64_t>(field.first_variant)));
    context.set("offset", text(field.offset));
    context.set("size", text(field.size));
    context.set("state", text(field.state));
    context.set("elements", text(field.elements));
    context.set("descriptor", embedded_descriptor(field));
    context.set("enumeration", field.enumeration != nullptr ? "&" + field.type : "nullptr");
    context.set("structure", field.structure != nullptr ? "&" + field.type : "nullptr");
    context.set("member_type", member_type(field));
    context.set("member",
                safe_name(field.name) + (is_array ? "[" + text(field.elements) + "]" : ""));
    context.set("member_name", safe_name(field.name));
    set_plain_value(context, field);
    return context;
}

std::string padded(const std::string &text, std::size_t width, bool to_the_right = false) {
    const std::string blanks(width > text.size() ? width - text.size() : 0, ' ');
    return to_the_right ? blanks + text : text + blanks;
}

std::string written_type(const Field &field) {
    return field.kind == FieldKind::array ? field.type + "[" + text(field.elements) + "]"
                                          : field.type;
}

// A field as its header tells it: type, name and meaning in columns.
std::string field_line(const Structure &structure, const Field &field) {
    std::size_t type_width = 0;
    std::size_t name_width = 0;
    for (const Field &each : structure.fields) {
        type_width = std::max(type_width, written_type(each).size());
        name_width = std::max(name_width, each.name.size());
    }
    return padded(written_type(field), type_width + 1) + padded(field.name, name_width + 2) +
           field.meaning;
}

std::string layout_line(const Field &field) {
    const auto number = [](std::uint64_t value, std::size_t width) {
        return padded(text(value), width, true);
    };
    return number(field.offset, 6) + number(field.size, 6) + number(field.state, 6) +
           number(static_cast<std::uint64_t>(field.first_variant), 8) + " " + written_type(field) +
           " " + field.name;
}

// The headers of the enumerations and structures that fields are made of.
Context includes_of(const Structure &structure) {
    std::set<std::string> enumerations;
    std::set<std::string> structures;
    for (const Field &field : structure.fields) {
        if (field.enumeration != nullptr) enumerations.insert(field.type);
        if (field.structure != nullptr) structures.insert(field.type);
    }
    Context list = empty_list();
    const auto add = [&list](const std::string &folder, const std::string &name) {
        Context each;
        each.set("folder", folder);
        each.set("item", name);
        list.push_back(each);
    };
    for (const std::string &name : enumerations) add("enums", name);
    for (const std::string &name : structures) add("types", name);
    return list;
}

Context slot(const std::string &type, const std::string &name) {
    Context context;
    context.set("slot_type", type);
    context.set("slot", name);
    return context;
}

Context reader(const std::string &name, bool by_key) {
    Context context;
    context.set("reader", name);
    context.set("by_key", flag(by_key));
    context.set("twin", by_key ? "" : "@unsafe");
    return context;
}

std::string handler_name(const Schema &schema, const Table &table, const std::string &event) {
    return schema.module + "_" + table.name + "_table_record_" + event + "_handler";
}

struct Event {
    const char *name;       // in the names of the callback and the handler
    const char *text;       // in messages
    const char *worker;     // the callback's
    const char *arguments;  // behind tx_id
    const char *values;
    const char *main_event;  // whose handler serves by default; null if none does
};

constexpr Event events[] = {
    {"create", "create", "record", "void *table, void *record, uint32_t *err", "table, record, err",
     nullptr},
    {"modify", "modify", "record", "void *table, void *record, uint32_t *err", "table, record, err",
     nullptr},
    {"delete", "delete", "record", "void *table, void *record, uint32_t *err", "table, record, err",
     nullptr},
    {"create_dm", "create DM", "dm", "void *record, uint32_t *err", "record, err", "create"},
    {"delete_dm", "delete DM", "dm", "void *record, uint32_t *err", "record, err", "delete"},
    {"grouping", "grouping", "grouping", "void *item, uint32_t *err, void *arg1, void *arg2",
     "item, err, arg1, arg2", nullptr},
    {"free", "free", "free", "void *item, uint32_t *err, void *arg1", "item, err, arg1", nullptr},
};

Context context_of(const Schema &schema, const Table &table, const Event &event) {
    const std::string model = "tarn::model::" + table.name;
    const std::string quoted = "\"" + std::string(event.text) + "\"";
    const std::string values = "handle, tx_id, " + std::string(event.values);
    Context context;
    context.set("event", event.name);
    context.set("happening",
                "the runtime delivers a " + std::string(event.text) + " event of the table");
    context.set("handler", handler_name(schema, table, event.name));
    context.set("worker", event.worker);
    context.set("arguments", "kel_handle *handle, uint32_t tx_id, " + std::string(event.arguments));
    context.set("values", values);
    if (event.main_event == nullptr) {
        context.set("default_text", "sets `*err` to 0");
        context.set("default", "tarn::table::default_handler(" + model + ", " + quoted + ", err)");
    } else {
        const std::string main = handler_name(schema, table, event.main_event);
        context.set("default_text", "calls " + main + " with a null table");
        context.set("default", "tarn::table::default_dm_handler(" + model + ", " + quoted + ", " +
                                   values + ", " + main + ")");
    }
    return context;
}

void set_key(Context &context, const Table &table) {
    const bool composite = table.key_type != nullptr;
    context.set("composite", flag(composite));
    context.set("object_type", table.key_carrier().name);
    if (composite) {
        context.set("ktype", table.key_type->name);
        context.set("key_argument", "const " + table.key_type->name);
        context.set("key_argument_text", "a " + table.key_type->name + " object");
        context.set("key_text", "its tenant, key object and source");
        context.set("key_meaning", table.key_type->meaning);
        context.set("compare", "tarn::table::compare_by_key_object<tarn::model::" +
                                   table.key_type->name + ">");
        context.set("key_kind", "structure");
        context.set("model_key_type", "&" + table.key_type->name);
        context.set("model_key_field", "nullptr");
        return;
    }
    const Field &field = *table.key_field;
    context.set("key_field", field.name);
    context.set("key_meaning", field.meaning);
    context.set("key_text", "its tenant, `" + field.name + "` and source");
    context.set("model_key_type", "nullptr");
    context.set("model_key_field", "&" + table.type->name + "_fields[" + text(field.number) + "]");
    context.set("compare", "tarn::table::compare_by_field<tarn::model::" + table.type->name + ", " +
                               text(field.number) + ">");
    if (field.kind == FieldKind::vstring || field.kind == FieldKind::address) {
        context.set("key_argument", "const " + field.type);
        context.set("key_argument_text", "a " + field.type);
        context.set("key_kind", field.built_in->worker);
    } else {
        const bool is_enumeration = field.kind == FieldKind::enumeration;
        context.set("key_argument", "const uint32_t");
        context.set("key_argument_text", is_enumeration ? "a value of " + field.type : "a number");
        context.set("key_kind", is_enumeration ? "enumeration" : "integer");
    }
}

}  // namespace

std::string origin(const Schema &schema, const Place &place) {
    const auto folder = std::filesystem::path(schema.files.front()).parent_path();
    return std::filesystem::path(*place.file).lexically_relative(folder).string();
}

std::string bytes_of(const std::string &luid) {
    std::string bytes = "{";
    for (std::size_t i = 0; i + 1 < luid.size(); i += 2) {
        if (i > 0) bytes += i == luid.size() / 2 ? ",\n             " : ", ";
        bytes += "0x" + luid.substr(i, 2);
    }
    return bytes + "}";
}

std::string safe_name(const std::string &name) {
    // Keywords of C and C++, and the other arguments of the functions that take
    // one argument a field.
    static const std::set<std::string> taken = {"alignas",    "alignof",   "and",
                                                "asm",        "auto",      "bool",
                                                "break",      "case",      "catch",
                                                "char",       "class",     "compl",
                                                "concept",    "const",     "consteval",
                                                "constexpr",  "constinit", "continue",
                                                "decltype",   "default",   "delete",
                                                "do",         "double",    "else",
                                                "enum",       "explicit",  "export",
                                                "extern",     "false",     "float",
                                                "for",        "friend",    "goto",
                                                "if",         "inline",    "int",
                                                "long",       "mutable",   "namespace",
                                                "new",        "noexcept",  "not",
                                                "nullptr",    "operator",  "or",
                                                "private",    "protected", "public",
                                                "register",   "requires",  "restrict",
                                                "return",     "short",     "signed",
                                                "sizeof",     "static",    "struct",
                                                "switch",     "template",  "this",
                                                "throw",      "true",      "try",
                                                "typedef",    "typeid",    "typename",
                                                "union",      "unsigned",  "using",
                                                "virtual",    "void",      "volatile",
                                                "while",      "xor",       "handle",
                                                "tx_id",      "object",    "err",
                                                "descriptor", "variant",   "created_variant",
                                                "flags"};
    return taken.count(name) != 0 ? name + "_" : name;
}

Context context_of(const Schema &schema, const Structure &structure) {
    Context context;
    context.set("item", structure.name);
    context.set("type", structure.name);
    context.set("module", schema.module);
    context.set("origin", origin(schema, structure.place));
    context.set("meaning", structure.meaning);
    context.set("model", "tarn::model::" + structure.name);
    context.set("plain_size", text(structure.plain_size));
    context.set("state_length", text(structure.state_length));
    context.set("top_variant", text(static_cast<std::uint64_t>(structure.top_variant())));
    context.set("field_count", text(structure.fields.size()));
    context.set("used", text(structure.variants.back().used));
    context.set("rounded", text((structure.variants.back().used + 7) / 8 * 8));
    context.set("variants", variants_of(structure));
    context.set("includes", includes_of(structure));
    context.set("type_info",
                render("descriptor.cpp", descriptor(schema, structure.name, structure.name, "type",
                                                    structure.identity, variants_of(structure),
                                                    structure.variants.size())));
    Context fields = empty_list();
    Context values = empty_list();
    for (const Field &field : structure.fields) {
        Context each = context_of(structure, field);
        each.set("field_line", field_line(structure, field));
        each.set("layout_line", layout_line(field));
        fields.push_back(each);
    }
    std::size_t left = 0;
    for (const Field &field : structure.fields) left += field.has_plain_value() ? 1 : 0;
    context.set("values", flag(left > 0));
    for (const Field &field : structure.fields) {
        if (!field.has_plain_value()) continue;
        Context value = context_of(structure, field);
        value.set("last", flag(--left == 0));
        values.push_back(value);
    }
    context.set("fields", fields);
    context.set("value_fields", values);
    return context;
}

Context context_of(const Schema &schema, const Enumeration &enumeration) {
    Context context;
    context.set("item", enumeration.name);
    context.set("enum", enumeration.name);
    context.set("module", schema.module);
    context.set("origin", origin(schema, enumeration.place));
    context.set("meaning", enumeration.meaning);
    context.set("model", "tarn::model::" + enumeration.name);
    context.set("first_user_value", text(enumeration.enumerators.front().value));
    context.set("count", text(enumeration.enumerators.size()));
    context.set("type_info", render("descriptor.cpp",
                                    descriptor(schema, enumeration.name, enumeration.name, "enum",
                                               enumeration.identity, one_variant(0, 16), 1)));
    Context list = empty_list();
    for (const Enumerator &each : enumeration.enumerators) {
        Context enumerator;
        enumerator.set("enumerator", each.name);
        enumerator.set("value", text(each.value));
        enumerator.set("comment", each.meaning.empty() ? "" : " /* " + each.meaning + " */");
        enumerator.set("last", flag(&each == &enumeration.enumerators.back()));
        list.push_back(enumerator);
    }
    context.set("enumerators", list);
    return context;
}

Context context_of(const Schema &schema, const Table &table) {
    Context context;
    context.set("item", table.name);
    context.set("table", table.name);
    context.set("module", schema.module);
    context.set("origin", origin(schema, table.place));
    context.set("meaning", table.meaning.empty() ? table.type->meaning : table.meaning);
    context.set("model", "tarn::model::" + table.name);
    context.set("type", table.type->name);
    context.set("key", table.key());
    context.set("key_label", table.key_label());
    context.set("luid", table.identity.luid);
    context.set("luid_bytes", bytes_of(table.identity.luid));
    set_key(context, table);
    context.set(
        "table_type_info",
        render("descriptor.cpp", descriptor(schema, table.name + "_table", table.name, "table",
                                            table.identity, one_variant(1, 8), 1)));
    context.set("record_type_info",
                render("descriptor.cpp",
                       descriptor(schema, table.name + "_table_record", table.name + "_record",
                                  "table_record", table.record_identity, one_variant(1, 8), 1)));
    Context slots = empty_list();
    slots.push_back(slot(table.type->name, "object"));
    if (table.key_type != nullptr) slots.push_back(slot(table.key_type->name, "key_object"));
    context.set("slots", slots);
    Context readers = empty_list();
    readers.push_back(reader(table.name + "_" + table.key(), true));
    readers.push_back(reader(table.name + "_pkey", false));
    context.set("readers", readers);
    Context all_events = empty_list();
    for (const Event &event : events) all_events.push_back(context_of(schema, table, event));
    context.set("events", all_events);
    context.set("vector", render("vector.cpp", context));
    return context;
}

}  // namespace tarnc
