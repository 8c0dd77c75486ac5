// SPDX-License-Identifier: Apache-2.0
#include "render.h"

#include <sstream>
#include <stdexcept>

namespace tarnc {
namespace {

constexpr std::size_t width = 100;

std::vector<std::string> with_commas(const std::vector<std::string> &arguments) {
    std::vector<std::string> pieces = arguments;
    for (std::size_t i = 0; i + 1 < pieces.size(); ++i) pieces[i] += ",";
    return pieces;
}

}  // namespace

std::string render(std::string_view template_name, const Context &context) {
    kainjow::mustache::mustache mustache{std::string(template_text(template_name))};
    if (!mustache.is_valid())
        throw std::logic_error(std::string(template_name) + ": " + mustache.error_message());
    mustache.set_custom_escape([](const std::string &text) { return text; });
    return mustache.render(context);
}

std::string fill(const std::string &head, const std::vector<std::string> &pieces,
                 const std::string &tail, std::size_t indent) {
    std::string result = head;
    std::size_t column = head.size() - (head.rfind('\n') + 1);
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const bool is_last = i + 1 == pieces.size();
        const std::size_t needed = pieces[i].size() + (is_last ? tail.size() : 0);
        if (i > 0 && column + 1 + needed > width) {
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
    const std::size_t behind_bracket = head.size() + 1;
    if (behind_bracket + longest + tail.size() + 1 <= width)
        return fill(head + "(", with_commas(arguments), ")" + tail, behind_bracket);
    return fill(head + "(\n    ", with_commas(arguments), ")" + tail, 4);
}

std::string comment(const std::vector<std::string> &paragraphs) {
    std::string body;
    for (const std::string &paragraph : paragraphs) {
        std::istringstream words(paragraph);
        std::vector<std::string> pieces;
        for (std::string word; words >> word;) pieces.push_back(word);
        std::string filled = fill(body.empty() ? " " : "\n ", pieces, "", 1);
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
