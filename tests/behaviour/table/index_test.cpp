// SPDX-License-Identifier: Apache-2.0
// Insert and delete: tree, link, counters and flags, in this order.
#include <cerrno>
#include <cstring>
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

constexpr char modified_text[] = "(verbose): Record was modified. Done resetting modified bit.";

class InsertDelete : public TableTest {
 protected:
    std::string text(const std::string &before, const std::string &after) {
        return "(ERR): " + before + s.name + after;
    }
    std::string exists() {
        return text("", std::string(" insert record exists for ") + s.key_label);
    }
    std::string not_found() {
        return text("", std::string(" delete, record not found for ") + s.key_label);
    }
    // A store in the table or the record, and the value before it.
    struct Write {
        const void *address;
        std::size_t length;
        u64 before;
    };
    void expect_writes(const std::vector<HookEvent> &events, const std::vector<Write> &expected) {
        ASSERT_EQ(events.size(), expected.size());
        for (std::size_t i = 0; i < events.size(); ++i) {
            SCOPED_TRACE(i);
            EXPECT_EQ(events[i].hook, Hook::write_log);
            EXPECT_EQ(events[i].address, expected[i].address);
            EXPECT_EQ(events[i].tx_id, tx);
            ASSERT_EQ(events[i].length, expected[i].length);
            EXPECT_EQ(
                0, std::memcmp(events[i].before.data(), &expected[i].before, expected[i].length));
        }
    }
};
TARN_EACH_TABLE_AND_MODE(InsertDelete);

TEST_P(InsertDelete, InsertLinksTheRecordAndCountsIt) {
    kel_record *record = make(1, 7);
    s.plain.insert(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(record->table, table);
    EXPECT_EQ(record->flags, KEL_RECORD_IN_INDEX);
    EXPECT_EQ(table->record_count, 1U);
    EXPECT_EQ(table->src_counts[7], 1U);
    EXPECT_EQ(table->src_counts[1], 0U);
    EXPECT_NE(table->index_root, nullptr);
    EXPECT_EQ(services.count("keldb_update_tenant_counter"), 0U);
    EXPECT_EQ(services.count("keldb_enq_rec_move_write_cursor_internal"), 0U);
}

TEST_P(InsertDelete, InsertAnnouncesEachStoreBeforeIt) {
    kel_record *record = make(1, 7);
    // Clears the modified marks, so that only the insert itself announces stores.
    s.plain.is_modified(handle, tx, record, &err);
    begin();
    HookRecorder hooks(handle);
    services.clear();
    s.plain.insert(handle, tx, table, record, &err);
    expect_writes(hooks.events, {{&record->table, 8, 0},
                                 {&table->record_count, 4, 0},
                                 {&table->src_counts[7], 4, 0},
                                 {&record->flags, 1, 0}});
    EXPECT_EQ(services.order({"e_avl_insert", "write_log_hook", "mt_get_tenant_id"}),
              "e_avl_insert write_log_hook write_log_hook write_log_hook mt_get_tenant_id "
              "write_log_hook");
    commit();
}

TEST_P(InsertDelete, ARecordWithTheSameKeyAndSourceIsRefused) {
    put(1);
    kel_record *second = make(1);
    second->flags = KEL_RECORD_PKEY_INSERTED;
    const kel_record before = *second;
    TraceCapture trace;
    HookRecorder hooks(handle);
    s.plain.insert(handle, tx, table, second, &err);
    EXPECT_EQ(err, EEXIST);
    EXPECT_EQ(handle->last_error, EEXIST);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, exists()), 1U) << trace.all();
    EXPECT_EQ(0, std::memcmp(&before, second, s.record_size()));
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(table->record_count, 1U);
    err = 0;
    s.plain.pkey_insert(handle, tx, table, second, &err);
    EXPECT_EQ(err, EEXIST);
    EXPECT_EQ(s.cr.insert(handle, table, second), EEXIST);
}

TEST_P(InsertDelete, AKeyCanExistOncePerSource) {
    kel_record *first = put(1);
    kel_record *second = put(1, 7);
    EXPECT_EQ(table->record_count, 2U);
    EXPECT_EQ(find(1), first);
    EXPECT_EQ(find(1, 7), second);
    const Key key(s, handle, 1);
    EXPECT_EQ(s.plain.search(handle, tx, table, key.value(), &err), first);
}

