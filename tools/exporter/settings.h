// SPDX-License-Identifier: Apache-2.0
//
// The command line of tarn-exporter.
#ifndef TOOLS_EXPORTER_SETTINGS_H
#define TOOLS_EXPORTER_SETTINGS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/command.h"
#include "exporter/listener.h"

namespace exporter {

struct NamedStore {
    std::string name;
    std::string path;
};

struct Settings {
    std::vector<NamedStore> stores;
    std::vector<ListenAddress> addresses;  // none: the usual one
    std::vector<std::string> hosts;        // names of a proxy
    std::string token_file;
    uint64_t most_series = 20000;
    uint64_t most_streams = 16;
    uint64_t history = 10000;
    uint64_t most_past = 4;
    uint64_t past_seconds = 10;
};

// The program, whose command line is read into `settings`.
std::unique_ptr<cli::Command> make_program(Settings &settings);
// The addresses to listen on. Failure `usage` if two stores have the same name.
std::vector<ListenAddress> addresses_of(const Settings &settings);
// The token in the file, or nothing if there is no file. Failure `store` if it can't be read,
// `data` if it has no token.
std::string token_of(const Settings &settings);

}  // namespace exporter

#endif
