// SPDX-License-Identifier: Apache-2.0
//
// An incomplete command line, parsed as far as possible.
#ifndef TARNCTL_COMPLETION_LINE_H
#define TARNCTL_COMPLETION_LINE_H

#include <string>
#include <utility>
#include <vector>

#include "cli/command.h"

namespace tarnctl {

struct Line {
    const cli::Command *command;         // the innermost one named
    std::vector<std::string> arguments;  // its words that aren't options
    std::vector<std::pair<const cli::Option *, std::string>> values;  // of options
    const cli::Option *waiting = nullptr;  // the option whose value is being written
    bool only_arguments = false;           // `--` was written
    std::string word;                      // being written

    // The declaration of argument number `index`, or null.
    const cli::Option *argument(std::size_t index) const;
    // The word of the argument or option with a value of this name, or "".
    std::string given(const std::string &value) const;
    // The word of the option of this long name.
    std::string given_to(const std::string &option) const;
};

Line read_line(const cli::Command &program, const std::vector<std::string> &words);

// The option of this name, "-s" or "--store", in a command or the ones it is within; or null.
const cli::Option *option_named(const cli::Command *command, const std::string &name);

}  // namespace tarnctl

#endif
