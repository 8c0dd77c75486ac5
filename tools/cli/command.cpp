// SPDX-License-Identifier: Apache-2.0
#include "cli/command.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace cli {
namespace {

// "-s,--store"
void read_names(const std::string &names, Option &option) {
    std::istringstream parts(names);
    for (std::string part; std::getline(parts, part, ',');) {
        if (part.starts_with("--")) option.names.push_back(part.substr(2));
        else option.letter = part.at(1);
    }
}

}  // namespace

Option &Option::required() {
    is_required = true;
    return *this;
}

Option &Option::hidden() {
    is_hidden = true;
    return *this;
}

Option &Option::passed_on() {
    is_passed_on = true;
    return *this;
}

Option &Option::environment(std::string name) {
    variable = std::move(name);
    return *this;
}

Option &Option::excludes(std::string option) {
    excluded.push_back(std::move(option));
    return *this;
}

Option &Option::needs(std::string option) {
    needed.push_back(std::move(option));
    return *this;
}

Option &Option::reads(SettingsReader settings_reader) {
    reader = std::move(settings_reader);
    return *this;
}

Option &Option::named(const std::string &names_too) {
    read_names(names_too, *this);
    return *this;
}

std::string Option::title() const { return names.empty() ? value : "--" + names.front(); }

bool Option::is_named(std::string_view name) const {
    return std::find(names.begin(), names.end(), name) != names.end();
}

Command::Command(std::string its_name, std::string its_summary)
    : name(std::move(its_name)), summary(std::move(its_summary)) {}

Option &Command::argument(std::string value, Target target, std::string meaning) {
    Option &option = options.emplace_back();
    option.value = std::move(value);
    option.target = std::move(target);
    option.meaning = std::move(meaning);
    option.has_place = true;
    return option;
}

Option &Command::option(const std::string &names, std::string value, Target target,
                        std::string meaning) {
    Option &option = options.emplace_back();
    read_names(names, option);
    option.value = std::move(value);
    option.target = std::move(target);
    option.meaning = std::move(meaning);
    return option;
}

Option &Command::flag(const std::string &names, bool &is_set, std::string meaning) {
    return flag(
        names, [&is_set] { is_set = true; }, std::move(meaning));
}

Option &Command::flag(const std::string &names, std::function<void()> set, std::string meaning) {
    Target target{[set = std::move(set)](const std::string &) { set(); }, {}, false};
    return option(names, "", std::move(target), std::move(meaning));
}

void Command::add_help(std::string its_version) {
    flag(
        "-h,--help", [] {}, "Print this help and exit");
    if (its_version.empty()) return;
    version = std::move(its_version);
    flag(
        "--version", [] {}, "Print the version and exit");
}

Command &Command::command(std::string its_name, std::string its_summary) {
    Command &inner = commands.emplace_back(std::move(its_name), std::move(its_summary));
    inner.outer = this;
    return inner;
}

std::string Command::full_name() const {
    return outer == nullptr ? name : outer->full_name() + " " + name;
}

const Command &Command::program() const { return outer == nullptr ? *this : outer->program(); }

const Option *Command::option_named(std::string_view wanted) const {
    for (const Option &each : options) {
        if (each.is_named(wanted)) return &each;
    }
    return nullptr;
}

const Command *Command::command_named(std::string_view wanted) const {
    for (const Command &each : commands) {
        if (each.name == wanted) return &each;
    }
    return nullptr;
}

std::vector<const Option *> Command::arguments() const {
    std::vector<const Option *> found;
    for (const Option &each : options) {
        if (each.has_place) found.push_back(&each);
    }
    return found;
}

}  // namespace cli
