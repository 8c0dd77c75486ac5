// SPDX-License-Identifier: Apache-2.0
#include "settings.h"

#include "cli/config_file.h"
#include "common/service.h"

namespace tarn_dot1x {
namespace {

constexpr const char *kNotes = R"(
A port's rows are keyed by the index of its interface:
  --control     the index of the interface that the socket is named after
  --recordings  the number at the end of the port's name: 3 of p3
  --port        what is given for a port's name, before either rule

A port's state, counters and sessions are stored while hostapd reports a client on it, and erased
after that; with several clients on a port the first authorised one counts, or else the first.
RADIUS servers are named by their address, or by --server; counters of ports that have one server
are added. If the program fails, nothing of the last poll is stored.

With --folder it is a service: it attaches to all control sockets in hostapd's folder,
also to those that come later, queries a port after each of its events, and all ports
each --interval. It owns the ports in the store: rows of ports that hostapd doesn't serve
are erased. SIGHUP queries all ports at once; SIGTERM and SIGINT end it with status 0. It
reports to systemd, with Type=notify and a watchdog.

Examples:
  tarn-dot1x --store ports.store --control /run/hostapd/eth1
  tarn-dot1x --store ports.store --folder /run/hostapd
  tarn-dot1x --config /etc/tarnbase/tarn-dot1x.toml)";

void add_service_options(cli::Command &program, Settings &settings) {
    program
        .option("--folder", "FOLDER", cli::into(settings.folder),
                "Serve all ports of hostapd's folder of control sockets, such as /run/hostapd")
        .excludes("recordings")
        .excludes("control")
        .excludes("poll")
        .excludes("once")
        .excludes("json")
        .excludes("strict");
    program
        .option("--interval", "SECONDS", cli::seconds_into(settings.interval_seconds, 0.1, 86400),
                "With --folder: query all ports again after so many seconds; 30 by default")
        .needs("folder");
    feeder::add_log_options(program, settings.log);
    cli::add_config_option(program);
}

void add_source_options(cli::Command &program, Settings &settings) {
    program.option("--recordings", "FOLDER", cli::into(settings.recordings),
                   "Folder of recorded answers, hostapd-NAME-all_sta.txt, -mib, -status; this or "
                   "--control is needed");
    program
        .option("--control", "SOCKET", cli::into(settings.sockets),
                "Control socket of hostapd, such as /run/hostapd/p1; one a port")
        .excludes("recordings");
    program.option("--port", "NAME=INDEX", cli::into(settings.ports), "The index of a port");
    program.option("--server", "NAME[=ADDRESS[:PORT]]", cli::into(settings.servers),
                   "The name of the RADIUS server of this address; without one, of all others");
    program.option("--poll", "SECONDS", cli::seconds_into(settings.poll_seconds, 0.001, 1e6),
                   "Poll again after so many seconds, until SIGINT or SIGTERM");
    program.flag("--once", settings.once, "Poll once, as without --poll").excludes("poll");
    program.flag("--strict", settings.strict, "Exit with 1 if a line was malformed");
    program.flag("--json", settings.json, "Print the result as JSON");
    program.flag("-v,--verbose", settings.verbose, "Print each poll on standard error");
}

}  // namespace

std::unique_ptr<cli::Command> make_program(Settings &settings) {
    auto made = std::make_unique<cli::Command>(
        "tarn-dot1x", "Keeps the state of hostapd's ports in the tables of a store.");
    cli::Command &program = *made;
    program.add_help(std::string("tarn-dot1x ") + TARNBASE_VERSION);
    program.notes = kNotes;
    program.statuses = {{kDone, "done"},
                        {kMalformed, "malformed lines, with --strict"},
                        {kUsage, "the arguments are wrong"},
                        {kNoIndex, "a port has no index, or another port's"},
                        {kUnreachable, "hostapd or a recording can't be reached"},
                        {kStore, "the store failed"}};
    feeder::add_store_options(program, settings.store);
    add_source_options(program, settings);
    add_service_options(program, settings);
    return made;
}

ServerNames server_names(const Settings &settings) {
    ServerNames names;
    for (const std::string &argument : settings.servers) {
        const size_t sign = argument.find('=');
        const std::string name = argument.substr(0, sign);
        if (name.empty()) throw UsageError("--server " + argument + ": expected a name");
        if (sign != std::string::npos) names.by_address[argument.substr(sign + 1)] = name;
        else if (names.others)
            throw UsageError("--server " + argument + ": all others are " + *names.others);
        else names.others = name;
    }
    return names;
}

ServiceSettings service_settings(const Settings &settings) {
    return {settings.folder, parse_indexes(settings.ports), server_names(settings),
            std::chrono::milliseconds(int64_t(settings.interval_seconds * 1000)), settings.store};
}

}  // namespace tarn_dot1x
