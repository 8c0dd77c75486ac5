// SPDX-License-Identifier: Apache-2.0
#include "port_service.h"

#include <net/if.h>

#include <algorithm>
#include <utility>

#include "control_socket.h"
#include "job.h"

namespace tarn_dot1x {
namespace {

using Clock = std::chrono::steady_clock;

// A hostapd that works answers in less than a millisecond.
constexpr std::chrono::milliseconds kPatience{500};
// The longest time for queries before the loop continues, so that the watchdog is fed.
constexpr std::chrono::seconds kLongestRound{2};
// Some counters change shortly after the last event, such as those of accounting.
constexpr std::chrono::milliseconds kSettleTime{1000};

}  // namespace

PortService::PortService(feeder::Service &service, ServiceSettings settings)
    : service_(service),
      settings_(std::move(settings)),
      work_(service, [this] { refresh(); }),
      folder_(service.loop, settings_.folder,
              {[this](const std::string &name) { add(name); },
               [this](const std::string &name) { remove(name); }}) {}

void PortService::run() {
    service_.loop.on_hangup([this] {
        for (auto &[name, port] : ports_) port.is_due = true;
        work_.request();
    });
    request_all();
    service_.run();
}

void PortService::request_all() {
    for (auto &[name, port] : ports_) port.is_due = true;
    work_.request();
    service_.loop.after(settings_.interval, [this] { request_all(); });
}

void PortService::add(const std::string &name) {
    PortState &port = ports_[name];
    if (port.watch) return port.watch->restart();
    const std::string path = settings_.folder + "/" + name;
    port.watch = std::make_unique<PortWatch>(
        service_.loop, path,
        PortWatch::Calls{[this, name](const std::string &reason) { take_change(name, reason); },
                         [this, name](const std::string &text) { take_event(name, text); }});
}

void PortService::remove(const std::string &name) {
    service_.log.info(name + ": hostapd has left the port");
    ports_.erase(name);
    work_.request();
}

void PortService::take_change(const std::string &name, const std::string &reason) {
    PortState &port = ports_.at(name);
    if (reason.empty()) service_.log.info(name + ": attached to hostapd");
    else service_.log.warning(name + ": " + reason);
    port.is_due = true;
    if (port.watch->state() == PortWatch::State::gone) port.answers.reset();
    work_.request();
}

void PortService::take_event(const std::string &name, const std::string &text) {
    service_.log.debug(name + ": " + text);
    ports_.at(name).is_due = true;
    work_.request();
    if (settle_) return;
    settle_ = service_.loop.after(kSettleTime, [this] {
        settle_.reset();
        for (auto &[each, port] : ports_) port.is_due = true;
        work_.request();
    });
}

void PortService::open_store() {
    if (!ownership_) ownership_.emplace(settings_.store.path, "tarn-dot1x");
    keeper_.emplace(feeder::open_store(settings_.store));
    service_.log.info("keeps the ports of " + settings_.folder + " in " + settings_.store.path);
}

void PortService::refresh() {
    if (!keeper_) open_store();
    write(query_due_ports());
    service_.ready();
    report_status();
    if (is_anything_due()) work_.request();
}

bool PortService::is_anything_due() const {
    return std::any_of(ports_.begin(), ports_.end(), [](const auto &each) {
        return each.second.is_due && each.second.watch->state() == PortWatch::State::attached;
    });
}

// Those that there was time for.
std::set<std::string> PortService::query_due_ports() {
    const Clock::time_point end = Clock::now() + kLongestRound;
    std::set<std::string> queried;
    for (auto &[name, port] : ports_) {
        if (!port.is_due || port.watch->state() != PortWatch::State::attached) continue;
        if (Clock::now() >= end) break;
        if (query(name, port)) queried.insert(name);
    }
    return queried;
}

bool PortService::query(const std::string &name, PortState &port) {
    try {
        ControlSocket socket(port.watch->path(), kPatience);
        port.answers = ask_port(live_port(name, settings_.indexes), socket);
        port.problem.clear();
        return true;
    } catch (const PortError &error) {
        if (port.problem != error.what()) service_.log.warning(error.what());
        port.problem = error.what();
        port.answers.reset();
        port.is_due = false;
    } catch (const SourceError &error) {
        port.watch->report_silence(error.what());
    }
    return false;
}

void PortService::write(const std::set<std::string> &queried) {
    std::vector<PortAnswers> answers;
    for (const auto &[name, port] : ports_)
        if (port.answers) answers.push_back(*port.answers);
    Problems problems;
    Observation found = understand(answers, settings_.servers, problems);
    report_problems(problems);
    std::erase_if(found.ports,
                  [&queried](const PortRows &rows) { return !queried.contains(rows.port.name); });
    // The counters of servers keep their last values while hostapd doesn't run.
    std::optional<RadiusRows> radius;
    if (!answers.empty()) radius = std::move(found.radius);
    keeper_->write_update({std::move(found.ports), present_indexes(), std::move(radius)});
    for (const std::string &name : queried) ports_.at(name).is_due = false;
}

// A port whose hostapd doesn't answer at the moment keeps its rows.
std::set<uint32_t> PortService::present_indexes() {
    std::set<uint32_t> present;
    for (const auto &[name, port] : ports_) {
        if (port.watch->state() == PortWatch::State::gone) continue;
        const auto given = settings_.indexes.find(name);
        present.insert(given != settings_.indexes.end() ? given->second
                                                        : if_nametoindex(name.c_str()));
    }
    return present;
}

void PortService::report_problems(const Problems &problems) {
    for (const Problem &problem : problems.list()) {
        if (std::find(reported_.begin(), reported_.end(), problem) == reported_.end())
            service_.log.warning(to_text(problem));
    }
    reported_ = problems.list();
}

void PortService::report_status() {
    const auto attached = std::count_if(ports_.begin(), ports_.end(), [](const auto &each) {
        return each.second.watch->state() == PortWatch::State::attached;
    });
    service_.status(std::to_string(attached) + " of " + std::to_string(ports_.size()) +
                    " ports attached");
}

}  // namespace tarn_dot1x
