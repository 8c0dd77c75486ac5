// SPDX-License-Identifier: Apache-2.0
// A store in two processes at once, and after one that was killed.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/trace.h"
#include "tests/unit/runtime_store/open_store.h"
#include "tests/unit/runtime_store/peer.h"

namespace tarn::test {
namespace {

using StoreProcess = StoreTest;

int read_what_the_other_wrote(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    std::uint64_t *number = store.find("number");
    // The pointer in the block is valid here: the store has the same address.
    TARN_PEER_EXPECT(number != nullptr);
    TARN_PEER_EXPECT(number[0] == reinterpret_cast<std::uintptr_t>(number));
    TARN_PEER_EXPECT(number[1] == 4711);
    TARN_PEER_EXPECT(store.change([&](std::uint32_t tx) {
        store.set(tx, number + 1, 4712);
        *store.make("answer") = 42;
    }) == 0);
    return 0;
}

TEST_F(StoreProcess, ASecondProcessMapsTheStoreAtTheSameAddress) {
    Peer peer(read_what_the_other_wrote, path.c_str());
    const OpenStore store(path.c_str());
    std::uint64_t *number = nullptr;
    ASSERT_EQ(store.change([&](std::uint32_t) {
        number = store.make("number", 16);
        number[0] = reinterpret_cast<std::uintptr_t>(number);
        number[1] = 4711;
    }),
              0U);
    ASSERT_TRUE(peer.tell());
    EXPECT_EQ(peer.join(), 0);
    EXPECT_EQ(number[1], 4711U) << "the copy doesn't change by itself";
    EXPECT_EQ(store.find("answer"), nullptr);
    ASSERT_EQ(kel_store_refresh(store.store), 0U) << kel_error_text();
    EXPECT_EQ(number[1], 4712U);
    ASSERT_NE(store.find("answer"), nullptr);
    EXPECT_EQ(*store.find("answer"), 42U);
}

constexpr std::uint64_t big_block = 5ULL << 20;

int grow_in_turns(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    TARN_PEER_EXPECT(test.tell() && test.await());
    std::uint64_t *second = nullptr;
    TARN_PEER_EXPECT(store.change([&](std::uint32_t) {
        second = store.make("second", 2 * big_block);
        if (second != nullptr) second[2 * big_block / 8 - 1] = 2;
    }) == 0);
    TARN_PEER_EXPECT(second != nullptr);
    // A transaction begins with everything that was committed before.
    TARN_PEER_EXPECT(store.find("first")[big_block / 8 - 1] == 1);
    return 0;
}

TEST_F(StoreProcess, GrowthByOneProcessIsSeenByTheOther) {
    Peer peer(grow_in_turns, path.c_str());
    const OpenStore store(path.c_str());
    const std::uint64_t size = store.describe().size;
    ASSERT_LT(size, big_block);
    ASSERT_TRUE(peer.tell() && peer.await());
    ASSERT_EQ(
        store.change([&](std::uint32_t) { store.make("first", big_block)[big_block / 8 - 1] = 1; }),
        0U);
    const std::uint64_t grown = store.describe().size;
    EXPECT_GT(grown, size + big_block / 2);
    ASSERT_TRUE(peer.tell());
    EXPECT_EQ(peer.join(), 0);
    ASSERT_EQ(kel_store_refresh(store.store), 0U) << kel_error_text();
    EXPECT_GT(store.describe().size, grown);
    EXPECT_EQ(store.find("second")[2 * big_block / 8 - 1], 2U);
}

int hold_the_lock(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(kel_store_lock(store.store) == 0);
    TARN_PEER_EXPECT(test.tell() && test.await());
    TARN_PEER_EXPECT(kel_store_unlock(store.store) == 0);
    TARN_PEER_EXPECT(test.tell() && test.await());
    return 0;
}

TEST_F(StoreProcess, BeginWaitsForAnotherWriterAndNamesIt) {
    Peer peer(hold_the_lock, path.c_str());
    const OpenStore store(path.c_str());
    ASSERT_TRUE(peer.tell() && peer.await());
    kel_store_set_lock_timeout(store.store, 20);
    std::uint32_t tx = 0;
    EXPECT_EQ(kel_transaction_begin(store.handle, &tx), std::uint32_t{ETIMEDOUT});
    const std::string holder = "held by " + std::to_string(peer.process());
    EXPECT_NE(std::string(kel_error_text()).find(holder), std::string::npos) << kel_error_text();
    ASSERT_TRUE(peer.tell() && peer.await());
    ASSERT_EQ(kel_transaction_begin(store.handle, &tx), 0U) << kel_error_text();
    EXPECT_EQ(kel_transaction_commit(store.handle, tx), 0U);
    ASSERT_TRUE(peer.tell());
    EXPECT_EQ(peer.join(), 0);
}

TEST_F(StoreProcess, ABeginThatFailsLeavesTheLock) {
    const OpenStore store(path.c_str());
    const std::filesystem::path segment = directory / "test.store" / "log-0000000000000000";
    const std::filesystem::path away = directory / "away";
    std::filesystem::rename(segment, away);
    std::uint32_t tx = 0;
    EXPECT_EQ(kel_transaction_begin(store.handle, &tx), std::uint32_t{ENOENT});
    kel_store_writer writer;
    EXPECT_EQ(kel_store_describe_writer(store.store, &writer), std::uint32_t{ENOENT});
    std::filesystem::rename(away, segment);
    EXPECT_EQ(store.change([&](std::uint32_t) { store.make("number"); }), 0U) << kel_error_text();
}

TEST_F(StoreProcess, ChangesWithoutTheLockAreRefusedAndUndone) {
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.change([&](std::uint32_t) { *store.make("number") = 1; }), 0U);
    const TraceCapture trace;
    EXPECT_EQ(store.handle->alloc_hook(store.handle->arena, KEL_TX_NONE, 8), nullptr);
    EXPECT_NE(std::string(kel_error_text()).find("outside of a transaction"), std::string::npos);
    std::uint64_t *number = store.find("number");
    store.set(KEL_TX_NONE, number, 2);
    const std::uint64_t blocks = store.describe().blocks;
    store.handle->free_hook(store.handle->arena, KEL_TX_NONE, number);
    EXPECT_EQ(store.describe().blocks, blocks);
    EXPECT_EQ(trace.lines.size(), 3U) << trace.all();
    ASSERT_EQ(kel_store_refresh(store.store), 0U);
    EXPECT_EQ(*number, 1U);
}

TEST_F(StoreProcess, ChangesUnderTheLockArePublishedWhenItIsReleased) {
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(kel_store_lock(store.store), 0U);
        *store.make("number") = 7;
        EXPECT_EQ(store.describe().log_end, 0U);
        ASSERT_EQ(kel_store_unlock(store.store), 0U);
        EXPECT_GT(store.describe().log_end, 0U);
    }
    const OpenStore again(path.c_str());
    ASSERT_NE(again.find("number"), nullptr);
    EXPECT_EQ(*again.find("number"), 7U);
}

