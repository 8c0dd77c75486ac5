// SPDX-License-Identifier: Apache-2.0
//
// tarn-exporter: serves the contents of stores over HTTP.

#include <chrono>
#include <csignal>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "base/daemon.h"
#include "exporter/failure.h"
#include "exporter/figures.h"
#include "exporter/hosts.h"
#include "exporter/listener.h"
#include "exporter/metrics.h"
#include "exporter/past.h"
#include "exporter/routes.h"
#include "exporter/settings.h"

namespace exporter {
namespace {

// Threads that answer requests while streams occupy the others.
constexpr std::size_t answering_threads = 4;

void say(const std::string &text) { tarnctl::report_line("tarn-exporter", text); }

Listener::Answer answer_of(Routes &routes, Hosts hosts) {
    return [&routes, hosts = std::move(hosts)](const Request &request) {
        if (hosts.include(request.host)) return routes.answer(request);
        return error_response(403, "the header Host names another host: see --host");
    };
}

RouteSettings route_settings(const Settings &settings) {
    return {token_of(settings), settings.most_series, settings.most_streams,
            PastLimits{settings.most_past, std::chrono::seconds(settings.past_seconds)},
            TARNBASE_VERSION};
}

void serve(const Settings &settings) {
    const std::vector<ListenAddress> addresses = addresses_of(settings);
    const RouteSettings routed = route_settings(settings);
    const sigset_t ends = tarnctl::block_end_signals();
    Stores stores;
    Routes routes(stores, routed);
    for (const NamedStore &each : settings.stores)
        stores.push_back(
            std::make_unique<FollowedStore>(StoreSettings{each.name, each.path, settings.history}));
    std::vector<std::unique_ptr<Listener>> listeners;
    for (const ListenAddress &each : addresses) {
        listeners.push_back(std::make_unique<Listener>(
            each, settings.most_streams + settings.most_past + answering_threads,
            answer_of(routes, Hosts(each, settings.hosts))));
        say("listens on " + listeners.back()->address().text());
        if (!each.is_local() && routed.token.empty())
            say("warning: other machines can read the stores, since there is no --token-file");
    }
    int signal = 0;
    sigwait(&ends, &signal);
    for (const auto &each : stores) each->stop();
    routes.stop();
    listeners.clear();
}

}  // namespace
}  // namespace exporter

int main(int argc, char **argv) {
    if (argc == 1 && std::string_view(argv[0]) == exporter::past_program)
        return exporter::answer_about_past();
    exporter::Settings settings;
    const auto program = exporter::make_program(settings);
    return tarnctl::run_daemon(*program, argc, argv, [&settings] { exporter::serve(settings); });
}
