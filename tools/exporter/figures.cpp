// SPDX-License-Identifier: Apache-2.0
#include "exporter/figures.h"

#include <fmt/core.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "model/instance.h"

namespace exporter {
namespace {

using tarnbase::catalogue::Measure;
using tarnctl::Column;
using tarnctl::Field;
using tarnctl::Table;

// A unit that is a multiple of another one.
struct Multiple {
    std::string_view unit;
    std::string_view base;
    double scale;
};

constexpr Multiple multiples[] = {
    {"nanoseconds", "seconds", 1e-9},  {"microseconds", "seconds", 1e-6},
    {"milliseconds", "seconds", 1e-3}, {"minutes", "seconds", 60},
    {"hours", "seconds", 3600},        {"days", "seconds", 86400},
    {"kilobytes", "bytes", 1000},      {"percent", "ratio", 0.01},
};

bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }
bool is_lower_or_digit(char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); }

bool has_word(const std::string &name, const std::string &word) {
    return ("_" + name + "_").find("_" + word + "_") != std::string::npos;
}

std::string joined(const std::string &a, const std::string &b) {
    return a.empty() || b.empty() ? a + b : a + "_" + b;
}

// The measure of a field by its path: plain if a structure around it is.
Measure measure_of(const Column &column) {
    const auto &fields = column.path.fields;
    const bool is_left_out = std::any_of(fields.begin(), fields.end() - 1, [](const Field *each) {
        return each->measure == Measure::plain;
    });
    return is_left_out ? Measure::plain : fields.back()->measure;
}

std::string name_of(const Column &column) {
    std::string name;
    for (const Field *each : column.path.fields)
        name = joined(name, lower_words(each->measure_name));
    return name;
}

// Without "total_" in front, which a counter has at its end.
std::string counter_name(std::string name) {
    constexpr std::string_view front = "total_";
    if (name.starts_with(front)) name.erase(0, front.size());
    return joined(name, "total");
}

std::string help_of(const Column &column) {
    std::string help;
    for (const Field *each : column.path.fields)
        help += fmt::format("{}{}", help.empty() ? "" : ": ", each->meaning);
    const Field &leaf = column.path.leaf();
    if (leaf.enumeration == nullptr) return help;
    const auto names = tarnctl::short_names(*leaf.enumeration);
    for (std::size_t i = 0; i < names.size(); ++i)
        help += fmt::format("{} {} {}", i == 0 ? ":" : ",", leaf.enumeration->enumerators[i].value,
                            names[i]);
    return help;
}

// Without the names of the types that metrics have, which would be misleading in their own.
std::string table_name(const Table &table) {
    std::string rest = lower_words(table.name.substr(tarnctl::table_prefix.size()));
    std::string name;
    while (!rest.empty()) {
        const std::string word = rest.substr(0, rest.find('_'));
        rest.erase(0, word.size() + 1);
        if (word != "counter" && word != "gauge" && word != "summary" && word != "histogram")
            name = joined(name, word);
    }
    return name;
}

Figure figure_of(const std::string &table, const Column &column) {
    const Field &leaf = column.path.leaf();
    const bool is_counter = leaf.measure == Measure::counter;
    Multiple unit{leaf.unit, leaf.unit, 1};
    for (const Multiple &each : multiples) {
        if (each.unit == leaf.unit) unit = each;
    }
    std::string name = name_of(column);
    const std::string suffix = lower_words(unit.base);
    if (!has_word(name, suffix)) name = joined(name, suffix);
    if (is_counter) name = counter_name(name);
    return {joined(table, name), help_of(column), is_counter, unit.scale, column};
}

// Adds a label, under another name if this one is taken.
void add_label(std::vector<LabelField> &labels, const std::vector<LabelField> &others,
               std::string name, const char *front, const Column &column) {
    const auto is_taken = [&](const std::vector<LabelField> &among) {
        return std::any_of(among.begin(), among.end(),
                           [&](const LabelField &each) { return each.name == name; });
    };
    const bool is_place =
        std::find(std::begin(place_labels), std::end(place_labels), name) != std::end(place_labels);
    if (is_place || is_taken(labels) || is_taken(others)) name = front + name;
    labels.push_back({std::move(name), column});
}

}  // namespace

std::string lower_words(std::string_view name) {
    std::string words;
    char before = '_';
    for (const char c : name) {
        if (is_upper(c) && is_lower_or_digit(before)) words += '_';
        const char lower = is_upper(c) ? static_cast<char>(c - 'A' + 'a') : c;
        words += is_lower_or_digit(lower) ? lower : '_';
        before = c;
    }
    return words;
}

TableFigures figures_of(const Table &table) {
    const std::string name = joined("tarnbase", table_name(table));
    TableFigures made{&table, {}, {}, name + "_info", {}};
    for (const Column &column : tarnctl::columns_of(table)) {
        if (column.is_key) {
            add_label(made.key, {}, lower_words(column.name()), "key_", column);
            continue;
        }
        const Measure measure = measure_of(column);
        if (measure == Measure::counter || measure == Measure::gauge)
            made.figures.push_back(figure_of(name, column));
        if (measure == Measure::label)
            add_label(made.info, made.key, name_of(column), "field_", column);
    }
    return made;
}

const std::vector<TableFigures> &figures_of_schema() {
    static const std::vector<TableFigures> all = [] {
        std::vector<TableFigures> made;
        for (const Table *each : tarnctl::catalogue.tables) made.push_back(figures_of(*each));
        return made;
    }();
    return all;
}

}  // namespace exporter
