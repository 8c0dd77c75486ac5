// SPDX-License-Identifier: Apache-2.0
// The writer's lock between real processes, which stop, fork and are killed.
#include "runtime/control/writer_lock.h"

#include <signal.h>

#include <cstring>
#include <memory>
#include <random>
#include <thread>

#include "tests/unit/runtime_control/store_folder.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::holder_text;
using tarnbase::runtime::is_held;

constexpr std::uint64_t rounds = 100'000;
constexpr std::int64_t long_time = 60'000;

class WriterLockTest : public StoreFolder {
 protected:
    // Opens and attaches, and counts under the lock.
    static int count(Peer &, const char *path) {
        Opened store(path);
        TARN_PEER_EXPECT(store.error == 0 && store.attach() == 0);
        // All begin at once.
        ++notes_->flag;
        while (notes_->flag < 3) std::this_thread::yield();
        for (std::uint64_t i = 0; i < rounds; ++i) {
            TARN_PEER_EXPECT(store.lock.acquire(long_time) == 0);
            increment(i % 64 == 0);
            store.lock.release();
        }
        return 0;
    }
    static int count_for_ever(Peer &peer, const char *path) {
        Opened store(path);
        TARN_PEER_EXPECT(store.error == 0 && store.attach() == 0);
        if (!peer.tell()) return 2;
        while (true) {
            TARN_PEER_EXPECT(store.lock.acquire(long_time) == 0);
            increment(false);
            store.lock.release();
        }
    }
    // Two writers at once are seen here, and lose increments.
    static void increment(bool slowly) {
        volatile std::uint64_t *counter = &notes_->counter;
        const std::uint64_t before = *counter;
        if (slowly) std::this_thread::yield();
        *counter = before + 1;
    }
    // Takes the lock and stays.
    static int hold(Peer &peer, const char *path) {
        Opened store(path);
        TARN_PEER_EXPECT(store.error == 0 && store.attach() == 0);
        TARN_PEER_EXPECT(store.lock.acquire(long_time) == 0);
        notes_->pid = static_cast<std::uint32_t>(::getpid());
        if (!peer.tell()) return 2;
        peer.await();
        return 0;
    }
    static int wait_and_release(Peer &peer, const char *path) {
        Opened store(path);
        TARN_PEER_EXPECT(store.error == 0 && store.attach() == 0);
        if (!peer.tell()) return 2;
        TARN_PEER_EXPECT(store.lock.acquire(long_time) == 0);
        notes_->counter += 1;
        return 0;
    }
};

TEST_F(WriterLockTest, WritersExcludeEachOther) {
    Peer first(count, path());
    Peer second(count, path());
    Peer third(count, path());
    EXPECT_EQ(first.join(), 0);
    EXPECT_EQ(second.join(), 0);
    EXPECT_EQ(third.join(), 0);
    EXPECT_EQ(notes_->counter, 3 * rounds);
}

TEST_F(WriterLockTest, ADeadHolderIsTakenOver) {
    Opened store(path());
    ASSERT_EQ(store.attach(), 0u);
    std::minstd_rand random(4711);
    for (int i = 0; i < 40; ++i) {
        Peer first(count_for_ever, path());
        Peer second(count_for_ever, path());
        ASSERT_TRUE(first.await() && second.await());
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
        for (Peer *peer : {&first, &second}) {
            peer->kill();
            ASSERT_EQ(store.lock.acquire(long_time), 0u) << "round " << i;
            store.lock.release();
        }
    }
}

TEST_F(WriterLockTest, ABusyWriterLetsOthersHaveTurns) {
    Peer busy(count_for_ever, path());
    ASSERT_TRUE(busy.await());
    Opened store(path());
    ASSERT_EQ(store.attach(), 0u);
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(store.lock.acquire(long_time), 0u);
        store.lock.release();
    }
}

TEST_F(WriterLockTest, EachOfManyWaitersTakesOverFromADeadHolder) {
    Peer holder(hold, path());
    ASSERT_TRUE(holder.await());
    Peer first(wait_and_release, path());
    Peer second(wait_and_release, path());
    ASSERT_TRUE(first.await() && second.await());
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    holder.kill();
    EXPECT_EQ(first.join(), 0);
    EXPECT_EQ(second.join(), 0);
    EXPECT_EQ(notes_->counter, 2u);
}

