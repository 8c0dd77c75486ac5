// SPDX-License-Identifier: Apache-2.0
//
// The differences of two sides, table by table and record by record.
#ifndef TARNCTL_COMPARE_COMPARISON_H
#define TARNCTL_COMPARE_COMPARISON_H

#include <functional>
#include <string>
#include <vector>

#include "compare/side.h"
#include "edit/change.h"

namespace tarnctl {

struct CompareOptions {
    std::vector<TableReference> tables;  // none: all
    std::vector<std::string> ignored;    // fields: `num_conns`, `aaa_authen`, `minute`
    bool brief = false;                  // stop at the first difference
};

struct Differences {
    // Called with each difference, in the order of tables and records.
    std::function<void(const Instance &instance, bool added)> table;
    std::function<void(const Change &change)> record;
};

// Returns whether the sides differ. Type and name identify a table; tenant, key and source a
// record. A record's state flags count as fields, `state(num_conns)`.
bool compare(const Side &a, const Side &b, const CompareOptions &options,
             const Differences &differences);

}  // namespace tarnctl

#endif
