// SPDX-License-Identifier: Apache-2.0
#include "watch/snapshot.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "base/failure.h"

namespace tarnctl {
namespace {

using ByIdentity = std::unordered_map<std::string_view, const RecordCopy *>;

ByIdentity by_identity(const std::vector<RecordCopy> &records) {
    ByIdentity found;
    for (const RecordCopy &each : records) found.emplace(each.identity(), &each);
    return found;
}

const std::vector<RecordCopy> &records_of(const Snapshot &snapshot, const std::string &table) {
    static const std::vector<RecordCopy> none;
    const auto found = snapshot.tables.find(table);
    return found == snapshot.tables.end() ? none : found->second;
}

void add_changes(const std::string &table, const std::vector<RecordCopy> &before,
                 const std::vector<RecordCopy> &after, std::vector<Change> &changes) {
    const ByIdentity now = by_identity(after);
    for (const RecordCopy &each : before) {
        if (now.count(each.identity()) == 0) changes.push_back({table, each, {}});
    }
    const ByIdentity then = by_identity(before);
    for (const RecordCopy &each : after) {
        const auto found = then.find(each.identity());
        if (found == then.end()) changes.push_back({table, {}, each});
        else if (!changes_between(*found->second, each).empty())
            changes.push_back({table, *found->second, each});
    }
}

}  // namespace

std::size_t Snapshot::records() const {
    std::size_t count = 0;
    for (const auto &[table, records] : tables) count += records.size();
    return count;
}

std::vector<Change> changes_between(const Snapshot &before, const Snapshot &after) {
    std::vector<Change> changes;
    for (const auto &[table, records] : before.tables)
        add_changes(table, records, records_of(after, table), changes);
    for (const auto &[table, records] : after.tables) {
        if (before.tables.count(table) == 0) add_changes(table, {}, records, changes);
    }
    return changes;
}

bool SnapshotReader::is_meant(const Instance &instance) const {
    return references_.empty() ||
           std::any_of(references_.begin(), references_.end(),
                       [&](const TableReference &each) { return each.means(instance); });
}

Snapshot SnapshotReader::read() const {
    Snapshot snapshot;
    store_.refresh();
    snapshot.log_end = store_.describe().log_end;
    for (const Instance &instance : instances(store_)) {
        if (!is_meant(instance)) continue;
        std::vector<RecordCopy> &records = snapshot.tables[instance.full_name()];
        for_each_record(store_, instance, [&](const Record &record) {
            records.emplace_back(record);
            return true;
        });
    }
    return snapshot;
}

bool SnapshotReader::has_progressed(const Snapshot &since) const {
    store_.refresh();
    return store_.describe().log_end != since.log_end;
}

}  // namespace tarnctl
