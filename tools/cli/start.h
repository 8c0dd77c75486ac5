// SPDX-License-Identifier: Apache-2.0
//
// The start of a main function.
#ifndef TOOLS_CLI_START_H
#define TOOLS_CLI_START_H

#include "cli/command.h"
#include "cli/parser.h"

namespace cli {

// The status of wrong arguments.
inline constexpr int usage_status = 2;

struct Start {
    const Command *command;  // whose targets are set; null if main is to
    int status;              // return this
};

// Prints an error in the arguments on standard error, with a hint to the help. Returns
// `usage_status`.
int report(const Command &program, const LineError &error);

// Reads the command line. Prints the help or the version on request, and errors in the arguments on
// standard error.
Start start(const Command &program, int argc, const char *const *argv);

}  // namespace cli

#endif
