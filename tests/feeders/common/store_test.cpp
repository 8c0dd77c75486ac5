// SPDX-License-Identifier: Apache-2.0
#include "common/store.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "tarnbase/tarn/journal.hpp"
#include "tests/support/temporary_directory.h"

namespace feeder {
namespace {

class StoreOfFeeder : public testing::Test {
 protected:
    // The number of the error of a second owner; 0: there can be one.
    uint32_t refusal(const std::string &store, const std::string &program) const {
        try {
            const Ownership second(store, program);
        } catch (const tarn::error &error) {
            return error.number();
        }
        return 0;
    }

    tarn::test::TemporaryDirectory directory;
    std::string path = directory / "a.store";
};

TEST_F(StoreOfFeeder, HasOneOwnerOfAProgram) {
    {
        const Ownership first(path, "tarn-a");
        EXPECT_EQ(refusal(path, "tarn-a"), uint32_t(ETIMEDOUT));
        EXPECT_EQ(refusal(path + "/", "tarn-a"), uint32_t(ETIMEDOUT));
        EXPECT_EQ(refusal(path, "tarn-b"), 0U);
        EXPECT_EQ(refusal(directory / "b.store", "tarn-a"), 0U);
        EXPECT_TRUE(std::filesystem::exists(directory / ".a.store.tarn-a.lock"));
    }
    EXPECT_EQ(refusal(path, "tarn-a"), 0U);
}

TEST_F(StoreOfFeeder, SaysWhoseItIs) {
    const Ownership first(path, "tarn-a");
    try {
        const Ownership second(path, "tarn-a");
        FAIL() << "there are two";
    } catch (const tarn::error &error) {
        EXPECT_EQ(std::string(error.what()), path + ": another tarn-a keeps this store");
    }
    EXPECT_EQ(refusal(directory / "none/a.store", "tarn-a"), uint32_t(ENOENT));
}

TEST_F(StoreOfFeeder, IsFreeWhenItsOwnerWasKilled) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t owner = fork();
    if (owner == 0) {
        const Ownership own(path, "tarn-a");
        if (write(ready[1], "x", 1) == 1) pause();
        _exit(1);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_EQ(refusal(path, "tarn-a"), uint32_t(ETIMEDOUT));
    kill(owner, SIGKILL);
    ASSERT_EQ(waitpid(owner, nullptr, 0), owner);
    EXPECT_EQ(refusal(path, "tarn-a"), 0U);
    for (const int each : ready) close(each);
}

TEST_F(StoreOfFeeder, CanBeReadByItsGroupAlone) {
    const mode_t former = umask(0);
    { const tarn::store store = open_store({path}); }
    umask(former);
    for (const auto &each : std::filesystem::recursive_directory_iterator(directory.path())) {
        struct stat status {};
        ASSERT_EQ(stat(each.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0027U, 0U) << each.path();
        // Who only reads doesn't need the list of those who write.
        const bool is_for_readers = each.path().filename() != "processes";
        EXPECT_EQ((status.st_mode & 0040U) != 0, is_for_readers) << each.path();
    }
}

TEST_F(StoreOfFeeder, HasTheJournalAndTheDurabilityOfTheSettings) {
    const auto settings_of = [](const tarn::store &store) {
        return tarn::try_describe_journal(store).value().settings;
    };
    EXPECT_EQ(settings_of(open_store({path})).enabled, KEL_JOURNAL_OFF);
    const auto made = settings_of(open_store({path, true, KEL_DURABILITY_INTERVAL}));
    EXPECT_EQ(made.enabled, KEL_JOURNAL_ON);
    EXPECT_EQ(made.durability, KEL_DURABILITY_INTERVAL);
    EXPECT_EQ(made.interval, 1000U);
    // Without settings it stays as it is.
    const auto kept = settings_of(open_store({path}));
    EXPECT_EQ(kept.enabled, KEL_JOURNAL_ON);
    EXPECT_EQ(kept.durability, KEL_DURABILITY_INTERVAL);
}

TEST_F(StoreOfFeeder, FailsForAWhileIfItIsBusyOrTheDiskIsFull) {
    for (const int passing : {ETIMEDOUT, ENOSPC, EDQUOT})
        EXPECT_TRUE(will_pass(tarn::error(uint32_t(passing), "")));
    for (const int lasting : {EIO, EACCES, EINVAL, ENOENT})
        EXPECT_FALSE(will_pass(tarn::error(uint32_t(lasting), "")));
}

}  // namespace
}  // namespace feeder
