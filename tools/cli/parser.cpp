// SPDX-License-Identifier: Apache-2.0
//
// The only file that includes CLI11, which finds the options and their values. Their meaning and
// all checks are here, so that errors have one wording.
#include "cli/parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <deque>
#include <map>
#include <utility>

#include "cli/suggestion.h"

namespace cli {
namespace {

struct Given {
    const Option *option;
    std::vector<std::string> words;  // of a flag, one for each time that it is given
    std::string place = {};          // in a file of settings; empty on the command line

    // "--store", or "FILE:7: store"
    std::string title() const {
        return place.empty() ? option->title() : place + ": " + option->names.front();
    }
};
using AllGiven = std::vector<Given>;

const Given *find(const AllGiven &all, std::string_view name) {
    for (const Given &each : all) {
        if (each.option->is_named(name)) return &each;
    }
    return nullptr;
}

void add(AllGiven &all, const Option &option, std::string word) {
    for (Given &each : all) {
        if (each.option == &option) return each.words.push_back(std::move(word));
    }
    all.push_back({&option, {std::move(word)}});
}

std::string names_for_parser(const Option &option) {
    std::string names;
    if (option.letter != 0) names = std::string("-") + option.letter;
    for (const std::string &each : option.names) names += (names.empty() ? "--" : ",--") + each;
    return names;
}

std::string choices_text(const std::vector<std::string> &choices) {
    std::string text;
    for (std::size_t i = 0; i < choices.size(); ++i)
        text += (i == 0 ? "" : i + 1 == choices.size() ? " or " : ", ") + choices[i];
    return text;
}

std::string missing_text(const Option &option) {
    if (option.names.empty()) return option.value + " is missing";
    return option.title() + " " + option.value + " is missing" +
           (option.variable.empty() ? "" : ", and " + option.variable + " isn't set");
}

// Refuses words that CLI11 misreads: it drops the words after ++, and uses the next word as the
// value of --name=.
void check_words(const std::vector<std::string> &words) {
    for (const std::string &word : words) {
        if (word == "--") return;
        if (word == "++") throw UsageError("`++` can't be a word of a command line");
        if (word.starts_with("--") && word.find('=') == word.size() - 1)
            throw UsageError(word.substr(0, word.size() - 1) + " needs a value");
    }
}

void give(const Given &given) {
    const Option &option = *given.option;
    if (option.is_flag()) return option.target.take("");
    if (!option.target.many && given.words.size() > 1)
        throw UsageError(given.title() + " is given more than once");
    const std::vector<std::string> &choices = option.target.choices;
    for (const std::string &word : given.words) {
        const std::string place = given.title() + " `" + word + "`: ";
        if (!choices.empty() && std::find(choices.begin(), choices.end(), word) == choices.end())
            throw UsageError(place + "expected " + choices_text(choices));
        try {
            option.target.take(word);
        } catch (const UsageError &error) {
            throw UsageError(place + error.what());
        }
    }
}

void check_together(const AllGiven &all) {
    for (const Given &each : all) {
        for (const std::string &other : each.option->excluded) {
            if (find(all, other) != nullptr)
                throw UsageError(each.title() + " can't be given with --" + other);
        }
        for (const std::string &other : each.option->needed) {
            if (find(all, other) == nullptr) throw UsageError(each.title() + " needs --" + other);
        }
    }
}

bool exclude_each_other(const Option &a, const Option &b) {
    const auto excludes = [](const Option &one, const Option &other) {
        return std::any_of(one.excluded.begin(), one.excluded.end(),
                           [&](const std::string &name) { return other.is_named(name); });
    };
    return excludes(a, b) || excludes(b, a);
}

// The words of a flag are those that the line would have: none, or one without text.
std::vector<std::string> words_of_flag(const Setting &setting) {
    if (setting.words == std::vector<std::string>{"true"}) return {""};
    if (setting.words == std::vector<std::string>{"false"}) return {};
    throw UsageError(setting.place + ": " + setting.name + ": expected true or false");
}

}  // namespace

// One command, without its inner ones.
class Parser::Level {
 public:
    explicit Level(const Command &command) : command_(command) {
        app_.set_help_flag();
        app_.allow_extras();
        // The words after the name of an inner command are for that one.
        app_.prefix_command(!command.commands.empty());
        for (const Command *each = &command; each != nullptr; each = each->outer) {
            for (const Option &option : each->options) {
                if (each == &command || !option.is_passed_on) declare(option);
            }
        }
    }

