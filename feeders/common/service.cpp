// SPDX-License-Identifier: Apache-2.0
#include "common/service.h"

#include <algorithm>
#include <utility>

#include "cli/utf8.h"
#include "common/store.h"

namespace feeder {
namespace {

constexpr std::chrono::seconds kLongestPause{30};

}  // namespace

void add_log_options(cli::Command &program, LogSettings &settings) {
    program.option("--log", "WHERE",
                   cli::one_of<LogTarget>(
                       {{"stderr", LogTarget::standard_error}, {"syslog", LogTarget::system}},
                       settings.target),
                   "Where messages go: stderr, the default, or syslog");
    program.option("--log-level", "LEVEL",
                   cli::one_of<Level>({{"error", Level::error},
                                       {"warning", Level::warning},
                                       {"info", Level::info},
                                       {"debug", Level::debug}},
                                      settings.level),
                   "The least important messages: error, warning, info, the default, or debug");
}

Service::Service(std::string program, const LogSettings &settings)
    : log(std::move(program), settings) {}

void Service::ready() {
    if (!std::exchange(is_ready_, true)) notifier_.ready();
}

void Service::status(const std::string &text) {
    if (std::exchange(status_, text) != text) notifier_.status(cli::one_line(text));
}

void Service::report_alive() {
    notifier_.alive();
    loop.after(*notifier_.interval(), [this] { report_alive(); });
}

void Service::run() {
    if (notifier_.interval()) report_alive();
    loop.run();
    notifier_.stopping();
}

Work::Work(Service &service, std::function<void()> task)
    : service_(service), task_(std::move(task)) {}

Work::~Work() {
    if (timer_) service_.loop.cancel(*timer_);
}

void Work::request() {
    if (!timer_) schedule(std::chrono::milliseconds(0));
}

void Work::schedule(std::chrono::milliseconds time) {
    timer_ = service_.loop.after(time, [this] { run(); });
}

void Work::run() {
    timer_.reset();
    try {
        task_();
        if (pause_.count() > 0) service_.log.info("the store can be written again");
        pause_ = std::chrono::seconds(0);
    } catch (const tarn::error &error) {
        if (!will_pass(error)) throw;
        if (pause_.count() == 0)
            service_.log.warning(std::string(error.what()) + "; trying again until it is possible");
        pause_ = std::clamp(pause_ * 2, std::chrono::seconds(1), kLongestPause);
        service_.status(error.what());
        if (!timer_) schedule(pause_);
    }
}

}  // namespace feeder
