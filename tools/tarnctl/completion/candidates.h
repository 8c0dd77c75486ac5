// SPDX-License-Identifier: Apache-2.0
//
// The candidates for the next word of a command line, from the declarations of the commands.
#ifndef TARNCTL_COMPLETION_CANDIDATES_H
#define TARNCTL_COMPLETION_CANDIDATES_H

#include <string>
#include <vector>

#include "cli/command.h"

namespace tarnctl {

struct Candidate {
    std::string text;     // the whole word
    std::string meaning;  // for shells that show one
};

struct Completion {
    bool files = false;  // the shell completes file names
    bool open = false;   // the word goes on: no blank after it
    std::vector<Candidate> candidates;
};

// `words` are those after the program's name; the last one, which may be empty, is completed. The
// names of their values identify arguments: TABLE, TYPE, FIELD, KEY, FILE, STORE and so on.
Completion complete(const cli::Command &program, const std::vector<std::string> &words);

}  // namespace tarnctl

#endif
