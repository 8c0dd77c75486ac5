// SPDX-License-Identifier: Apache-2.0
// Removal of old checkpoints and of files that a killed process was writing.
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "runtime/base/working_file.h"
#include "tests/unit/runtime_checkpoint/support.h"

namespace tarnbase::runtime {
namespace {

class Remove : public CheckpointTest {
 protected:
    void touch(const std::string &name) const {
        const File file(::openat(folder(), name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        ASSERT_TRUE(file.is_open());
    }
};

TEST_F(Remove, RemovesWhatIsBeforeThePosition) {
    for (const std::uint64_t position : {0ULL, 5ULL, 6ULL, 7ULL, ~0ULL}) {
        write(position, Image(image_page_bytes));
    }
    remove_checkpoints(folder(), 6);
    const std::vector<std::string> left = {checkpoint_name(6), checkpoint_name(7),
                                           checkpoint_name(~0ULL)};
    EXPECT_EQ(names(), left);
    // From the start of the folder again.
    remove_checkpoints(folder(), 8);
    EXPECT_EQ(names(), std::vector{checkpoint_name(~0ULL)});
}

TEST_F(Remove, RemovesWorkingFiles) {
    touch(checkpoint_name(9) + ".new.17.0");
    touch(checkpoint_name(1) + ".new.1");
    remove_checkpoints(folder(), 0);
    EXPECT_TRUE(names().empty());
}

TEST_F(Remove, LeavesOtherFiles) {
    std::vector<std::string> others = {"checkpoint-",
                                       "checkpoint-000000000000000",
                                       "checkpoint-000000000000000G",
                                       "checkpoint-000000000000000A",
                                       "checkpoint-0000000000000001.bak",
                                       "checkpoint-00000000000000011",
                                       "checkpoint-+000000000000001",
                                       "control",
                                       "log-0000000000000000",
                                       "xcheckpoint-0000000000000001"};
    for (const std::string &name : others) touch(name);
    remove_checkpoints(folder(), ~0ULL);
    std::ranges::sort(others);
    EXPECT_EQ(names(), others);
}

TEST_F(Remove, AFolderThatCantBeReadIsNoMatter) {
    remove_checkpoints(-1, 0);
    write(1, Image(image_page_bytes));
    remove_checkpoints(open_to_write(1).descriptor(), 2);
    EXPECT_EQ(names().size(), 1U);
}

TEST_F(Remove, AKilledWriterLeavesTheCheckpointOrAWorkingFile) {
    const Image image = sparse_image(200, 2, 1);
    const Image old = sparse_image(1, 2, 1);
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        write(1, old);
        const pid_t child = ::fork();
        if (child == 0) {
            write_checkpoint(folder(), test_head(2), image);
            ::_exit(0);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
        ::kill(child, SIGKILL);
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        const std::uint32_t error = check(2);
        ASSERT_TRUE(error == 0 || error == ENOENT) << what;
        ASSERT_EQ(check(1), 0U) << what;
        remove_checkpoints(folder(), error == 0 ? 2 : 1);
        ASSERT_EQ(names(), std::vector{checkpoint_name(error == 0 ? 2 : 1)});
        ASSERT_EQ(::unlinkat(folder(), names()[0].c_str(), 0), 0);
    }
}

// Two processes of one number, in different pid namespaces.
TEST_F(Remove, AWorkingNameThatIsTakenIsLeft) {
    const std::string taken = working_name(checkpoint_name(4), 0);
    touch(taken);
    write(4, Image(image_page_bytes));
    EXPECT_EQ(names(), (std::vector{checkpoint_name(4), taken}));
}

}  // namespace
}  // namespace tarnbase::runtime
