// SPDX-License-Identifier: Apache-2.0
// Search by key, exact and nearest, and what each search reports.
#include <cerrno>
#include <cstring>

#include "tests/behaviour/table/traversal_fixture.h"

namespace tarn::test {
namespace {

class Search : public ReadTest {
 protected:
    // Every form: of source 1 where it takes a source, and of the nearest where it takes that.
    Reads forms(const Key &key, u32 nearest = 0) {
        const void *const value = key.value();
        void *const object = key.object();
        Reads all = {[=, this] { return read(s.index.search_w_src, value, 1); },
                     [=, this] { return read(s.index.search_nearest, value); },
                     [=, this] { return read(s.index.search_sub_first, value); },
                     [=, this] { return read(s.index.search_not_pending, value, nearest); },
                     [=, this] { return read(s.index.search_internal, value, nearest, 1, 1, 0); }};
        for (const Operations *form : {&s.plain, &s.unsafe}) {
            all.push_back([=, this] { return read(form->search, value); });
            all.push_back([=, this] { return read(form->search_object, object, nearest); });
            all.push_back(
                [=, this] { return read(form->search_object_w_src, object, nearest, 1); });
        }
        return all;
    }
};
TARN_EACH_TABLE_AND_MODE(Search);

TEST_P(Search, FindsTheRecordOfSourceOneInEveryForm) {
    put(0);
    kel_record *record = put(1, 1, 5);
    put(1, 7);
    put(2);
    const Key key(s, handle, 1);
    services.clear();
    for (const auto &form : forms(key)) EXPECT_EQ(form(), record);
    for (const u32 src : {1U, 0U, 0x100U}) {
        EXPECT_EQ(s.index.search_cr(handle, table, key.value(), src, 0), record) << src;
    }
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(services.count("e_avl_search"), 14U);
    EXPECT_EQ(s.get_value(handle, record->object), 5U);
}

TEST_P(Search, FindsEachKeyAmongMany) {
    std::vector<kel_record *> records;
    for (u32 key = 0; key < s.keys; ++key) records.push_back(put(key));
    for (u32 key = 0; key < s.keys; ++key) EXPECT_EQ(find(key), records[key]) << key;
}

TEST_P(Search, OfASourceFindsThatSourceOnly) {
    kel_record *record = put(1, 7);
    const Key key(s, handle, 1);
    EXPECT_EQ(read(s.plain.search, key.value()), nullptr);
    EXPECT_EQ(read(s.index.search_w_src, key.value(), 7), record);
    EXPECT_EQ(read(s.index.search_w_src, key.value(), 0x107), record);
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 7, 0), record);
    EXPECT_EQ(read(s.plain.search_object, key.object(), 0), nullptr);
    EXPECT_EQ(read(s.plain.search_object_w_src, key.object(), 0, 7), record);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_P(Search, StaysWithinTheTenant) {
    kel_thread_set_tenant(5);
    kel_record *fifth = put(1);
    const Key key(s, handle, 1);
    kel_thread_set_tenant(6);
    EXPECT_EQ(read(s.plain.search, key.value()), nullptr);
    EXPECT_EQ(read(s.index.search_nearest, key.value()), nullptr);
    kel_record *sixth = put(1);
    EXPECT_EQ(read(s.plain.search, key.value()), sixth);
    kel_thread_set_tenant(5);
    EXPECT_EQ(read(s.plain.search, key.value()), fifth);
    kel_thread_set_tenant(0);
    EXPECT_EQ(read(s.plain.search, key.value()), nullptr);
    EXPECT_EQ(err, 0U);
}

TEST_P(Search, NearestReturnsTheNextGreaterRecordOfSourceOne) {
    put(0);
    put(2, 7);
    kel_record *record = put(2);
    const Key key(s, handle, 1);
    EXPECT_EQ(read(s.index.search_nearest, key.value()), record);
    EXPECT_EQ(read(s.plain.search_object, key.object(), 1), record);
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 1, 42), record);
    EXPECT_EQ(read(s.plain.search_object, key.object(), 0), nullptr);
    // The walk uses source 1 for any source.
    EXPECT_EQ(read(s.plain.search_object_w_src, key.object(), 1, 7), record);
    EXPECT_EQ(read(s.index.search_internal, key.value(), 1, 1, 7, 0), record);
    remove(record);
    EXPECT_EQ(read(s.index.search_nearest, key.value()), nullptr);
    EXPECT_EQ(err, 0U);
}

TEST_P(Search, NearestStaysWithinTheTenant) {
    kel_thread_set_tenant(1);
    put(2);
    kel_thread_set_tenant(0);
    put(0);
    const Key key(s, handle, 1);
    EXPECT_EQ(read(s.index.search_nearest, key.value()), nullptr);
}

TEST_P(Search, NearestCanStepBackward) {
    kel_record *below = put(0);
    put(2);
    const Key key(s, handle, 1);
    EXPECT_EQ(read(s.index.search_internal, key.value(), 1, 0, 1, 0), below);
    put(0, 7);
    EXPECT_EQ(read(s.index.search_internal, key.value(), 1, 0, 7, 0), below);
    kel_record *other = put(0, 9);
    EXPECT_EQ(read(s.index.search_internal, key.value(), 1, 0, 9, 1), other);
}

