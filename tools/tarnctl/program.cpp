// SPDX-License-Identifier: Apache-2.0
#include "program.h"

#include <string>

#include "commands/command.h"
#include "help/format.h"
#include "terminal/screen.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
A table is named as `tbl_ldap_conn` or `ldap_conn`; where a store holds several of it,
as `tbl_ldap_conn:NAME` or `tbl_ldap_conn#ID`. The store file is that of --store or of
the environment's TARNBASE_STORE.

Exit status: 0 done; 1 nothing found, or a difference; 2 wrong arguments; 3 data that
can't be read; 4 a store or a file that can't be used.)";

void set_colours(const std::string &when) {
    screen_settings().colours = when == "always"  ? Colours::always
                                : when == "never" ? Colours::never
                                                  : Colours::automatic;
}

void add_screen_options(CLI::App &program) {
    program
        .add_option_function<std::string>("--color", set_colours,
                                          "When to use colours: auto (on a terminal, unless "
                                          "NO_COLOR is set), always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->type_name("WHEN");
    program.add_flag_callback(
        "--no-pager", [] { screen_settings().pager = false; },
        "On a terminal, print at once instead of through PAGER or less");
}

}  // namespace

std::unique_ptr<CLI::App> make_program(Exit &status) {
    auto program = std::make_unique<CLI::App>(
        "Shows, changes and moves what is in the stores of tarnbase.", "tarnctl");
    program->formatter(std::make_shared<HelpFormat>());
    program->set_version_flag("--version", "tarnctl " TARNBASE_VERSION);
    program->require_subcommand(1);
    // So that they can stand behind the command too; a command inherits it.
    program->fallthrough();
    add_screen_options(*program);
    program->footer(footer);
    for (const Declaration declare : commands) declare(*program, status);
    return program;
}

}  // namespace tarnctl
