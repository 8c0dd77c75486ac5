// SPDX-License-Identifier: Apache-2.0
//
// tarn-dot1x: keeps the state of hostapd's ports in the 802.1X, session and RADIUS tables of a
// store.
#include <chrono>
#include <csignal>
#include <ctime>
#include <iostream>
#include <memory>

#include "cli/start.h"
#include "job.h"
#include "live.h"
#include "recordings.h"
#include "report.h"

namespace {

using tarn_dot1x::Source;

enum ExitCode { kDone = 0, kMalformed = 1, kUsage = 2, kNoIndex = 3, kUnreachable = 4, kStore = 5 };

constexpr const char *kNotes = R"(
A port's rows are keyed by the index of its interface:
  --control     the index of the interface that the socket is named after
  --recordings  the number at the end of the port's name: 3 of p3
  --port        what is given for a port's name, before either rule

A port's state, counters and sessions are stored while hostapd reports a client on it, and erased
after that; with several clients on a port the first authorised one counts, or else the first.
RADIUS servers are named by their address, or by --server; counters of ports that have one server
are added. If the program fails, nothing of the last poll is stored.)";

struct Arguments {
    tarn_dot1x::JobOptions job;
    std::string recordings;
    std::vector<std::string> sockets;
    std::vector<std::string> ports;
    std::vector<std::string> servers;
    double poll_seconds = 0;
    bool once = false;
    bool strict = false;
    bool json = false;
};

void describe(cli::Command &program, Arguments &arguments) {
    program.add_help(std::string("tarn-dot1x ") + TARNBASE_VERSION);
    program.notes = kNotes;
    program.statuses = {{kDone, "done"},
                        {kMalformed, "malformed lines, with --strict"},
                        {kUsage, "the arguments are wrong"},
                        {kNoIndex, "a port has no index, or another port's"},
                        {kUnreachable, "hostapd or a recording can't be reached"},
                        {kStore, "the store failed"}};
    program
        .option("-s,--store", "STORE", cli::into(arguments.job.store),
                "Store, created if it doesn't exist")
        .required();
    program.option("--recordings", "FOLDER", cli::into(arguments.recordings),
                   "Folder of recorded answers, hostapd-NAME-all_sta.txt, -mib, -status; this or "
                   "--control is needed");
    program
        .option("--control", "SOCKET", cli::into(arguments.sockets),
                "Control socket of hostapd, such as /run/hostapd/p1; one a port")
        .excludes("recordings");
    program.option("--port", "NAME=INDEX", cli::into(arguments.ports), "The index of a port");
    program.option("--server", "NAME[=ADDRESS[:PORT]]", cli::into(arguments.servers),
                   "The name of the RADIUS server of this address; without one, of all others");
    program.option("--poll", "SECONDS", cli::seconds_into(arguments.poll_seconds, 0.001, 1e6),
                   "Poll again after so many seconds, until SIGINT or SIGTERM");
    program.flag("--once", arguments.once, "Poll once, as without --poll").excludes("poll");
    program.flag("--strict", arguments.strict, "Exit with 1 if a line was malformed");
    program.flag("--json", arguments.json, "Print the result as JSON");
    program.flag("-v,--verbose", arguments.job.verbose, "Print each poll on standard error");
}

tarn_dot1x::ServerNames parse_servers(const std::vector<std::string> &arguments) {
    tarn_dot1x::ServerNames names;
    for (const std::string &argument : arguments) {
        const size_t sign = argument.find('=');
        const std::string name = argument.substr(0, sign);
        if (name.empty())
            throw tarn_dot1x::UsageError("--server " + argument + ": expected a name");
        if (sign != std::string::npos) names.by_address[argument.substr(sign + 1)] = name;
        else if (names.others)
            throw tarn_dot1x::UsageError("--server " + argument + ": all others are " +
                                         *names.others);
        else names.others = name;
    }
    return names;
}

std::unique_ptr<Source> make_source(const Arguments &arguments) {
    if (arguments.recordings.empty() && arguments.sockets.empty())
        throw tarn_dot1x::UsageError("give --recordings or --control");
    auto indexes = tarn_dot1x::parse_indexes(arguments.ports);
    if (arguments.sockets.empty())
        return std::make_unique<tarn_dot1x::Recordings>(arguments.recordings, std::move(indexes));
    return std::make_unique<tarn_dot1x::Live>(arguments.sockets, std::move(indexes));
}

sigset_t stop_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

// Returns false if a signal to stop came, also during the previous poll.
bool sleep_until_next_poll(double seconds) {
    const sigset_t signals = stop_signals();
    timespec time{};
    time.tv_sec = time_t(seconds);
    time.tv_nsec = long((seconds - double(time.tv_sec)) * 1e9);
    return sigtimedwait(&signals, nullptr, &time) < 0;
}

int run(Arguments &arguments) {
    arguments.job.servers = parse_servers(arguments.servers);
    const std::unique_ptr<Source> source = make_source(arguments);
    // Signals don't interrupt a poll, so that the socket's address is removed.
    const sigset_t signals = stop_signals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);

    tarn_dot1x::Job job(arguments.job, *source, std::cerr);
    do job.poll();
    while (arguments.poll_seconds > 0 && sleep_until_next_poll(arguments.poll_seconds));

    const tarn_dot1x::Report report = job.report();
    std::cout << (arguments.json ? to_json(report) : to_text(report)) << std::flush;
    return arguments.strict && report.malformed > 0 ? kMalformed : kDone;
}

int fail(ExitCode code, const std::exception &error) {
    std::cerr << "tarn-dot1x: " << error.what() << '\n';
    return code;
}

}  // namespace

int main(int argc, char **argv) {
    cli::Command program("tarn-dot1x",
                         "Keeps the state of hostapd's ports in the tables of a store.");
    Arguments arguments;
    describe(program, arguments);
    const cli::Start start = cli::start(program, argc, argv);
    if (start.command == nullptr) return start.status;
    try {
        return run(arguments);
    } catch (const tarn_dot1x::UsageError &error) {
        return fail(kUsage, error);
    } catch (const tarn_dot1x::PortError &error) {
        return fail(kNoIndex, error);
    } catch (const tarn_dot1x::SourceError &error) {
        return fail(kUnreachable, error);
    } catch (const tarn::error &error) {
        return fail(kStore, error);
    }
}
