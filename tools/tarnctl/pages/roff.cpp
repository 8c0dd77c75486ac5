// SPDX-License-Identifier: Apache-2.0
#include "pages/roff.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>

namespace tarnctl {
namespace {

std::string upper(std::string_view text) {
    std::string result(text);
    for (char &c : result) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return result;
}

std::string escaped(char c) {
    if (c == '\\') return "\\e";
    if (c == '-') return "\\-";
    if (c == '^') return "\\(ha";
    if (c == '~') return "\\(ti";
    if (c == '\'') return "\\(aq";
    return std::string(1, c);
}

// Keeps a line that starts with the mark of a request from being one.
std::string line_of(std::string_view text, bool bold_in_backticks) {
    std::string line = text.starts_with('.') ? "\\&" : "";
    bool bold = false;
    for (const char c : text) {
        if (c == '`' && bold_in_backticks) {
            bold = !bold;
            line += bold ? "\\fB" : "\\fP";
        } else {
            line += c == '`' ? "\\(ga" : escaped(c);
        }
    }
    return line;
}

template <class Function>
void for_each_line(std::string_view text, Function function) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        function(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

}  // namespace

std::string roff_text(std::string_view text) {
    std::string result;
    for_each_line(text, [&](std::string_view line) {
        const std::size_t start = std::min(line.find_first_not_of(' '), line.size());
        result += line_of(line.substr(start), true) + "\n";
    });
    return result;
}

Page::Page(std::string_view name, std::string_view one_line)
    : text_(fmt::format(".TH {} 1 \"\" \"tarnbase {}\" \"User Commands\"\n.SH NAME\n{} \\- {}\n",
                        upper(name), TARNBASE_VERSION, line_of(name, true),
                        line_of(one_line, true))) {}

void Page::section(std::string_view title) { text_ += fmt::format(".SH {}\n", upper(title)); }

void Page::paragraph(std::string_view text) { text_ += ".PP\n" + roff_text(text); }

void Page::item(std::string_view term, std::string_view meaning) {
    text_ += fmt::format(".TP\n{}\n{}", term, roff_text(meaning));
}

void Page::lines(std::string_view text) {
    text_ += ".PP\n.nf\n";
    for_each_line(text, [&](std::string_view line) { text_ += line_of(line, false) + "\n"; });
    text_ += ".fi\n";
}

void Page::raw(std::string_view line) { text_ += fmt::format("{}\n", line); }

}  // namespace tarnctl
