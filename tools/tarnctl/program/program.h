// SPDX-License-Identifier: Apache-2.0
//
// The program's command line: its commands and the options of all of them.
#ifndef TARNCTL_PROGRAM_PROGRAM_H
#define TARNCTL_PROGRAM_PROGRAM_H

#include <memory>

#include "base/failure.h"
#include "cli/command.h"

namespace tarnctl {

// The actions leave through `status` what main exits with.
std::unique_ptr<cli::Command> make_program(Exit &status);

}  // namespace tarnctl

#endif
