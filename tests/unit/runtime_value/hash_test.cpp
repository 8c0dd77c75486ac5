// SPDX-License-Identifier: Apache-2.0
#include <random>
#include <set>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

TEST(Hash, EqualBytesAndSeedGiveEqualResultsAtAnyAddress) {
    std::vector<char> memory(64);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        std::memcpy(memory.data() + shift, "some bytes here", 15);
        EXPECT_EQ(SuperFastHash(memory.data() + shift, 15, 3),
                  SuperFastHash("some bytes here", 15, 3));
    }
}

TEST(Hash, EveryLengthAndEverySeedChangesTheResult) {
    const char bytes[] = "abcdefghijklmnop";
    std::set<std::uint32_t> results;
    for (std::int32_t length = 0; length <= 16; ++length) {
        for (std::uint32_t seed = 1; seed <= 20; ++seed) {
            results.insert(SuperFastHash(bytes, length, seed));
        }
    }
    EXPECT_EQ(results.size(), 17U * 20U);
}

TEST(Hash, WithoutBytesDifferentSeedsGiveDifferentResults) {
    EXPECT_NE(SuperFastHash("", 0, 1), SuperFastHash("", 0, 2));
    EXPECT_EQ(SuperFastHash(nullptr, 0, 5), SuperFastHash("x", 0, 5));
    EXPECT_EQ(SuperFastHash("x", -1, 5), SuperFastHash("x", 0, 5));
}

TEST(Hash, EveryBitOfTheDataChangesTheResult) {
    for (std::int32_t length = 1; length <= 9; ++length) {
        std::vector<char> bytes(static_cast<std::size_t>(length), 'q');
        const std::uint32_t before = SuperFastHash(bytes.data(), length, 11);
        for (auto &byte : bytes) {
            for (int bit = 0; bit < 8; ++bit) {
                byte = static_cast<char>(byte ^ (1 << bit));
                EXPECT_NE(SuperFastHash(bytes.data(), length, 11), before);
                byte = static_cast<char>(byte ^ (1 << bit));
            }
        }
    }
}

}  // namespace
}  // namespace tarn::test
