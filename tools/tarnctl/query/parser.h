// SPDX-License-Identifier: Apache-2.0
//
// The grammar of conditions on a record:
//
//   condition   all { OR all }
//   all         part { AND part }
//   part        NOT part | ( condition ) | comparison
//   comparison  FIELD[:hex] sign operand
//
//   = == != < <= > >=   numbers and enumerators by value, strings by their bytes, addresses in
//                       their order, false before true
//   ~ !~                the operand, a regular expression, matches a part of the value's text, or
//                       doesn't, ignoring case
//   =~                  like ~, but with case
//
// FIELD is a path. The operand is a value in the form of value.h or the path of another field, and
// ends at a blank. A text in single or double quotes is always a value; a quote inside it is
// written twice. With :hex the operand is a string's bytes in hexadecimal. The words AND, OR and
// NOT can be in lower case.
#ifndef TARNCTL_QUERY_PARSER_H
#define TARNCTL_QUERY_PARSER_H

#include <string>
#include <string_view>
#include <vector>

#include "query/lexer.h"

namespace tarnctl {

// A comparison whose field isn't checked yet.
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

// Failure `usage` that shows where the text is wrong.
ConditionText parse_condition(std::string_view text);

}  // namespace tarnctl

#endif