TEST_P(Search, SkipsPendingRecordsOnRequest) {
    put(0);
    kel_record *pending = put(1);
    set_pending(pending);
    kel_record *after = put(2);
    kel_record *after_of_seven = put(2, 7);
    const Key key(s, handle, 1);
    EXPECT_EQ(read(s.plain.search, key.value()), pending);
    EXPECT_EQ(read(s.index.search_nearest, key.value()), pending);
    EXPECT_EQ(read(s.index.search_not_pending, key.value(), 0), nullptr);
    EXPECT_EQ(read(s.index.search_not_pending, key.value(), 1), after);
    set_pending(after);
    EXPECT_EQ(read(s.index.search_not_pending, key.value(), 1), nullptr);
    // This walk uses the given source.
    EXPECT_EQ(read(s.index.search_internal, key.value(), 1, 1, 7, 1), after_of_seven);
    EXPECT_EQ(err, 0U);
}

TEST_P(Search, SubFirstFindsOnlyTheExactKey) {
    put(0);
    put(1, 7);
    kel_record *record = put(2);
    const Key absent(s, handle, 1);
    const Key present(s, handle, 2);
    EXPECT_EQ(read(s.index.search_sub_first, present.value()), record);
    services.clear();
    EXPECT_EQ(read(s.index.search_sub_first, absent.value()), nullptr);
    EXPECT_EQ(err, 0U);
    // It found the next key on the way, once in the walk and once as its result.
    EXPECT_EQ(reported(), (Reported{record, record}));
    EXPECT_EQ(read(s.index.search_sub_first, nullptr), nullptr);
    EXPECT_EQ(err, ENOENT);
}

TEST_P(Search, ReportsAnExactHitOnceAndANearestOneTwice) {
    kel_record *record = put(2);
    const Key exact(s, handle, 2);
    const Key below(s, handle, 1);
    services.clear();
    read(s.plain.search, exact.value());
    EXPECT_EQ(reported(), Reported{record});
    read(s.index.search_nearest, below.value());
    EXPECT_EQ(reported(), (Reported{record, record}));
    read(s.plain.search, below.value());
    EXPECT_EQ(reported(), Reported{});
}

TEST_P(Search, NeverReportsAShadow) {
    kel_record *shadow = put(1, KEL_SOURCE_SHADOW);
    const Key key(s, handle, 1);
    services.clear();
    EXPECT_EQ(read(s.index.search_w_src, key.value(), 255), shadow);
    EXPECT_EQ(reported(), Reported{});
}

TEST_P(Search, ReturnsTheRecordIfItsReportFails) {
    kel_record *record = put(1);
    const Key key(s, handle, 1);
    services.always_fail("kelrepl_add_to_cache");
    EXPECT_EQ(read(s.plain.search, key.value()), record);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(read(s.plain.search, key.value()), nullptr);
}

TEST_P(Search, NeedsATableAndAKey) {
    const Key key(s, handle, 1);
    const auto expect_enoent = [&](const kel_record *record) {
        EXPECT_EQ(record, nullptr);
        EXPECT_EQ(err, ENOENT);
        EXPECT_EQ(handle->last_error, ENOENT);
        err = 0;
        kel_clear_last_error(handle);
    };
    expect_enoent(s.plain.search(handle, tx, nullptr, key.value(), &err));
    expect_enoent(read(s.plain.search, nullptr));
    expect_enoent(read(s.index.search_w_src, nullptr, 1));
    expect_enoent(read(s.index.search_nearest, nullptr));
    expect_enoent(read(s.index.search_not_pending, nullptr, 1));
    expect_enoent(read(s.plain.search_object, nullptr, 0));
    expect_enoent(read(s.unsafe.search_object_w_src, nullptr, 1, 1));
    EXPECT_EQ(s.index.search_cr(handle, table, nullptr, 1, 0), nullptr);
    EXPECT_EQ(handle->last_error, ENOENT);
    EXPECT_EQ(services.count("e_avl_search"), 0U);
}

TEST_P(Search, EnteredWithAnErrorReturnsNull) {
    put(1);
    const Key key(s, handle, 1);
    handle->last_error = EINVAL;
    err = EIO;
    services.clear();
    for (const auto &form : forms(key, 1)) EXPECT_EQ(form(), nullptr);
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 1, 0), nullptr);
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(services.calls().empty());
}

TEST_P(Search, AllocatesStoresAndCountsNothing) {
    const u32 last = s.keys - 1;  // a text is stored outside its string
    kel_record *record = put(last);
    const Key key(s, handle, last);
    const Key absent(s, handle, 1);
    const kel_table before = *table;
    const kel_variant_usage counters = usage_of(header_of(record->object));
    HookRecorder hooks(handle);
    for (const auto &form : forms(key)) EXPECT_EQ(form(), record);
    for (const auto &form : forms(absent, 1)) form();
    for (const Hook hook : {Hook::alloc, Hook::free, Hook::write_log, Hook::delta_log}) {
        EXPECT_EQ(hooks.count(hook), 0U);
    }
    EXPECT_EQ(0, std::memcmp(&before, table, sizeof before));
    const kel_variant_usage &now = usage_of(header_of(record->object));
    EXPECT_EQ(now.created, counters.created);
    EXPECT_EQ(now.destroyed, counters.destroyed);
    EXPECT_EQ(now.live, counters.live);
}

