/* SPDX-License-Identifier: Apache-2.0 */
// The time of day, as it is shown to users.
#ifndef TARNBASE_RUNTIME_BASE_CLOCK_H
#define TARNBASE_RUNTIME_BASE_CLOCK_H

#include <cstdint>
#include <ctime>

namespace tarnbase::runtime {

// Nanoseconds since 1970, from a clock that is read without a system call and is a few
// milliseconds late.
inline std::uint64_t coarse_time() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 +
           static_cast<std::uint64_t>(time.tv_nsec);
}

}  // namespace tarnbase::runtime

#endif
