// SPDX-License-Identifier: Apache-2.0
//
// The progress of long work, on a line of standard error.
#ifndef TARNCTL_TERMINAL_PROGRESS_H
#define TARNCTL_TERMINAL_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace tarnctl {

// Prints nothing unless standard error is a terminal and the work takes longer than a second; then
// the count, the rate, and, if the total is known, the share and the time left.
class Progress {
 public:
    // `what` names the counted things: "records". `total` 0: unknown.
    explicit Progress(std::string what, uint64_t total = 0);
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    // Erases the line.
    ~Progress();

    void advance(uint64_t count = 1) { advance_to(done_ + count); }
    // To so many things from the beginning.
    void advance_to(uint64_t done);

 private:
    using Clock = std::chrono::steady_clock;

    void show(Clock::time_point now);

    std::string what_;
    uint64_t total_;
    uint64_t done_ = 0;
    bool enabled_;
    bool shown_ = false;
    Clock::time_point begin_ = Clock::now();
    Clock::time_point next_ = begin_ + std::chrono::seconds(1);
};

// "12345 records, 4115/s, 62 %, 0:07 left", after so many seconds of work.
std::string progress_text(const std::string &what, uint64_t done, uint64_t total, double seconds);

}  // namespace tarnctl

#endif
