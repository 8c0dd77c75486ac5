// SPDX-License-Identifier: Apache-2.0
//
// How a main function begins.
#ifndef TOOLS_CLI_START_H
#define TOOLS_CLI_START_H

#include "cli/command.h"
#include "cli/parser.h"

namespace cli {

// The status of wrong arguments.
inline constexpr int usage_status = 2;

struct Start {
    const Command *command;  // whose targets have been filled; null if nothing is left to do,
    int status;              // and main returns this
};

// Prints what is wrong with the arguments on standard error, and where help is. Returns
// `usage_status`.
int report(const Command &program, const LineError &error);

// Reads the command line. Prints the help or the version where that is asked for, and on standard
// error what is wrong with the arguments.
Start start(const Command &program, int argc, const char *const *argv);

}  // namespace cli

#endif