TEST_F(StoreProcess, ACommitIsPublishedAfterOtherTransactionsWithChangesHaveEnded) {
    const OpenStore store(path.c_str());
    std::uint64_t *number = nullptr;
    ASSERT_EQ(store.change([&](std::uint32_t) { number = store.make("number", 16); }), 0U);
    const std::uint64_t published = store.describe().log_end;
    std::uint32_t first = 0, second = 0;
    ASSERT_EQ(kel_transaction_begin(store.handle, &first), 0U);
    ASSERT_EQ(kel_transaction_begin(store.handle, &second), 0U);
    store.set(first, number, 1);
    store.set(second, number + 1, 2);
    ASSERT_EQ(kel_transaction_commit(store.handle, first), 0U);
    EXPECT_EQ(store.describe().log_end, published);
    ASSERT_EQ(kel_transaction_rollback(store.handle, second), 0U);
    EXPECT_GT(store.describe().log_end, published);
    EXPECT_EQ(number[0], 1U);
    EXPECT_EQ(number[1], 0U);
}

// Changes everywhere in the store, in a transaction that never ends.
int stop_in_a_transaction(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    std::uint32_t tx = 0;
    TARN_PEER_EXPECT(kel_transaction_begin(store.handle, &tx) == 0);
    kel_handle *handle = store.handle;
    std::uint64_t *number = store.find("number");
    for (std::uint64_t i = 1; i <= 3000; ++i) {
        TARN_PEER_EXPECT(handle->alloc_hook(store.handle->arena, tx, i * 7 % 3000) != nullptr);
        store.set(tx, number + 1, i);
    }
    handle->free_hook(store.handle->arena, tx, number);
    TARN_PEER_EXPECT(handle->alloc_hook(store.handle->arena, tx, 3 << 20) != nullptr);
    TARN_PEER_EXPECT(test.tell());
    for (;;) ::pause();
}

