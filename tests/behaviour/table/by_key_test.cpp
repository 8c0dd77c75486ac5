// SPDX-License-Identifier: Apache-2.0
// Steps from a key, whether it is there or not.
#include "tests/behaviour/table/traversal_fixture.h"

namespace tarn::test {
namespace {

class ByKey : public ReadTest {};
TARN_EACH_TABLE_AND_MODE(ByKey);

TEST_P(ByKey, StepsStandAtTheKeysPlace) {
    kel_record *a = put(0);
    kel_record *c = put(2);
    const Key present(s, handle, 0);
    const Key absent(s, handle, 1);
    const Key last(s, handle, 2);
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        EXPECT_EQ(form->next_by_object(handle, tx, table, present.object(), &err), c);
        EXPECT_EQ(form->next_by_object(handle, tx, table, absent.object(), &err), c);
        EXPECT_EQ(form->prev_by_object(handle, tx, table, last.object(), &err), a);
        EXPECT_EQ(form->prev_by_object(handle, tx, table, absent.object(), &err), a);
        EXPECT_EQ(form->prev_by_object(handle, tx, table, present.object(), &err), nullptr);
        EXPECT_EQ(form->next_by_object(handle, tx, table, last.object(), &err), nullptr);
    }
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, present.value(), &err), c);
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, absent.value(), &err), c);
    EXPECT_EQ(s.index.prev_by_key(handle, tx, table, absent.value(), &err), a);
    EXPECT_EQ(s.index.prev_by_key(handle, tx, table, last.value(), &err), a);
    EXPECT_EQ(err, 0U);
    services.clear();
    s.index.next_by_key(handle, tx, table, present.value(), &err);
    EXPECT_EQ(reported(), (Reported{a, c}));
}

TEST_P(ByKey, AndSourceFallsBackToSourceOneWhereTheKeyIsAbsent) {
    put(0, 7);
    kel_record *one = put(2);
    kel_record *seven = put(2, 7);
    const Key present(s, handle, 0);
    const Key absent(s, handle, 1);
    EXPECT_EQ(s.index.next_by_key_w_src(handle, tx, table, present.value(), 7, &err), seven);
    EXPECT_EQ(s.index.next_by_object_w_src(handle, tx, table, present.object(), 7, &err), seven);
    EXPECT_EQ(s.index.next_by_key_w_src(handle, tx, table, absent.value(), 7, &err), one);
    EXPECT_EQ(s.index.next_by_object_w_src(handle, tx, table, absent.object(), 7, &err), one);
}

TEST_P(ByKey, StepsCanHidePendingRecords) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    kel_record *c = put(2);
    const Key key(s, handle, 1);
    set_pending(b);
    EXPECT_EQ(s.index.next_by_key_not_pending(handle, tx, table, key.value(), &err), c);
    EXPECT_EQ(s.index.prev_by_key_not_pending(handle, tx, table, key.value(), &err), a);
    set_pending(c);
    EXPECT_EQ(s.index.next_by_key_not_pending(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, key.value(), &err), c);
    const Key first(s, handle, 0);
    EXPECT_EQ(s.index.next_by_key_not_pending(handle, tx, table, first.value(), &err), nullptr);
}

TEST_P(ByKey, ANullKeyOrTableIsAnError) {
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, nullptr, &err), nullptr);
    EXPECT_EQ(err, 2U);
    err = 0;
    EXPECT_EQ(s.plain.prev_by_object(handle, tx, table, nullptr, &err), nullptr);
    EXPECT_EQ(err, 2U);
    err = 0;
    const Key key(s, handle, 0);
    EXPECT_EQ(s.index.prev_by_key(handle, tx, nullptr, key.value(), &err), nullptr);
    EXPECT_EQ(err, 2U);
    EXPECT_EQ(handle->last_error, 2U);
}

