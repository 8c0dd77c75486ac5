// SPDX-License-Identifier: Apache-2.0
// What is written is what is read, and zeros take no space.
#include "runtime/arena/allocator.h"
#include "tests/unit/runtime_checkpoint/support.h"

namespace tarnbase::runtime {
namespace {

class Write : public CheckpointTest {
 protected:
    Image read_image(const Checkpoint &checkpoint) {
        Image image(checkpoint.head().image_bytes);
        EXPECT_EQ(read_fully(checkpoint.descriptor(), image, checkpoint.head().image_offset), 0U);
        return image;
    }

    std::uint64_t disk_bytes(std::uint64_t position) {
        struct stat status {};
        EXPECT_EQ(::stat(path_of(checkpoint_name(position)).c_str(), &status), 0);
        return static_cast<std::uint64_t>(status.st_blocks) * 512;
    }
};

TEST_F(Write, RandomImagesAreReadBack) {
    constexpr std::uint64_t gaps[] = {1, 2, 5, 40, 1000};
    for (std::uint32_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        const std::uint64_t position = 1000 + seed;
        const Image image = sparse_image(1 + seed * 7 % 40, gaps[seed % std::size(gaps)], seed);
        write(position, image);
        Checkpoint checkpoint;
        ASSERT_EQ(checkpoint.open(folder(), test_id, position), 0U) << checkpoint.what();
        ASSERT_EQ(checkpoint.check_image(), 0U) << checkpoint.what();
        ASSERT_EQ(read_image(checkpoint), image);
    }
}

TEST_F(Write, TheHeadIsTheCallers) {
    write(4711, sparse_image(3, 2, 1));
    Checkpoint checkpoint;
    ASSERT_EQ(checkpoint.open(folder(), test_id, 4711), 0U);
    const CheckpointHead expected = test_head(4711);
    const CheckpointHead &head = checkpoint.head();
    EXPECT_EQ(head.id, expected.id);
    EXPECT_EQ(head.base, expected.base);
    EXPECT_EQ(head.capacity, expected.capacity);
    EXPECT_EQ(head.position, expected.position);
    EXPECT_EQ(head.segment, expected.segment);
    EXPECT_EQ(head.sequence, expected.sequence);
    EXPECT_EQ(head.image_bytes, 3 * image_page_bytes);
    EXPECT_EQ(head.image_offset % hole_bytes, 0U);
}

TEST_F(Write, TheFileBeginsAsTheFormatSays) {
    write(0x123456789abcdef0, Image(image_page_bytes));
    EXPECT_EQ(names(), std::vector<std::string>{"checkpoint-123456789abcdef0"});
    char start[16];
    ASSERT_EQ(read_fully(open_to_write(0x123456789abcdef0).descriptor(), start, 0), 0U);
    EXPECT_EQ(std::string(start, 16), std::string("TARNCKPT\1\0\0\0\4\3\2\1", 16));
}

TEST_F(Write, ZerosAreHoles) {
    write(1, Image(1024 * image_page_bytes));
    EXPECT_EQ(check(1), 0U) << what;
    EXPECT_LE(disk_bytes(1), 3 * 4096U);
}

// With this capacity, 64 pages and more.
constexpr std::uint64_t large_capacity = 64ULL << 30;

TEST_F(Write, AByteTakesOneBlockInTheFrontAndOnePageAfterIt) {
    CheckpointHead head = test_head(1);
    head.capacity = large_capacity;
    const std::uint64_t front = Allocator::front_bytes(head.capacity);
    Image image(1024 * image_page_bytes);
    for (std::uint64_t at = 0; at < front; at += 16 * image_page_bytes) image[at] = 1;
    image.back() = 1;
    ASSERT_EQ(write_checkpoint(folder(), head, image), 0U);
    EXPECT_EQ(check(1), 0U) << what;
    const std::uint64_t bytes_set = front / (16 * image_page_bytes) + 1;
    EXPECT_LE(disk_bytes(1), (3 + bytes_set) * 4096U + image_page_bytes);
}

TEST_F(Write, TheExtentsAreAllThatIsNotZero) {
    CheckpointHead head = test_head(1);
    head.capacity = large_capacity;
    const Image image = sparse_image(300, 40, 7);
    ASSERT_EQ(write_checkpoint(folder(), head, image), 0U);
    Checkpoint checkpoint;
    ASSERT_EQ(checkpoint.open(folder(), test_id, 1), 0U) << checkpoint.what();
    std::vector<ImageExtent> extents;
    ASSERT_EQ(checkpoint.extents(extents), 0U) << checkpoint.what();
    Image found(image.size());
    std::uint64_t bytes = 0, last = 0;
    for (const ImageExtent &extent : extents) {
        ASSERT_GE(extent.offset, last);
        last = extent.offset + extent.bytes;
        ASSERT_LE(last, image.size());
        bytes += extent.bytes;
        ASSERT_EQ(read_fully(checkpoint.descriptor(),
                             std::span(found).subspan(extent.offset, extent.bytes),
                             checkpoint.head().image_offset + extent.offset),
                  0U);
    }
    EXPECT_EQ(found, image);
    EXPECT_LT(bytes, image.size() / 2);
}

// The table of checksums of 1024 pages fills 4096 bytes exactly.
TEST_F(Write, TheImageFollowsTheChecksums) {
    const struct {
        std::uint64_t pages, offset;
    } cases[] = {{1, 8192}, {1023, 8192}, {1024, 8192}, {1025, 12288}};
    for (const auto &each : cases) {
        write(each.pages, Image(each.pages * image_page_bytes));
        Checkpoint checkpoint;
        ASSERT_EQ(checkpoint.open(folder(), test_id, each.pages), 0U);
        EXPECT_EQ(checkpoint.head().image_offset, each.offset);
    }
}

TEST_F(Write, ACheckpointOfTheSamePositionIsReplaced) {
    write(5, sparse_image(4, 2, 1));
    const Image second = sparse_image(2, 2, 2);
    write(5, second);
    Checkpoint checkpoint;
    ASSERT_EQ(checkpoint.open(folder(), test_id, 5), 0U);
    EXPECT_EQ(read_image(checkpoint), second);
    EXPECT_EQ(names().size(), 1U);
}

TEST_F(Write, TheFoldersPermissionsAreTheFiles) {
    for (const mode_t mode : {0700U, 0750U, 0755U, 0775U}) {
        ASSERT_EQ(::fchmod(folder(), mode), 0);
        write(mode, Image(image_page_bytes));
        struct stat status {};
        ASSERT_EQ(::stat(path_of(checkpoint_name(mode)).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, mode & 0666U);
    }
}

TEST_F(Write, HeadsThatNoStoreHasAreRefused) {
    const Image image(2 * image_page_bytes);
    const auto refused = [&](auto change, std::size_t bytes) {
        CheckpointHead head = test_head(100);
        change(head);
        return write_checkpoint(folder(), head, std::span(image).first(bytes)) == EINVAL;
    };
    const auto nothing = [](CheckpointHead &) {};
    EXPECT_TRUE(refused(nothing, 0));
    EXPECT_TRUE(refused(nothing, image_page_bytes + 1));
    EXPECT_TRUE(refused([](CheckpointHead &head) { head.base = 0; }, image.size()));
    EXPECT_TRUE(refused([](CheckpointHead &head) { head.base += 4096; }, image.size()));
    EXPECT_TRUE(refused([](CheckpointHead &head) { head.base = ~0xffffULL; }, image.size()));
    EXPECT_TRUE(refused([](CheckpointHead &head) { head.capacity = 0; }, image.size()));
    EXPECT_TRUE(refused([](CheckpointHead &head) { head.capacity += 1; }, image.size()));
    EXPECT_TRUE(refused([](CheckpointHead &head) { head.capacity = 2ULL << 40; }, image.size()));
    EXPECT_TRUE(
        refused([](CheckpointHead &head) { head.capacity = image_page_bytes; }, image.size()));
    EXPECT_TRUE(refused([](CheckpointHead &head) { head.segment = 101; }, image.size()));
    EXPECT_TRUE(names().empty());
}

}  // namespace
}  // namespace tarnbase::runtime
