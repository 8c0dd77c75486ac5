// SPDX-License-Identifier: Apache-2.0
// What a transaction adds to the log of a store, in bytes, and when the log is shortened.
#include <cerrno>

#include "runtime/store/store.h"
#include "tarnbase/value.h"
#include "tests/unit/runtime_store/open_store.h"

namespace tarn::test {
namespace {

// More than the largest object.
constexpr std::uint64_t large_block = 8192;
// An operation's head, and the counters of the store's header.
constexpr std::uint64_t most_of_a_small_frame = 128;

class Publication : public StoreTest {
 protected:
    Publication() {
        EXPECT_EQ(store_.change([&](std::uint32_t) {
            object_ = store_.make("object", 512);
            large_ = store_.make("large", large_block);
        }),
                  0U);
    }

    std::uint64_t position() const { return store_.store->sharing->follower().position(); }
    std::uint64_t log_after_checkpoint() const {
        return position() - store_.store->sharing->folder().control.page().checkpoint.load();
    }
    std::uint32_t begin() const {
        std::uint32_t tx = 0;
        EXPECT_EQ(kel_transaction_begin(store_.handle, &tx), 0U) << kel_error_text();
        return tx;
    }
    void roll_back(std::uint32_t tx) const {
        EXPECT_EQ(kel_transaction_rollback(store_.handle, tx), 0U) << kel_error_text();
    }
    // Adds so many bytes to the log.
    void fill_log(std::uint64_t bytes) const {
        for (const std::uint64_t end = position() + bytes; position() < end;) {
            EXPECT_EQ(store_.change([&](std::uint32_t tx) {
                store_.handle->write_log_hook(store_.handle->arena, large_, large_block, tx);
                large_[0] += 1;
            }),
                      0U);
        }
    }

    OpenStore store_{path.c_str()};
    std::uint64_t *object_ = nullptr;
    std::uint64_t *large_ = nullptr;
};

TEST_F(Publication, ARollbackThatRestoresEverythingAddsNothing) {
    const std::uint64_t before = position();
    const std::uint32_t tx = begin();
    store_.set(tx, large_ + 7, 1);
    store_.make("new");
    store_.handle->free_hook(store_.handle->arena, tx, store_.find("object"));
    roll_back(tx);
    EXPECT_EQ(large_[7], 0U);
    // What was made outside of the transaction isn't undone.
    EXPECT_GT(position(), before);

    const std::uint64_t between = position();
    const std::uint32_t second = begin();
    store_.set(second, large_ + 7, 1);
    EXPECT_NE(store_.handle->alloc_hook(store_.handle->arena, second, 64), nullptr);
    roll_back(second);
    EXPECT_EQ(large_[7], 0U);
    EXPECT_EQ(position(), between);
}

TEST_F(Publication, ARollbackAddsTheObjectsThatWereAnnounced) {
    const std::uint64_t before = position();
    const std::uint32_t tx = begin();
    store_.set(tx, object_, 1);
    object_[9] = 4711;  // as the library stores a state flag: without an announcement
    roll_back(tx);
    EXPECT_EQ(object_[9], 4711U);
    EXPECT_GT(position(), before + 512);
}

TEST_F(Publication, ACommitAddsAnObjectAsAWholeAndAPartOfALargerBlock) {
    std::uint64_t before = position();
    EXPECT_EQ(store_.change([&](std::uint32_t tx) { store_.set(tx, object_, 1); }), 0U);
    EXPECT_GT(position(), before + 512);
    before = position();
    EXPECT_EQ(store_.change([&](std::uint32_t tx) { store_.set(tx, large_ + 100, 1); }), 0U);
    EXPECT_LE(position(), before + most_of_a_small_frame);
}

TEST_F(Publication, ABlockThatIsFilledInItsOwnTransactionIsAddedOnce) {
    const std::uint64_t before = position();
    std::uint64_t *made = nullptr;
    EXPECT_EQ(store_.change([&](std::uint32_t tx) {
        made = static_cast<std::uint64_t *>(
            store_.handle->alloc_hook(store_.handle->arena, tx, large_block));
        for (std::uint64_t i = 0; i < large_block / 8; i += 2) store_.set(tx, made + i, i + 1);
    }),
              0U);
    EXPECT_LE(position(), before + large_block + 2 * most_of_a_small_frame);
    EXPECT_EQ(made[large_block / 8 - 2], large_block / 8 - 1);
}

// A map that copied its buckets when it grows would add all of its texts.
TEST_F(Publication, NoTextAddsMuchHoweverManyThereAre) {
    constexpr std::uint64_t texts = 5000, most = 2048, mean = 512;
    kel_vstring *strings = nullptr;
    EXPECT_EQ(store_.change([&](std::uint32_t) {
        strings =
            reinterpret_cast<kel_vstring *>(store_.make("strings", texts * sizeof(kel_vstring)));
    }),
              0U);
    const std::uint64_t first = position();
    for (std::uint64_t i = 0; i < texts; ++i) {
        const std::uint64_t before = position();
        std::uint32_t err = 0;
        EXPECT_EQ(store_.change([&](std::uint32_t tx) {
            kel_vstring_assign_text(store_.handle, tx, &strings[i], "longer than a string", &err);
        }),
                  0U);
        ASSERT_EQ(err, 0U);
        ASSERT_LE(position(), before + most) << i;
    }
    EXPECT_LE(position(), first + texts * mean);
}

TEST_F(Publication, ClosingLeavesAShortLogHoweverOftenItWasFilled) {
    constexpr std::uint64_t due = 1ULL << 20;
    for (int i = 0; i < 3; ++i) fill_log(2 * due);
    const std::uint64_t end = position();
    kel_handle_destroy(store_.handle);
    kel_store_close(store_.store);
    store_.handle = nullptr;
    store_.store = nullptr;
    const OpenStore again(path.c_str());
    ASSERT_EQ(again.error, 0U) << kel_error_text();
    auto &sharing = *again.store->sharing;
    EXPECT_EQ(sharing.follower().position(), end);
    EXPECT_LE(end - sharing.folder().control.page().checkpoint.load(), due);
}

TEST_F(Publication, ACheckpointCanBeMadeWhileTheNextOneIsDue) {
    for (int i = 0; i < 3; ++i) fill_log(2ULL << 20);
    std::uint32_t error = EBUSY;
    while (error == EBUSY) error = kel_store_checkpoint(store_.store);
    EXPECT_EQ(error, 0U) << kel_error_text();
    EXPECT_EQ(log_after_checkpoint(), 0U);
}

}  // namespace
}  // namespace tarn::test