TEST_P(InsertDelete, AnEmptyKeyIsAValidKey) {
    kel_record *records[2];
    for (kel_record *&record : records) {
        record = s.plain.create_record(handle, tx, &err);
        s.object.set(handle, tx, record, s.object.type->create(handle, tx));
        if (s.has_key_object()) {
            s.key_object.set(handle, tx, record, s.key_object.type->create(handle, tx));
        }
    }
    put(2);
    insert(records[0]);
    EXPECT_EQ(s.by_key.first(handle, tx, table, &err), records[0]);
    s.plain.insert(handle, tx, table, records[1], &err);
    EXPECT_EQ(err, EEXIST);
}

TEST_P(InsertDelete, InsertByKeySetsItsBitAndPlainInsertClearsIt) {
    constexpr u8 in_index = KEL_RECORD_IN_INDEX, by_key = KEL_RECORD_PKEY_INSERTED,
                 pending = KEL_RECORD_PENDING_DESTROY, mapped = KEL_RECORD_HD_MAPPED;
    const struct {
        bool with_key;
        int before, inserted, removed;
    } cases[] = {
        {true, 0, in_index | by_key, in_index},
        {true, pending, in_index | by_key, in_index},
        {false, 0, in_index, in_index},
        {false, by_key | pending | mapped, in_index | mapped, in_index | mapped},
    };
    kel_record *record = make(1);
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        for (const auto &c : cases) {
            SCOPED_TRACE(::testing::Message()
                         << (c.with_key ? "pkey_insert" : "insert") << " on flags " << c.before);
            record->flags = static_cast<u8>(c.before);
            (c.with_key ? form->pkey_insert : form->insert)(handle, tx, table, record, &err);
            EXPECT_EQ(err, 0U);
            EXPECT_EQ(record->flags, c.inserted);
            remove(record);
            EXPECT_EQ(record->flags, c.removed);
        }
    }
}

TEST_P(InsertDelete, InsertClearsTheModifiedMarks) {
    kel_record *record = make(1, 1, 5);
    TraceCapture trace;
    insert(record);
    EXPECT_EQ(trace.count(KEL_TRACE_VERBOSE, modified_text), s.has_key_object() ? 2U : 1U)
        << trace.all();
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 0U);
    remove(record);
    insert(record);
    EXPECT_EQ(trace.count(KEL_TRACE_VERBOSE, modified_text), s.has_key_object() ? 2U : 1U);
}

TEST_P(InsertDelete, DeleteRemovesTheRecordAndKeepsTheIndexBit) {
    kel_record *record = put(1, 7);
    put(2);
    services.clear();
    s.plain.remove(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(record->table, nullptr);
    EXPECT_EQ(record->flags, KEL_RECORD_IN_INDEX);
    EXPECT_EQ(record->ref_count, 1U);
    EXPECT_EQ(table->record_count, 1U);
    EXPECT_EQ(table->src_counts[7], 0U);
    EXPECT_EQ(table->src_counts[1], 1U);
    EXPECT_EQ(find(1, 7), nullptr);
    EXPECT_EQ(services.count("keldb_update_tenant_counter"), 0U);
}

TEST_P(InsertDelete, DeleteKeepsTheBitOfAPendingRecord) {
    kel_record *record = put(1);
    set_pending(record);
    remove(record);
    EXPECT_EQ(record->flags, KEL_RECORD_IN_INDEX | KEL_RECORD_PENDING_DESTROY);
    insert(record);
    EXPECT_EQ(record->flags, KEL_RECORD_IN_INDEX);
}

TEST_P(InsertDelete, DeleteAnnouncesEachStoreBeforeIt) {
    kel_record *record = make(1, 7);
    s.plain.pkey_insert(handle, tx, table, record, &err);
    begin();
    HookRecorder hooks(handle);
    services.clear();
    s.unsafe.remove(handle, tx, table, record, &err);
    expect_writes(hooks.events,
                  {{&record->table, 8, word(table)},
                   {&record->flags, 1, KEL_RECORD_IN_INDEX | KEL_RECORD_PKEY_INSERTED},
                   {&table->record_count, 4, 1},
                   {&table->src_counts[7], 4, 1}});
    EXPECT_EQ(services.order({"e_avl_delete", "write_log_hook"}),
              "e_avl_delete write_log_hook write_log_hook write_log_hook write_log_hook");
    commit();
}

TEST_P(InsertDelete, DeleteStoresNoFlagsWithoutTheBit) {
    kel_record *record = put(1);
    HookRecorder hooks(handle);
    remove(record);
    EXPECT_EQ(hooks.events.size(), 3U);
    EXPECT_FALSE(hooks.announced(&record->flags, 1));
}

TEST_P(InsertDelete, DeletingARecordThatWasNeverInsertedClearsItsBit) {
    put(2);
    kel_record *record = make(1);
    record->flags = KEL_RECORD_PKEY_INSERTED;
    record->table = table;
    TraceCapture trace;
    HookRecorder hooks(handle);
    s.plain.remove(handle, tx, table, record, &err);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(handle->last_error, ENOENT);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, not_found()), 1U) << trace.all();
    EXPECT_EQ(record->table, nullptr);
    EXPECT_EQ(record->flags, 0U);
    EXPECT_EQ(hooks.events.size(), 2U);
    EXPECT_EQ(table->record_count, 1U);
    err = 0;
    insert(record);
    EXPECT_EQ(find(1), record);
}

