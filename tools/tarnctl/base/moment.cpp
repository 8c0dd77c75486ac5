// SPDX-License-Identifier: Apache-2.0
#include "base/moment.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <ctime>
#include <string_view>
#include <utility>

#include "base/time.h"

namespace tarnctl {
namespace {

constexpr uint64_t one_second = 1'000'000'000;

// All of the text as a number of digits alone.
std::optional<uint64_t> number_of(std::string_view text) {
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    if (text.empty() || !std::all_of(text.begin(), text.end(), is_digit)) return std::nullopt;
    uint64_t number = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec != std::errc()) return std::nullopt;
    return number;
}

std::optional<uint64_t> time_ago(std::string_view text, uint64_t present) {
    constexpr std::pair<std::string_view, uint64_t> units[] = {
        {"s", 1}, {"min", 60}, {"h", 3600}, {"d", 86400}, {"w", 7 * 86400}};
    constexpr uint64_t most = 1'000'000;
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    const auto number = number_of(text.substr(0, digits));
    for (const auto &[unit, seconds] : units) {
        if (!number || *number > most || text.substr(digits) != unit) continue;
        const uint64_t length = *number * seconds * one_second;
        return length < present ? present - length : 0;
    }
    return std::nullopt;
}

// ".25" as nanoseconds; nothing is none.
std::optional<uint64_t> take_fraction(std::string_view &rest) {
    if (!rest.starts_with('.')) return 0;
    rest.remove_prefix(1);
    const std::size_t digits = std::min(rest.find_first_not_of("0123456789"), rest.size());
    if (digits == 0 || digits > 9) return std::nullopt;
    uint64_t fraction = *number_of(rest.substr(0, digits));
    for (std::size_t i = digits; i < 9; ++i) fraction *= 10;
    rest.remove_prefix(digits);
    return fraction;
}

// "Z", "+01:00" or "+0100", as seconds east of Greenwich.
std::optional<int64_t> zone_of(std::string_view text) {
    if (text == "Z") return 0;
    if (text.size() < 5 || (text[0] != '+' && text[0] != '-')) return std::nullopt;
    const auto hours = number_of(text.substr(1, 2));
    const auto minutes = number_of(text.substr(text.size() - 2));
    const bool has_form = text.size() == 5 || (text.size() == 6 && text[3] == ':');
    if (!has_form || !hours || !minutes || *hours > 14 || *minutes > 59) return std::nullopt;
    const auto seconds = static_cast<int64_t>(*hours * 3600 + *minutes * 60);
    return text[0] == '-' ? -seconds : seconds;
}

// The seconds since 1970 of a date and a time of day, which must exist: not of a 30th of February.
std::optional<std::time_t> seconds_of(const std::tm &parts, const std::optional<int64_t> &zone) {
    std::tm made = parts;
    made.tm_isdst = -1;
    const std::time_t seconds = zone ? timegm(&made) - *zone : std::mktime(&made);
    const bool is_same = made.tm_mday == parts.tm_mday && made.tm_mon == parts.tm_mon;
    if (!is_same || seconds < 0) return std::nullopt;
    return seconds;
}

std::optional<uint64_t> time_of(const std::string &text, const char *form, bool has_day,
                                uint64_t present) {
    const auto today = static_cast<std::time_t>(present / one_second);
    std::tm parts{};
    localtime_r(&today, &parts);
    parts.tm_hour = parts.tm_min = parts.tm_sec = 0;
    const char *end = strptime(text.c_str(), form, &parts);
    if (end == nullptr) return std::nullopt;
    std::string_view rest(end);
    const auto fraction = take_fraction(rest);
    std::optional<int64_t> zone;
    if (!rest.empty() && has_day) zone = zone_of(rest);
    if (!fraction || (!rest.empty() && !zone)) return std::nullopt;
    const auto seconds = seconds_of(parts, zone);
    if (!seconds) return std::nullopt;
    return static_cast<uint64_t>(*seconds) * one_second + *fraction;
}

std::optional<uint64_t> calendar_time(const std::string &text, uint64_t present) {
    constexpr std::pair<const char *, bool> forms[] = {{"%Y-%m-%dT%H:%M:%S", true},
                                                       {"%Y-%m-%d %H:%M:%S", true},
                                                       {"%Y-%m-%dT%H:%M", true},
                                                       {"%Y-%m-%d %H:%M", true},
                                                       {"%Y-%m-%d", true},
                                                       {"%H:%M:%S", false},
                                                       {"%H:%M", false}};
    // strptime skips blanks and takes a sign.
    if (text.empty() || text[0] < '0' || text[0] > '9') return std::nullopt;
    for (const auto &[form, has_day] : forms) {
        if (const auto time = time_of(text, form, has_day, present)) return time;
    }
    return std::nullopt;
}

Moment moment_of(const std::string &word) {
    auto moment = parse_moment(word, current_time());
    if (!moment)
        throw cli::UsageError(
            "expected the number of a transaction, a time such as 2026-11-22T10:30 or 10:30, or "
            "how long ago, such as -2h");
    return std::move(*moment);
}

}  // namespace

std::optional<Moment> parse_moment(const std::string &text, uint64_t present) {
    // The two highest numbers have a meaning of their own.
    constexpr uint64_t most = UINT64_MAX - 2;
    if (const auto number = number_of(text)) {
        if (*number > most) return std::nullopt;
        return Moment{false, *number, text};
    }
    const auto time = text.starts_with('-') ? time_ago(std::string_view(text).substr(1), present)
                                            : calendar_time(text, present);
    if (!time) return std::nullopt;
    return Moment{true, *time, text};
}

cli::Target moment_into(std::optional<Moment> &moment) {
    return {[&moment](const std::string &word) { moment = moment_of(word); }, {}, false};
}

cli::Target moments_into(std::vector<Moment> &moments) {
    return {[&moments](const std::string &word) { moments.push_back(moment_of(word)); }, {}, true};
}

cli::Option &add_at_option(cli::Command &command, std::optional<Moment> &at) {
    return command.option("--at", "TIME", moment_into(at),
                          "The store as it was: at a time, as 2026-11-22T10:30, 10:30 or -2h, or "
                          "after the transaction of a number");
}

}  // namespace tarnctl