TEST_F(WriterLockTest, AStoppedHolderIsWaitedForAndNamed) {
    Peer holder(hold, path());
    ASSERT_TRUE(holder.await());
    Opened store(path());
    ASSERT_EQ(store.attach(), 0u);
    ::kill(static_cast<pid_t>(notes_->pid.load()), SIGSTOP);
    EXPECT_EQ(store.lock.acquire(130), static_cast<std::uint32_t>(ETIMEDOUT));
    EXPECT_FALSE(store.lock.is_held());
    Holder shown{};
    ASSERT_TRUE(store.lock.holder(shown));
    EXPECT_EQ(shown.pid, notes_->pid);
    EXPECT_EQ(holder_text(shown).rfind(
                  "held by " + std::to_string(notes_->pid) + " (runtime_control) since 20", 0),
              0u)
        << holder_text(shown);
    Holder read{};
    EXPECT_TRUE(WriterLock::shown_holder(store.control.page().lock, read));
    EXPECT_EQ(read.pid, shown.pid);
    ::kill(static_cast<pid_t>(notes_->pid.load()), SIGCONT);
    holder.tell();
    EXPECT_EQ(holder.join(), 0);
    EXPECT_EQ(store.lock.acquire(0), 0u);
}

TEST_F(WriterLockTest, AHolderBeforeItsNameIsShownHasAPid) {
    Peer holder(hold, path());
    ASSERT_TRUE(holder.await());
    Opened store(path());
    ASSERT_EQ(store.attach(), 0u);
    store.control.page().lock.holder[0] = 0;
    Holder shown{};
    ASSERT_TRUE(store.lock.holder(shown));
    EXPECT_EQ(holder_text(shown), "held by " + std::to_string(notes_->pid));
    EXPECT_FALSE(WriterLock::shown_holder(store.control.page().lock, shown));
}

TEST_F(WriterLockTest, ADeadHolderIsNotShown) {
    Opened store(path());
    ASSERT_EQ(store.attach(), 0u);
    Peer holder(hold, path());
    ASSERT_TRUE(holder.await());
    holder.kill();
    const LockPage &page = store.control.page().lock;
    EXPECT_TRUE(is_held(page.word));
    Holder shown{};
    EXPECT_FALSE(store.lock.holder(shown));
    EXPECT_FALSE(WriterLock::shown_holder(page, shown));
    ASSERT_EQ(store.lock.acquire(0), 0u);
    ASSERT_TRUE(store.lock.holder(shown));
    EXPECT_EQ(shown.pid, static_cast<std::uint32_t>(::getpid()));
    store.lock.release();
    EXPECT_FALSE(store.lock.holder(shown));
}

TEST_F(WriterLockTest, TheNumberOfADeadHolderIsFreedBeforeItIsUsed) {
    Peer holder(hold, path());
    ASSERT_TRUE(holder.await());
    holder.kill();
    Opened store(path());
    const LockPage &page = store.control.page().lock;
    ASSERT_TRUE(is_held(page.word));
    const std::uint64_t before = page.word;
    ASSERT_EQ(store.attach(), 0u);
    EXPECT_FALSE(is_held(page.word));
    ASSERT_EQ(store.lock.acquire(0), 0u);
    EXPECT_TRUE(is_held(page.word));
    EXPECT_NE(page.word, before);
}

TEST_F(WriterLockTest, AProcessIsRegisteredOnce) {
    Opened store(path());
    ASSERT_EQ(store.attach(), 0u);
    ASSERT_EQ(store.lock.acquire(0), 0u);
    {
        Opened again(path());
        EXPECT_EQ(again.attach(), static_cast<std::uint32_t>(EBUSY));
    }
    Peer peer(
        [](Peer &, const char *other) {
            Opened own(other);
            TARN_PEER_EXPECT(own.attach() == 0);
            TARN_PEER_EXPECT(own.lock.acquire(60) == ETIMEDOUT);
            return 0;
        },
        path());
    EXPECT_EQ(peer.join(), 0);
}

TEST_F(WriterLockTest, AnEndedProcessLeavesItsNumber) {
    for (int i = 0; i < 3; ++i) {
        Opened store(path());
        ASSERT_EQ(store.attach(), 0u);
        ASSERT_EQ(store.lock.acquire(0), 0u);
        EXPECT_EQ(tarnbase::runtime::holder_number(store.control.page().lock.word), 0u);
    }
    EXPECT_FALSE(is_held(Opened(path()).control.page().lock.word));
}

// A store that the test opened before it forked.
std::unique_ptr<Opened> shared_by_fork;

