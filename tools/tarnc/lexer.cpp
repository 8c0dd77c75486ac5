// SPDX-License-Identifier: Apache-2.0
#include "lexer.h"

#include <sstream>

namespace tarnc {
namespace {

bool is_word(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c == '/' || c == '-';
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// Reads the tokens of one line.
class LineReader {
 public:
    LineReader(const std::shared_ptr<const std::string> &file, int number, const std::string &text,
               Diagnostics &diagnostics)
        : file_(file), number_(number), text_(text), diagnostics_(diagnostics) {}

    Line read() {
        Line line;
        line.indented = !text_.empty() && is_blank(text_[0]);
        while (good_ && skip_blanks()) line.tokens.push_back(token());
        line.end = line.tokens.empty() ? here() : line.tokens.back().place;
        if (!line.tokens.empty()) line.end.column = last_column_;
        line.broken = !good_;
        if (line.broken) line.tokens.clear();
        return line;
    }

 private:
    Place here() const { return {file_, number_, static_cast<int>(at_) + 1}; }

    // False at the end of the line or at a comment.
    bool skip_blanks() {
        while (at_ < text_.size() && is_blank(text_[at_])) ++at_;
        return at_ < text_.size() && text_[at_] != '#';
    }

    Token token() {
        Token token{Token::Kind::word, "", here()};
        const char first = text_[at_];
        if (first == '[' || first == ']') {
            token.kind = first == '[' ? Token::Kind::open_bracket : Token::Kind::close_bracket;
            token.text = first;
            ++at_;
        } else if (first == '"') {
            token.kind = Token::Kind::text;
            token.text = quoted();
        } else if (is_word(first)) {
            while (at_ < text_.size() && is_word(text_[at_])) token.text += text_[at_++];
            if (token.text.find_first_not_of("0123456789") == std::string::npos)
                token.kind = Token::Kind::number;
        } else {
            fail(std::string("stray character '") + first + "'",
                 "a name, a number, a text in double quotes or a comment");
        }
        last_column_ = static_cast<int>(at_) + 1;
        return token;
    }

    std::string quoted() {
        const std::size_t close = text_.find('"', at_ + 1);
        if (close == std::string::npos) {
            fail("text without an end", "a closing double quote on the same line");
            return {};
        }
        const std::string inside = text_.substr(at_ + 1, close - at_ - 1);
        if (inside.find("*/") != std::string::npos || inside.find('\\') != std::string::npos)
            fail("text with a comment end or a backslash", "plain words, which go into comments");
        at_ = close + 1;
        return inside;
    }

    void fail(const std::string &wrong, const std::string &expected) {
        diagnostics_.report(here(), wrong, expected);
        good_ = false;
    }

    std::shared_ptr<const std::string> file_;
    int number_;
    const std::string &text_;
    Diagnostics &diagnostics_;
    std::size_t at_ = 0;
    int last_column_ = 1;
    bool good_ = true;
};

}  // namespace

std::vector<Line> read_lines(const std::shared_ptr<const std::string> &file,
                             const std::string &content, Diagnostics &diagnostics) {
    std::vector<Line> lines;
    std::istringstream in(content);
    std::string text;
    for (int number = 1; std::getline(in, text); ++number) {
        Line line = LineReader(file, number, text, diagnostics).read();
        if (line.broken || !line.tokens.empty()) lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace tarnc
