// SPDX-License-Identifier: Apache-2.0
// Steps from a key that is in the table or is not.
#include <cerrno>

#include "tests/behaviour/table/traversal_fixture.h"

namespace tarn::test {
namespace {

class ByKey : public ReadTest {};
TARN_EACH_TABLE_AND_MODE(ByKey);

TEST_P(ByKey, StepsStartAtTheKey) {
    kel_record *a = put(0);
    kel_record *c = put(2);
    const Key present(s, handle, 0);
    const Key absent(s, handle, 1);
    const Key last(s, handle, 2);
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        EXPECT_EQ(read(form->next_by_object, present.object()), c);
        EXPECT_EQ(read(form->next_by_object, absent.object()), c);
        EXPECT_EQ(read(form->prev_by_object, last.object()), a);
        EXPECT_EQ(read(form->prev_by_object, absent.object()), a);
        EXPECT_EQ(read(form->prev_by_object, present.object()), nullptr);
        EXPECT_EQ(read(form->next_by_object, last.object()), nullptr);
    }
    EXPECT_EQ(read(s.index.next_by_key, present.value()), c);
    EXPECT_EQ(read(s.index.next_by_key, absent.value()), c);
    EXPECT_EQ(read(s.index.prev_by_key, absent.value()), a);
    EXPECT_EQ(read(s.index.prev_by_key, last.value()), a);
    EXPECT_EQ(err, 0U);
    services.clear();
    read(s.index.next_by_key, present.value());
    EXPECT_EQ(reported(), (Reported{a, c}));
}

TEST_P(ByKey, AndSourceFallsBackToSourceOneIfTheKeyIsAbsent) {
    put(0, 7);
    kel_record *one = put(2);
    kel_record *seven = put(2, 7);
    const Key present(s, handle, 0);
    const Key absent(s, handle, 1);
    EXPECT_EQ(read(s.index.next_by_key_w_src, present.value(), 7), seven);
    EXPECT_EQ(read(s.index.next_by_object_w_src, present.object(), 7), seven);
    EXPECT_EQ(read(s.index.next_by_key_w_src, absent.value(), 7), one);
    EXPECT_EQ(read(s.index.next_by_object_w_src, absent.object(), 7), one);
}

TEST_P(ByKey, StepsCanSkipPendingRecords) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    kel_record *c = put(2);
    const Key key(s, handle, 1);
    set_pending(b);
    EXPECT_EQ(read(s.index.next_by_key_not_pending, key.value()), c);
    EXPECT_EQ(read(s.index.prev_by_key_not_pending, key.value()), a);
    set_pending(c);
    EXPECT_EQ(read(s.index.next_by_key_not_pending, key.value()), nullptr);
    EXPECT_EQ(read(s.index.next_by_key, key.value()), c);
    const Key first(s, handle, 0);
    EXPECT_EQ(read(s.index.next_by_key_not_pending, first.value()), nullptr);
}

TEST_P(ByKey, ANullKeyOrTableIsAnError) {
    EXPECT_EQ(read(s.index.next_by_key, nullptr), nullptr);
    EXPECT_EQ(err, ENOENT);
    err = 0;
    EXPECT_EQ(read(s.plain.prev_by_object, nullptr), nullptr);
    EXPECT_EQ(err, ENOENT);
    err = 0;
    const Key key(s, handle, 0);
    EXPECT_EQ(s.index.prev_by_key(handle, tx, nullptr, key.value(), &err), nullptr);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(handle->last_error, ENOENT);
}

TEST_P(ByKey, AHitReportsTheRecordAtTheKeyAndTheNextOneAMissTheNearestTwice) {
    kel_record *a = put(0);
    kel_record *c = put(2);
    const Key present(s, handle, 0);
    const Key absent(s, handle, 1);
    const Key last(s, handle, 2);
    services.clear();
    read(s.index.next_by_key, present.value());
    EXPECT_EQ(services.count("e_avl_search"), 1U);
    EXPECT_EQ(reported(), (Reported{a, c}));
    read(s.index.prev_by_key, last.value());
    EXPECT_EQ(services.count("e_avl_search"), 1U);
    EXPECT_EQ(reported(), (Reported{c, a}));
    read(s.index.next_by_key, absent.value());
    EXPECT_EQ(services.count("e_avl_search"), 2U);
    EXPECT_EQ(reported(), (Reported{c, c}));
    read(s.index.prev_by_key, absent.value());
    EXPECT_EQ(services.count("e_avl_search"), 2U);
    EXPECT_EQ(reported(), (Reported{a, a}));
}

