// SPDX-License-Identifier: Apache-2.0
// Search by key, exact and nearest, and what each search reports.
#include <cstring>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

class Search : public TableTest {
 protected:
    std::vector<const void *> reported() {
        std::vector<const void *> records;
        for (const Call &call : spies.of("kelrepl_add_to_cache")) {
            records.push_back(call.subject);
            EXPECT_EQ(call.extra, s.vector);
            EXPECT_EQ(call.tx_id, tx);
        }
        spies.clear();
        return records;
    }
    using Reported = std::vector<const void *>;
};
TARN_EACH_TABLE_AND_MODE(Search);

TEST_P(Search, FindsTheRecordOfSourceOneUnderEveryName) {
    put(0);
    kel_record *record = put(1, 1, 5);
    put(1, 7);
    put(2);
    const Key key(s, handle, 1);
    spies.clear();
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), record);
    EXPECT_EQ(s.unsafe.search(handle, tx, table, key.value(), &err), record);
    EXPECT_EQ(s.index.search_w_src(handle, tx, table, key.value(), 1, &err), record);
    EXPECT_EQ(s.index.search_nearest(handle, tx, table, key.value(), &err), record);
    EXPECT_EQ(s.index.search_sub_first(handle, tx, table, key.value(), &err), record);
    EXPECT_EQ(s.index.search_not_pending(handle, tx, table, key.value(), 0, &err), record);
    EXPECT_EQ(s.index.search_internal(handle, tx, table, key.value(), 0, 1, 1, 0, &err), record);
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 1, 0), record);
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 0, 0), record);
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 0x100, 0), record);
    EXPECT_EQ(s.plain.search_object(handle, tx, table, key.object(), 0, &err), record);
    EXPECT_EQ(s.unsafe.search_object(handle, tx, table, key.object(), 0, &err), record);
    EXPECT_EQ(s.plain.search_object_w_src(handle, tx, table, key.object(), 0, 1, &err), record);
    EXPECT_EQ(s.unsafe.search_object_w_src(handle, tx, table, key.object(), 0, 1, &err), record);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(spies.count("e_avl_search"), 14U);
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
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(s.index.search_w_src(handle, tx, table, key.value(), 7, &err), record);
    EXPECT_EQ(s.index.search_w_src(handle, tx, table, key.value(), 0x107, &err), record);
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 7, 0), record);
    EXPECT_EQ(s.plain.search_object(handle, tx, table, key.object(), 0, &err), nullptr);
    EXPECT_EQ(s.plain.search_object_w_src(handle, tx, table, key.object(), 0, 7, &err), record);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_P(Search, StaysWithinTheTenant) {
    kel_thread_set_tenant(5);
    kel_record *fifth = put(1);
    const Key key(s, handle, 1);
    kel_thread_set_tenant(6);
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(s.index.search_nearest(handle, tx, table, key.value(), &err), nullptr);
    kel_record *sixth = put(1);
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), sixth);
    kel_thread_set_tenant(5);
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), fifth);
    kel_thread_set_tenant(0);
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(err, 0U);
}

TEST_P(Search, NearestGivesTheNextGreaterRecordOfSourceOne) {
    put(0);
    put(2, 7);
    kel_record *record = put(2);
    const Key key(s, handle, 1);
    EXPECT_EQ(s.index.search_nearest(handle, tx, table, key.value(), &err), record);
    EXPECT_EQ(s.plain.search_object(handle, tx, table, key.object(), 1, &err), record);
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 1, 42), record);
    EXPECT_EQ(s.plain.search_object(handle, tx, table, key.object(), 0, &err), nullptr);
    // The walk for another source takes source 1 all the same.
    EXPECT_EQ(s.plain.search_object_w_src(handle, tx, table, key.object(), 1, 7, &err), record);
    EXPECT_EQ(s.index.search_internal(handle, tx, table, key.value(), 1, 1, 7, 0, &err), record);
    remove(record);
    EXPECT_EQ(s.index.search_nearest(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(err, 0U);
}

TEST_P(Search, NearestEndsWithTheTenantsRun) {
    kel_thread_set_tenant(1);
    put(2);
    kel_thread_set_tenant(0);
    put(0);
    const Key key(s, handle, 1);
    EXPECT_EQ(s.index.search_nearest(handle, tx, table, key.value(), &err), nullptr);
}

TEST_P(Search, NearestCanWalkBack) {
    kel_record *below = put(0);
    put(2);
    const Key key(s, handle, 1);
    EXPECT_EQ(s.index.search_internal(handle, tx, table, key.value(), 1, 0, 1, 0, &err), below);
    put(0, 7);
    EXPECT_EQ(s.index.search_internal(handle, tx, table, key.value(), 1, 0, 7, 0, &err), below);
    kel_record *other = put(0, 9);
    EXPECT_EQ(s.index.search_internal(handle, tx, table, key.value(), 1, 0, 9, 1, &err), other);
}

TEST_P(Search, HidesPendingRecordsWhereAskedTo) {
    put(0);
    kel_record *pending = put(1);
    set_pending(pending);
    kel_record *after = put(2);
    kel_record *after_of_seven = put(2, 7);
    const Key key(s, handle, 1);
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), pending);
    EXPECT_EQ(s.index.search_nearest(handle, tx, table, key.value(), &err), pending);
    EXPECT_EQ(s.index.search_not_pending(handle, tx, table, key.value(), 0, &err), nullptr);
    EXPECT_EQ(s.index.search_not_pending(handle, tx, table, key.value(), 1, &err), after);
    set_pending(after);
    EXPECT_EQ(s.index.search_not_pending(handle, tx, table, key.value(), 1, &err), nullptr);
    // This walk keeps to the source asked for.
    EXPECT_EQ(s.index.search_internal(handle, tx, table, key.value(), 1, 1, 7, 1, &err),
              after_of_seven);
    EXPECT_EQ(err, 0U);
}

