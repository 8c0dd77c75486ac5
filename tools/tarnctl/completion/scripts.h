// SPDX-License-Identifier: Apache-2.0
//
// The scripts that teach a shell to complete the program's command lines. They ask the program
// itself, so that they hold for every command, table and field that it will ever have:
//
//   tarnctl completion --candidates
//     takes the words behind the program's name, up to the one being written, each with a NUL
//     behind it, and answers lines: "files", where the shell's own completion of files is meant,
//     "open", where no blank belongs behind the word, or "words"; then the candidates, each with a
//     tab and its meaning behind it.
#ifndef TARNCTL_COMPLETION_SCRIPTS_H
#define TARNCTL_COMPLETION_SCRIPTS_H

#include <string_view>

namespace tarnctl {

extern const std::string_view bash_script;
extern const std::string_view zsh_script;
extern const std::string_view fish_script;

}  // namespace tarnctl

#endif
