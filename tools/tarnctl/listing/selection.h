// SPDX-License-Identifier: Apache-2.0
//
// The records that show and find select.
#ifndef TARNCTL_LISTING_SELECTION_H
#define TARNCTL_LISTING_SELECTION_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "listing/grouping.h"
#include "model/record.h"

namespace tarnctl {

struct SelectionOptions {
    std::optional<uint16_t> tenant;  // none: all
    std::optional<uint8_t> source;   // none: all but the shadows
    bool shadows = false;            // show them too
    bool only_pending = false;
    bool no_pending = false;
    std::vector<std::string> conditions;  // see query/parser.h
    GroupingOptions grouping;
    std::vector<std::string> sort;  // see listing/sorting.h: columns, of groups their titles
    std::optional<uint64_t> limit;
    uint64_t offset = 0;
    bool reverse = false;
    Unreadable unreadable = Unreadable::fail;
};

struct Selection {
    std::vector<Record> records;  // in the order of the output, unless they were grouped
    uint64_t hidden_shadows = 0;  // among the records that were read
    uint64_t looked_at = 0;
    uint64_t left_out = 0;        // that aren't readable
    std::optional<Sheet> groups;  // in the order of the output
};

// Where conditions fix the key, only the records of that key are read. Failure `usage` that names
// the wrong option.
Selection select(const Store &store, const Instance &instance, const SelectionOptions &options);

}  // namespace tarnctl

#endif
