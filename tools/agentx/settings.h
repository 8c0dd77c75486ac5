// SPDX-License-Identifier: Apache-2.0
//
// The command line of tarn-agentx.
#ifndef TOOLS_AGENTX_SETTINGS_H
#define TOOLS_AGENTX_SETTINGS_H

#include <cstdint>
#include <memory>
#include <string>

#include "agentx/oid.h"
#include "cli/command.h"

namespace agentx {

struct Settings {
    std::string store;
    std::string socket = "/var/agentx/master";
    Oid base;
    uint16_t tenant = 0;
    uint64_t most_notifications = 60;
    bool traces = false;
};

// The program, whose command line is read into `settings`.
std::unique_ptr<cli::Command> make_program(Settings &settings);

}  // namespace agentx

#endif
