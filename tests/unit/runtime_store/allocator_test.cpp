// SPDX-License-Identifier: Apache-2.0
// The store's blocks against a model.
#include <sys/mman.h>

#include <algorithm>
#include <iterator>
#include <map>

#include "runtime/arena/size_class.h"
#include "tests/support/trace.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

// Bytes that a block of that size takes.
std::uint64_t counted_bytes(std::uint64_t size) {
    using namespace tarnbase::runtime;
    if (size <= largest_small_block) return size_classes[size_class_of(size)].size;
    return (size + large_block_offset + page_size - 1) / page_size * page_size;
}

// Sizes of all kinds, especially at the limits of size classes.
std::uint64_t any_size(Chance &chance) {
    switch (chance.below(10)) {
        case 0:
            return chance.below(3);
        case 1:
            return 65536 * (1 + chance.below(4)) - 64 + chance.below(3) - 1;
        case 2:
            return 16384 + chance.below(3) - 1;
        case 3:
            return 20000 + chance.below(300000);
        case 4:
        case 5:
            return (16ULL << chance.below(10)) + chance.below(3) - 1;
        default:
            return 1 + chance.below(4000);
    }
}

class RandomBlocks : public ::testing::TestWithParam<std::uint32_t> {
 protected:
    using Address = std::uint8_t *;

    void add() {
        const std::uint64_t size = any_size(chance);
        const auto block = static_cast<Address>(store.allocate(size));
        ASSERT_NE(block, nullptr) << size;
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0U) << size;
        const std::uint64_t usable = std::max<std::uint64_t>(size, 1);
        expect_apart(block, usable);
        ASSERT_EQ(std::memcmp(block, zeros.data(), size), 0) << size;
        std::memset(block, 0xee, size);
        live.emplace(block, size);
        block_bytes += counted_bytes(size);
    }

    void expect_apart(Address block, std::uint64_t size) const {
        const auto above = live.lower_bound(block);
        if (above != live.end()) {
            ASSERT_LE(block + size, above->first);
        }
        if (above != live.begin()) {
            const auto below = std::prev(above);
            ASSERT_LE(below->first + std::max<std::uint64_t>(below->second, 1), block);
        }
    }

    void remove(std::map<Address, std::uint64_t>::iterator place) {
        store.release(place->first);
        block_bytes -= counted_bytes(place->second);
        live.erase(place);
    }

    void expect_counts() const {
        ASSERT_EQ(store.describe().blocks, live.size());
        ASSERT_EQ(store.describe().block_bytes, block_bytes);
    }

    SmallStore store;
    const std::vector<std::uint8_t> zeros = std::vector<std::uint8_t>(400000, 0);
    Chance chance{GetParam()};
    std::map<Address, std::uint64_t> live;
    std::uint64_t block_bytes = 0;
};

INSTANTIATE_TEST_SUITE_P(Allocator, RandomBlocks, ::testing::Values(31U, 32U, 33U));

TEST_P(RandomBlocks, AreZeroAndAlignedAndApartAndLeaveNoTrace) {
    const StoreSnapshot fresh(store.store);
    for (int step = 0; step < 2500 && !HasFailure(); ++step) {
        SCOPED_TRACE(seed_and_step(GetParam(), step));
        const std::uint64_t adds_of_ten = step / 500 % 2 == 0 ? 7 : 3;
        if (live.empty() || chance.below(10) < adds_of_ten) {
            add();
        } else {
            remove(std::next(live.begin(), static_cast<std::ptrdiff_t>(chance.below(live.size()))));
        }
        expect_counts();
    }
    while (!live.empty()) remove(live.begin());
    expect_counts();
    EXPECT_EQ(to_text(fresh.changes()), "");
}

using Allocator = SmallStoreTest;

