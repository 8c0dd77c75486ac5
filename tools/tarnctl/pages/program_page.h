// SPDX-License-Identifier: Apache-2.0
//
// The manual page of a program that has no commands, from the texts of its --help.
#ifndef TARNCTL_PAGES_PROGRAM_PAGE_H
#define TARNCTL_PAGES_PROGRAM_PAGE_H

#include <string>

#include "cli/command.h"

namespace tarnctl {

struct ProgramPage {
    std::string program;
    std::string summary;   // as apropos(1) shows it
    std::string see_also;  // a line of roff
};

// The main function of a maker of such a page, which is called with the file's name: its exit
// status.
int write_program_page(const ProgramPage &page, const cli::Command &program, int argc, char **argv);

}  // namespace tarnctl

#endif
