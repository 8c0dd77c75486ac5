// SPDX-License-Identifier: Apache-2.0
//
// What a record must fulfil, as a user writes it:
//
//   FIELD=VALUE  FIELD!=VALUE   equal, not equal
//   FIELD<VALUE  <=  >  >=      numbers and enumerators by value, strings by their bytes,
//                               addresses in their order, false before true
//   FIELD~GLOB   FIELD!~GLOB    the value's text matches, or doesn't, with *, ? and [a-z]
//
// FIELD is a path; FIELD:hex=00ff gives a string's bytes in hexadecimal. A record whose variant is
// too old to have the field fulfils nothing about it.
#ifndef TARNCTL_LISTING_CONDITION_H
#define TARNCTL_LISTING_CONDITION_H

#include <string>
#include <string_view>
#include <vector>

#include "model/record.h"

namespace tarnctl {

enum class Comparison { equal, not_equal, less, not_greater, greater, not_less, like, unlike };

// A condition taken apart, of a field that need not exist.
struct ConditionText {
    std::string field;
    bool is_hex = false;
    Comparison comparison = Comparison::equal;
    std::string value;
};

// Failure `usage` if it has no such form.
ConditionText parse_condition(std::string_view text);

// Sets the value as a user wrote it, or from hexadecimal digits. Failure `data` that names it.
void set_given(Value &value, std::string_view text, bool is_hex);

// Conditions that must all hold.
class Filter {
 public:
    // Failure `usage` if a field isn't there or isn't a single value, `data` if a value can't be
    // read as one of the field.
    Filter(const Table &table, const std::vector<std::string> &conditions);
    Filter(const Filter &) = delete;
    Filter &operator=(const Filter &) = delete;

    bool passes(const Record &record) const;

 private:
    struct Condition {
        Column column;
        Comparison comparison;
        Value operand;     // lies in the scratch store
        std::string glob;  // of `like` and `unlike`
    };

    void add(const Table &table, const ConditionText &text);

    // Operands are values of their fields, which gives them the fields' own order.
    Store scratch_ = Store::scratch();
    std::vector<Condition> conditions_;
};

}  // namespace tarnctl

#endif