TEST_F(Allocator, GivesABlockOfEachSizeUpToALargeOne) {
    for (std::uint64_t size = 0; size < 17000; size += size < 300 ? 1 : 61) {
        void *block = store.allocate(size);
        ASSERT_NE(block, nullptr);
        ASSERT_GE(store.describe().block_bytes, size);
        ASSERT_EQ(store.describe().block_bytes, counted_bytes(size)) << size;
        std::memset(block, 0xff, size);
        store.release(block);
        ASSERT_EQ(store.describe().block_bytes, 0U);
    }
}

TEST_F(Allocator, TakesTheLowestFreePlaceFirst) {
    std::vector<void *> blocks;
    for (int i = 0; i < 100; ++i) blocks.push_back(store.allocate(80));
    for (const std::size_t index : {70U, 3U, 42U}) store.release(blocks[index]);
    for (const std::size_t index : {3U, 42U, 70U}) EXPECT_EQ(store.allocate(80), blocks[index]);
}

TEST_F(Allocator, AStoreEndsWithItsLastPageInUse) {
    const std::uint64_t front = store.describe().size;
    void *low = store.allocate(80);
    EXPECT_EQ(store.describe().size, front + 65536);
    void *large = store.allocate(1000000);
    void *high = store.allocate(300);
    EXPECT_EQ(store.describe().size, front + 18 * 65536);
    EXPECT_EQ(store.describe().free_bytes,
              store.describe().size - front - store.describe().block_bytes);
    store.release(large);
    EXPECT_EQ(store.describe().size, front + 18 * 65536);
    EXPECT_EQ(store.describe().free_bytes, 2 * 65536 - store.describe().block_bytes);
    store.release(high);
    EXPECT_EQ(store.describe().size, front + 65536);
    store.release(low);
    EXPECT_EQ(store.describe().size, front);
}

// Whether any of a block's memory takes space.
bool is_resident(void *block, std::uint64_t size) {
    std::vector<unsigned char> pages(size / 4096);
    EXPECT_EQ(::mincore(static_cast<char *>(block) - 64, size, pages.data()), 0);
    return std::any_of(pages.begin(), pages.end(), [](unsigned char page) { return page & 1; });
}

TEST_F(Allocator, TheMemoryOfManyPagesAtTheEndIsReturned) {
    constexpr std::uint64_t size = 8 << 20;
    void *block = store.allocate(size);
    std::memset(block, 0xff, size);
    ASSERT_TRUE(is_resident(block, size));
    store.release(block);
    EXPECT_FALSE(is_resident(block, size));
    ASSERT_EQ(store.allocate(size), block);
    EXPECT_TRUE(std::all_of(static_cast<char *>(block), static_cast<char *>(block) + size,
                            [](char byte) { return byte == 0; }));
}

class BadFrees : public SmallStoreTest {
 protected:
    // Expects that the address is rejected, in a transaction and outside.
    void expect_refused(void *address) {
        SCOPED_TRACE(address);
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        for (const std::uint32_t id : {tx, KEL_TX_NONE}) {
            const TraceCapture trace;
            store.release(address, id);
            ASSERT_EQ(trace.lines.size(), 1U) << trace.all();
            EXPECT_EQ(trace.lines[0].level, KEL_TRACE_ERROR);
            EXPECT_NE(trace.lines[0].text.find("isn't an allocated block of the store"),
                      std::string::npos);
        }
        store.commit(tx);
        EXPECT_EQ(to_text(before.changes()), "");
    }

    std::uint8_t *small = static_cast<std::uint8_t *>(store.allocate(100));
    std::uint8_t *large = static_cast<std::uint8_t *>(store.allocate(200000));
};

TEST_F(BadFrees, ABlockFreedTwiceIsTraced) {
    void *again = store.allocate(100);
    store.release(again);
    expect_refused(again);
    store.release(large);
    expect_refused(large);
}