TEST_P(Search, AcceptsAKeyInsideARecord) {
    kel_record *record = put(1);
    EXPECT_EQ(read(s.plain.search_object, key_holder(record), 0), record);
}

TEST_P(Search, ClearsTheLastErrorFirst) {
    put(1);
    const Key present(s, handle, 1);
    const Key absent(s, handle, 2);
    for (const Key *key : {&present, &absent}) {
        for (const auto &form : forms(*key)) {
            handle->last_error = EINVAL;
            services.clear();
            form();
            EXPECT_EQ(err, 0U);
            EXPECT_EQ(handle->last_error, 0U);
            ASSERT_FALSE(services.calls().empty());
            EXPECT_EQ(services.calls()[0].name, "kel_clear_last_error");
        }
    }
}

TEST_P(Search, SearchesTheTreeWithItsOwnProbe) {
    kel_record *record = put(1);
    const Key key(s, handle, 1);
    services.clear();
    read(s.plain.search, key.value());
    const ServiceCall call = services.calls("e_avl_search").at(0);
    EXPECT_NE(call.pointer<kel_index_node>(1), &record->index_node);
    EXPECT_EQ(call.pointer<void>(0), table->index_root);
    EXPECT_EQ(call.arguments.at(2), word(s.index.compare));
    EXPECT_EQ(services.order({"mt_get_tenant_id", "e_avl_search", "kelrepl_add_to_cache"}),
              "mt_get_tenant_id e_avl_search kelrepl_add_to_cache");
}

TEST_P(Search, ReturnsAPendingRecordByDefault) {
    kel_record *pending = put(1);
    set_pending(pending);
    put(2);
    const Key key(s, handle, 1);
    u32 hidden = 0;
    for (const auto &form : forms(key)) {
        kel_record *record = form();
        if (record != pending) ++hidden;
    }
    EXPECT_EQ(hidden, 1U) << "one form hides it";
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 1, 0), pending);
}

TEST_P(Search, SkippingPendingRecordsReturnsTheKeyOrTheNearest) {
    kel_record *below = put(0);
    kel_record *record = put(1);
    const Key key(s, handle, 1);
    const Key above(s, handle, 2);
    services.clear();
    EXPECT_EQ(read(s.index.search_not_pending, key.value(), 1), record);
    EXPECT_EQ(reported(), Reported{record});
    const Key low(s, handle, 0);
    remove(below);
    services.clear();
    EXPECT_EQ(read(s.index.search_not_pending, low.value(), 1), record);
    EXPECT_EQ(reported(), (Reported{record, record}));
    EXPECT_EQ(read(s.index.search_not_pending, low.value(), 0), nullptr);
    EXPECT_EQ(read(s.index.search_not_pending, above.value(), 1), nullptr);
    insert(below);
    set_pending(record);
    EXPECT_EQ(read(s.index.search_internal, key.value(), 1, 0, 1, 1), below);
}

TEST_P(Search, TreatsAnyNonzeroModeAsSetAndUsesTheLowByteOfTheSource) {
    kel_record *below = put(0, 7);
    kel_record *pending = put(1, 7);
    kel_record *above = put(2, 7);
    set_pending(pending);
    const Key key(s, handle, 1);
    const auto search = s.index.search_internal;
    EXPECT_EQ(read(search, key.value(), 0, 0, 0x107, 0), pending);
    EXPECT_EQ(read(search, key.value(), 0x100, 0x100, 0x107, 0x100), above);
    EXPECT_EQ(read(search, key.value(), 0x100, 0, 0x107, 0x100), below);
}

TEST_P(Search, NeverReportsANearestShadow) {
    kel_record *shadow = put(1, KEL_SOURCE_SHADOW);
    const Key key(s, handle, 0);
    services.clear();
    EXPECT_EQ(read(s.index.search_internal, key.value(), 1, 1, 255, 1), shadow);
    EXPECT_EQ(reported(), Reported{});
}

TEST_P(Search, ReturnsTheNearestRecordIfItsReportFails) {
    kel_record *record = put(2);
    const Key key(s, handle, 1);
    services.always_fail("kelrepl_add_to_cache");
    services.clear();
    EXPECT_EQ(read(s.index.search_nearest, key.value()), record);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(reported(), (Reported{record, record}));
}

TEST_P(Search, TheCrFormFindsTheNearestOfSourceOneInItsTransaction) {
    begin();
    kel_record *one = put(2);
    put(2, 7);
    const Key key(s, handle, 1);
    handle->cr_tx_id = tx;
    services.clear();
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 7, 0x100), one);
    EXPECT_EQ(reported(), (Reported{one, one}));
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 7, 0), nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    handle->cr_tx_id = KEL_TX_NONE;
    commit();
}

}  // namespace
}  // namespace tarn::test
