// SPDX-License-Identifier: Apache-2.0
//
// Snapshots of tables, and the changes between them.
//
// A snapshot is what was committed when it began: the store doesn't change while it is read.
#ifndef TARNCTL_WATCH_SNAPSHOT_H
#define TARNCTL_WATCH_SNAPSHOT_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "edit/change.h"
#include "model/difference.h"
#include "model/instance.h"
#include "model/store.h"

namespace tarnctl {

struct Snapshot {
    uint64_t log_end = 0;  // the store's, when the snapshot was made
    // The records in the index's order, by the full name of their table.
    std::map<std::string, std::vector<RecordCopy>> tables;

    std::size_t records() const;
};

// Records that are gone first, then the changed and the new ones; all in the index's order.
std::vector<Change> changes_between(const Snapshot &before, const Snapshot &after);

class SnapshotReader {
 public:
    // Of the tables that the references name, or of all if there are none.
    SnapshotReader(const Store &store, std::vector<TableReference> references)
        : store_(store), references_(std::move(references)) {}

    // As Store::wait.
    bool wait(std::chrono::milliseconds limit) const { return store_.wait(limit); }
    // Brings the store up to date. Returns whether anything was committed since the snapshot.
    bool has_progressed(const Snapshot &since) const;
    // Failure `store` if records can't be read.
    Snapshot read() const;

 private:
    bool is_meant(const Instance &instance) const;

    const Store &store_;
    std::vector<TableReference> references_;
};

}  // namespace tarnctl

#endif
