// SPDX-License-Identifier: Apache-2.0
// Ordered steps: every form, under each of its names, with its filters.
#include <cerrno>

#include "tests/behaviour/table/traversal_fixture.h"

namespace tarn::test {
namespace {

class Traversals : public ReadTest {};
TARN_EACH_TABLE_AND_MODE(Traversals);

TEST_P(Traversals, ReturnRecordsOfSourceOneInKeyOrder) {
    kel_record *first = put(0);
    put(0, 2);
    put(1, 7);
    kel_record *second = put(2);
    put(2, 0);
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->first), first);
        EXPECT_EQ(read(t->next, first), second);
        EXPECT_EQ(read(t->next, second), nullptr);
        EXPECT_EQ(read(t->last), second);
        EXPECT_EQ(read(t->prev, second), first);
        EXPECT_EQ(read(t->prev, first), nullptr);
        EXPECT_EQ(err, 0U);
    }
}

TEST_P(Traversals, OfASourceSkipOtherSources) {
    put(0);
    kel_record *low = put(0, 7);
    put(1);
    kel_record *high = put(2, 7);
    put(2, 9);
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->first_by_src, 7), low);
        EXPECT_EQ(read(t->first_by_src, 0x107), low);
        EXPECT_EQ(read(t->next_by_src, low, 7), high);
        EXPECT_EQ(read(t->next_by_src, high, 7), nullptr);
        EXPECT_EQ(read(t->last_by_src, 7), high);
        EXPECT_EQ(read(t->prev_by_src, high, 0x107), low);
        EXPECT_EQ(read(t->prev_by_src, low, 7), nullptr);
        EXPECT_EQ(read(t->first_by_src, 8), nullptr);
        EXPECT_EQ(read(t->last_by_src, 8), nullptr);
    }
}

TEST_P(Traversals, IgnoringSourcesReturnAllRecordsOfTheTenant) {
    put_for(1, 0);
    kel_record *a = put(0, 1);
    kel_record *b = put(0, 2);
    kel_record *c = put(1, 255);
    set_pending(b);
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->first_ignore_src), a);
        EXPECT_EQ(read(t->next_ignore_src, a), b);
        EXPECT_EQ(read(t->next_ignore_src, b), c);
        EXPECT_EQ(read(t->next_ignore_src, c), nullptr);
        EXPECT_EQ(read(t->prev_ignore_src, c), b);
        EXPECT_EQ(read(t->prev_ignore_src, b), a);
        EXPECT_EQ(read(t->prev_ignore_src, a), nullptr);
    }
}

TEST_P(Traversals, SkipPendingRecordsInTheNotPendingForms) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    kel_record *c = put(2);
    set_pending(b);
    EXPECT_EQ(read(s.by_key.next, a), b);
    EXPECT_EQ(read(s.index.next_not_pending, a, 1), c);
    EXPECT_EQ(read(s.index.prev_not_pending, c, 1), a);
    EXPECT_EQ(read(s.index.next_not_pending, a, 7), nullptr);
    set_pending(a);
    EXPECT_EQ(read(s.index.first_not_pending, 1), c);
    EXPECT_EQ(read(s.by_key.first), a);
    set_pending(c);
    EXPECT_EQ(read(s.index.last_not_pending, 1), nullptr);
    EXPECT_EQ(read(s.index.first_not_pending, 1), nullptr);
    EXPECT_EQ(read(s.by_key.last), c);
    kel_record *seventh = put(1, 7);
    EXPECT_EQ(read(s.index.first_not_pending, 7), seventh);
    EXPECT_EQ(read(s.index.last_not_pending, 0x107), seventh);
}

TEST_P(Traversals, StayWithinTheTenant) {
    put_for(1, 1);
    kel_record *low = put_for(2, 0);
    kel_record *high = put_for(2, 2);
    put_for(3, 1);
    kel_thread_set_tenant(2);
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->first), low);
        EXPECT_EQ(read(t->last), high);
        EXPECT_EQ(read(t->first_ignore_src), low);
        EXPECT_EQ(read(t->next, high), nullptr);
        EXPECT_EQ(read(t->prev, low), nullptr);
        EXPECT_EQ(read(t->next_ignore_src, high), nullptr);
        EXPECT_EQ(read(t->prev_ignore_src, low), nullptr);
    }
    // Tenants without records, before and after those with records.
    for (const u16 tenant : {u16{0}, u16{4}}) {
        kel_thread_set_tenant(tenant);
        for (const Traversal *t : names()) {
            EXPECT_EQ(read(t->first), nullptr);
            EXPECT_EQ(read(t->last), nullptr);
            EXPECT_EQ(read(t->first_ignore_src), nullptr);
        }
    }
    EXPECT_EQ(err, 0U);
}

