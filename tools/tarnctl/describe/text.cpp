// SPDX-License-Identifier: Apache-2.0
#include <fmt/core.h>

#include <algorithm>

#include "describe/describe.h"
#include "describe/holders.h"
#include "describe/wire.h"
#include "model/record.h"
#include "terminal/grid.h"
#include "terminal/style.h"

namespace tarnctl {
namespace {

constexpr std::size_t label_width = 14;

// Writes "label  words words ...", with line breaks between words.
class Lines {
 public:
    Lines(std::ostream &out, const Screen &screen) : out_(out), screen_(screen) {}

    void title(std::string_view name, std::string_view meaning) {
        out_ << bold(name, screen_) << ": " << meaning << '\n';
    }

    void line(std::string_view label, std::string_view words) {
        if (words.empty()) return;
        std::string text = fmt::format("{:<{}}", label, label_width);
        while (!words.empty()) {
            const std::size_t end = std::min(words.find(' '), words.size());
            const bool fits = screen_.width == 0 || text.size() + end < screen_.width;
            if (!fits && text.size() > label_width) {
                out_ << text.substr(0, text.find_last_not_of(' ') + 1) << '\n';
                text.assign(label_width, ' ');
            }
            text += fmt::format("{} ", words.substr(0, end));
            words.remove_prefix(std::min(end + 1, words.size()));
        }
        out_ << text.substr(0, text.find_last_not_of(' ') + 1) << '\n';
    }

 private:
    std::ostream &out_;
    const Screen &screen_;
};

template <class Items, class Text>
std::string joined(const Items &items, Text text) {
    std::string list;
    for (const auto &each : items)
        list += fmt::format("{}{}", list.empty() ? "" : ", ", text(each));
    return list;
}

std::string words_of(const WireSize &size) {
    std::string words = size_text(size);
    if (size.state > 0) words += fmt::format(", {} more with state", size.state);
    if (!size.variable.empty())
        words += "; more by " + joined(size.variable, [](const std::string &each) { return each; });
    return words;
}

std::string field_size(const Field &field) {
    const WireSize size = wire_size(field);
    return fmt::format("{}{}", size.fixed, size.variable.empty() ? "" : "+");
}

// Leaves out columns that would be empty.
struct FieldColumn {
    GridColumn column;
    std::vector<std::string> cells;

