// SPDX-License-Identifier: Apache-2.0
//
// tarn-exporter: serves the contents of stores over HTTP.
#include <fmt/core.h>
#include <pthread.h>

#include <csignal>
#include <iostream>
#include <memory>
#include <vector>

#include "base/failure.h"
#include "base/utf8.h"
#include "cli/start.h"
#include "exporter/figures.h"
#include "exporter/listener.h"
#include "exporter/metrics.h"
#include "exporter/routes.h"
#include "exporter/settings.h"

namespace exporter {
namespace {

// Threads that answer requests while streams occupy the others.
constexpr std::size_t answering_threads = 4;

void say(const std::string &text) {
    // In one piece: the threads of the stores write too.
    std::cerr << fmt::format("tarn-exporter: {}\n", tarnctl::one_line(text));
}

// The signals that end the program, for which `main` waits: no thread handles them.
sigset_t block_ends() {
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return ends;
}

void serve(const Settings &settings) {
    const std::vector<ListenAddress> addresses = addresses_of(settings);
    const std::string token = token_of(settings);
    const sigset_t ends = block_ends();
    Stores stores;
    Routes routes(stores, {token, settings.most_series, settings.most_streams, TARNBASE_VERSION});
    for (const NamedStore &each : settings.stores)
        stores.push_back(
            std::make_unique<FollowedStore>(StoreSettings{each.name, each.path, settings.history}));
    std::vector<std::unique_ptr<Listener>> listeners;
    for (const ListenAddress &each : addresses) {
        listeners.push_back(std::make_unique<Listener>(
            each, settings.most_streams + answering_threads,
            [&routes](const Request &request) { return routes.answer(request); }));
        say("listens on " + listeners.back()->address().text());
        if (!each.is_local() && token.empty())
            say("warning: other machines can read the stores, since there is no --token-file");
    }
    int signal = 0;
    sigwait(&ends, &signal);
    for (const auto &each : stores) each->stop();
    listeners.clear();
}

int fail(tarnctl::Exit code, const std::string &text) {
    say(text);
    return static_cast<int>(code);
}

}  // namespace
}  // namespace exporter

int main(int argc, char **argv) {
    exporter::Settings settings;
    const auto program = exporter::make_program(settings);
    try {
        const cli::Start start = cli::start(*program, argc, argv);
        if (start.command == nullptr) return start.status;
        exporter::serve(settings);
        return 0;
    } catch (const cli::LineError &error) {
        return cli::report(*program, error);
    } catch (const tarnctl::Failure &failure) {
        return exporter::fail(failure.code(), failure.what());
    } catch (const std::exception &error) {
        return exporter::fail(tarnctl::Exit::store, error.what());
    }
}
