// SPDX-License-Identifier: Apache-2.0
#include "watch/feed.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/failure.h"
#include "listing/columns.h"

namespace tarnctl {
namespace {

std::string_view key_of(const kel_table &block) {
    return {block.table_name, strnlen(block.table_name, sizeof block.table_name)};
}

// Whether a field, `minute[17]` or `minute` for example, is of one of the columns.
bool is_of(const std::vector<std::string> &columns, std::string_view field) {
    const std::string_view whole = field.substr(0, field.rfind('['));
    return std::any_of(columns.begin(), columns.end(), [&](const std::string &each) {
        return each == field || (field.ends_with(']') && each == whole);
    });
}

}  // namespace

Feed::Feed(tarn::replica replica, const std::string &path, FeedOptions options)
    : options_(std::move(options)),
      replica_(std::move(replica)),
      store_(Store::of_replica(replica_, path)) {}

bool Feed::Followed::is_of(const kel_table &block) const {
    return descriptor == block.descriptor && id == block.table_id && key == key_of(block);
}

const Feed::Followed &Feed::followed(kel_table *block) {
    const auto known = known_.find(block);
    if (known != known_.end() && known->second.is_of(*block)) return known->second;
    return known_.insert_or_assign(block, make_followed(block)).first->second;
}

Feed::Followed Feed::make_followed(kel_table *block) const {
    Followed made{std::string(key_of(*block)), block->table_id, block->descriptor, {}, {}, {}, {}};
    const std::optional<Instance> instance = instance_of(store_, block);
    if (!instance) return made;
    const auto is_meant = [&](const TableReference &each) { return each.means(*instance); };
    if (!options_.tables.empty() &&
        std::none_of(options_.tables.begin(), options_.tables.end(), is_meant))
        return made;
    made.instance = instance;
    made.name = instance->full_name();
    if (!options_.conditions.empty())
        made.filter = std::make_shared<const Filter>(*instance->table, options_.conditions);
    if (!options_.columns.empty()) {
        for (const ListingColumn &each : named_columns(*instance->table, options_.columns))
            made.columns.push_back(each.title());
    }
    return made;
}

bool Feed::passes(const Followed &table, const std::optional<Record> &record) const {
    return record && (table.filter == nullptr || table.filter->passes(*record));
}

void Feed::each_row(const std::function<bool(const Change &)> &function) {
    for (const Instance &instance : instances(store_)) {
        const Followed &table = followed(instance.block);
        if (!table.instance) continue;
        bool goes_on = true;
        const auto show = [&](const Record &record) {
            if (!passes(table, record)) return true;
            Change row{table.name, {}, RecordCopy(record)};
            row.is_present = true;
            if (!table.columns.empty()) {
                row.fields = contents_of(*row.after, true, false);
                std::erase_if(*row.fields, [&](const FieldChange &each) {
                    return !is_of(table.columns, each.field);
                });
            }
            goes_on = function(row);
            return goes_on;
        };
        for_each_record(store_, instance, show, options_.unreadable);
        if (!goes_on) return;
    }
}

uint64_t Feed::records() {
    uint64_t count = 0;
    for (const Instance &instance : instances(store_)) {
        if (followed(instance.block).instance) count += instance.block->record_count;
    }
    return count;
}

tarn::replica::step Feed::advance() {
    auto advanced = replica_.try_advance();
    if (!advanced) throw Failure(Exit::store, advanced.error().what());
    return *advanced;
}

tarn::replica::step Feed::advance_to(const Wanted &wanted) {
    auto advanced = replica_.try_advance_wanted(wanted);
    if (!advanced) throw Failure(Exit::store, advanced.error().what());
    return *advanced;
}

std::optional<Record> Feed::record_of(const Followed &table, const kel_record *record,
                                      Unreadable unreadable) const {
    if (record == nullptr) return std::nullopt;
    const Record found{table.instance->table, store_.handle(), const_cast<kel_record *>(record)};
    return is_taken(store_, found, unreadable) ? std::optional(found) : std::nullopt;
}

std::optional<Change> Feed::change_of(const kel_replica_change &change) {
    const Followed &table = followed(change.table);
    if (!table.instance) return std::nullopt;
    const std::optional<Record> before = record_of(table, change.before, options_.unreadable);
    const std::optional<Record> after = record_of(table, change.after, options_.unreadable);
    if (!passes(table, before) && !passes(table, after)) return std::nullopt;
    Change made{table.name, {}, {}};
    const auto columns = before && after ? differing_columns(*before, *after) : std::nullopt;
    const auto copy = [&](const Record &record) {
        return columns ? RecordCopy(record, *columns) : RecordCopy(record);
    };
    if (before) made.before.emplace(copy(*before));
    if (after) made.after.emplace(copy(*after));
    if (!before || !after) {
        if (table.columns.empty()) return made;
        made.fields = contents_of(made.record(), made.is_new(), false);
    } else {
        made.fields = changes_between(*made.before, *made.after);
    }
    if (!table.columns.empty()) {
        std::erase_if(*made.fields,
                      [&](const FieldChange &each) { return !is_of(table.columns, each.field); });
    }
    if (before && after && made.fields->empty()) return std::nullopt;
    return made;
}

void Feed::each_change(const ChangeFunction &function) {
    const kel_replica_transaction &last = transaction();
    for (uint64_t i = 0; i < last.change_count; ++i) {
        const kel_replica_change &change = last.changes[i];
        const Followed &table = followed(change.table);
        if (!table.instance) continue;
        const auto before = record_of(table, change.before, Unreadable::leave_out);
        const auto after = record_of(table, change.after, Unreadable::leave_out);
        if (before || after) function(*table.instance, before, after);
    }
}

void Feed::each_record(const RecordFunction &function) {
    const kel_replica_transaction &last = transaction();
    for (uint64_t i = 0; i < last.change_count; ++i) {
        const kel_replica_change &change = last.changes[i];
        const Followed &table = followed(change.table);
        if (!table.instance) continue;
        const kel_record *record = change.after != nullptr ? change.after : change.before;
        const auto found = record_of(table, record, options_.unreadable);
        if (found) function(table.name, *found, change.what);
    }
}

std::vector<Change> Feed::changes() {
    std::vector<Change> found;
    const kel_replica_transaction &last = transaction();
    for (uint64_t i = 0; i < last.change_count; ++i) {
        if (auto change = change_of(last.changes[i])) found.push_back(std::move(*change));
    }
    const auto by_table = [](const Change &a, const Change &b) { return a.table < b.table; };
    std::stable_sort(found.begin(), found.end(), by_table);
    return found;
}

}  // namespace tarnctl
