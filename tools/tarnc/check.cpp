// SPDX-License-Identifier: Apache-2.0
#include "check.h"

#include <algorithm>
#include <map>
#include <set>

#include "face.h"
#include "identity.h"
#include "layout.h"
#include "measure.h"

namespace tarnc {
namespace {

// A descriptor's name has 64 bytes; a table's leaves space for "_record".
constexpr std::size_t longest_name = 63;
constexpr std::size_t longest_table_name = longest_name - 7;
constexpr std::uint64_t highest_variant = 127;
constexpr std::uint64_t most_elements = 1 << 20;

// The types of fields that can be keys, as a diagnostic names them.
std::string key_types() {
    std::string types;
    for (const KindFacts &each : tarnbase::all_kinds) {
        if (!tarnbase::can_be_key(each.kind) || each.type[0] == '\0') continue;
        types += (types.empty() ? "" : ", ") + std::string(each.type);
    }
    return types + " or an enumeration";
}

class Checker {
 public:
    Checker(const syntax::Schema &written, Diagnostics &diagnostics)
        : written_(written), diagnostics_(diagnostics) {}

    Schema check();

 private:
    void declare();
    bool declare(const Name &name, std::size_t longest);
    void order_items();
    void require_all_ordered();
    void fill_enumerations();
    void fill_enumerators(Enumeration &enumeration, const syntax::Enumeration &written);
    void fill_structures();
    void fill_fields(Structure &structure, const syntax::Structure &written);
    void fill_variant(Structure &structure, const syntax::Variant &written);
    void fill_field(Structure &structure, const syntax::Field &written);
    void fill_type(Field &field, const syntax::Field &written);
    void fill_unit(Field &field, const syntax::Unit &written);
    void fill_measure(Field &field, const syntax::Measure &written);
    void lay_out_structures();
    void visit(Structure &structure);
    void fill_tables();
    void fill_key(Table &table, const syntax::Table &written);
    void report(const Name &name, const std::string &wrong, const std::string &expected) {
        diagnostics_.report(name.place, wrong, expected);
    }