TEST_F(BadFrees, AddressesInsideABlockAreTraced) {
    // The bytes of a large block may look like the head of a page.
    for (std::uint32_t *word = reinterpret_cast<std::uint32_t *>(large);
         word < reinterpret_cast<std::uint32_t *>(large + 200000); ++word) {
        *word = 1;
    }
    for (const int offset : {1, 8, 16, 64}) expect_refused(small + offset);
    for (const int offset : {1, 16, 65536, 65536 - 64, 131072 + 96}) expect_refused(large + offset);
}

TEST_F(BadFrees, AddressesThatAreNotOfABlockAreTraced) {
    auto *base = static_cast<std::uint8_t *>(store.describe().base);
    std::uint64_t outside = 0;
    expect_refused(&outside);
    expect_refused(base);
    expect_refused(base + 1280);
    expect_refused(large - 64);
    expect_refused(base + store.describe().size - 65536);
    expect_refused(base + small_capacity - 16);
    expect_refused(base + small_capacity);
    expect_refused(base - 16);
}

TEST_F(BadFrees, NullIsAcceptedInSilence) {
    const TraceCapture trace;
    store.release(nullptr);
    EXPECT_EQ(trace.lines.size(), 0U) << trace.all();
    EXPECT_EQ(store.describe().blocks, 2U);
}

TEST(FullAllocator, ReturnsNullAndIsUnchangedWhenAllIsFreed) {
    SmallStore store(least_capacity);
    const StoreSnapshot fresh(store.store);
    for (const std::uint64_t size : {32U, 5000U, 16384U, 60000U, 500000U}) {
        SCOPED_TRACE(size);
        std::vector<void *> blocks;
        while (void *block = store.allocate(size)) blocks.push_back(block);
        ASSERT_FALSE(blocks.empty());
        EXPECT_EQ(store.describe().blocks, blocks.size());
        EXPECT_LE(store.describe().size, least_capacity);
        for (void *block : blocks) store.release(block);
        EXPECT_EQ(to_text(fresh.changes()), "");
    }
}

TEST(FullAllocator, ReturnsNullForWhatCanNeverFit) {
    SmallStore store(least_capacity);
    const StoreSnapshot fresh(store.store);
    for (const std::uint64_t size : {least_capacity - 1, least_capacity, least_capacity + 1,
                                     std::uint64_t{1} << 40, ~std::uint64_t{0}}) {
        EXPECT_EQ(store.allocate(size), nullptr) << size;
    }
    EXPECT_EQ(to_text(fresh.changes()), "");
}

TEST_F(Allocator, FailsTheWishedAllocationAndNoOther) {
    for (const std::uint64_t n : {1U, 2U, 5U}) {
        kel_store_fail_allocation(store.store, n);
        for (std::uint64_t i = 1; i <= 7; ++i) {
            EXPECT_EQ(store.allocate(10) == nullptr, i == n) << n << " " << i;
        }
    }
}

TEST_F(Allocator, FailsNothingWhenTheRequestIsReset) {
    kel_store_fail_allocation(store.store, 2);
    EXPECT_NE(store.allocate(10), nullptr);
    kel_store_fail_allocation(store.store, 0);
    for (int i = 0; i < 5; ++i) EXPECT_NE(store.allocate(10), nullptr);
}

TEST_F(Allocator, CountsDescriptorsAndTransactionsForTheWish) {
    const std::uint32_t tx = store.begin();
    kel_store_fail_allocation(store.store, 3);
    EXPECT_NE(store.handle->type_alloc_hook(store.handle->type_arena, KEL_TX_NONE, 10), nullptr);
    EXPECT_NE(store.allocate(10, tx), nullptr);
    EXPECT_EQ(store.handle->type_alloc_hook(store.handle->type_arena, tx, 10), nullptr);
    EXPECT_NE(store.allocate(10, tx), nullptr);
    store.roll_back(tx);
    EXPECT_EQ(store.describe().blocks, 1U);
}

}  // namespace
}  // namespace tarn::test
