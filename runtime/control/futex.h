/* SPDX-License-Identifier: Apache-2.0 */
// Sleeping on the low half of a 64-bit word of a shared mapping, which may be read-only.
#ifndef TARNBASE_RUNTIME_CONTROL_FUTEX_H
#define TARNBASE_RUNTIME_CONTROL_FUTEX_H

#include <atomic>
#include <chrono>
#include <cstdint>

namespace tarnbase::runtime {

// Sleeps while the low half of the word is that of `seen`, for at most `limit`. Returns early for
// no reason, too. False: a signal was handled.
bool futex_sleep(const std::atomic<std::uint64_t> &word, std::uint64_t seen,
                 std::chrono::nanoseconds limit);
// Wakes at most so many. Returns how many.
long futex_wake(const std::atomic<std::uint64_t> &word, int processes);

// When a wait ends. The time begins with the first call, so that a process that needn't wait
// doesn't read the clock.
class Deadline {
 public:
    // Negative: never.
    explicit Deadline(std::int64_t milliseconds) : milliseconds_(milliseconds) {}
    std::chrono::nanoseconds left();
    bool is_over() { return left() <= std::chrono::nanoseconds::zero(); }

 private:
    std::int64_t milliseconds_;
    bool has_begun_ = false;
    std::chrono::steady_clock::time_point end_{};
};

}  // namespace tarnbase::runtime

#endif
