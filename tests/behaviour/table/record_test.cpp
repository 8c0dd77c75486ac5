// SPDX-License-Identifier: Apache-2.0
// The life of a record: creation, references, destruction, and what they tell
// the hooks.
#include <algorithm>
#include <cstring>
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

kel_object *header_of(void *object) { return static_cast<kel_object *>(object); }

class Records : public TableTest {
 protected:
    kel_variant_usage &usage(kel_record *record) {
        return record->descriptor->variant_info->variants[0];
    }
};
TARN_EACH_TABLE_AND_MODE(Records);

TEST_P(Records, ANewRecordIsEmptyAndHasOneReference) {
    kel_thread_set_tenant(9);
    kel_record *record = s.plain.create_record(handle, tx, &err);
    ASSERT_NE(record, nullptr);
    EXPECT_STREQ(record->descriptor->kind, "table_record");
    EXPECT_EQ(std::string(s.name) + "_record", record->descriptor->name);
    EXPECT_EQ(record->descriptor == s.record_descriptor, GetParam().mode != Mode::store_types);
    EXPECT_EQ(record->table, nullptr);
    EXPECT_EQ(record->ra_uuid, 0U);
    EXPECT_EQ(record->ra_byte, 0U);
    EXPECT_EQ(record->ref_count, 1U);
    EXPECT_EQ(record->tenant_id, 9U);
    EXPECT_EQ(record->flags, 0U);
    EXPECT_EQ(record->src, KEL_SOURCE_DEFAULT);
    EXPECT_EQ(record->object, nullptr);
    if (s.has_key_object()) {
        EXPECT_EQ(record->key_object, nullptr);
    }
    destroy(record);
}

TEST_P(Records, CreationTellsTheHooksOfTheDescriptorAndTheCounter) {
    destroy(s.plain.create_record(handle, tx, &err));  // descriptors are resolved
    begin();
    HookRecorder hooks(handle);
    kel_record *record = s.unsafe.create_record(handle, tx, &err);
    const u64 created = usage(record).created;
    std::vector<HookEvent> events;
    for (const HookEvent &event : hooks.events) {
        if (event.hook != Hook::type_map_lookup) events.push_back(event);
    }
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].hook, Hook::alloc);
    EXPECT_EQ(events[0].length, s.record_size());
    EXPECT_EQ(events[0].address, record);
    EXPECT_EQ(events[1].hook, Hook::write_log);
    EXPECT_EQ(events[1].address, record);
    EXPECT_EQ(events[1].before, std::vector<u8>(8, 0));
    EXPECT_EQ(events[2].hook, Hook::delta_log);
    EXPECT_EQ(events[2].address, &usage(record).created);
    EXPECT_EQ(events[2].delta, 1);
    EXPECT_EQ(events[2].counter_before, created - 1);
    for (const HookEvent &event : events) EXPECT_EQ(event.tx_id, tx);
    commit();
}

TEST_P(Records, CreationTracesItsCorrelation) {
    TraceCapture trace;
    kel_record *record = s.plain.create_record(handle, tx, &err);
    EXPECT_TRUE(trace.has(KEL_TRACE_VERBOSE, "(verbose): CREATE: set uuid in OM record to 0 "))
        << trace.all();
    EXPECT_EQ(spies.count("kellib_record_update_ra_all"), 0U);
    destroy(record);

    kel_thread_set_correlation(77, 0);
    record = s.plain.create_record(handle, tx, &err);
    EXPECT_TRUE(trace.has(KEL_TRACE_VERBOSE, "(verbose): CREATE: set uuid in OM record to 77 "));
    EXPECT_EQ(record->ra_uuid, 77U);
    EXPECT_EQ(spies.of("kellib_record_update_ra_all").at(0).subject, record);
    EXPECT_EQ(spies.of("kellib_record_update_ra_all").at(0).arguments, (std::vector<u64>{77, 0}));
    destroy(record);
}

