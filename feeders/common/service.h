// SPDX-License-Identifier: Apache-2.0
//
// What a feeder is as a service: its messages, its loop, and its reports to the service manager.
#ifndef FEEDERS_COMMON_SERVICE_H
#define FEEDERS_COMMON_SERVICE_H

#include <string>

#include "cli/command.h"
#include "common/log.h"
#include "common/loop.h"
#include "common/notify.h"

namespace feeder {

// Adds --log and --log-level.
void add_log_options(cli::Command &program, LogSettings &settings);

class Service {
 public:
    Service(std::string program, const LogSettings &settings);

    Log log;
    Loop loop;

    // Reports that the service has begun; says so once.
    void ready();
    // What it does now, in a few words, for the service manager.
    void status(const std::string &text);
    // Runs the loop to its end, with the reports that the service manager waits for.
    void run();

 private:
    void report_alive();

    Notifier notifier_;
    std::string status_;
    bool is_ready_ = false;
};

// Work that the loop does when it is requested: once for all requests until then. While the store
// is busy or its disk is full it is tried again, after 1, 2, 4, ... and at last 30 seconds.
class Work {
 public:
    // `task` throws tarn::error if the store fails. One that won't pass ends the loop.
    Work(Service &service, std::function<void()> task);
    Work(const Work &) = delete;
    Work &operator=(const Work &) = delete;
    ~Work();

    void request();

 private:
    void run();
    void schedule(std::chrono::milliseconds time);

    Service &service_;
    const std::function<void()> task_;
    std::optional<Loop::Timer> timer_;
    std::chrono::seconds pause_{0};  // after the last failure; 0: it succeeded
};

}  // namespace feeder

#endif
