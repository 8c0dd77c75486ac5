// SPDX-License-Identifier: Apache-2.0
// Destroying a record: the order of the steps, what is announced, what remains when a step
// fails.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

class RecordEnds : public TableTest {
 protected:
    std::string failed_delete_text(u32 code) {
        return "(ERR): Error " + std::to_string(code) + " deleting " + s.name +
               " record when destroying";
    }
};
TARN_EACH_TABLE_AND_MODE(RecordEnds);

TEST_P(RecordEnds, AFallbackRecordIsDestroyedButNotFreed) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_record *record = s.cr.create(handle, 0);
    kel_variant_usage &counters = usage_of(record);
    const u64 destroyed = counters.destroyed;
    hooks.clear();
    s.cr.destroy(handle, record);
    EXPECT_EQ(counters.destroyed, destroyed + 1);
    EXPECT_EQ(record->ref_count, 0U);
    EXPECT_EQ(record->descriptor, nullptr);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_P(RecordEnds, OneDestroyReleasesOneReference) {
    const u64 blocks = settled_blocks();
    kel_record *record = make(1);
    kel_variant_usage &counters = usage_of(record);
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

TEST_P(RecordEnds, DestructionCallsTheHooksInOrder) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    kel_variant_usage &counters = usage_of(record);
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

TEST_P(RecordEnds, AnInsertedRecordIsRemovedFromTheIndexBeforeItsObjectsAreDestroyed) {
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

TEST_P(RecordEnds, DestructionContinuesIfTheDeleteIsRefused) {
    kel_record *record = put(1);
    kel_table_set_replication(handle, tx, table, 1, 0);
    TraceCapture trace;
    HookRecorder hooks(handle);
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, failed_delete_text(EINVAL)), 1U) << trace.all();
    EXPECT_EQ(table->record_count, 1U);
    EXPECT_EQ(hooks.of(Hook::free).back().address, record);
}

TEST_P(RecordEnds, AnErrorOnEntryKeepsTheDeleteFromRunning) {
    kel_record *record = put(1);
    TraceCapture trace;
    err = EIO;
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, failed_delete_text(EIO))) << trace.all();
    EXPECT_EQ(services.count("e_avl_delete"), 0U);
}

TEST_P(RecordEnds, AMappedRecordIsUnmappedIfTheHandleKeepsMappings) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    record->flags |= KEL_RECORD_HD_MAPPED;
    const uintptr_t enabled = handle->hd_mapping_enabled;
    handle->hd_mapping_enabled = 0;
    s.plain.add_ref(handle, tx, record, &err);
    destroy(record);
    EXPECT_EQ(services.count("kel_hd_mapping_destroy"), 0U);
    handle->hd_mapping_enabled = 1;
    services.clear();
    destroy(record);
    ASSERT_EQ(services.count("kel_hd_mapping_destroy"), 1U);
    EXPECT_EQ(services.calls("kel_hd_mapping_destroy").at(0).pointer<const void>(2), record);

    record = s.plain.create_record(handle, tx, &err);
    record->flags |= KEL_RECORD_HD_MAPPED;
    handle->hd_mapping_enabled = 0;
    services.clear();
    destroy(record);
    EXPECT_EQ(services.count("kel_hd_mapping_destroy"), 0U);
    handle->hd_mapping_enabled = enabled;
}

TEST_P(RecordEnds, AFailedUnmappingKeepsTheBlock) {
    kel_record *record = make(1);
    const void *object = record->object;
    record->flags |= KEL_RECORD_HD_MAPPED;
    handle->hd_mapping_enabled = 1;
    services.always_fail("kel_hd_mapping_destroy");
    TraceCapture trace;
    HookRecorder hooks(handle);
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, EINVAL);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR,
                          std::string("(ERR): ") + s.name +
                              " destroy: Failed to remove oid mapping for object. Error " +
                              std::strerror(EINVAL)),
              1U)
        << trace.all();
    EXPECT_NE(record->descriptor, nullptr);
    EXPECT_EQ(record->ref_count, 0U);
    const auto freed = hooks.of(Hook::free);
    const auto is = [](const void *block) {
        return [block](const HookEvent &event) { return event.address == block; };
    };
    EXPECT_EQ(std::count_if(freed.begin(), freed.end(), is(object)), 1);
    EXPECT_EQ(std::count_if(freed.begin(), freed.end(), is(record)), 0);
}

