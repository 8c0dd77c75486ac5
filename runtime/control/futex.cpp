// SPDX-License-Identifier: Apache-2.0
#include "runtime/control/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <ctime>

namespace tarnbase::runtime {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

const std::uint32_t *low_half(const std::atomic<std::uint64_t> &word) {
    const auto *halves = reinterpret_cast<const std::uint32_t *>(&word);
    return std::endian::native == std::endian::little ? halves : halves + 1;
}

}  // namespace

bool futex_sleep(const std::atomic<std::uint64_t> &word, std::uint64_t seen, nanoseconds limit) {
    if (limit <= nanoseconds::zero()) return true;
    timespec time{};
    time.tv_sec = static_cast<std::time_t>(limit.count() / 1'000'000'000);
    time.tv_nsec = static_cast<long>(limit.count() % 1'000'000'000);
    return ::syscall(SYS_futex, low_half(word), FUTEX_WAIT, static_cast<std::uint32_t>(seen), &time,
                     nullptr, 0) == 0 ||
           errno != EINTR;
}

long futex_wake(const std::atomic<std::uint64_t> &word, int processes) {
    return ::syscall(SYS_futex, low_half(word), FUTEX_WAKE, processes, nullptr, nullptr, 0);
}

nanoseconds Deadline::left() {
    // A year is as good as never, and doesn't overflow.
    constexpr std::int64_t year = 365LL * 24 * 3600 * 1000;
    const Clock::time_point now = Clock::now();
    if (!has_begun_) {
        const bool limited = milliseconds_ >= 0 && milliseconds_ < year;
        end_ = now + std::chrono::milliseconds(limited ? milliseconds_ : year);
        has_begun_ = true;
    }
    return end_ - now;
}

}  // namespace tarnbase::runtime
