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
        keeper.write({{"main", row}, {"other", {}}}, {"main"});
    }
    Keeper keeper(feeder::open_store({folder / "store"}));
    EXPECT_EQ(keeper.read("main"), row);
    EXPECT_EQ(keeper.read("other"), ServerRow{});
    EXPECT_EQ(keeper.read("missing"), std::nullopt);
    keeper.write({{"main", ServerRow{}}}, {"main"});
    EXPECT_EQ(keeper.read("main"), ServerRow{});
}

// A label has a limit, and there may be any number of servers.
TEST(Keeper, WritesTheRowsOfManyServers) {
    tarn::test::TemporaryDirectory folder;
    feeder::StoreSettings settings{folder / "store"};
    settings.journal = true;
    Keeper keeper(feeder::open_store(settings));
    keeper.write({{"main", ServerRow{}}}, std::vector<std::string>(300, "a-server"));
    EXPECT_EQ(keeper.read("main"), ServerRow{});
}

}  // namespace
}  // namespace tarn_radius
