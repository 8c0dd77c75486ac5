// SPDX-License-Identifier: Apache-2.0
// Ordered steps: every form, under each of its names, with its filters.
#include <cstring>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

using Reported = std::vector<const void *>;

class TraversalTest : public TableTest {
 protected:
    std::vector<const Traversal *> names() { return {&s.by_key, &s.by_pkey, &s.by_pkey_unsafe}; }
    Reported reported() {
        Reported records;
        for (const Call &call : spies.of("kelrepl_add_to_cache")) {
            records.push_back(call.subject);
            EXPECT_EQ(call.extra, s.vector);
        }
        spies.clear();
        return records;
    }
    kel_record *put_for(u16 tenant, u32 key, u32 src = KEL_SOURCE_DEFAULT) {
        kel_thread_set_tenant(tenant);
        kel_record *record = put(key, src);
        kel_thread_set_tenant(0);
        return record;
    }
};
TARN_EACH_TABLE_AND_MODE(TraversalTest);

TEST_P(TraversalTest, ShowsRecordsOfSourceOneInKeyOrder) {
    kel_record *first = put(0);
    put(0, 2);
    put(1, 7);
    kel_record *second = put(2);
    put(2, 0);
    for (const Traversal *t : names()) {
        EXPECT_EQ(t->first(handle, tx, table, &err), first);
        EXPECT_EQ(t->next(handle, tx, table, first, &err), second);
        EXPECT_EQ(t->next(handle, tx, table, second, &err), nullptr);
        EXPECT_EQ(t->last(handle, tx, table, &err), second);
        EXPECT_EQ(t->prev(handle, tx, table, second, &err), first);
        EXPECT_EQ(t->prev(handle, tx, table, first, &err), nullptr);
        EXPECT_EQ(err, 0U);
    }
}

TEST_P(TraversalTest, OfASourceStepsOverTheOthers) {
    put(0);
    kel_record *low = put(0, 7);
    put(1);
    kel_record *high = put(2, 7);
    put(2, 9);
    for (const Traversal *t : names()) {
        EXPECT_EQ(t->first_by_src(handle, tx, table, 7, &err), low);
        EXPECT_EQ(t->first_by_src(handle, tx, table, 0x107, &err), low);
        EXPECT_EQ(t->next_by_src(handle, tx, table, low, 7, &err), high);
        EXPECT_EQ(t->next_by_src(handle, tx, table, high, 7, &err), nullptr);
        EXPECT_EQ(t->last_by_src(handle, tx, table, 7, &err), high);
        EXPECT_EQ(t->prev_by_src(handle, tx, table, high, 0x107, &err), low);
        EXPECT_EQ(t->prev_by_src(handle, tx, table, low, 7, &err), nullptr);
        EXPECT_EQ(t->first_by_src(handle, tx, table, 8, &err), nullptr);
        EXPECT_EQ(t->last_by_src(handle, tx, table, 8, &err), nullptr);
    }
}

TEST_P(TraversalTest, IgnoringSourcesStepsThroughAllOfTheTenant) {
    put_for(1, 0);
    kel_record *a = put(0, 1);
    kel_record *b = put(0, 2);
    kel_record *c = put(1, 255);
    set_pending(b);
    for (const Traversal *t : names()) {
        EXPECT_EQ(t->first_ignore_src(handle, tx, table, &err), a);
        EXPECT_EQ(t->next_ignore_src(handle, tx, table, a, &err), b);
        EXPECT_EQ(t->next_ignore_src(handle, tx, table, b, &err), c);
        EXPECT_EQ(t->next_ignore_src(handle, tx, table, c, &err), nullptr);
        EXPECT_EQ(t->prev_ignore_src(handle, tx, table, c, &err), b);
        EXPECT_EQ(t->prev_ignore_src(handle, tx, table, b, &err), a);
        EXPECT_EQ(t->prev_ignore_src(handle, tx, table, a, &err), nullptr);
    }
}

