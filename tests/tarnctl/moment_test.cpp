// SPDX-License-Identifier: Apache-2.0
//
// Moments as a user writes them.
#include "base/moment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace tarnctl {
namespace {

constexpr uint64_t second = 1'000'000'000;
// 2026-11-22 12:00:00 UTC.
constexpr uint64_t noon = 1795348800 * second;

class Moments : public testing::Test {
 protected:
    void SetUp() override {
        setenv("TZ", "UTC-2", 1);  // two hours east
        tzset();
    }
    void TearDown() override {
        unsetenv("TZ");
        tzset();
    }
    // The seconds that the time is before noon; nothing if the text isn't a time.
    static std::optional<double> before_noon(const std::string &text) {
        const auto moment = parse_moment(text, noon);
        if (!moment || !moment->is_time) return std::nullopt;
        return static_cast<double>(static_cast<int64_t>(noon - moment->value)) / second;
    }
};

TEST_F(Moments, AreNumbersOfTransactions) {
    const auto moment = parse_moment("4711", noon);
    ASSERT_TRUE(moment);
    EXPECT_FALSE(moment->is_time);
    EXPECT_EQ(moment->value, 4711U);
    EXPECT_EQ(parse_moment("0", noon)->value, 0U);
    EXPECT_FALSE(parse_moment("18446744073709551615", noon));
    EXPECT_FALSE(parse_moment("18446744073709551616", noon));
}

TEST_F(Moments, AreTimesOfTheZoneOrOfOne) {
    EXPECT_EQ(before_noon("2026-11-22T14:00:00"), 0);
    EXPECT_EQ(before_noon("2026-11-22 13:59"), 60);
    EXPECT_EQ(before_noon("2026-11-22T13:59:59.75"), 0.25);
    EXPECT_EQ(before_noon("2026-11-22T11:00Z"), 3600);
    EXPECT_EQ(before_noon("2026-11-22T13:00:00+01:00"), 0);
    EXPECT_EQ(before_noon("2026-11-22T05:30:00.5-0630"), -0.5);
    EXPECT_EQ(before_noon("2026-11-22"), 14 * 3600);
}

TEST_F(Moments, AreTimesOfToday) {
    EXPECT_EQ(before_noon("13:30"), 1800);
    EXPECT_EQ(before_noon("13:59:30"), 30);
}

TEST_F(Moments, AreAgo) {
    EXPECT_EQ(before_noon("-90s"), 90);
    EXPECT_EQ(before_noon("-15min"), 900);
    EXPECT_EQ(before_noon("-2h"), 7200);
    EXPECT_EQ(before_noon("-1d"), 86400);
    EXPECT_EQ(before_noon("-2w"), 14 * 86400);
    EXPECT_EQ(before_noon("-1000000w"), static_cast<double>(noon) / second);
}

TEST_F(Moments, AreNothingElse) {
    for (const char *text : {"",
                             "-",
                             "now",
                             "-2",
                             "-h",
                             "2h",
                             "-2x",
                             "--2h",
                             "-1000001s",
                             "25:00",
                             "10:60",
                             "10",
                             "x",
                             "2026-13-01",
                             "2026-02-30",
                             "2026-11-22T",
                             "2026-11-22Tx",
                             "2026-11-22T10:30+1",
                             "2026-11-22T10:30+25:00",
                             "2026-11-22T10:30z",
                             "10:30Z",
                             "10:30:05.",
                             " 10:30",
                             "2026-11-22T10:30:05.1234567890",
                             "1969-12-31T00:00Z"}) {
        const auto moment = parse_moment(text, noon);
        EXPECT_TRUE(!moment || (std::string(text) == "10" && !moment->is_time)) << text;
    }
}

}  // namespace
}  // namespace tarnctl
