// SPDX-License-Identifier: Apache-2.0
#include "exporter/settings.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "base/failure.h"
#include "cli/config_file.h"

namespace exporter {
namespace {

using tarnctl::Exit;
using tarnctl::Failure;

const ListenAddress usual_address{"127.0.0.1", 9595, false};

constexpr const char *notes = R"(
STORE is the folder of a store, or NAME=FOLDER. NAME is what metrics and the API call
the store; by default it is the folder's name without what follows a dot. A store that
doesn't exist yet is opened when it does. The exporter reads the stores' files and
changes nothing: nobody waits for it.

`/` is a page that shows all of it in a browser. `/metrics` has the figures of all
tables for Prometheus, `/api/v1/tables` the tables and their records as JSON, as they
are or, with `?at=TIME`, as they were, `/api/v1/schema` what they mean,
`/api/v1/changes` the changes as server-sent events, and `/healthz` whether all stores
are open.

ADDRESS is `127.0.0.1:9595` by default; `[::1]:9595` and `unix:PATH` are others. With
--token-file a request needs the header `Authorization: Bearer TOKEN`, except for
`/healthz` and the files of the page, into which the token is typed. There is no
encryption: an address that others reach needs a proxy before it.

On an address that only this machine reaches, requests are refused whose header Host
has another name than `localhost`, that address, or one of --host: a site could read the
stores through a browser otherwise.

What a store was, and the history of a record, are read by a process for each request.
--max-past and --past-time limit them.

SIGTERM and SIGINT end the exporter; its exit status is then 0.

Examples:
  tarn-exporter /var/lib/tarnbase/net.store
  tarn-exporter --listen 192.0.2.1:9595 --token-file token net=/srv/net.store
  tarn-exporter --config /etc/tarnbase/tarn-exporter.toml
  curl 'http://127.0.0.1:9595/api/v1/tables/ldap_conn?where=num_conns>0')";

NamedStore named_store(const std::string &word) {
    const std::size_t sign = word.find('=');
    const std::string path = sign == std::string::npos ? word : word.substr(sign + 1);
    std::filesystem::path folder(path);
    if (!folder.has_filename()) folder = folder.parent_path();
    const std::string name =
        sign == std::string::npos ? folder.stem().string() : word.substr(0, sign);
    if (name.empty() || path.empty()) throw cli::UsageError("expected FOLDER or NAME=FOLDER");
    return {name, path};
}

}  // namespace

std::unique_ptr<cli::Command> make_program(Settings &settings) {
    auto program = std::make_unique<cli::Command>(
        "tarn-exporter", "Serves the contents of tarnbase stores over HTTP.");
    program->add_help("tarn-exporter " TARNBASE_VERSION);
    const auto take_store = [&settings](const std::string &word) {
        settings.stores.push_back(named_store(word));
    };
    const auto take_address = [&settings](const std::string &word) {
        settings.addresses.push_back(ListenAddress::parse(word));
    };
    const auto take_host = [&settings](const std::string &word) { settings.hosts.push_back(word); };
    program->argument("STORE", {take_store, {}, true}, "Stores to serve")
        .named("-s,--store")
        .required();
    program->option("-l,--listen", "ADDRESS", {take_address, {}, true},
                    "Where to listen; may be repeated");
    program->option("--host", "NAME", {take_host, {}, true},
                    "Another name that requests may be for, such as a proxy's; may be repeated");
    program->option("--token-file", "FILE", cli::into(settings.token_file),
                    "File whose first line is a token that requests must have");
    program->option("--max-series", "NUMBER", cli::number_into(settings.most_series, 1, 10'000'000),
                    "Series of a table in /metrics at most; 20000 by default");
    program->option("--max-streams", "NUMBER", cli::number_into(settings.most_streams, 1, 1000),
                    "Clients of /api/v1/changes at most; 16 by default");
    program->option("--history", "NUMBER", cli::number_into(settings.history, 1, 1'000'000),
                    "Transactions kept for clients that come back; 10000 by default");
    program->option("--max-past", "NUMBER", cli::number_into(settings.most_past, 1, 64),
                    "Requests about the past at once at most; 4 by default");
    program->option("--past-time", "SECONDS", cli::number_into(settings.past_seconds, 1, 3600),
                    "Time that each of them may take; 10 by default");
    cli::add_config_option(*program);
    program->notes = notes;
    program->statuses = tarnctl::exit_statuses();
    return program;
}

std::vector<ListenAddress> addresses_of(const Settings &settings) {
    for (auto each = settings.stores.begin(); each != settings.stores.end(); ++each) {
        if (std::any_of(settings.stores.begin(), each,
                        [&](const NamedStore &other) { return other.name == each->name; }))
            throw Failure(
                Exit::usage,
                fmt::format("two stores with the name {}: give one NAME=FOLDER", each->name));
    }
    if (settings.addresses.empty()) return {usual_address};
    return settings.addresses;
}

std::string token_of(const Settings &settings) {
    if (settings.token_file.empty()) return "";
    errno = 0;
    std::ifstream file(settings.token_file);
    std::string token;
    if (!file)
        throw Failure(Exit::store,
                      fmt::format("{}: {}", settings.token_file, std::strerror(errno)));
    std::getline(file, token);
    if (token.empty())
        throw Failure(Exit::data,
                      fmt::format("{}: expected a token in the first line", settings.token_file));
    return token;
}

}  // namespace exporter
