// SPDX-License-Identifier: Apache-2.0
#include "figures/drawing.h"

#include <gtest/gtest.h>

namespace {

using tarnctl::Day;
using tarnctl::heatmap;
using tarnctl::Screen;
using tarnctl::sparkline;

constexpr Screen wide_utf8 = {.is_terminal = true, .width = 200, .colour = false, .utf8 = true};
constexpr Screen narrow_plain = {.is_terminal = true, .width = 80, .colour = false, .utf8 = false};
constexpr Screen coloured = {.is_terminal = true, .width = 80, .colour = true, .utf8 = true};

Day day_with(std::size_t minute, uint8_t figure) {
    Day day{"t", std::vector<uint8_t>(tarnctl::minutes_of_a_day)};
    day.minutes[minute] = figure;
    return day;
}

std::size_t characters_of_first_line(const std::string &text) {
    std::size_t count = 0;
    for (const char c : text.substr(0, text.find('\n')))
        if ((static_cast<unsigned char>(c) & 0xc0) != 0x80) ++count;
    return count;
}

TEST(Drawing, ALineCombinesMinutesToFitItsWidth) {
    EXPECT_EQ(characters_of_first_line(sparkline(day_with(0, 9), wide_utf8)), 144U);
    EXPECT_EQ(characters_of_first_line(sparkline(day_with(0, 9), narrow_plain)), 72U);
}

TEST(Drawing, ABarIsAsHighAsTheHighestOfItsMinutes) {
    EXPECT_EQ(sparkline(day_with(29, 200), narrow_plain).substr(0, 3), " @ ");
    EXPECT_EQ(sparkline(day_with(19, 1), wide_utf8).substr(0, 4), " █");
}

TEST(Drawing, AnyNonzeroFigureIsVisible) {
    Day day = day_with(0, 255);
    day.minutes[1439] = 1;
    const std::string line = sparkline(day, narrow_plain);
    EXPECT_EQ(line[0], '@');
    EXPECT_EQ(line[71], '.');
    EXPECT_EQ(line[1], ' ');
}

TEST(Drawing, WithoutUtf8OnlyAsciiIsDrawn) {
    Day day{"t", {}};
    for (std::size_t i = 0; i < tarnctl::minutes_of_a_day; ++i)
        day.minutes.push_back(static_cast<uint8_t>(i % 256));
    for (const char c : sparkline(day, narrow_plain) + heatmap(day, narrow_plain))
        EXPECT_TRUE(c == '\n' || (c >= ' ' && c <= '~')) << int(c);
}

TEST(Drawing, ColoursAreUsedIfTheScreenHasThem) {
    EXPECT_NE(heatmap(day_with(5, 5), coloured).find("\x1b[48;5;226m"), std::string::npos);
    EXPECT_EQ(heatmap(day_with(5, 5), wide_utf8).find('\x1b'), std::string::npos);
}

TEST(Drawing, ADayOfZerosIsEmptyAndNoError) {
    const std::string line = sparkline(day_with(0, 0), wide_utf8);
    EXPECT_EQ(line.substr(0, 144), std::string(144, ' '));
}

}  // namespace
