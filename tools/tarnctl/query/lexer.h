// SPDX-License-Identifier: Apache-2.0
//
// The words of a condition (parser.h has its grammar).
#ifndef TARNCTL_QUERY_LEXER_H
#define TARNCTL_QUERY_LEXER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarnctl {

enum class Comparison {
    equal,
    not_equal,
    less,
    not_greater,
    greater,
    not_less,
    like,
    unlike,
    like_in_case,
};

// All signs of comparison, with blanks between them.
inline constexpr std::string_view comparison_signs = "= != < <= > >= ~ !~ =~";

// The right side of a comparison.
struct Operand {
    std::string text;
    bool quoted = false;
};

// Reads the words of a condition. Blanks between words are skipped.
class Lexer {
 public:
    explicit Lexer(std::string_view text);

    bool at_end() const { return at_ == text_.size(); }
    // Each reads the word if it is the next one.
    bool take(char sign);
    bool take_keyword(std::string_view keyword);
    std::optional<Comparison> take_comparison();
    // The name of a field; empty if the next word isn't one.
    std::string_view take_name();
    // Up to a blank or an unmatched closing parenthesis; or in quotes.
    Operand take_operand();

    // Failure `usage` that shows the condition and the position of the error.
    [[noreturn]] void fail(std::string_view expected) const;

 private:
    bool next_is_keyword(std::string_view keyword) const;
    Operand take_quoted();
    void advance(std::size_t count);

    std::string_view text_;
    std::size_t at_ = 0;  // of the next word
};

}  // namespace tarnctl

#endif