TEST_P(Records, AMarkAloneIsACorrelationToo) {
    spies.wishes.correlation = 0;
    spies.wishes.correlation_mark = 3;
    kel_record *record = s.plain.create_record(handle, tx, &err);
    EXPECT_EQ(spies.of("kellib_record_update_ra_all").at(0).arguments, (std::vector<u64>{0, 3}));
    EXPECT_EQ(record->ra_byte, 3U);
    destroy(record);
}

TEST_P(Records, CreationRunsWithAnErrorAndClearsIt) {
    err = 5;
    handle->last_error = 22;
    kel_record *record = s.plain.create_record(handle, tx, &err);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 22U);
    destroy(record);
}

TEST_P(Records, CreationTakesAnySourceByItsLowByte) {
    kel_record *shadow = s.create_record_w_src(handle, tx, 255, &err);
    EXPECT_EQ(shadow->src, KEL_SOURCE_SHADOW);
    kel_record *wrapped = s.create_record_w_src(handle, tx, 258, &err);
    EXPECT_EQ(wrapped->src, 2U);
    destroy(shadow);
    destroy(wrapped);
}

TEST_P(Records, CreationWithoutMemoryAnswersNullWithoutAnyError) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    EXPECT_EQ(s.plain.create_record(handle, tx, &err), nullptr);
    EXPECT_EQ(err, 0U);
    err = 5;
    EXPECT_EQ(s.create_record_w_src(handle, tx, 1, &err), nullptr);
    EXPECT_EQ(err, 5U);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_P(Records, TheCrCreationMakesTheObjectsOnDemandWithoutMarkingThem) {
    handle->last_error = 22;
    kel_record *bare = s.cr.create(handle, 0);
    ASSERT_NE(bare, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(bare->object, nullptr);
    EXPECT_EQ(bare->src, KEL_SOURCE_DEFAULT);

    HookRecorder hooks(handle);
    kel_record *record = s.cr.create(handle, 1);
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    ASSERT_NE(record->object, nullptr);
    EXPECT_STREQ(header_of(record->object)->descriptor->name, s.object.type_name);
    EXPECT_EQ(header_of(record->object)->flags & OBJ_EMBEDDED, 0);
    EXPECT_FALSE(hooks.announced(&record->object, 8));
    if (s.has_key_object()) {
        ASSERT_NE(record->key_object, nullptr);
        EXPECT_EQ(header_of(record->key_object)->flags & OBJ_EMBEDDED, 0);
        EXPECT_FALSE(hooks.announced(&record->key_object, 8));
    }
    s.cr.destroy(handle, record);
    s.cr.destroy(handle, bare);
}

TEST_P(Records, TheCrFormsUseTheHandlesTransaction) {
    begin();
    handle->cr_tx_id = tx;
    HookRecorder hooks(handle);
    kel_record *record = s.cr.create(handle, 1);
    s.cr.destroy(handle, record);
    for (const HookEvent &event : hooks.events) {
        if (event.hook == Hook::alloc || event.hook == Hook::write_log ||
            event.hook == Hook::delta_log || event.hook == Hook::free) {
            EXPECT_EQ(event.tx_id, tx);
        }
    }
    EXPECT_GT(hooks.count(Hook::free), 0U);
    handle->cr_tx_id = KEL_TX_NONE;
    commit();
}

TEST_P(Records, TheCrCreationWithoutMemoryAnswersFallbacks) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_record *bare = s.cr.create(handle, 0);
    ASSERT_NE(bare, nullptr);
    EXPECT_EQ(handle->last_error, 0U);  // cleared like any error at creation
    EXPECT_EQ(bare->ref_count, 1U);
    EXPECT_EQ(bare->src, KEL_SOURCE_DEFAULT);
    EXPECT_NE(bare->descriptor, nullptr);

    kel_record *record = s.cr.create(handle, 1);
    EXPECT_EQ(record, bare);
    EXPECT_EQ(handle->last_error, 12U);  // that of the object
    EXPECT_NE(record->object, nullptr);
    EXPECT_EQ(record->object, s.object.create_cr(handle));
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    kel_clear_last_error(handle);
    s.cr.destroy(handle, record);
}

