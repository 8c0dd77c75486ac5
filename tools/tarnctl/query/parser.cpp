// SPDX-License-Identifier: Apache-2.0
#include "query/parser.h"

#include <fmt/core.h>

namespace tarnctl {
namespace {

using Shape = ConditionText::Shape;

constexpr std::string_view hex_mark = ":hex";
// The parser is recursive: a limit keeps it from overflowing the stack.
constexpr int deepest = 200;

class Parser {
 public:
    explicit Parser(std::string_view text) : lexer_(text) {}

    ConditionText parse() {
        ConditionText condition = any();
        if (!lexer_.at_end()) lexer_.fail("AND, OR or the end; put a value with blanks in quotes");
        return condition;
    }

 private:
    // Parts with a keyword between them; a single part is returned as it is.
    template <class Part>
    ConditionText joined(Shape shape, std::string_view keyword, Part part) {
        ConditionText first = part();
        if (!lexer_.take_keyword(keyword)) return first;
        ConditionText all{shape, {}, {std::move(first)}};
        do all.parts.push_back(part());
        while (lexer_.take_keyword(keyword));
        return all;
    }

    // NOLINTNEXTLINE(misc-no-recursion): as deep as parentheses nest
    ConditionText any() {
        return joined(Shape::any, "OR",
                      [this] { return joined(Shape::all, "AND", [this] { return part(); }); });
    }

    // NOLINTNEXTLINE(misc-no-recursion): as deep as parentheses nest
    ConditionText part() {
        if (++depth_ > deepest) lexer_.fail("fewer parentheses and negations inside one another");
        ConditionText result = part_at_depth();
        --depth_;
        return result;
    }

    // NOLINTNEXTLINE(misc-no-recursion): as deep as parentheses nest
    ConditionText part_at_depth() {
        if (lexer_.take_keyword("NOT")) return {Shape::negation, {}, {part()}};
        if (!lexer_.take('(')) return {Shape::comparison, comparison(), {}};
        ConditionText inner = any();
        if (!lexer_.take(')')) lexer_.fail("AND, OR or `)`");
        return inner;
    }

    ComparisonText comparison() {
        ComparisonText result;
        std::string_view field = lexer_.take_name();
        if (field.empty()) lexer_.fail("a condition such as FIELD=VALUE");
        result.is_hex = field.ends_with(hex_mark);
        if (result.is_hex) field.remove_suffix(hex_mark.size());
        result.field = field;
        const std::optional<Comparison> sign = lexer_.take_comparison();
        if (!sign) lexer_.fail(fmt::format("one of {} after the field", comparison_signs));
        result.comparison = *sign;
        result.operand = lexer_.take_operand();
        return result;
    }

    Lexer lexer_;
    int depth_ = 0;
};

}  // namespace

ConditionText parse_condition(std::string_view text) { return Parser(text).parse(); }

}  // namespace tarnctl
