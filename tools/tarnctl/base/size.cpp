// SPDX-License-Identifier: Apache-2.0
#include "base/size.h"

#include <fmt/core.h>

#include <charconv>

namespace tarnctl {
namespace {

constexpr std::string_view suffixes = "KMGT";

}  // namespace

std::optional<uint64_t> parse_size(std::string_view text) {
    uint64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc()) return std::nullopt;
    if (stop == end) return number;
    const std::size_t power = suffixes.find(*stop);
    if (stop + 1 != end || power == std::string_view::npos) return std::nullopt;
    const uint64_t unit = uint64_t{1} << (10 * (power + 1));
    if (number > UINT64_MAX / unit) return std::nullopt;
    return number * unit;
}

std::string size_text(uint64_t bytes) {
    if (bytes < 1024) return fmt::format("{} byte{}", bytes, bytes == 1 ? "" : "s");
    auto number = static_cast<double>(bytes) / 1024;
    std::size_t power = 0;
    for (; number >= 1024 && power + 1 < suffixes.size(); ++power) number /= 1024;
    const std::string figure = fmt::format("{:.1f}", number);
    return fmt::format("{} {}iB",
                       figure.ends_with(".0") ? figure.substr(0, figure.size() - 2) : figure,
                       suffixes[power]);
}

}  // namespace tarnctl
