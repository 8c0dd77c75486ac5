// SPDX-License-Identifier: Apache-2.0
// Deferred destruction: a program requests it, the engine finishes it.
#include <cerrno>
#include <cstring>

#include "tarnbase/module.h"
#include "tests/support/snapshot.h"
#include "tests/support/trace.h"
#include "tests/unit/replication/fixture.h"

namespace tarn::test {
namespace {

class Destroy : public ReplicationTest {
 protected:
    void request(kel_record *record) {
        tbl_test_number_request_record_destroy(handle, numbers.tx, record->table, record, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_NE(record->flags & KEL_RECORD_PENDING_DESTROY, 0);
    }
    // Finishes what is pending, and returns how many.
    std::uint32_t finish() {
        std::uint32_t finished = 77;
        EXPECT_EQ(kel_replication_finish_destroys(handle, numbers.tx, &finished), 0U)
            << kel_error_text();
        return finished;
    }
};

class DestroyInMode : public ModeTest {};
TARN_EACH_MODE(DestroyInMode);

TEST_P(DestroyInMode, APendingRecordIsDestroyedWhenTheEngineHasFinished) {
    Numbers numbers(handle);
    const std::uint64_t blocks = session.blocks();
    ASSERT_EQ(kel_replication_configure(handle, 1, 0), 0U);
    numbers.put(0);
    const std::uint64_t with_one = session.blocks();
    kel_record *record = numbers.put(1, "a text of its own, too long to be inline");
    tbl_test_number_request_record_destroy(handle, tx, numbers.table, record, &err);
    ASSERT_EQ(err, 0U);
    EXPECT_EQ(numbers.find(1), record);
    std::uint32_t finished = 0;
    ASSERT_EQ(kel_replication_finish_destroys(handle, tx, &finished), 0U) << kel_error_text();
    EXPECT_EQ(finished, 1U);
    EXPECT_EQ(numbers.find(1), nullptr);
    EXPECT_NE(numbers.find(0), nullptr);
    EXPECT_EQ(tbl_test_number_table_get_count(handle, tx, numbers.table), 1U);
    EXPECT_EQ(session.blocks(), with_one);
    EXPECT_GT(with_one, blocks);
    EXPECT_EQ(handle->replication_engine_active, 0U);
}

TEST_F(Destroy, ADirectDeleteFailsAndKeepsTheRecord) {
    kel_record *record = numbers.put(1);
    const TraceCapture trace;
    tbl_test_number_delete(handle, tx, numbers.table, record, &err);
    EXPECT_EQ(err, static_cast<std::uint32_t>(EINVAL));
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): tbl_test_number_delete() cannot be direclty used when the table "
                          "is marked for replication"))
        << trace.all();
    EXPECT_EQ(numbers.find(1), record);
    EXPECT_EQ(numbers.table->record_count, 1U);
}

TEST_F(Destroy, RecordsThatAreNotPendingAreKept) {
    for (std::uint32_t key = 0; key < 100; ++key) {
        kel_record *record = numbers.put(key);
        if (key % 3 == 0) request(record);
    }
    EXPECT_EQ(finish(), 34U);
    for (std::uint32_t key = 0; key < 100; ++key) {
        EXPECT_EQ(numbers.find(key) == nullptr, key % 3 == 0) << key;
    }
    EXPECT_EQ(finish(), 0U);
}

TEST_F(Destroy, RecordsOfAllTablesAndTenantsAreDestroyedAndCounted) {
    Numbers others(handle, "others");
    for (const std::uint16_t tenant : {std::uint16_t{5}, std::uint16_t{6}}) {
        kel_thread_set_tenant(tenant);
        request(numbers.put(1));
        request(others.put(1));
        others.put(2);
    }
    kel_thread_set_tenant(7);
    EXPECT_EQ(finish(), 4U);
    std::uint16_t current = 0;
    mt_get_tenant_id(&current);
    EXPECT_EQ(current, 7U);
    for (const std::uint16_t tenant : {std::uint16_t{5}, std::uint16_t{6}}) {
        kel_thread_set_tenant(tenant);
        EXPECT_EQ(tbl_test_number_table_get_count(handle, tx, numbers.table), 0U);
        EXPECT_EQ(tbl_test_number_table_get_count(handle, tx, others.table), 1U);
    }
    kel_thread_set_tenant(0);
}

