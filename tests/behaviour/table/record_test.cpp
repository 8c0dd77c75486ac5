// SPDX-License-Identifier: Apache-2.0
// Records before their end: creation, references, states, and what is announced.
#include <cerrno>
#include <cstring>
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

class Records : public TableTest {};
TARN_EACH_TABLE_AND_MODE(Records);

TEST_P(Records, ANewRecordIsEmptyAndHasOneReference) {
    kel_thread_set_tenant(9);
    kel_record *record = s.plain.create_record(handle, tx, &err);
    ASSERT_NE(record, nullptr);
    EXPECT_STREQ(record->descriptor->kind, "table_record");
    EXPECT_EQ(std::string(s.name) + "_record", record->descriptor->name);
    EXPECT_EQ(record->descriptor == s.entry.record_descriptor,
              GetParam().mode != Mode::store_types);
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

TEST_P(Records, CreationAnnouncesTheDescriptorAndTheCounter) {
    destroy(s.plain.create_record(handle, tx, &err));  // descriptors are resolved
    begin();
    HookRecorder hooks(handle);
    kel_record *record = s.unsafe.create_record(handle, tx, &err);
    const u64 created = usage_of(record).created;
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
    EXPECT_EQ(events[2].address, &usage_of(record).created);
    EXPECT_EQ(events[2].delta, 1);
    EXPECT_EQ(events[2].counter_before, created - 1);
    for (const HookEvent &event : events) EXPECT_EQ(event.tx_id, tx);
    commit();
}

TEST_P(Records, CreationStoresAndTracesItsCorrelation) {
    const struct {
        u64 uuid;
        u8 mark;
        bool stored;
    } cases[] = {{0, 0, false}, {77, 0, true}, {0, 3, true}};
    for (const auto &c : cases) {
        SCOPED_TRACE(::testing::Message() << "uuid " << c.uuid << ", mark " << unsigned{c.mark});
        kel_thread_set_correlation(c.uuid, c.mark);
        TraceCapture trace;
        services.clear();
        kel_record *record = s.plain.create_record(handle, tx, &err);
        EXPECT_TRUE(trace.has(KEL_TRACE_VERBOSE, "(verbose): CREATE: set uuid in OM record to " +
                                                     std::to_string(c.uuid) + " "))
            << trace.all();
        EXPECT_EQ(record->ra_uuid, c.uuid);
        EXPECT_EQ(record->ra_byte, c.mark);
        const auto updates = services.calls("kellib_record_update_ra_all");
        ASSERT_EQ(updates.size(), c.stored ? 1U : 0U);
        for (const ServiceCall &update : updates) {
            EXPECT_EQ(update.tx_id(), tx);
            EXPECT_EQ(update.arguments_in(2, 5), words(record, c.uuid, c.mark));
        }
        destroy(record);
    }
}

TEST_P(Records, CreationRunsWithAnErrorAndClearsIt) {
    err = EIO;
    handle->last_error = EINVAL;
    kel_record *record = s.plain.create_record(handle, tx, &err);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, EINVAL);
    destroy(record);
}

TEST_P(Records, CreationUsesTheLowByteOfTheSource) {
    const struct {
        u32 given, stored;
    } cases[] = {{0, 0}, {255, KEL_SOURCE_SHADOW}, {256, 0}, {258, 2}};
    for (const auto &c : cases) {
        kel_record *record = s.create_record_w_src(handle, tx, c.given, &err);
        EXPECT_EQ(record->src, c.stored) << c.given;
        destroy(record);
    }
}

TEST_P(Records, CreationWithoutMemoryReturnsNullAndStoresNoError) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    EXPECT_EQ(s.plain.create_record(handle, tx, &err), nullptr);
    EXPECT_EQ(err, 0U);
    err = EIO;
    EXPECT_EQ(s.create_record_w_src(handle, tx, 1, &err), nullptr);
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(services.count("kel_store_err"), 0U);
}