TEST_P(Traversals, FromAnotherTenantsRecordReachOnlyTheNextTenant) {
    kel_record *low = put_for(1, 0);
    kel_record *high = put_for(1, 1);
    kel_record *next_run = put_for(2, 0);
    kel_thread_set_tenant(2);
    EXPECT_EQ(read(s.by_key.next, low), nullptr);
    EXPECT_EQ(read(s.by_key.next, high), next_run);
    kel_thread_set_tenant(1);
    EXPECT_EQ(read(s.by_key.prev, next_run), high);
}

TEST_P(Traversals, ContinueFromADeletedRecord) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    kel_record *c = put(2);
    remove(b);
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->next, b), c);
        EXPECT_EQ(read(t->prev, b), a);
        EXPECT_EQ(read(t->next_ignore_src, b), c);
        EXPECT_EQ(read(t->sub_next, b), nullptr);
    }
    // Records inserted after a position are read.
    kel_record *again = put(1, 1);
    EXPECT_EQ(read(s.by_key.next, a), again);
    EXPECT_EQ(read(s.by_key.next, b), c) << "the equal entry is passed";
    // Those inserted before it are not.
    put(0, 7);
    EXPECT_EQ(read(s.by_key.next, again), c);
}

// One record gets every key and some sources, in the index and after its removal. The other
// records stay in order. Each read returns the neighbour of the record's present place.
TEST_P(Traversals, StartAtTheCurrentKeyOfTheRecord) {
    kel_record *const a = put(0, 5);
    kel_record *const b = put(1, 1);
    kel_record *const c = put(1, 7);
    struct Place {
        u32 key, src;
        kel_record *before, *after;
    };
    const Place places[] = {{0, 1, nullptr, a}, {0, 5, nullptr, b}, {0, 9, a, b},
                            {1, 0, a, b},       {1, 1, a, c},       {1, 4, b, c},
                            {1, 7, b, nullptr}, {2, 1, c, nullptr}};
    for (const Place &inserted_at : {places[0], places[2], places[5], places[7]}) {
        kel_record *moved = put(inserted_at.key, inserted_at.src);
        const auto expect_neighbours = [&](const char *state) {
            for (const Place &place : places) {
                s.set_key(handle, tx, key_holder(moved), place.key, &err);
                moved->src = static_cast<u8>(place.src);
                SCOPED_TRACE(std::string(state) + " at key " + std::to_string(inserted_at.key) +
                             ", now " + std::to_string(place.key) + " of source " +
                             std::to_string(place.src));
                for (const Traversal *t : names()) {
                    EXPECT_EQ(read(t->next_ignore_src, moved), place.after);
                    EXPECT_EQ(read(t->prev_ignore_src, moved), place.before);
                }
            }
            s.set_key(handle, tx, key_holder(moved), inserted_at.key, &err);
            moved->src = static_cast<u8>(inserted_at.src);
        };
        expect_neighbours("in the index");
        remove(moved);
        expect_neighbours("deleted");
        destroy(moved);
    }
}

TEST_P(Traversals, OfAnEmptyTableReturnNull) {
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->first), nullptr);
        EXPECT_EQ(read(t->last), nullptr);
        EXPECT_EQ(read(t->first_ignore_src), nullptr);
        EXPECT_EQ(read(t->first_by_src, 1), nullptr);
        EXPECT_EQ(read(t->last_by_src, 1), nullptr);
    }
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_P(Traversals, ReportOnlyTheRecordReturned) {
    kel_record *a = put(0);
    put(1, 7);
    kel_record *b = put(2);
    begin();
    for (const Traversal *t : names()) {
        services.clear();
        read(t->first);
        EXPECT_EQ(reported(), Reported{a});
        read(t->next, a);
        ASSERT_EQ(services.calls("kelrepl_add_to_cache").at(0).tx_id(), tx);
        EXPECT_EQ(reported(), Reported{b});
        read(t->last);
        EXPECT_EQ(reported(), Reported{b});
        read(t->first_ignore_src);
        EXPECT_EQ(reported(), Reported{a});
        read(t->next, b);
        read(t->sub_next, a);
        EXPECT_EQ(reported(), Reported{});
    }
    commit();
}

