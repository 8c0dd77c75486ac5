// SPDX-License-Identifier: Apache-2.0
//
// The commands. Each is declared by one function in a file of its own, which adds a subcommand to
// the program with its options, its help and, as its callback, what it does. A callback throws a
// Failure to end otherwise than well; one that answers by its exit status alone ("nothing found",
// "the stores differ") stores it through `status`.
#ifndef TARNCTL_COMMANDS_COMMAND_H
#define TARNCTL_COMMANDS_COMMAND_H

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <string>

#include "base/failure.h"

namespace tarnctl {

using Declaration = void (*)(CLI::App &program, Exit &status);

void declare_completion(CLI::App &program, Exit &status);
void declare_decode(CLI::App &program, Exit &status);
void declare_delete(CLI::App &program, Exit &status);
void declare_describe(CLI::App &program, Exit &status);
void declare_diff(CLI::App &program, Exit &status);
void declare_export(CLI::App &program, Exit &status);
void declare_find(CLI::App &program, Exit &status);
void declare_get(CLI::App &program, Exit &status);
void declare_import(CLI::App &program, Exit &status);
void declare_insert(CLI::App &program, Exit &status);
void declare_manifest(CLI::App &program, Exit &status);
void declare_minutes(CLI::App &program, Exit &status);
void declare_set(CLI::App &program, Exit &status);
void declare_show(CLI::App &program, Exit &status);
void declare_store(CLI::App &program, Exit &status);
void declare_tables(CLI::App &program, Exit &status);
void declare_variants(CLI::App &program, Exit &status);
void declare_watch(CLI::App &program, Exit &status);

// The declarations in the order of the help.
inline constexpr Declaration commands[] = {
    declare_store,    declare_tables,   declare_describe,   declare_show,   declare_get,
    declare_find,     declare_insert,   declare_set,        declare_delete, declare_export,
    declare_import,   declare_diff,     declare_watch,      declare_decode, declare_minutes,
    declare_variants, declare_manifest, declare_completion,
};

// Options that several commands have, with one wording.
// -s, --store FILE: required; by default the environment's TARNBASE_STORE.
CLI::Option *add_store_option(CLI::App &command, std::string &path);
// --json
CLI::Option *add_json_option(CLI::App &command, bool &json);
// -t, --tenant NUMBER, from 0 to 65535, and --source NUMBER, from 0 to 255: `take` gets what is
// given.
CLI::Option *add_tenant_option(CLI::App &command, std::function<void(uint16_t)> take,
                               const std::string &meaning);
CLI::Option *add_source_option(CLI::App &command, std::function<void(uint8_t)> take,
                               const std::string &meaning);

}  // namespace tarnctl

#endif