    bool is_empty() const {
        return std::all_of(cells.begin(), cells.end(),
                           [](const auto &cell) { return cell.empty(); });
    }
};

std::string number_or_nothing(std::size_t number) {
    return number == 0 ? "" : std::to_string(number);
}

// `place_in_key` returns a field's position in the key, from 1, or 0.
template <class PlaceInKey>
Grid fields_grid(const Structure &structure, PlaceInKey place_in_key) {
    std::vector<FieldColumn> columns{
        {{"FIELD"}, {}},     {{"TYPE"}, {}},       {{"UNIT"}, {}},   {{"WIRE", true}, {}},
        {{"KEY", true}, {}}, {{"FROM", true}, {}}, {{"MEANING"}, {}}};
    for (const Field &field : structure.fields) {
        const std::string cells[] = {
            std::string(field.name),
            type_text(field),
            std::string(field.unit),
            field_size(field),
            number_or_nothing(place_in_key(field)),
            number_or_nothing(static_cast<std::size_t>(field.first_variant)),
            std::string(field.meaning)};
        for (std::size_t i = 0; i < columns.size(); ++i) columns[i].cells.push_back(cells[i]);
    }
    std::erase_if(columns, [](const FieldColumn &each) { return each.is_empty(); });
    std::vector<GridColumn> titles;
    for (const FieldColumn &each : columns) titles.push_back(each.column);
    Grid grid(std::move(titles));
    for (std::size_t row = 0; row < structure.fields.size(); ++row) {
        std::vector<std::string> cells;
        for (const FieldColumn &each : columns) cells.push_back(each.cells[row]);
        grid.add(std::move(cells));
    }
    return grid;
}

Grid variants_grid(const Structure &structure) {
    Grid grid({{"VARIANT", true}, {"USED", true}, {"SLOP", true}, {"WIRE"}});
    const kel_variant_info &info = *structure.descriptor->variant_info;
    for (int v = 0; v < info.variant_count; ++v)
        grid.add({std::to_string(v), std::to_string(info.variants[v].used_length),
                  std::to_string(info.variants[v].alloc_slop), words_of(wire_size(structure, v))});
    return grid;
}

void identity(Lines &lines, const kel_type_info &descriptor, std::string_view digest,
              std::string_view origin) {
    lines.line("LUID", descriptor.luid_text);
    lines.line("digest", digest);
    lines.line("schema file", origin);
}

void users(Lines &lines, std::string_view type) {
    lines.line("fields", joined(fields_of_type(type), [](const FieldOf &each) {
                   return fmt::format("{}.{}", each.structure->name, each.field->name);
               }));
    lines.line("in tables",
               joined(tables_with(type), [](const Table *each) { return each->name; }));
}

template <class PlaceInKey>
void parts_of(std::ostream &out, const Screen &screen, const Structure &structure,
              PlaceInKey place_in_key) {
    out << '\n';
    fields_grid(structure, place_in_key).print(out, screen);
    out << '\n';
    variants_grid(structure).print(out, screen);
}

std::string order_of(const Field &field) {
    return fmt::format(
        "{} ({})", field.name,
        field.kind == Kind::enumeration ? "by number" : value_type(field.type)->order);
}

}  // namespace

std::string type_text(const Field &field) {
    return field.elements > 0 ? fmt::format("{}[{}]", field.type, field.elements)
                              : std::string(field.type);
}

std::string order_text(const Table &table) {
    return fmt::format("tenant, {}, source", joined(key_columns(table), [](const Column &each) {
                           return order_of(each.path.leaf());
                       }));
}

void describe(std::ostream &out, const Screen &screen, const Structure &structure) {
    Lines lines(out, screen);
    lines.title(structure.name, structure.meaning);
    lines.line("kind", "type");
    lines.line("state block", fmt::format("{} bytes", structure.state_length));
    identity(lines, *structure.descriptor, structure.digest, structure.origin);
    users(lines, structure.name);
    parts_of(out, screen, structure, [](const Field &) { return std::size_t{0}; });
}

void describe(std::ostream &out, const Screen &screen, const Table &table) {
    Lines lines(out, screen);
    lines.title(table.name, table.meaning);
    lines.line("kind", "table");
    lines.line("order", order_text(table));
    lines.line("wire", words_of(wire_size(table)));
    identity(lines, *table.descriptor, table.digest, table.origin);
    lines.line("record LUID", table.record_descriptor->luid_text);
    lines.line("record digest", table.record_digest);
    if (table.key_type != nullptr) {
        out << '\n';
        lines.title(table.key_type->name, table.key_type->meaning);
        const Field *first = table.key_type->fields.data();
        parts_of(out, screen, *table.key_type,
                 [&](const Field &field) { return static_cast<std::size_t>(&field - first) + 1; });
    }
    out << '\n';
    lines.title(table.type->name, table.type->meaning);
    parts_of(out, screen, *table.type, [&](const Field &field) {
        return static_cast<std::size_t>(&field == table.key_field ? 1 : 0);
    });
}

void describe(std::ostream &out, const Screen &screen, const Enumeration &enumeration) {
    Lines lines(out, screen);
    lines.title(enumeration.name, enumeration.meaning);
    lines.line("kind", "enumeration");
    lines.line("wire", "5 bytes: 1 byte variant, 4 bytes the enumerator's place, from 0");
    identity(lines, *enumeration.descriptor, enumeration.digest, enumeration.origin);
    users(lines, enumeration.name);
    out << '\n';
    const bool has_meanings =
        std::any_of(enumeration.enumerators.begin(), enumeration.enumerators.end(),
                    [](const Enumerator &each) { return !each.meaning.empty(); });
    std::vector<GridColumn> columns{{"NUMBER", true}, {"ENUMERATOR"}};
    if (has_meanings) columns.push_back({"MEANING"});
    Grid grid(std::move(columns));
    for (const Enumerator &each : enumeration.enumerators)
        grid.add({std::to_string(each.value), std::string(each.name), std::string(each.meaning)});
    grid.print(out, screen);
}

void describe(std::ostream &out, const Screen &screen, const ValueType &type) {
    Lines lines(out, screen);
    lines.title(type.name, type.meaning);
    lines.line("kind", "value");
    lines.line("wire", type.wire);
    lines.line("order", type.order);
    lines.line("text", type.text);
    const std::vector<FieldOf> fields = fields_of_type(type.name);
    lines.line("fields", fmt::format("{} of the schema", fields.size()));
    lines.line("in tables",
               joined(tables_with(type.name), [](const Table *each) { return each->name; }));
}

}  // namespace tarnctl
