// SPDX-License-Identifier: Apache-2.0
#include "agentx/tree.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace agentx {
namespace {

using tarnctl::Instance;
using tarnctl::Record;

// Of the scalars about the store, below the base of the module's own MIB.
constexpr uint32_t store_entry[] = {2};

}  // namespace

Place place_of(const Instance &instance, const Record &record) {
    return {instance.name(), record.tenant(), record.src()};
}

Tree::Tree(const Oid &base, uint16_t tenant) : base_(base) {
    for (const MapTable &each : map.tables) {
        const tarnctl::Table *table = tarnctl::catalogue.table(each.table);
        Oid entry =
            each.is_own ? joined(base_, each.entry) : Oid(each.entry.begin(), each.entry.end());
        tables_.push_back(
            std::make_unique<RecordRows>(each, std::move(entry), tenant, numbers_[table]));
        RecordRows &rows = *tables_.back();
        by_table_.emplace(table, &rows);
        for (std::size_t i = 0; i < each.columns.size(); ++i)
            columns_.push_back({joined(rows.entry(), {&each.columns[i].number, 1}), &rows, i});
    }
    for (uint32_t i = 0; i < StoreRow::columns; ++i) {
        const uint32_t number = i + 1;
        columns_.push_back({joined(joined(base_, store_entry), {&number, 1}), &store_, i});
    }
    std::sort(columns_.begin(), columns_.end(),
              [](const Column &a, const Column &b) { return a.front < b.front; });
}

std::vector<Oid> Tree::roots() const {
    std::set<Oid> roots{base_};
    for (const auto &each : tables_) {
        // Without the number of the entry.
        if (!each->map().is_own) roots.emplace(each->entry().begin(), each->entry().end() - 1);
    }
    return {roots.begin(), roots.end()};
}

void Tree::rebuild(const tarnctl::Store &store) {
    for (const auto &each : tables_) each->clear();
    for (const Instance &instance : tarnctl::instances(store)) {
        // A replica is a store that only this process uses.
        tarnctl::for_each_own_record(store, instance, [&](const Record &record) {
            if (tarnctl::is_readable(store, record)) change(instance, std::nullopt, record);
            return true;
        });
    }
}

void Tree::change(const Instance &instance, const std::optional<Record> &before,
                  const std::optional<Record> &after) {
    // A changed record has the same key: its row stays as it is.
    if (before && after) return;
    const Record &record = after ? *after : *before;
    const Place place = place_of(instance, record);
    const auto [first, last] = by_table_.equal_range(instance.table);
    for (auto each = first; each != last; ++each) {
        if (after) each->second->add(place, record);
        else each->second->remove(place, record);
    }
}

uint64_t Tree::left_out() const {
    uint64_t count = 0;
    for (const auto &each : tables_) {
        if (each->map().is_own) count += each->left_out();
    }
    return count;
}

std::vector<Tree::Column>::const_iterator Tree::column_from(const Oid &oid) const {
    const auto after = std::upper_bound(columns_.begin(), columns_.end(), oid,
                                        [](const Oid &a, const Column &b) { return a < b.front; });
    const bool is_in_one = after != columns_.begin() && starts_with(oid, std::prev(after)->front);
    return is_in_one ? std::prev(after) : after;
}

std::optional<Cell> Tree::get(View &view, const Oid &oid) const {
    const auto column = column_from(oid);
    if (column == columns_.end() || !starts_with(oid, column->front)) return std::nullopt;
    const Oid index(oid.begin() + static_cast<std::ptrdiff_t>(column->front.size()), oid.end());
    return column->rows->cell(view, index, column->column);
}

std::optional<Answer> Tree::next(View &view, const Oid &oid, bool or_equal, const Oid &root) const {
    for (auto column = column_from(oid); column != columns_.end(); ++column) {
        if (!starts_with(column->front, root)) {
            if (column->front > root) break;
            continue;
        }
        const bool is_in_it = starts_with(oid, column->front);
        Oid after;
        if (is_in_it)
            after.assign(oid.begin() + static_cast<std::ptrdiff_t>(column->front.size()),
                         oid.end());
        auto found = next_in(view, *column, std::move(after), !is_in_it || or_equal);
        if (found) return found;
    }
    return std::nullopt;
}

// Rows without a value of the column are passed over.
std::optional<Answer> Tree::next_in(View &view, const Column &column, Oid after, bool or_equal) {
    while (const Oid *index = column.rows->next(view, after, or_equal)) {
        if (auto cell = column.rows->cell(view, *index, column.column))
            return Answer{joined(column.front, *index), std::move(*cell)};
        after = *index;
        or_equal = false;
    }
    return std::nullopt;
}

Oid Tree::own_object(const Place &place, const Record &record, std::string_view path) const {
    const auto [first, last] = by_table_.equal_range(record.table);
    for (auto each = first; each != last; ++each) {
        const RecordRows &rows = *each->second;
        if (!rows.map().is_own) continue;
        const std::optional<Oid> index = rows.index_of(place, record);
        for (const MapColumn &column : rows.map().columns) {
            if (index && column.path == path)
                return joined(joined(rows.entry(), {&column.number, 1}), *index);
        }
    }
    return {};
}

}  // namespace agentx