TEST_F(StoreProcess, OneThatIsKilledLeavesNothingOfItsTransaction) {
    Peer peer(stop_in_a_transaction, path.c_str());
    kel_store_description before;
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(store.change([&](std::uint32_t) { store.make("number", 16)[1] = 200; }), 0U);
        before = store.describe();
    }
    ASSERT_TRUE(peer.tell() && peer.await());
    peer.kill();
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(store.describe().blocks, before.blocks);
    EXPECT_EQ(store.describe().block_bytes, before.block_bytes);
    EXPECT_EQ(store.describe().transactions, 0U);
    EXPECT_EQ(store.find("number")[1], 200U);
    EXPECT_EQ(store.change([&](std::uint32_t tx) { store.set(tx, store.find("number"), 1); }), 0U)
        << kel_error_text();
}

TEST_F(StoreProcess, AChildCanNotUseTheStoreOfItsParentAndDoesNoHarm) {
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.change([&](std::uint32_t) { *store.make("number") = 1; }), 0U);
    std::uint32_t tx = 0;
    ASSERT_EQ(kel_transaction_begin(store.handle, &tx), 0U);
    store.set(tx, store.find("number"), 2);
    Peer child(
        [](Peer &test, const char *) {
            auto *inherited = static_cast<const OpenStore *>(test.context());
            std::uint32_t own = 0;
            TARN_PEER_EXPECT(kel_transaction_begin(inherited->handle, &own) == EPERM);
            kel_handle_destroy(inherited->handle);
            kel_store_close(inherited->store);
            return 0;
        },
        path.c_str(), &store);
    EXPECT_EQ(child.join(), 0);
    EXPECT_EQ(kel_transaction_commit(store.handle, tx), 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 2U);
}

TEST_F(StoreProcess, AStoreThatMayOnlyBeReadIsOpenedToRead) {
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(store.change([&](std::uint32_t) { *store.make("number") = 5; }), 0U);
    }
    if (::geteuid() != 0) GTEST_SKIP() << "only root can take the user's rights away";
    std::filesystem::permissions(directory, std::filesystem::perms(0755));
    Peer reader(
        [](Peer &, const char *name) {
            TARN_PEER_EXPECT(::setuid(65534) == 0);
            const OpenStore store(name);
            TARN_PEER_EXPECT(store.error == 0);
            TARN_PEER_EXPECT(store.describe().writable == 0);
            TARN_PEER_EXPECT(*store.find("number") == 5);
            std::uint32_t tx = 0;
            TARN_PEER_EXPECT(kel_transaction_begin(store.handle, &tx) == EACCES);
            TARN_PEER_EXPECT(kel_store_checkpoint(store.store) == EACCES);
            return 0;
        },
        path.c_str());
    EXPECT_EQ(reader.join(), 0);
}

// Commits often, makes checkpoints and removes the log before them.
int commit_and_checkpoint(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    for (std::uint64_t i = 1; i <= 300; ++i) {
        TARN_PEER_EXPECT(store.change([&](std::uint32_t tx) {
            store.set(tx, store.find("number"), i);
            store.make(("block " + std::to_string(i)).c_str(), 5000)[0] = i;
        }) == 0);
        if (i % 100 == 0) TARN_PEER_EXPECT(kel_store_checkpoint(store.store) == 0);
    }
    TARN_PEER_EXPECT(test.tell());
    return 0;
}

