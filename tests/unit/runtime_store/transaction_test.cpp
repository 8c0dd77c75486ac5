// SPDX-License-Identifier: Apache-2.0
// Transactions: what a rollback undoes and a commit keeps.
#include <cerrno>
#include <set>
#include <string>

#include "tests/support/trace.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

// Blocks of a store and their expected bytes. Every block begins with a counter that only
// deltas change; all other writes are after it.
class Blocks {
 public:
    struct Block {
        std::uint8_t *address;
        std::vector<std::uint8_t> content;
    };

    Blocks(SmallStore &store, std::uint32_t seed) : chance(seed), store_(store) {}

    void add(std::uint32_t tx) {
        const std::size_t size = chance.below(8) == 0 ? 20000 + chance.below(200000)
                                                      : sizeof(std::uint64_t) + chance.below(600);
        auto *address = static_cast<std::uint8_t *>(store_.allocate(size, tx));
        ASSERT_NE(address, nullptr);
        live.push_back({address, std::vector<std::uint8_t>(size, 0)});
    }

    void remove(std::uint32_t tx) {
        const std::size_t index = chance.index_in(live);
        store_.release(live[index].address, tx);
        live.erase(live.begin() + static_cast<std::ptrdiff_t>(index));
    }

    void write(std::uint32_t tx) {
        Block &block = live[chance.index_in(live)];
        const std::size_t room = block.content.size() - sizeof(std::uint64_t);
        if (room == 0) return;
        const std::size_t from = chance.below(room);
        const auto bytes = chance.bytes(1 + chance.below(room - from));
        const std::size_t place = sizeof(std::uint64_t) + from;
        store_.write(tx, block.address + place, bytes.data(), bytes.size());
        std::memcpy(block.content.data() + place, bytes.data(), bytes.size());
    }

    void count(std::uint32_t tx) {
        Block &block = live[chance.index_in(live)];
        const auto delta = static_cast<std::int32_t>(chance.below(2001)) - 1000;
        auto *counter = reinterpret_cast<std::uint64_t *>(block.address);
        store_.handle->delta_log_hook(store_.handle->arena, counter, delta, tx);
        *counter += static_cast<std::uint64_t>(std::int64_t{delta});
        std::memcpy(block.content.data(), counter, sizeof *counter);
    }

    void anything(std::uint32_t tx) {
        switch (live.empty() ? 0 : chance.below(5)) {
            case 0:
                return add(tx);
            case 1:
                return remove(tx);
            case 2:
                return count(tx);
            default:
                return write(tx);
        }
    }

    void expect_content() const {
        for (const Block &block : live) {
            ASSERT_EQ(std::memcmp(block.address, block.content.data(), block.content.size()), 0);
        }
        EXPECT_EQ(store_.describe().blocks, live.size());
    }

    std::vector<Block> live;
    Chance chance;

 private:
    SmallStore &store_;
};

class Seeded : public ::testing::TestWithParam<std::uint32_t> {
 protected:
    void SetUp() override {
        for (int i = 0; i < 30; ++i) blocks.add(KEL_TX_NONE);
        for (int i = 0; i < 60; ++i) blocks.write(KEL_TX_NONE);
    }

    SmallStore store;
    Blocks blocks{store, GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Transactions, Seeded, ::testing::Values(1U, 2U, 3U, 4U, 5U, 6U));

TEST_P(Seeded, RollbackLeavesEveryByteAsItWas) {
    for (int round = 0; round < 8; ++round) {
        SCOPED_TRACE(seed_and_step(GetParam(), round));
        const StoreSnapshot before(store.store);
        const auto live = blocks.live;
        const std::uint32_t tx = store.begin();
        for (int i = 0; i < 120; ++i) blocks.anything(tx);
        store.roll_back(tx);
        ASSERT_EQ(to_text(before.changes()), "");
        blocks.live = live;
        blocks.expect_content();
        for (int i = 0; i < 10; ++i) blocks.anything(KEL_TX_NONE);
    }
}

// The log keeps the oldest bytes alone of ranges that begin at one address.
TEST_P(Seeded, ARollbackUndoesManyChangesOfTheSameBytes) {
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(seed_and_step(GetParam(), round));
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        for (int i = 0; i < 200; ++i) {
            auto &block = blocks.live[blocks.chance.below(4)];
            const std::size_t from = 4 * blocks.chance.below(2);
            const auto bytes = blocks.chance.bytes(1 + blocks.chance.below(8 - from));
            store.write(tx, block.address + from, bytes.data(), bytes.size());
        }
        store.roll_back(tx);
        ASSERT_EQ(to_text(before.changes()), "");
    }
}

