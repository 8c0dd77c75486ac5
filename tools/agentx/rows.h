// SPDX-License-Identifier: Apache-2.0
//
// The rows of a table in a MIB, in the order of their indices.
#ifndef TOOLS_AGENTX_ROWS_H
#define TOOLS_AGENTX_ROWS_H

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "agentx/cell.h"
#include "agentx/oid.h"
#include "agentx/view.h"

namespace agentx {

class Rows {
 public:
    virtual ~Rows() = default;
    // The first index after `after`, or equal to it if `or_equal`; null if there is none.
    virtual const Oid *next(const View &view, const Oid &after, bool or_equal) const = 0;
    // The value of a column, which counts from 0; none if the row doesn't exist or has none.
    virtual std::optional<Cell> cell(View &view, const Oid &index, std::size_t column) const = 0;
};

// The scalars about the store: one row with the index 0.
class StoreRow final : public Rows {
 public:
    static constexpr uint32_t columns = 5;

    const Oid *next(const View &view, const Oid &after, bool or_equal) const override;
    std::optional<Cell> cell(View &view, const Oid &index, std::size_t column) const override;

 private:
    const Oid index_{0};
};

// The numbers that keys have in tables whose index is a number although the key isn't. A key keeps
// its number as long as the program runs.
class AssignedNumbers {
 public:
    uint32_t number_of(const std::string &key);

 private:
    std::map<std::string, uint32_t> numbers_;
};

// The records of a table of the schema.
class RecordRows final : public Rows {
 public:
    // `entry`: of the columns. `tenant` is the one whose records a standard table has.
    RecordRows(const MapTable &map, Oid entry, uint16_t tenant, AssignedNumbers &numbers);

    const tarnctl::Table &table() const { return *table_; }
    const Oid &entry() const { return entry_; }
    const MapTable &map() const { return map_; }
    uint64_t left_out() const { return left_out_; }

    void clear();
    void add(const Place &place, const tarnctl::Record &record);
    void remove(const Place &place, const tarnctl::Record &record);

    const Oid *next(const View &view, const Oid &after, bool or_equal) const override;
    std::optional<Cell> cell(View &view, const Oid &index, std::size_t column) const override;
    // None if the record has no row.
    std::optional<Oid> index_of(const Place &place, const tarnctl::Record &record) const;

 private:
    // Records of one index are in the order of their places; the first one is the row.
    struct Row {
        Oid index;
        Place place;
        auto operator<=>(const Row &) const = default;
    };
    struct ByIndex {
        using is_transparent = void;
        bool operator()(const Row &a, const Row &b) const { return a < b; }
        bool operator()(const Row &a, const Oid &b) const { return a.index < b; }
        bool operator()(const Oid &a, const Row &b) const { return a < b.index; }
    };

    bool is_shown(const Place &place) const;
    std::vector<std::string> key_of(const tarnctl::Record &record) const;

    const MapTable &map_;
    const tarnctl::Table *table_;
    const Oid entry_;
    const uint16_t tenant_;
    AssignedNumbers &numbers_;
    std::vector<ColumnReader> index_;
    std::vector<ColumnReader> columns_;
    std::vector<tarnctl::Column> key_;
    std::map<Row, std::vector<std::string>, ByIndex> rows_;  // with the texts of the key
    uint64_t left_out_ = 0;
};

}  // namespace agentx

#endif
