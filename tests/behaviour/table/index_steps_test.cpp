// SPDX-License-Identifier: Apache-2.0
// The order in which insert and delete change a table and a record: the state at each
// service that they call, and the flags afterwards.
#include <cerrno>
#include <cstring>
#include <map>
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

// The state at the first call of a service.
struct Found {
    const kel_table *link;
    u8 flags;
    u32 count;
    u32 src_count;
};

class IndexSteps : public TableTest {
 protected:
    using Change = void (*)(kel_handle *, u32 tx, kel_table *, kel_record *, u32 *err);

    std::vector<Change> inserts() {
        return {s.plain.insert, s.unsafe.insert, s.plain.pkey_insert, s.unsafe.pkey_insert};
    }
    void watch(const kel_record *record) {
        services.clear();
        services.at_each = [=, this](const ServiceCall &call) {
            found.insert({call.name,
                          {record->table, record->flags, table->record_count,
                           table->src_counts[record->src]}});
        };
    }
    void expect(const char *service, const kel_table *link, u32 flags, u32 count) {
        ASSERT_EQ(found.count(service), 1U) << service;
        EXPECT_EQ(found[service].link, link) << service;
        EXPECT_EQ(found[service].flags, flags) << service;
        EXPECT_EQ(found[service].count, count) << service;
        EXPECT_EQ(found[service].src_count, count) << service;
    }

    std::map<std::string, Found> found;
};
TARN_EACH_TABLE_AND_MODE(IndexSteps);