TEST_P(TraversalTest, SubStepsStayWithinOneKey) {
    kel_record *k1 = put(0, 1);
    kel_record *k1_second = put(0, 2);
    kel_record *k2 = put(1, 1);
    for (const Traversal *t : names()) {
        EXPECT_EQ(t->first(handle, tx, table, &err), k1);
        EXPECT_EQ(t->next(handle, tx, table, k1, &err), k2);
        EXPECT_EQ(t->sub_next(handle, tx, table, k1, &err), k1_second);
        EXPECT_EQ(t->sub_next(handle, tx, table, k1_second, &err), nullptr);
        EXPECT_EQ(t->sub_prev(handle, tx, table, k1_second, &err), k1);
        EXPECT_EQ(t->sub_prev(handle, tx, table, k1, &err), nullptr);
        EXPECT_EQ(t->sub_prev(handle, tx, table, k2, &err), nullptr);
        EXPECT_EQ(err, 0U);
    }
}

TEST_P(TraversalTest, SubStepsFilterNothing) {
    kel_record *pending = put(0, 3);
    set_pending(pending);
    kel_record *record = put(0, 2);
    // The last key of one tenant's run meets the first of the next one's.
    kel_record *crossed = put_for(1, 0, 1);
    for (const Traversal *t : names()) {
        EXPECT_EQ(t->sub_next(handle, tx, table, record, &err), pending);
        EXPECT_EQ(t->sub_next(handle, tx, table, pending, &err), crossed);
        EXPECT_EQ(t->sub_prev(handle, tx, table, crossed, &err), pending);
    }
}

TEST_P(TraversalTest, AShadowIsTheLastOfItsKeyAndNeverReported) {
    kel_record *record = put(0, 1);
    kel_record *between = put(0, 9);
    kel_record *shadow = put(0, 255);
    kel_record *other = put(1, 1);
    for (const Traversal *t : names()) {
        spies.clear();
        EXPECT_EQ(t->shadow(handle, tx, table, record, &err), shadow);
        EXPECT_EQ(reported(), Reported{between});
        EXPECT_EQ(t->shadow(handle, tx, table, shadow, &err), shadow);
        EXPECT_EQ(spies.count("e_avl_get_next"), 0U);
        EXPECT_EQ(t->shadow(handle, tx, table, other, &err), nullptr);
        EXPECT_EQ(t->shadow(handle, tx, table, nullptr, &err), nullptr);
        EXPECT_EQ(t->next(handle, tx, table, record, &err), other);
        spies.clear();
        EXPECT_EQ(t->next_by_src(handle, tx, table, record, 255, &err), shadow);
        EXPECT_EQ(t->first_by_src(handle, tx, table, 255, &err), shadow);
        EXPECT_EQ(t->last_by_src(handle, tx, table, 255, &err), shadow);
        EXPECT_EQ(t->sub_next(handle, tx, table, between, &err), shadow);
        EXPECT_EQ(t->next_ignore_src(handle, tx, table, between, &err), shadow);
        EXPECT_EQ(t->prev_ignore_src(handle, tx, table, other, &err), shadow);
        EXPECT_EQ(reported(), Reported{});
        EXPECT_EQ(err, 0U);
    }
}

TEST_P(TraversalTest, AShadowIsFoundDirectlyBehindItsRecord) {
    kel_record *record = put(0, 1);
    kel_record *shadow = put(0, 255);
    spies.clear();
    EXPECT_EQ(s.by_key.shadow(handle, tx, table, record, &err), shadow);
    EXPECT_EQ(reported(), Reported{});
}

TEST_P(TraversalTest, ARecordWithoutAShadowReportsEachOfItsSources) {
    kel_record *record = put(0, 1);
    kel_record *second = put(0, 2);
    kel_record *third = put(0, 3);
    spies.clear();
    EXPECT_EQ(s.by_key.shadow(handle, tx, table, record, &err), nullptr);
    EXPECT_EQ(reported(), (Reported{second, third}));
}