TEST_P(Seeded, CommitKeepsWhatWasDone) {
    for (int round = 0; round < 8; ++round) {
        SCOPED_TRACE(seed_and_step(GetParam(), round));
        const std::uint32_t tx = store.begin();
        for (int i = 0; i < 120; ++i) blocks.anything(tx);
        store.commit(tx);
        blocks.expect_content();
    }
    EXPECT_EQ(store.describe().committed, 8U);
    EXPECT_EQ(store.describe().transactions, 0U);
}

TEST_P(Seeded, TransactionsOnBlocksOfTheirOwnEndApartFromEachOther) {
    Blocks kept(store, GetParam() + 100);
    Blocks undone(store, GetParam() + 200);
    const std::uint32_t first = store.begin();
    const std::uint32_t second = store.begin();
    for (int i = 0; i < 100; ++i) {
        kept.anything(first);
        undone.anything(second);
    }
    store.commit(first);
    store.roll_back(second);
    for (const auto &block : kept.live) blocks.live.push_back(block);
    blocks.expect_content();
}

using Transactions = SmallStoreTest;

TEST_F(Transactions, OneByteWrittenTwiceIsRestoredToItsFirstValue) {
    auto *byte = static_cast<std::uint8_t *>(store.allocate(1));
    *byte = 7;
    const std::uint32_t tx = store.begin();
    store.set(tx, byte, std::uint8_t{8});
    store.set(tx, byte, std::uint8_t{9});
    store.roll_back(tx);
    EXPECT_EQ(*byte, 7);
}

TEST_F(Transactions, AWriteLongerThanAChunkOfTheLogIsRolledBackWhole) {
    constexpr std::size_t length = 300001;
    auto *block = static_cast<std::uint8_t *>(store.allocate(length));
    Chance chance(11);
    const auto old_bytes = chance.bytes(length);
    std::memcpy(block, old_bytes.data(), length);
    const StoreSnapshot before(store.store);
    const std::uint32_t tx = store.begin();
    store.write(tx, block, chance.bytes(length).data(), length);
    store.roll_back(tx);
    EXPECT_EQ(to_text(before.changes()), "");
}

constexpr std::size_t bytes_in_new_pages = 100'000;

TEST_F(Transactions, ChangesOfABlockInNewPagesMadeOutsideOfThemAreUndone) {
    const std::uint32_t tx = store.begin();
    auto *block = static_cast<std::uint8_t *>(store.allocate(bytes_in_new_pages));
    block[5] = 7;
    store.set(tx, block + 5, std::uint8_t{8});
    store.roll_back(tx);
    EXPECT_EQ(block[5], 7);
}

TEST_F(Transactions, ChangesOfABlockInNewPagesOfAnotherOneAreUndone) {
    for (const bool is_maker_first : {false, true}) {
        const std::uint32_t first = store.begin();
        const std::uint32_t second = store.begin();
        const std::uint32_t maker = is_maker_first ? first : second;
        const std::uint32_t other = is_maker_first ? second : first;
        auto *block = static_cast<std::uint8_t *>(store.allocate(bytes_in_new_pages, maker));
        block[5] = 7;
        store.set(other, block + 5, std::uint8_t{8});
        store.roll_back(other);
        EXPECT_EQ(block[5], 7);
        store.commit(maker);
    }
}

TEST_F(Transactions, ABlockInNewPagesIsAnothersAlsoIfThatOneBeginsLater) {
    const std::uint32_t maker = store.begin();
    auto *block = static_cast<std::uint8_t *>(store.allocate(bytes_in_new_pages, maker));
    block[5] = 7;
    const std::uint32_t other = store.begin();
    store.set(other, block + 5, std::uint8_t{8});
    store.roll_back(other);
    EXPECT_EQ(block[5], 7);
    store.set(maker, block + 5, std::uint8_t{9});
    const std::uint64_t blocks = store.describe().blocks;
    store.roll_back(maker);
    EXPECT_EQ(store.describe().blocks, blocks - 1);
}

