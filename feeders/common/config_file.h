// SPDX-License-Identifier: Apache-2.0
//
// Configuration files: TOML, a key for each long option of the command line.
#ifndef FEEDERS_COMMON_CONFIG_FILE_H
#define FEEDERS_COMMON_CONFIG_FILE_H

#include <string>
#include <vector>

#include "cli/command.h"

namespace feeder {

// The settings of a file. Throws cli::UsageError, "FILE:LINE: ...".
std::vector<cli::Setting> read_config(const std::string &path);

// Adds --config. A file's settings count where the command line has none of that name.
void add_config_option(cli::Command &program);

}  // namespace feeder

#endif
