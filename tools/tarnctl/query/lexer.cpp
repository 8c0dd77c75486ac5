// SPDX-License-Identifier: Apache-2.0
#include "query/lexer.h"

#include <fmt/core.h>
#include <strings.h>

#include <algorithm>

#include "base/failure.h"
#include "terminal/screen.h"

namespace tarnctl {
namespace {

constexpr std::string_view blanks = " \t\r\n";

struct Sign {
    std::string_view text;
    Comparison comparison;
};

// Longer signs come before their prefixes.
constexpr Sign signs[] = {
    {"!=", Comparison::not_equal},    {"!~", Comparison::unlike},
    {"<=", Comparison::not_greater},  {">=", Comparison::not_less},
    {"=~", Comparison::like_in_case}, {"==", Comparison::equal},
    {"=", Comparison::equal},         {"<", Comparison::less},
    {">", Comparison::greater},       {"~", Comparison::like},
};

// The length of a word without quotes. Parentheses inside it, as in a regular expression, are in
// pairs.
std::size_t length_of_word(std::string_view text) {
    std::size_t open = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (blanks.find(c) != std::string_view::npos || (c == ')' && open == 0)) return i;
        if (c == '\\' && i + 1 < text.size() && text[i + 1] != ' ') ++i;
        else if (c == '(') ++open;
        else if (c == ')') --open;
    }
    return text.size();
}

}  // namespace

Lexer::Lexer(std::string_view text) : text_(text) { advance(0); }

void Lexer::advance(std::size_t count) {
    at_ = std::min(text_.find_first_not_of(blanks, at_ + count), text_.size());
}

bool Lexer::take(char sign) {
    if (at_end() || text_[at_] != sign) return false;
    advance(1);
    return true;
}

bool Lexer::next_is_keyword(std::string_view keyword) const {
    const std::string_view rest = text_.substr(at_);
    const std::string_view word = rest.substr(0, rest.find_first_of(" \t\r\n()"));
    return word.size() == keyword.size() &&
           strncasecmp(word.data(), keyword.data(), word.size()) == 0;
}

bool Lexer::take_keyword(std::string_view keyword) {
    if (!next_is_keyword(keyword)) return false;
    advance(keyword.size());
    return true;
}

std::optional<Comparison> Lexer::take_comparison() {
    for (const Sign &sign : signs) {
        if (!text_.substr(at_).starts_with(sign.text)) continue;
        advance(sign.text.size());
        return sign.comparison;
    }
    return std::nullopt;
}

std::string_view Lexer::take_name() {
    const std::string_view rest = text_.substr(at_);
    const std::string_view name = rest.substr(0, rest.find_first_of(" \t\r\n()=!<>~'\""));
    advance(name.size());
    return name;
}

Operand Lexer::take_quoted() {
    const char quote = text_[at_];
    std::string text;
    for (std::size_t i = at_ + 1; i < text_.size(); ++i) {
        if (text_[i] != quote) {
            text += text_[i];
        } else if (text_.substr(i + 1).starts_with(quote)) {
            text += text_[i++];
        } else {
            advance(i + 1 - at_);
            return {text, true};
        }
    }
    fail(fmt::format("a closing {} for the text that begins here", quote));
}

Operand Lexer::take_operand() {
    if (!at_end() && (text_[at_] == '\'' || text_[at_] == '"')) return take_quoted();
    for (const std::string_view keyword : {"AND", "OR"}) {
        if (next_is_keyword(keyword))
            fail(fmt::format("a value; put the word `{}` in quotes", keyword));
    }
    const std::size_t length = length_of_word(text_.substr(at_));
    Operand operand{std::string(text_.substr(at_, length))};
    advance(length);
    return operand;
}

void Lexer::fail(std::string_view expected) const {
    const Screen &screen = output_screen();
    const std::size_t column = width_of(shown(text_.substr(0, at_), screen));
    throw Failure(Exit::usage, fmt::format("expected {}\n  {}\n  {:>{}}", expected,
                                           shown(text_, screen), '^', column + 1));
}

}  // namespace tarnctl
