// SPDX-License-Identifier: Apache-2.0
#include "render.h"

#include <sstream>
#include <stdexcept>

namespace tarnc {
namespace {

constexpr std::size_t width = 100;
// Arguments are not lined up further to the right.
constexpr std::size_t deepest = 72;

std::vector<std::string> with_commas(const std::vector<std::string> &arguments) {
    std::vector<std::string> pieces = arguments;
    for (std::size_t i = 0; i + 1 < pieces.size(); ++i) pieces[i] += ",";
    return pieces;
}

// The template engine leaves an empty line for an empty section and for a comment. So
// a line with only such a tag is marked, and removed afterwards.
constexpr char mark = '\x01';

std::string mark_sections(const std::string &text) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const bool starts = line.compare(0, 2, "{{") == 0 && line.size() > 2 &&
                            std::string("#^!").find(line[2]) != std::string::npos;
        const bool is_alone = line.find("}}") + 2 == line.size();
        if (starts && is_alone) result += mark;
        result += line + "\n";
    }
    return result;
}

std::string drop_marked_lines(const std::string &text) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.find_first_not_of(mark) != std::string::npos)
            result += line + "\n";
    }
    return result;
}

}  // namespace

std::string render(std::string_view template_name, const Context &context) {
    kainjow::mustache::mustache mustache{mark_sections(std::string(template_text(template_name)))};
    if (!mustache.is_valid())
        throw std::logic_error(std::string(template_name) + ": " + mustache.error_message());
    mustache.set_custom_escape([](const std::string &text) { return text; });
    return drop_marked_lines(mustache.render(context));
}

namespace {

// The end of what goes from `at` to the next comma and a blank.
std::size_t end_of_piece(const std::string &call, std::size_t at) {
    const std::size_t comma = call.find(", ", at);
    return comma == std::string::npos ? call.size() : comma + 1;
}

// The same for a piece that contains a whole list in braces, if one begins in it.
std::size_t end_with_list(const std::string &call, std::size_t at) {
    const std::size_t open = call.find('{', at);
    if (open >= end_of_piece(call, at)) return end_of_piece(call, at);
    const std::size_t close = call.find('}', open);
    return end_of_piece(call, close == std::string::npos ? open : close);
}

}  // namespace

std::string fill_call(const std::string &call, std::size_t indent) {
    std::string result(indent, ' ');
    std::vector<std::size_t> brackets;  // the columns after the open ones
    std::size_t column = indent;
    for (std::size_t at = 0; at < call.size();) {
        const std::size_t start = brackets.empty() ? column : brackets.back();
        std::size_t end = end_with_list(call, at);
        if (start + (end - at) > width) end = end_of_piece(call, at);
        if (column + 1 + (end - at) > width && !brackets.empty()) {
            column = brackets.back();
            result += "\n" + std::string(column, ' ');
        } else if (at > 0) {
            result += ' ';
            ++column;
        }
        for (; at < end; ++at, ++column) {
            if (call[at] == '(' || call[at] == '{' || call[at] == '<')
                brackets.push_back(column + 1);
            if ((call[at] == ')' || call[at] == '}' || call[at] == '>') && !brackets.empty())
                brackets.pop_back();
            result += call[at];
        }
        ++at;
    }
    return result;
}

std::string fill(const std::string &head, const std::vector<std::string> &pieces,
                 const std::string &tail, std::size_t indent, std::size_t limit) {
    std::string result = head;
    std::size_t column = head.size() - (head.rfind('\n') + 1);
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const bool is_last = i + 1 == pieces.size();
        const std::size_t needed = pieces[i].size() + (is_last ? tail.size() : 0);
        if (i > 0 && column + 1 + needed > limit) {
            result += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (i > 0) {
            result += ' ';
            ++column;
        }
        result += pieces[i];
        column += pieces[i].size();
    }
    return result + tail;
}

std::string prototype(const std::string &head, const std::vector<std::string> &arguments,
                      const std::string &tail) {
    std::size_t longest = 0;
    for (const std::string &each : arguments) longest = std::max(longest, each.size());
    const std::size_t after_bracket = head.size() + 1;
    if (after_bracket <= deepest && after_bracket + longest + tail.size() + 1 <= width)
        return fill(head + "(", with_commas(arguments), ")" + tail, after_bracket);
    return fill(head + "(\n    ", with_commas(arguments), ")" + tail, 4);
}

std::string comment(const std::vector<std::string> &paragraphs) {
    std::string body;
    for (const std::string &paragraph : paragraphs) {
        std::istringstream words(paragraph);
        std::vector<std::string> pieces;
        for (std::string word; words >> word;) pieces.push_back(word);
        std::string filled = fill(body.empty() ? " " : "\n ", pieces, "", 1, width - 2);
        for (std::size_t at = filled.find("\n "); at != std::string::npos;
             at = filled.find("\n ", at + 2))
            filled.insert(at + 2, "* ");
        body += body.empty() ? " * " + filled.substr(1) : filled;
    }
    const bool is_short = body.find('\n') == std::string::npos && body.size() + 3 <= width;
    return is_short ? "/*" + body.substr(2) + " */\n" : "/*\n" + body + "\n */\n";
}

std::vector<std::string> split(const std::string &text, char separator) {
    std::vector<std::string> pieces;
    std::string piece;
    int depth = 0;
    for (const char c : text) {
        if (c == '(' || c == '<' || c == '{') ++depth;
        if (c == ')' || c == '>' || c == '}') --depth;
        if (c == separator && depth == 0) {
            pieces.push_back(trim(piece));
            piece.clear();
        } else {
            piece += c;
        }
    }
    if (!trim(piece).empty()) pieces.push_back(trim(piece));
    return pieces;
}

std::string trim(const std::string &text) {
    const std::size_t first = text.find_first_not_of(" \n");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \n") - first + 1);
}

}  // namespace tarnc
