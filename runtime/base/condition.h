/* SPDX-License-Identifier: Apache-2.0 */
// A condition variable that isn't destroyed. To destroy one waits for the threads that sleep on
// it, and a child process has a copy of those sleepers, but not their threads.
#ifndef TARNBASE_RUNTIME_BASE_CONDITION_H
#define TARNBASE_RUNTIME_BASE_CONDITION_H

#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <mutex>

namespace tarnbase::runtime {

class Condition {
 public:
    Condition() = default;
    Condition(const Condition &) = delete;
    Condition &operator=(const Condition &) = delete;

    void notify_all() { ::pthread_cond_broadcast(&condition_); }

    template <typename Predicate>
    void wait(std::unique_lock<std::mutex> &lock, Predicate is_met) {
        while (!is_met()) ::pthread_cond_wait(&condition_, lock.mutex()->native_handle());
    }
    // Negative milliseconds: no limit. False: the time is over, and the predicate isn't met.
    template <typename Predicate>
    bool wait_for(std::unique_lock<std::mutex> &lock, std::int64_t milliseconds, Predicate is_met) {
        if (milliseconds < 0) {
            wait(lock, is_met);
            return true;
        }
        const timespec end = time_after(milliseconds);
        while (!is_met()) {
            if (::pthread_cond_clockwait(&condition_, lock.mutex()->native_handle(),
                                         CLOCK_MONOTONIC, &end) == ETIMEDOUT) {
                return is_met();
            }
        }
        return true;
    }

 private:
    static timespec time_after(std::int64_t milliseconds) {
        // A year is as good as never, and doesn't overflow.
        constexpr std::int64_t year = 365LL * 24 * 3600 * 1000;
        milliseconds = std::min(milliseconds, year);
        timespec time{};
        ::clock_gettime(CLOCK_MONOTONIC, &time);
        time.tv_sec += milliseconds / 1000;
        time.tv_nsec += milliseconds % 1000 * 1'000'000;
        if (time.tv_nsec >= 1'000'000'000) {
            time.tv_sec += 1;
            time.tv_nsec -= 1'000'000'000;
        }
        return time;
    }

    pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
};

}  // namespace tarnbase::runtime

#endif
