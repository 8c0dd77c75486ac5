// SPDX-License-Identifier: Apache-2.0
#include <numeric>

#include "fixture.h"
#include "tarnbase/tarn/tables/test_grown.hpp"

namespace face_test {
namespace {

class Array : public Face {
 protected:
    tarn::table<tarn::grown> table = tarn::table<tarn::grown>::open_or_create(session, "grown");
    tarn::new_record<tarn::grown> record = table.make("day");
};

TEST_F(Array, ElementsAreReadAndSetByTheirIndex) {
    record.set_minute(0, 1);
    record.set_minute(1439, 255);
    EXPECT_EQ(record.minute(0), 1);
    EXPECT_EQ(record.minute(1), 0);
    EXPECT_EQ(record.minute(1439), 255);
}

TEST_F(Array, AnIndexBeyondTheEndIsRefused) {
    EXPECT_EQ(thrown_by([&] { record.set_minute(1440, 1); }).number(),
              static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(thrown_by([&] { (void)record.minute(1440); }).number(),
              static_cast<std::uint32_t>(ENOENT));
    const std::size_t wraps = std::size_t{1} << 32;
    EXPECT_EQ(record.try_minute(wraps).error().number(), static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(record.try_set_minute(wraps, 1).error().number(), static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(record.minute(0), 0);
}

TEST_F(Array, AllElementsAreARange) {
    record.set_minute(3, 5);
    record.set_minute(1400, 6);
    const tarn::byte_range all = record.minute();
    EXPECT_EQ(all.size(), 1440U);
    EXPECT_EQ(all[3], 5);
    EXPECT_EQ(std::accumulate(all.begin(), all.end(), 0), 11);
    record.set_minute(4, 7);
    EXPECT_EQ(all[4], 7);  // seen in place
}

TEST_F(Array, TheFirstElementsAreSetAtOnce) {
    const std::uint8_t some[] = {9, 8, 7};
    record.set_minute(3, 1);
    record.set_minute(some);
    EXPECT_EQ(record.minute(0), 9);
    EXPECT_EQ(record.minute(2), 7);
    EXPECT_EQ(record.minute(3), 1);
    auto other = table.make("other");
    other.set_minute(record.minute());
    EXPECT_EQ(other.minute(1), 8);
    EXPECT_EQ(thrown_by([&] { record.set_minute(tarn::bytes(1441)); }).code(),
              std::errc::invalid_argument);
}

}  // namespace
}  // namespace face_test
