// SPDX-License-Identifier: Apache-2.0
//
// How two states of a record differ, field by field.
#ifndef TARNCTL_MODEL_DIFFERENCE_H
#define TARNCTL_MODEL_DIFFERENCE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/record.h"

namespace tarnctl {

// A field that differs: its path and its texts (value.h). Each element of an array that differs is
// a change: `minute[17]`.
struct FieldChange {
    std::string field;
    std::string old_text;
    std::string new_text;
    // False before a record is inserted, after it is deleted, and of a field that the object's
    // variant lacks. The text is empty then.
    bool old_present = true;
    bool new_present = true;
    const Field *leaf = nullptr;  // null: "pending", which isn't a field
    bool whole_array = false;
};

// A copy of a record's identity and values, which outlives changes and the destruction of the
// record.
class RecordCopy {
 public:
    struct Cell {
        bool present = false;
        bool blank = true;  // 0, false or empty
        std::string text;   // the bytes of an array
    };

    explicit RecordCopy(const Record &record, uint32_t tx_id = KEL_TX_NONE);
    // Of the key's columns, and of others by their numbers; the rest isn't present.
    RecordCopy(const Record &record, const std::vector<std::size_t> &columns);

    uint16_t tenant() const { return tenant_; }
    uint8_t src() const { return src_; }
    bool is_pending() const { return pending_; }
    // The values of the key's columns with ", " between them.
    std::string key_text() const;

    // In the order of columns_of.
    const std::vector<Column> &columns() const { return *columns_; }
    const Cell &cell(std::size_t column) const { return cells_[column]; }
    // The cell's text; a whole array is its elements with a blank between them.
    std::string text(std::size_t column) const;

 private:
    const std::vector<Column> *columns_;
    uint16_t tenant_;
    uint8_t src_;
    bool pending_;
    std::vector<Cell> cells_;
};

// The columns that differ between two states of one record, by their numbers, without those of the
// key. Nothing: the library can't tell.
std::optional<std::vector<std::size_t>> differing_columns(const Record &before,
                                                          const Record &after);

// What differs between two states of one record, in the order of the columns.
std::vector<FieldChange> changes_between(const RecordCopy &before, const RecordCopy &after);

// The fields of a record that was inserted (or, with `is_new` false, deleted) as changes, without
// those of its key. Fields that are 0, false or empty only with `blank_ones`.
std::vector<FieldChange> contents_of(const RecordCopy &record, bool is_new, bool blank_ones);

}  // namespace tarnctl

#endif
