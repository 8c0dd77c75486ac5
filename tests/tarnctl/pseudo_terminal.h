// SPDX-License-Identifier: Apache-2.0
//
// tarnctl on a terminal.
#ifndef TESTS_TARNCTL_PSEUDO_TERMINAL_H
#define TESTS_TARNCTL_PSEUDO_TERMINAL_H

#include <map>
#include <string>
#include <vector>

namespace tarnctl_test {

struct TerminalOutcome {
    int exit_code = -1;   // or minus the signal that ended the program
    std::string written;  // output and errors, as the terminal got them, with plain line ends
};

struct Terminal {
    unsigned short columns = 80;
    std::string locale = "C.UTF-8";
    // Variables of the environment beside TERM=xterm, LC_ALL and PAGER=cat.
    std::map<std::string, std::string> environment;
};

// Runs tarnctl with all three standard files on a terminal.
TerminalOutcome on_terminal(const std::vector<std::string> &arguments,
                            const Terminal &terminal = Terminal());

}  // namespace tarnctl_test

#endif
