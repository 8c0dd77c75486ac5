// SPDX-License-Identifier: Apache-2.0
#include "program.h"

#include "commands/command.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
A table is named as `tbl_ldap_conn` or `ldap_conn`; where a store holds several of it,
as `tbl_ldap_conn:NAME` or `tbl_ldap_conn#ID`. The store file is that of --store or of
the environment's TARNBASE_STORE.

Exit status: 0 done; 1 nothing found, or a difference; 2 wrong arguments; 3 data that
can't be read; 4 a store or a file that can't be used.)";

}  // namespace

std::unique_ptr<CLI::App> make_program(Exit &status) {
    auto program = std::make_unique<CLI::App>(
        "Shows, changes and moves what is in the stores of tarnbase.", "tarnctl");
    program->set_version_flag("--version", "tarnctl " TARNBASE_VERSION);
    program->require_subcommand(1);
    program->footer(footer);
    for (const Declaration declare : commands) declare(*program, status);
    return program;
}

}  // namespace tarnctl
