// SPDX-License-Identifier: Apache-2.0
#include "settings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>

#include "cli/config_file.h"
#include "common/service.h"

namespace tarn_radius {
namespace {

constexpr uint16_t kStatusPort = 18121;
constexpr uint16_t kHomePort = 1812;
constexpr uint16_t kNoPort = 0;

constexpr const char *kNotes = R"(
Each server is sent Status-Server packets with FreeRADIUS's request for statistics, so it needs a
virtual server with a listener of type "status" and this machine as its client. What it counts is
kept in tbl_aaa_servers:radius, in records named

  SERVER           the server, all of its clients as one
  SERVER/ADDRESS   its traffic with one client, or with one of its home servers

A server that replies is alive. One that doesn't, to three packets in a row, is dead until it does,
and its counters stay. They begin again at 0 when the server is restarted.

Options with SERVER= can be given for each server; ADDRESS is of IPv4 or IPv6, with a port
192.0.2.2:1812 or [2001:db8::2]:1812. A file of settings has lists of them.

Examples:
  tarn-radius -s radius.store --server main=192.0.2.2 --secret-file main.secret
  tarn-radius --config /etc/tarnbase/tarn-radius.toml)";

struct Named {
    std::string name;
    std::string value;
};

Named split(const std::string &option, const std::string &word, const char *expected) {
    const size_t sign = word.find('=');
    if (sign == std::string::npos || sign == 0 || sign + 1 == word.size())
        throw cli::UsageError(option + " " + word + ": expected " + expected);
    return {word.substr(0, sign), word.substr(sign + 1)};
}

Endpoint endpoint_of(const std::string &option, const Named &named, uint16_t port) {
    try {
        return Endpoint::parse(named.value, port);
    } catch (const cli::UsageError &error) {
        throw cli::UsageError(option + " " + named.name + "=" + named.value + ": " + error.what());
    }
}

std::string first_line_of(const std::string &path) {
    errno = 0;
    std::ifstream file(path);
    std::string line;
    if (!file) throw cli::UsageError(path + ": " + std::strerror(errno));
    getline(file, line);
    if (file.bad()) throw cli::UsageError(path + ": " + std::strerror(errno));
    if (line.ends_with('\r')) line.pop_back();
    if (line.empty()) throw cli::UsageError(path + ": expected a secret in the first line");
    return line;
}

Server *find(std::vector<Server> &servers, const std::string &name) {
    const auto found = std::ranges::find_if(
        servers, [&](const Server &each) { return each.settings.name == name; });
    return found == servers.end() ? nullptr : &*found;
}

void add_server(const std::string &word, std::vector<Server> &servers) {
    const Named named = split("--server", word, "NAME=ADDRESS or NAME=ADDRESS:PORT");
    // It is between a server and its client in the name of a row.
    if (named.name.find('/') != std::string::npos)
        throw cli::UsageError("--server " + word + ": expected a name without `/`");
    if (find(servers, named.name) != nullptr)
        throw cli::UsageError("--server " + word + ": there is another one of this name");
    const Endpoint endpoint = endpoint_of("--server", named, kStatusPort);
    servers.push_back({{named.name, endpoint, "", {{}}}, {named.name}});
}

void add_subject(const std::string &option, const std::string &word, Subject::Kind kind,
                 std::vector<Server> &servers) {
    const Named named = split(option, word, "SERVER=ADDRESS");
    Server *server = find(servers, named.name);
    if (server == nullptr)
        throw cli::UsageError(option + " " + word + ": expected the name of a --server");
    const bool is_client = kind == Subject::Kind::client;
    const Endpoint endpoint = endpoint_of(option, named, is_client ? kNoPort : kHomePort);
    if (is_client && endpoint.port() != kNoPort)
        throw cli::UsageError(option + " " + word + ": expected an address without a port");
    const std::string row = named.name + "/" + named.value;
    const bool is_known = std::ranges::any_of(server->settings.subjects, [&](const Subject &each) {
        return each.kind == kind && each.endpoint == endpoint;
    });
    if (is_known || std::ranges::count(server->rows, row) > 0)
        throw cli::UsageError(option + " " + word + ": this address is given twice");
    server->settings.subjects.push_back({kind, endpoint});
    server->rows.push_back(row);
}

void add_secrets(const Settings &settings, std::vector<Server> &servers) {
    std::optional<std::string> others;
    for (const std::string &word : settings.secret_files) {
        Server *server = find(servers, word.substr(0, word.find('=')));
        if (server != nullptr && word.find('=') != std::string::npos) {
            if (!server->settings.secret.empty())
                throw cli::UsageError("--secret-file " + word +
                                      ": there is another one for this server");
            server->settings.secret = first_line_of(word.substr(word.find('=') + 1));
        } else if (others) {
            throw cli::UsageError("--secret-file " + word +
                                  ": there is another one for all servers");
        } else {
            others = first_line_of(word);
        }
    }
    for (Server &each : servers) {
        if (each.settings.secret.empty() && others) each.settings.secret = *others;
        if (each.settings.secret.empty())
            throw cli::UsageError("--server " + each.settings.name + ": expected a --secret-file");
    }
}

}  // namespace

std::unique_ptr<cli::Command> make_program(Settings &settings) {
    auto made = std::make_unique<cli::Command>(
        "tarn-radius", "Keeps what RADIUS servers count in a table of a store.");
    cli::Command &program = *made;
    program.add_help(std::string("tarn-radius ") + TARNBASE_VERSION);
    program.notes = kNotes;
    program.statuses = {{kDone, "done"},
                        {kUsage, "the arguments are wrong, or a secret can't be read"},
                        {kUnreachable, "this machine has no socket for a server's address"},
                        {kStore, "the store failed"}};
    feeder::add_store_options(program, settings.store);
    program
        .option("--server", "NAME=ADDRESS[:PORT]", cli::into(settings.servers),
                "A server to poll, and its name; the port is 18121 by default")
        .required();
    program
        .option("--secret-file", "[SERVER=]FILE", cli::into(settings.secret_files),
                "File whose first line is the secret of this server, or of all others")
        .required();
    program.option("--client", "SERVER=ADDRESS", cli::into(settings.clients),
                   "A client whose traffic with the server is kept too");
    program.option("--home-server", "SERVER=ADDRESS[:PORT]", cli::into(settings.home_servers),
                   "A home server of this proxy, port 1812 by default");
    program.option("--interval", "SECONDS",
                   cli::seconds_into(settings.interval_seconds, 0.1, 86400),
                   "Time between two polls; 10 by default");
    program.option(
        "--patience", "SECONDS", cli::seconds_into(settings.patience_seconds, 0.01, 60),
        "How long to wait for the first reply; 1 by default, then twice and four times it");
    cli::add_config_option(program);
    feeder::add_log_options(program, settings.log);
    return made;
}

std::vector<Server> servers_of(const Settings &settings) {
    std::vector<Server> servers;
    for (const std::string &word : settings.servers) add_server(word, servers);
    for (const std::string &word : settings.clients)
        add_subject("--client", word, Subject::Kind::client, servers);
    for (const std::string &word : settings.home_servers)
        add_subject("--home-server", word, Subject::Kind::home_server, servers);
    add_secrets(settings, servers);
    return servers;
}

Timing timing_of(const Settings &settings) {
    const auto milliseconds = [](double seconds) {
        return std::chrono::milliseconds(int64_t(seconds * 1000));
    };
    return {milliseconds(settings.interval_seconds), milliseconds(settings.patience_seconds)};
}

}  // namespace tarn_radius
