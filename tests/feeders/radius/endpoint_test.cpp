// SPDX-License-Identifier: Apache-2.0
#include "radius/endpoint.h"

#include <gtest/gtest.h>

#include "cli/target.h"

namespace tarn_radius {
namespace {

TEST(Endpoint, IsReadInEachForm) {
    EXPECT_EQ(Endpoint::parse("192.0.2.2", 1812).text(), "192.0.2.2:1812");
    EXPECT_EQ(Endpoint::parse("192.0.2.2:99", 1812).text(), "192.0.2.2:99");
    EXPECT_EQ(Endpoint::parse("2001:db8::2", 1812).text(), "[2001:db8::2]:1812");
    EXPECT_EQ(Endpoint::parse("[2001:db8::2]", 1812).text(), "[2001:db8::2]:1812");
    EXPECT_EQ(Endpoint::parse("[2001:db8:0::2]:99", 1812).text(), "[2001:db8::2]:99");
}

TEST(Endpoint, HasItsBytes) {
    EXPECT_EQ(Endpoint::parse("192.0.2.2", 1812).address().size(), 4u);
    EXPECT_EQ(Endpoint::parse("192.0.2.2", 1812).address()[3], 2);
    EXPECT_EQ(Endpoint::parse("2001:db8::3", 1812).address().size(), 16u);
    EXPECT_EQ(Endpoint::parse("2001:db8::3", 1812).address()[15], 3);
}

TEST(Endpoint, OfAnotherAddressOrPortIsAnother) {
    const Endpoint one = Endpoint::parse("192.0.2.2:1812", 1);
    EXPECT_TRUE(one == Endpoint::parse("192.0.2.2", 1812));
    EXPECT_FALSE(one == Endpoint::parse("192.0.2.3", 1812));
    EXPECT_FALSE(one == Endpoint::parse("192.0.2.2", 1813));
    EXPECT_FALSE(one == Endpoint::parse("::ffff:192.0.2.2", 1812));
}

TEST(Endpoint, OfAnythingElseIsRefused) {
    for (const char *each :
         {"", "radius.example.net", "192.0.2.2:", "192.0.2.2:0", "192.0.2.2:65536", "192.0.2.2:1x",
          "192.0.2.256", "[2001:db8::2", "[2001:db8::2]1812", "[]:1812", ":1812", "2001:db8:::2"})
        EXPECT_THROW(Endpoint::parse(each, 1812), cli::UsageError) << each;
}

}  // namespace
}  // namespace tarn_radius
