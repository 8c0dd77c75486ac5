// SPDX-License-Identifier: Apache-2.0
// A follower by itself, so that a checkpoint can come between two of its steps.
#include "runtime/store/follower.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <vector>

#include "tests/unit/runtime_store/open_store.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::File;
using tarnbase::runtime::Image;
using tarnbase::runtime::StoreFolder;

constexpr std::uint64_t block_bytes = 4ULL << 20;

class Follower : public StoreTest {
 protected:
    void SetUp() override {
        ASSERT_EQ(writer.error, 0U) << kel_error_text();
        folder.path = path;
        folder.folder = File(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        ASSERT_TRUE(folder.folder.is_open());
        ASSERT_EQ(folder.control.open(folder.folder.descriptor(), path.c_str()), 0U);
        ASSERT_EQ(image.region.map(nullptr, small_capacity), 0U);
    }

    void make(const char *key, std::uint64_t bytes = block_bytes) {
        ASSERT_EQ(writer.change([&](std::uint32_t) { writer.make(key, bytes); }), 0U);
    }
    void fill(const char *key, std::uint64_t value, std::uint64_t bytes = block_bytes) {
        const auto action = [&](std::uint32_t tx) {
            std::uint64_t *block = writer.find(key);
            writer.handle->write_log_hook(writer.handle->arena, block, bytes, tx);
            std::fill_n(block, bytes / sizeof *block, value);
        };
        ASSERT_EQ(writer.change(action), 0U);
    }
    void release(const char *key) {
        const auto action = [&](std::uint32_t tx) {
            writer.handle->free_hook(writer.handle->arena, tx, writer.find(key));
            loam_set_key(writer.handle->arena, key, nullptr);
        };
        ASSERT_EQ(writer.change(action), 0U);
    }
    // The store's own thread may be making one.
    void make_checkpoint() {
        std::uint32_t error = 0;
        while ((error = kel_store_checkpoint(writer.store)) == EBUSY) std::this_thread::yield();
        ASSERT_EQ(error, 0U) << kel_error_text();
    }
    std::vector<char> bytes() const { return {image.bytes().begin(), image.bytes().end()}; }
    bool is_equal_to_the_writer() const {
        const auto *theirs = static_cast<const char *>(writer.describe().base);
        return std::ranges::equal(image.bytes(), std::span(theirs, image.bytes().size()));
    }

    OpenStore writer{path.c_str()};
    StoreFolder folder;
    Image image;
    tarnbase::runtime::Follower follower{folder, image};
};

TEST_F(Follower, MapsNoCheckpointOfFramesThatItHasNotApplied) {
    // Not of zeros, so that their pages are those of the checkpoint's file.
    for (const char *key : {"first", "second"}) {
        make(key);
        fill(key, 9);
    }
    make_checkpoint();
    ASSERT_EQ(follower.load(), 0U);
    fill("first", 1);
    ASSERT_EQ(follower.catch_up(), 0U);
    fill("second", 2);
    make_checkpoint();
    const std::vector<char> before = bytes();
    EXPECT_EQ(follower.share_pages(), 0U);
    EXPECT_FALSE(follower.is_current());
    EXPECT_TRUE(bytes() == before);
    EXPECT_EQ(follower.catch_up(), 0U);
    EXPECT_TRUE(is_equal_to_the_writer());
}

TEST_F(Follower, HasZerosWhereANewerCheckpointWasLarger) {
    constexpr std::uint64_t short_bytes = 1 << 20;
    make("first");
    make("last", short_bytes);
    fill("first", 9);
    make_checkpoint();
    ASSERT_EQ(follower.load(), 0U);
    fill("first", 1);
    fill("last", 9, short_bytes);
    ASSERT_EQ(follower.catch_up(), 0U);
    make_checkpoint();
    const std::uint64_t size = writer.describe().size;
    release("last");
    ASSERT_LT(writer.describe().size, size);
    ASSERT_EQ(follower.catch_up(), 0U);
    EXPECT_EQ(follower.share_pages(), 0U);
    make("again", short_bytes);
    ASSERT_EQ(follower.catch_up(), 0U);
    EXPECT_TRUE(is_equal_to_the_writer());
}

// Blocks of several sizes, whose places are in another order than their allocations.
TEST_F(Follower, HasTheBlocksOfATransactionThatMakesAndReleasesThousands) {
    constexpr std::uint64_t count = 3000;
    const auto allocate = [&](std::uint32_t tx, std::uint64_t number) {
        auto *block = static_cast<std::uint64_t *>(
            writer.handle->alloc_hook(writer.handle->arena, tx, 16 + number % 7 * 48));
        writer.set(tx, block, number + 1);
        return block;
    };
    const auto release = [&](std::uint32_t tx, void *block) {
        writer.handle->free_hook(writer.handle->arena, tx, block);
    };
    std::vector<std::uint64_t *> blocks;
    const auto make_them = [&](std::uint32_t tx) {
        for (std::uint64_t i = 0; i < count; ++i) blocks.push_back(allocate(tx, i));
    };
    ASSERT_EQ(writer.change(make_them), 0U);
    ASSERT_EQ(follower.load(), 0U);
    const auto change_them = [&](std::uint32_t tx) {
        for (std::uint64_t i = 0; i < count; ++i) {
            std::uint64_t *const made = allocate(tx, 5 * i);
            if (i % 2 == 0) release(tx, made);
            if (i % 3 == 0) release(tx, blocks[i]);
        }
    };
    ASSERT_EQ(writer.change(change_them), 0U);
    ASSERT_EQ(follower.catch_up(), 0U);
    EXPECT_TRUE(is_equal_to_the_writer());
}

}  // namespace
}  // namespace tarn::test
