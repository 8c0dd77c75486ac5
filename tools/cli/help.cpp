// SPDX-License-Identifier: Apache-2.0
#include "cli/help.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace cli {
namespace {

constexpr std::size_t usual_width = 80;
constexpr std::size_t least_width = 40;
constexpr std::size_t text_column = 26;

std::string head_of(const Option &option, bool by_place) {
    if (by_place) return "  " + option.value;
    std::string head = "  ";
    if (option.letter != 0) head += std::string("-") + option.letter + ", ";
    for (const std::string &name : option.names)
        head += (&name == &option.names.front() ? "--" : ", --") + name;
    return head + (option.is_flag() ? "" : " " + option.value);
}

class Text {
 public:
    explicit Text(std::size_t width) : width_(width) {}

    // Starts a section with its first item.
    void item(std::string_view title, const std::string &head, const std::string &meaning) {
        if (title != title_) text_ += "\n" + std::string(title) + ":\n";
        title_ = title;
        text_ += wrapped(head, meaning, text_column, width_);
    }
    void paragraph(std::string_view text) { text_ += wrapped("", text, 0, width_); }
    void notes(const std::string &text) {
        if (!text.empty()) text_ += "\n" + filled(text, width_);
    }
    std::string take() { return std::move(text_); }

 private:
    std::size_t width_;
    std::string text_;
    std::string_view title_;
};

void add_options(Text &text, const Command &command) {
    for (const Option *each : command.arguments())
        text.item("Arguments", head_of(*each, true), meaning_of(*each));
    for (const Option &each : command.options) {
        if (!each.is_hidden && !each.names.empty())
            text.item("Options", head_of(each, false), meaning_of(each));
    }
    for (const Command *outer = command.outer; outer != nullptr; outer = outer->outer) {
        for (const Option &each : outer->options) {
            if (!each.is_passed_on)
                text.item("Options of every command", head_of(each, false), meaning_of(each));
        }
    }
    for (const Command &each : command.commands)
        text.item("Commands", "  " + each.name, each.summary);
}

}  // namespace

std::size_t screen_width() {
    std::size_t width = 0;
    if (const char *columns = std::getenv("COLUMNS"))
        std::from_chars(columns, columns + std::strlen(columns), width);
    winsize size{};
    if (width == 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) width = size.ws_col;
    return width == 0 ? usual_width : std::max(width, least_width);
}

std::string arguments_text(const Command &command) {
    std::string text = "[OPTION...]";
    for (const Option *each : command.arguments()) {
        const std::string name = each->value + (each->target.many ? "..." : "");
        text += each->is_required ? " " + name : " [" + name + "]";
    }
    return text + (command.commands.empty() ? "" : " COMMAND");
}

std::string meaning_of(const Option &option) {
    return option.meaning + (option.variable.empty()
                                 ? ""
                                 : "; by default " + option.variable + " of the environment");
}

std::string wrapped(std::string_view head, std::string_view text, std::size_t indent,
                    std::size_t width) {
    std::string lines(head);
    std::size_t column = head.size();
    // A head that is too long is on a line of its own.
    const auto start_line = [&] {
        lines += "\n" + std::string(indent, ' ');
        column = indent;
    };
    if (indent > 0 && column + 1 > indent) start_line();
    else lines += std::string(indent - column, ' ');
    column = indent;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        if (column > indent && column + 1 + end > width) start_line();
        if (column > indent) {
            lines += ' ';
            ++column;
        }
        lines += text.substr(0, end);
        column += end;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines + "\n";
}

std::string filled(std::string_view notes, std::size_t width) {
    std::string text;
    std::string paragraph;
    const auto flush = [&] {
        if (!paragraph.empty()) text += wrapped("", paragraph, 0, width);
        paragraph.clear();
    };
    while (!notes.empty()) {
        const std::size_t end = std::min(notes.find('\n'), notes.size());
        const std::string_view line = notes.substr(0, end);
        notes.remove_prefix(std::min(end + 1, notes.size()));
        if (line.empty() || line.front() == ' ') {
            flush();
            if (!line.empty() || !text.empty()) text += std::string(line) + "\n";
        } else {
            paragraph += (paragraph.empty() ? "" : " ") + std::string(line);
        }
    }
    flush();
    return text;
}

std::string help_of(const Command &command, std::size_t width) {
    // The last column stays free: some terminals begin a new line when it is written.
    Text text(width - 1);
    text.paragraph(command.summary + (command.summary.ends_with('.') ? "" : "."));
    text.paragraph("Usage: " + command.full_name() + " " + arguments_text(command));
    add_options(text, command);
    text.notes(command.notes);
    for (const Status &each : command.program().statuses)
        text.item("Exit status", "  " + std::to_string(each.number), each.meaning);
    return text.take();
}

}  // namespace cli
