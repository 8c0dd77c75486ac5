// SPDX-License-Identifier: Apache-2.0
#include "completion/line.h"

#include <algorithm>
#include <cctype>

namespace tarnctl {
namespace {

std::vector<const CLI::Option *> arguments_of(const CLI::App &command) {
    std::vector<const CLI::Option *> arguments;
    for (const CLI::Option *each : command.get_options()) {
        if (each->get_positional()) arguments.push_back(each);
    }
    return arguments;
}

bool takes_value(const CLI::Option &option) { return option.get_items_expected_max() > 0; }

void read_option(Line &line, const std::string &word) {
    const std::size_t equals = word.starts_with("--") ? word.find('=') : std::string::npos;
    const CLI::Option *option = option_named(line.command, word.substr(0, equals));
    if (option == nullptr || !takes_value(*option)) return;
    if (equals == std::string::npos) line.waiting = option;
    else line.values.emplace_back(option, word.substr(equals + 1));
}

void read_word(Line &line, const std::string &word) {
    if (line.waiting != nullptr) {
        line.values.emplace_back(line.waiting, word);
        line.waiting = nullptr;
        return;
    }
    if (word == "--" && !line.only_arguments) {
        line.only_arguments = true;
        return;
    }
    if (word.size() > 1 && word[0] == '-' && !line.only_arguments) return read_option(line, word);
    if (line.arguments.empty()) {
        for (const CLI::App *each : commands_of(*line.command)) {
            if (each->get_name() != word) continue;
            line.command = each;
            return;
        }
    }
    line.arguments.push_back(word);
}

std::vector<std::string> split(const std::string &text, char between) {
    std::vector<std::string> parts{""};
    for (const char c : text) {
        if (c == between) parts.emplace_back();
        else parts.back() += c;
    }
    return parts;
}

}  // namespace

const CLI::Option *Line::argument(std::size_t index) const {
    for (const CLI::Option *each : arguments_of(*command)) {
        const auto most = static_cast<std::size_t>(std::max(each->get_items_expected_max(), 1));
        if (index < most) return each;
        index -= most;
    }
    return nullptr;
}

std::string Line::given(const std::string &type) const {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const CLI::Option *each = argument(i);
        if (each != nullptr && type_of(*each) == type) return arguments[i];
    }
    for (const auto &[option, value] : values) {
        if (type_of(*option) == type) return value;
    }
    return "";
}

std::string Line::given_to(const std::string &option) const {
    for (const auto &[each, value] : values) {
        if (each->check_lname(option)) return value;
    }
    return "";
}

Line read_line(const CLI::App &program, const std::vector<std::string> &words) {
    Line line{&program, {}, {}, nullptr, false, words.empty() ? "" : words.back()};
    for (std::size_t i = 0; i + 1 < words.size(); ++i) read_word(line, words[i]);
    return line;
}

const CLI::Option *option_named(const CLI::App *command, const std::string &name) {
    for (; command != nullptr; command = command->get_parent()) {
        if (const CLI::Option *option = command->get_option_no_throw(name)) return option;
    }
    return nullptr;
}

std::string type_of(const CLI::Option &option) {
    const std::string type = option.get_type_name();
    return type.substr(0, type.find(':'));
}

std::vector<std::string> choices_of(const CLI::Option &option) {
    // "FORM:{table,list}" of a check, "DRAWING:value in {line->0,svg->1} OR {0,1}" of a
    // transformation, or "xml|json".
    const std::string type = option.get_type_name();
    const std::size_t begin = type.find('{');
    const std::size_t end = type.find('}', std::min(begin, type.size()));
    if (end != std::string::npos) {
        std::vector<std::string> choices = split(type.substr(begin + 1, end - begin - 1), ',');
        for (std::string &each : choices) each.erase(std::min(each.find("->"), each.size()));
        return choices;
    }
    const bool is_list = type.find('|') != std::string::npos &&
                         std::none_of(type.begin(), type.end(),
                                      [](unsigned char c) { return std::isupper(c) != 0; });
    return is_list ? split(type, '|') : std::vector<std::string>{};
}

std::vector<const CLI::App *> commands_of(const CLI::App &app) {
    return app.get_subcommands([](const CLI::App *each) { return !each->get_group().empty(); });
}

}  // namespace tarnctl
