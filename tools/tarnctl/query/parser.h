// SPDX-License-Identifier: Apache-2.0
//
// What a record must fulfil, as a user writes it:
//
//   condition   all { OR all }
//   all         part { AND part }
//   part        NOT part | ( condition ) | comparison
//   comparison  FIELD[:hex] sign operand
//
//   = == != < <= > >=   numbers and enumerators by value, strings by their bytes, addresses in
//                       their order, false before true
//   ~ !~                the operand, a regular expression, matches a part of the value's text, or
//                       doesn't; letters of both cases are the same
//   =~                  like ~, but case counts
//
// FIELD is a path. The operand is a value as value.h reads it or the path of another field, up to
// the next blank. A text in single or double quotes is always a value; a quote inside it is written
// twice. With :hex the operand is a string's bytes in hexadecimal. The words AND, OR
// and NOT can be in small letters.
#ifndef TARNCTL_QUERY_PARSER_H
#define TARNCTL_QUERY_PARSER_H

#include <string>
#include <string_view>
#include <vector>

#include "query/lexer.h"

namespace tarnctl {

// A comparison of a field that need not exist.
struct ComparisonText {
    std::string field;
    bool is_hex = false;
    Comparison comparison = Comparison::equal;
    Operand operand;
};

struct ConditionText {
    enum class Shape { comparison, all, any, negation } shape;
    ComparisonText comparison;         // of `comparison`
    std::vector<ConditionText> parts;  // of the others; a negation has one
};

// Failure `usage` that shows where the text is none.
ConditionText parse_condition(std::string_view text);

}  // namespace tarnctl

#endif
