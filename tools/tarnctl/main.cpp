// SPDX-License-Identifier: Apache-2.0
//
// tarnctl: a store seen, changed, moved and understood from the shell.
#include <clocale>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "program.h"

namespace {

int fail(tarnctl::Exit code, const std::string &text) {
    std::cout.flush();
    std::cerr << "tarnctl: " << text << '\n';
    return static_cast<int>(code);
}

// Help, the version, or what is wrong with the arguments: a command that there isn't is told
// first, since nothing behind it can be right.
int answer(const CLI::App &program, const CLI::ParseError &error, int argc, char **argv) {
    if (error.get_exit_code() == 0) return program.exit(error);
    const std::string first = argc > 1 ? argv[1] : "-";
    std::vector<std::string_view> names;
    bool known = false;
    for (const CLI::App *command : program.get_subcommands([](const CLI::App *) { return true; })) {
        names.push_back(command->get_name());
        known = known || command->get_name() == first;
    }
    const std::string text =
        known || first.starts_with('-')
            ? std::string(error.what())
            : tarnctl::no_such(tarnctl::Exit::usage, "command", first, names).what();
    return fail(tarnctl::Exit::usage,
                text + "\nTry `tarnctl" + (known ? " " + first : "") + " --help`.");
}

}  // namespace

int main(int argc, char **argv) {
    // Only for the width of characters on a terminal: numbers are written alike everywhere.
    std::setlocale(LC_CTYPE, "");
    tarnctl::Exit status = tarnctl::Exit::done;
    const auto program = tarnctl::make_program(status);
    try {
        program->parse(argc, argv);
        std::cout.flush();
        if (!std::cout) return fail(tarnctl::Exit::store, "standard output can't be written");
        return static_cast<int>(status);
    } catch (const CLI::ParseError &error) {
        return answer(*program, error, argc, argv);
    } catch (const tarnctl::Failure &failure) {
        return fail(failure.code(), failure.what());
    } catch (const std::exception &error) {
        return fail(tarnctl::Exit::store, error.what());
    }
}
