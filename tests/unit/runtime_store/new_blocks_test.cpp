// SPDX-License-Identifier: Apache-2.0
// The bytes that a transaction needn't save: those of its own blocks.
#include <set>

#include "runtime/store/new_blocks.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::GranuleSet;
using tarnbase::runtime::NewBlocks;

TEST(GranulesOfAStore, AreThoseThatWereInserted) {
    Chance chance(31);
    GranuleSet set;
    for (int round = 0; round < 3; ++round) {
        std::set<std::uint64_t> model;
        for (int i = 0; i < 200; ++i) {
            const std::uint64_t offset = 16 * chance.below(40000);
            const std::uint64_t length = 1 + chance.below(i % 20 == 0 ? 200000 : 600);
            set.insert(offset, length);
            for (std::uint64_t at = offset / 16; at * 16 < offset + length; ++at) model.insert(at);
        }
        for (int i = 0; i < 2000; ++i) {
            const std::uint64_t offset = chance.below(700000), length = 1 + chance.below(300);
            bool known = true;
            for (std::uint64_t at = offset / 16; at * 16 < offset + length; ++at) {
                known = known && model.contains(at);
            }
            ASSERT_EQ(set.contains(offset, length), known) << offset << ", " << length;
        }
        EXPECT_FALSE(set.is_empty());
        set.clear();
        EXPECT_TRUE(set.is_empty());
        EXPECT_FALSE(set.contains(0, 700000));
    }
}

TEST(GranulesOfAStore, AreNoBytesOutsideOfIt) {
    GranuleSet set;
    set.insert(0, 65536);
    EXPECT_TRUE(set.contains(0, 16));
    EXPECT_FALSE(set.contains(0, 0));
    EXPECT_FALSE(set.contains(~0ULL - 7, 8));
    EXPECT_FALSE(set.contains(~0ULL - 7, 16));
    EXPECT_FALSE(set.contains(1ULL << 60, 16));
}

TEST(BlocksOfATransaction, AreAllKnownUntilItEnds) {
    NewBlocks blocks;
    EXPECT_FALSE(blocks.contain(0, 16));
    for (std::uint64_t i = 1; i <= 10000; ++i) blocks.add(i * 96, 64);
    for (std::uint64_t i = 1; i <= 10000; ++i) {
        ASSERT_TRUE(blocks.contain(i * 96, 64));
        ASSERT_TRUE(blocks.contain(i * 96 + 5, 7));
        ASSERT_FALSE(blocks.contain(i * 96 + 60, 7));
        ASSERT_FALSE(blocks.contain(i * 96 + 64, 1));
    }
    EXPECT_FALSE(blocks.contain(static_cast<std::uint64_t>(-32), 64));
    blocks.clear();
    for (std::uint64_t i = 1; i <= 10000; ++i) ASSERT_FALSE(blocks.contain(i * 96, 1));
}

}  // namespace
}  // namespace tarn::test
