// SPDX-License-Identifier: Apache-2.0
//
// The sections of a program's manual page, from the description of its command line.
#ifndef TARNCTL_PAGES_SECTIONS_H
#define TARNCTL_PAGES_SECTIONS_H

#include <string>

#include "cli/command.h"
#include "pages/roff.h"

namespace tarnctl {

// A line of roff: the command with its arguments.
std::string synopsis(const cli::Command &command);
void write_options(Page &page, const cli::Command &command);
// Notes are paragraphs with an empty line between them. One that starts with "Example:" or
// "Examples:" becomes a section of unfilled lines.
void write_notes(Page &page, const std::string &notes);
// The exit statuses, and other pages, as a line of roff.
void write_end(Page &page, const std::string &see_also);

}  // namespace tarnctl

#endif
