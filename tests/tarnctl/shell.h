// SPDX-License-Identifier: Apache-2.0
//
// A shell with tarnctl's completion, and words typed at its prompt.
#ifndef TESTS_TARNCTL_SHELL_H
#define TESTS_TARNCTL_SHELL_H

#include <string>

namespace tarnctl_test {

bool has_shell(const std::string &shell);

// The command line after `typed` and a tab, in a folder that holds the store of WithStore.
std::string complete_in(const std::string &shell, const std::string &typed);

}  // namespace tarnctl_test

#endif
