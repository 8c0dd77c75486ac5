// SPDX-License-Identifier: Apache-2.0
//
// Records grouped by the values of some of their fields, with figures of each group:
//
//   count    how many records it has
//   sum(F)   of a field that is a number
//   min(F)   of a field that is a single value, in the order of conditions
//   max(F)
//
// Only `count` counts a record whose variant lacks F.
#ifndef TARNCTL_LISTING_GROUPING_H
#define TARNCTL_LISTING_GROUPING_H

#include <string>
#include <vector>

#include "listing/sheet.h"
#include "model/record.h"

namespace tarnctl {

struct GroupingOptions {
    std::vector<std::string> by;          // columns; none: all records are one group
    std::vector<std::string> aggregates;  // none: `count`

    bool wanted() const { return !by.empty() || !aggregates.empty(); }
};

// The groups in the order of their values. Failure `usage` for an unknown column or aggregate.
Sheet group(const Table &table, const std::vector<Record> &records, const GroupingOptions &options);

}  // namespace tarnctl

#endif
