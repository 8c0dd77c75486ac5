/* SPDX-License-Identifier: Apache-2.0 */
#include "runtime/log/segment.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/unit/runtime_log/support.h"

namespace tarnbase::runtime {
namespace {

struct stat status_of(const std::string &path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status;
}

std::uint32_t open_read_only(const Folder &folder, std::uint64_t position, Segment &segment) {
    return segment.open(folder.descriptor(), test_id, position, false);
}

TEST(Segment, NameHas16Digits) {
    EXPECT_EQ(segment_name(0), "log-0000000000000000");
    EXPECT_EQ(segment_name(0xfedcba9876543210), "log-fedcba9876543210");
}

TEST(Segment, IsCreatedWithAllOfItsBlocks) {
    const Folder folder;
    Segment segment;
    ASSERT_EQ(segment.create(folder.descriptor(), test_id, 4096, 100000), 0U);
    EXPECT_TRUE(segment.is_open());
    EXPECT_EQ(segment.first(), 4096U);
    EXPECT_EQ(segment.size(), 131072U);
    EXPECT_EQ(segment.from(4096).size(), 131072U - 64);
    const struct stat status = status_of(folder.segment(4096));
    EXPECT_EQ(status.st_size, 131072);
    EXPECT_GE(status.st_blocks * 512, 131072);
    EXPECT_EQ(folder.names(), std::set{segment_name(4096)});

    std::ranges::fill(segment.from(4096), 'x');
    Segment again;
    ASSERT_EQ(open_read_only(folder, 4096, again), 0U);
    EXPECT_EQ(again.size(), 131072U);
    EXPECT_TRUE(std::ranges::equal(again.from(4096), segment.from(4096)));
}

TEST(Segment, ContainsPositionsWithSpaceForAnEndMark) {
    const Folder folder;
    Segment segment;
    EXPECT_FALSE(segment.contains(0));
    ASSERT_EQ(segment.create(folder.descriptor(), test_id, 800), 0U);
    const std::uint64_t last = 800 + 65536 - 64 - 16;
    EXPECT_FALSE(segment.contains(0));
    EXPECT_FALSE(segment.contains(792));
    EXPECT_TRUE(segment.contains(800));
    EXPECT_FALSE(segment.contains(804));
    EXPECT_TRUE(segment.contains(last));
    EXPECT_FALSE(segment.contains(last + 8));
    EXPECT_FALSE(segment.contains(~std::uint64_t{7}));
}

TEST(Segment, ReplacesFilesOfItsNameAndOfItsWorkingName) {
    const Folder folder;
    write_file(folder.segment(0), "old");
    write_file(folder.file("log-new"), "old");
    Segment segment;
    ASSERT_EQ(segment.create(folder.descriptor(), test_id, 0), 0U);
    Segment again;
    EXPECT_EQ(open_read_only(folder, 0, again), 0U);
    EXPECT_EQ(folder.names(), std::set{segment_name(0)});
}

TEST(Segment, HasTheModeOfItsFolder) {
    const Folder folder;
    for (const mode_t mode : {0700U, 0750U, 0775U, 02770U}) {
        ASSERT_EQ(::fchmod(folder.descriptor(), mode), 0);
        Segment segment;
        ASSERT_EQ(segment.create(folder.descriptor(), test_id, 0), 0U);
        EXPECT_EQ(status_of(folder.segment(0)).st_mode & 07777, mode & 0666U);
    }
}

TEST(Segment, IsOpenedWithoutWritePermission) {
    const Folder folder;
    Segment segment;
    ASSERT_EQ(segment.create(folder.descriptor(), test_id, 0), 0U);
    ASSERT_EQ(::chmod(folder.segment(0).c_str(), 0444), 0);
    const auto before = status_of(folder.segment(0));
    Segment again;
    EXPECT_EQ(open_read_only(folder, 0, again), 0U);
    EXPECT_EQ(status_of(folder.segment(0)).st_mtime, before.st_mtime);
}

TEST(Segment, ThatIsMissingIsNotFound) {
    const Folder folder;
    Segment segment;
    EXPECT_EQ(open_read_only(folder, 0, segment), std::uint32_t{ENOENT});
    EXPECT_FALSE(segment.is_open());
}

TEST(Segment, WithAFlippedBitInItsHeadIsDamaged) {
    const Folder folder;
    Segment segment;
    ASSERT_EQ(segment.create(folder.descriptor(), test_id, 0), 0U);
    const std::string right = read_file(folder.segment(0));
    for (std::size_t bit = 0; bit < std::size_t{8} * 40; ++bit) {
        std::string damaged = right;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
        write_file(folder.segment(0), damaged);
        Segment again;
        ASSERT_EQ(open_read_only(folder, 0, again), std::uint32_t{EBADMSG}) << bit;
        ASSERT_FALSE(again.is_open());
        ASSERT_STRNE(again.what(), "");
    }
}

TEST(Segment, OfAnotherLengthIsDamaged) {
    const Folder folder;
    Segment segment;
    ASSERT_EQ(segment.create(folder.descriptor(), test_id, 0), 0U);
    for (const std::uint64_t size : {0U, 1U, 63U, 64U, 4096U, 65535U, 65537U, 131072U}) {
        std::filesystem::resize_file(folder.segment(0), size);
        Segment again;
        EXPECT_EQ(open_read_only(folder, 0, again), std::uint32_t{EBADMSG}) << size;
        EXPECT_EQ(again.open(folder.descriptor(), test_id, 0, true), std::uint32_t{EBADMSG});
    }
}

TEST(Segment, OfAnotherStoreOrPositionIsDamaged) {
    const Folder folder;
    Segment segment;
    ASSERT_EQ(segment.create(folder.descriptor(), test_id, 0), 0U);
    StoreId other = test_id;
    other[15] ^= 1;
    Segment again;
    EXPECT_EQ(again.open(folder.descriptor(), other, 0, false), std::uint32_t{EBADMSG});
    EXPECT_STREQ(again.what(), "a log segment belongs to another store");
    std::filesystem::copy(folder.segment(0), folder.segment(8));
    EXPECT_EQ(open_read_only(folder, 8, again), std::uint32_t{EBADMSG});
    EXPECT_STREQ(again.what(), "a log segment has another position than its name");
}

TEST(Segment, ThatIsNoFileIsRefused) {
    const Folder folder;
    Segment segment;
    ASSERT_EQ(::mkfifo(folder.segment(0).c_str(), 0666), 0);
    EXPECT_EQ(open_read_only(folder, 0, segment), std::uint32_t{EBADMSG});
    std::filesystem::create_directory(folder.segment(8));
    EXPECT_EQ(open_read_only(folder, 8, segment), std::uint32_t{EBADMSG});
    std::filesystem::create_symlink("nowhere", folder.segment(16));
    EXPECT_EQ(open_read_only(folder, 16, segment), std::uint32_t{ELOOP});
}

TEST(Segment, RemovalKeepsThePositionAndWhatFollows) {
    const Folder folder;
    for (const std::uint64_t position : {0U, 800U, 1600U, 2400U, 3200U}) {
        write_file(folder.segment(position), "");
    }
    write_file(folder.segment(1800), "");  // of a writer that died at 1800
    write_file(folder.file("log-new"), "");
    write_file(folder.file("log-12"), "");
    write_file(folder.file("log-000000000000000g"), "");
    write_file(folder.file("control"), "");
    const std::set<std::string> others = {"control", "log-12", "log-000000000000000g"};

    remove_segments(folder.descriptor(), 2000, 1600);
    std::set<std::string> left = others;
    left.insert({segment_name(1600), segment_name(2400), segment_name(3200)});
    EXPECT_EQ(folder.names(), left);

    remove_segments(folder.descriptor(), 2400, 1600);  // the end of 1600
    EXPECT_EQ(folder.names(), left);
    remove_segments(folder.descriptor(), 2400, 2400);
    left.erase(segment_name(1600));
    EXPECT_EQ(folder.names(), left);
}

}  // namespace
}  // namespace tarnbase::runtime
