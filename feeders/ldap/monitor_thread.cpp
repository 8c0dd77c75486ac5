// SPDX-License-Identifier: Apache-2.0
#include "monitor_thread.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace tarn_ldap {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstPause{1000};
constexpr milliseconds kLongestPause{60000};

Descriptor make_event() {
    Descriptor event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (event.number() < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    return event;
}

// The LDAP library writes to connections that may have been closed, which would end the process.
void ignore_broken_connections() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

MonitorThread::MonitorThread(const MonitorSettings &settings)
    : monitor_(settings),
      interval_(int64_t(settings.interval * 1000)),
      news_(make_event()),
      thread_([this] { run(); }) {}

MonitorThread::~MonitorThread() {
    {
        const std::lock_guard lock(mutex_);
        is_stopped_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

std::optional<Observation> MonitorThread::take() {
    eventfd_t ignored;
    eventfd_read(news_.number(), &ignored);
    const std::lock_guard lock(mutex_);
    return std::exchange(last_, std::nullopt);
}

Observation MonitorThread::query() {
    try {
        return {monitor_.read(), {}};
    } catch (const MonitorFailure &error) {
        return {{}, error.what()};
    }
}

// After failures the pauses are 1, 2, 4, ... and at last 60 seconds.
void MonitorThread::run() {
    ignore_broken_connections();
    milliseconds pause = kFirstPause;
    for (bool is_stopped = false; !is_stopped;) {
        Observation observation = query();
        const bool has_failed = !observation.server;
        const milliseconds wait = has_failed ? pause : interval_;
        pause = has_failed ? std::min(pause * 2, kLongestPause) : kFirstPause;
        publish(std::move(observation));
        std::unique_lock lock(mutex_);
        is_stopped = wake_.wait_for(lock, wait, [this] { return is_stopped_; });
    }
}

void MonitorThread::publish(Observation observation) {
    const std::lock_guard lock(mutex_);
    last_ = std::move(observation);
    eventfd_write(news_.number(), 1);
}

}  // namespace tarn_ldap
