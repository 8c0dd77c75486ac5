// SPDX-License-Identifier: Apache-2.0
#include "figures/drawing.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>

namespace tarnctl {
namespace {

// From 0 to the highest figure.
constexpr std::array<const char *, 9> bars = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::array<const char *, 5> shades = {" ", "░", "▒", "▓", "█"};
constexpr std::array<const char *, 9> plain = {" ", ".", ":", "-", "=", "+", "*", "#", "@"};
// Colours of the 256-colour palette, from dark to bright.
constexpr std::array<int, 9> heat = {16, 17, 54, 90, 125, 161, 202, 214, 226};

// Every figure but 0 is visible, and only the highest has the last step.
template <std::size_t Steps>
std::size_t step_of(unsigned figure, unsigned high) {
    if (figure == 0 || high == 0) return 0;
    if (figure == high) return Steps - 1;
    return 1 + (figure - 1) * (Steps - 2) / high;
}

// The shortest time a bar that divides the day and fits it in `width`.
std::size_t minutes_of_a_bar(std::size_t width) {
    for (const std::size_t minutes : {1U, 2U, 3U, 4U, 5U, 6U, 10U, 12U, 15U, 20U, 30U}) {
        if (minutes_of_a_day / minutes <= width) return minutes;
    }
    return minutes_of_an_hour;
}

// "00", "03", ... below the bars of these hours.
std::string hours_below(std::size_t a_bar) {
    const std::size_t an_hour = std::max<std::size_t>(1, minutes_of_an_hour / a_bar);
    const std::size_t hours = an_hour >= 4 ? 1 : an_hour >= 2 ? 2 : 3;
    std::string line;
    for (std::size_t hour = 0; hour < 24; hour += hours)
        line += fmt::format("{:<{}}", fmt::format("{:02}", hour), hours * an_hour);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string cell(unsigned figure, unsigned high, const Screen &screen) {
    if (screen.colour)
        return fmt::format("\x1b[48;5;{}m \x1b[0m", heat[step_of<heat.size()>(figure, high)]);
    return screen.utf8 ? shades[step_of<shades.size()>(figure, high)]
                       : plain[step_of<plain.size()>(figure, high)];
}

}  // namespace

std::string sparkline(const Day &day, const Screen &screen) {
    const unsigned high = summary_of(day).high;
    const std::size_t a_bar = minutes_of_a_bar(screen.width == 0 ? 80 : screen.width);
    std::string line;
    for (auto at = day.minutes.begin(); at != day.minutes.end(); at += static_cast<long>(a_bar)) {
        const unsigned figure = *std::max_element(at, at + static_cast<long>(a_bar));
        line += screen.utf8 ? bars[step_of<bars.size()>(figure, high)]
                            : plain[step_of<plain.size()>(figure, high)];
    }
    return fmt::format("{}\n{}\n", line, hours_below(a_bar));
}

std::string heatmap(const Day &day, const Screen &screen) {
    const unsigned high = summary_of(day).high;
    std::string field = fmt::format("    {:<10}{:<10}{:<10}{:<10}{:<10}{}\n", ":00", ":10", ":20",
                                    ":30", ":40", ":50");
    for (std::size_t minute = 0; minute < day.minutes.size(); ++minute) {
        const std::size_t in_hour = minute % minutes_of_an_hour;
        if (in_hour == 0) field += fmt::format("{:02}  ", minute / minutes_of_an_hour);
        field += cell(day.minutes[minute], high, screen);
        if (in_hour == minutes_of_an_hour - 1) field += '\n';
    }
    return field;
}

}  // namespace tarnctl