TEST_P(TraversalTest, HidesPendingRecordsInTheFormsThatSaySo) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    kel_record *c = put(2);
    set_pending(b);
    EXPECT_EQ(s.by_key.next(handle, tx, table, a, &err), b);
    EXPECT_EQ(s.index.next_not_pending(handle, tx, table, a, 1, &err), c);
    EXPECT_EQ(s.index.prev_not_pending(handle, tx, table, c, 1, &err), a);
    EXPECT_EQ(s.index.next_not_pending(handle, tx, table, a, 7, &err), nullptr);
    set_pending(a);
    EXPECT_EQ(s.index.first_not_pending(handle, tx, table, 1, &err), c);
    EXPECT_EQ(s.by_key.first(handle, tx, table, &err), a);
    set_pending(c);
    EXPECT_EQ(s.index.last_not_pending(handle, tx, table, 1, &err), nullptr);
    EXPECT_EQ(s.index.first_not_pending(handle, tx, table, 1, &err), nullptr);
    EXPECT_EQ(s.by_key.last(handle, tx, table, &err), c);
    kel_record *seventh = put(1, 7);
    EXPECT_EQ(s.index.first_not_pending(handle, tx, table, 7, &err), seventh);
    EXPECT_EQ(s.index.last_not_pending(handle, tx, table, 0x107, &err), seventh);
}

TEST_P(TraversalTest, StaysWithinTheTenantsRun) {
    put_for(1, 1);
    kel_record *low = put_for(2, 0);
    kel_record *high = put_for(2, 2);
    put_for(3, 1);
    kel_thread_set_tenant(2);
    for (const Traversal *t : names()) {
        EXPECT_EQ(t->first(handle, tx, table, &err), low);
        EXPECT_EQ(t->last(handle, tx, table, &err), high);
        EXPECT_EQ(t->first_ignore_src(handle, tx, table, &err), low);
        EXPECT_EQ(t->next(handle, tx, table, high, &err), nullptr);
        EXPECT_EQ(t->prev(handle, tx, table, low, &err), nullptr);
        EXPECT_EQ(t->next_ignore_src(handle, tx, table, high, &err), nullptr);
        EXPECT_EQ(t->prev_ignore_src(handle, tx, table, low, &err), nullptr);
    }
    // A tenant without records, between and beyond those that have some.
    for (const u16 tenant : {u16{0}, u16{4}}) {
        kel_thread_set_tenant(tenant);
        for (const Traversal *t : names()) {
            EXPECT_EQ(t->first(handle, tx, table, &err), nullptr);
            EXPECT_EQ(t->last(handle, tx, table, &err), nullptr);
            EXPECT_EQ(t->first_ignore_src(handle, tx, table, &err), nullptr);
        }
    }
    EXPECT_EQ(err, 0U);
}

TEST_P(TraversalTest, FromAnotherTenantsPositionEntersOnlyTheNextRun) {
    kel_record *low = put_for(1, 0);
    kel_record *high = put_for(1, 1);
    kel_record *next_run = put_for(2, 0);
    kel_thread_set_tenant(2);
    EXPECT_EQ(s.by_key.next(handle, tx, table, low, &err), nullptr);
    EXPECT_EQ(s.by_key.next(handle, tx, table, high, &err), next_run);
    kel_thread_set_tenant(1);
    EXPECT_EQ(s.by_key.prev(handle, tx, table, next_run, &err), high);
}

TEST_P(TraversalTest, GoesOnFromADeletedRecord) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    kel_record *c = put(2);
    remove(b);
    for (const Traversal *t : names()) {
        EXPECT_EQ(t->next(handle, tx, table, b, &err), c);
        EXPECT_EQ(t->prev(handle, tx, table, b, &err), a);
        EXPECT_EQ(t->next_ignore_src(handle, tx, table, b, &err), c);
        EXPECT_EQ(t->sub_next(handle, tx, table, b, &err), nullptr);
    }
    // Records inserted behind a position are seen.
    kel_record *again = put(1, 1);
    EXPECT_EQ(s.by_key.next(handle, tx, table, a, &err), again);
    EXPECT_EQ(s.by_key.next(handle, tx, table, b, &err), c) << "the equal entry is passed";
}

