// SPDX-License-Identifier: Apache-2.0
// Each structure without memory, with services that fail, and destroyed twice.
#include <algorithm>
#include <cerrno>

#include "tarnbase/module.h"
#include "tarnbase/runtime.h"
#include "tests/behaviour/every/objects.h"
#include "tests/support/hooks.h"
#include "tests/support/services.h"

namespace tarn::test {
namespace {

bool contains(const Structure &type, FieldKind kind) {
    return std::any_of(type.fields, type.fields + type.field_count, [kind](const Field &field) {
        return field.kind == kind ||
               (field.structure != nullptr && contains(*field.structure, kind));
    });
}

u32 nested_in(const Structure &type) {
    u32 found = 0;
    for (const Field &field : fields_of(type)) {
        if (field.structure != nullptr) found += 1 + nested_in(*field.structure);
    }
    return found;
}

// The changes of these tests are rolled back at their end.
class StructureFailure : public StructureTest {
 protected:
    void SetUp() override { ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U); }
    void TearDown() override {
        ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
        StructureTest::TearDown();
    }
    std::string destroy_text(const std::string &rest) const {
        return std::string(type.name) + " destroy: " + rest;
    }
    std::vector<u8> bytes_of(const void *object) const {
        return {at(object, 0), at(object, typed.cr<u32>("sizeof", {}))};
    }
    void expect_type_trace() const {
        for (const TraceLine &line : trace.lines) {
            EXPECT_EQ(line.module_id, g_kel_tarnbase_type_trace_module_id) << line.text;
        }
        EXPECT_NE(g_kel_tarnbase_type_trace_module_id, 0U);
    }

    u32 tx = 0;
};
TARN_EACH_STRUCTURE(StructureFailure);

TEST_P(StructureFailure, WithoutMemoryAPlainCreationIsNullAndKeepsTheLastError) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    for (const u32 error : {u32{0}, u32{EEXIST}}) {
        handle->last_error = error;
        EXPECT_EQ(typed.create(), nullptr);
        EXPECT_EQ(typed.operator()<void *>("create_internal", {}), nullptr);
        EXPECT_EQ(handle->last_error, error);
    }
    for (const HookEvent &event : hooks.events) EXPECT_EQ(event.hook, Hook::alloc);
}

TEST_P(StructureFailure, WithoutMemoryACrCreationIsTheTypesZeroedFallbackObject) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    handle->last_error = 0;
    void *fallback = typed.cr<void *>("create_cr", {});
    EXPECT_EQ(fallback, type.fallback);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    EXPECT_EQ(std::vector<u8>(at(fallback, 0), at(fallback, type.plain_size)),
              std::vector<u8>(type.plain_size));
    hooks.clear();
    EXPECT_EQ(typed.cr<void *>("create_cr", {}), fallback);
    EXPECT_TRUE(hooks.events.empty()) << "with an error set nothing is allocated";
    EXPECT_EQ(handle->last_error, ENOMEM);
}

TEST_P(StructureFailure, DestroyingNullOrTheFallbackObjectDoesNothing) {
    const kel_variant_usage before = type.descriptor->variant_info->variants[0];
    HookRecorder hooks(handle);
    for (void *object : {static_cast<void *>(nullptr), static_cast<void *>(type.fallback)}) {
        typed("destroy", {object});
        typed("destroy_internal", {object, 1});
        typed("destroy_internal", {object, 0});
        typed.cr("destroy_cr", {object});
    }
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
    const kel_variant_usage after = type.descriptor->variant_info->variants[0];
    EXPECT_EQ(after.destroyed, before.destroyed);
    EXPECT_EQ(after.live, before.live);
    EXPECT_EQ(std::vector<u8>(at(type.fallback, 0), at(type.fallback, type.plain_size)),
              std::vector<u8>(type.plain_size));
}

TEST_P(StructureFailure, AnEarlierErrorDoesNotStopAPlainCreation) {
    handle->last_error = EEXIST;
    void *object = typed.create();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    typed.destroy(object);
}