TEST_P(Records, AFallbackRecordIsDestroyedInAllStepsButGivenBack) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_record *record = s.cr.create(handle, 0);
    kel_variant_usage &counters = usage(record);
    const u64 destroyed = counters.destroyed;
    hooks.clear();
    s.cr.destroy(handle, record);
    EXPECT_EQ(counters.destroyed, destroyed + 1);
    EXPECT_EQ(record->ref_count, 0U);
    EXPECT_EQ(record->descriptor, nullptr);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_P(Records, AReferenceIsAddedWithoutTellingAHook) {
    kel_record *record = make(1);
    HookRecorder hooks(handle);
    err = 5;
    EXPECT_EQ(s.plain.add_ref(handle, tx, record, &err), 1U);
    EXPECT_EQ(s.unsafe.add_ref(handle, tx, record, &err), 2U);
    EXPECT_EQ(err, 5U);
    EXPECT_EQ(record->ref_count, 3U);
    EXPECT_TRUE(hooks.events.empty());
}

TEST_P(Records, ANullRecordIsErrorTwoForReferencesAndDestruction) {
    EXPECT_EQ(s.plain.add_ref(handle, tx, nullptr, &err), 0U);
    EXPECT_EQ(err, 2U);
    EXPECT_EQ(handle->last_error, 2U);
    kel_clear_last_error(handle);
    err = 0;
    s.plain.destroy_record(handle, tx, nullptr, &err);
    EXPECT_EQ(err, 2U);
    EXPECT_EQ(handle->last_error, 2U);
}

TEST_P(Records, EachReferenceIsGivenBackWithOneDestroy) {
    const u64 blocks = settled_blocks();
    kel_record *record = make(1);
    kel_variant_usage &counters = usage(record);
    const u64 destroyed = counters.destroyed;
    s.plain.add_ref(handle, tx, record, &err);
    s.plain.add_ref(handle, tx, record, &err);
    for (u32 left = 2; left > 0; --left) {
        HookRecorder hooks(handle);
        destroy(record);
        EXPECT_EQ(record->ref_count, left);
        ASSERT_EQ(hooks.events.size(), 1U);
        EXPECT_EQ(hooks.events[0].hook, Hook::write_log);
        EXPECT_EQ(hooks.events[0].address, &record->ref_count);
        EXPECT_EQ(hooks.events[0].length, 4U);
        EXPECT_EQ(hooks.events[0].before[0], left + 1);
    }
    EXPECT_EQ(counters.destroyed, destroyed);
    destroy(record);
    EXPECT_EQ(counters.destroyed, destroyed + 1);
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_P(Records, DestructionTellsTheHooksInOrder) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    kel_variant_usage &counters = usage(record);
    const kel_type_info *descriptor = record->descriptor;
    HookRecorder hooks(handle);
    s.unsafe.destroy_record(handle, tx, record, &err);
    ASSERT_EQ(hooks.events.size(), 4U);
    EXPECT_EQ(hooks.events[0].address, &record->ref_count);
    EXPECT_EQ(hooks.events[1].hook, Hook::delta_log);
    EXPECT_EQ(hooks.events[1].address, &counters.destroyed);
    EXPECT_EQ(hooks.events[1].delta, 1);
    EXPECT_EQ(hooks.events[2].hook, Hook::write_log);
    EXPECT_EQ(hooks.events[2].address, record);
    ASSERT_EQ(hooks.events[2].length, 8U);
    EXPECT_EQ(0, std::memcmp(hooks.events[2].before.data(), &descriptor, 8));
    EXPECT_EQ(hooks.events[3].hook, Hook::free);
    EXPECT_EQ(hooks.events[3].address, record);
}

