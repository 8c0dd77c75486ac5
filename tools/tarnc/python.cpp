// SPDX-License-Identifier: Apache-2.0
#include "python.h"

#include <cctype>
#include <set>
#include <string_view>
#include <vector>

#include "context_parts.h"
#include "face.h"

namespace tarnc {
namespace {

// Keywords of Python, and attributes that every record has.
bool is_taken(const std::string &name) {
    static const std::set<std::string> taken = {
        "and",    "as",      "assert",   "async",   "await",     "break",   "class",    "continue",
        "def",    "del",     "elif",     "else",    "except",    "finally", "for",      "from",
        "global", "if",      "import",   "in",      "is",        "lambda",  "nonlocal", "not",
        "or",     "pass",    "raise",    "return",  "try",       "while",   "with",     "yield",
        "get",    "key",     "has_data", "pending", "set_state", "source",  "states",   "table",
        "tenant", "to_dict", "to_json",  "to_text", "to_wire",   "to_xml",  "update",   "variant"};
    return taken.count(name) != 0;
}

std::string attribute(const std::string &name) { return is_taken(name) ? name + "_" : name; }

std::string upper_case(std::string text) {
    for (char &c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

// A text between three quotes.
std::string documented(const std::string &text) {
    std::string result = quoted(text);
    return result.empty() ? "A part of the schema." : result;
}

constexpr std::string_view time_type = "kel_timespec";

std::string value_type(const Field &field) {
    if (field.enumeration != nullptr) return field.enumeration->name;
    if (field.structure != nullptr)
        return field.type == time_type ? "datetime.datetime" : bare_name(*field.structure);
    switch (field.kind) {
        case FieldKind::boolean:
            return "bool";
        case FieldKind::vstring:
            return "str";
        case FieldKind::address:
            return "Address | None";
        case FieldKind::array:
            return "Array";
        default:
            return "int";
    }
}

// A part of a key; a structure in it is a tuple.
std::string key_part_type(const Field &field) {
    return field.structure != nullptr       ? "tuple[Any, ...]"
           : field.kind == FieldKind::array ? "bytes"
                                            : value_type(field);
}

Context of_fields(const Structure &structure, bool in_key) {
    Context list = empty_list();
    for (const Field &field : structure.fields) {
        Context each;
        each.set("attribute", attribute(field.name));
        each.set("value", in_key ? key_part_type(field) : value_type(field));
        list.push_back(each);
    }
    return list;
}

Context of_structure(const Structure &structure) {
    Context context;
    context.set("class", bare_name(structure));
    context.set("meaning", documented(structure.meaning));
    context.set("fields", of_fields(structure, false));
    return context;
}

Context of_enumeration(const Enumeration &enumeration) {
    const std::vector<std::string> names = bare_enumerators(enumeration);
    Context list = empty_list();
    for (std::size_t i = 0; i < names.size(); ++i) {
        Context each;
        each.set("name", upper_case(names[i]));
        each.set("value", text(enumeration.enumerators[i].value));
        list.push_back(each);
    }
    Context context;
    context.set("enum", enumeration.name);
    context.set("meaning", documented(enumeration.meaning));
    context.set("enumerators", list);
    return context;
}

Context of_table(const Table &table) {
    constexpr std::size_t prefix = 4;  // of "tbl_"
    const bool is_composite = table.key_type != nullptr;
    const std::string &meaning = table.meaning.empty() ? table.type->meaning : table.meaning;
    Context context;
    context.set("table", table.name);
    context.set("short", table.name.substr(prefix));
    context.set("class", bare_name(*table.type));
    context.set("meaning", documented(meaning));
    context.set("composite", flag(is_composite));
    context.set("key", is_composite ? table.name + "_key" : value_type(*table.key_field));
    if (!is_composite) return context;
    context.set("key_meaning", documented(table.key_type->meaning));
    context.set("parts", of_fields(*table.key_type, true));
    return context;
}

template <typename Items, typename Make>
Context all_of(const Items &items, Make make) {
    Context list = empty_list();
    for (const auto &each : items) list.push_back(make(each));
    return list;
}

}  // namespace

std::string python_types(const Schema &schema, const std::string &origin) {
    Context context;
    context.set("origin", origin);
    context.set("enumerations", all_of(schema.enumerations, of_enumeration));
    context.set("structures", all_of(schema.structures, of_structure));
    context.set("tables", all_of(schema.tables, of_table));
    return render("python_schema.pyi", context);
}

}  // namespace tarnc
