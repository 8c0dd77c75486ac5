// SPDX-License-Identifier: Apache-2.0
//
// Moments, in nanoseconds since 1970, as text.
#ifndef TARNCTL_BASE_TIME_H
#define TARNCTL_BASE_TIME_H

#include <cstdint>
#include <string>

namespace tarnctl {

uint64_t current_time();
// "2026-11-22 08:20:01", in local time.
std::string local_time(uint64_t moment);
// "2026-11-22T08:20:01.250", in local time.
std::string iso_time(uint64_t moment);
// "2026-11-22T07:20:01.250Z".
std::string utc_time(uint64_t moment);
// "3 s", "12 min", "5 h" or "40 days": how long ago it was.
std::string age(uint64_t moment);

}  // namespace tarnctl

#endif