TEST_P(StructureFailure, ACreationWhoseFieldFailsIsTracedAndFreesItsBlock) {
    const std::pair<FieldKind, const char *> services[] = {
        {FieldKind::vstring, "kel_vstring_initialize"},
        {FieldKind::address, "ip_address_initialize"},
        {FieldKind::boolean, "kel_boolean_initialize"}};
    const std::string text =
        std::string("(ERR): error in ") + type.name + " create: Invalid argument";
    std::size_t failed = 0;
    const Typed within(type, handle, tx);
    for (const auto &[kind, service] : services) {
        if (!contains(type, kind)) continue;
        ServiceRecorder recorder(handle);
        recorder.fail(service, 1);
        EXPECT_EQ(within.create(), nullptr) << service;
        EXPECT_TRUE(recorder.stop_failing());
        EXPECT_EQ(trace.count(KEL_TRACE_ERROR, text), ++failed) << trace.all();
        ASSERT_EQ(recorder.count("free_hook"), 1U);
        EXPECT_EQ(recorder.calls("free_hook")[0].arguments[2],
                  recorder.calls("alloc_hook")[0].result);
        EXPECT_EQ(recorder.calls("free_hook")[0].arguments[1], tx);
    }
    expect_type_trace();
}

TEST_P(StructureFailure, AMappedObjectWithReferencesIsNotDestroyed) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    within.fill(object, 3);
    u64 oid = 0;
    ASSERT_EQ(kel_object_map(handle, tx, object, &oid), 0U);
    ASSERT_EQ(kel_object_reference(handle, tx, oid), 0U);
    const kel_variant_usage counted = usage_of(object);
    const std::vector<u8> before = bytes_of(object);
    ServiceRecorder recorder(handle);
    within.destroy(object);
    EXPECT_EQ(recorder.calls("kel_request_oid_mapping_destroy")[0].result, 0U);
    EXPECT_EQ(recorder.order({"delta_log_hook", "free_hook", "kel_vstring_destroy_internal"}), "");
    EXPECT_EQ(bytes_of(object), before);
    EXPECT_EQ(usage_of(object).live, counted.live);
    EXPECT_EQ(usage_of(object).destroyed, counted.destroyed);
    EXPECT_TRUE(trace.has(KEL_TRACE_INFO,
                          "(info): " + destroy_text("Object has references and will be cleaned "
                                                    "up when all of them are released")))
        << trace.all();
    expect_type_trace();
}

TEST_P(StructureFailure, AMappedObjectThatCannotBeUnmappedIsNotDestroyedAndStoresTheError) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    within.fill(object, 3);
    u64 oid = 0;
    ASSERT_EQ(kel_object_map(handle, tx, object, &oid), 0U);
    const std::vector<u8> before = bytes_of(object);
    ServiceRecorder recorder(handle);
    recorder.fail("kel_request_oid_mapping_destroy", 1);
    within.destroy(object);
    EXPECT_EQ(bytes_of(object), before);
    EXPECT_EQ(recorder.calls().back().name, "kel_store_err");
    EXPECT_EQ(recorder.calls().back().arguments[1], EINVAL);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): " + destroy_text("Failed to remove oid mapping for object. "
                                                   "Error Invalid argument")))
        << trace.all();
    EXPECT_EQ(recorder.order({"delta_log_hook", "free_hook"}), "");
    expect_type_trace();
}

TEST_P(StructureFailure, AMappedObjectWithoutReferencesIsDestroyed) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    u64 oid = 0;
    ASSERT_EQ(kel_object_map(handle, tx, object, &oid), 0U);
    within.destroy(object);
    EXPECT_EQ(head(object)->descriptor, nullptr);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_DEBUG, "(debug): " + destroy_text("Successfully removed OID mapping")))
        << trace.all();
}

TEST_P(StructureFailure, AnObjectThatCannotBeRemovedFromTheHdMappingKeepsItsMemory) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    kellib_update_ra_all(handle, tx, object, 5, 6);
    ASSERT_NE(head(object)->flags & OBJ_RA_DATA, 0);
    handle->hd_mapping_enabled = 1;
    const kel_variant_usage counted = usage_of(object);
    ServiceRecorder recorder(handle);
    recorder.fail("kel_hd_mapping_destroy", 1 + (tracking ? nested_in(type) : 0));
    within.destroy(object);
    EXPECT_EQ(recorder.calls("kel_hd_mapping_destroy").back().pointer<void>(2), object);
    EXPECT_NE(head(object)->descriptor, nullptr);
    EXPECT_EQ(recorder.calls().back().name, "kel_store_err");
    EXPECT_EQ(recorder.calls().back().arguments[1], EINVAL);
    EXPECT_EQ(usage_of(object).destroyed, counted.destroyed + 1);
    for (const ServiceCall &call : recorder.calls("free_hook")) {
        EXPECT_NE(call.pointer<void>(2), object);
    }
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): " + destroy_text("Failed to remove oid mapping for object. "
                                                   "Error Invalid argument")))
        << trace.all();
}