    Request parse(const std::vector<std::string> &words, const AllGiven &passed) {
        try {
            AllGiven given = read_options(words);
            if (find(given, "help") != nullptr) return {&command_, true, false};
            if (find(given, "version") != nullptr) return {&command_, false, true};
            if (!command_.commands.empty()) return parse_inner(given);
            place_arguments(given);
            take_passed(given, passed);
            check_together(given);
            take_files(given);
            take_environment(given);
            check_required(given);
            give_all(given);
        } catch (const LineError &) {
            throw;
        } catch (const UsageError &error) {
            throw LineError(command_, error.what());
        }
        return {&command_, false, false};
    }

 private:
    void declare(const Option &option) {
        const std::string names = names_for_parser(option);
        if (names.empty()) return;
        CLI::Option *declared =
            option.is_flag()
                ? app_.add_flag(names)->disable_flag_override()
                : app_.add_option(names)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        options_.emplace_back(&option, declared);
    }

    // The options that are given; the other words go to `rest_`.
    AllGiven read_options(const std::vector<std::string> &words) {
        check_words(words);
        try {
            // CLI11 reads words from the end.
            app_.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        } catch (const CLI::ArgumentMismatch &error) {
            throw UsageError(mismatch_text(error.what()));
        } catch (const CLI::ParseError &error) {
            throw UsageError(error.what());
        }
        const std::vector<std::string> rest = app_.remaining();
        rest_.assign(rest.begin(), rest.end());
        AllGiven given;
        for (const auto &[option, declared] : options_) {
            if (declared->count() > 0) given.push_back({option, declared->results()});
        }
        return given;
    }

    // The text begins with the name of the option that lacks its value or has too many.
    std::string mismatch_text(const std::string &text) const {
        const std::string name = text.substr(0, text.find_first_of(": "));
        const std::size_t begin = std::min(name.find_first_not_of('-'), name.size());
        for (const auto &[option, declared] : options_) {
            const bool is_it = option->is_named(name.substr(begin)) ||
                               name.substr(begin) == std::string(1, option->letter);
            if (!is_it) continue;
            return option->is_flag() ? option->title() + " takes no value"
                                     : option->title() + " needs a value: " + option->value;
        }
        return text;
    }

    Request parse_inner(const AllGiven &given) {
        if (rest_.empty()) throw UsageError("name a command: " + choices_text(names_of_commands()));
        const std::string name = rest_.front();
        if (name.starts_with("-")) throw no_option(name);
        const Command *inner = command_.command_named(name);
        if (inner == nullptr) throw no_command(command_, name);
        AllGiven passed;
        for (const Given &each : given) {
            if (each.option->is_passed_on) passed.push_back(each);
            else give(each);
        }
        std::unique_ptr<Level> &level = inner_[inner];
        if (!level) level = std::make_unique<Level>(*inner);
        return level->parse({rest_.begin() + 1, rest_.end()}, passed);
    }

    std::vector<std::string> names_of_commands() const {
        std::vector<std::string> names;
        for (const Command &each : command_.commands) names.push_back(each.name);
        return names;
    }

    UsageError no_option(const std::string &word) const {
        std::vector<std::string> names;
        for (const auto &[option, declared] : options_) {
            for (const std::string &each : option->names) {
                if (!option->is_hidden) names.push_back("--" + each);
            }
        }
        const std::vector<std::string_view> known(names.begin(), names.end());
        return UsageError(no_such_text("option", word.substr(0, word.find('=')), known));
    }