    const syntax::Schema &written_;
    Diagnostics &diagnostics_;
    Schema schema_;
    std::map<std::string, Place> names_;
    std::map<std::string, const syntax::Structure *> written_structures_;
    std::map<std::string, const syntax::Enumeration *> written_enumerations_;
    std::map<std::string, Structure *> structures_;
    std::map<std::string, Enumeration *> enumerations_;
    std::set<const Structure *> laid_out_;
    std::vector<const Structure *> nesting_;
};

Schema Checker::check() {
    schema_.module = written_.module->text;
    schema_.files = written_.files;
    if (schema_.module.size() > longest_name)
        report(*written_.module, "name too long", "at most 63 characters");
    declare();
    order_items();
    fill_enumerations();
    fill_structures();
    if (diagnostics_.clean()) lay_out_structures();
    fill_tables();
    if (diagnostics_.clean()) require_unique_luids(schema_, diagnostics_);
    if (diagnostics_.clean()) check_face(schema_, diagnostics_);
    if (diagnostics_.clean()) schema_.mib = make_mib(schema_, written_, diagnostics_);
    return std::move(schema_);
}

// False if the name is taken.
bool Checker::declare(const Name &name, std::size_t longest) {
    if (name.text.size() > longest)
        report(name, "name too long", "at most " + std::to_string(longest) + " characters");
    if (find_built_in(name.text) != nullptr)
        report(name, name.text + " is a built-in type", "a name of its own");
    const auto [other, is_new] = names_.emplace(name.text, name.place);
    if (!is_new)
        report(name,
               name.text + " is already defined, in line " + std::to_string(other->second.line) +
                   " of " + *other->second.file,
               "a name of its own");
    return is_new;
}

void Checker::declare() {
    for (const auto &each : written_.structures) {
        if (declare(each.name, longest_name)) written_structures_.emplace(each.name.text, &each);
    }
    for (const auto &each : written_.enumerations) {
        if (declare(each.name, longest_name)) written_enumerations_.emplace(each.name.text, &each);
    }
    for (const auto &each : written_.tables) declare(each.name, longest_table_name);
}

void Checker::order_items() {
    for (const Name &name : written_.order) {
        if (structures_.count(name.text) != 0 || enumerations_.count(name.text) != 0) {
            report(name, name.text + " is in the order twice", "each item once");
        } else if (const auto found = written_structures_.find(name.text);
                   found != written_structures_.end()) {
            if (!enumerations_.empty())
                report(name, "a structure after an enumeration", "all structures first");
            Structure &structure = schema_.structures.emplace_back();
            structures_[name.text] = &structure;
        } else if (written_enumerations_.count(name.text) != 0) {
            enumerations_[name.text] = &schema_.enumerations.emplace_back();
        } else {
            report(name, name.text + " is unknown", "a structure or an enumeration of the schema");
        }
    }
    require_all_ordered();
}

void Checker::require_all_ordered() {
    const auto missing = [&](const Name &name) {
        report(name, name.text + " is missing from the order", "each item once");
    };
    for (const auto &[name, written] : written_structures_) {
        if (structures_.count(name) == 0) missing(written->name);
    }
    for (const auto &[name, written] : written_enumerations_) {
        if (enumerations_.count(name) == 0) missing(written->name);
    }
}

void Checker::fill_enumerations() {
    std::map<std::string, std::string> owners;
    for (const auto &[name, written] : written_enumerations_) {
        const auto found = enumerations_.find(name);
        if (found == enumerations_.end()) continue;
        Enumeration &enumeration = *found->second;
        enumeration.name = name;
        enumeration.meaning = written->meaning;
        enumeration.place = written->name.place;
        for (const auto &each : written->enumerators) {
            const auto [owner, is_new] = owners.emplace(each.name.text, name);
            if (!is_new)
                report(each.name, each.name.text + " is an enumerator of " + owner->second,
                       "a name of its own");
        }
        fill_enumerators(enumeration, *written);
        enumeration.identity = identify(written->identity, schema_text(enumeration), diagnostics_);
    }
}

void Checker::fill_enumerators(Enumeration &enumeration, const syntax::Enumeration &written) {
    if (written.enumerators.empty()) report(written.name, "no enumerator", "at least one");
    for (const auto &each : written.enumerators) {
        const auto value = static_cast<std::uint32_t>(each.value.value);
        if (!enumeration.enumerators.empty()) {
            const std::uint32_t next = enumeration.enumerators.back().value + 1;
            if (value != next)
                diagnostics_.report(each.value.place,
                                    "value " + std::to_string(value) + " leaves the sequence",
                                    std::to_string(next));
        }
        enumeration.enumerators.push_back({each.name.text, each.meaning, value});
    }
}

void Checker::fill_structures() {
    for (const auto &[name, written] : written_structures_) {
        const auto found = structures_.find(name);
        if (found == structures_.end()) continue;
        Structure &structure = *found->second;
        structure.name = name;
        structure.meaning = written->meaning;
        structure.counts = written->counts;
        structure.is_time = written->is_time;
        structure.place = written->name.place;
        fill_fields(structure, *written);
        structure.identity = identify(written->identity, schema_text(structure), diagnostics_);
    }
}

void Checker::fill_fields(Structure &structure, const syntax::Structure &written) {
    for (const auto &variant : written.variants) fill_variant(structure, variant);
    if (written.variants.front().fields.empty())
        report(written.name, "no field", "at least one in variant 0");
    const auto is_number = [](const Field &each) { return tarnbase::is_number(each.kind); };
    const bool is_pair = structure.fields.size() == 2 &&
                         std::all_of(structure.fields.begin(), structure.fields.end(), is_number);
    if (structure.is_time && !is_pair)
        report(written.name, "a time of other fields", "two numbers: seconds and nanoseconds");
    std::set<std::string> names;
    for (const Field &field : structure.fields) {
        if (!names.insert(field.name).second)
            diagnostics_.report(field.place, "a second field " + field.name,
                                "a name of its own in the structure");
    }
}

void Checker::fill_variant(Structure &structure, const syntax::Variant &written) {
    const std::size_t next = structure.variants.size();
    if (written.number.value != next)
        diagnostics_.report(written.number.place,
                            "variant " + std::to_string(written.number.value) + " out of order",
                            "variant " + std::to_string(next));
    else if (next > highest_variant)
        diagnostics_.report(written.number.place, "too many variants", "at most 127");
    else if (next > 0 && written.fields.empty())
        diagnostics_.report(written.number.place, "a variant without a field", "at least one");
    structure.variants.emplace_back();
    for (const auto &field : written.fields) fill_field(structure, field);
    const auto count = static_cast<std::uint32_t>(structure.fields.size());
    Variant &variant = structure.variants.back();
    variant.field_numbers = count;
    if (!written.field_numbers) return;
    if (written.field_numbers->value < count)
        diagnostics_.report(written.field_numbers->place, "fewer numbers than fields",
                            "at least " + std::to_string(count));
    variant.field_numbers = static_cast<std::uint32_t>(written.field_numbers->value);
}

void Checker::fill_field(Structure &structure, const syntax::Field &written) {
    if (written.name.text.size() > longest_name)
        report(written.name, "name too long", "at most 63 characters");
    Field field;
    field.name = written.name.text;
    field.meaning = written.meaning;
    field.type = written.type.text;
    field.place = written.name.place;
    field.first_variant = structure.top_variant();
    field.number = structure.fields.size();
    fill_type(field, written);
    if (written.unit) fill_unit(field, *written.unit);
    field.measure = usual_measure(field.kind, structure.counts);
    field.measure_name = field.name;
    if (written.measure) fill_measure(field, *written.measure);
    structure.fields.push_back(std::move(field));
}

void Checker::fill_type(Field &field, const syntax::Field &written) {
    if (const KindFacts *built_in = find_built_in(field.type)) {
        field.kind = built_in->kind;
    } else if (const auto nested = structures_.find(field.type); nested != structures_.end()) {
        field.kind = FieldKind::structure;
        field.structure = nested->second;
    } else if (const auto found = enumerations_.find(field.type); found != enumerations_.end()) {
        field.kind = FieldKind::enumeration;
        field.enumeration = found->second;
    } else if (names_.count(field.type) == 0) {
        report(written.type, "type " + field.type + " is unknown",
               "a built-in type, an enumeration or a structure");
    } else if (written_structures_.count(field.type) == 0 &&
               written_enumerations_.count(field.type) == 0) {
        report(written.type, field.type + " is a table",
               "a built-in type, an enumeration or a structure");
    }
    if (!written.elements) return;
    if (field.type != "u_int8") {
        report(written.type, "an array of " + field.type, "an array of u_int8");
    } else if (written.elements->value == 0 || written.elements->value > most_elements) {
        diagnostics_.report(written.elements->place, "array of a wrong length",
                            "1 to 1048576 elements");
    }
    field.kind = FieldKind::array;
    field.elements = static_cast<std::uint32_t>(written.elements->value);
}

void Checker::fill_unit(Field &field, const syntax::Unit &written) {
    if (!tarnbase::is_number(field.kind) && field.kind != FieldKind::array)
        diagnostics_.report(written.place, "a unit of " + field.type, "a unit of numbers only");
    if (written.text.empty())
        diagnostics_.report(written.place, "an empty unit", "the unit's name");
    field.unit = written.text;
}

void Checker::fill_measure(Field &field, const syntax::Measure &written) {
    field.measure = written.word.text;
    if (!can_have(field.kind, field.measure))
        report(written.word, "a " + field.measure + " of " + field.type, holders_of(field.measure));
    if (!written.name) return;
    field.measure_name = written.name->text;
    if (!is_measure_name(field.measure_name))
        report(*written.name, "the name '" + field.measure_name + "' of a measure",
               "lower-case words of letters and digits, with '_' between them");
}

void Checker::lay_out_structures() {
    for (Structure &structure : schema_.structures) visit(structure);
}

void Checker::visit(Structure &structure) {
    if (laid_out_.count(&structure) != 0) return;
    nesting_.push_back(&structure);
    for (const Field &field : structure.fields) {
        if (field.kind != FieldKind::structure) continue;
        if (std::find(nesting_.begin(), nesting_.end(), field.structure) != nesting_.end()) {
            diagnostics_.report(field.place, field.type + " contains itself",
                                "structures nested without a cycle");
            continue;
        }
        visit(*structures_.at(field.type));
    }
    nesting_.pop_back();
    lay_out(structure);
    laid_out_.insert(&structure);
}

void Checker::fill_tables() {
    for (const auto &written : written_.tables) {
        if (structures_.count(written.type.text) == 0) {
            report(written.type, written.type.text + " is no structure",
                   "the structure of the table's objects");
        }
        if (!written.identity.luid) report(written.name, "no luid", "a 'luid' line in each table");
        if (!written.key) report(written.name, "no key", "a 'key' line in each table");
    }
    // The list's order: by the structure of the objects, then as written.
    for (Structure &type : schema_.structures) {
        for (const auto &written : written_.tables) {
            if (written.type.text != type.name || !written.key || !written.identity.luid) continue;
            Table &table = schema_.tables.emplace_back();
            table.name = written.name.text;
            table.meaning = written.meaning;
            table.place = written.name.place;
            table.type = &type;
            fill_key(table, written);
            if (table.key_type == nullptr && table.key_field == nullptr) continue;
            table.identity = identify(written.identity, schema_text(table), diagnostics_);
            table.record_identity =
                identify(written.record_identity, record_schema_text(table), diagnostics_);
        }
    }
}

void Checker::fill_key(Table &table, const syntax::Table &written) {
    const Name &key = *written.key;
    if (written.keyed_by_structure) {
        const auto found = structures_.find(key.text);
        if (found == structures_.end()) {
            report(key, key.text + " is no structure", "a key structure of the schema");
        } else {
            table.key_type = found->second;
        }
        return;
    }
    const auto &fields = table.type->fields;
    const auto field = std::find_if(fields.begin(), fields.end(),
                                    [&](const Field &each) { return each.name == key.text; });
    if (field == fields.end()) {
        report(key, table.type->name + " has no field " + key.text,
               "a field of the table's structure, or 'structure' and a key structure");
        return;
    }
    table.key_field = &*field;
    if (!tarnbase::can_be_key(field->kind))
        report(key, field->type + " can't be a key", "a field of type " + key_types());
    if (field->first_variant != 0)
        report(key, "a key of variant " + std::to_string(field->first_variant),
               "a field of variant 0");
}

}  // namespace

Schema check_schema(const syntax::Schema &written, Diagnostics &diagnostics) {
    return Checker(written, diagnostics).check();
}

}  // namespace tarnc
