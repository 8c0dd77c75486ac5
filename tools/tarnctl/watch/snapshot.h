// SPDX-License-Identifier: Apache-2.0
//
// What tables held at one moment, and what became of it.
//
// Readers take no lock. A reading counts only if no transaction was open when it began and none
// was begun and ended before it was done. Changes outside of transactions leave no such trace:
// where the records differ and no transaction was ended since, the tables are read once more, and
// the reading counts when two in a row agree.
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

// Transactions that were ended in a store.
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
    // The tables that the references mean, or all if there are none.
    SnapshotReader(const Store &store, std::vector<TableReference> references)
        : store_(store), references_(std::move(references)) {}

    // Whether a transaction was ended since.
    bool has_progressed(const Snapshot &since) const;
    // Nothing if the store didn't rest long enough. Failure `store` if records can't be read.
    std::optional<Snapshot> read() const;
    // The same; a reading that differs from the last one must be confirmed, see above.
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
