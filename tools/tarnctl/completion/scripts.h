// SPDX-License-Identifier: Apache-2.0
//
// The scripts with which shells complete the program's command lines. They call the program, so
// that they need no change for new commands, tables and fields:
//
//   tarnctl completion --candidates
//     reads the words after the program's name, up to the one being written, each followed by a
//     NUL, and prints lines: "files" if the shell is to complete file names, "open" if no blank
//     follows the word, or "words"; then the candidates, each followed by a tab and its meaning.
#ifndef TARNCTL_COMPLETION_SCRIPTS_H
#define TARNCTL_COMPLETION_SCRIPTS_H

#include <string_view>

namespace tarnctl {

extern const std::string_view bash_script;
extern const std::string_view zsh_script;
extern const std::string_view fish_script;

}  // namespace tarnctl

#endif
