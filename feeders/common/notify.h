// SPDX-License-Identifier: Apache-2.0
//
// Reports to the service manager, by the protocol of sd_notify(3): datagrams of lines
// VARIABLE=value to the Unix socket that $NOTIFY_SOCKET names. Without that variable nothing is
// sent.
#ifndef FEEDERS_COMMON_NOTIFY_H
#define FEEDERS_COMMON_NOTIFY_H

#include <sys/socket.h>

#include <chrono>
#include <optional>
#include <string>

namespace feeder {

class Notifier {
 public:
    Notifier();  // from the environment
    Notifier(const Notifier &) = delete;
    Notifier &operator=(const Notifier &) = delete;
    ~Notifier();

    // A manager that can't be reached is no error: the service goes on. Only `ready` waits for one
    // that is slow to read: the start would fail without it.
    void ready() const { send("READY=1", 0); }
    void status(const std::string &text) const { send("STATUS=" + text); }
    void alive() const { send("WATCHDOG=1"); }
    void stopping() const { send("STOPPING=1"); }

    // The time between two `alive`, half of what the manager waits; none if it doesn't watch.
    std::optional<std::chrono::milliseconds> interval() const { return interval_; }

 private:
    void send(const std::string &text, int flags = MSG_DONTWAIT) const;

    std::string address_;
    int socket_ = -1;
    std::optional<std::chrono::milliseconds> interval_;
};

}  // namespace feeder

#endif
