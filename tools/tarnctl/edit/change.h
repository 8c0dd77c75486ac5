// SPDX-License-Identifier: Apache-2.0
//
// An inserted, changed or deleted record, and how it is printed.
//
//   ~ tbl_ldap_conn:ldap a.example
//       num_conns: 1 -> 2
//   + tbl_ldap_conn:ldap b.example (tenant 9, source 5)
//       num_conns: 3
//
// As JSON, arrays element by element too, unless the whole record is new or gone:
//
//   {"change": "changed", "table": "tbl_ldap_conn:ldap", "tenant": 0, "source": 1,
//    "key": {"sname": "a.example"}, "fields": {"num_conns": {"old": 1, "new": 2}}}
//
// "change" is "inserted", "changed", "deleted" or "present"; "old" is missing of a field that
// wasn't present before, "new" of one that isn't present now.
#ifndef TARNCTL_EDIT_CHANGE_H
#define TARNCTL_EDIT_CHANGE_H

#include <optional>
#include <string>
#include <vector>

#include "json/document.h"
#include "model/difference.h"
#include "terminal/screen.h"

namespace tarnctl {

struct Change {
    std::string table;  // the full name of its instance
    std::optional<RecordCopy> before;
    std::optional<RecordCopy> after;
    // The fields to print; if not set, all that differ.
    std::optional<std::vector<FieldChange>> fields = std::nullopt;

    // A record as it is, which didn't change: `after` has it, and its mark is `=`.
    bool is_present = false;

    bool is_new() const { return !before; }
    bool is_gone() const { return !after; }
    const RecordCopy &record() const { return after ? *after : *before; }
};

// The same on one line, as `mark table key  field: old -> new, ...`, without its end.
std::string line_of(const Change &change, const Screen &screen);
// A line for the record and a line for each field. Fields of an inserted or deleted record are left
// out if they are 0 or empty.
std::string text_of(const Change &change, const Screen &screen);
Json json_of(const Change &change);

}  // namespace tarnctl

#endif