    // Assigns words that aren't options to the arguments, in order.
    void place_arguments(AllGiven &given) {
        std::deque<const Option *> places;
        for (const Option *each : command_.arguments()) places.push_back(each);
        bool only_arguments = false;
        for (const std::string &word : rest_) {
            if (word == "--" && !std::exchange(only_arguments, true)) continue;
            if (!only_arguments && word.size() > 1 && word[0] == '-') throw no_option(word);
            if (places.empty()) throw UsageError("one argument too many: `" + word + "`");
            add(given, *places.front(), word);
            if (!places.front()->target.many) places.pop_front();
        }
    }

    void take_passed(AllGiven &given, const AllGiven &passed) const {
        for (const Given &each : passed) {
            const std::string &name = each.option->names.front();
            const Option *own = command_.option_named(name);
            if (own == nullptr)
                throw UsageError("`" + command_.full_name() + "` takes no --" + name);
            if (find(given, name) != nullptr)
                throw UsageError(own->title() + " is given more than once");
            given.push_back({own, each.words});
        }
    }

    // Adds the settings of the files that are named on the line.
    void take_files(AllGiven &given) const {
        const AllGiven on_line = given;
        for (const Given &each : on_line) {
            if (!each.option->reader) continue;
            for (const Setting &setting : each.option->reader(each.words.back()))
                take_setting(setting, on_line, given);
        }
        if (given.size() > on_line.size()) check_together(given);
    }

    void take_setting(const Setting &setting, const AllGiven &on_line, AllGiven &given) const {
        const Option &option = option_of(setting);
        const bool is_overridden =
            std::any_of(on_line.begin(), on_line.end(), [&](const Given &each) {
                return each.option == &option || exclude_each_other(*each.option, option);
            });
        if (is_overridden) return;
        std::vector<std::string> words = option.is_flag() ? words_of_flag(setting) : setting.words;
        if (!words.empty()) given.push_back({&option, std::move(words), setting.place});
    }

    // Not the options that are about the line itself.
    const Option &option_of(const Setting &setting) const {
        std::vector<std::string_view> known;
        for (const Option &each : command_.options) {
            const bool is_about_line =
                each.reader || each.is_named("help") || each.is_named("version");
            if (is_about_line || each.names.empty()) continue;
            if (each.names.front() == setting.name) return each;
            if (!each.is_hidden) known.push_back(each.names.front());
        }
        throw UsageError(setting.place + ": " + no_such_text("key", setting.name, known));
    }

    void take_environment(AllGiven &given) const {
        for (const Option &each : command_.options) {
            if (each.variable.empty() || find(given, each.names.front()) != nullptr) continue;
            const char *value = std::getenv(each.variable.c_str());
            if (value != nullptr && *value != '\0') given.push_back({&each, {value}});
        }
    }

    void check_required(const AllGiven &given) const {
        for (const Option &each : command_.options) {
            const bool is_given = std::any_of(
                given.begin(), given.end(), [&](const Given &one) { return one.option == &each; });
            if (each.is_required && !is_given) throw UsageError(missing_text(each));
        }
    }

    // In the order of their declarations.
    void give_all(const AllGiven &given) const {
        for (const Option &option : command_.options) {
            for (const Given &each : given) {
                if (each.option == &option) give(each);
            }
        }
        for (const Given &each : given) {
            if (is_inherited(*each.option)) give(each);
        }
    }

    bool is_inherited(const Option &option) const {
        return std::none_of(command_.options.begin(), command_.options.end(),
                            [&](const Option &own) { return &own == &option; });
    }

    const Command &command_;
    CLI::App app_;
    std::vector<std::pair<const Option *, CLI::Option *>> options_;
    std::vector<std::string> rest_;
    std::map<const Command *, std::unique_ptr<Level>> inner_;
};

Parser::Parser(const Command &command) : level_(std::make_unique<Level>(command)) {}

Parser::~Parser() = default;

LineError no_command(const Command &within, const std::string &name) {
    std::vector<std::string_view> known;
    for (const Command &each : within.commands) known.push_back(each.name);
    return {within, no_such_text("command", name, known)};
}

Request Parser::parse(const std::vector<std::string> &words) { return level_->parse(words, {}); }

}  // namespace cli
