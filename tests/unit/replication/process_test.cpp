// SPDX-License-Identifier: Apache-2.0
// One process writes the stream, another one reads it.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "tests/support/temporary_directory.h"
#include "tests/unit/replication/fixture.h"

namespace tarn::test {
namespace {

// The path of a store, removed by the destructor.
class StorePath {
 public:
    const char *text() const { return path_.c_str(); }

 private:
    const TemporaryDirectory directory_;
    const std::string path_ = directory_ / "store";
};

// A store as one process has it open, with descriptors of its own.
class OpenStore {
 public:
    explicit OpenStore(const StorePath &path) {
        EXPECT_EQ(kel_store_open_or_create(path.text(), nullptr, &store_), 0U) << kel_error_text();
        handle = make_handle(store_, Mode::store_types);
    }
    ~OpenStore() {
        kel_handle_destroy(handle);
        kel_store_close(store_);
    }
    OpenStore(const OpenStore &) = delete;
    OpenStore &operator=(const OpenStore &) = delete;

    // Changes outside of transactions are made between these.
    void lock() const { EXPECT_EQ(kel_store_lock(store_), 0U) << kel_error_text(); }
    void unlock() const { EXPECT_EQ(kel_store_unlock(store_), 0U) << kel_error_text(); }

    kel_handle *handle = nullptr;

 private:
    kel_store *store_ = nullptr;
};

// A process that runs `body`. A failure of `body` fails the test.
class Child {
 public:
    explicit Child(const std::function<void()> &body) {
        std::fflush(nullptr);
        pid_ = fork();
        if (pid_ != 0) return;
        body();
        std::fflush(nullptr);
        std::_Exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    void join() const {
        int status = 0;
        ASSERT_EQ(waitpid(pid_, &status, 0), pid_);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "see the failures above";
    }

 private:
    pid_t pid_;
};

// A flag that one process sets and another waits for.
class Signal {
 public:
    Signal() { EXPECT_EQ(pipe(ends_), 0); }
    ~Signal() {
        close(ends_[0]);
        close(ends_[1]);
    }
    Signal(const Signal &) = delete;
    Signal &operator=(const Signal &) = delete;
    void signal() const { EXPECT_EQ(write(ends_[1], "x", 1), 1); }
    void await() const {
        char byte = 0;
        EXPECT_EQ(read(ends_[0], &byte, 1), 1);
    }

