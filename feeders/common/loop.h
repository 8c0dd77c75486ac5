// SPDX-License-Identifier: Apache-2.0
//
// The loop of a service: waits for descriptors, timers and signals, and calls what is for them. It
// uses no processor time while nothing happens.
#ifndef FEEDERS_COMMON_LOOP_H
#define FEEDERS_COMMON_LOOP_H

#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>

namespace feeder {

class Loop {
 public:
    using Call = std::function<void()>;
    using Clock = std::chrono::steady_clock;
    // A timer, until its call is made or it is cancelled.
    using Timer = std::pair<Clock::time_point, uint64_t>;

    // From here on SIGTERM, SIGINT and SIGHUP are read by the loop: make it before any thread.
    // Throws std::system_error.
    Loop();
    Loop(const Loop &) = delete;
    Loop &operator=(const Loop &) = delete;
    ~Loop();

    // Calls `ready` while the descriptor can be read or has failed. The descriptor should be
    // non-blocking, since another call may have read it meanwhile.
    void watch(int descriptor, Call ready);
    // Before the descriptor is closed.
    void forget(int descriptor);

    // Calls once, after this time. No time at all: after the descriptors that are ready now.
    Timer after(std::chrono::milliseconds time, Call call);
    // Does nothing for a timer whose call was made.
    void cancel(const Timer &timer);

    // What SIGHUP does; nothing by default.
    void on_hangup(Call call) { hangup_ = std::move(call); }

    // Returns after SIGTERM, SIGINT or stop. What a call throws ends it too.
    void run();
    void stop() { is_running_ = false; }

 private:
    void wait();
    void call_ready();
    void call_due();
    void read_signal();
    int milliseconds_to_next() const;

    std::map<int, Call> watched_;
    std::map<Timer, Call> timers_;
    uint64_t timers_made_ = 0;
    Call hangup_;
    sigset_t former_signals_{};
    int signals_ = -1;
    bool is_running_ = false;
};

}  // namespace feeder

#endif
