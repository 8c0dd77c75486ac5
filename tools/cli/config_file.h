// SPDX-License-Identifier: Apache-2.0
//
// Configuration files: TOML, a key for each long option of the command line.
#ifndef TOOLS_CLI_CONFIG_FILE_H
#define TOOLS_CLI_CONFIG_FILE_H

#include <string>
#include <vector>

#include "cli/command.h"

namespace cli {

// The settings of a file. Throws UsageError, "FILE:LINE: ...".
std::vector<Setting> read_config(const std::string &path);

// Adds --config. A file's settings count where the command line has none of that name.
void add_config_option(Command &program);

}  // namespace cli

#endif