TEST_P(StructureFailure, AnErrorOfAFieldIsTracedByLaterNestedObjectsAndStopsNothing) {
    // Its own string before a nested structure.
    u32 strings = 0, later_nested = 0;
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::vstring) ++strings;
        if (field.structure != nullptr && strings > 0) ++later_nested;
    }
    if (later_nested == 0) return;
    const Typed within(type, handle, tx);
    void *object = within.create();
    ServiceRecorder recorder(handle);
    recorder.fail("kel_vstring_get_oid_count", 1);
    within.destroy(object);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR,
                          "(ERR): Error already present in call to get object oid count"),
              later_nested);
    EXPECT_EQ(head(object)->descriptor, nullptr);
}

TEST_P(StructureFailure, AnObjectOfAVariantAboveTheTypesIsCountedAsTheNewest) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    const kel_variant_usage &usage =
        head(object)->descriptor->variant_info->variants[type.top_variant];
    const kel_variant_usage before = usage;
    head(object)->variant = 5;
    within.destroy(object);
    EXPECT_EQ(usage.destroyed, before.destroyed + 1);
    EXPECT_EQ(usage.live, before.live - 1);
    EXPECT_EQ(
        trace.count(KEL_TRACE_INFO, "(info): variant 5 requested only " +
                                        std::to_string(type.top_variant + 1) + " variants present"),
        1U)
        << trace.all();
}

TEST_P(StructureFailure, OnlyAnObjectInTheHdMappingIsRemovedFromIt) {
    const Typed within(type, handle, tx);
    for (const bool enabled : {false, true}) {
        for (const u8 reason : {u8{0}, u8{OBJ_RA_DATA}, u8{OBJ_STATE_ELSEWHERE}}) {
            handle->hd_mapping_enabled = enabled ? 1 : 0;
            void *object = within.create();
            head(object)->flags |= reason;
            ServiceRecorder recorder(handle);
            within.destroy(object);
            const auto about = [object](const std::vector<ServiceCall> &calls) {
                return std::count_if(calls.begin(), calls.end(), [object](const auto &call) {
                    return call.template pointer<void>(2) == object;
                });
            };
            EXPECT_EQ(about(recorder.calls("kel_hd_mapping_destroy")), enabled && reason != 0);
            EXPECT_EQ(about(recorder.calls("kellib_get_sttr_offset")),
                      tracking && reason == OBJ_STATE_ELSEWHERE);
            EXPECT_EQ(head(object)->descriptor, nullptr);
        }
    }
}

TEST_P(StructureFailure, ReferencesOfNullAreTracedInTheTypesModule) {
    typed("set_instance_embedded", {nullptr});
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Invalid object pointer passed in to set instance flag"));
    EXPECT_EQ(typed.operator()<u32>("get_oid_count", {nullptr, &err}), 0U);
    EXPECT_EQ(err, EINVAL);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Invalid object passed in to get object oid count"));
    err = 0;
    handle->last_error = 0;
    typed("get_object_references", {nullptr, nullptr, 0, &err});
    EXPECT_EQ(err, EINVAL);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Cannot get table references. Invalid object passed on"));
    err = 0;
    EXPECT_EQ(typed.operator()<u32>("type_type_backpropagate", {nullptr, &err}), 0U);
    EXPECT_TRUE(trace.has(KEL_TRACE_INFO, std::string("(info): backpropagate: Null pointer to ") +
                                              type.name + " type"));
    EXPECT_EQ(trace.lines.size(), 4U) << trace.all();
    expect_type_trace();
}

TEST_P(StructureFailure, ReadingReferencesWithAnErrorSetIsTraced) {
    void *object = typed.create();
    err = ENOMEM;
    EXPECT_EQ(typed.operator()<u32>("get_oid_count", {object, &err}), 0U);
    typed("get_object_references", {object, nullptr, 0, &err});
    EXPECT_EQ(err, ENOMEM);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Error already present in call to get object oid count"));
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): Error present in call to get table references from object"));
    err = 0;
    typed.destroy(object);
}

class StructureFatal : public StructureFailure {};
INSTANTIATE_TEST_SUITE_P(Every, StructureFatal,
                         ::testing::ValuesIn(in_mode(all_structures(), Mode::plain)),
                         name_in_mode<Structure>);

TEST_P(StructureFatal, ASecondDestructionEndsTheProcess) {
    const Typed within(type, handle, tx);
    void *object = within.create();
    within.fill(object, 1);
    within.destroy(object);
    EXPECT_DEATH(
        {
            kel_trace_set_sink(nullptr, nullptr);
            within.destroy(object);
        },
        "\\(FATAL\\): tinfo is null or corrupted");
}

}  // namespace
}  // namespace tarn::test
