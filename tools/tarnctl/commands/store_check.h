// SPDX-License-Identifier: Apache-2.0
#ifndef TARNCTL_COMMANDS_STORE_CHECK_H
#define TARNCTL_COMMANDS_STORE_CHECK_H

#include "base/failure.h"
#include "cli/command.h"

namespace tarnctl {

// Declares `check` in the group `store`.
void declare_store_check(cli::Command &group, Exit &status);

}  // namespace tarnctl

#endif
