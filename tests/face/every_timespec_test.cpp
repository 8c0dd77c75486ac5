// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tarnbase/tarn/owned.hpp"
#include "tarnbase/tarn/timespec.hpp"

namespace face_test {
namespace {

using namespace std::chrono_literals;

class Timespec : public testing::Test {
 protected:
    tarn::store store = tarn::store::create_private();
    tarn::session session{store};
    tarn::owned<tarn::timespec> time = tarn::owned<tarn::timespec>::make(session);
};

TEST_F(Timespec, IsATimeOfTheSystemClock) {
    const auto when = std::chrono::system_clock::from_time_t(1700000000) + 123456789ns;
    tarn::set_time(time, when);
    EXPECT_EQ(time.tv_sec(), 1700000000U);
    EXPECT_EQ(time.tv_nsec(), 123456789U);
    EXPECT_EQ(tarn::time_of(time), when);
}

TEST_F(Timespec, IsADuration) {
    time.set_tv_sec(3);
    time.set_tv_nsec(5);
    EXPECT_EQ(tarn::duration_of(time), 3s + 5ns);
}

TEST_F(Timespec, HoldsTheSecondsOf32Bits) {
    const auto last = std::chrono::system_clock::from_time_t(0xffffffffLL);
    tarn::set_time(time, last);
    EXPECT_EQ(tarn::time_of(time), last);
    EXPECT_EQ(tarn::try_set_time(time, last + 1s).error().code(), std::errc::value_too_large);
    EXPECT_EQ(tarn::try_set_time(time, std::chrono::system_clock::from_time_t(-1)).error().code(),
              std::errc::value_too_large);
    EXPECT_EQ(tarn::time_of(time), last);
}

}  // namespace
}  // namespace face_test