TEST_P(ByKey, AHitReportsTheRecordAtTheKeyAndTheNextOneAMissTheNearestTwice) {
    kel_record *a = put(0);
    kel_record *c = put(2);
    const Key present(s, handle, 0);
    const Key absent(s, handle, 1);
    const Key last(s, handle, 2);
    services.clear();
    s.index.next_by_key(handle, tx, table, present.value(), &err);
    EXPECT_EQ(services.count("e_avl_search"), 1U);
    EXPECT_EQ(reported(), (Reported{a, c}));
    s.index.prev_by_key(handle, tx, table, last.value(), &err);
    EXPECT_EQ(services.count("e_avl_search"), 1U);
    EXPECT_EQ(reported(), (Reported{c, a}));
    s.index.next_by_key(handle, tx, table, absent.value(), &err);
    EXPECT_EQ(services.count("e_avl_search"), 2U);
    EXPECT_EQ(reported(), (Reported{c, c}));
    s.index.prev_by_key(handle, tx, table, absent.value(), &err);
    EXPECT_EQ(services.count("e_avl_search"), 2U);
    EXPECT_EQ(reported(), (Reported{a, a}));
}

TEST_P(ByKey, AFailedReportOfTheRecordAtTheKeyEndsTheStep) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    const Key key(s, handle, 0);
    const Key behind(s, handle, 1);
    services.always_fail("kelrepl_add_to_cache");
    services.clear();
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(err, 12U);
    EXPECT_EQ(reported(), Reported{a});
    err = 0;
    EXPECT_EQ(s.index.prev_by_key(handle, tx, table, behind.value(), &err), nullptr);
    EXPECT_EQ(err, 12U);
    EXPECT_EQ(reported(), Reported{b});
}

TEST_P(ByKey, AHiddenRecordAtTheKeyCountsAsAMiss) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    kel_record *c = put(2);
    set_pending(b);
    const Key key(s, handle, 1);
    services.clear();
    EXPECT_EQ(s.index.next_by_key_not_pending(handle, tx, table, key.value(), &err), c);
    EXPECT_EQ(reported(), (Reported{c, c}));
    EXPECT_EQ(s.index.prev_by_key_not_pending(handle, tx, table, key.value(), &err), a);
    EXPECT_EQ(reported(), (Reported{a, a}));
}

TEST_P(ByKey, StepsBackHidePendingRecordsFromAKeyThatIsThere) {
    kel_record *a = put(0);
    set_pending(put(1));
    put(2);
    const Key key(s, handle, 2);
    EXPECT_EQ(s.index.prev_by_key_not_pending(handle, tx, table, key.value(), &err), a);
    set_pending(a);
    EXPECT_EQ(s.index.prev_by_key_not_pending(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(s.index.prev_by_key(handle, tx, table, key.value(), &err), find(1));
}

TEST_P(ByKey, StepsShowSourceOneAndTheCurrentTenantAlone) {
    put_for(1, 0);
    kel_record *a = put(0);
    put(1, 7);
    kel_record *c = put(2);
    put(2, 9);
    put_for(2, 0);
    const Key between(s, handle, 1);
    const Key low(s, handle, 0);
    const Key high(s, handle, 2);
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, between.value(), &err), c);
    EXPECT_EQ(s.index.prev_by_key(handle, tx, table, between.value(), &err), a);
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, low.value(), &err), c);
    EXPECT_EQ(s.index.prev_by_key(handle, tx, table, high.value(), &err), a);
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, high.value(), &err), nullptr);
    EXPECT_EQ(s.index.prev_by_key(handle, tx, table, low.value(), &err), nullptr);
    kel_thread_set_tenant(1);
    EXPECT_EQ(s.index.prev_by_key(handle, tx, table, low.value(), &err), nullptr);
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, low.value(), &err), nullptr);
}

TEST_P(ByKey, OfTheSourceTheLowByteCounts) {
    put(0, 7);
    kel_record *record = put(1, 7);
    const Key key(s, handle, 0);
    EXPECT_EQ(s.index.next_by_key_w_src(handle, tx, table, key.value(), 0x107, &err), record);
    EXPECT_EQ(s.index.next_by_object_w_src(handle, tx, table, key.object(), 0x107, &err), record);
}

TEST_P(ByKey, StepsBeginByClearingTheLastError) {
    put(0);
    put(1);
    const Key key(s, handle, 0);
    expect_last_error_cleared_first(steps_from(key));
}

TEST_P(ByKey, EnteredWithAnErrorStepsAnswerNull) {
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
