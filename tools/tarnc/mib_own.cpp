// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <map>
#include <set>

#include "mib_parts.h"
#include "render.h"

namespace tarnc {
namespace {

// Column numbers: 1 to 3 are the name of the table, the tenant and the source; the fields of a key
// structure and those of the data follow, each with its place in its structure, so that a field
// that is added at the end moves none. Parts of a field are numbered in the same way below it.
constexpr std::uint64_t first_key_column = 11;
constexpr std::uint64_t first_data_column = 101;
constexpr std::uint64_t parts_of_a_column = 1000;

constexpr std::size_t longest_name = 64;
constexpr const char *highest_text = "4096";

class OwnTables {
 public:
    OwnTables(const Schema &schema, const syntax::Schema &written, Diagnostics &diagnostics)
        : schema_(schema), written_(written), diagnostics_(diagnostics) {}

    std::vector<MibTable> make();

 private:
    void require_mib_lines();
    void add(const Table &table, const syntax::MibEntry &written);
    void add_fields(const Structure &structure, const std::string &path, std::uint64_t first);
    void add_field(const Field &field, const std::string &path, std::uint64_t number);
    void add_address(MibColumn column);
    void add_column(MibColumn column);
    void split_index();
    MibColumn column_of(const Field &field, const std::string &path, std::uint64_t number) const;
    void claim(const std::string &name);