TEST_P(Records, AnInsertedRecordLeavesTheIndexBeforeItsObjectsGo) {
    kel_record *record = put(1, 7);
    put(2);
    const void *object = record->object;
    HookRecorder hooks(handle);
    destroy(record);
    EXPECT_EQ(table->record_count, 1U);
    EXPECT_EQ(table->src_counts[7], 0U);
    EXPECT_EQ(find(1, 7), nullptr);
    const auto position = [&](const auto &matches) {
        return std::find_if(hooks.events.begin(), hooks.events.end(), matches) -
               hooks.events.begin();
    };
    const auto unlinked = position([&](const HookEvent &event) {
        return event.hook == Hook::write_log && event.address == &record->table;
    });
    const auto freed = position([&](const HookEvent &event) {
        return event.hook == Hook::free && event.address == object;
    });
    EXPECT_LT(unlinked, freed);
    EXPECT_LT(freed, static_cast<std::ptrdiff_t>(hooks.events.size()));
}

TEST_P(Records, DestructionGoesOnWhenTheDeleteIsRefused) {
    kel_record *record = put(1);
    kel_table_set_replication(handle, tx, table, 1, 0);
    TraceCapture trace;
    HookRecorder hooks(handle);
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, std::string("(ERR): Error 22 deleting ") + s.name +
                                               " record when destroying"),
              1U)
        << trace.all();
    EXPECT_EQ(table->record_count, 1U);
    EXPECT_EQ(hooks.of(Hook::free).back().address, record);
}

TEST_P(Records, AnErrorOnEntryKeepsTheDeleteFromRunning) {
    kel_record *record = put(1);
    TraceCapture trace;
    err = 5;
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, std::string("(ERR): Error 5 deleting ") + s.name +
                                               " record when destroying"))
        << trace.all();
    EXPECT_EQ(spies.count("e_avl_delete"), 0U);
}

TEST_P(Records, AMappedRecordIsUnmappedWhereTheHandleKeepsMappings) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    record->flags |= KEL_RECORD_HD_MAPPED;
    const uintptr_t enabled = handle->hd_mapping_enabled;
    handle->hd_mapping_enabled = 0;
    s.plain.add_ref(handle, tx, record, &err);
    destroy(record);
    EXPECT_EQ(spies.count("kel_hd_mapping_destroy"), 0U);
    handle->hd_mapping_enabled = 1;
    spies.clear();
    destroy(record);
    ASSERT_EQ(spies.count("kel_hd_mapping_destroy"), 1U);
    EXPECT_EQ(spies.of("kel_hd_mapping_destroy").at(0).subject, record);

    record = s.plain.create_record(handle, tx, &err);
    record->flags |= KEL_RECORD_HD_MAPPED;
    handle->hd_mapping_enabled = 0;
    spies.clear();
    destroy(record);
    EXPECT_EQ(spies.count("kel_hd_mapping_destroy"), 0U);
    handle->hd_mapping_enabled = enabled;
}

TEST_P(Records, AFailedUnmappingLeavesTheBlockBehind) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    record->flags |= KEL_RECORD_HD_MAPPED;
    handle->hd_mapping_enabled = 1;
    spies.wishes.hd_mapping_error = 22;
    TraceCapture trace;
    HookRecorder hooks(handle);
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 22U);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR,
                          std::string("(ERR): ") + s.name +
                              " destroy: Failed to remove oid mapping for object. Error " +
                              std::strerror(22)),
              1U)
        << trace.all();
    EXPECT_NE(record->descriptor, nullptr);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
}

