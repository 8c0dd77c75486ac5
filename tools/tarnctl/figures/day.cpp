// SPDX-License-Identifier: Apache-2.0
#include "figures/day.h"

#include <fmt/core.h>

#include <algorithm>
#include <numeric>

namespace tarnctl {

Summary summary_of(const Day &day) {
    const auto begin = day.minutes.begin();
    const auto end = day.minutes.end();
    const auto low = std::min_element(begin, end);
    const auto high = std::max_element(begin, end);
    const double sum = std::accumulate(begin, end, 0.0);
    return {*low, *high, static_cast<std::size_t>(low - begin),
            static_cast<std::size_t>(high - begin), sum / static_cast<double>(day.minutes.size())};
}

std::string clock_text(std::size_t minute) {
    return fmt::format("{:02}:{:02}", minute / minutes_of_an_hour, minute % minutes_of_an_hour);
}

}  // namespace tarnctl
