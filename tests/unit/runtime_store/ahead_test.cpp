// SPDX-License-Identifier: Apache-2.0
// What a store's worker makes ready before the writer needs it: large pages, and the next segment
// of the log.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "runtime/store/store.h"
#include "tests/unit/runtime_store/open_store.h"

namespace tarn::test {
namespace {

constexpr std::uint64_t megabyte = 1ULL << 20;
constexpr std::uint64_t block = 4000;

std::size_t threads() {
    const std::filesystem::directory_iterator all("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// Whether the process has memory for the page at an address.
bool has_memory(char *address) {
    const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    unsigned char is_there = 0;
    return ::mincore(address - reinterpret_cast<std::uintptr_t>(address) % page, page, &is_there) ==
               0 &&
           (is_there & 1) != 0;
}

// Whether the kernel can be told to get memory.
bool can_get_memory() {
    void *memory =
        ::mmap(nullptr, megabyte, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const bool can = ::madvise(memory, megabyte, 23 /* MADV_POPULATE_WRITE */) == 0;
    ::munmap(memory, megabyte);
    return can;
}

void fill_to(SmallStore &store, std::uint64_t size, std::uint32_t tx = KEL_TX_NONE) {
    while (store.describe().size < size) ASSERT_NE(store.allocate(block, tx), nullptr);
}

// The first byte of the large page that begins a megabyte or less after the end of the store.
char *next_page(const SmallStore &store) {
    constexpr std::uint64_t large_page = 2 * megabyte;
    const std::uint64_t size = store.describe().size;
    return store.store->region.base() + (size + large_page - 1) / large_page * large_page;
}

using Ahead = SmallStoreTest;

TEST_F(Ahead, ASmallStoreHasNoThread) {
    const std::size_t before = threads();
    fill_to(store, 2 * megabyte);
    EXPECT_EQ(threads(), before);
    EXPECT_FALSE(has_memory(store.store->region.base() + 5 * megabyte));
}

// Fills a store, and waits for each large page before it is used. Returns the next one.
char *fill_slowly(SmallStore &store, std::uint32_t tx = KEL_TX_NONE) {
    char *next = nullptr;
    for (std::uint64_t size = 5 * megabyte; size < 20 * megabyte; size += 2 * megabyte) {
        fill_to(store, size + megabyte / 2, tx);
        next = next_page(store);
        while (!store.store->has_next_pages()) std::this_thread::yield();
        EXPECT_TRUE(has_memory(next));
        EXPECT_FALSE(has_memory(next + 2 * megabyte)) << "no more than one";
    }
    return next;
}

TEST_F(Ahead, TheNextLargePageHasMemoryBeforeItIsUsed) {
    if (!can_get_memory()) GTEST_SKIP() << "the kernel is older than 5.14";
    fill_slowly(store);
}

TEST_F(Ahead, MemoryIsReturnedWithTheBlocks) {
    if (!can_get_memory()) GTEST_SKIP() << "the kernel is older than 5.14";
    const std::uint32_t tx = store.begin();
    char *const next = fill_slowly(store, tx);
    EXPECT_TRUE(has_memory(next));
    store.roll_back(tx);
    EXPECT_FALSE(has_memory(next));
    EXPECT_EQ(fill_slowly(store), next) << "it is there again";
}

TEST_F(Ahead, AChildProcessGetsItsMemoryItself) {
    fill_to(store, 6 * megabyte);
    EXPECT_EQ(threads(), 2U);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        fill_to(store, 16 * megabyte);
        EXPECT_EQ(threads(), 1U);
        kel_handle_destroy(store.handle);
        kel_store_close(store.store);
        ::_exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    fill_to(store, 16 * megabyte);
}

class AheadOfTheLog : public StoreTest {};

TEST_F(AheadOfTheLog, TheNextSegmentIsThereAfterSomeCommits) {
    const OpenStore open(path.c_str());
    ASSERT_EQ(open.error, 0U);
    const std::size_t before = threads();
    const auto commit = [&] {
        ASSERT_EQ(open.change([&](std::uint32_t tx) {
            void *made = open.handle->alloc_hook(open.handle->arena, tx, block);
            std::memset(made, 1, block);
        }),
                  0U);
    };
    commit();
    EXPECT_EQ(threads(), before) << "one commit is no reason for a thread";
    for (int i = 0; i < 200; ++i) {
        commit();
        if (i >= 10) {
            while (!open.store->sharing->has_next_segments()) std::this_thread::yield();
        }
    }
    EXPECT_EQ(threads(), before + 1);
}

}  // namespace
}  // namespace tarn::test