TEST_P(Records, DestroyIsRequestedOnReplicatedTablesAlone) {
    kel_record *record = put(1);
    s.plain.request_destroy(handle, tx, table, record, &err);
    EXPECT_EQ(err, 22U);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_EQ(spies.count("keldb_request_record_destroy"), 0U);

    kel_table_set_replication(handle, tx, table, 1, 0);
    err = 0;
    s.plain.request_destroy(handle, tx, table, nullptr, &err);
    EXPECT_EQ(err, 22U);
    s.plain.request_destroy(handle, tx, table, record, &err);  // entered with an error
    EXPECT_EQ(spies.count("keldb_request_record_destroy"), 0U);

    err = 0;
    s.unsafe.request_destroy(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_NE(record->flags & KEL_RECORD_PENDING_DESTROY, 0);
    EXPECT_EQ(record->ref_count, 1U);
    EXPECT_EQ(record->table, table);
    EXPECT_EQ(find(1), record);
}

TEST_P(Records, AFailedRequestIsTraced) {
    kel_record *record = put(1);
    kel_table_set_replication(handle, tx, table, 1, 0);
    spies.wishes.request_destroy_error = 12;
    TraceCapture trace;
    s.plain.request_destroy(handle, tx, table, record, &err);
    EXPECT_EQ(err, 12U);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          std::string("(ERR): ") + s.name + " request destroy record failed"))
        << trace.all();
}

TEST_P(Records, APkeyIsAnObjectOfTheKeysType) {
    const u64 blocks = settled_blocks();
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        void *pkey = form->pkey_create(handle, tx);
        ASSERT_NE(pkey, nullptr);
        EXPECT_STREQ(header_of(pkey)->descriptor->name,
                     s.has_key_object() ? s.key_object.type_name : s.object.type_name);
        form->pkey_destroy(handle, tx, pkey);
    }
    s.plain.pkey_destroy(handle, tx, nullptr);
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_P(Records, ADeletedRecordCanBeInsertedAgain) {
    kel_record *record = put(1);
    remove(record);
    EXPECT_EQ(record->table, nullptr);
    insert(record);
    EXPECT_EQ(find(1), record);
    destroy(record);
}

class RecordDescriptors : public ::testing::Test, protected TableFixture {
 protected:
    RecordDescriptors() : TableFixture(ldap_conn, Mode::store_types) {
        descriptor = *s.record_descriptor;
        descriptor.variant_info = &variants;
        spies.wishes.descriptor = &descriptor;
    }
    kel_variant_usage usage = {1, 8, 0, 0, 0, 0};
    kel_variant_info variants = {1, &usage};
    kel_type_info descriptor;
};

TEST_F(RecordDescriptors, WithTooFewVariantsAreTraced) {
    variants.variant_count = -1;
    TraceCapture trace;
    const std::string text = "(info): variant 0 requested only 4294967295 variants present";
    kel_record *record = s.plain.create_record(handle, tx, &err);
    EXPECT_EQ(trace.count(KEL_TRACE_INFO, text), 1U) << trace.all();
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(trace.count(KEL_TRACE_INFO, text), 2U) << trace.all();
    EXPECT_EQ(usage.created, 1U);
    EXPECT_EQ(usage.destroyed, 1U);
    EXPECT_EQ(usage.live, 0U);
}

using RecordDeathTest = RecordDescriptors;

TEST_F(RecordDeathTest, ADescriptorWithoutVariantsEndsTheProcess) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    descriptor.variant_info = nullptr;
    EXPECT_DEATH(s.plain.create_record(handle, tx, &err), "\\(FATAL\\): varinfo is NULL");
    EXPECT_DEATH(s.plain.destroy_record(handle, tx, record, &err), "\\(FATAL\\): varinfo is NULL");
}

TEST_F(RecordDeathTest, ACorruptDescriptorEndsTheProcessAtDestruction) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    descriptor.magic = 1;
    EXPECT_DEATH(s.plain.destroy_record(handle, tx, record, &err),
                 "\\(FATAL\\): tinfo is null or corrupted");
    record->descriptor = nullptr;
    EXPECT_DEATH(s.plain.destroy_record(handle, tx, record, &err),
                 "\\(FATAL\\): tinfo is null or corrupted");
}

}  // namespace
}  // namespace tarn::test
