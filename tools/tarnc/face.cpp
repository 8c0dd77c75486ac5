// SPDX-License-Identifier: Apache-2.0
#include "face.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "context.h"
#include "context_parts.h"
#include "identity.h"

namespace tarnc {
namespace {

// The type that a getter returns.
std::string value_type(const Field &field) {
    if (field.enumeration != nullptr) return "::tarn::" + field.enumeration->name;
    if (field.structure != nullptr) return "::tarn::" + face_name(*field.structure);
    return field.facts().face;
}

// The type that a setter takes, up to its argument's name.
std::string argument_type(const Field &field) {
    const bool is_long = !field.has_plain_value() && field.kind != FieldKind::vstring;
    return is_long ? "const " + value_type(field) + " &" : value_type(field) + " ";
}

Context face_of(const Structure &structure, const Field &field) {
    const bool is_array = field.kind == FieldKind::array;
    const std::string c_name = structure.name + "_" + field.name;
    const std::string suffix = field.has_plain_value() || is_array ? "_value" : "";
    Context context;
    context.set("single", flag(!is_array));
    context.set("array", flag(is_array));
    context.set("certain", flag(field.first_variant == 0));
    context.set("note", field.meaning + "." +
                            (field.first_variant == 0
                                 ? ""
                                 : " From variant " +
                                       text(static_cast<std::uint64_t>(field.first_variant)) +
                                       " on. Error: EIDRM the object is older."));
    context.set("member", face_member(structure, field));
    context.set("plain_member", field.name);
    context.set("value", value_type(field));
    context.set("argument", argument_type(field));
    context.set("getter", c_name + "_get" + (is_array ? "" : suffix));
    context.set("access_getter", c_name + "_get");
    context.set("setter", c_name + "_set" + suffix);
    context.set("mem_setter", c_name + "_set_mem");
    context.set("elements", text(field.elements));
    context.set("label", field.name + " of " + structure.name);
    return context;
}

// The header of a field's type, below tarnbase/tarn/; none for a type of the language. A type of
// the interface that is no item of the schema is in a header of its name.
std::string header_of(const Field &field) {
    if (field.enumeration != nullptr) return "enums/" + field.enumeration->name;
    if (field.structure != nullptr) return "types/" + face_name(*field.structure);
    constexpr std::string_view scope = "::tarn::";
    const std::string_view type = field.facts().face;
    return type.starts_with(scope) ? std::string(type.substr(scope.size())) : "";
}

Context included_headers(const Structure &structure) {
    std::set<std::string> headers;
    for (const Field &field : structure.fields) headers.insert(header_of(field));
    headers.erase("");
    Context list = empty_list();
    for (const std::string &header : headers) {
        Context each;
        each.set("header", header);
        list.push_back(each);
    }
    return list;
}

Context fields_of(const Structure &structure) {
    Context list = empty_list();
    for (const Field &field : structure.fields) list.push_back(face_of(structure, field));
    return list;
}

Context face_of(const Schema &schema, const Structure &structure) {
    Context context;
    context.set("origin", origin(schema, structure.place));
    context.set("meaning", structure.meaning);
    context.set("type", structure.name);
    context.set("face", face_name(structure));
    context.set("plain_size", text(structure.plain_size));
    context.set("state_length", text(structure.state_length));
    context.set("includes", included_headers(structure));
    context.set("fields", fields_of(structure));
    return context;
}

Context face_of(const Schema &schema, const Enumeration &enumeration) {
    Context context;
    context.set("origin", origin(schema, enumeration.place));
    context.set("meaning", enumeration.meaning);
    context.set("enum", enumeration.name);
    context.set("face", enumeration.name);
    const std::vector<std::string> names = face_enumerators(enumeration);
    Context list = empty_list();
    for (std::size_t i = 0; i < names.size(); ++i) {
        const Enumerator &each = enumeration.enumerators[i];
        Context enumerator;
        enumerator.set("short", names[i]);
        enumerator.set("enumerator", each.name);
        enumerator.set("value", text(each.value));
        enumerator.set("note", each.meaning.empty() ? "" : "  ///< " + each.meaning);
        enumerator.set("open", "{");  // a third brace beside a tag's two would belong to it
        list.push_back(enumerator);
    }
    context.set("enumerators", list);
    return context;
}

// Whether all parts of a key can be given as a list of values.
bool is_listed(const Structure &key) {
    return std::none_of(key.fields.begin(), key.fields.end(), [](const Field &field) {
        return field.kind >= FieldKind::structure || field.first_variant != 0;
    });
}

void set_structure_key(Context &context, const Table &table) {
    const Structure &key = *table.key_type;
    const std::string object = face_name(key);
    const bool listed = is_listed(key);
    context.set("ktype", key.name);
    context.set("key_object", object);
    context.set("key_note", "The key is a " + object + ": " + key.meaning + ".");
    context.set("listed", flag(listed));
    context.set("parts", fields_of(key));
    context.set("key_type", listed ? "key_values" : object);
    context.set("probe", listed ? "detail::structure_probe<" + table.name + ", " + object + ">"
                                : "detail::object_probe<" + object + ">");
}

void set_field_key(Context &context, const Table &table) {
    const Field &key = *table.key_field;
    const Context field = face_of(*table.type, key);
    context.set("key_note", "The key is `" + key.name + "`: " + key.meaning + ".");
    context.set("key_member", face_member(*table.type, key));
    context.set("key_setter", field.get("setter")->string_value());
    context.set("key_type", value_type(key));
    context.set("probe", "detail::value_probe<key_type>");
}

Context face_of(const Schema &schema, const Table &table) {
    const auto holds_the_same = [&](const Table &other) { return other.type == table.type; };
    Context context;
    context.set("origin", origin(schema, table.place));
    context.set("meaning", table.meaning.empty() ? table.type->meaning : table.meaning);
    context.set("table", table.name);
    context.set("file", face_file(table));
    context.set("type", table.type->name);
    context.set("object", face_name(*table.type));
    context.set("key", table.key());
    context.set("composite", flag(table.key_type != nullptr));
    context.set("listed", flag(false));
    context.set("only_one", flag(std::count_if(schema.tables.begin(), schema.tables.end(),
                                               holds_the_same) == 1));
    if (table.key_type != nullptr) {
        set_structure_key(context, table);
    } else {
        set_field_key(context, table);
    }
    return context;
}

template <typename Items>
Context emit_items(const Schema &schema, const Items &items, const char *folder,
                   const char *file_name, const char *template_name, Files &files) {
    Context all = empty_list();
    for (const auto &item : items) {
        Context context = face_of(schema, item);
        context.set("comma", &item == &items.back() ? "" : ",");
        const std::string file = context.get(file_name)->string_value();
        files["include/tarnbase/tarn/" + std::string(folder) + "/" + file + ".hpp"] =
            render(template_name, context);
        all.push_back(context);
    }
    return all;
}

}  // namespace

void emit_face(const Schema &schema, const Context &module, Files &files) {
    Files made;
    Context context = module;
    context.set("face_structures",
                emit_items(schema, schema.structures, "types", "face", "face_type.hpp", made));
    context.set("face_enumerations", emit_items(schema, schema.enumerations, "enums", "face",
                                                "face_enumeration.hpp", made));
    context.set("face_tables",
                emit_items(schema, schema.tables, "tables", "file", "face_table.hpp", made));
    made["include/tarnbase/tarn.hpp"] = render("face.hpp", context);
    // Each of them includes this one, as emit_schema_header says for the C headers.
    std::string all;
    for (const auto &[path, content] : made) all += path + "\n" + content;
    context.set("digest", digest(all, 0));
    made["include/tarnbase/tarn/schema.hpp"] = render("face_schema.hpp", context);
    files.merge(made);
}

}  // namespace tarnc
