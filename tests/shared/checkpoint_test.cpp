// SPDX-License-Identifier: Apache-2.0
// Checkpoints that several processes make.
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "tests/shared/connections.h"

namespace shared_test {
namespace {

namespace fs = std::filesystem;

class Checkpoints : public SharedStore {
 protected:
    // Files of the store whose names contain a text.
    std::size_t files(const std::string &text) const {
        std::size_t count = 0;
        std::error_code ignored;
        for (const auto &entry : fs::directory_iterator(path, ignored)) {
            count += entry.path().filename().string().find(text) != std::string::npos;
        }
        return count;
    }

    // Stops a process while it makes a checkpoint. False: it was faster.
    bool stop_at_work(const Child &maker) const {
        maker.tell();
        while (files(".new.") == 0 && !maker.is_told()) {
        }
        maker.send(SIGSTOP);
        int status = 0;
        need(::waitpid(maker.pid(), &status, WUNTRACED) == maker.pid() && WIFSTOPPED(status),
             "the process has ended");
        if (files(".new.") != 0) return true;
        maker.send(SIGCONT);
        maker.await();
        return false;
    }
};

// Commits and makes a checkpoint whenever it is told to.
void commit_and_checkpoint(Child &test, const std::string &path) {
    Connections connections(path);
    for (std::uint32_t i = 1;; ++i) {
        test.await();
        connections.commit("mine", i);
        const std::uint32_t error = kel_store_checkpoint(connections.store.c_store());
        need(error == 0 || error == ENOENT, kel_error_text());
        test.tell();
    }
}

TEST_F(Checkpoints, OfAStoppedProcessAreMadeByAnotherAndItsOwnIsDropped) {
    Connections::create(path, numbered("record", 40000));
    Child maker([&](Child &test) { commit_and_checkpoint(test, path); });
    int attempts = 0;
    while (!stop_at_work(maker)) ASSERT_LT(++attempts, 200) << "it is always faster";
    Connections other(path);
    other.commit("other", 1);
    ASSERT_EQ(kel_store_compact(other.store.c_store()), 0U) << kel_error_text();
    EXPECT_EQ(files(".new."), 0U);
    const Content expected = other.content();

    maker.send(SIGCONT);
    maker.await();
    EXPECT_EQ(files("checkpoint-"), 1U);
    other.store.refresh();
    EXPECT_EQ(other.content(), expected);
    const std::uint32_t before = other.number("mine");
    maker.tell();
    maker.await();
    EXPECT_EQ(files("checkpoint-"), 1U);
    other.store.refresh();
    EXPECT_EQ(other.number("mine"), before + 1);
    maker.send(SIGKILL);
    EXPECT_EQ(maker.join(), -SIGKILL);
}

}  // namespace
}  // namespace shared_test
