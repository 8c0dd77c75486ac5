// SPDX-License-Identifier: Apache-2.0
// Walks over the whole tree, and the callback that is passed to the tree.
#include <cerrno>
#include <cstring>

#include "tests/behaviour/table/traversal_fixture.h"

namespace tarn::test {
namespace {

class Walk : public ReadTest {};
TARN_EACH_TABLE_AND_MODE(Walk);

// The records that a walk has visited.
struct Visits {
    std::vector<const void *> records;
    std::size_t stop_at = ~std::size_t{0};
};

u32 note_visit(kel_record *record, void *context) {
    auto *visits = static_cast<Visits *>(context);
    visits->records.push_back(record);
    return visits->records.size() == visits->stop_at ? 42 : 0;
}

TEST_P(Walk, VisitsEveryEntryOfTheTree) {
    kel_record *a = put(0);
    kel_record *b = put(0, 7);
    kel_record *c = put(1, 255);
    kel_record *d = put_for(3, 0);
    set_pending(b);
    services.clear();
    handle->last_error = 0;
    Visits visits;
    s.index.walk(table, note_visit, &visits, &err);
    EXPECT_EQ(visits.records, (Reported{a, b, c, d}));
    Visits cr_visits;
    s.cr.walk(handle, table, 0, note_visit, &cr_visits);
    EXPECT_EQ(cr_visits.records, visits.records);
    EXPECT_EQ(services.count("kelrepl_add_to_cache"), 0U);
    EXPECT_EQ(services.count("kel_clear_last_error"), 0U);
    EXPECT_EQ(services.count("mt_get_tenant_id"), 0U);
}

TEST_P(Walk, EndsWhenItsFunctionReturnsNonzero) {
    for (u32 key = 0; key < 3; ++key) put(key);
    Visits visits;
    visits.stop_at = 2;
    s.index.walk(table, note_visit, &visits, &err);
    EXPECT_EQ(visits.records.size(), 2U);
    EXPECT_EQ(err, 0U);
}

TEST_P(Walk, DoesNothingWithAnErrorOrAnUnknownKey) {
    put(0);
    Visits visits;
    err = EIO;
    s.index.walk(table, note_visit, &visits, &err);
    EXPECT_EQ(err, EIO);
    handle->last_error = EINVAL;
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

TEST_P(Walk, ItsFunctionMayDestroyTheVisitedRecord) {
    const u64 blocks = settled_blocks();
    for (u32 key = 0; key < s.keys; ++key) put(key);
    Purge purge{&s, handle, table};
    s.index.walk(table, destroy_visited, &purge, &err);
    EXPECT_EQ(purge.visited, s.keys);
    EXPECT_EQ(table->record_count, 0U);
    EXPECT_EQ(table->index_root, nullptr);
    EXPECT_EQ(session.blocks(), blocks);
}

u32 compare_with_context(kel_record *record, void *context) { return record == context ? 7U : 8U; }

TEST_P(Walk, TheTreesCallbackPassesRecordAndResult) {
    kel_record *record = make(0);
    kel_walk_pair pair{compare_with_context, record};
    EXPECT_EQ(s.index.internal_walk(&record->index_node, &pair), 7U);
    pair.context = nullptr;
    EXPECT_EQ(s.index.internal_walk(&record->index_node, &pair), 8U);
}

// On processors where these arguments are passed in registers.
#if defined(__x86_64__) || defined(__aarch64__)
using WideWalk = u32 (*)(kel_index_node *, void *, u64, u64, u64, u64);

u32 join_further(kel_record *, void *, u64 third, u64 fourth, u64 fifth, u64 sixth) {
    return static_cast<u32>(third * 1000 + fourth * 100 + fifth * 10 + sixth);
}

TEST_P(Walk, TheTreesCallbackDoesNotUseItsOtherArguments) {
    kel_record *record = make(0);
    kel_walk_pair pair{
        reinterpret_cast<kel_walk_function>(reinterpret_cast<void (*)()>(join_further)), nullptr};
    const auto wide =
        reinterpret_cast<WideWalk>(reinterpret_cast<void (*)()>(s.index.internal_walk));
    EXPECT_EQ(wide(&record->index_node, &pair, 4, 2, 7, 5), 4275U);
}
#endif

TEST_P(Walk, TheUnorderedTraversalDoesNothing) {
    put(0);
    const kel_table before = *table;
    services.clear();
    s.index.unordered_traversal();
    EXPECT_TRUE(services.calls().empty());
    EXPECT_EQ(0, std::memcmp(&before, table, sizeof before));
}

TEST_P(Walk, CallsTheTreesWalkWithTheTablesCallback) {
    put(0);
    Visits visits;
    services.clear();
    s.index.walk(table, note_visit, &visits, &err);
    s.cr.walk(handle, table, 0, note_visit, &visits);
    ASSERT_EQ(services.calls().size(), 2U);
    for (const ServiceCall &call : services.calls("e_avl_walk")) {
        EXPECT_EQ(call.arguments_in(0, 2),
                  (std::vector<u64>{word(table->index_root), word(s.index.internal_walk)}));
    }
}

TEST_P(Walk, StoresNothingAndKeepsTheLastError) {
    put(0);
    put(1);
    handle->last_error = EINVAL;
    const kel_table before = *table;
    HookRecorder hooks(handle);
    Visits visits;
    s.index.walk(table, note_visit, &visits, &err);
    EXPECT_EQ(visits.records.size(), 2U);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(0, std::memcmp(&before, table, sizeof before));
}

TEST_P(Walk, OfAnEmptyTableVisitsNothing) {
    Visits visits;
    s.index.walk(table, note_visit, &visits, &err);
    s.cr.walk(handle, table, 0, note_visit, &visits);
    EXPECT_TRUE(visits.records.empty());
    EXPECT_EQ(err, 0U);
}

TEST_P(Walk, ByAnUnknownKeyIsTracedEvenWithAnErrorSet) {
    put(0);
    Visits visits;
    handle->last_error = EEXIST;
    TraceCapture trace;
    s.cr.walk(handle, table, 0xffffffffU, note_visit, &visits);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): unknow key:-1"), 1U) << trace.all();
    EXPECT_EQ(handle->last_error, EEXIST);
    EXPECT_TRUE(visits.records.empty());
}

}  // namespace
}  // namespace tarn::test
