// SPDX-License-Identifier: Apache-2.0
// Enumerations: lifecycle and values. lamp_state counts from 0, door_state from 1.
#include <cerrno>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Enumerations : public ObjectModeTest {
 protected:
    lamp_state *lamp(u32 value) {
        lamp_state *made = lamp_state_create(handle, tx);
        lamp_state_set_value(handle, tx, made, value, &err);
        EXPECT_EQ(err, 0U);
        return made;
    }
    static u32 value_of(const void *object) {
        return static_cast<const kel_enum_object *>(object)->value;
    }
};
TARN_EACH_MODE(Enumerations);
using FatalEnumerations = ObjectTest;

TEST_P(Enumerations, ANewOneHasItsHeaderAndValue0) {
    lamp_state *lamp = lamp_state_create(handle, tx);
    ASSERT_NE(lamp, nullptr);
    EXPECT_STREQ(head(lamp)->descriptor->name, "lamp_state");
    EXPECT_EQ(head(lamp)->descriptor == &_lamp_state_type_info_internal,
              GetParam() != Mode::store_types);
    EXPECT_EQ(head(lamp)->variant, 0);
    EXPECT_EQ(head(lamp)->created_variant, 0);
    EXPECT_EQ(head(lamp)->flags, 0);
    EXPECT_EQ(value_of(lamp), 0U);
}

TEST_P(Enumerations, CreationAllocates16BytesInEitherModeAndAnnouncesFourStores) {
    HookRecorder hooks(handle);
    lamp_state *lamp = lamp_state_create(handle, tx);
    ASSERT_GE(hooks.count(Hook::alloc), 1U);
    EXPECT_EQ(hooks.of(Hook::alloc)[0].length, 16U);
    EXPECT_EQ(places_of(hooks.writes_in(lamp, 16)), (Places{{&head(lamp)->created_variant, 1},
                                                            {&head(lamp)->variant, 1},
                                                            {&head(lamp)->descriptor, 8},
                                                            {&head(lamp)->flags, 1}}));
}

TEST_P(Enumerations, OnlyCreatedAndDestroyedAreCounted) {
    const kel_type_info *descriptor = head(lamp(0))->descriptor;
    const kel_variant_usage before = usage(descriptor);
    HookRecorder hooks(handle);
    lamp_state *counted = lamp_state_create(handle, tx);
    EXPECT_EQ(usage(descriptor).created, before.created + 1);
    EXPECT_EQ(usage(descriptor).live, before.live);
    ASSERT_EQ(hooks.count(Hook::delta_log), 1U);
    EXPECT_EQ(hooks.of(Hook::delta_log)[0].delta, 1);
    lamp_state_destroy(handle, tx, counted);
    EXPECT_EQ(usage(descriptor).destroyed, before.destroyed + 1);
    EXPECT_EQ(usage(descriptor).live, before.live);
    ASSERT_EQ(hooks.count(Hook::delta_log), 2U);
    EXPECT_EQ(hooks.of(Hook::delta_log)[1].address,
              &descriptor->variant_info->variants[0].destroyed);
    EXPECT_EQ(hooks.of(Hook::delta_log)[1].delta, 1);
}

TEST_P(Enumerations, AnEmbeddedOneIsNeitherCountedNorDestroyed) {
    const kel_type_info *descriptor = head(lamp(0))->descriptor;
    const kel_variant_usage before = usage(descriptor);
    st_every_destroy(handle, tx, make.every(1));
    EXPECT_EQ(usage(descriptor).created, before.created);
    EXPECT_EQ(usage(descriptor).destroyed, before.destroyed);
}

TEST_P(Enumerations, ADomainThatFailsIsTracedAndTheObjectIsCreated) {
    fail_domain(EINVAL);
    TraceCapture trace;
    EXPECT_NE(lamp_state_create(handle, tx), nullptr);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): error in lamp_state create Invalid argument"));
}

TEST_P(Enumerations, TheDomainsVariantIsStoredWithoutALimit) {
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 3);
    TraceCapture trace;
    lamp_state *lamp = lamp_state_create(handle, tx);
    EXPECT_EQ(head(lamp)->variant, 3);
    EXPECT_EQ(head(lamp)->created_variant, 3);
    EXPECT_TRUE(trace.has(KEL_TRACE_INFO, "(info): variant 3 requested only 1 variants present"));
    st_every *every = st_every_create(handle, tx);
    EXPECT_EQ(head(at(every, 64))->variant, 3);
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 0);
    lamp_state_destroy(handle, tx, lamp);
}

