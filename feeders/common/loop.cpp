// SPDX-License-Identifier: Apache-2.0
#include "common/loop.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <system_error>
#include <vector>

namespace feeder {

Loop::Loop() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int each : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, each);
    signals_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (signals_ < 0) throw std::system_error(errno, std::generic_category(), "signalfd");
    pthread_sigmask(SIG_BLOCK, &signals, &former_signals_);
    watch(signals_, [this] { read_signal(); });
}

Loop::~Loop() {
    close(signals_);
    pthread_sigmask(SIG_SETMASK, &former_signals_, nullptr);
}

void Loop::watch(int descriptor, Call ready) { watched_[descriptor] = std::move(ready); }

void Loop::forget(int descriptor) { watched_.erase(descriptor); }

Loop::Timer Loop::after(std::chrono::milliseconds time, Call call) {
    const Timer timer{Clock::now() + time, ++timers_made_};
    timers_.emplace(timer, std::move(call));
    return timer;
}

void Loop::cancel(const Timer &timer) { timers_.erase(timer); }

void Loop::run() {
    is_running_ = true;
    while (is_running_) {
        call_ready();
        if (is_running_) call_due();
    }
}

int Loop::milliseconds_to_next() const {
    if (timers_.empty()) return -1;
    const auto left = timers_.begin()->first.first - Clock::now();
    const auto time = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return int(std::clamp<int64_t>(time, 0, INT_MAX));
}

void Loop::call_ready() {
    std::vector<pollfd> all;
    for (const auto &[descriptor, call] : watched_) all.push_back({descriptor, POLLIN, 0});
    if (poll(all.data(), nfds_t(all.size()), milliseconds_to_next()) < 0 && errno != EINTR)
        throw std::system_error(errno, std::generic_category(), "poll");
    for (const pollfd &each : all) {
        if (each.revents == 0) continue;
        // A former call may have removed it; a call may remove itself.
        const auto found = watched_.find(each.fd);
        if (found == watched_.end()) continue;
        const Call call = found->second;
        call();
    }
}

// The timers that are due now: not those that their calls make, before descriptors were read again.
void Loop::call_due() {
    std::vector<Timer> due;
    const Timer last{Clock::now(), timers_made_};
    for (auto at = timers_.begin(); at != timers_.end() && at->first <= last; ++at)
        due.push_back(at->first);
    for (const Timer &each : due) {
        auto taken = timers_.extract(each);
        if (taken) taken.mapped()();
    }
}

void Loop::read_signal() {
    signalfd_siginfo signal{};
    while (read(signals_, &signal, sizeof signal) == sizeof signal) {
        if (signal.ssi_signo != SIGHUP) stop();
        else if (hangup_) hangup_();
    }
}

}  // namespace feeder