TEST_P(IndexSteps, InsertUpdatesTreeLinkCountsTenantFlagsAndCursorInThatOrder) {
    kel_thread_set_tenant(5);
    kel_table_set_replication(handle, tx, table, 1, 1);
    kel_record *record = make(1, 7);
    watch(record);
    s.plain.insert(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    expect("e_avl_insert", nullptr, 0, 0);
    expect("kel_get_instance_modified", table, 0, 0);
    expect("keldb_update_tenant_counter", table, 0, 1);
    expect("keldb_enq_rec_move_write_cursor_internal", table, KEL_RECORD_IN_INDEX, 1);
    EXPECT_EQ(services.order({"e_avl_insert", "mt_get_tenant_id", "keldb_update_tenant_counter",
                              "keldb_enq_rec_move_write_cursor_internal"}),
              "e_avl_insert mt_get_tenant_id keldb_update_tenant_counter "
              "keldb_enq_rec_move_write_cursor_internal");
    const ServiceCall counter = services.calls("keldb_update_tenant_counter").at(0);
    EXPECT_EQ(counter.pointer<kel_table>(2), table);
    EXPECT_EQ(counter.tx_id(), tx);
    const ServiceCall cursor = services.calls("keldb_enq_rec_move_write_cursor_internal").at(0);
    EXPECT_EQ(cursor.pointer<kel_table>(2), table);
    EXPECT_EQ(cursor.tx_id(), tx);
}

TEST_P(IndexSteps, DeleteUpdatesTreeLinkFlagCountsAndTenantInThatOrder) {
    kel_thread_set_tenant(5);
    kel_record *record = make(1, 7);
    s.plain.pkey_insert(handle, tx, table, record, &err);
    watch(record);
    s.plain.remove(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    expect("e_avl_delete", table, KEL_RECORD_IN_INDEX | KEL_RECORD_PKEY_INSERTED, 1);
    expect("mt_get_tenant_id", nullptr, KEL_RECORD_IN_INDEX, 0);
    expect("keldb_update_tenant_counter", nullptr, KEL_RECORD_IN_INDEX, 0);
    EXPECT_EQ(services.order({"e_avl_delete", "mt_get_tenant_id", "keldb_update_tenant_counter"}),
              "e_avl_delete mt_get_tenant_id keldb_update_tenant_counter");
}

TEST_P(IndexSteps, BothClearTheLastErrorFirst) {
    kel_record *record = make(1);
    for (const Change entry : inserts()) {
        for (const Change removal : {s.plain.remove, s.unsafe.remove}) {
            for (const Change change : {entry, removal}) {
                handle->last_error = EINVAL;
                services.clear();
                change(handle, tx, table, record, &err);
                EXPECT_EQ(err, 0U);
                EXPECT_EQ(handle->last_error, 0U);
                ASSERT_FALSE(services.calls().empty());
                EXPECT_EQ(services.calls()[0].name, "kel_clear_last_error");
            }
        }
    }
}

TEST_P(IndexSteps, TheTreeGetsTheTablesAnchorsAndOrder) {
    begin();
    kel_record *record = make(1);
    services.clear();
    insert(record);
    remove(record);
    for (const char *service : {"e_avl_insert", "e_avl_delete"}) {
        EXPECT_EQ(services.calls(service).at(0).arguments,
                  (std::vector<u64>{word(handle->arena), tx, word(&table->index_root),
                                    word(&record->index_node), word(&table->index_aux),
                                    word(s.index.compare)}));
    }
    commit();
}

TEST_P(IndexSteps, FlagsAreReadBeforeTheTreeIsChanged) {
    constexpr u8 early = 0x40, late = 0x80;
    kel_record *record = make(1);
    const auto meanwhile = [&](const char *wanted, u8 flags) {
        services.at_each = [=](const ServiceCall &call) {
            if (call.name == wanted) record->flags = flags;
        };
    };
    record->flags = early;
    meanwhile("e_avl_insert", late);
    insert(record);
    EXPECT_EQ(record->flags, early | KEL_RECORD_IN_INDEX);
    // The bit is set after the delete has begun.
    meanwhile("e_avl_delete", KEL_RECORD_PKEY_INSERTED);
    remove(record);
    EXPECT_EQ(record->flags, KEL_RECORD_PKEY_INSERTED);
    services.at_each = nullptr;
    s.plain.pkey_insert(handle, tx, table, record, &err);
    record->flags |= early;
    meanwhile("e_avl_delete", late);
    remove(record);
    EXPECT_EQ(record->flags, early | KEL_RECORD_IN_INDEX);
    services.at_each = nullptr;
    record->flags = 0;
}

TEST_P(IndexSteps, EveryOtherFlagIsKept) {
    kel_record *record = make(1);
    record->flags = 0xff;
    insert(record);
    EXPECT_EQ(record->flags, 0xed);
    record->flags = 0xff;
    remove(record);
    EXPECT_EQ(record->flags, 0xef);
    record->flags = 0xee;
    s.plain.pkey_insert(handle, tx, table, record, &err);
    EXPECT_EQ(record->flags, 0xfd);
    remove(record);
    EXPECT_EQ(record->flags, 0xed);
    record->flags = 0;
}

TEST_P(IndexSteps, AnErrorIsStoredInTheWordBeforeTheHandle) {
    kel_record *inside = put(1);
    kel_record *outside = make(1);
    u32 at_the_store = 0;
    services.at_each = [&](const ServiceCall &call) {
        if (call.name == "kel_store_err") at_the_store = err;
    };
    const auto expect_error = [&](Change change, kel_record *record, u32 error) {
        services.clear();
        at_the_store = 0;
        change(handle, tx, table, record, &err);
        EXPECT_EQ(at_the_store, error);
        ASSERT_EQ(services.count("kel_store_err"), 1U);
        EXPECT_EQ(services.calls("kel_store_err")[0].arguments_in(1, 2), std::vector<u64>{error});
        err = 0;
    };
    for (const Change entry : inserts()) expect_error(entry, outside, EEXIST);
    for (const Change removal : {s.plain.remove, s.unsafe.remove})
        expect_error(removal, outside, ENOENT);
    kel_table_set_replication(handle, tx, table, 1, 0);
    for (const Change removal : {s.plain.remove, s.unsafe.remove})
        expect_error(removal, inside, EINVAL);
}

TEST_P(IndexSteps, ARefusedInsertStopsAtTheTree) {
    kel_thread_set_tenant(5);
    kel_table_set_replication(handle, tx, table, 1, 1);
    put(1, 1, 6);
    kel_record *second = make(1, 1, 5);
    for (const Change entry : inserts()) {
        services.clear();
        entry(handle, tx, table, second, &err);
        EXPECT_EQ(err, EEXIST);
        err = 0;
        EXPECT_EQ(services.count("kel_get_instance_modified"), 0U);
        EXPECT_EQ(services.count("mt_get_tenant_id"), 0U);
        EXPECT_EQ(services.count("keldb_enq_rec_move_write_cursor_internal"), 0U);
    }
    EXPECT_NE(s.plain.is_modified(handle, tx, second, &err), 0U) << "its marks stay";
}

TEST_P(IndexSteps, ARefusedDeleteStopsBeforeTheTree) {
    kel_thread_set_tenant(5);
    kel_record *record = make(1);
    s.plain.pkey_insert(handle, tx, table, record, &err);
    kel_table_set_replication(handle, tx, table, 1, 0);
    const kel_record before = *record;
    HookRecorder hooks(handle);
    for (const Change removal : {s.plain.remove, s.unsafe.remove}) {
        services.clear();
        removal(handle, tx, table, record, &err);
        EXPECT_EQ(err, EINVAL);
        err = 0;
        EXPECT_EQ(services.count("e_avl_delete"), 0U);
        EXPECT_EQ(services.count("mt_get_tenant_id"), 0U);
    }
    EXPECT_EQ(0, std::memcmp(&before, record, s.record_size()));
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(table->record_count, 1U);
}

TEST_P(IndexSteps, ADeleteThatFindsNothingCountsNothing) {
    kel_thread_set_tenant(5);
    put(2);
    kel_record *record = make(1);
    services.clear();
    s.plain.remove(handle, tx, table, record, &err);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(services.count("mt_get_tenant_id"), 0U);
    EXPECT_EQ(services.count("keldb_update_tenant_counter"), 0U);
    EXPECT_EQ(table->record_count, 1U);
    EXPECT_EQ(table->src_counts[1], 1U);
}

TEST_P(IndexSteps, ACountThatIsZeroAlreadyEndsADeleteBeforeTheTenant) {
    kel_thread_set_tenant(5);
    kel_record *record = put(1, 7);
    table->record_count = 0;
    services.clear();
    s.plain.remove(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(services.count("mt_get_tenant_id"), 0U);
    EXPECT_EQ(find(1, 7), nullptr);
    EXPECT_EQ(table->src_counts[7], 1U);
}

TEST_P(IndexSteps, InsertResetsTheMarksOfTheObjectThenThoseOfTheKeyObject) {
    kel_record *record = make(1, 1, 5);
    const auto first_looked_at = [&](const void *object) {
        const std::vector<ServiceCall> calls = services.calls("kel_get_instance_modified");
        std::size_t i = 0;
        while (i < calls.size() && calls[i].pointer<const void>(0) != object) ++i;
        EXPECT_LT(i, calls.size());
        return i;
    };
    services.clear();
    insert(record);
    EXPECT_EQ(first_looked_at(record->object), 0U);
    if (s.has_key_object()) {
        EXPECT_GT(first_looked_at(record->key_object), 0U);
    }
}

TEST_P(IndexSteps, AResetIsTracedOncePerMarkedObject) {
    constexpr char text[] = "(verbose): Record was modified. Done resetting modified bit.";
    kel_record *record = make(1);
    while (s.plain.is_modified(handle, tx, record, &err) != 0) {
    }
    {
        const TraceCapture trace;
        insert(record);
        EXPECT_EQ(trace.count(KEL_TRACE_VERBOSE, text), 0U);
    }
    s.set_value(handle, tx, record->object, 5, &err);
    remove(record);
    const TraceCapture trace;
    insert(record);
    EXPECT_EQ(trace.count(KEL_TRACE_VERBOSE, text), 1U) << trace.all();
}

TEST_P(IndexSteps, ARecordWithoutObjectsCanBeInserted) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    insert(record);
    EXPECT_EQ(record->table, table);
    EXPECT_EQ(table->record_count, 1U);
    EXPECT_EQ(s.by_key.first(handle, tx, table, &err), record);
    remove(record);
    EXPECT_EQ(table->record_count, 0U);
    EXPECT_EQ(err, 0U);
}

TEST_P(IndexSteps, CountsIncludePendingRecordsAndShadows) {
    put(0);
    put(1, KEL_SOURCE_SHADOW);
    kel_record *pending = put(2);
    set_pending(pending);
    EXPECT_EQ(s.plain.get_count(handle, tx, table), 3U);
    EXPECT_EQ(s.plain.get_count_by_src(handle, tx, table, 1), 2U);
    EXPECT_EQ(s.plain.get_count_by_src(handle, tx, table, KEL_SOURCE_SHADOW), 1U);
    EXPECT_EQ(pending->table, table);
    EXPECT_EQ(pending->flags, KEL_RECORD_IN_INDEX | KEL_RECORD_PENDING_DESTROY);
    remove(pending);
    EXPECT_EQ(s.plain.get_count(handle, tx, table), 2U);
}

TEST_P(IndexSteps, ARecordIsOrderedUnderTheTenantItWasCreatedWith) {
    kel_thread_set_tenant(5);
    kel_record *record = make(1, 7);
    kel_thread_set_tenant(6);
    services.clear();
    insert(record);
    EXPECT_EQ(services.calls("keldb_update_tenant_counter").at(0).arguments_in(3, 6),
              (std::vector<u64>{1, 6, 7}));
    EXPECT_EQ(find(1, 7), nullptr);
    kel_thread_set_tenant(5);
    EXPECT_EQ(find(1, 7), record);
}

TEST_P(IndexSteps, TheCrFormInsertsInTheHandlesTransaction) {
    begin();
    handle->cr_tx_id = tx;
    kel_record *record = make(1);
    record->flags = KEL_RECORD_PKEY_INSERTED;
    services.clear();
    EXPECT_EQ(s.cr.insert(handle, table, record), 0U);
    EXPECT_EQ(record->flags, KEL_RECORD_IN_INDEX);
    EXPECT_EQ(services.calls("e_avl_insert").at(0).tx_id(), tx);
    EXPECT_EQ(s.cr.remove(handle, table, record, 0), 0U);
    EXPECT_EQ(services.calls("e_avl_delete").at(0).tx_id(), tx);
    EXPECT_EQ(s.cr.remove(handle, table, record, 0), ENOENT);
    EXPECT_EQ(handle->last_error, ENOENT);
    handle->cr_tx_id = KEL_TX_NONE;
    commit();
}

}  // namespace
}  // namespace tarn::test