TEST_P(InsertDelete, DeletingARecordKeepsAnEqualOneInTheTree) {
    kel_record *inside = put(1);
    kel_record *outside = make(1);
    s.plain.remove(handle, tx, table, outside, &err);
    EXPECT_EQ(err, ENOENT);
    err = 0;
    EXPECT_EQ(find(1), inside);
    EXPECT_EQ(table->record_count, 1U);
}

TEST_P(InsertDelete, OnlyTheEngineDeletesFromAReplicatedTable) {
    kel_record *record = put(1);
    kel_table_set_replication(handle, tx, table, 1, 0);
    TraceCapture trace;
    s.plain.remove(handle, tx, table, record, &err);
    EXPECT_EQ(err, EINVAL);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR,
                          text("",
                               "_delete() cannot be direclty used when the table is marked "
                               "for replication")),
              1U)
        << trace.all();
    EXPECT_EQ(record->table, table);
    EXPECT_EQ(table->record_count, 1U);
    err = 0;
    EXPECT_EQ(find(1), record);

    handle->replication_engine_active = 1;
    s.plain.remove(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(find(1), nullptr);
    handle->replication_engine_active = 0;
}

TEST_P(InsertDelete, ACountOfZeroIsTracedAndNotDecremented) {
    kel_thread_set_tenant(5);
    const struct {
        u32 count, src_count;  // neither changes
        const char *text;
    } cases[] = {{0, 1, " delete: record count already 0!"},
                 {3, 0, " delete: src(7) record count already 0!"}};
    kel_record *record = make(1, 7);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        insert(record);
        table->record_count = c.count;
        table->src_counts[7] = c.src_count;
        services.clear();
        TraceCapture trace;
        s.plain.remove(handle, tx, table, record, &err);
        EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, text("", c.text))) << trace.all();
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(table->record_count, c.count);
        EXPECT_EQ(table->src_counts[7], c.src_count);
        EXPECT_EQ(services.count("keldb_update_tenant_counter"), 0U);
        EXPECT_EQ(record->table, nullptr);
        EXPECT_EQ(find(1, 7), nullptr);
    }
}

TEST_P(InsertDelete, ATenantsCounterFollowsItsInsertsAndDeletes) {
    kel_thread_set_tenant(5);
    kel_record *record = make(1, 7);
    services.clear();
    insert(record);
    ASSERT_EQ(services.count("keldb_update_tenant_counter"), 1U);
    EXPECT_EQ(services.calls("keldb_update_tenant_counter").at(0).arguments_in(3, 6),
              (std::vector<u64>{1, 5, 7}));
    EXPECT_EQ(table->record_count, 1U);
    EXPECT_EQ(table->src_counts[7], 1U);
    EXPECT_EQ(s.plain.get_count(handle, tx, table), 1U);
    // The caller's tenant is counted, not the record's.
    kel_thread_set_tenant(6);
    services.clear();
    remove(record);
    EXPECT_EQ(services.calls("keldb_update_tenant_counter").at(0).arguments_in(3, 6),
              (std::vector<u64>{0, 6, 7}));
    EXPECT_EQ(table->record_count, 0U);
    EXPECT_EQ(record->tenant_id, 5U);
}

