// SPDX-License-Identifier: Apache-2.0
// Publishing positions, and waiting for them in other processes.
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <thread>

#include "tests/unit/runtime_control/store_folder.h"

namespace tarn::test {
namespace {

constexpr std::uint64_t many = 2000;
constexpr std::uint64_t few = 100;
constexpr std::int64_t long_time = 60'000;

class PublishTest : public StoreFolder {
 protected:
    // Waits for each position that the test publishes after it saw the one before.
    static int follow(Peer &peer, const char *path, std::uint64_t count) {
        const Opened store(path);
        TARN_PEER_EXPECT(store.error == 0);
        std::uint64_t position = 0;
        while (position < count * 8) {
            if (!peer.tell()) return 2;
            TARN_PEER_EXPECT(store.control.wait(position, long_time));
            const std::uint64_t published = store.control.page().published.load();
            TARN_PEER_EXPECT(published == position + 8);
            position = published;
        }
        return 0;
    }
    static int follow_as_owner(Peer &peer, const char *path) { return follow(peer, path, many); }
    static int follow_as_another_user(Peer &peer, const char *path) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) return 2;
        TARN_PEER_EXPECT(!Opened(path).control.is_writable());
        return follow(peer, path, few);
    }

    void lead(PeerBody body, std::uint64_t count) {
        Peer first(body, path());
        Peer second(body, path());
        Opened store(path());
        for (std::uint64_t i = 1; i <= count; ++i) {
            ASSERT_TRUE(first.await() && second.await());
            // In half of the rounds the others are asleep.
            if (i % 2 == 0) std::this_thread::sleep_for(std::chrono::microseconds(100));
            store.control.publish(i * 8);
        }
        EXPECT_EQ(first.join(), 0);
        EXPECT_EQ(second.join(), 0);
    }
};

TEST_F(PublishTest, EachPublicationWakesTheOthers) { lead(follow_as_owner, many); }

TEST_F(PublishTest, AReadOnlyMappingCanWaitToo) {
    if (::getuid() != 0) GTEST_SKIP() << "only root becomes another user";
    lead(follow_as_another_user, few);
}

TEST_F(PublishTest, AWaitEndsWithItsTime) {
    Opened store(path());
    EXPECT_FALSE(store.control.wait(0, 0));
    EXPECT_FALSE(store.control.wait(0, 120));
    store.control.publish(8);
    EXPECT_TRUE(store.control.wait(0, 0));
    EXPECT_TRUE(store.control.wait(0, -1));
    EXPECT_FALSE(store.control.wait(8, 1));
}

// In this mode the kernel kills a process for any system call but read, write and exit.
int commit_without_system_calls(Peer &, const char *path) {
    Opened store(path);
    TARN_PEER_EXPECT(store.error == 0 && store.attach() == 0);
    TARN_PEER_EXPECT(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) == 0);
    for (std::uint64_t i = 1; i <= 1000; ++i) {
        if (store.lock.acquire(0) != 0) ::syscall(SYS_exit, 3);
        store.control.publish(i * 8);
        store.lock.release();
        if (!store.control.wait(i * 8 - 8, 100)) ::syscall(SYS_exit, 4);
    }
    ::syscall(SYS_exit, 0);
    return 1;
}

TEST_F(PublishTest, AnUndisturbedCommitMakesNoSystemCall) {
    Peer peer(commit_without_system_calls, path());
    EXPECT_EQ(peer.join(), 0);
    EXPECT_EQ(Opened(path()).control.page().published.load(), 8000u);
}

}  // namespace
}  // namespace tarn::test
