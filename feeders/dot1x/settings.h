// SPDX-License-Identifier: Apache-2.0
//
// The command line of tarn-dot1x, and its file of settings.
#ifndef FEEDERS_DOT1X_SETTINGS_H
#define FEEDERS_DOT1X_SETTINGS_H

#include <memory>
#include <string>
#include <vector>

#include "cli/command.h"
#include "common/log.h"
#include "common/store.h"
#include "port_service.h"
#include "radius.h"

namespace tarn_dot1x {

enum ExitCode { kDone = 0, kMalformed = 1, kUsage = 2, kNoIndex = 3, kUnreachable = 4, kStore = 5 };

struct Settings {
    feeder::StoreSettings store;
    feeder::LogSettings log;
    std::string folder;  // of control sockets: run as a service
    std::string recordings;
    std::vector<std::string> sockets;
    std::vector<std::string> ports;
    std::vector<std::string> servers;
    double interval_seconds = 30;
    double poll_seconds = 0;
    bool once = false;
    bool strict = false;
    bool json = false;
    bool verbose = false;
};

// The options, which set `settings`.
std::unique_ptr<cli::Command> make_program(Settings &settings);

// Throws UsageError.
ServerNames server_names(const Settings &settings);
ServiceSettings service_settings(const Settings &settings);

}  // namespace tarn_dot1x

#endif
