// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "mib_parts.h"

namespace tarnc {
namespace {

// A syntax of standard objects, and the fields whose values it can have.
struct Syntax {
    const char *name;
    const char *enumerator;  // of agentx::Syntax
    bool (*can_show)(FieldKind kind);
    const char *fields;  // in a diagnostic
};

bool is_short_number(FieldKind kind) {
    return tarnbase::is_number(kind) && tarnbase::facts_of(kind).size <= 4;
}

constexpr Syntax syntaxes[] = {
    {"integer", "integer",
     [](FieldKind kind) { return is_short_number(kind) || kind == FieldKind::enumeration; },
     "a number of at most 32 bits, or an enumeration"},
    {"unsigned", "unsigned_number",
     [](FieldKind kind) { return is_short_number(kind) && !tarnbase::is_signed(kind); },
     "an unsigned number of at most 32 bits"},
    {"counter", "counter", [](FieldKind kind) { return tarnbase::is_number(kind); }, "a number"},
    {"truth", "truth", [](FieldKind kind) { return kind == FieldKind::boolean; }, "a boolean"},
    {"text", "text", [](FieldKind kind) { return kind == FieldKind::vstring; }, "a string"},
    {"mac", "mac", [](FieldKind kind) { return kind == FieldKind::vstring; }, "a string"},
    {"address", "address",
     [](FieldKind kind) { return kind == FieldKind::vstring || kind == FieldKind::address; },
     "an address or a string"},
    {"address_type", "address_type",
     [](FieldKind kind) { return kind == FieldKind::vstring || kind == FieldKind::address; },
     "an address or a string"},
};

const Syntax *find_syntax(const std::string &name) {
    const auto *found = std::find_if(std::begin(syntaxes), std::end(syntaxes),
                                     [&](const Syntax &each) { return each.name == name; });
    return found == std::end(syntaxes) ? nullptr : found;
}

std::string names_of_syntaxes() {
    std::string names;
    for (const Syntax &each : syntaxes)
        names += (names.empty() ? "'" : ", '") + std::string(each.name) + "'";
    return names;
}

class StandardTables {
 public:
    StandardTables(const Schema &schema, const syntax::Schema &written, Diagnostics &diagnostics)
        : schema_(schema), written_(written), diagnostics_(diagnostics) {}

    std::vector<MibTable> make();

 private:
    // An object as an `objects` item declares it.
    struct Declared {
        const syntax::StandardTable *table;
        const syntax::StandardColumn *column;
    };

    void declare(const syntax::StandardTable &table);
    void declare(const syntax::StandardTable &table, const syntax::StandardColumn &column);
    void follow(const Table &table, const syntax::Table &written);
    void follow(const Table &table, const syntax::MibNote &note, const MibColumn &index);
    std::optional<MibColumn> index_of(const Table &table, const syntax::Table &written,
                                      const syntax::StandardTable &standard);
    MibColumn make_index(const Table &table, const syntax::MibNote &note);
    MibTable &place_of(const Table &table, const syntax::StandardTable &standard,
                       const MibColumn &index);
    bool is_index(const std::string &name) const { return indices_.count(name) != 0; }
    void report(const Name &name, const std::string &wrong, const std::string &expected) {
        diagnostics_.report(name.place, wrong, expected);
    }