    const Schema &schema_;
    const syntax::Schema &written_;
    Diagnostics &diagnostics_;
    std::set<std::string> names_;
    std::vector<MibTable> tables_;
    Place place_;  // of the table that is being made
    bool in_key_ = false;
    bool was_reported_ = false;  // its names
};

struct NumberSyntax {
    const char *enumerator;
    const char *type;
};

NumberSyntax number_syntax(const Field &field) {
    const bool is_counter = field.measure == "counter";
    if (field.facts().size > 4 && is_counter && !tarnbase::is_signed(field.kind))
        return {"counter64", "Counter64"};
    if (field.facts().size > 4) return {"decimal", nullptr};
    if (is_counter) return {"counter", "Counter32"};
    if (tarnbase::is_signed(field.kind)) return {"integer", "Integer32"};
    return {"unsigned_number", field.measure == "gauge" ? "Gauge32" : "Unsigned32"};
}

std::vector<MibTable> OwnTables::make() {
    require_mib_lines();
    for (const Table &table : schema_.tables) {
        for (const syntax::Table &each : written_.tables) {
            if (each.name.text == table.name && each.mib) add(table, *each.mib);
        }
    }
    std::sort(tables_.begin(), tables_.end(),
              [](const MibTable &a, const MibTable &b) { return a.entry < b.entry; });
    return std::move(tables_);
}

// A module has no MIB, or all tables have a place in it.
void OwnTables::require_mib_lines() {
    std::map<std::uint64_t, std::string> owners;
    for (const syntax::Table &each : written_.tables) {
        if (!each.mib) continue;
        const std::uint64_t number = each.mib->number.value;
        const auto [owner, is_new] = owners.emplace(number, each.name.text);
        if (!is_new || number == 0)
            diagnostics_.report(each.mib->number.place,
                                number == 0 ? "the number 0" : "the number of " + owner->second,
                                "a number that no other table has, from 1 on");
    }
    if (owners.empty()) return;
    const std::uint64_t next = owners.rbegin()->first + 1;
    for (const syntax::Table &each : written_.tables) {
        if (!each.mib)
            diagnostics_.report(
                each.name.place, "no mib line",
                "'mib " + std::to_string(next) + "' and a name, as other tables have");
    }
}

void OwnTables::add(const Table &table, const syntax::MibEntry &written) {
    place_ = written.name.place;
    was_reported_ = false;
    MibTable &made = tables_.emplace_back();
    made.name = schema_.module + camel_words(written.name.text);
    made.entry = {1, written.number.value, 1};
    made.table = &table;
    for (const char *object : {"Table", "Entry", "Group", "TableName", "Tenant", "Source"})
        claim(made.name + object);
    in_key_ = table.key_type != nullptr;
    if (in_key_) add_fields(*table.key_type, "", first_key_column);
    in_key_ = false;
    add_fields(*table.type, "", first_data_column);
    split_index();
}

void OwnTables::add_fields(const Structure &structure, const std::string &path,
                           std::uint64_t first) {
    for (const Field &field : structure.fields)
        add_field(field, path + field.name, first + field.number);
}

// An array isn't shown: it would be longer than most messages.
void OwnTables::add_field(const Field &field, const std::string &path, std::uint64_t number) {
    if (field.kind == FieldKind::array) return;
    MibColumn column = column_of(field, path, number);
    if (field.kind == FieldKind::structure && !field.structure->is_time)
        add_fields(*field.structure, path + ".", number * parts_of_a_column + 1);
    else if (field.kind == FieldKind::address) add_address(column);
    else add_column(column);
}

void OwnTables::add_address(MibColumn column) {
    MibColumn type = column;
    type.name += "Type";
    type.number = column.number * parts_of_a_column + 1;
    type.syntax = "address_type";
    type.type = "InetAddressType";
    type.meaning = "the type of the address: " + column.meaning;
    column.number = type.number + 1;
    add_column(type);
    add_column(column);
}

void OwnTables::add_column(MibColumn column) {
    claim(column.name);
    tables_.back().columns.push_back(std::move(column));
}

MibColumn OwnTables::column_of(const Field &field, const std::string &path,
                               std::uint64_t number) const {
    MibColumn column;
    column.name = tables_.back().name;
    for (const std::string &each : split(path, '.')) column.name += camel_words(each);
    column.number = number;
    column.path = path;
    column.in_key = in_key_;
    column.unit = field.unit;
    column.meaning = field.meaning;
    const std::string module = camel_words(schema_.module);
    const auto set = [&](const char *syntax, const std::string &type) {
        column.syntax = syntax;
        column.type = type;
    };
    if (tarnbase::is_number(field.kind)) {
        const NumberSyntax syntax = number_syntax(field);
        set(syntax.enumerator, syntax.type != nullptr ? syntax.type : module + "Decimal");
    }
    if (field.kind == FieldKind::boolean) set("truth", "TruthValue");
    if (field.kind == FieldKind::vstring) {
        set("text", module + "Text");
        column.high = highest_text;
    }
    if (field.kind == FieldKind::address) set("address", "InetAddress");
    if (field.kind == FieldKind::enumeration) {
        set("integer", mib_type(schema_, *field.enumeration));
        column.low = std::to_string(field.enumeration->enumerators.front().value);
        column.high = std::to_string(field.enumeration->enumerators.back().value);
    }
    if (field.kind == FieldKind::structure && field.structure->is_time) {
        set("date", "DateAndTime");
        column.path = path + "." + field.structure->fields[0].name;
        column.fraction = path + "." + field.structure->fields[1].name;
    }
    return column;
}

// The columns of the key aren't read, since they are in the index; unless there are no others.
void OwnTables::split_index() {
    MibTable &made = tables_.back();
    const Field *key = made.table->key_field;
    std::vector<MibColumn> all = std::move(made.columns);
    made.columns.clear();
    for (MibColumn &each : all) {
        if (!each.in_key && (key == nullptr || each.path != key->name)) {
            made.columns.push_back(std::move(each));
            continue;
        }
        // A counter can't be in an index.
        if (each.syntax == "counter") each.syntax = "unsigned_number";
        if (each.syntax == "unsigned_number") each.type = "Unsigned32";
        made.index.push_back(std::move(each));
    }
    for (MibColumn &each : made.index) each.is_accessible = made.columns.empty();
    if (made.columns.empty()) made.columns = made.index;
    std::sort(made.columns.begin(), made.columns.end(),
              [](const MibColumn &a, const MibColumn &b) { return a.number < b.number; });
}

// One report for a table is enough: another name changes those of all its objects.
void OwnTables::claim(const std::string &name) {
    const bool is_new = names_.insert(name).second;
    if (was_reported_ || (is_new && name.size() <= longest_name)) return;
    was_reported_ = true;
    if (is_new)
        diagnostics_.report(place_, "the object " + name + " has a name of more than 64 characters",
                            "a shorter name of the table");
    else diagnostics_.report(place_, "a second object " + name, "another name of the table");
}

}  // namespace

std::vector<MibTable> make_own_tables(const Schema &schema, const syntax::Schema &written,
                                      Diagnostics &diagnostics) {
    return OwnTables(schema, written, diagnostics).make();
}

}  // namespace tarnc
