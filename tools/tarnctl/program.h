// SPDX-License-Identifier: Apache-2.0
//
// The program's command line: what main runs, and what the man pages and the completions are made
// of.
#ifndef TARNCTL_PROGRAM_H
#define TARNCTL_PROGRAM_H

#include <CLI/CLI.hpp>
#include <memory>

#include "base/failure.h"

namespace tarnctl {

// All commands. Running one stores its status through `status`, which must outlive the program.
std::unique_ptr<CLI::App> make_program(Exit &status);

}  // namespace tarnctl

#endif
