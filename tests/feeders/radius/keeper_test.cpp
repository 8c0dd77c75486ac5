// SPDX-License-Identifier: Apache-2.0
#include "radius/keeper.h"

#include <gtest/gtest.h>

#include "common/store.h"
#include "tests/support/temporary_directory.h"

namespace tarn_radius {
namespace {

TEST(Keeper, ReadsWhatWasWritten) {
    tarn::test::TemporaryDirectory folder;
    ServerRow row;
    uint32_t next = 0;
#define X(field) row.field = ++next;
    RADIUS_SERVER_NUMBERS(X)
#undef X
#define X(field) row.aaa_authen.field = ++next;
    RADIUS_AUTHEN_NUMBERS(X)
#undef X
    row.status = 1;
    {
        Keeper keeper(feeder::open_store({folder / "store"}));
        EXPECT_EQ(keeper.read("main"), std::nullopt);
        keeper.write({{"main", row}, {"other", {}}}, "a test");
    }
    Keeper keeper(feeder::open_store({folder / "store"}));
    EXPECT_EQ(keeper.read("main"), row);
    EXPECT_EQ(keeper.read("other"), ServerRow{});
    EXPECT_EQ(keeper.read("missing"), std::nullopt);
    keeper.write({{"main", ServerRow{}}}, "a test");
    EXPECT_EQ(keeper.read("main"), ServerRow{});
}

}  // namespace
}  // namespace tarn_radius
