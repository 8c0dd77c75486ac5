// SPDX-License-Identifier: Apache-2.0
//
// How a transaction of the past is taken back: what it has changed, and what later transactions
// have changed of that.
#ifndef TARNCTL_REVERT_PLAN_H
#define TARNCTL_REVERT_PLAN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/schema.h"
#include "model/difference.h"
#include "model/state.h"

namespace tarnctl {

// The change of a record, which is to be taken back.
struct Undo {
    std::string table;  // the full name of its instance
    std::optional<RecordCopy> before;
    std::optional<RecordCopy> after;
    // Of a record that was changed.
    std::vector<FieldChange> fields;
    std::vector<FlagChange> flags;
    // The wire form of one that was deleted, or whose object was raised to another variant: then
    // it comes back as a whole.
    std::string frame;
    bool is_raised = false;

    const RecordCopy &record() const { return after ? *after : *before; }
    // "tbl_ldap_conn:ldap a.example".
    std::string name() const;
};

struct Plan {
    uint64_t transaction;
    std::vector<Undo> undos;
    std::vector<std::string> conflicts;  // with later transactions, a line each
};

// Reads the history of a store. Failure `difference` if it doesn't have the transaction, or not all
// later ones; `store` if a table is of a type that this program doesn't have.
Plan make_plan(const std::string &path, uint64_t transaction);

}  // namespace tarnctl

#endif
