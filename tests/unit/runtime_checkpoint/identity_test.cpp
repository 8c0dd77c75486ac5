// SPDX-License-Identifier: Apache-2.0
// The identity of a file changes when the file does.
#include <thread>

#include "tests/unit/runtime_checkpoint/support.h"

namespace tarnbase::runtime {
namespace {

class Identity : public CheckpointTest {
 protected:
    std::uint64_t identity() {
        Checkpoint checkpoint;
        EXPECT_EQ(checkpoint.open(folder(), test_id, 1), 0U) << checkpoint.what();
        return checkpoint.identity();
    }

    // Longer than the unit of the kernel's times of files.
    static void pause() { std::this_thread::sleep_for(std::chrono::milliseconds(30)); }
};

TEST_F(Identity, IsTheSameEachTime) {
    write(1, sparse_image(2, 2, 1));
    const std::uint64_t first = identity();
    EXPECT_NE(first, 0U);
    pause();
    EXPECT_EQ(check(1), 0U);
    EXPECT_EQ(identity(), first);
}

TEST_F(Identity, ChangesWhenTheFileIsWritten) {
    const Image image = sparse_image(2, 2, 1);
    write(1, image);
    const std::uint64_t first = identity();
    pause();
    const File file = open_to_write(1);
    // The same byte again.
    flip(file, 8192, 0);
    EXPECT_NE(identity(), first);
}

TEST_F(Identity, ChangesWhenTheFileIsReplaced) {
    write(1, sparse_image(2, 2, 1));
    const std::uint64_t first = identity();
    write(1, sparse_image(2, 2, 1));
    EXPECT_NE(identity(), first);
}

TEST_F(Identity, DiffersBetweenFiles) {
    write(1, sparse_image(2, 2, 1));
    write(2, sparse_image(2, 2, 1));
    Checkpoint second;
    ASSERT_EQ(second.open(folder(), test_id, 2), 0U);
    EXPECT_NE(identity(), second.identity());
}

// It isn't known to be any file: nothing that was recorded is equal.
TEST_F(Identity, OfNoFileIsntZero) { EXPECT_NE(Checkpoint().identity(), 0U); }

}  // namespace
}  // namespace tarnbase::runtime
