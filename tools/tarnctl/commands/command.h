// SPDX-License-Identifier: Apache-2.0
//
// The commands. A function in a file of its own declares each: its arguments, options, help and
// action. An action fails by throwing a Failure. One whose result is the exit status ("nothing
// found", "the stores differ") stores it through `status`.
#ifndef TARNCTL_COMMANDS_COMMAND_H
#define TARNCTL_COMMANDS_COMMAND_H

#include "base/failure.h"
#include "cli/command.h"

namespace tarnctl {

using Declaration = void (*)(cli::Command &program, Exit &status);

void declare_completion(cli::Command &program, Exit &status);
void declare_decode(cli::Command &program, Exit &status);
void declare_delete(cli::Command &program, Exit &status);
void declare_describe(cli::Command &program, Exit &status);
void declare_diff(cli::Command &program, Exit &status);
void declare_export(cli::Command &program, Exit &status);
void declare_find(cli::Command &program, Exit &status);
void declare_get(cli::Command &program, Exit &status);
void declare_help(cli::Command &program, Exit &status);
void declare_history(cli::Command &program, Exit &status);
void declare_import(cli::Command &program, Exit &status);
void declare_insert(cli::Command &program, Exit &status);
void declare_journal(cli::Command &program, Exit &status);
void declare_log(cli::Command &program, Exit &status);
void declare_manifest(cli::Command &program, Exit &status);
void declare_minutes(cli::Command &program, Exit &status);
void declare_revert(cli::Command &program, Exit &status);
void declare_set(cli::Command &program, Exit &status);
void declare_show(cli::Command &program, Exit &status);
void declare_store(cli::Command &program, Exit &status);
void declare_table(cli::Command &program, Exit &status);
void declare_tables(cli::Command &program, Exit &status);
void declare_top(cli::Command &program, Exit &status);
void declare_variants(cli::Command &program, Exit &status);
void declare_watch(cli::Command &program, Exit &status);

// The declarations in the order of the help.
inline constexpr Declaration commands[] = {
    declare_store,   declare_journal,  declare_tables,   declare_table,      declare_describe,
    declare_show,    declare_get,      declare_find,     declare_insert,     declare_set,
    declare_delete,  declare_export,   declare_import,   declare_diff,       declare_watch,
    declare_top,     declare_log,      declare_history,  declare_revert,     declare_decode,
    declare_minutes, declare_variants, declare_manifest, declare_completion, declare_help,
};

}  // namespace tarnctl

#endif
