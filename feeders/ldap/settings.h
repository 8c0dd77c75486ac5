// SPDX-License-Identifier: Apache-2.0
//
// The command line of tarn-ldap, and its file of settings.
#ifndef FEEDERS_LDAP_SETTINGS_H
#define FEEDERS_LDAP_SETTINGS_H

#include <memory>
#include <string>

#include "cli/command.h"
#include "common/log.h"
#include "input.h"
#include "job.h"
#include "monitor.h"

namespace tarn_ldap {

struct Settings {
    JobOptions job;
    InputOptions input;
    double idle_seconds = 0;
    bool strict = false;
    bool json = false;

    bool service = false;
    std::string unit;               // whose messages in the journal are the log
    std::string journal_directory;  // of the journal's files
    MonitorSettings monitor;        // without a URL there is none
    feeder::LogSettings log;
};

// The program, which sets `settings`.
std::unique_ptr<cli::Command> make_program(Settings &settings);
// Throws cli::UsageError for settings that don't belong together.
void check(const Settings &settings);

}  // namespace tarn_ldap

#endif
