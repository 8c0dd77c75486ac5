// SPDX-License-Identifier: Apache-2.0
#include "base/time.h"

#include <fmt/core.h>

#include <chrono>
#include <ctime>

namespace tarnctl {
namespace {

constexpr uint64_t second = 1'000'000'000;

std::string formatted(const char *form, const std::tm &parts) {
    char text[32];
    return {text, std::strftime(text, sizeof text, form, &parts)};
}

std::tm local_parts(uint64_t moment) {
    const auto seconds = static_cast<std::time_t>(moment / second);
    std::tm parts{};
    localtime_r(&seconds, &parts);
    return parts;
}

}  // namespace

uint64_t current_time() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(since).count());
}

std::string local_time(uint64_t moment) {
    return formatted("%Y-%m-%d %H:%M:%S", local_parts(moment));
}

std::string iso_time(uint64_t moment) {
    return fmt::format("{}.{:03}", formatted("%Y-%m-%dT%H:%M:%S", local_parts(moment)),
                       moment % second / 1'000'000);
}

std::string utc_time(uint64_t moment) {
    const auto seconds = static_cast<std::time_t>(moment / second);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    return fmt::format("{}.{:03}Z", formatted("%Y-%m-%dT%H:%M:%S", parts),
                       moment % second / 1'000'000);
}

std::string age(uint64_t moment) {
    const uint64_t present = current_time();
    const uint64_t seconds = present > moment ? (present - moment) / second : 0;
    if (seconds < 120) return fmt::format("{} s", seconds);
    if (seconds < 120 * 60) return fmt::format("{} min", seconds / 60);
    if (seconds < 48 * 3600) return fmt::format("{} h", seconds / 3600);
    return fmt::format("{} days", seconds / (24 * 3600));
}

}  // namespace tarnctl