 private:
    int ends_[2] = {-1, -1};
};

TEST(Processes, AttachAtTheSameTimeToOneStream) {
    const StorePath path;
    { const OpenStore made(path); }
    const auto attach_and_insert = [&](std::uint32_t key) {
        const OpenStore store(path);
        ASSERT_EQ(kel_replication_attach(store.handle, tarnbase_table_get_vft), 0U)
            << kel_error_text();
        store.lock();
        Numbers(store.handle).put(key, "from one of them");
        store.unlock();
    };
    const Child first([&] { attach_and_insert(1); });
    const Child second([&] { attach_and_insert(2); });
    first.join();
    second.join();
    const OpenStore store(path);
    EXPECT_EQ(read_all(store.handle).size(), 2U);
}

TEST(Processes, AttachAfterTheWriter) {
    const StorePath path;
    const Signal locked, tried;
    const Child writer([&] {
        const OpenStore store(path);
        store.lock();
        locked.signal();
        tried.await();
        store.unlock();
    });
    locked.await();
    const OpenStore store(path);
    kel_store_set_lock_timeout(kel_handle_store(store.handle), 10);
    EXPECT_EQ(kel_replication_attach(store.handle, tarnbase_table_get_vft),
              std::uint32_t{ETIMEDOUT});
    tried.signal();
    writer.join();
    EXPECT_EQ(kel_replication_attach(store.handle, tarnbase_table_get_vft), 0U);
    EXPECT_EQ(kel_replication_configure(store.handle, 8, 0), 0U) << kel_error_text();
}

TEST(Processes, ReadWhatAnotherOneHasEnqueued) {
    const StorePath path;
    Child([&] {
        OpenStore store(path);
        store.lock();
        Numbers numbers(store.handle);
        for (std::uint32_t key = 0; key < 3; ++key) numbers.put(key, "from the first process");
        store.unlock();
    }).join();
    OpenStore store(path);
    Numbers numbers(store.handle);
    std::vector<Bytes> expected;
    for (std::uint32_t key = 0; key < 3; ++key) {
        expected.push_back(numbers.marshalled(numbers.find(key)));
    }
    EXPECT_EQ(read_all(store.handle), expected);
    kel_replication_reader reader = open_reader(store.handle, 2);
    EXPECT_EQ(read_next(store.handle, reader).bytes, expected[2]);
}

TEST(Processes, FollowAWriterTransactionByTransaction) {
    const StorePath path;
    const Signal written;
    const Signal to_commit;
    const Signal committed;
    const Signal to_end;
    const Child writer([&] {
        OpenStore store(path);
        store.lock();
        Numbers numbers(store.handle);
        numbers.put(1);
        store.unlock();
        numbers.begin();
        numbers.put(2);
        written.signal();
        to_commit.await();
        numbers.commit();
        committed.signal();
        to_end.await();
    });
    written.await();
    {
        OpenStore store(path);
        kel_replication_reader reader = open_reader(store.handle);
        EXPECT_EQ(read_all(store.handle, reader).size(), 1U);
        to_commit.signal();
        committed.await();
        EXPECT_EQ(read_all(store.handle, reader).size(), 1U);
        EXPECT_EQ(reader.missed, 0U);
    }
    to_end.signal();
    writer.join();
}

TEST(Processes, ReadWholeFramesWhileAnotherOneOverwritesOldOnes) {
    constexpr std::uint32_t count = 3000;
    const StorePath path;
    const Signal ready;
    const Signal go;
    const Child writer([&] {
        OpenStore store(path);
        store.lock();
        Numbers numbers(store.handle);
        EXPECT_EQ(kel_replication_configure(store.handle, 8, 0), 0U);
        store.unlock();
        ready.signal();
        go.await();
        for (std::uint32_t i = 0; i < count; ++i) {
            numbers.begin();
            numbers.put(i, std::string(i % 500, static_cast<char>('a' + i % 26)));
            numbers.commit();
        }
    });
    ready.await();
    {
        OpenStore store(path);
        kel_replication_reader reader = open_reader(store.handle);
        std::uint64_t whole = 0;
        go.signal();
        while (reader.position < count) {
            const std::uint64_t expected = reader.position;
            const Read read = read_next(store.handle, reader);
            if (read.status == EAGAIN || read.status == EOVERFLOW) continue;
            ASSERT_EQ(read.status, 0U) << kel_error_text();
            ASSERT_EQ(read.frame.position, expected);
            const auto i = static_cast<std::uint32_t>(expected);
            const auto letters = std::count(read.bytes.begin(), read.bytes.end(), 'a' + i % 26);
            ASSERT_GE(letters, i % 500) << "of frame " << i;
            ++whole;
        }
        EXPECT_EQ(whole + reader.missed, count);
    }
    writer.join();
}

TEST(Processes, FinishDestructionsThatAnotherOneHasRequested) {
    const StorePath path;
    Child([&] {
        OpenStore store(path);
        store.lock();
        Numbers numbers(store.handle);
        numbers.put(1);
        tbl_test_number_request_record_destroy(store.handle, KEL_TX_NONE, numbers.table,
                                               numbers.put(2), &numbers.err);
        EXPECT_EQ(numbers.err, 0U);
        store.unlock();
    }).join();
    OpenStore store(path);
    store.lock();
    Numbers numbers(store.handle);
    std::uint32_t finished = 0;
    EXPECT_EQ(kel_replication_finish_destroys(store.handle, KEL_TX_NONE, &finished), 0U)
        << kel_error_text();
    EXPECT_EQ(finished, 1U);
    EXPECT_NE(numbers.find(1), nullptr);
    EXPECT_EQ(numbers.find(2), nullptr);
}

TEST(Processes, ThatDieInATransactionLeaveNoFrame) {
    const StorePath path;
    Child([&] {
        OpenStore store(path);
        store.lock();
        Numbers numbers(store.handle);
        numbers.put(1);
        store.unlock();
        numbers.begin();
        numbers.put(2);
        std::_Exit(::testing::Test::HasFailure() ? 1 : 0);
    }).join();
    OpenStore store(path);
    Numbers numbers(store.handle);
    EXPECT_EQ(read_all(store.handle).size(), 1U);
    EXPECT_EQ(numbers.table->write_cursor, 1U);
    store.lock();
    numbers.put(2);
    EXPECT_EQ(read_all(store.handle).size(), 2U);
}

}  // namespace
}  // namespace tarn::test
