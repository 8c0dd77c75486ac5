// SPDX-License-Identifier: Apache-2.0
// The records that the engine has seen read.
#include <cerrno>

#include "tests/unit/replication/fixture.h"

namespace tarn::test {
namespace {

class Reads : public ReplicationTest {
 protected:
    struct Seen {
        kel_record *record;
        const void *const *vector;
        std::uint64_t reads;
    };
    // All records of the table that the cache has.
    std::vector<Seen> seen() {
        std::vector<Seen> all;
        const auto note = [](kel_record *record, const void *const *vector, std::uint64_t reads,
                             void *context) -> std::uint32_t {
            static_cast<std::vector<Seen> *>(context)->push_back({record, vector, reads});
            return 0;
        };
        EXPECT_EQ(kel_replication_for_each_read(handle, numbers.table, note, &all), 0U);
        return all;
    }
};

TEST_F(Reads, OfAMarkedTableAreCountedPerRecord) {
    kel_record *one = numbers.put(1);
    kel_record *two = numbers.put(2);
    numbers.find(1);
    numbers.find(2);
    numbers.find(1);
    EXPECT_EQ(kel_replication_reads(handle, one), 2U);
    EXPECT_EQ(kel_replication_reads(handle, two), 1U);
    EXPECT_EQ(kel_handle_cache_reports(handle), 3U);
}

TEST_F(Reads, OfATableThatIsNotMarkedAreNotCounted) {
    kel_record *record = numbers.put(1);
    kel_table_set_replication(handle, tx, numbers.table, 0, 0);
    numbers.find(1);
    EXPECT_EQ(kel_replication_reads(handle, record), 0U);
    EXPECT_EQ(kel_handle_cache_reports(handle), 0U);
}

TEST_F(Reads, ThroughAnUnattachedHandleAreOnlyReported) {
    kel_record *record = numbers.put(1);
    ASSERT_EQ(kel_replication_attach(handle, nullptr), 0U);
    numbers.find(1);
    EXPECT_EQ(kel_replication_reads(handle, record), 0U);
    EXPECT_EQ(kel_handle_cache_reports(handle), 1U);
    EXPECT_TRUE(seen().empty());
}

TEST_F(Reads, OfShadowsAndMissesAreNotCounted) {
    kel_record *shadow = numbers.make(1);
    shadow->src = KEL_SOURCE_SHADOW;
    ASSERT_EQ(numbers.insert(shadow), 0U);
    const std::uint32_t key = 1;
    EXPECT_EQ(tbl_test_number_st_every_a32_search_w_src(handle, tx, numbers.table, &key,
                                                        KEL_SOURCE_SHADOW, &err),
              shadow);
    EXPECT_EQ(numbers.find(2), nullptr);
    EXPECT_EQ(kel_handle_cache_reports(handle), 0U);
    EXPECT_EQ(kel_replication_reads(handle, shadow), 0U);
}

TEST_F(Reads, AreListedInTheOrderOfTheIndexWithTheTablesVector) {
    for (const std::uint32_t key : {3U, 1U, 2U}) numbers.put(key);
    kel_record *three = numbers.find(3);
    kel_record *one = numbers.find(1);
    numbers.find(3);
    const std::vector<Seen> all = seen();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].record, one);
    EXPECT_EQ(all[0].reads, 1U);
    EXPECT_EQ(all[1].record, three);
    EXPECT_EQ(all[1].reads, 2U);
    EXPECT_EQ(all[1].vector, tbl_test_number_table_vft);
}

TEST_F(Reads, ListingStopsAtTheFirstNonzeroResult) {
    numbers.put(1);
    numbers.put(2);
    numbers.find(1);
    numbers.find(2);
    std::uint32_t calls = 0;
    const auto stop = [](kel_record *, const void *const *, std::uint64_t,
                         void *context) -> std::uint32_t {
        return 40 + ++*static_cast<std::uint32_t *>(context);
    };
    EXPECT_EQ(kel_replication_for_each_read(handle, numbers.table, stop, &calls), 41U);
    EXPECT_EQ(calls, 1U);
}

TEST_F(Reads, StoreNothingAndDropTheOldestIfThereAreTooMany) {
    constexpr std::uint32_t count = 3000;
    for (std::uint32_t key = 0; key < count; ++key) numbers.put(key);
    const std::uint64_t blocks = session.blocks();
    kel_record *last = nullptr;
    for (std::uint32_t key = 0; key < count; ++key) last = numbers.find(key);
    EXPECT_EQ(session.blocks(), blocks);
    EXPECT_EQ(kel_replication_reads(handle, last), 1U);
    EXPECT_LE(seen().size(), 1024U);
    EXPECT_GT(seen().size(), 512U);
    EXPECT_EQ(kel_handle_cache_reports(handle), count);
}

TEST_F(Reads, OfARecordAreDroppedWhenItsBlockIsReused) {
    kel_record *record = numbers.put(1);
    numbers.find(1);
    handle->replication_engine_active = 1;
    tbl_test_number_destroy_record(handle, tx, record, &err);
    handle->replication_engine_active = 0;
    ASSERT_EQ(err, 0U);
    ASSERT_EQ(numbers.put(2), record) << "the allocator takes the lowest free place";
    EXPECT_EQ(kel_replication_reads(handle, record), 0U);
}

}  // namespace
}  // namespace tarn::test