TEST_P(Records, TheCrCreationCreatesObjectsOnRequestUnmarked) {
    handle->last_error = EINVAL;
    kel_record *bare = s.cr.create(handle, 0);
    ASSERT_NE(bare, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(bare->object, nullptr);
    EXPECT_EQ(bare->src, KEL_SOURCE_DEFAULT);

    HookRecorder hooks(handle);
    kel_record *record = s.cr.create(handle, 1);
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    ASSERT_NE(record->object, nullptr);
    EXPECT_STREQ(header_of(record->object)->descriptor->name, s.object.type->name.data());
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

TEST_P(Records, TheCrCreationWithoutMemoryReturnsFallbacks) {
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
    EXPECT_EQ(handle->last_error, ENOMEM);  // that of the object
    EXPECT_NE(record->object, nullptr);
    EXPECT_EQ(record->object, s.object.create_cr(handle));
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    kel_clear_last_error(handle);
    s.cr.destroy(handle, record);
}

TEST_P(Records, AddingAReferenceCallsNoHook) {
    kel_record *record = make(1);
    HookRecorder hooks(handle);
    err = EIO;
    EXPECT_EQ(s.plain.add_ref(handle, tx, record, &err), 1U);
    EXPECT_EQ(s.unsafe.add_ref(handle, tx, record, &err), 2U);
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(record->ref_count, 3U);
    EXPECT_TRUE(hooks.events.empty());
}

TEST_P(Records, ReferencesAndDestructionOfNullFailWithEnoent) {
    EXPECT_EQ(s.plain.add_ref(handle, tx, nullptr, &err), 0U);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(handle->last_error, ENOENT);
    kel_clear_last_error(handle);
    err = 0;
    s.plain.destroy_record(handle, tx, nullptr, &err);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(handle->last_error, ENOENT);
}

TEST_P(Records, APkeyIsAnObjectOfTheKeyType) {
    const u64 blocks = settled_blocks();
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        void *pkey = form->pkey_create(handle, tx);
        ASSERT_NE(pkey, nullptr);
        EXPECT_STREQ(header_of(pkey)->descriptor->name, s.has_key_object()
                                                            ? s.key_object.type->name.data()
                                                            : s.object.type->name.data());
        form->pkey_destroy(handle, tx, pkey);
    }
    s.plain.pkey_destroy(handle, tx, nullptr);
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_P(Records, CreationRegistersTheTraceModuleBeforeItAllocates) {
    services.clear();
    handle->last_error = EINVAL;
    s.plain.create_record(handle, tx, &err);
    EXPECT_EQ(services.calls().at(0).name, "ptrail_module_init_fn");
    EXPECT_EQ(services.calls().at(0).text, "kel_tarnbase_type");
    EXPECT_EQ(services.order({"kel_clear_last_error", "ptrail_get_radioactive_bit", "kel_store_err",
                              "mt_get_tenant_id"}),
              "ptrail_get_radioactive_bit mt_get_tenant_id");
    EXPECT_EQ(handle->last_error, EINVAL);
}

TEST_P(Records, CreationZeroesTheBlock) {
    HookRecorder hooks(handle);
    hooks.fill_allocations(true);
    kel_record *record = s.plain.create_record(handle, tx, &err);
    kel_record expected = {};
    expected.descriptor = record->descriptor;
    expected.ref_count = 1;
    expected.src = KEL_SOURCE_DEFAULT;
    EXPECT_EQ(0, std::memcmp(&expected, record, s.record_size()));
}

TEST_P(Records, TheFallbackRecordIsResetEachTime) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_record *record = s.cr.create(handle, 0);
    const kel_record fresh = *record;
    record->object = &err;
    record->flags = KEL_RECORD_IN_INDEX;
    record->table = table;
    record->src = 7;
    EXPECT_EQ(s.cr.create(handle, 0), record);
    EXPECT_EQ(0, std::memcmp(&fresh, record, s.record_size()));
    EXPECT_TRUE(hooks.announced(&record->descriptor, 8));
}

TEST_P(Records, AFailedAllocationStoresEnomemUnlessAnErrorIsSet) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    services.clear();
    s.cr.create(handle, 0);
    ASSERT_EQ(services.count("kel_store_err"), 1U);
    EXPECT_EQ(services.calls("kel_store_err").at(0).arguments_in(1, 2), std::vector<u64>{12});
    handle->last_error = EINVAL;
    services.clear();
    s.cr.create(handle, 0);
    EXPECT_EQ(services.count("kel_store_err"), 0U);
    EXPECT_EQ(handle->last_error, 0U);
    services.clear();
    s.plain.create_record(handle, tx, &err);
    EXPECT_EQ(services.count("kel_store_err"), 0U) << "no fallback outside a _cr creation";
}

TEST_P(Records, TheCrCreationAllowsFallbacksThroughout) {
    std::vector<uintptr_t> allowed;
    services.at_each = [&](const ServiceCall &call) {
        if (call.name == "ptrail_module_init_fn") allowed.push_back(handle->cr_fallback_enabled);
    };
    // Once for the record, once for each object.
    s.cr.create(handle, 2);
    EXPECT_EQ(allowed, std::vector<uintptr_t>(s.has_key_object() ? 3 : 2, 1));
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    services.at_each = nullptr;
}

TEST_P(Records, AddingAReferenceKeepsTheLastError) {
    kel_record *record = make(1);
    handle->last_error = EINVAL;
    services.clear();
    s.plain.add_ref(handle, tx, record, &err);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(services.calls().empty());
}

TEST_P(Records, PassThroughTheirStates) {
    kel_record *record = make(1);
    const auto expect = [&](const kel_table *in, u32 flags) {
        EXPECT_EQ(record->table, in);
        EXPECT_EQ(record->flags, flags);
        EXPECT_EQ(record->ref_count, 1U);
    };
    expect(nullptr, 0);
    insert(record);
    expect(table, KEL_RECORD_IN_INDEX);
    remove(record);
    expect(nullptr, KEL_RECORD_IN_INDEX);
    s.plain.pkey_insert(handle, tx, table, record, &err);
    expect(table, KEL_RECORD_IN_INDEX | KEL_RECORD_PKEY_INSERTED);
    remove(record);
    expect(nullptr, KEL_RECORD_IN_INDEX);
    s.plain.pkey_insert(handle, tx, table, record, &err);
    kel_table_set_replication(handle, tx, table, 1, 0);
    s.plain.request_destroy(handle, tx, table, record, &err);
    expect(table, KEL_RECORD_IN_INDEX | KEL_RECORD_PENDING_DESTROY | KEL_RECORD_PKEY_INSERTED);
    EXPECT_EQ(err, 0U);
}

TEST_P(Records, ADeletedRecordCanBeInsertedAgain) {
    kel_record *record = put(1);
    remove(record);
    EXPECT_EQ(record->table, nullptr);
    insert(record);
    EXPECT_EQ(find(1), record);
    destroy(record);
}

}  // namespace
}  // namespace tarn::test
