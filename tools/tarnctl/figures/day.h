// SPDX-License-Identifier: Apache-2.0
//
// The figures of a day, one a minute, and their summary.
#ifndef TARNCTL_FIGURES_DAY_H
#define TARNCTL_FIGURES_DAY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarnctl {

inline constexpr std::size_t minutes_of_a_day = 1440;
inline constexpr std::size_t minutes_of_an_hour = 60;

struct Day {
    std::string title;             // "radius1 minute"
    std::vector<uint8_t> minutes;  // minutes_of_a_day of them
};

struct Summary {
    uint8_t low;
    uint8_t high;
    std::size_t low_minute;   // the first minute with this figure
    std::size_t high_minute;  // likewise
    double average;
};

Summary summary_of(const Day &day);
// "07:05".
std::string clock_text(std::size_t minute);

}  // namespace tarnctl

#endif