TEST_P(Enumerations, InitializationWritesOnlyTheHeaderAndCountsNothing) {
    alignas(8) u8 memory[16] = {};
    const kel_variant_usage before = usage(&_lamp_state_type_info_internal);
    HookRecorder hooks(handle);
    lamp_state *lamp = at<lamp_state>(memory, 0);
    lamp_state_initialize(handle, tx, lamp, &_lamp_state_type_info_internal, 0, 0, OBJ_NESTED,
                          nullptr, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(hooks.count(Hook::write_log), 0U);
    EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
    EXPECT_EQ(head(lamp)->flags, OBJ_NESTED) << "no state bit, whatever the mode";
    EXPECT_EQ(usage(&_lamp_state_type_info_internal).created, before.created);
    lamp_state_initialize(handle, tx, lamp, &_lamp_state_type_info_internal, 1, 1, OBJ_NESTED,
                          nullptr, &err);
    EXPECT_EQ(hooks.writes_in(memory, 16).size(), 4U);
}

TEST_P(Enumerations, WithoutMemoryCreateReturnsNullAndTheCrFormTheFallbackObject) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_clear_last_error(handle);
    EXPECT_EQ(lamp_state_create(handle, tx), nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    lamp_state *fallback = lamp_state_create_cr(handle);
    ASSERT_NE(fallback, nullptr);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    EXPECT_EQ(bytes_of(fallback, 16), std::vector<u8>(16));
    EXPECT_EQ(lamp_state_create_cr(handle), fallback);
    hooks.clear();
    lamp_state_destroy(handle, tx, fallback);
    lamp_state_destroy_internal(handle, tx, fallback, 1);
    lamp_state_destroy_cr(handle, fallback);
    lamp_state_destroy(handle, tx, nullptr);
    EXPECT_TRUE(hooks.events.empty());
}

TEST_P(Enumerations, DestructionClearsTheDescriptorUnannouncedAndFreesTheBlock) {
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    lamp_state *lamp = lamp_state_create(handle, tx);
    HookRecorder hooks(handle);
    lamp_state_destroy_internal(handle, tx, lamp, 0);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_NE(head(lamp)->descriptor, nullptr);
    lamp_state_destroy(handle, tx, lamp);
    EXPECT_EQ(head(lamp)->descriptor, nullptr);
    EXPECT_TRUE(hooks.writes_in(lamp, 16).empty());
    EXPECT_EQ(hooks.of(Hook::free).back().address, lamp);
}

TEST_P(Enumerations, MarkingAsEmbeddedIsAnnounced) {
    lamp_state *lamp = lamp_state_create(handle, tx);
    HookRecorder hooks(handle);
    lamp_state_set_instance_embedded(handle, tx, lamp);
    EXPECT_EQ(head(lamp)->flags, OBJ_EMBEDDED);
    EXPECT_TRUE(hooks.announced(&head(lamp)->flags, 1));
    TraceCapture trace;
    lamp_state_set_instance_embedded(handle, tx, nullptr);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Invalid object handle passed to set embedded flag"));
}

TEST_P(Enumerations, HoldNoReferences) {
    lamp_state *lamp = lamp_state_create(handle, tx);
    EXPECT_EQ(lamp_state_get_oid_count(handle, tx, lamp, &err), 0U);
    u64 reference = 7;
    lamp_state_get_object_references(handle, tx, lamp, &reference, 1, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(reference, 7U);
    EXPECT_EQ(lamp_state_get_oid_count(handle, tx, nullptr, &err), 0U);
    expect_error(EINVAL);
}

// ---- Values -------------------------------------------------------------------------------

TEST_P(Enumerations, UserValuesFrom1AreDecrementedByOne) {
    EXPECT_EQ(door_state_map_to_internal_value(0), 0U);
    EXPECT_EQ(door_state_map_to_internal_value(1), 0U);
    EXPECT_EQ(door_state_map_to_internal_value(3), 2U);
    EXPECT_EQ(door_state_map_to_internal_value(4), 4U);
    EXPECT_EQ(door_state_map_to_internal_value(0xffffffffU), 0xffffffffU);
    for (const u32 value : {0U, 1U, 2U, 3U, 0xffffffffU}) {
        EXPECT_EQ(lamp_state_map_to_internal_value(value), value);
    }
}

TEST_P(Enumerations, TheMapToUserValuesIsTheIdentity) {
    for (const u32 value : {0U, 1U, 3U, 4U, 0xffffffffU}) {
        EXPECT_EQ(door_state_map_to_user_value(value), value);
        EXPECT_EQ(lamp_state_map_to_user_value(value), value);
    }
}

TEST_P(Enumerations, AVariantAbove0IsMappedTo0) {
    EXPECT_EQ(lamp_state_variant_data_index_cap(1), 0);
    EXPECT_EQ(lamp_state_variant_data_index_cap(0), 0);
    EXPECT_EQ(lamp_state_variant_data_index_cap(-1), -1);
}

TEST_P(Enumerations, AValueIsSetAndRead) {
    lamp_state *lamp = lamp_state_create(handle, tx);
    HookRecorder hooks(handle);
    services.clear();
    lamp_state_set_value(handle, tx, lamp, 2, &err);
    EXPECT_EQ(lamp_state_get_value(handle, tx, lamp, &err), 2U);
    EXPECT_EQ(err, 0U);
    ASSERT_EQ(hooks.events.size(), 1U);
    EXPECT_EQ(hooks.events[0].address, at(lamp, 12));
    EXPECT_EQ(hooks.events[0].length, 4U);
    EXPECT_EQ(hooks.events[0].before, std::vector<u8>(4));
    EXPECT_EQ(services.calls("kel_set_instance_modified", lamp).at(0).arguments,
              words(lamp, 0, 1, 1));
    EXPECT_EQ(services.calls("kel_get_instance_variant").at(0).arguments, words(lamp, 0, 1));
    EXPECT_EQ(lamp_state_get(handle, tx, lamp, &err), lamp);
}

TEST_P(Enumerations, AValueOfALaterVariantFailsWithEidrm) {
    lamp_state *object = lamp(1);
    const auto before = bytes_of(object, 16);
    lamp_state_set_value(handle, tx, object, 3, &err);
    expect_error(EIDRM);
    lamp_state_set_value(handle, tx, object, 0xffffffffU, &err);
    expect_error(EIDRM);
    lamp_state *source = lamp(1);
    static_cast<kel_enum_object *>(static_cast<void *>(source))->value = 3;
    lamp_state_set(handle, tx, object, source, &err);
    expect_error(EIDRM);
    EXPECT_EQ(bytes_of(object, 16), before);
}

TEST_P(Enumerations, AnInstanceOfALaterVariantAcceptsAnyValue) {
    lamp_state *object = lamp(1);
    head(object)->variant = 1;
    lamp_state_set_value(handle, tx, object, 77, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(value_of(object), 77U);
}

TEST_P(Enumerations, User0OfAnEnumerationFrom1IsAcceptedAndStored) {
    door_state *door = door_state_create(handle, tx);
    door_state_set_value(handle, tx, door, 3, &err);
    door_state_set_value(handle, tx, door, 0, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(value_of(door), 0U);
    door_state_set_value(handle, tx, door, 4, &err);
    expect_error(EIDRM);
}

TEST_P(Enumerations, SettingOneFromAnotherCopiesItWhole) {
    lamp_state *source = lamp(2);
    lamp_state_set_instance_embedded(handle, tx, source);
    lamp_state *object = lamp(1);
    HookRecorder hooks(handle);
    lamp_state_set(handle, tx, object, source, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(value_of(object), 2U);
    EXPECT_NE(head(object)->flags & OBJ_EMBEDDED, 0);
    ASSERT_EQ(hooks.events.size(), 1U);
    EXPECT_EQ(hooks.events[0].address, object);
    EXPECT_EQ(hooks.events[0].length, 16U);
}

TEST_P(Enumerations, NullObjectsAreErrors) {
    EXPECT_EQ(lamp_state_get_value(handle, tx, nullptr, &err), 0U);
    expect_error(EINVAL);
    lamp_state_set_value(handle, tx, nullptr, 1, &err);
    expect_error(ENOENT);
    lamp_state *object = lamp(1);
    lamp_state_set(handle, tx, object, nullptr, &err);
    expect_error(ENOENT);
    EXPECT_EQ(value_of(object), 1U);
    lamp_state_set(handle, tx, nullptr, object, &err);
    expect_error(ENOENT);
}

TEST_P(Enumerations, TheVariantIsAdjustedWithTopVariant0) {
    lamp_state *object = lamp(1);
    services.clear();
    EXPECT_EQ(lamp_state_adjust_variant(handle, tx, object, &err), 0);
    EXPECT_EQ(lamp_state_adjust_variant(handle, tx, nullptr, &err), 0);
    const auto calls = services.calls("kellib_adjust_variant");
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].arguments, words(handle, tx, object, head(object)->descriptor, 0, &err));
    EXPECT_EQ(calls[1].arguments, words(handle, tx, nullptr, nullptr, 0, &err));
}

TEST_P(Enumerations, CompareReturnsTheDifferenceAndPutsNullFirst) {
    door_state *a = door_state_create(handle, tx);
    door_state *b = door_state_create(handle, tx);
    door_state_set_value(handle, tx, a, 3, &err);
    door_state_set_value(handle, tx, b, 1, &err);
    EXPECT_EQ(door_state_compare(a, b), 2);
    EXPECT_EQ(door_state_compare(b, a), -2);
    EXPECT_EQ(door_state_compare(a, a), 0);
    EXPECT_EQ(door_state_compare(nullptr, nullptr), 0);
    EXPECT_EQ(door_state_compare(nullptr, a), -1);
    EXPECT_EQ(door_state_compare(a, nullptr), 1);
}

TEST_P(Enumerations, TheHashIsThatOfTheFourBytesOfTheValue) {
    lamp_state *object = lamp(2);
    const u32 value = 2;
    EXPECT_EQ(lamp_state_hash(object, 9),
              SuperFastHash(reinterpret_cast<const char *>(&value), 4, 9));
    EXPECT_EQ(lamp_state_hash(nullptr, 9), 9U);
}

TEST_P(Enumerations, ValidityIsCheckedSigned) {
    EXPECT_EQ(lamp_state_is_valid_cr(handle, 2), 1U);
    EXPECT_EQ(lamp_state_is_valid_cr(handle, 3), 0U);
    EXPECT_EQ(lamp_state_is_valid_cr(handle, static_cast<u32>(-1)), 1U);
    EXPECT_EQ(door_state_is_valid_cr(handle, 0), 1U);
    EXPECT_EQ(door_state_is_valid_cr(handle, 3), 1U);
    EXPECT_EQ(door_state_is_valid_cr(handle, 4), 0U);
    EXPECT_EQ(single_choice_is_valid_cr(handle, 0), 1U);
    EXPECT_EQ(single_choice_is_valid_cr(handle, 1), 0U);
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 1);
    EXPECT_EQ(lamp_state_is_valid_cr(handle, 3), 1U);
}

TEST_P(Enumerations, AModifiedMarkIsReportedOnce) {
    lamp_state *object = lamp_state_create(handle, tx);
    EXPECT_EQ(lamp_state_backpropagate(handle, tx, object, &err), 0U);
    lamp_state_set_value(handle, tx, object, 1, &err);
    services.clear();
    EXPECT_EQ(lamp_state_backpropagate(handle, tx, object, &err), 1U);
    EXPECT_EQ(services.calls("kel_set_instance_modified", object).at(0).arguments,
              words(object, 0, 1, 0));
    EXPECT_EQ(lamp_state_backpropagate(handle, tx, object, &err), 0U);
    TraceCapture trace;
    EXPECT_EQ(lamp_state_backpropagate(handle, tx, nullptr, &err), 0U);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_INFO, "(info): backpropagate: Null pointer to lamp_state enum"));
}

TEST_F(FatalEnumerations, ASecondDestructionEndsTheProcess) {
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    lamp_state *lamp = lamp_state_create(handle, tx);
    lamp_state_destroy(handle, tx, lamp);
    EXPECT_DEATH(lamp_state_destroy(handle, tx, lamp), "\\(FATAL\\): tinfo is null or corrupted");
}

TEST_F(FatalEnumerations, ADescriptorWithoutVariantInfoEndsTheProcess) {
    static kel_type_info forged = _lamp_state_type_info_internal;
    forged.variant_info = nullptr;
    lamp_state *lamp = lamp_state_create(handle, tx);
    head(lamp)->descriptor = &forged;
    EXPECT_DEATH(lamp_state_destroy(handle, tx, lamp), "\\(FATAL\\): varinfo is NULL");
}

}  // namespace
}  // namespace tarn::test
