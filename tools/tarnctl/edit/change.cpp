// SPDX-License-Identifier: Apache-2.0
#include "edit/change.h"

#include <fmt/core.h>

#include <charconv>

#include "model/json.h"
#include "terminal/style.h"

namespace tarnctl {
namespace {

std::string of_others(const RecordCopy &record) {
    std::string text;
    if (record.tenant() != 0) text = fmt::format("tenant {}", record.tenant());
    if (record.src() != KEL_SOURCE_DEFAULT)
        text += fmt::format("{}source {}", text.empty() ? "" : ", ", record.src());
    return text.empty() ? text : fmt::format(" ({})", text);
}

std::string value_text(const std::string &text, bool present, const Screen &screen) {
    if (!present) return "(none)";
    return text.empty() ? "\"\"" : shown(text, screen);
}

std::string field_text(const FieldChange &field, const Change &change, const Screen &screen) {
    const std::string before = value_text(field.old_text, field.old_present, screen);
    const std::string after = value_text(field.new_text, field.new_present, screen);
    if (change.is_new()) return fmt::format("{}: {}", field.field, after);
    if (change.is_gone()) return fmt::format("{}: {}", field.field, before);
    return fmt::format("{}: {} -> {}", field.field, before, after);
}

// The JSON form of the value that the text is of.
Json json_of_number(const FieldChange &field, const std::string &text) {
    if (field.leaf == nullptr || field.leaf->kind == Kind::boolean) return text == "true";
    uint64_t number = 0;
    int64_t below_zero = 0;
    const char *end = text.data() + text.size();
    if (std::from_chars(text.data(), end, number).ptr == end) return json_of_integer(number);
    if (std::from_chars(text.data(), end, below_zero).ptr == end)
        return json_of_integer(below_zero);
    return text;  // an enumerator
}

Json json_of_elements(const std::string &text) {
    Json elements = Json::array();
    const char *end = text.data() + text.size();
    for (const char *place = text.data(); place < end; ++place) {
        unsigned element = 0;
        place = std::from_chars(place, end, element).ptr;
        elements.add(element);
    }
    return elements;
}

Json json_of_text(const FieldChange &field, const std::string &text) {
    if (field.leaf != nullptr && object_type(*field.leaf) != nullptr)
        return json_of_object_text(*field.leaf, text);
    return field.whole_array ? json_of_elements(text) : json_of_number(field, text);
}

std::vector<FieldChange> fields_of(const Change &change, bool blank_ones) {
    if (change.fields) return *change.fields;
    if (change.is_new()) return contents_of(*change.after, true, blank_ones);
    if (change.is_gone()) return contents_of(*change.before, false, blank_ones);
    return changes_between(*change.before, *change.after);
}

const char *name_of(const Change &change) {
    if (change.is_present) return "present";
    if (change.is_new()) return "inserted";
    return change.is_gone() ? "deleted" : "changed";
}

Json json_of_key(const RecordCopy &record) {
    Json key = Json::object();
    for (std::size_t i = 0; i < record.columns().size() && record.columns()[i].is_key; ++i) {
        FieldChange field{record.columns()[i].name(), "", record.text(i)};
        field.leaf = &record.columns()[i].path.leaf();
        key.set(field.field, json_of_text(field, field.new_text));
    }
    return key;
}

std::string head_of(const Change &change, const Screen &screen) {
    const RecordCopy &record = change.record();
    const char *mark = change.is_present  ? "="
                       : change.is_new()  ? "+"
                       : change.is_gone() ? "-"
                                          : "~";
    const Style style = change.is_present  ? dim
                        : change.is_new()  ? green
                        : change.is_gone() ? red
                                           : yellow;
    return style(fmt::format("{} {} {}{}", mark, shown(change.table, screen),
                             value_text(record.key_text(), true, screen), of_others(record)),
                 screen);
}

}  // namespace

std::string line_of(const Change &change, const Screen &screen) {
    std::string text = head_of(change, screen);
    const char *separator = "  ";
    for (const FieldChange &field : fields_of(change, false)) {
        text += separator + field_text(field, change, screen);
        separator = ", ";
    }
    return text;
}

std::string text_of(const Change &change, const Screen &screen) {
    std::string text = head_of(change, screen) + "\n";
    for (const FieldChange &field : fields_of(change, false)) {
        const std::string line = "    " + field_text(field, change, screen);
        text += (screen.width == 0 ? line : cut(line, screen.width, screen)) + "\n";
    }
    return text;
}

Json json_of(const Change &change) {
    const RecordCopy &record = change.record();
    Json json = {{"change", name_of(change)},
                 {"table", change.table},
                 {"tenant", record.tenant()},
                 {"source", record.src()},
                 {"key", json_of_key(record)}};
    Json fields = Json::object();
    for (const FieldChange &field : fields_of(change, true)) {
        Json states = Json::object();
        if (field.old_present) states.set("old", json_of_text(field, field.old_text));
        if (field.new_present) states.set("new", json_of_text(field, field.new_text));
        fields.set(field.field, states);
    }
    json.set("fields", fields);
    return json;
}

}  // namespace tarnctl
