// SPDX-License-Identifier: Apache-2.0
//
// The description of a command line: a program or command with its arguments, options and inner
// commands. The parser, the help, the manual pages and the completion use it.
//
//   Command program("copy", "Copies a file.");
//   program.argument("FILE", into(path), "File to copy").required();
//   program.option("-n,--count", "NUMBER", number_into(count, 1, 9), "How many copies to make");
//   program.flag("--quiet", quiet, "Print nothing").excludes("count");
#ifndef TOOLS_CLI_COMMAND_H
#define TOOLS_CLI_COMMAND_H

#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "cli/target.h"

namespace cli {

// Words for an option from a file of settings.
struct Setting {
    std::string name;                // the option's long name
    std::vector<std::string> words;  // "true" or "false" for a flag
    std::string place;               // "FILE:LINE", in errors
};
// Reads a file of settings. Throws UsageError, which names the place.
using SettingsReader = std::function<std::vector<Setting>(const std::string &file)>;

// An option, an argument that is identified by its position, or both.
struct Option {
    std::vector<std::string> names;  // long ones without their dashes; none for an argument
    char letter = 0;                 // the short name
    std::string value;               // the name of its value, such as "FILE"; empty for a flag
    std::string meaning;             // in the help, without a full stop
    Target target;                   // of a flag called with an empty word
    bool has_place = false;          // can be given by its position among the arguments
    bool is_required = false;
    bool is_hidden = false;     // from help, manual and completion
    bool is_passed_on = false;  // given before a command, for the command's option of that name
    std::string variable;       // of the environment, used if the line lacks the option
    std::vector<std::string> excluded;  // options that can't be given with it
    std::vector<std::string> needed;    // options that must be given with it
    SettingsReader reader;              // of the file that its value names; usually none

    Option &required();
    Option &hidden();
    Option &passed_on();
    Option &environment(std::string name);
    Option &excludes(std::string option);
    Option &needs(std::string option);
    // Its value is a file of settings, which count where the line has no option of their name, nor
    // one that can't be given with it.
    Option &reads(SettingsReader reader);
    // An argument that can be given as an option too.
    Option &named(const std::string &names);

    bool is_flag() const { return value.empty(); }
    // "--store", or "TABLE" for an argument.
    std::string title() const;
    bool is_named(std::string_view name) const;
};

// A status that a program exits with.
struct Status {
    int number;
    std::string meaning;
};

struct Command {
    Command(std::string name, std::string summary);
    Command(const Command &) = delete;
    Command &operator=(const Command &) = delete;

    // By its position. `value` is its name in errors and in the help.
    Option &argument(std::string value, Target target, std::string meaning);
    // `names` are "--store" or "-s,--store".
    Option &option(const std::string &names, std::string value, Target target, std::string meaning);
    Option &flag(const std::string &names, bool &is_set, std::string meaning);
    Option &flag(const std::string &names, std::function<void()> set, std::string meaning);
    // -h, --help, and --version if there is one: also within each inner command.
    void add_help(std::string version);
    // A command within this one.
    Command &command(std::string name, std::string summary);

    // "tarnctl store create"
    std::string full_name() const;
    const Command &program() const;
    // Null if there is none.
    const Option *option_named(std::string_view name) const;
    const Command *command_named(std::string_view name) const;
    std::vector<const Option *> arguments() const;

    std::string name;
    std::string summary;
    // Text below the options: paragraphs with empty lines between them. Lines that start with a
    // blank are kept; others are filled to the width of the screen.
    std::string notes;
    std::vector<Status> statuses;  // of a program, all exit statuses
    std::string version;           // of a program
    std::function<void()> action;
    std::list<Option> options;
    std::list<Command> commands;
    const Command *outer = nullptr;
};

}  // namespace cli

#endif
