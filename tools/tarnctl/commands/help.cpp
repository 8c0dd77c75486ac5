// SPDX-License-Identifier: Apache-2.0
//
// tarnctl help: what --help prints, of the program or of a command.
#include "cli/help.h"

#include <iostream>
#include <memory>

#include "cli/parser.h"
#include "commands/command.h"
#include "terminal/pager.h"

namespace tarnctl {
namespace {

const cli::Command &command_of(const cli::Command &program, const std::vector<std::string> &names) {
    const cli::Command *command = &program;
    for (const std::string &name : names) {
        const cli::Command *inner = command->command_named(name);
        if (inner == nullptr) throw cli::no_command(*command, name);
        command = inner;
    }
    return *command;
}

}  // namespace

void declare_help(cli::Command &program, Exit & /*status*/) {
    const auto names = std::make_shared<std::vector<std::string>>();
    cli::Command &command = program.command("help", "Print the help of the program or a command");
    command.argument("COMMAND", cli::into(*names),
                     "The command, such as show or store create; the program by default");
    command.notes = "Examples:\n  tarnctl help show\n  tarnctl help store create";
    command.action = [names, &program] {
        const std::string text = cli::help_of(command_of(program, *names), cli::screen_width());
        const Pager pager;
        std::cout << text;
    };
}

}  // namespace tarnctl
