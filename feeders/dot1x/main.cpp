// SPDX-License-Identifier: Apache-2.0
//
// tarn-dot1x: keeps the state of hostapd's ports in the 802.1X, session and RADIUS tables of a
// store.
#include <csignal>
#include <ctime>
#include <exception>
#include <iostream>
#include <memory>
#include <utility>

#include "cli/start.h"
#include "job.h"
#include "live.h"
#include "recordings.h"
#include "report.h"
#include "settings.h"

namespace {

using tarn_dot1x::Settings;
using tarn_dot1x::Source;

std::unique_ptr<Source> make_source(const Settings &settings) {
    if (settings.recordings.empty() && settings.sockets.empty())
        throw tarn_dot1x::UsageError("give --recordings, --control or --folder");
    auto indexes = tarn_dot1x::parse_indexes(settings.ports);
    if (settings.sockets.empty())
        return std::make_unique<tarn_dot1x::Recordings>(settings.recordings, std::move(indexes));
    return std::make_unique<tarn_dot1x::Live>(settings.sockets, std::move(indexes));
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

int poll(const Settings &settings) {
    const std::unique_ptr<Source> source = make_source(settings);
    // Signals don't interrupt a poll, so that the socket's address is removed.
    const sigset_t signals = stop_signals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);

    tarn_dot1x::Job job({settings.store, server_names(settings), settings.verbose}, *source,
                        std::cerr);
    do job.poll();
    while (settings.poll_seconds > 0 && sleep_until_next_poll(settings.poll_seconds));

    const tarn_dot1x::Report report = job.report();
    std::cout << (settings.json ? to_json(report) : to_text(report)) << std::flush;
    return settings.strict && report.malformed > 0 ? tarn_dot1x::kMalformed : tarn_dot1x::kDone;
}

int serve(const Settings &settings) {
    tarn_dot1x::ServiceSettings wanted = service_settings(settings);
    feeder::Service service("tarn-dot1x", settings.log);
    try {
        tarn_dot1x::PortService(service, std::move(wanted)).run();
        return tarn_dot1x::kDone;
    } catch (const tarn::error &error) {
        service.log.error(settings.store.path + ": " + error.what());
        return tarn_dot1x::kStore;
    } catch (const std::exception &error) {
        service.log.error(error.what());
        return tarn_dot1x::kUnreachable;
    }
}

int fail(tarn_dot1x::ExitCode code, const std::exception &error) {
    std::cerr << "tarn-dot1x: " << error.what() << '\n';
    return code;
}

}  // namespace

int main(int argc, char **argv) {
    Settings settings;
    const auto program = tarn_dot1x::make_program(settings);
    const cli::Start start = cli::start(*program, argc, argv);
    if (start.command == nullptr) return start.status;
    try {
        return settings.folder.empty() ? poll(settings) : serve(settings);
    } catch (const tarn_dot1x::UsageError &error) {
        return fail(tarn_dot1x::kUsage, error);
    } catch (const tarn_dot1x::PortError &error) {
        return fail(tarn_dot1x::kNoIndex, error);
    } catch (const tarn_dot1x::SourceError &error) {
        return fail(tarn_dot1x::kUnreachable, error);
    } catch (const tarn::error &error) {
        return fail(tarn_dot1x::kStore, error);
    }
}