TEST_F(Transactions, ACommitFreesHoweverManyBlocksWereReleased) {
    for (const std::size_t count : {1U, 7U, 8U, 9U, 16U, 100U}) {
        std::vector<void *> blocks;
        for (std::size_t i = 0; i < count; ++i) blocks.push_back(store.allocate(40));
        const std::uint32_t tx = store.begin();
        for (void *block : blocks) store.release(block, tx);
        const std::uint64_t present = store.describe().blocks;
        store.commit(tx);
        EXPECT_EQ(store.describe().blocks, present - count);
    }
}

TEST_F(Transactions, DeltasOfACounterAreUndoneAroundItsOldBytes) {
    auto *counter = static_cast<std::uint64_t *>(store.allocate(8));
    *counter = 100;
    const auto count = [&](std::uint32_t tx, std::int32_t delta) {
        store.handle->delta_log_hook(store.handle->arena, counter, delta, tx);
        *counter += static_cast<std::uint64_t>(std::int64_t{delta});
    };
    const std::uint32_t tx = store.begin();
    count(tx, 3);
    count(tx, -5);
    store.set<std::uint64_t>(tx, counter, 4711);
    count(tx, 1);
    count(tx, 1);
    store.set<std::uint64_t>(tx, counter, 4712);
    count(tx, 10);
    store.roll_back(tx);
    EXPECT_EQ(*counter, 100U);
}

TEST_F(Transactions, DeltasOfManyCountersAreUndoneWhateverTheirSum) {
    constexpr std::uint64_t counters = 20;
    auto *counter = static_cast<std::uint64_t *>(store.allocate(counters * 8));
    const std::uint32_t tx = store.begin();
    for (int round = 0; round < 3; ++round) {
        for (std::uint64_t i = 0; i < counters; ++i) {
            for (int twice = 0; twice < 2; ++twice) {
                store.handle->delta_log_hook(store.handle->arena, counter + i, INT32_MAX, tx);
                counter[i] += INT32_MAX;
            }
        }
    }
    counter[7] += 5;
    store.roll_back(tx);
    for (std::uint64_t i = 0; i < counters; ++i) EXPECT_EQ(counter[i], i == 7 ? 5U : 0U);
}

TEST_F(Transactions, ABlockFreedStaysUntilCommit) {
    auto *block = static_cast<std::uint32_t *>(store.allocate(64));
    *block = 42;
    const std::uint32_t tx = store.begin();
    store.release(block, tx);
    EXPECT_EQ(store.describe().blocks, 1U);
    EXPECT_EQ(*block, 42U);
    EXPECT_NE(store.allocate(64), block);
    store.commit(tx);
    EXPECT_EQ(store.describe().blocks, 1U);
    EXPECT_EQ(store.allocate(64), block) << "the lowest free place is taken first";
}

TEST_F(Transactions, ABlockAllocatedAndFreedInATransactionIsFreedEitherWay) {
    for (const bool commits : {true, false}) {
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        store.release(store.allocate(100, tx), tx);
        commits ? store.commit(tx) : store.roll_back(tx);
        EXPECT_EQ(to_text(before.changes()), "");
    }
}

TEST_F(Transactions, ADescriptorBlockGoesBackLikeAnyOther) {
    const std::uint32_t tx = store.begin();
    ASSERT_NE(store.handle->type_alloc_hook(store.handle->type_arena, tx, 80), nullptr);
    EXPECT_EQ(store.describe().blocks, 1U);
    store.roll_back(tx);
    EXPECT_EQ(store.describe().blocks, 0U);
}

TEST_F(Transactions, IdsThatAreNotOpenMakeChangesThatAreAtOncePermanent) {
    std::uint32_t closed = store.begin();
    store.commit(closed);
    for (const std::uint32_t id : {KEL_TX_NONE, 0U, 5U, 12345U, closed}) {
        SCOPED_TRACE(id);
        const std::uint32_t open = store.begin();
        auto *number = static_cast<std::uint64_t *>(store.allocate(8, id));
        store.set(id, number, std::uint64_t{77});
        store.handle->delta_log_hook(store.handle->arena, number, 3, id);
        *number += 3;
        store.roll_back(open);
        EXPECT_EQ(*number, 80U);
        EXPECT_EQ(store.describe().blocks, 1U);
        store.release(number, id);
        EXPECT_EQ(store.describe().blocks, 0U);
    }
}

