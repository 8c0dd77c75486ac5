// SPDX-License-Identifier: Apache-2.0
//
// tarnctl: shows, changes, copies and explains a store from the shell.
#include <clocale>
#include <iostream>
#include <string>

#include "cli/start.h"
#include "program/program.h"
#include "terminal/screen.h"

namespace {

// Escapes the text, which may quote names and keys of a store.
int fail(tarnctl::Exit code, const std::string &text) {
    std::cout.flush();
    std::cerr << "tarnctl: " << tarnctl::shown_lines(text, tarnctl::output_screen()) << '\n';
    return static_cast<int>(code);
}

}  // namespace

int main(int argc, char **argv) {
    // Only for the width of characters: the form of numbers doesn't depend on the locale.
    std::setlocale(LC_CTYPE, "");
    tarnctl::Exit status = tarnctl::Exit::done;
    const auto program = tarnctl::make_program(status);
    try {
        const cli::Start start = cli::start(*program, argc, argv);
        if (start.command == nullptr) return start.status;
        start.command->action();
        std::cout.flush();
        if (!std::cout) return fail(tarnctl::Exit::store, "standard output can't be written");
        return static_cast<int>(status);
    } catch (const cli::LineError &error) {
        return cli::report(*program, error);
    } catch (const tarnctl::Failure &failure) {
        return fail(failure.code(), failure.what());
    } catch (const std::exception &error) {
        return fail(tarnctl::Exit::store, error.what());
    }
}
