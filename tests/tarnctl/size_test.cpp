// SPDX-License-Identifier: Apache-2.0
#include "base/size.h"

#include <gtest/gtest.h>

namespace {

using tarnctl::parse_size;
using tarnctl::size_text;

TEST(Size, IsReadInPowersOf1024) {
    EXPECT_EQ(parse_size("0"), 0U);
    EXPECT_EQ(parse_size("4096"), 4096U);
    EXPECT_EQ(parse_size("3K"), 3072U);
    EXPECT_EQ(parse_size("64G"), uint64_t{64} << 30);
    EXPECT_EQ(parse_size("16777215T"), uint64_t{16777215} << 40);
}

TEST(Size, ThatIsInvalidOrTooLargeIsRefused) {
    for (const char *bad :
         {"", "K", "1KB", "1k", "1.5G", "-1", " 1", "16777216T", "18446744073709551616"})
        EXPECT_EQ(parse_size(bad), std::nullopt) << bad;
}

TEST(Size, IsShownInAMatchingUnit) {
    EXPECT_EQ(size_text(0), "0 bytes");
    EXPECT_EQ(size_text(1), "1 byte");
    EXPECT_EQ(size_text(1023), "1023 bytes");
    EXPECT_EQ(size_text(1536), "1.5 KiB");
    EXPECT_EQ(size_text(uint64_t{64} << 30), "64 GiB");
    EXPECT_EQ(size_text(UINT64_MAX), "16777216 TiB");
}

}  // namespace