TEST_F(Transactions, WritesOutsideTheStoreAreNotUndoneButDeltasAre) {
    std::uint64_t written = 1;
    std::uint64_t counted = 1;
    const std::uint32_t tx = store.begin();
    store.set(tx, &written, std::uint64_t{2});
    store.handle->delta_log_hook(store.handle->arena, &counted, -1, tx);
    counted -= 1;
    store.roll_back(tx);
    EXPECT_EQ(written, 2U);
    EXPECT_EQ(counted, 1U);
}

TEST_F(Transactions, AnotherHandleOfTheStoreMayEndOne) {
    kel_handle *other = make_handle(store.store, Mode::plain);
    const std::uint32_t tx = store.begin();
    store.allocate(40, tx);
    EXPECT_EQ(kel_transaction_rollback(other, tx), 0U);
    EXPECT_EQ(store.describe().blocks, 0U);
    kel_handle_destroy(other);
}

TEST_F(Transactions, IdsDifferAndAreNeverZeroOrNone) {
    std::set<std::uint32_t> seen;
    for (int i = 0; i < 2000; ++i) {
        const std::uint32_t tx = store.begin();
        EXPECT_NE(tx, 0U);
        EXPECT_NE(tx, KEL_TX_NONE);
        EXPECT_TRUE(seen.insert(tx).second) << tx;
        store.commit(tx);
    }
}

TEST_F(Transactions, TooManyOpenAreAnErrorUntilOneEnds) {
    std::vector<std::uint32_t> open;
    for (int i = 0; i < 32; ++i) open.push_back(store.begin());
    EXPECT_EQ(store.describe().transactions, 32U);
    std::uint32_t tx = 99;
    EXPECT_EQ(kel_transaction_begin(store.handle, &tx), std::uint32_t{EAGAIN});
    EXPECT_EQ(tx, 99U);
    EXPECT_STREQ(kel_error_text(), "kel_transaction_begin: 32 transactions are open");
    store.commit(open[17]);
    open[17] = store.begin();
    for (const std::uint32_t id : open) store.roll_back(id);
    EXPECT_EQ(store.describe().transactions, 0U);
    EXPECT_EQ(store.describe().rolled_back, 32U);
    EXPECT_EQ(store.describe().committed, 1U);
}

TEST_F(Transactions, EndingOneThatIsNotOpenIsAnErrorThatSaysSo) {
    const std::uint32_t closed = store.begin();
    store.commit(closed);
    for (const std::uint32_t id : {closed, 0U, KEL_TX_NONE}) {
        const std::string rest = ": transaction " + std::to_string(id) + " is not open";
        EXPECT_EQ(kel_transaction_commit(store.handle, id), std::uint32_t{EINVAL});
        EXPECT_EQ(kel_error_text(), "kel_transaction_commit" + rest);
        EXPECT_EQ(kel_transaction_rollback(store.handle, id), std::uint32_t{EINVAL});
        EXPECT_EQ(kel_error_text(), "kel_transaction_rollback" + rest);
    }
    EXPECT_EQ(store.describe().committed, 1U);
    EXPECT_EQ(store.describe().rolled_back, 0U);
}

TEST_F(Transactions, OneFreedTwiceIsFreedOnceAndReported) {
    const TraceCapture trace;
    void *block = store.allocate(50);
    void *other = store.allocate(50);
    const std::uint32_t tx = store.begin();
    store.release(block, tx);
    store.release(block, tx);
    store.commit(tx);
    EXPECT_EQ(store.describe().blocks, 1U);
    EXPECT_EQ(trace.lines.size(), 1U) << trace.all();
    store.release(other);
    EXPECT_EQ(store.describe().blocks, 0U);
}

class FullStore : public ::testing::Test {
 protected:
    FullStore() {
        while (void *block = store.allocate(60000)) taken.push_back(block);
    }

    SmallStore store{least_capacity};
    std::vector<void *> taken;
};

TEST_F(FullStore, ATransactionThatFindsNoMemoryIsTakenBackWhole) {
    const StoreSnapshot before(store.store);
    const std::uint32_t tx = store.begin();
    store.set(tx, static_cast<std::uint64_t *>(taken[0]), std::uint64_t{1});
    EXPECT_EQ(store.allocate(60000, tx), nullptr);
    store.release(taken[1], tx);
    store.set(tx, static_cast<std::uint64_t *>(taken[2]), std::uint64_t{2});
    store.roll_back(tx);
    EXPECT_EQ(to_text(before.changes()), "");
}

}  // namespace
}  // namespace tarn::test
