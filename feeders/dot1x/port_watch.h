// SPDX-License-Identifier: Apache-2.0
//
// Watches one port of hostapd: attaches to its events, and again after hostapd was restarted.
#ifndef FEEDERS_DOT1X_PORT_WATCH_H
#define FEEDERS_DOT1X_PORT_WATCH_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "attachment.h"
#include "common/loop.h"

namespace tarn_dot1x {

class PortWatch {
 public:
    enum class State {
        unknown,   // hostapd hasn't answered yet
        attached,  // hostapd sends events
        silent,    // hostapd has the socket and doesn't answer
        gone,      // nothing has the socket
    };
    // Called after the state has changed, with a reason if it isn't attached; and after an event,
    // with its text.
    struct Calls {
        std::function<void(const std::string &reason)> changed;
        std::function<void(const std::string &text)> event;
    };

    PortWatch(feeder::Loop &loop, std::string path, Calls calls);
    PortWatch(const PortWatch &) = delete;
    PortWatch &operator=(const PortWatch &) = delete;
    ~PortWatch();

    State state() const { return state_; }
    const std::string &path() const { return path_; }

    // Attaches anew, at once.
    void restart();
    // hostapd didn't answer another client's command.
    void report_silence(const std::string &reason) { lose(State::silent, reason); }

 private:
    void attach();
    void read();
    void take(const Message &message);
    void ping();
    void expect_answer();
    void lose(State state, const std::string &reason);
    void enter(State state, const std::string &reason);
    void detach();
    void after(std::chrono::milliseconds time, void (PortWatch::*call)());

    feeder::Loop &loop_;
    const std::string path_;
    const Calls calls_;
    State state_ = State::unknown;
    std::optional<Attachment> attachment_;
    std::optional<feeder::Loop::Timer> timer_;
    std::chrono::milliseconds pause_;  // before the next attempt
};

}  // namespace tarn_dot1x

#endif