TEST_P(InsertDelete, AnInsertIgnoresAnErrorOfTheTenantCounter) {
    kel_thread_set_tenant(5);
    kel_record *record = make(1);
    services.always_fail("keldb_update_tenant_counter");
    s.plain.insert(handle, tx, table, record, &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(record->flags, KEL_RECORD_IN_INDEX);
    EXPECT_EQ(table->record_count, 1U);
    err = 0;
    s.plain.remove(handle, tx, table, record, &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(table->record_count, 0U);
}

TEST_P(InsertDelete, InsertMovesAnArmedWriteCursorLast) {
    kel_table_set_replication(handle, tx, table, 1, 0);
    put(0);
    EXPECT_EQ(services.count("keldb_enq_rec_move_write_cursor_internal"), 0U);
    kel_table_set_replication(handle, tx, table, 0, 1);
    put(1);
    EXPECT_EQ(services.count("keldb_enq_rec_move_write_cursor_internal"), 0U);
    kel_table_set_replication(handle, tx, table, 1, 1);
    u32 flags_at_the_cursor = 0;
    services.at_each = [&](const ServiceCall &call) {
        if (call.name != "keldb_enq_rec_move_write_cursor_internal") return;
        flags_at_the_cursor = call.pointer<kel_record>(3)->flags;
    };
    kel_record *record = put(2);
    ASSERT_EQ(services.count("keldb_enq_rec_move_write_cursor_internal"), 1U);
    const ServiceCall call = services.calls("keldb_enq_rec_move_write_cursor_internal").at(0);
    EXPECT_EQ(call.pointer<kel_record>(3), record);
    EXPECT_EQ(flags_at_the_cursor, KEL_RECORD_IN_INDEX);

    services.always_fail("keldb_enq_rec_move_write_cursor_internal");
    record = make(0, 7);
    s.plain.insert(handle, tx, table, record, &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(record->table, table);
}

TEST_P(InsertDelete, EnteredWithAnErrorChangeNothing) {
    kel_record *inside = put(1);
    kel_record *outside = make(2);
    handle->last_error = EINVAL;
    err = EIO;
    services.clear();
    HookRecorder hooks(handle);
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        form->insert(handle, tx, table, outside, &err);
        form->pkey_insert(handle, tx, table, outside, &err);
        form->remove(handle, tx, table, inside, &err);
    }
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(s.cr.insert(handle, table, outside), EINVAL);
    EXPECT_EQ(s.cr.remove(handle, table, inside, 0), EINVAL);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_TRUE(services.calls().empty());
}

TEST_P(InsertDelete, TheCrFormsReturnTheLastError) {
    begin();
    handle->cr_tx_id = tx;
    kel_record *record = make(1);
    HookRecorder hooks(handle);
    EXPECT_EQ(s.cr.insert(handle, table, record), 0U);
    EXPECT_EQ(record->flags, KEL_RECORD_IN_INDEX);
    EXPECT_EQ(s.cr.insert(handle, table, record), EEXIST);
    kel_clear_last_error(handle);
    EXPECT_EQ(s.cr.remove(handle, table, record, 0), 0U);
    EXPECT_EQ(record->ref_count, 1U);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    for (const HookEvent &event : hooks.of(Hook::write_log)) EXPECT_EQ(event.tx_id, tx);
    EXPECT_EQ(s.cr.insert(handle, table, record), 0U);
    EXPECT_EQ(s.cr.remove(handle, table, record, 1), 0U);
    EXPECT_EQ(hooks.of(Hook::free).back().address, record);
    handle->cr_tx_id = KEL_TX_NONE;
    commit();
}

TEST_P(InsertDelete, ADeleteWithDestroyClearsTheErrorOfTheDelete) {
    kel_record *record = make(1);
    EXPECT_EQ(s.cr.remove(handle, table, record, 1), 0U);
    EXPECT_EQ(handle->last_error, 0U);
}

}  // namespace
}  // namespace tarn::test
