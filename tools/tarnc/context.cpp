// SPDX-License-Identifier: Apache-2.0
#include "context.h"

#include <set>

#include "context_parts.h"

namespace tarnc {
namespace {

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

// Whether a zeroed object of the enumeration holds the value of an enumerator.
bool has_zero(const Enumeration &enumeration) { return enumeration.enumerators.front().value == 0; }

// The enumeration fields whose initial value, 0, is no enumerator's.
std::string unset_fields(const Structure &structure) {
    std::string names;
    for (const Field &field : structure.fields) {
        if (field.enumeration == nullptr || has_zero(*field.enumeration)) continue;
        names += (names.empty() ? "`" : ", `") + field.name + "`";
    }
    return names;
}

}  // namespace

Context context_of(const Schema &schema, const Structure &structure) {
    Context context;
    context.set("item", structure.name);
    context.set("type", structure.name);
    context.set("module", schema.module);
    context.set("origin", origin(schema, structure.place));
    context.set("meaning", structure.meaning);
    context.set("digest", structure.identity.digest);
    context.set("quoted_meaning", quoted(structure.meaning));
    context.set("model", "tarnbase::model::" + structure.name);
    context.set("plain_size", text(structure.plain_size));
    context.set("state_length", text(structure.state_length));
    context.set("top_variant", text(static_cast<std::uint64_t>(structure.top_variant())));
    context.set("field_count", text(structure.fields.size()));
    context.set("used", text(structure.variants.back().used));
    context.set("rounded", text((structure.variants.back().used + 7) / 8 * 8));
    context.set("variants", variants_of(structure));
    context.set("includes", includes_of(structure));
    context.set("type_info",
                descriptor(schema, structure.name, structure.name, "type", structure.identity,
                           variants_of(structure), structure.variants.size()));
    Context fields = empty_list();
    Context values = empty_list();
    std::string arguments;
    std::string widened;
    for (const Field &field : structure.fields) {
        const Context each = context_of(schema, structure, field);
        fields.push_back(each);
        if (!field.has_plain_value()) continue;
        values.push_back(each);
        arguments += (arguments.empty() ? "" : ", ") + each.get("argument")->string_value();
        widened += (widened.empty() ? "" : ", ") + each.get("widened")->string_value();
    }
    context.set("values", flag(!arguments.empty()));
    context.set("arguments", "{" + arguments + "}");
    context.set("widened_arguments", "{" + widened + "}");
    context.set("fields", fields);
    context.set("value_fields", values);
    context.set("has_unset", flag(!unset_fields(structure).empty()));
    context.set("unset_fields", unset_fields(structure));
    return context;
}

Context context_of(const Schema &schema, const Enumeration &enumeration) {
    Context context;
    context.set("item", enumeration.name);
    context.set("enum", enumeration.name);
    context.set("module", schema.module);
    context.set("origin", origin(schema, enumeration.place));
    context.set("meaning", enumeration.meaning);
    context.set("digest", enumeration.identity.digest);
    context.set("quoted_meaning", quoted(enumeration.meaning));
    context.set("model", "tarnbase::model::" + enumeration.name);
    context.set("has_zero", flag(has_zero(enumeration)));
    context.set("first_user_value", text(enumeration.enumerators.front().value));
    context.set("count", text(enumeration.enumerators.size()));
    context.set("type_info", descriptor(schema, enumeration.name, enumeration.name, "enum",
                                        enumeration.identity, one_variant(0, 16), 1));
    Context list = empty_list();
    for (const Enumerator &each : enumeration.enumerators) {
        Context enumerator;
        enumerator.set("enumerator", each.name);
        enumerator.set("value", text(each.value));
        enumerator.set("quoted_meaning", quoted(each.meaning));
        enumerator.set("described", flag(!each.meaning.empty()));
        enumerator.set("comment", each.meaning.empty() ? "" : " /* " + each.meaning + " */");
        enumerator.set("last", flag(&each == &enumeration.enumerators.back()));
        list.push_back(enumerator);
    }
    context.set("enumerators", list);
    return context;
}

Context kinds() {
    Context list = empty_list();
    for (const KindFacts &each : tarnbase::all_kinds) {
        Context kind;
        kind.set("kind", each.name);
        kind.set("group", each.group_name);
        kind.set("type", each.type);
        kind.set("size", text(each.size));
        kind.set("signed", flag(tarnbase::is_signed(each.kind)));
        list.push_back(kind);
    }
    return list;
}

}  // namespace tarnc