TEST_P(RecordEnds, DestroyIsRequestedOnlyOnReplicatedTables) {
    kel_record *record = put(1);
    s.plain.request_destroy(handle, tx, table, record, &err);
    EXPECT_EQ(err, EINVAL);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(services.count("keldb_request_record_destroy"), 0U);

    kel_table_set_replication(handle, tx, table, 1, 0);
    err = 0;
    s.plain.request_destroy(handle, tx, table, nullptr, &err);
    EXPECT_EQ(err, EINVAL);
    s.plain.request_destroy(handle, tx, table, record, &err);  // entered with an error
    EXPECT_EQ(services.count("keldb_request_record_destroy"), 0U);

    err = 0;
    s.unsafe.request_destroy(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_NE(record->flags & KEL_RECORD_PENDING_DESTROY, 0);
    EXPECT_EQ(record->ref_count, 1U);
    EXPECT_EQ(record->table, table);
    EXPECT_EQ(find(1), record);
}

TEST_P(RecordEnds, AFailedRequestIsTraced) {
    kel_record *record = put(1);
    kel_table_set_replication(handle, tx, table, 1, 0);
    services.always_fail("keldb_request_record_destroy", ENOMEM);
    TraceCapture trace;
    s.plain.request_destroy(handle, tx, table, record, &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          std::string("(ERR): ") + s.name + " request destroy record failed"))
        << trace.all();
}

TEST_P(RecordEnds, AReferenceCountOfZeroWrapsAround) {
    kel_record *record = make(1);
    record->ref_count = 0;
    HookRecorder hooks(handle);
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(record->ref_count, 0xffffffffU);
    EXPECT_EQ(hooks.events.size(), 1U);
    record->ref_count = 1;
    destroy(record);
}

TEST_P(RecordEnds, ValueKeyAndBlockAreDestroyedInThatOrder) {
    kel_record *record = make(1);
    std::vector<const void *> expected = {record->object, record};
    if (s.has_key_object()) expected.insert(expected.begin() + 1, record->key_object);
    HookRecorder hooks(handle);
    destroy(record);
    std::vector<const void *> freed;
    for (const HookEvent &event : hooks.of(Hook::free)) {
        if (std::count(expected.begin(), expected.end(), event.address) != 0) {
            freed.push_back(event.address);
        }
    }
    EXPECT_EQ(freed, expected);
}

TEST_P(RecordEnds, EveryStepIsInTheCallersTransaction) {
    kel_record *record = put(1);
    record->flags |= KEL_RECORD_HD_MAPPED;
    handle->hd_mapping_enabled = 1;
    begin();
    services.clear();
    HookRecorder hooks(handle);
    s.plain.destroy_record(handle, tx, record, &err);
    for (const HookEvent &event : hooks.events) {
        EXPECT_TRUE(event.tx_id == tx || event.hook == Hook::type_map_lookup);
    }
    EXPECT_EQ(services.calls("e_avl_delete").at(0).tx_id(), tx);
    EXPECT_EQ(services.calls("kel_hd_mapping_destroy").back().tx_id(), tx);
    EXPECT_EQ(hooks.of(Hook::free).back().address, record);
    commit();
    EXPECT_EQ(err, 0U);
}

TEST_P(RecordEnds, AnErrorOfTheCallerIsClearedWithoutADeleteToo) {
    kel_record *record = make(1);
    handle->last_error = EINVAL;
    err = EIO;
    TraceCapture trace;
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, failed_delete_text(EIO)), 0U);
}

TEST_P(RecordEnds, TheFallbackObjectsOfARecordAreNotDestroyed) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_record *record = s.cr.create(handle, 1);
    const kel_variant_usage before = s.object.type->descriptor->variant_info->variants[0];
    kel_clear_last_error(handle);
    hooks.clear();
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    EXPECT_EQ(
        0, std::memcmp(&before, s.object.type->descriptor->variant_info->variants, sizeof before));
    // Only of the record: its reference count, its counter, its descriptor.
    EXPECT_EQ(hooks.count(Hook::write_log), 2U);
    EXPECT_EQ(hooks.count(Hook::delta_log), 1U);
}

TEST_P(RecordEnds, ARequestClearsTheLastErrorAndCallsTheService) {
    kel_record *record = put(1);
    kel_table_set_replication(handle, tx, table, 1, 0);
    handle->last_error = EINVAL;
    begin();
    services.clear();
    HookRecorder hooks(handle);
    s.plain.request_destroy(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(services.calls("keldb_request_record_destroy").at(0).tx_id(), tx);
    EXPECT_EQ(services.calls("keldb_request_record_destroy").at(0).pointer<const void>(2), record);
    EXPECT_EQ(services.order({"kel_clear_last_error", "keldb_request_record_destroy"}),
              "kel_clear_last_error keldb_request_record_destroy");
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    commit();
}

}  // namespace
}  // namespace tarn::test
