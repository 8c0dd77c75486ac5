// SPDX-License-Identifier: Apache-2.0
#include "program/program.h"

#include <string>

#include "commands/command.h"
#include "terminal/screen.h"

namespace tarnctl {
namespace {

constexpr const char *notes = R"(
A table is named as `tbl_ldap_conn` or `ldap_conn`, or, if a store has several of this
type, as `tbl_ldap_conn:NAME` or `tbl_ldap_conn#ID`. The store is that of --store or
of TARNBASE_STORE in the environment.)";

void set_colours(const std::string &when) {
    screen_settings().colours = when == "always"  ? Colours::always
                                : when == "never" ? Colours::never
                                                  : Colours::automatic;
}

void add_screen_options(cli::Command &program) {
    program.option("--color", "WHEN", cli::one_of({"auto", "always", "never"}, set_colours),
                   "When to use colours: auto (on a terminal, unless NO_COLOR is set), always or "
                   "never");
    program.flag(
        "--no-pager", [] { screen_settings().pager = false; },
        "On a terminal, print at once instead of through PAGER or less");
}

}  // namespace

std::unique_ptr<cli::Command> make_program(Exit &status) {
    auto program = std::make_unique<cli::Command>(
        "tarnctl", "Shows, changes and copies the contents of tarnbase stores.");
    program->add_help("tarnctl " TARNBASE_VERSION);
    program->option("-s,--store", "STORE", {}, "Name of the command's store").passed_on();
    add_screen_options(*program);
    program->notes = notes;
    program->statuses = exit_statuses();
    for (const Declaration declare : commands) declare(*program, status);
    return program;
}

}  // namespace tarnctl
