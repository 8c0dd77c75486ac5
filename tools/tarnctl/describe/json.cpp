// SPDX-License-Identifier: Apache-2.0
#include "describe/describe.h"

#include "describe/holders.h"
#include "describe/wire.h"
#include "model/record.h"

namespace tarnctl {
namespace {

Json json_of(const WireSize &size) {
    return {{"fixed", size.fixed},
            {"with_state", size.fixed + size.state},
            {"variable", size.variable}};
}

Json json_of(const Field &field) {
    Json json{{"name", field.name}, {"type", field.type}};
    if (field.elements > 0) json.set("elements", field.elements);
    json.set("unit", field.unit.empty() ? Json() : Json(field.unit));
    json.set("meaning", field.meaning);
    json.set("first_variant", field.first_variant);
    json.set("wire", json_of(wire_size(field)));
    return json;
}

Json variants_of(const Structure &structure) {
    Json json = Json::array();
    const kel_variant_info &info = *structure.descriptor->variant_info;
    for (int v = 0; v < info.variant_count; ++v)
        json.add({{"variant", v},
                  {"used_length", info.variants[v].used_length},
                  {"slop", info.variants[v].alloc_slop},
                  {"wire", json_of(wire_size(structure, v))}});
    return json;
}

Json names_of(const std::vector<const Table *> &tables) {
    Json names = Json::array();
    for (const Table *table : tables) names.add(table->name);
    return names;
}

Json fields_of(std::string_view type) {
    Json json = Json::array();
    for (const auto &[structure, field] : fields_of_type(type))
        json.add({{"type", structure->name}, {"field", field->name}});
    return json;
}

}  // namespace

Json described(const Structure &structure) {
    Json fields = Json::array();
    for (const Field &field : structure.fields) fields.add(json_of(field));
    return {{"kind", "type"},
            {"name", structure.name},
            {"meaning", structure.meaning},
            {"file", structure.origin},
            {"luid", structure.descriptor->luid_text},
            {"digest", structure.digest},
            {"fields", std::move(fields)},
            {"state_length", structure.state_length},
            {"variants", variants_of(structure)},
            {"tables", names_of(tables_with(structure.name))},
            {"used_by", fields_of(structure.name)}};
}

Json described(const Table &table) {
    Json key = Json::array();
    for (const Column &column : key_columns(table)) key.add(column.name());
    return {{"kind", "table"},
            {"name", table.name},
            {"meaning", table.meaning},
            {"file", table.origin},
            {"luid", table.descriptor->luid_text},
            {"digest", table.digest},
            {"record_luid", table.record_descriptor->luid_text},
            {"record_digest", table.record_digest},
            {"key", std::move(key)},
            {"order", order_text(table)},
            {"wire", json_of(wire_size(table))},
            {"key_type", table.key_type == nullptr ? Json() : described(*table.key_type)},
            {"type", described(*table.type)}};
}

Json described(const Enumeration &enumeration) {
    Json enumerators = Json::array();
    for (const Enumerator &each : enumeration.enumerators) {
        Json enumerator{{"name", each.name}, {"value", each.value}};
        if (!each.meaning.empty()) enumerator.set("meaning", each.meaning);
        enumerators.add(enumerator);
    }
    return {{"kind", "enum"},
            {"name", enumeration.name},
            {"meaning", enumeration.meaning},
            {"file", enumeration.origin},
            {"luid", enumeration.descriptor->luid_text},
            {"digest", enumeration.digest},
            {"enumerators", std::move(enumerators)},
            {"tables", names_of(tables_with(enumeration.name))},
            {"used_by", fields_of(enumeration.name)}};
}

Json described(const ValueType &type) {
    return {{"kind", "value"},
            {"name", type.name},
            {"meaning", type.meaning},
            {"wire", type.wire},
            {"order", type.order},
            {"text", type.text},
            {"tables", names_of(tables_with(type.name))},
            {"used_by", fields_of(type.name)}};
}

}  // namespace tarnctl
