/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/crc32c.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/unit/runtime_log/support.h"

namespace tarnbase::runtime {
namespace {

// RFC 3720, appendix B.4.
TEST(Crc32c, OfKnownBytes) {
    std::string rising(32, 0);
    for (std::size_t i = 0; i < rising.size(); ++i) rising[i] = static_cast<char>(i);
    const std::string falling(rising.rbegin(), rising.rend());
    std::string command(48, 0);
    command[0] = 0x01;
    command[1] = static_cast<char>(0xc0);
    command[16] = 0x14;
    command[22] = 0x04;
    command[27] = 0x14;
    command[31] = 0x18;
    command[32] = 0x28;
    command[40] = 0x02;

    EXPECT_EQ(crc32c(std::string(32, 0)), 0x8a9136aaU);
    EXPECT_EQ(crc32c(std::string(32, static_cast<char>(0xff))), 0x62a8ab43U);
    EXPECT_EQ(crc32c(rising), 0x46dd794eU);
    EXPECT_EQ(crc32c(falling), 0x113fdb5cU);
    EXPECT_EQ(crc32c(command), 0xd9963a56U);
    EXPECT_EQ(crc32c(std::string("123456789")), 0xe3069283U);
    EXPECT_EQ(crc32c({}), 0U);
}

TEST(Crc32c, EqualsAtAllLengthsAndAlignments) {
    if (!has_crc32c_instruction()) GTEST_SKIP() << "the processor has no instruction for it";
    Random random(1);
    const std::string bytes = random_bytes(random, 20000);
    const auto compare = [&](std::size_t start, std::size_t size) {
        const auto part = std::span<const char>(bytes).subspan(start, size);
        const auto before = static_cast<std::uint32_t>(random());
        ASSERT_EQ(crc32c_by_instruction(part, before), crc32c_by_table(part, before))
            << start << ' ' << size;
    };
    for (std::size_t start = 0; start < 8; ++start) {
        for (std::size_t size = 0; size < 1200; ++size) compare(start, size);
        for (std::size_t size = 6100; size < 6200; ++size) compare(start, size);
        for (std::size_t size = 12200; size < 12800; size += 7) compare(start, size);
        compare(start, bytes.size() - start);
    }
}

TEST(Crc32c, Continues) {
    Random random(2);
    const std::string bytes = random_bytes(random, 2000);
    const std::span<const char> all(bytes);
    for (std::size_t cut = 0; cut <= bytes.size(); cut += 13) {
        ASSERT_EQ(crc32c(all.subspan(cut), crc32c(all.first(cut))), crc32c(all)) << cut;
        ASSERT_EQ(crc32c_by_table(all.subspan(cut), crc32c_by_table(all.first(cut))), crc32c(all));
    }
}

}  // namespace
}  // namespace tarnbase::runtime
