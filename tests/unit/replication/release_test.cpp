// SPDX-License-Identifier: Apache-2.0
// A record is released safely in any state.
#include <cerrno>

#include "tarnbase/module.h"
#include "tests/support/snapshot.h"
#include "tests/support/trace.h"
#include "tests/unit/replication/fixture.h"

namespace tarn::test {
namespace {

constexpr std::uint32_t in_progress = EINPROGRESS;

class Release : public ReplicationTest {
 protected:
    std::uint32_t release(kel_record *record) {
        return kel_record_release(handle, numbers.tx, tbl_test_number_table_vft, record);
    }
    void unmark() { kel_table_set_replication(handle, tx, numbers.table, 0, 0); }
    std::uint32_t finish() {
        std::uint32_t finished = 0;
        EXPECT_EQ(kel_replication_finish_destroys(handle, tx, &finished), 0U);
        return finished;
    }
};

class ReleaseInMode : public ModeTest {};
TARN_EACH_MODE(ReleaseInMode);

TEST_P(ReleaseInMode, ARecordInTheIndexAndOneOutsideAreDestroyedWithTheirObjects) {
    Numbers numbers(handle);
    kel_table_set_replication(handle, tx, numbers.table, 0, 0);
    numbers.put(0, "another text, too long to be inline, so that there are buckets");
    const std::uint64_t blocks = session.blocks();
    kel_record *records[] = {numbers.put(1, "a text of its own, too long to be inline"),
                             numbers.make(2, "a text of its own, too long to be inline")};
    for (kel_record *record : records) {
        EXPECT_EQ(kel_record_release(handle, tx, tbl_test_number_table_vft, record), 0U);
    }
    EXPECT_EQ(numbers.find(1), nullptr);
    EXPECT_EQ(numbers.table->record_count, 1U);
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_F(Release, ANullRecordIsAccepted) { EXPECT_EQ(release(nullptr), 0U); }

TEST_F(Release, ARecordWhoseKeyWasInUseIsDestroyedAndTheOtherIsKept) {
    kel_record *first = numbers.put(1);
    kel_record *second = numbers.make(1);
    ASSERT_EQ(numbers.insert(second), EEXIST);
    EXPECT_EQ(release(second), 0U);
    EXPECT_EQ(numbers.find(1), first);
    EXPECT_EQ(numbers.table->record_count, 1U);
}

// The insert's error comes last: the record is in the index of a marked table by then.
TEST_F(Release, ARecordThatCouldNotBeReplicatedIsKeptInTheIndexUntilTheEngineHasFinished) {
    kel_record *record = numbers.make(1);
    ASSERT_EQ(kel_replication_attach(handle, nullptr), 0U);
    ASSERT_EQ(numbers.insert(record), ENOENT);
    const std::uint64_t blocks = session.blocks();
    EXPECT_EQ(release(record), in_progress);
    EXPECT_NE(std::string(kel_error_text()).find("tbl_test_number is marked"), std::string::npos);
    EXPECT_EQ(session.blocks(), blocks);
    EXPECT_EQ(numbers.find(1), record);
    EXPECT_NE(record->flags & KEL_RECORD_PENDING_DESTROY, 0);
    EXPECT_EQ(release(record), in_progress) << "and again";
    ASSERT_EQ(kel_replication_attach(handle, tarnbase_table_get_vft), 0U);
    EXPECT_EQ(finish(), 1U);
    EXPECT_EQ(numbers.find(1), nullptr);
    EXPECT_LT(session.blocks(), blocks);
}

TEST_F(Release, TheEnginesHandleDestroysARecordOfAMarkedTableAtOnce) {
    kel_record *record = numbers.put(1);
    handle->replication_engine_active = 1;
    EXPECT_EQ(release(record), 0U);
    handle->replication_engine_active = 0;
    EXPECT_EQ(numbers.find(1), nullptr);
}

TEST_F(Release, AnErrorInTheHandleIsKeptAndNothingIsChanged) {
    unmark();
    for (kel_record *record : {numbers.put(1), numbers.make(2)}) {
        handle->last_error = ENOMEM;
        EXPECT_EQ(release(record), 0U);
        EXPECT_EQ(handle->last_error, ENOMEM);
    }
    EXPECT_EQ(numbers.find(1), nullptr);
}

TEST_F(Release, OneOfSeveralReferencesKeepsTheRecord) {
    kel_record *record = numbers.put(1);
    tbl_test_number_record_add_ref(handle, tx, record, &err);
    EXPECT_EQ(release(record), 0U);
    EXPECT_EQ(numbers.find(1), record);
    EXPECT_EQ(record->flags & KEL_RECORD_PENDING_DESTROY, 0);
    EXPECT_EQ(record->ref_count, 1U);
    EXPECT_EQ(release(record), in_progress) << "the last one";
}

TEST_F(Release, ARecordWithAKeyObjectIsDestroyed) {
    kel_table *pairs = tbl_test_pair_table_open(handle, tx, "pairs", 0, &err);
    const std::uint64_t blocks = session.blocks();
    kel_record *record = tbl_test_pair_create_record(handle, tx, &err);
    tbl_test_pair_st_pair_set_field(handle, tx, record, st_pair_create(handle, tx));
    tbl_test_pair_pair_key_set_field(handle, tx, record, pair_key_create(handle, tx));
    tbl_test_pair_insert(handle, tx, pairs, record, &err);
    ASSERT_EQ(err, 0U);
    EXPECT_EQ(kel_record_release(handle, tx, tbl_test_pair_table_vft, record), 0U);
    EXPECT_EQ(pairs->record_count, 0U);
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_F(Release, ARecordOfAnotherTableIsAnErrorAndUnchanged) {
    kel_record *record = numbers.put(1);
    const StoreSnapshot before(session.store());
    for (const void *const *other : {tbl_test_pair_table_vft, tbl_test_label_table_vft}) {
        EXPECT_EQ(kel_record_release(handle, tx, other, record), EINVAL);
        EXPECT_NE(std::string(kel_error_text()).find("no record of tbl_test_"), std::string::npos);
    }
    EXPECT_EQ(to_text(before.changes()), "");
}

TEST_F(Release, AFallbackRecordIsAcceptedAndNotFreed) {
    kel_store_fail_allocation(session.store(), 1);
    kel_record *record = tbl_test_number_record_create_cr(handle, 0);
    EXPECT_EQ(handle->last_error, 0U) << "the handle has no error";
    EXPECT_EQ(kel_record_is_fallback(handle, record), 1U);
    const TraceCapture trace;
    EXPECT_EQ(release(record), 0U);
    EXPECT_EQ(trace.all().find("is no allocated block"), std::string::npos);
}

TEST_F(Release, IsUndoneByARollback) {
    unmark();
    kel_record *record = numbers.put(1, "a text of its own, too long to be inline");
    const StoreSnapshot before(session.store());
    numbers.begin();
    EXPECT_EQ(release(record), 0U);
    EXPECT_EQ(numbers.find(1), nullptr);
    numbers.rollback();
    EXPECT_EQ(to_text(before.lasting_changes()), "");
    EXPECT_EQ(numbers.find(1), record);
}

class Fallback : public ReplicationTest {};

TEST_F(Fallback, IsTheRecordOrObjectThatACreationWithoutMemoryReturns) {
    kel_store *store = session.store();
    kel_record *record = tbl_test_number_record_create_cr(handle, 1);
    EXPECT_EQ(kel_record_is_fallback(handle, record), 0U);
    EXPECT_EQ(kel_object_is_fallback(handle, record->object), 0U);
    kel_store_fail_allocation(store, 1);
    EXPECT_EQ(kel_record_is_fallback(handle, tbl_test_number_record_create_cr(handle, 0)), 1U);
    kel_store_fail_allocation(store, 2);
    kel_record *hollow = tbl_test_number_record_create_cr(handle, 1);
    EXPECT_EQ(kel_record_is_fallback(handle, hollow), 0U);
    EXPECT_EQ(kel_object_is_fallback(handle, hollow->object), 1U);
    EXPECT_EQ(handle->last_error, ENOMEM);
    kel_clear_last_error(handle);
    kel_store_fail_allocation(store, 1);
    EXPECT_EQ(kel_object_is_fallback(handle, st_every_create_cr(handle)), 1U);
}

TEST_F(Fallback, NullIsNone) {
    EXPECT_EQ(kel_record_is_fallback(handle, nullptr), 0U);
    EXPECT_EQ(kel_object_is_fallback(handle, nullptr), 0U);
}

}  // namespace
}  // namespace tarn::test