TEST_P(Traversals, ReturnTheRecordIfItsReportFails) {
    kel_record *a = put(0);
    kel_record *b = put(1);
    services.always_fail("kelrepl_add_to_cache");
    EXPECT_EQ(read(s.by_key.first), a);
    EXPECT_EQ(err, ENOMEM);
    err = 0;
    EXPECT_EQ(read(s.by_key.next, a), b);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(read(s.by_key.next, a), nullptr);
}

TEST_P(Traversals, TreatAnyNonzeroFilterAsSet) {
    kel_record *a = put(0);
    kel_record *seventh = put(0, 7);
    kel_record *b = put(1);
    set_pending(seventh);
    const auto next = s.index.next_internal;
    const auto prev = s.index.prev_internal;
    EXPECT_EQ(read(next, a, 9, 0, 0), seventh);
    EXPECT_EQ(read(next, a, 9, 0, 42), b);
    EXPECT_EQ(read(next, a, 0x107, 42, 0), seventh);
    EXPECT_EQ(read(next, a, 7, 1, 1), nullptr);
    EXPECT_EQ(read(prev, b, 9, 0, 0), seventh);
    EXPECT_EQ(read(prev, b, 9, 0, 1), a);
    EXPECT_EQ(read(prev, b, 1, 1, 0), a);
}

TEST_P(Traversals, OfTheCrFormTakeASelector) {
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
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): invalid record get flag 4")) << trace.all();
    EXPECT_EQ(get(last, nullptr, 0, 0), nullptr) << "the error sticks";
}

TEST_P(Traversals, EnteredWithAnErrorReturnNull) {
    kel_record *record = put(0);
    put(0, 2);
    put(1);
    expect_nothing_with_an_error_set(reads_from_ends());
    expect_nothing_with_an_error_set(steps_from(record));
    handle->last_error = EINVAL;
    for (u32 selector = 0; selector < 4; ++selector) {
        EXPECT_EQ(s.index.get_cr(handle, table, selector, record, 0, 0), nullptr);
    }
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(services.calls().empty());
}

TEST_P(Traversals, ClearTheLastErrorFirst) {
    kel_record *record = put(0);
    put(1);
    expect_last_error_cleared_first(reads_from_ends());
    expect_last_error_cleared_first(steps_from(record));
}

TEST_P(Traversals, StoreAndAllocateNothing) {
    put(0);
    put(0, 7);
    kel_record *record = put(1);
    put(1, 255);
    put(2);
    for (const u32 src : {1U, 7U}) {
        expect_nothing_stored_or_allocated(reads_from_ends(src));
        expect_nothing_stored_or_allocated(steps_from(record, src));
    }
}

TEST_P(Traversals, IgnoringSourcesReturnPendingRecordsInOneStep) {
    kel_record *a = put(0, 7);
    kel_record *b = put(1, 9);
    put(2);
    set_pending(a);
    set_pending(b);
    for (const Traversal *t : names()) {
        services.clear();
        EXPECT_EQ(read(t->first_ignore_src), a);
        EXPECT_EQ(services.count("e_avl_get_next"), 0U);
        EXPECT_EQ(read(t->next_ignore_src, a), b);
        EXPECT_EQ(services.count("e_avl_get_next"), 1U);
        EXPECT_EQ(read(t->prev_ignore_src, b), a);
        EXPECT_EQ(services.count("e_avl_get_prev"), 1U);
    }
}

TEST_P(Traversals, SkipAPendingRecordAtEitherEnd) {
    set_pending(put(0));
    kel_record *between = put(1);
    set_pending(put(2));
    EXPECT_EQ(read(s.index.first_not_pending, 1), between);
    EXPECT_EQ(read(s.index.last_not_pending, 1), between);
    EXPECT_EQ(read(s.index.next_not_pending, between, 0x101), nullptr);
    EXPECT_EQ(read(s.index.prev_not_pending, between, 0x101), nullptr);
}

}  // namespace
}  // namespace tarn::test
