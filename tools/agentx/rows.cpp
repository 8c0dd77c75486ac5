// SPDX-License-Identifier: Apache-2.0
#include "agentx/rows.h"

#include <algorithm>
#include <utility>

namespace agentx {
namespace {

using tarnctl::Record;

// Of an object identifier between the entry and the index.
constexpr std::size_t column_numbers = 1;

std::vector<ColumnReader> readers_of(const tarnctl::Table &table,
                                     std::span<const MapColumn> columns) {
    std::vector<ColumnReader> readers;
    for (const MapColumn &each : columns) readers.emplace_back(table, each);
    return readers;
}

}  // namespace

const Oid *StoreRow::next(const View & /*view*/, const Oid &after, bool or_equal) const {
    const bool is_later = index_ > after || (or_equal && index_ == after);
    return is_later ? &index_ : nullptr;
}

std::optional<Cell> StoreRow::cell(View &view, const Oid &index, std::size_t column) const {
    if (index != index_) return std::nullopt;
    const StoreFigures &figures = view.figures;
    switch (column) {
        case 0:
            return Cell::of_number(Syntax::truth, figures.is_open ? 1 : 2);
        case 1:
            return Cell::of_number(Syntax::counter64, figures.transaction);
        case 2:
            return Cell::of_number(Syntax::unsigned_number, figures.left_out);
        case 3:
            return Cell::of_number(Syntax::counter, figures.sent);
        case 4:
            return Cell::of_number(Syntax::counter, figures.suppressed);
        default:
            return std::nullopt;
    }
}

uint32_t AssignedNumbers::number_of(const std::string &key) {
    return numbers_.emplace(key, static_cast<uint32_t>(numbers_.size() + 1)).first->second;
}

RecordRows::RecordRows(const MapTable &map, Oid entry, uint16_t tenant, AssignedNumbers &numbers)
    : map_(map),
      table_(tarnctl::catalogue.table(map.table)),
      entry_(std::move(entry)),
      tenant_(tenant),
      numbers_(numbers),
      index_(readers_of(*table_, map.index)),
      columns_(readers_of(*table_, map.columns)),
      key_(tarnctl::key_columns(*table_)) {}

bool RecordRows::is_shown(const Place &place) const {
    return place.src != KEL_SOURCE_SHADOW && (map_.is_own || place.tenant == tenant_);
}

std::vector<std::string> RecordRows::key_of(const Record &record) const {
    std::vector<std::string> texts;
    for (const tarnctl::Column &each : key_) texts.push_back(record.value(each).text());
    return texts;
}

std::optional<Oid> RecordRows::index_of(const Place &place, const Record &record) const {
    Oid index;
    if (map_.is_own) {
        append_text(index, place.table);
        index.push_back(place.tenant);
        index.push_back(place.src);
    }
    for (const ColumnReader &each : index_) {
        const std::optional<Cell> cell = each.cell(record);
        if (!cell) return std::nullopt;
        if (each.is_assigned()) index.push_back(numbers_.number_of(cell->octets));
        else if (cell->type == Cell::Type::octets) append_text(index, cell->octets);
        else index.push_back(static_cast<uint32_t>(cell->number));
    }
    if (entry_.size() + column_numbers + index.size() > longest_oid) return std::nullopt;
    return index;
}

void RecordRows::clear() {
    rows_.clear();
    left_out_ = 0;
}

void RecordRows::add(const Place &place, const Record &record) {
    if (!is_shown(place)) return;
    if (auto index = index_of(place, record)) rows_[{std::move(*index), place}] = key_of(record);
    else ++left_out_;
}

void RecordRows::remove(const Place &place, const Record &record) {
    if (!is_shown(place)) return;
    if (auto index = index_of(place, record)) rows_.erase(Row{std::move(*index), place});
    else --left_out_;
}

const Oid *RecordRows::next(const View &view, const Oid &after, bool or_equal) const {
    if (!view.is_open()) return nullptr;
    const auto found = or_equal ? rows_.lower_bound(after) : rows_.upper_bound(after);
    return found == rows_.end() ? nullptr : &found->first.index;
}

std::optional<Cell> RecordRows::cell(View &view, const Oid &index, std::size_t column) const {
    if (!view.is_open()) return std::nullopt;
    const auto found = rows_.lower_bound(index);
    if (found == rows_.end() || found->first.index != index) return std::nullopt;
    const auto record = view.find(*table_, found->first.place, found->second);
    return record ? columns_[column].cell(*record) : std::nullopt;
}

}  // namespace agentx