TEST_P(TraversalTest, EmptyTablesHaveNoRecords) {
    for (const Traversal *t : names()) {
        EXPECT_EQ(t->first(handle, tx, table, &err), nullptr);
        EXPECT_EQ(t->last(handle, tx, table, &err), nullptr);
        EXPECT_EQ(t->first_ignore_src(handle, tx, table, &err), nullptr);
        EXPECT_EQ(t->first_by_src(handle, tx, table, 1, &err), nullptr);
        EXPECT_EQ(t->last_by_src(handle, tx, table, 1, &err), nullptr);
    }
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_P(TraversalTest, ReportsEachRecordItAnswersAndNoOther) {
    kel_record *a = put(0);
    put(1, 7);
    kel_record *b = put(2);
    begin();
    for (const Traversal *t : names()) {
        spies.clear();
        t->first(handle, tx, table, &err);
        EXPECT_EQ(reported(), Reported{a});
        t->next(handle, tx, table, a, &err);
        ASSERT_EQ(spies.of("kelrepl_add_to_cache").at(0).tx_id, tx);
        EXPECT_EQ(reported(), Reported{b});
        t->last(handle, tx, table, &err);
        EXPECT_EQ(reported(), Reported{b});
        t->first_ignore_src(handle, tx, table, &err);
        EXPECT_EQ(reported(), Reported{a});
        t->next(handle, tx, table, b, &err);
        t->sub_next(handle, tx, table, a, &err);
        EXPECT_EQ(reported(), Reported{});
    }
    commit();
}

TEST_P(TraversalTest, AnswersTheRecordWithTheErrorOfTheReport) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    spies.wishes.cache_error = 12;
    EXPECT_EQ(s.by_key.first(handle, tx, table, &err), a);
    EXPECT_EQ(err, 12U);
    err = 0;
    EXPECT_EQ(s.by_key.next(handle, tx, table, a, &err), b);
    EXPECT_EQ(err, 12U);
    EXPECT_EQ(s.by_key.next(handle, tx, table, a, &err), nullptr);
}

TEST_P(TraversalTest, ByKeyStandsAtTheKeysPlace) {
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
    spies.clear();
    s.index.next_by_key(handle, tx, table, present.value(), &err);
    EXPECT_EQ(reported(), (Reported{a, c}));
}

TEST_P(TraversalTest, ByKeyAndSourceFallsBackToSourceOneWhereTheKeyIsAbsent) {
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

TEST_P(TraversalTest, ByKeyCanHidePendingRecords) {
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

TEST_P(TraversalTest, ByKeyNeedsAKey) {
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, nullptr, &err), nullptr);
    EXPECT_EQ(err, 2U);
    err = 0;
    EXPECT_EQ(s.plain.prev_by_object(handle, tx, table, nullptr, &err), nullptr);
    EXPECT_EQ(err, 2U);
}

TEST_P(TraversalTest, TheWorkersTakeTheirFiltersAsTruthValues) {
    kel_record *a = put(0);
    kel_record *seventh = put(0, 7);
    kel_record *b = put(1);
    set_pending(seventh);
    const auto next = s.index.next_internal;
    const auto prev = s.index.prev_internal;
    EXPECT_EQ(next(handle, tx, table, a, 9, 0, 0, &err), seventh);
    EXPECT_EQ(next(handle, tx, table, a, 9, 0, 42, &err), b);
    EXPECT_EQ(next(handle, tx, table, a, 0x107, 42, 0, &err), seventh);
    EXPECT_EQ(next(handle, tx, table, a, 7, 1, 1, &err), nullptr);
    EXPECT_EQ(prev(handle, tx, table, b, 9, 0, 0, &err), seventh);
    EXPECT_EQ(prev(handle, tx, table, b, 9, 0, 1, &err), a);
    EXPECT_EQ(prev(handle, tx, table, b, 1, 1, 0, &err), a);
}