    const Schema &schema_;
    const syntax::Schema &written_;
    Diagnostics &diagnostics_;
    std::map<std::string, Declared> objects_;
    std::set<std::string> indices_;
    std::map<std::string, Place> followed_;  // objects that a field follows
    std::vector<MibTable> tables_;
};

std::vector<MibTable> StandardTables::make() {
    for (const syntax::StandardTable &each : written_.standard_tables) declare(each);
    for (const Table &table : schema_.tables) {
        for (const syntax::Table &each : written_.tables) {
            if (each.name.text == table.name) follow(table, each);
        }
    }
    std::stable_sort(tables_.begin(), tables_.end(),
                     [](const MibTable &a, const MibTable &b) { return a.entry < b.entry; });
    for (MibTable &each : tables_)
        std::sort(each.columns.begin(), each.columns.end(),
                  [](const MibColumn &a, const MibColumn &b) { return a.number < b.number; });
    return std::move(tables_);
}

void StandardTables::declare(const syntax::StandardTable &table) {
    if (parse_oid(table.oid.text).empty())
        report(table.oid, "'" + table.oid.text + "' is no object identifier",
               "numbers with '.' between them");
    if (table.index) indices_.insert(table.index->text);
    else report(table.name, "no index", "an 'index' line in each table");
    for (const syntax::StandardColumn &each : table.columns) declare(table, each);
}

void StandardTables::declare(const syntax::StandardTable &table,
                             const syntax::StandardColumn &column) {
    if (find_syntax(column.syntax.text) == nullptr)
        report(column.syntax, "the syntax '" + column.syntax.text + "'", names_of_syntaxes());
    const bool is_taken =
        std::any_of(table.columns.begin(), table.columns.end(), [&](const auto &other) {
            return &other < &column && other.number.value == column.number.value;
        });
    if (is_taken || column.number.value == 0)
        diagnostics_.report(column.number.place,
                            "the number " + std::to_string(column.number.value),
                            "a number from 1 on that no other object of the table has");
    if (!objects_.emplace(column.name.text, Declared{&table, &column}).second)
        report(column.name, "a second object " + column.name.text, "a name of its own");
}

void StandardTables::follow(const Table &table, const syntax::Table &written) {
    std::map<const syntax::StandardTable *, std::optional<MibColumn>> indices;
    for (const syntax::MibNote &note : written.objects) {
        if (is_index(note.name.text)) continue;
        const auto found = objects_.find(note.name.text);
        if (found == objects_.end()) {
            report(note.name, "object " + note.name.text + " is unknown",
                   "an object of an 'objects' item");
            continue;
        }
        const syntax::StandardTable *standard = found->second.table;
        if (!standard->index || find_syntax(found->second.column->syntax.text) == nullptr) continue;
        if (indices.count(standard) == 0) indices[standard] = index_of(table, written, *standard);
        if (indices[standard]) follow(table, note, *indices[standard]);
    }
}

// The index of the rows that the table's records are; none without a note.
std::optional<MibColumn> StandardTables::index_of(const Table &table, const syntax::Table &written,
                                                  const syntax::StandardTable &standard) {
    const auto note = std::find_if(
        written.objects.begin(), written.objects.end(),
        [&](const syntax::MibNote &each) { return each.name.text == standard.index->text; });
    if (note == written.objects.end()) {
        report(written.name,
               table.name + " follows objects of " + standard.name.text + " without its index",
               "a line 'object " + standard.index->text + "' and the key");
        return std::nullopt;
    }
    return make_index(table, *note);
}

MibColumn StandardTables::make_index(const Table &table, const syntax::MibNote &note) {
    MibColumn index;
    index.name = note.name.text;
    index.path = note.path.text;
    index.is_accessible = false;
    const Field *key = table.key_field;
    const bool is_text = key != nullptr && key->kind == FieldKind::vstring;
    if (key == nullptr || key->name != note.path.text || !(is_text || is_short_number(key->kind)))
        report(note.path,
               note.path.text + " is no number or string that is the key of " + table.name,
               "the key of a table with such a key");
    // Records with a text for a key are numbered.
    index.syntax = is_text ? "assigned" : "unsigned_number";
    return index;
}

MibTable &StandardTables::place_of(const Table &table, const syntax::StandardTable &standard,
                                   const MibColumn &index) {
    for (MibTable &each : tables_) {
        if (each.table == &table && each.name == standard.name.text) return each;
    }
    MibTable &made = tables_.emplace_back();
    made.name = standard.name.text;
    made.is_own = false;
    made.entry = parse_oid(standard.oid.text);
    made.entry.push_back(1);
    made.table = &table;
    made.index.push_back(index);
    return made;
}

void StandardTables::follow(const Table &table, const syntax::MibNote &note,
                            const MibColumn &index) {
    const Declared &declared = objects_.at(note.name.text);
    const auto [other, is_new] = followed_.emplace(note.name.text, note.name.place);
    if (!is_new)
        report(note.name,
               "a second field for " + note.name.text + ", after line " +
                   std::to_string(other->second.line) + " of " + *other->second.file,
               "one field for an object");
    const Field *field = field_at(*table.type, note.path.text);
    const Syntax &syntax = *find_syntax(declared.column->syntax.text);
    if (field == nullptr || !syntax.can_show(field->kind)) {
        report(note.path,
               field == nullptr ? table.type->name + " has no field " + note.path.text
                                : note.name.text + " of " + field->type,
               field == nullptr ? "the path of a field" : syntax.fields);
        return;
    }
    MibColumn column;
    column.name = note.name.text;
    column.number = declared.column->number.value;
    column.syntax = syntax.enumerator;
    column.path = note.path.text;
    if (declared.column->low) column.low = std::to_string(declared.column->low->value);
    if (declared.column->high) column.high = std::to_string(declared.column->high->value);
    place_of(table, *declared.table, index).columns.push_back(column);
}

}  // namespace

std::vector<MibTable> make_standard_tables(const Schema &schema, const syntax::Schema &written,
                                           Diagnostics &diagnostics) {
    return StandardTables(schema, written, diagnostics).make();
}

}  // namespace tarnc
