// SPDX-License-Identifier: Apache-2.0
#include "service.h"

#include <map>
#include <utility>

#include "attributes.h"
#include "common/service.h"
#include "keeper.h"

namespace tarn_radius {
namespace {

constexpr const char *kProgram = "tarn-radius";

// Polls the servers from the moment at which the store is owned.
class Poller {
 public:
    Poller(feeder::Service &service, const Settings &settings, std::vector<Server> servers);

 private:
    struct ServerState {
        Server server;
        std::optional<Observation> pending = {};  // not stored yet
        bool was_alive = false;
        bool is_known = false;  // was polled once
        uint32_t start_time = 0;
        std::vector<std::string> errors = {};  // of the subjects, in the last reply
    };

    void take(ServerState &state, const Observation &observation);
    void report_change(ServerState &state, const Observation &observation);
    void report_errors(ServerState &state, const Observation &observation);
    void store();
    void add_rows(const ServerState &state, std::map<std::string, ServerRow> &rows) const;
    void report_status();

    feeder::Service &service_;
    feeder::Ownership ownership_;
    Keeper keeper_;
    std::vector<ServerState> states_;
    feeder::Work storing_{service_, [this] { store(); }};
    std::vector<std::unique_ptr<ServerWatch>> watches_;
};

Poller::Poller(feeder::Service &service, const Settings &settings, std::vector<Server> servers)
    : service_(service),
      ownership_(settings.store.path, kProgram),
      keeper_(feeder::open_store(settings.store)) {
    states_.reserve(servers.size());
    for (Server &each : servers) {
        ServerState &state = states_.emplace_back(ServerState{std::move(each)});
        watches_.push_back(std::make_unique<ServerWatch>(
            service_, state.server.settings, timing_of(settings),
            [this, &state](const Observation &observation) { take(state, observation); }));
    }
    service_.ready();
}

void Poller::take(ServerState &state, const Observation &observation) {
    report_change(state, observation);
    report_errors(state, observation);
    state.pending = observation;
    storing_.request();
}

void Poller::report_change(ServerState &state, const Observation &observation) {
    const std::string &name = state.server.settings.name;
    const bool is_alive = !observation.statistics.empty();
    const bool was_known = std::exchange(state.is_known, true);
    const bool has_changed = std::exchange(state.was_alive, is_alive) != is_alive || !was_known;
    if (!is_alive) {
        if (has_changed) service_.log.warning(name + ": " + observation.problem + "; trying again");
        return;
    }
    if (has_changed) service_.log.info(name + ": replies");
    const uint32_t start = observation.statistics[0].value(kStartTime);
    const uint32_t former = std::exchange(state.start_time, start);
    if (former != 0 && former != start)
        service_.log.info(name + ": was started again, its counters are from 0");
}

// What keeps a subject from being counted, once.
void Poller::report_errors(ServerState &state, const Observation &observation) {
    state.errors.resize(state.server.rows.size());
    for (size_t i = 0; i < observation.statistics.size(); ++i) {
        const Statistics &statistics = observation.statistics[i];
        std::string error;
        if (statistics.values.empty())
            error = statistics.error.empty() ? "its reply has no statistics" : statistics.error;
        if (!error.empty() && state.errors[i] != error)
            service_.log.warning(state.server.rows[i] + ": " + error);
        state.errors[i] = error;
    }
}

void Poller::store() {
    std::map<std::string, ServerRow> rows;
    std::vector<std::string> servers;
    for (const ServerState &each : states_) {
        const size_t before = rows.size();
        if (each.pending) add_rows(each, rows);
        if (rows.size() > before) servers.push_back(each.server.settings.name);
    }
    if (!rows.empty()) keeper_.write(rows, servers);
    for (ServerState &each : states_) each.pending.reset();
    report_status();
}

// The rows that have changed.
void Poller::add_rows(const ServerState &state, std::map<std::string, ServerRow> &rows) const {
    const auto &[settings, names] = state.server;
    for (size_t i = 0; i < names.size(); ++i) {
        const auto before = keeper_.read(names[i]);
        std::optional<Statistics> statistics;
        if (!state.pending->statistics.empty()) statistics = state.pending->statistics[i];
        // There is no row of a client or a home server that the server doesn't have.
        const bool is_missing = !statistics || statistics->values.empty();
        if (i > 0 && !before && is_missing) continue;
        const ServerRow row = next_row(before, settings.subjects[i].kind, statistics);
        if (row != before) rows[names[i]] = row;
    }
}

void Poller::report_status() {
    size_t alive = 0;
    for (const ServerState &each : states_) alive += each.was_alive ? 1 : 0;
    service_.status(std::to_string(alive) + " of " + std::to_string(states_.size()) +
                    " servers reply");
}

}  // namespace

ExitCode serve(const Settings &settings) {
    std::vector<Server> servers = servers_of(settings);
    feeder::Service service(kProgram, settings.log);
    try {
        std::optional<Poller> poller;
        feeder::Work begin(service, [&] { poller.emplace(service, settings, servers); });
        begin.request();
        service.run();
        return kDone;
    } catch (const tarn::error &failure) {
        service.log.error(settings.store.path + ": " + failure.what());
        return kStore;
    } catch (const std::exception &failure) {
        service.log.error(failure.what());
        return kUnreachable;
    }
}

}  // namespace tarn_radius
