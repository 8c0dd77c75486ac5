// SPDX-License-Identifier: Apache-2.0
#include "completion/line.h"

#include <string_view>

namespace tarnctl {
namespace {

void read_option(Line &line, const std::string &word) {
    const std::size_t equals = word.starts_with("--") ? word.find('=') : std::string::npos;
    const cli::Option *option = option_named(line.command, word.substr(0, equals));
    if (option == nullptr || option->is_flag()) return;
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
        if (const cli::Command *inner = line.command->command_named(word)) {
            line.command = inner;
            return;
        }
    }
    line.arguments.push_back(word);
}

}  // namespace

const cli::Option *Line::argument(std::size_t index) const {
    for (const cli::Option *each : command->arguments()) {
        if (index == 0 || each->target.many) return each;
        --index;
    }
    return nullptr;
}

std::string Line::given(const std::string &value) const {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const cli::Option *each = argument(i);
        if (each != nullptr && each->value == value) return arguments[i];
    }
    for (const auto &[option, word_given] : values) {
        if (option->value == value) return word_given;
    }
    return "";
}

std::string Line::given_to(const std::string &name) const {
    for (const auto &[option, word_given] : values) {
        if (option->is_named(name)) return word_given;
    }
    return "";
}

Line read_line(const cli::Command &program, const std::vector<std::string> &words) {
    Line line{&program, {}, {}, nullptr, false, words.empty() ? "" : words.back()};
    for (std::size_t i = 0; i + 1 < words.size(); ++i) read_word(line, words[i]);
    return line;
}

const cli::Option *option_named(const cli::Command *command, const std::string &name) {
    for (; command != nullptr; command = command->outer) {
        for (const cli::Option &each : command->options) {
            const bool is_it = name.starts_with("--")
                                   ? each.is_named(std::string_view(name).substr(2))
                                   : each.letter != 0 && name == std::string{'-', each.letter};
            if (is_it) return &each;
        }
    }
    return nullptr;
}

}  // namespace tarnctl
