// SPDX-License-Identifier: Apache-2.0
/// @file
/// Converts the schema's times from and to the standard library's.
#ifndef TARNBASE_TARN_TIMESPEC_HPP
#define TARNBASE_TARN_TIMESPEC_HPP

#include <chrono>

#include "tarnbase/tarn/types/timespec.hpp"

namespace tarn {

/// Returns: the time since its epoch.
inline std::chrono::nanoseconds duration_of(const timespec &time) noexcept {
    return std::chrono::seconds(time.tv_sec()) + std::chrono::nanoseconds(time.tv_nsec());
}

/// Returns: the time as a time point of the system clock, if its epoch is 1970.
inline std::chrono::system_clock::time_point time_of(const timespec &time) noexcept {
    using clock = std::chrono::system_clock;
    return clock::time_point(std::chrono::duration_cast<clock::duration>(duration_of(time)));
}

/// Sets a time from a time point of the system clock. Error: EOVERFLOW its seconds don't
/// fit in 32 bits.
inline result<void> try_set_time(timespec time, std::chrono::system_clock::time_point when) {
    using namespace std::chrono;
    const nanoseconds since = duration_cast<nanoseconds>(when.time_since_epoch());
    const seconds whole = duration_cast<seconds>(since);
    if (since.count() < 0 || whole.count() > 0xffffffffLL)
        return detail::make_error(EOVERFLOW, detail::setting, "a time of 32 bits");
    result<void> done = time.try_set_tv_sec(static_cast<std::uint32_t>(whole.count()));
    if (done) done = time.try_set_tv_nsec(static_cast<std::uint32_t>((since - whole).count()));
    return done;
}

#if TARN_EXCEPTIONS
/// As try_set_time; throws.
inline void set_time(timespec time, std::chrono::system_clock::time_point when) {
    try_set_time(time, when).value();
}
#endif

}  // namespace tarn

#endif