TEST_P(ByKey, AFailedReportOfTheRecordAtTheKeyEndsTheStep) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    const Key key(s, handle, 0);
    const Key after(s, handle, 1);
    services.always_fail("kelrepl_add_to_cache");
    services.clear();
    EXPECT_EQ(read(s.index.next_by_key, key.value()), nullptr);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(reported(), Reported{a});
    err = 0;
    EXPECT_EQ(read(s.index.prev_by_key, after.value()), nullptr);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(reported(), Reported{b});
}

TEST_P(ByKey, ASkippedRecordAtTheKeyCountsAsAMiss) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    kel_record *c = put(2);
    set_pending(b);
    const Key key(s, handle, 1);
    services.clear();
    EXPECT_EQ(read(s.index.next_by_key_not_pending, key.value()), c);
    EXPECT_EQ(reported(), (Reported{c, c}));
    EXPECT_EQ(read(s.index.prev_by_key_not_pending, key.value()), a);
    EXPECT_EQ(reported(), (Reported{a, a}));
}

TEST_P(ByKey, StepsBackSkipPendingRecordsFromAnExistingKey) {
    kel_record *a = put(0);
    set_pending(put(1));
    put(2);
    const Key key(s, handle, 2);
    EXPECT_EQ(read(s.index.prev_by_key_not_pending, key.value()), a);
    set_pending(a);
    EXPECT_EQ(read(s.index.prev_by_key_not_pending, key.value()), nullptr);
    EXPECT_EQ(read(s.index.prev_by_key, key.value()), find(1));
}

TEST_P(ByKey, StepsReturnOnlySourceOneOfTheCurrentTenant) {
    put_for(1, 0);
    kel_record *a = put(0);
    put(1, 7);
    kel_record *c = put(2);
    put(2, 9);
    put_for(2, 0);
    const Key between(s, handle, 1);
    const Key low(s, handle, 0);
    const Key high(s, handle, 2);
    EXPECT_EQ(read(s.index.next_by_key, between.value()), c);
    EXPECT_EQ(read(s.index.prev_by_key, between.value()), a);
    EXPECT_EQ(read(s.index.next_by_key, low.value()), c);
    EXPECT_EQ(read(s.index.prev_by_key, high.value()), a);
    EXPECT_EQ(read(s.index.next_by_key, high.value()), nullptr);
    EXPECT_EQ(read(s.index.prev_by_key, low.value()), nullptr);
    kel_thread_set_tenant(1);
    EXPECT_EQ(read(s.index.prev_by_key, low.value()), nullptr);
    EXPECT_EQ(read(s.index.next_by_key, low.value()), nullptr);
}

TEST_P(ByKey, TheLowByteOfTheSourceCounts) {
    put(0, 7);
    kel_record *record = put(1, 7);
    const Key key(s, handle, 0);
    EXPECT_EQ(read(s.index.next_by_key_w_src, key.value(), 0x107), record);
    EXPECT_EQ(read(s.index.next_by_object_w_src, key.object(), 0x107), record);
}

TEST_P(ByKey, StepsClearTheLastErrorFirst) {
    put(0);
    put(1);
    const Key key(s, handle, 0);
    expect_last_error_cleared_first(steps_from(key));
}

TEST_P(ByKey, EnteredWithAnErrorStepsReturnNull) {
    put(0);
    put(1);
    const Key key(s, handle, 0);
    expect_nothing_with_an_error_set(steps_from(key));
}

TEST_P(ByKey, StepsStoreAndAllocateNothing) {
    put(0);
    put(2);
    const Key present(s, handle, 0);
    const Key absent(s, handle, 1);
    expect_nothing_stored_or_allocated(steps_from(present));
    expect_nothing_stored_or_allocated(steps_from(absent));
}

}  // namespace
}  // namespace tarn::test
