// SPDX-License-Identifier: Apache-2.0
//
// Snapshots of tables, and the changes between them.
//
// Readers take no lock. A snapshot is valid only if no transaction was open when it began and none
// ended before it was complete. Changes outside of transactions aren't counted: if the records
// differ although no transaction ended, the tables are read again until two snapshots in a row
// agree.
#ifndef TARNCTL_WATCH_SNAPSHOT_H
#define TARNCTL_WATCH_SNAPSHOT_H

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

// Transactions that have ended in a store.
struct Progression {
    uint64_t committed = 0;
    uint64_t rolled_back = 0;
    bool operator==(const Progression &other) const {
        return committed == other.committed && rolled_back == other.rolled_back;
    }
};

struct Snapshot {
    Progression progression;
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

    // Whether a transaction has ended since.
    bool has_progressed(const Snapshot &since) const;
    // None if the store changed all the time. Failure `store` if records can't be read.
    std::optional<Snapshot> read() const;
    // The same; a snapshot that differs from the last one is confirmed, see above.
    std::optional<Snapshot> read_after(const Snapshot &last) const;

 private:
    bool is_meant(const Instance &instance) const;
    Snapshot read_tables() const;
    // Nothing if a transaction is open.
    std::optional<Progression> resting() const;

    const Store &store_;
    std::vector<TableReference> references_;
};

}  // namespace tarnctl

#endif
