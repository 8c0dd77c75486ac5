// SPDX-License-Identifier: Apache-2.0
//
// The commands of `tarnctl store` that have a file of their own.
#ifndef TARNCTL_COMMANDS_STORE_H
#define TARNCTL_COMMANDS_STORE_H

#include "base/failure.h"
#include "cli/command.h"

namespace tarnctl {

void declare_store_backup(cli::Command &group);
void declare_store_check(cli::Command &group, Exit &status);
void declare_store_compact(cli::Command &group);
void declare_store_info(cli::Command &group);
void declare_store_salvage(cli::Command &group, Exit &status);

}  // namespace tarnctl

#endif
