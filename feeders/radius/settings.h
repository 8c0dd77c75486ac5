// SPDX-License-Identifier: Apache-2.0
//
// The command line of tarn-radius, and its file of settings.
#ifndef FEEDERS_RADIUS_SETTINGS_H
#define FEEDERS_RADIUS_SETTINGS_H

#include <memory>
#include <string>
#include <vector>

#include "cli/command.h"
#include "common/log.h"
#include "common/store.h"
#include "server_watch.h"

namespace tarn_radius {

enum ExitCode { kDone = 0, kUsage = 2, kUnreachable = 4, kStore = 5 };

// The words of the command line or of the file, "SERVER=..." each.
struct Settings {
    feeder::StoreSettings store;
    feeder::LogSettings log;
    std::vector<std::string> servers;
    std::vector<std::string> secret_files;
    std::vector<std::string> clients;
    std::vector<std::string> home_servers;
    double interval_seconds = 10;
    double patience_seconds = 1;
};

// What to poll, and the name of each subject's row.
struct Server {
    ServerSettings settings;
    std::vector<std::string> rows;
};

// The program, which sets `settings`.
std::unique_ptr<cli::Command> make_program(Settings &settings);

// Reads the secrets. Throws cli::UsageError.
std::vector<Server> servers_of(const Settings &settings);
Timing timing_of(const Settings &settings);

}  // namespace tarn_radius

#endif
