// SPDX-License-Identifier: Apache-2.0
// Cuts a schema file into lines of tokens.
#ifndef TARNC_LEXER_H
#define TARNC_LEXER_H

#include <memory>
#include <string>
#include <vector>

#include "source.h"

namespace tarnc {

struct Token {
    enum class Kind { word, number, text, open_bracket, close_bracket };
    Kind kind;
    std::string text;  // of a text: without the quotes
    Place place;
};

// A line that isn't blank, without its comment.
struct Line {
    bool indented = false;
    bool broken = false;  // reported; it has no tokens
    std::vector<Token> tokens;
    Place end;  // after the last token
};

std::vector<Line> read_lines(const std::shared_ptr<const std::string> &file,
                             const std::string &content, Diagnostics &diagnostics);

}  // namespace tarnc

#endif
