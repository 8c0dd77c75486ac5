// SPDX-License-Identifier: Apache-2.0
#include "completion/candidates.h"

#include <fmt/core.h>

#include <cstdlib>
#include <set>

#include "base/failure.h"
#include "completion/line.h"
#include "model/instance.h"
#include "model/record.h"
#include "model/value.h"
#include "model/value_type.h"

namespace tarnctl {
namespace {

// Adds candidates that begin with the word.
class Collector {
 public:
    Collector(Completion &completion, std::string word, std::string prefix = "")
        : completion_(completion), word_(std::move(word)), prefix_(std::move(prefix)) {}

    bool add(std::string_view text, std::string_view meaning) {
        if (!text.starts_with(word_)) return false;
        completion_.candidates.push_back(
            {fmt::format("{}{}", prefix_, text), std::string(meaning)});
        return true;
    }

 private:
    Completion &completion_;
    std::string word_;    // the part that is completed
    std::string prefix_;  // the part of the word before it
};

// With "tbl_" if the word can begin with it.
void add_tables(Collector &collector) {
    bool any = false;
    for (const Table *each : catalogue.tables) any |= collector.add(each->name, each->meaning);
    if (any) return;
    for (const Table *each : catalogue.tables)
        collector.add(each->name.substr(table_prefix.size()), each->meaning);
}

// The instances of tables of which the store has several, or all instances if the word names one.
void add_instances(Collector &collector, const Line &line) {
    const char *of_environment = std::getenv("TARNBASE_STORE");
    std::string path = line.given_to("store");
    if (path.empty() && of_environment != nullptr) path = of_environment;
    if (path.empty()) return;
    const bool has_instance = line.word.find_first_of(":#") != std::string::npos;
    try {
        const Store store = Store::open_to_read(path);
        for (const Instance &each : instances(store)) {
            if (!has_instance && instances_of(store, *each.table).size() < 2) continue;
            const std::string name = each.full_name();
            if (!collector.add(name, each.table->meaning))
                collector.add(std::string_view(name).substr(table_prefix.size()),
                              each.table->meaning);
        }
    } catch (const Failure &) {
        // No candidates from a store that can't be read.
    }
}

void add_types(Collector &collector) {
    for (const Structure *each : catalogue.structures) collector.add(each->name, each->meaning);
    for (const Enumeration *each : catalogue.enumerations) collector.add(each->name, each->meaning);
    for (const ValueType &each : value_types()) collector.add(each.name, each.meaning);
}

// The commands of the command that the arguments name, for help.
void add_commands(Collector &collector, const Line &line) {
    const cli::Command *outer = &line.command->program();
    for (const std::string &name : line.arguments)
        outer = outer == nullptr ? nullptr : outer->command_named(name);
    if (outer == nullptr) return;
    for (const cli::Command &each : outer->commands) collector.add(each.name, each.summary);
}

const Table *table_of(const Line &line) {
    const std::string given = line.given("TABLE");
    if (given.empty()) return nullptr;
    try {
        return parse_table(given).table;
    } catch (const Failure &) {
        return nullptr;
    }
}

void add_fields(Collector &collector, const Table &table, std::string_view end) {
    for (const Column &each : columns_of(table)) {
        const Field &field = each.path.leaf();
        const std::string unit = field.unit.empty() ? "" : fmt::format(" [{}]", field.unit);
        collector.add(each.name() + std::string(end), fmt::format("{}{}", field.meaning, unit));
    }
}

void add_values(Collector &collector, const Field &field) {
    if (field.kind == Kind::boolean) {
        collector.add("true", "");
        collector.add("false", "");
    }
    if (field.enumeration == nullptr) return;
    bool any = false;
    const auto &enumerators = field.enumeration->enumerators;
    const auto meaning = [](const Enumerator &each) {
        return each.meaning.empty() ? std::to_string(each.value) : std::string(each.meaning);
    };
    for (const Enumerator &each : enumerators) any |= collector.add(each.name, meaning(each));
    if (any) return;
    const std::vector<std::string_view> brief = short_names(*field.enumeration);
    for (std::size_t i = 0; i < brief.size(); ++i) collector.add(brief[i], meaning(enumerators[i]));
}

// The value after "FIELD=" or another comparison.
void add_values(Completion &completion, const Table &table, const std::string &word,
                std::size_t value) {
    const std::string name = word.substr(0, word.find_first_of("!=<>~"));
    try {
        Collector collector(completion, word.substr(value), word.substr(0, value));
        add_values(collector, column_named(table, name).path.leaf());
    } catch (const Failure &) {
        // There is no such field.
    }
}

void complete_field(Completion &completion, const Line &line, const std::string &word,
                    const std::string &type) {
    const Table *table = table_of(line);
    if (table == nullptr) return;
    const bool has_value = type.find('=') != std::string::npos;
    const std::size_t comparison = word.find_last_of("=<>~");
    if (has_value && comparison != std::string::npos)
        return add_values(completion, *table, word, comparison + 1);
    completion.open = has_value;
    const std::size_t begin = type.ends_with(",...") ? word.rfind(',') + 1 : 0;
    Collector collector(completion, word.substr(begin), word.substr(0, begin));
    add_fields(collector, *table, has_value ? "=" : "");
}

// A value of the key, or FIELD=VALUE.
void complete_key(Completion &completion, const Line &line, const std::string &word) {
    const Table *table = table_of(line);
    if (table == nullptr) return;
    std::size_t place = 0;
    for (std::size_t i = 0; i < line.arguments.size(); ++i) {
        const cli::Option *each = line.argument(i);
        if (each != nullptr && each->value.starts_with("KEY")) ++place;
    }
    const std::vector<Column> key = key_columns(*table);
    if (place < key.size()) {
        Collector collector(completion, word);
        add_values(collector, key[place].path.leaf());
    }
    if (completion.candidates.empty()) complete_field(completion, line, word, "FIELD=VALUE");
}

void complete_value(Completion &completion, const Line &line, const cli::Option &option,
                    const std::string &word, const std::string &prefix) {
    const std::string &type = option.value;
    Collector collector(completion, word, prefix);
    for (const std::string &each : option.target.choices) collector.add(each, "");
    // A and B are the two sides of a comparison, OUT the store that a copy makes.
    for (const std::string_view file : {"FILE", "STORE", "OUT", "A", "B"})
        completion.files |= type == file;
    if (type.starts_with("TABLE") || type == "PATTERN") add_tables(collector);
    if (type == "TABLE") add_instances(collector, line);
    if (type == "TABLE|TYPE") add_types(collector);
    if (type == "COMMAND") add_commands(collector, line);
    if (type.starts_with("KEY")) complete_key(completion, line, word);
    else if (type.starts_with("FIELD") || type == "CONDITION")
        complete_field(completion, line, word, type == "CONDITION" ? "FIELD=VALUE" : type);
}

void add_options(Collector &collector, const cli::Command *command) {
    std::set<std::string> known;  // a command may have an option of the program's name
    for (; command != nullptr; command = command->outer) {
        for (const cli::Option &each : command->options) {
            if (each.is_hidden) continue;
            for (const std::string &name : each.names) {
                if (known.insert(name).second) collector.add("--" + name, each.meaning);
            }
        }
    }
}

}  // namespace

Completion complete(const cli::Command &program, const std::vector<std::string> &words) {
    const Line line = read_line(program, words);
    Completion completion;
    Collector collector(completion, line.word);
    const std::size_t equals =
        line.word.starts_with("--") ? line.word.find('=') : std::string::npos;
    if (line.waiting != nullptr) {
        complete_value(completion, line, *line.waiting, line.word, "");
    } else if (equals != std::string::npos && !line.only_arguments) {
        const cli::Option *option = option_named(line.command, line.word.substr(0, equals));
        if (option != nullptr)
            complete_value(completion, line, *option, line.word.substr(equals + 1),
                           line.word.substr(0, equals + 1));
    } else if (line.word.starts_with('-') && !line.only_arguments) {
        add_options(collector, line.command);
    } else {
        if (line.arguments.empty()) {
            for (const cli::Command &each : line.command->commands)
                collector.add(each.name, each.summary);
        }
        const cli::Option *argument = line.argument(line.arguments.size());
        if (argument != nullptr) complete_value(completion, line, *argument, line.word, "");
    }
    return completion;
}

}  // namespace tarnctl