TEST_P(TraversalTest, TheCrFormSelectsTheWorker) {
    kel_record *a = put(0);
    kel_record *seventh = put(1, 7);
    kel_record *b = put(2);
    enum Selector : u32 { first, last, prev, next };
    const auto get = [&](u32 selector, kel_record *record, u32 src, u32 mode) {
        return s.index.get_cr(handle, table, selector, record, src, mode);
    };
    EXPECT_EQ(get(first, nullptr, 0, 0), a);
    EXPECT_EQ(get(last, nullptr, 0, 0), b);
    EXPECT_EQ(get(next, a, 0, 0), b);
    EXPECT_EQ(get(next, a, 0, 1), seventh);
    EXPECT_EQ(get(next, a, 0x107, 0), seventh);
    EXPECT_EQ(get(next, a, 0x100, 0), b);
    EXPECT_EQ(get(prev, b, 0, 0), a);
    EXPECT_EQ(get(prev, b, 7, 0), seventh);
    EXPECT_EQ(get(first, nullptr, 7, 0), seventh);
    EXPECT_EQ(get(last, nullptr, 7, 0), seventh);
    remove(a);
    EXPECT_EQ(get(first, nullptr, 1, 1), seventh);
    EXPECT_EQ(handle->last_error, 0U);

    TraceCapture trace;
    EXPECT_EQ(get(4, b, 0, 0), nullptr);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): invalid record get flag 4")) << trace.all();
    EXPECT_EQ(get(last, nullptr, 0, 0), nullptr) << "the error sticks";
}

