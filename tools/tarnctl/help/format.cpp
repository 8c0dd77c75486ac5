// SPDX-License-Identifier: Apache-2.0
#include "help/format.h"

#include <fmt/format.h>

namespace tarnctl {
namespace {

constexpr std::size_t line_width = 79;
constexpr std::size_t text_column = 26;

std::string type_of(const CLI::Option &option) {
    return option.get_type_size_max() == 0 ? "" : option.get_type_name();
}

std::string argument_of(const CLI::Option &option) {
    const bool several = option.get_expected_max() > 1;
    const std::string name = type_of(option) + (several ? "..." : "");
    return option.get_required() ? name : fmt::format("[{}]", name);
}

std::string head_of(const CLI::Option &option, bool is_positional) {
    if (is_positional) return "  " + type_of(option);
    std::string head;
    for (const std::string &name : option.get_snames())
        head += fmt::format("{}-{}", head.empty() ? "" : ", ", name);
    for (const std::string &name : option.get_lnames())
        head += fmt::format("{}--{}", head.empty() ? "" : ", ", name);
    const std::string type = type_of(option);
    return fmt::format("  {}{}{}", head, type.empty() ? "" : " ", type);
}

}  // namespace

std::string wrapped(std::string_view head, std::string_view text, std::size_t indent,
                    std::size_t width) {
    std::string lines(head);
    std::size_t column = head.size();
    // A head that is too long has a line of its own.
    const auto start_line = [&] {
        lines += fmt::format("\n{:{}}", "", indent);
        column = indent;
    };
    if (column + 1 > indent) start_line();
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

std::string HelpFormat::make_usage(const CLI::App *app, std::string name) const {
    std::string usage = fmt::format("Usage: {} [OPTION...]", name);
    for (const CLI::Option *option :
         app->get_options([](const CLI::Option *each) { return each->get_positional(); }))
        usage += " " + argument_of(*option);
    if (app->get_require_subcommand_min() > 0) usage += " COMMAND";
    return usage + "\n";
}

std::string HelpFormat::make_option(const CLI::Option *option, bool is_positional) const {
    std::string text = option->get_description();
    if (!option->get_envname().empty())
        text += fmt::format("; by default the environment's {}", option->get_envname());
    return wrapped(head_of(*option, is_positional), text, text_column, line_width);
}

std::string HelpFormat::make_subcommand(const CLI::App *command) const {
    return wrapped("  " + command->get_name(), command->get_description(), text_column, line_width);
}

}  // namespace tarnctl