TEST_F(Destroy, RecordsWithAKeyObjectAreDestroyedToo) {
    kel_table *pairs = tbl_test_pair_table_open(handle, tx, "pairs", 0, &err);
    kel_table_set_replication(handle, tx, pairs, 1, 0);
    const std::uint64_t blocks = session.blocks();
    kel_record *record = tbl_test_pair_create_record(handle, tx, &err);
    tbl_test_pair_st_pair_set_field(handle, tx, record, st_pair_create(handle, tx));
    tbl_test_pair_pair_key_set_field(handle, tx, record, pair_key_create(handle, tx));
    tbl_test_pair_insert(handle, tx, pairs, record, &err);
    tbl_test_pair_request_record_destroy(handle, tx, pairs, record, &err);
    ASSERT_EQ(err, 0U);
    EXPECT_EQ(finish(), 1U);
    EXPECT_EQ(pairs->record_count, 0U);
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_F(Destroy, ARecordWithAnotherReferenceIsRemovedFromTheIndexAndNotFreed) {
    kel_record *record = numbers.put(1);
    tbl_test_number_record_add_ref(handle, tx, record, &err);
    request(record);
    EXPECT_EQ(finish(), 1U);
    EXPECT_EQ(numbers.find(1), nullptr);
    EXPECT_EQ(record->table, nullptr);
    EXPECT_EQ(record->ref_count, 1U);
    EXPECT_EQ(finish(), 0U);
    tbl_test_number_destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
}

TEST_F(Destroy, ATableThatIsNoLongerMarkedIsSkipped) {
    kel_record *record = numbers.put(1);
    request(record);
    kel_table_set_replication(handle, tx, numbers.table, 0, 0);
    EXPECT_EQ(finish(), 0U);
    EXPECT_EQ(numbers.find(1), record);
}

TEST_F(Destroy, FinishingIsUndoneByARollback) {
    request(numbers.put(1, "a text of its own, too long to be inline"));
    const StoreSnapshot before(session.store());
    numbers.begin();
    EXPECT_EQ(finish(), 1U);
    EXPECT_EQ(numbers.find(1), nullptr);
    numbers.rollback();
    EXPECT_TRUE(before.lasting_changes().empty()) << to_text(before.lasting_changes());
    EXPECT_EQ(finish(), 1U);
}

TEST_F(Destroy, AnUnattachedHandleDestroysNothing) {
    kel_record *record = numbers.put(1);
    request(record);
    ASSERT_EQ(kel_replication_attach(handle, nullptr), 0U);
    std::uint32_t finished = 77;
    EXPECT_EQ(kel_replication_finish_destroys(handle, tx, &finished),
              static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(finished, 0U);
    EXPECT_EQ(numbers.find(1), record);
    EXPECT_EQ(handle->replication_engine_active, 0U);
}

// Finds all tables but the one of pairs.
void forgetful_lookup(kel_handle *handle, std::uint32_t tx_id, const std::uint8_t *luid,
                      const void *const **vector, std::uint32_t *err) {
    *vector = nullptr;
    if (std::memcmp(luid, table_tbl_test_pair_luid, 16) == 0) return;
    tarnbase_table_get_vft(handle, tx_id, luid, vector, err);
}

TEST_F(Destroy, ATableThatTheLookupDoesNotFindIsReportedAndTheOthersAreFinished) {
    kel_table *pairs = tbl_test_pair_table_open(handle, tx, "pairs", 0, &err);
    kel_table_set_replication(handle, tx, pairs, 1, 0);
    kel_record *record = tbl_test_pair_create_record(handle, tx, &err);
    tbl_test_pair_st_pair_set_field(handle, tx, record, st_pair_create(handle, tx));
    tbl_test_pair_pair_key_set_field(handle, tx, record, pair_key_create(handle, tx));
    tbl_test_pair_insert(handle, tx, pairs, record, &err);
    tbl_test_pair_request_record_destroy(handle, tx, pairs, record, &err);
    Numbers others(handle, "after the pairs");
    request(others.put(1));
    ASSERT_EQ(kel_replication_attach(handle, forgetful_lookup), 0U);
    std::uint32_t finished = 0;
    EXPECT_EQ(kel_replication_finish_destroys(handle, tx, &finished),
              static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(finished, 1U);
    EXPECT_NE(std::string(kel_error_text()).find("tbl_test_pair"), std::string::npos);
    EXPECT_EQ(pairs->record_count, 1U);
}

}  // namespace
}  // namespace tarn::test