TEST_P(TraversalTest, EnteredWithAnErrorAnswersNull) {
    kel_record *record = put(0);
    put(1);
    const Key key(s, handle, 0);
    handle->last_error = 22;
    err = 5;
    spies.clear();
    for (const Traversal *t : names()) {
        EXPECT_EQ(t->first(handle, tx, table, &err), nullptr);
        EXPECT_EQ(t->last(handle, tx, table, &err), nullptr);
        EXPECT_EQ(t->first_by_src(handle, tx, table, 1, &err), nullptr);
        EXPECT_EQ(t->last_by_src(handle, tx, table, 1, &err), nullptr);
        EXPECT_EQ(t->first_ignore_src(handle, tx, table, &err), nullptr);
        EXPECT_EQ(t->next(handle, tx, table, record, &err), nullptr);
        EXPECT_EQ(t->prev(handle, tx, table, record, &err), nullptr);
        EXPECT_EQ(t->next_by_src(handle, tx, table, record, 1, &err), nullptr);
        EXPECT_EQ(t->prev_by_src(handle, tx, table, record, 1, &err), nullptr);
        EXPECT_EQ(t->next_ignore_src(handle, tx, table, record, &err), nullptr);
        EXPECT_EQ(t->prev_ignore_src(handle, tx, table, record, &err), nullptr);
        EXPECT_EQ(t->sub_next(handle, tx, table, record, &err), nullptr);
        EXPECT_EQ(t->sub_prev(handle, tx, table, record, &err), nullptr);
        EXPECT_EQ(t->shadow(handle, tx, table, record, &err), nullptr);
    }
    EXPECT_EQ(s.index.next_by_key(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(s.index.prev_by_key_not_pending(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(s.index.first_not_pending(handle, tx, table, 1, &err), nullptr);
    EXPECT_EQ(s.index.get_cr(handle, table, 0, nullptr, 0, 0), nullptr);
    EXPECT_EQ(err, 5U);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_TRUE(spies.calls.empty());
}

// What a walk's function was given.
struct Visits {
    std::vector<const void *> records;
    std::size_t stop_at = ~std::size_t{0};
};

u32 note_visit(kel_record *record, void *context) {
    auto *visits = static_cast<Visits *>(context);
    visits->records.push_back(record);
    return visits->records.size() == visits->stop_at ? 42 : 0;
}

TEST_P(TraversalTest, AWalkSeesEveryEntryOfTheTree) {
    kel_record *a = put(0);
    kel_record *b = put(0, 7);
    kel_record *c = put(1, 255);
    kel_record *d = put_for(3, 0);
    set_pending(b);
    spies.clear();
    handle->last_error = 0;
    Visits visits;
    s.index.walk(table, note_visit, &visits, &err);
    EXPECT_EQ(visits.records, (Reported{a, b, c, d}));
    Visits cr_visits;
    s.cr.walk(handle, table, 0, note_visit, &cr_visits);
    EXPECT_EQ(cr_visits.records, visits.records);
    EXPECT_EQ(spies.count("kelrepl_add_to_cache"), 0U);
    EXPECT_EQ(spies.count("kel_clear_last_error"), 0U);
    EXPECT_EQ(spies.count("mt_get_tenant_id"), 0U);
}

TEST_P(TraversalTest, AWalkEndsWhenItsFunctionSaysSo) {
    for (u32 key = 0; key < 3; ++key) put(key);
    Visits visits;
    visits.stop_at = 2;
    s.index.walk(table, note_visit, &visits, &err);
    EXPECT_EQ(visits.records.size(), 2U);
    EXPECT_EQ(err, 0U);
}

TEST_P(TraversalTest, AWalkDoesNothingWithAnErrorOrAnUnknownKey) {
    put(0);
    Visits visits;
    err = 5;
    s.index.walk(table, note_visit, &visits, &err);
    EXPECT_EQ(err, 5U);
    handle->last_error = 22;
    s.cr.walk(handle, table, 0, note_visit, &visits);
    kel_clear_last_error(handle);
    TraceCapture trace;
    s.cr.walk(handle, table, 1, note_visit, &visits);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): unknow key:1")) << trace.all();
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_TRUE(visits.records.empty());
}

struct Purge {
    const Subject *subject;
    kel_handle *handle;
    kel_table *table;
    u32 visited = 0;
};

u32 destroy_visited(kel_record *record, void *context) {
    auto *purge = static_cast<Purge *>(context);
    u32 err = 0;
    ++purge->visited;
    purge->subject->plain.destroy_record(purge->handle, KEL_TX_NONE, record, &err);
    return err;
}

TEST_P(TraversalTest, AWalksFunctionMayDestroyTheRecordItWasGiven) {
    const u64 blocks = settled_blocks();
    for (u32 key = 0; key < s.keys; ++key) put(key);
    Purge purge{&s, handle, table};
    s.index.walk(table, destroy_visited, &purge, &err);
    EXPECT_EQ(purge.visited, s.keys);
    EXPECT_EQ(table->record_count, 0U);
    EXPECT_EQ(table->index_root, nullptr);
    EXPECT_EQ(session.blocks(), blocks);
}

u32 answer_context(kel_record *record, void *context) { return record == context ? 7U : 8U; }

TEST_P(TraversalTest, TheTreesCallbackHandsRecordAndResultThrough) {
    kel_record *record = make(0);
    kel_walk_pair pair{answer_context, record};
    EXPECT_EQ(s.index.internal_walk(&record->index_node, &pair), 7U);
    pair.context = nullptr;
    EXPECT_EQ(s.index.internal_walk(&record->index_node, &pair), 8U);
}

// On machines whose calls pass such arguments in registers.
#if defined(__x86_64__) || defined(__aarch64__)
using WideWalk = u32 (*)(kel_index_node *, void *, u64, u64);

u32 add_further(kel_record *, void *, u64 third, u64 fourth) {
    return static_cast<u32>(third * 100 + fourth);
}

TEST_P(TraversalTest, TheTreesCallbackLeavesFurtherArgumentsAlone) {
    kel_record *record = make(0);
    kel_walk_pair pair{
        reinterpret_cast<kel_walk_function>(reinterpret_cast<void (*)()>(add_further)), nullptr};
    const auto wide =
        reinterpret_cast<WideWalk>(reinterpret_cast<void (*)()>(s.index.internal_walk));
    EXPECT_EQ(wide(&record->index_node, &pair, 4, 2), 402U);
}
#endif

TEST_P(TraversalTest, TheUnorderedTraversalDoesNothing) {
    put(0);
    const kel_table before = *table;
    spies.clear();
    s.index.unordered_traversal();
    EXPECT_TRUE(spies.calls.empty());
    EXPECT_EQ(0, std::memcmp(&before, table, sizeof before));
}

}  // namespace
}  // namespace tarn::test
