// SPDX-License-Identifier: Apache-2.0
// Threads that read a store in scopes, beside transactions and refreshes.
#include <cerrno>
#include <string>
#include <thread>

#include "tests/unit/runtime_store/open_store.h"
#include "tests/unit/runtime_store/peer.h"

namespace tarn::test {
namespace {

using StoreScope = StoreTest;

template <typename Action>
void in_a_thread(Action action) {
    std::thread(action).join();
}

// Whether a transaction of this thread can begin now.
std::uint32_t try_transaction(const OpenStore &store) {
    return store.change([](std::uint32_t) {});
}

TEST_F(StoreScope, ItsOwnThreadCanNotChangeOrRefreshTheStore) {
    const OpenStore store(path.c_str());
    ASSERT_EQ(kel_store_begin_read(store.store, 0), 0U);
    EXPECT_EQ(try_transaction(store), std::uint32_t{EDEADLK});
    EXPECT_STREQ(kel_error_text(), "kel_transaction_begin: this thread has a reading scope open");
    EXPECT_EQ(kel_store_lock(store.store), std::uint32_t{EDEADLK});
    EXPECT_EQ(kel_store_refresh(store.store), std::uint32_t{EDEADLK});
    EXPECT_EQ(kel_store_compact(store.store), std::uint32_t{EDEADLK});
    EXPECT_EQ(kel_store_begin_read(store.store, 1), 0U) << "a nested scope";
    EXPECT_EQ(kel_store_end_read(store.store), 0U);
    EXPECT_EQ(kel_store_end_read(store.store), 0U);
    EXPECT_EQ(kel_store_end_read(store.store), std::uint32_t{EINVAL});
    EXPECT_EQ(try_transaction(store), 0U) << kel_error_text();
}

TEST_F(StoreScope, ATransactionOfAnotherThreadWaitsForItsEnd) {
    const OpenStore store(path.c_str());
    kel_store_set_lock_timeout(store.store, 10);
    ASSERT_EQ(kel_store_begin_read(store.store, 0), 0U);
    in_a_thread([&] {
        EXPECT_EQ(try_transaction(store), std::uint32_t{ETIMEDOUT});
        EXPECT_EQ(kel_error_text(), path + ": other threads of this process read the store");
        kel_store_writer writer;
        EXPECT_EQ(kel_store_describe_writer(store.store, &writer), std::uint32_t{ENOENT})
            << "other processes don't wait for it";
    });
    ASSERT_EQ(kel_store_end_read(store.store), 0U);
    in_a_thread([&] { EXPECT_EQ(try_transaction(store), 0U) << kel_error_text(); });
}

// Changes two numbers in turn, in a transaction each, beside threads that compare them.
void compare_beside_transactions(const OpenStore &store) {
    std::uint64_t *first = nullptr, *second = nullptr;
    ASSERT_EQ(store.change([&](std::uint32_t) {
        first = store.make("first");
        second = store.make("second");
    }),
              0U);
    std::thread reader([&] {
        for (std::uint64_t seen = 0; seen < 50;) {
            ASSERT_EQ(kel_store_begin_read(store.store, 1), 0U);
            seen = *first;
            EXPECT_EQ(seen, *second);
            ASSERT_EQ(kel_store_end_read(store.store), 0U);
        }
    });
    for (std::uint64_t i = 1; i <= 50; ++i) {
        ASSERT_EQ(store.change([&](std::uint32_t tx) {
            store.set(tx, first, i);
            std::this_thread::yield();
            store.set(tx, second, i);
        }),
                  0U);
    }
    reader.join();
}

TEST_F(StoreScope, SeesNoHalfOfATransaction) {
    compare_beside_transactions(OpenStore(path.c_str()));
}

// A private store is shared by the threads of its process in the same way.
TEST(PrivateStoreScope, SeesNoHalfOfATransaction) {
    SmallStore store;
    std::uint64_t *pair = static_cast<std::uint64_t *>(store.allocate(16));
    std::thread reader([&] {
        for (std::uint64_t seen = 0; seen < 50;) {
            ASSERT_EQ(kel_store_begin_read(store.store, 1), 0U);
            seen = pair[0];
            EXPECT_EQ(seen, pair[1]);
            ASSERT_EQ(kel_store_end_read(store.store), 0U);
        }
    });
    for (std::uint64_t i = 1; i <= 50; ++i) {
        const std::uint32_t tx = store.begin();
        store.set(tx, pair, i);
        std::this_thread::yield();
        store.set(tx, pair + 1, i);
        store.commit(tx);
    }
    reader.join();
}

TEST(PrivateStoreScope, WaitsForTheEndOfALock) {
    SmallStore store;
    ASSERT_EQ(kel_store_lock(store.store), 0U);
    ASSERT_EQ(kel_store_lock(store.store), 0U);
    auto *number = static_cast<std::uint64_t *>(store.allocate(8));
    std::thread reader([&] {
        ASSERT_EQ(kel_store_begin_read(store.store, 1), 0U);
        EXPECT_EQ(*number, 3U);
        ASSERT_EQ(kel_store_end_read(store.store), 0U);
    });
    for (std::uint64_t i = 1; i <= 3; ++i) {
        std::this_thread::yield();
        store.set(KEL_TX_NONE, number, i);
    }
    EXPECT_EQ(kel_store_unlock(store.store), 0U);
    EXPECT_EQ(kel_store_unlock(store.store), 0U);
    reader.join();
    EXPECT_EQ(kel_store_unlock(store.store), std::uint32_t{EINVAL});
}

TEST_F(StoreScope, WithinATransactionOfItsThreadDoesNotWait) {
    const OpenStore store(path.c_str());
    std::uint64_t *number = nullptr;
    ASSERT_EQ(store.change([&](std::uint32_t tx) {
        number = store.make("number");
        ASSERT_EQ(kel_store_begin_read(store.store, 1), 0U);
        store.set(tx, number, 7);
        EXPECT_EQ(*number, 7U);
    }),
              0U);
    EXPECT_EQ(try_transaction(store), std::uint32_t{EDEADLK}) << "it is still open";
    ASSERT_EQ(kel_store_end_read(store.store), 0U);
    EXPECT_EQ(try_transaction(store), 0U);
}

int commit_in_turns(Peer &test, const char *path) {
    TARN_PEER_EXPECT(test.await());
    const OpenStore store(path);
    TARN_PEER_EXPECT(store.error == 0);
    for (std::uint64_t i = 1; i <= 3; ++i) {
        TARN_PEER_EXPECT(
            store.change([&](std::uint32_t tx) { store.set(tx, store.find("number"), i); }) == 0);
        TARN_PEER_EXPECT(test.tell() && test.await());
    }
    return 0;
}

TEST_F(StoreScope, KeepsTheRefreshesOfOtherThreadsAway) {
    Peer writer(commit_in_turns, path.c_str());
    const OpenStore store(path.c_str());
    std::uint64_t *number = nullptr;
    ASSERT_EQ(store.change([&](std::uint32_t) { number = store.make("number"); }), 0U);
    ASSERT_TRUE(writer.tell() && writer.await());
    ASSERT_EQ(kel_store_begin_read(store.store, 0), 0U);
    EXPECT_EQ(*number, 0U);
    ASSERT_EQ(kel_store_begin_read(store.store, 1), 0U);
    EXPECT_EQ(*number, 0U) << "the outer scope's";
    ASSERT_EQ(kel_store_end_read(store.store), 0U);
    std::thread other([&] { EXPECT_EQ(kel_store_refresh(store.store), 0U) << kel_error_text(); });
    ASSERT_TRUE(writer.tell() && writer.await());
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(*number, 0U);
    ASSERT_EQ(kel_store_end_read(store.store), 0U);
    other.join();
    ASSERT_EQ(kel_store_begin_read(store.store, 0), 0U);
    EXPECT_GE(*number, 1U);
    ASSERT_EQ(kel_store_end_read(store.store), 0U);
    ASSERT_TRUE(writer.tell() && writer.await());
    ASSERT_EQ(kel_store_begin_read(store.store, 1), 0U);
    EXPECT_EQ(*number, 3U);
    ASSERT_EQ(kel_store_end_read(store.store), 0U);
    ASSERT_TRUE(writer.tell());
    EXPECT_EQ(writer.join(), 0);
}

TEST_F(StoreScope, InAChildOfAProcessThatWritesIsRefused) {
    const OpenStore store(path.c_str());
    ASSERT_EQ(try_transaction(store), 0U);
    std::uint32_t tx = 0;
    std::thread([&] { ASSERT_EQ(kel_transaction_begin(store.handle, &tx), 0U); }).join();
    Peer child(
        [](Peer &self, const char *) {
            const auto *inherited = static_cast<const OpenStore *>(self.context());
            TARN_PEER_EXPECT(kel_store_begin_read(inherited->store, 0) == EPERM);
            return 0;
        },
        path.c_str(), &store);
    EXPECT_EQ(child.join(), 0);
    EXPECT_EQ(kel_transaction_commit(store.handle, tx), 0U);
}

TEST_F(StoreScope, ThatAThreadWaitsForDoesNotKeepAChildFromClosingTheStore) {
    const OpenStore store(path.c_str());
    ASSERT_EQ(kel_store_begin_read(store.store, 0), 0U);
    std::thread writer([&] { EXPECT_EQ(try_transaction(store), 0U) << kel_error_text(); });
    kel_store_writer description;
    while (kel_store_describe_writer(store.store, &description) != 0) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // until it sleeps
    Peer child(
        [](Peer &self, const char *) {
            const auto *inherited = static_cast<const OpenStore *>(self.context());
            kel_handle_destroy(inherited->handle);
            kel_store_close(inherited->store);
            return 0;
        },
        path.c_str(), &store);
    EXPECT_EQ(child.join(), 0);
    ASSERT_EQ(kel_store_end_read(store.store), 0U);
    writer.join();
}

}  // namespace
}  // namespace tarn::test
