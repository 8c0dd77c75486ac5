// SPDX-License-Identifier: Apache-2.0
//
// What can stand next on a command line, found from the declarations of the commands themselves.
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
    bool files = false;  // the shell's own completion of files is meant
    bool open = false;   // the word goes on: no blank behind it
    std::vector<Candidate> candidates;
};

// `words` are those behind the program's name; the last one, which may be empty, is completed. The
// arguments are known by the names of their values: TABLE, TYPE, FIELD, KEY, FILE and so on.
Completion complete(const cli::Command &program, const std::vector<std::string> &words);

}  // namespace tarnctl

#endif