TEST_P(Search, SubFirstFindsNothingButTheExactKey) {
    put(0);
    put(1, 7);
    kel_record *record = put(2);
    const Key absent(s, handle, 1);
    const Key present(s, handle, 2);
    EXPECT_EQ(s.index.search_sub_first(handle, tx, table, present.value(), &err), record);
    spies.clear();
    EXPECT_EQ(s.index.search_sub_first(handle, tx, table, absent.value(), &err), nullptr);
    EXPECT_EQ(err, 0U);
    // It found the next key on the way, once in the walk and once as its result.
    EXPECT_EQ(reported(), (Reported{record, record}));
    EXPECT_EQ(s.index.search_sub_first(handle, tx, table, nullptr, &err), nullptr);
    EXPECT_EQ(err, 2U);
}

TEST_P(Search, ReportsTheRecordItAnswersOnceAndAWalkedOneTwice) {
    kel_record *record = put(2);
    const Key exact(s, handle, 2);
    const Key below(s, handle, 1);
    spies.clear();
    s.plain.search(handle, tx, table, exact.value(), &err);
    EXPECT_EQ(reported(), Reported{record});
    s.index.search_nearest(handle, tx, table, below.value(), &err);
    EXPECT_EQ(reported(), (Reported{record, record}));
    s.plain.search(handle, tx, table, below.value(), &err);
    EXPECT_EQ(reported(), Reported{});
}

TEST_P(Search, NeverReportsAShadow) {
    kel_record *shadow = put(1, KEL_SOURCE_SHADOW);
    const Key key(s, handle, 1);
    spies.clear();
    EXPECT_EQ(s.index.search_w_src(handle, tx, table, key.value(), 255, &err), shadow);
    EXPECT_EQ(reported(), Reported{});
}

TEST_P(Search, AnswersTheRecordWithTheErrorOfTheReport) {
    kel_record *record = put(1);
    const Key key(s, handle, 1);
    spies.wishes.cache_error = 12;
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), record);
    EXPECT_EQ(err, 12U);
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), nullptr);
}

TEST_P(Search, NeedsATableAndAKey) {
    const Key key(s, handle, 1);
    const auto expect_two = [&](const kel_record *record) {
        EXPECT_EQ(record, nullptr);
        EXPECT_EQ(err, 2U);
        EXPECT_EQ(handle->last_error, 2U);
        err = 0;
        kel_clear_last_error(handle);
    };
    expect_two(s.plain.search(handle, tx, nullptr, key.value(), &err));
    expect_two(s.plain.search(handle, tx, table, nullptr, &err));
    expect_two(s.index.search_w_src(handle, tx, table, nullptr, 1, &err));
    expect_two(s.index.search_nearest(handle, tx, table, nullptr, &err));
    expect_two(s.index.search_not_pending(handle, tx, table, nullptr, 1, &err));
    expect_two(s.plain.search_object(handle, tx, table, nullptr, 0, &err));
    expect_two(s.unsafe.search_object_w_src(handle, tx, table, nullptr, 1, 1, &err));
    EXPECT_EQ(s.index.search_cr(handle, table, nullptr, 1, 0), nullptr);
    EXPECT_EQ(handle->last_error, 2U);
    EXPECT_EQ(spies.count("e_avl_search"), 0U);
}

TEST_P(Search, EnteredWithAnErrorAnswersNull) {
    put(1);
    const Key key(s, handle, 1);
    handle->last_error = 22;
    err = 5;
    spies.clear();
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(s.index.search_nearest(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(s.index.search_sub_first(handle, tx, table, key.value(), &err), nullptr);
    EXPECT_EQ(s.plain.search_object(handle, tx, table, key.object(), 1, &err), nullptr);
    EXPECT_EQ(s.index.search_cr(handle, table, key.value(), 1, 0), nullptr);
    EXPECT_EQ(err, 5U);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_TRUE(spies.calls.empty());
}

TEST_P(Search, AllocatesStoresAndCountsNothing) {
    kel_record *record = put(1);
    const Key key(s, handle, 1);
    const Key absent(s, handle, 2);
    const kel_table before = *table;
    const kel_variant_usage counters =
        static_cast<kel_object *>(record->object)->descriptor->variant_info->variants[0];
    HookRecorder hooks(handle);
    s.plain.search(handle, tx, table, key.value(), &err);
    s.index.search_nearest(handle, tx, table, absent.value(), &err);
    EXPECT_EQ(hooks.count(Hook::alloc), 0U);
    EXPECT_EQ(hooks.count(Hook::write_log), 0U);
    EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    EXPECT_EQ(0, std::memcmp(&before, table, sizeof before));
    const kel_variant_usage &now =
        static_cast<kel_object *>(record->object)->descriptor->variant_info->variants[0];
    EXPECT_EQ(now.created, counters.created);
    EXPECT_EQ(now.live, counters.live);
}

TEST_P(Search, TakesAKeyThatItselfLiesInARecord) {
    kel_record *record = put(1);
    EXPECT_EQ(s.plain.search_object(handle, tx, table, key_holder(record), 0, &err), record);
}

}  // namespace
}  // namespace tarn::test
