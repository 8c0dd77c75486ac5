// SPDX-License-Identifier: Apache-2.0
//
// A command line that is being written, as far as it can be understood.
#ifndef TARNCTL_COMPLETION_LINE_H
#define TARNCTL_COMPLETION_LINE_H

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

namespace tarnctl {

struct Line {
    const CLI::App *command;             // the innermost one named
    std::vector<std::string> arguments;  // its words that are no options
    std::vector<std::pair<const CLI::Option *, std::string>> values;  // of options
    const CLI::Option *waiting = nullptr;  // the option that takes the word being written
    bool only_arguments = false;           // `--` was written
    std::string word;                      // being written

    // The declaration of argument number `index`; null if there is none.
    const CLI::Option *argument(std::size_t index) const;
    // The word given to an argument or option of this type name; "" if none was.
    std::string given(const std::string &type) const;
    // The word given to an option of this long name.
    std::string given_to(const std::string &option) const;
};

Line read_line(const CLI::App &program, const std::vector<std::string> &words);

// The option of this name, "-s" or "--store", in a command or the ones it is within; or null.
const CLI::Option *option_named(const CLI::App *command, const std::string &name);
// "TABLE", without what the option's checks add to it.
std::string type_of(const CLI::Option &option);
// The words that an option takes, if its declaration tells them.
std::vector<std::string> choices_of(const CLI::Option &option);
std::vector<const CLI::App *> commands_of(const CLI::App &app);

}  // namespace tarnctl

#endif
