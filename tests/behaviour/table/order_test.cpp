// SPDX-License-Identifier: Apache-2.0
// The total order of an index: tenant, then key, then source.
#include <algorithm>
#include <cerrno>
#include <random>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

constexpr u32 before = 0;
constexpr u32 equal = 1;
constexpr u32 after = 2;

u32 order_of(std::size_t a, std::size_t b) {
    if (a == b) return equal;
    return a < b ? before : after;
}

class IndexOrder : public TableTest {
 protected:
    u32 order(const kel_record *a, const kel_record *b) {
        return s.index.compare(&a->index_node, &b->index_node);
    }
    kel_record *make_for(u16 tenant, u32 key, u32 src) {
        kel_thread_set_tenant(tenant);
        kel_record *record = make(key, src);
        kel_thread_set_tenant(0);
        return record;
    }
};
TARN_EACH_TABLE_AND_MODE(IndexOrder);

TEST_P(IndexOrder, PutsANullNodeFirst) {
    const kel_record *record = make(1);
    EXPECT_EQ(s.index.compare(nullptr, nullptr), equal);
    EXPECT_EQ(s.index.compare(nullptr, &record->index_node), before);
    EXPECT_EQ(s.index.compare(&record->index_node, nullptr), after);
}

TEST_P(IndexOrder, ComparesTenantThenKeyThenSource) {
    const kel_record *records[] = {
        make_for(0, 0, 1),   make_for(0, 0, 2),     make_for(0, 0, 255),
        make_for(0, 1, 1),   make_for(0, 2, 0),     make_for(1, 0, 1),
        make_for(1, 1, 200), make_for(0x100, 0, 1), make_for(0xffff, 0, 1)};
    const std::size_t n = std::size(records);
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < n; ++j) {
            EXPECT_EQ(order(records[i], records[j]), order_of(i, j)) << i << " and " << j;
        }
    }
}

TEST_P(IndexOrder, FollowsTheKeysAcrossTheirWholeRange) {
    std::vector<const kel_record *> records;
    for (u32 key = 0; key < s.keys && key < 20; ++key) records.push_back(make(key));
    for (std::size_t i = 0; i < records.size(); ++i) {
        for (std::size_t j = 0; j < records.size(); ++j) {
            EXPECT_EQ(order(records[i], records[j]), order_of(i, j)) << i << " and " << j;
        }
    }
}

TEST_P(IndexOrder, OfRecordsWithEqualKeysIsEqual) {
    EXPECT_EQ(order(make(1, 1, 5), make(1, 1, 6)), equal);
}

TEST_P(IndexOrder, PutsARecordWithoutObjectsFirst) {
    const kel_record *empty = s.plain.create_record(handle, tx, &err);
    const kel_record *other = s.plain.create_record(handle, tx, &err);
    const kel_record *full = make(0);
    EXPECT_EQ(order(empty, full), before);
    EXPECT_EQ(order(full, empty), after);
    EXPECT_EQ(order(empty, other), equal);
}

TEST_P(IndexOrder, NeedsNoHandleAndNoService) {
    const kel_record *a = make(0);
    const kel_record *b = make(1);
    handle->last_error = EEXIST;
    services.clear();
    const TraceCapture trace;
    HookRecorder hooks(handle);
    EXPECT_EQ(order(a, b), before);
    EXPECT_EQ(s.index.compare(nullptr, &b->index_node), before);
    for (const ServiceCall &call : services.calls()) {
        EXPECT_TRUE(call.name.ends_with("_compare")) << call.name;
    }
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_TRUE(trace.lines.empty());
    EXPECT_EQ(handle->last_error, EEXIST);
}

u32 keep(kel_record *record, void *records) {
    static_cast<std::vector<kel_record *> *>(records)->push_back(record);
    return 0;
}

// A tenant's records are contiguous, and so are a key's sources, with the shadow last.
TEST_P(IndexOrder, IsThatOfTheTreeForAnyOrderOfInserts) {
    std::vector<kel_record *> records;
    for (const u16 tenant : {u16{0}, u16{1}, u16{0xffff}}) {
        for (const u32 key : {0U, 1U, 2U}) {
            for (const u32 src : {0U, 1U, 254U, 255U}) {
                records.push_back(make_for(tenant, key, src));
            }
        }
    }
    std::vector<kel_record *> shuffled = records;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(4));
    for (kel_record *record : shuffled) insert(record);
    std::vector<kel_record *> walked;
    s.index.walk(table, keep, &walked, &err);
    EXPECT_EQ(walked, records);
    EXPECT_EQ(table->record_count, records.size());
}

}  // namespace
}  // namespace tarn::test