TEST_F(StoreProcess, AReaderWhosePartOfTheLogWasRemovedGoesOnFromTheCheckpoint) {
    Peer writer(commit_and_checkpoint, path.c_str());
    const OpenStore reader(path.c_str());
    ASSERT_EQ(reader.change([&](std::uint32_t) { reader.make("number"); }), 0U);
    ASSERT_TRUE(writer.tell() && writer.await());
    EXPECT_EQ(writer.join(), 0);
    ASSERT_EQ(kel_store_refresh(reader.store), 0U) << kel_error_text();
    EXPECT_EQ(*reader.find("number"), 300U);
    for (std::uint64_t i = 1; i <= 300; ++i) {
        EXPECT_EQ(*reader.find(("block " + std::to_string(i)).c_str()), i);
    }
}

// Has the lock of the maker of checkpoints, and does nothing.
int hold_checkpoints(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const int file = ::open((std::string(path) + "/processes").c_str(), O_WRONLY | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0x7fff;
    lock.l_len = 1;
    TARN_PEER_EXPECT(file >= 0 && ::fcntl(file, F_SETLK, &lock) == 0);
    TARN_PEER_EXPECT(test.tell() && test.await());
    return 0;
}

TEST_F(StoreProcess, AStoppedMakerOfACheckpointIsPassedBy) {
    Peer stopped(hold_checkpoints, path.c_str());
    const OpenStore store(path.c_str());
    const auto commit = [&] { return store.change([&](std::uint32_t) { store.make("number"); }); };
    ASSERT_EQ(commit(), 0U);
    ASSERT_TRUE(stopped.tell() && stopped.await());
    EXPECT_EQ(kel_store_checkpoint(store.store), std::uint32_t{EBUSY});
    EXPECT_EQ(kel_store_compact(store.store), 0U) << kel_error_text();
    EXPECT_EQ(store.describe().log_bytes, 0U);
    // Nobody waits for the same one again.
    ASSERT_EQ(commit(), 0U);
    EXPECT_EQ(kel_store_checkpoint(store.store), 0U) << kel_error_text();
    EXPECT_EQ(store.describe().log_bytes, 0U);
    ASSERT_TRUE(stopped.tell());
    EXPECT_EQ(stopped.join(), 0);
}

TEST_F(StoreProcess, TheWriterIsDescribed) {
    Peer peer(hold_the_lock, path.c_str());
    const OpenStore store(path.c_str());
    kel_store_writer writer;
    EXPECT_EQ(kel_store_describe_writer(store.store, &writer), std::uint32_t{ENOENT});
    ASSERT_TRUE(peer.tell() && peer.await());
    ASSERT_EQ(kel_store_describe_writer(store.store, &writer), 0U) << kel_error_text();
    EXPECT_EQ(writer.pid, static_cast<std::uint32_t>(peer.process()));
    EXPECT_EQ(std::string(writer.command), std::string("runtime_store_test").substr(0, 15));
    EXPECT_LT(std::time(nullptr) - static_cast<std::time_t>(writer.since / 1'000'000'000), 60);
    ASSERT_TRUE(peer.tell() && peer.await());
    EXPECT_EQ(kel_store_describe_writer(store.store, &writer), std::uint32_t{ENOENT});
    ASSERT_TRUE(peer.tell());
    EXPECT_EQ(peer.join(), 0);
}

// Commits two numbers that are always the same, until it is killed.
int commit_pairs(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    std::uint64_t *first = store.find("first");
    std::uint64_t *second = store.find("second");
    TARN_PEER_EXPECT(test.tell());
    for (std::uint64_t i = 1;; ++i) {
        TARN_PEER_EXPECT(store.change([&](std::uint32_t tx) {
            store.set(tx, first, i);
            store.set(tx, second, i);
        }) == 0);
    }
}

class BesideAWriter : public StoreProcess {
 protected:
    void begin() {
        {
            const OpenStore store(path.c_str());
            ASSERT_EQ(store.change([&](std::uint32_t) {
                store.make("first");
                store.make("second");
            }),
                      0U);
        }
        ASSERT_TRUE(peer.tell() && peer.await());
    }

    Peer peer{commit_pairs, path.c_str()};
};

TEST_F(BesideAWriter, ABackupIsAConsistentStoreOfItsOwn) {
    begin();
    std::uint64_t last = 0;
    for (int i = 0; i < 20 && !HasFailure(); ++i) {
        const std::string copy = path + "." + std::to_string(i);
        {
            const OpenStore store(path.c_str());
            ASSERT_EQ(kel_store_backup(store.store, copy.c_str()), 0U) << kel_error_text();
            EXPECT_EQ(kel_store_backup(store.store, copy.c_str()), std::uint32_t{EEXIST});
        }
        const OpenStore made(copy.c_str());
        ASSERT_EQ(made.error, 0U) << kel_error_text();
        EXPECT_EQ(*made.find("first"), *made.find("second"));
        EXPECT_GE(*made.find("first"), last);
        last = *made.find("first");
        ASSERT_EQ(made.change([&](std::uint32_t tx) { made.set(tx, made.find("first"), 1); }), 0U);
    }
    EXPECT_GT(last, 0U);
    peer.kill();
}

TEST_F(BesideAWriter, AStoreIsCompacted) {
    begin();
    const OpenStore store(path.c_str());
    for (int i = 0; i < 20 && !HasFailure(); ++i) {
        ASSERT_EQ(kel_store_compact(store.store), 0U) << kel_error_text();
        ASSERT_EQ(kel_store_refresh(store.store), 0U) << kel_error_text();
        EXPECT_EQ(*store.find("first"), *store.find("second"));
    }
    peer.kill();
}

TEST_F(StoreProcess, FilesAreShortAgainAfterEverythingWasDeleted) {
    const OpenStore store(path.c_str());
    kel_store_files files;
    ASSERT_EQ(kel_store_describe_files(store.store, &files), 0U) << kel_error_text();
    EXPECT_LE(files.bytes, 256U << 10);
    EXPECT_GT(files.checkpoint_time, 0U);
    const std::uint64_t first = files.bytes;
    std::vector<std::uint64_t *> blocks;
    ASSERT_EQ(store.change([&](std::uint32_t) {
        for (int i = 0; i < 5000; ++i) blocks.push_back(store.make("block", 2000));
        for (std::uint64_t *block : blocks) std::fill_n(block, 250, 1U);
    }),
              0U);
    ASSERT_EQ(kel_store_compact(store.store), 0U) << kel_error_text();
    ASSERT_EQ(kel_store_describe_files(store.store, &files), 0U);
    EXPECT_GT(files.checkpoint_bytes, 9U << 20);
    EXPECT_LT(files.bytes, 12U << 20);
    ASSERT_EQ(store.change([&](std::uint32_t tx) {
        for (std::uint64_t *block : blocks) store.handle->free_hook(store.handle->arena, tx, block);
        loam_delete_key(store.handle->arena, "block");
    }),
              0U);
    ASSERT_EQ(kel_store_compact(store.store), 0U) << kel_error_text();
    ASSERT_EQ(kel_store_describe_files(store.store, &files), 0U);
    EXPECT_LE(files.bytes, first + (64U << 10));
}

TEST_F(StoreProcess, TheTimeOfTheLastCommitIsKnown) {
    const OpenStore store(path.c_str());
    EXPECT_EQ(store.describe().commit_time, 0U);
    ASSERT_EQ(store.change([&](std::uint32_t) { store.make("number"); }), 0U);
    const auto seconds = static_cast<std::time_t>(store.describe().commit_time / 1'000'000'000);
    EXPECT_LT(std::abs(std::time(nullptr) - seconds), 60);
}

TEST_F(StoreProcess, TheNumberOfAnErrorSaysWhyThereWasNoMemory) {
    const OpenStore store(path.c_str());
    const TraceCapture trace;
    EXPECT_EQ(store.handle->alloc_hook(store.handle->arena, KEL_TX_NONE, 8), nullptr);
    EXPECT_EQ(kel_error_number(), std::uint32_t{EPERM});
    ASSERT_EQ(kel_store_lock(store.store), 0U);
    EXPECT_EQ(store.handle->alloc_hook(store.handle->arena, KEL_TX_NONE, small_capacity), nullptr);
    EXPECT_EQ(kel_error_number(), std::uint32_t{ENOMEM});
    ASSERT_EQ(kel_store_unlock(store.store), 0U);
}

}  // namespace
}  // namespace tarn::test
