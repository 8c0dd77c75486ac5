// SPDX-License-Identifier: Apache-2.0
#include "model/difference.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

#include "tarnbase/difference.h"

namespace tarnctl {
namespace {

struct KnownColumns {
    explicit KnownColumns(const Table &table) : columns(columns_of(table)) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (!columns[i].is_key) numbers.emplace(columns[i].name(), i);
        }
    }

    std::vector<Column> columns;
    std::unordered_map<std::string, std::size_t> numbers;  // by name, without the key's
};

// Made once a table: a copy is made of every record of a store, again and again.
const KnownColumns &known_columns(const Table &table) {
    static std::map<const Table *, KnownColumns> known;
    const auto found = known.find(&table);
    if (found != known.end()) return found->second;
    return known.emplace(&table, KnownColumns(table)).first->second;
}

RecordCopy::Cell copied_cell(const Value &value) {
    if (!value.present()) return {};
    if (value.is_whole_array()) {
        const std::vector<uint8_t> elements = value.elements();
        const bool blank = std::all_of(elements.begin(), elements.end(),
                                       [](uint8_t element) { return element == 0; });
        return {true, blank, std::string(elements.begin(), elements.end())};
    }
    std::string text = value.text();
    const bool is_object = object_type(value.field()) != nullptr;
    const bool blank = is_object ? text.empty() : value.number() == 0;
    return {true, blank, std::move(text)};
}

std::string element_text(const std::string &bytes, std::size_t index) {
    return std::to_string(static_cast<unsigned char>(bytes[index]));
}

void add_elements(const Column &column, const std::string &before, const std::string &after,
                  std::vector<FieldChange> &changes) {
    Path path = column.path;
    path.whole_array = false;
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (before[i] == after[i]) continue;
        path.index = static_cast<uint32_t>(i);
        FieldChange change{path.text(), element_text(before, i), element_text(after, i)};
        change.leaf = &path.leaf();
        changes.push_back(std::move(change));
    }
}

FieldChange change_of(const RecordCopy &before, const RecordCopy &after, std::size_t column) {
    FieldChange change{before.columns()[column].name(), before.text(column), after.text(column)};
    change.old_present = before.cell(column).present;
    change.new_present = after.cell(column).present;
    change.leaf = &before.columns()[column].path.leaf();
    change.whole_array = change.leaf->kind == Kind::array;
    return change;
}

FieldChange pending_change(bool before, bool after) {
    return {"pending", before ? "true" : "false", after ? "true" : "false"};
}

}  // namespace

RecordCopy::RecordCopy(const Record &record, uint32_t tx_id)
    : columns_(&known_columns(*record.table).columns),
      tenant_(record.tenant()),
      src_(record.src()),
      pending_(record.is_pending()) {
    cells_.reserve(columns_->size());
    for (const Column &column : *columns_)
        cells_.push_back(copied_cell(record.value(column, tx_id)));
}

RecordCopy::RecordCopy(const Record &record, const std::vector<std::size_t> &columns)
    : columns_(&known_columns(*record.table).columns),
      tenant_(record.tenant()),
      src_(record.src()),
      pending_(record.is_pending()),
      cells_(columns_->size()) {
    for (std::size_t i = 0; i < columns_->size() && (*columns_)[i].is_key; ++i)
        cells_[i] = copied_cell(record.value((*columns_)[i]));
    for (const std::size_t i : columns) cells_[i] = copied_cell(record.value((*columns_)[i]));
}

std::optional<std::vector<std::size_t>> differing_columns(const Record &before,
                                                          const Record &after) {
    struct Found {
        const KnownColumns &known;
        std::vector<std::size_t> numbers;
        bool is_complete = true;
    } found{known_columns(*before.table), {}};
    const auto add = [](const tarnbase_field_difference *difference, void *context) -> uint32_t {
        Found &all = *static_cast<Found *>(context);
        if (difference->is_key != 0) return 0;
        const auto column = all.known.numbers.find(difference->name);
        if (column == all.known.numbers.end()) all.is_complete = false;
        else all.numbers.push_back(column->second);
        return 0;
    };
    uint32_t err = 0;
    tarnbase_record_differences(before.handle, KEL_TX_NONE, before.record, after.record, add,
                                &found, &err);
    if (err != 0 || !found.is_complete) return std::nullopt;
    return std::move(found.numbers);
}

std::string RecordCopy::key_text() const {
    std::string text;
    for (std::size_t i = 0; i < columns_->size() && (*columns_)[i].is_key; ++i)
        text += (i == 0 ? "" : ", ") + cells_[i].text;
    return text;
}

std::string RecordCopy::text(std::size_t column) const {
    const std::string &text = cells_[column].text;
    if ((*columns_)[column].path.leaf().kind != Kind::array) return text;
    std::string elements;
    for (std::size_t i = 0; i < text.size(); ++i)
        elements += (i == 0 ? "" : " ") + element_text(text, i);
    return elements;
}

std::vector<FieldChange> changes_between(const RecordCopy &before, const RecordCopy &after) {
    std::vector<FieldChange> changes;
    if (before.is_pending() != after.is_pending())
        changes.push_back(pending_change(before.is_pending(), after.is_pending()));
    for (std::size_t i = 0; i < before.columns().size(); ++i) {
        const RecordCopy::Cell &old_cell = before.cell(i);
        const RecordCopy::Cell &new_cell = after.cell(i);
        if (old_cell.present == new_cell.present && old_cell.text == new_cell.text) continue;
        const Column &column = before.columns()[i];
        const bool both = old_cell.present && new_cell.present;
        if (both && column.path.leaf().kind == Kind::array)
            add_elements(column, old_cell.text, new_cell.text, changes);
        else changes.push_back(change_of(before, after, i));
    }
    return changes;
}

std::vector<FieldChange> contents_of(const RecordCopy &record, bool is_new, bool blank_ones) {
    std::vector<FieldChange> changes;
    for (std::size_t i = 0; i < record.columns().size(); ++i) {
        const RecordCopy::Cell &cell = record.cell(i);
        if (record.columns()[i].is_key || !cell.present || (cell.blank && !blank_ones)) continue;
        FieldChange change = change_of(record, record, i);
        (is_new ? change.old_text : change.new_text).clear();
        (is_new ? change.old_present : change.new_present) = false;
        changes.push_back(std::move(change));
    }
    return changes;
}

}  // namespace tarnctl