int use_inherited(Peer &peer, const char *path) {
    Opened &inherited = *shared_by_fork;
    TARN_PEER_EXPECT(inherited.lock.is_inherited() && !inherited.lock.is_held());
    const std::uint64_t word = inherited.control.page().lock.word;
    inherited.lock.release();
    TARN_PEER_EXPECT(inherited.lock.acquire(0) == EPERM);
    TARN_PEER_EXPECT(!inherited.lock.try_lock_checkpoints());
    Holder holder{};
    TARN_PEER_EXPECT(!inherited.lock.holder(holder));
    TARN_PEER_EXPECT(inherited.control.page().lock.word == word);
    Opened own(path);
    TARN_PEER_EXPECT(own.attach() == 0 && !own.lock.is_inherited());
    TARN_PEER_EXPECT(own.lock.acquire(60) == ETIMEDOUT);
    shared_by_fork.reset();
    TARN_PEER_EXPECT(own.control.page().lock.word == (word | tarnbase::runtime::waiters_bit));
    TARN_PEER_EXPECT(own.lock.acquire(60) == ETIMEDOUT);
    if (!peer.tell()) return 2;
    // The child's own lock outlives the inherited one.
    TARN_PEER_EXPECT(own.lock.acquire(long_time) == 0);
    if (!peer.tell()) return 2;
    peer.await();
    return 0;
}

TEST_F(WriterLockTest, AForkedChildLeavesItsParentsLockAlone) {
    shared_by_fork = std::make_unique<Opened>(path());
    WriterLock &lock = shared_by_fork->lock;
    ASSERT_EQ(shared_by_fork->attach(), 0u);
    ASSERT_EQ(lock.acquire(0), 0u);
    Peer child(use_inherited, path());
    ASSERT_TRUE(child.await());
    EXPECT_TRUE(lock.is_held() && !lock.is_inherited());
    lock.release();
    ASSERT_TRUE(child.await());
    EXPECT_EQ(lock.acquire(120), static_cast<std::uint32_t>(ETIMEDOUT));
    child.tell();
    EXPECT_EQ(child.join(), 0);
    EXPECT_EQ(lock.acquire(long_time), 0u);
    shared_by_fork.reset();
}

int take_checkpoints(Peer &peer, const char *path) {
    Opened store(path);
    TARN_PEER_EXPECT(store.attach() == 0 && store.lock.try_lock_checkpoints());
    if (!peer.tell()) return 2;
    peer.await();
    store.lock.unlock_checkpoints();
    if (!peer.tell()) return 2;
    peer.await();
    TARN_PEER_EXPECT(!store.lock.try_lock_checkpoints());
    return 0;
}

TEST_F(WriterLockTest, ALockIsHeldUntilItIsReleased) {
    Opened store(path());
    ASSERT_EQ(store.attach(), 0u);
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(store.lock.is_held());
        ASSERT_EQ(store.lock.acquire(0), 0u);
        EXPECT_TRUE(store.lock.is_held());
        store.lock.release();
    }
    EXPECT_FALSE(store.lock.is_held());
}

TEST_F(WriterLockTest, OneProcessAtATimeMakesCheckpoints) {
    Peer peer(take_checkpoints, path());
    ASSERT_TRUE(peer.await());
    Opened store(path());
    ASSERT_EQ(store.attach(), 0u);
    EXPECT_FALSE(store.lock.try_lock_checkpoints());
    // It has nothing to do with the writer's lock.
    EXPECT_EQ(store.lock.acquire(0), 0u);
    // Nor with the lock beside it, of who passes by a stopped process.
    EXPECT_TRUE(store.lock.try_lock_checkpoints(1));
    store.lock.unlock_checkpoints();
    peer.tell();
    ASSERT_TRUE(peer.await());
    EXPECT_TRUE(store.lock.try_lock_checkpoints());
    peer.tell();
    EXPECT_EQ(peer.join(), 0);
}

TEST_F(WriterLockTest, ADeadMakerOfCheckpointsIsReplaced) {
    Peer peer(take_checkpoints, path());
    ASSERT_TRUE(peer.await());
    peer.kill();
    Opened store(path());
    ASSERT_EQ(store.attach(), 0u);
    EXPECT_TRUE(store.lock.try_lock_checkpoints());
}

TEST_F(WriterLockTest, WithoutTheFileNobodyIsRegistered) {
    std::filesystem::remove(file("processes"));
    Opened store(path());
    EXPECT_EQ(store.attach(), static_cast<std::uint32_t>(ENOENT));
    std::filesystem::create_directory(file("processes"));
    EXPECT_EQ(store.attach(), static_cast<std::uint32_t>(EINVAL));
}

}  // namespace
}  // namespace tarn::test
