// SPDX-License-Identifier: Apache-2.0
//
// What programs that serve until a signal ends them have in common.
#ifndef TARNCTL_BASE_DAEMON_H
#define TARNCTL_BASE_DAEMON_H

#include <csignal>
#include <functional>
#include <string>

#include "cli/command.h"

namespace tarnctl {

// Blocks SIGTERM and SIGINT for this thread and those that it starts, and ignores SIGPIPE.
// Returns the blocked ones, for sigwait(3) or signalfd(2).
sigset_t block_end_signals();

// Writes "PROGRAM: TEXT" as one line on standard error, in one piece: any thread may call it.
void report_line(const std::string &program, const std::string &text);

// A main function: reads the command line, serves, and reports what ends it. Returns the exit
// status.
int run_daemon(const cli::Command &program, int argc, char **argv,
               const std::function<void()> &serve);

}  // namespace tarnctl

#endif
