// SPDX-License-Identifier: Apache-2.0
// Enumerations, step by step: the services that are called and their arguments, the bytes
// that are announced and their content, and what stays unchanged with an error on entry.
#include <cerrno>
#include <functional>
#include <string>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class EnumerationSteps : public ObjectModeTest {
 protected:
    lamp_state *lamp(u32 value) {
        lamp_state *made = lamp_state_create(handle, tx);
        lamp_state_set_value(handle, tx, made, value, &err);
        EXPECT_EQ(err, 0U);
        return made;
    }
    static u32 &value_of(void *object) { return static_cast<kel_enum_object *>(object)->value; }
    void expect_untouched(const std::function<void()> &operation) {
        handle->last_error = EINVAL;
        err = EIO;
        services.clear();
        HookRecorder hooks(handle);
        operation();
        EXPECT_EQ(err, EIO);
        EXPECT_EQ(handle->last_error, EINVAL);
        EXPECT_TRUE(services.calls().empty());
        EXPECT_TRUE(hooks.events.empty());
        err = 0;
        handle->last_error = 0;
    }
};
TARN_EACH_MODE(EnumerationSteps);

// ---- Lifecycle ----------------------------------------------------------------------------

TEST_P(EnumerationSteps, CreationRegistersNoTraceModule) {
    services.clear();
    lamp_state_create(handle, tx);
    lamp_state_create_internal(handle, tx);
    lamp_state_create_cr(handle);
    EXPECT_EQ(services.count("ptrail_module_init_fn"), 0U);
}

TEST_P(EnumerationSteps, CreationAnnouncesEachStoreBeforeItInANewZeroedBlock) {
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 3);
    const TraceCapture trace;
    HookRecorder hooks(handle);
    hooks.fill_allocations(true);
    lamp_state *made = lamp_state_create(handle, tx);
    EXPECT_EQ(*at<u32>(made, 12), 0U);
    const auto stores = hooks.writes_in(made, 16);
    ASSERT_EQ(stores.size(), 4U);
    for (const HookEvent &store : stores) {
        EXPECT_EQ(store.before, std::vector<u8>(store.length)) << "stored before it was announced";
        EXPECT_EQ(store.tx_id, tx);
    }
    EXPECT_EQ(head(made)->variant, 3);
    EXPECT_EQ(head(made)->flags, 0);
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 0);
}

TEST_P(EnumerationSteps, CreatedIsCountedAfterItsAnnouncement) {
    kel_variant_usage &counters =
        const_cast<kel_type_info *>(head(lamp(0))->descriptor)->variant_info->variants[0];
    const u64 created = counters.created;
    HookRecorder hooks(handle);
    lamp_state_create(handle, tx);
    ASSERT_EQ(hooks.count(Hook::delta_log), 1U);
    const HookEvent event = hooks.of(Hook::delta_log)[0];
    EXPECT_EQ(event.address, &counters.created);
    EXPECT_EQ(event.delta, 1);
    EXPECT_EQ(event.counter_before, created);
    EXPECT_EQ(counters.created, created + 1);
}

TEST_P(EnumerationSteps, EveryVariantIsCountedAtVariant0) {
    const kel_type_info *descriptor = head(lamp(0))->descriptor;
    const TraceCapture trace;
    for (const int variant : {-1, 0, 1, 3}) {
        kel_handle_set_variant(handle, &_lamp_state_type_info_internal,
                               static_cast<std::int8_t>(variant));
        const kel_variant_usage before = usage(descriptor);
        lamp_state *made = lamp_state_create(handle, tx);
        EXPECT_EQ(head(made)->variant, variant);
        EXPECT_EQ(usage(descriptor).created, before.created + 1);
        lamp_state_destroy(handle, tx, made);
        EXPECT_EQ(usage(descriptor).destroyed, before.destroyed + 1);
        EXPECT_EQ(usage(descriptor).live, before.live);
    }
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 0);
}

TEST_P(EnumerationSteps, TheCrFormDoesNotAllocateWithAnErrorSet) {
    handle->last_error = EEXIST;
    HookRecorder hooks(handle);
    lamp_state *fallback = lamp_state_create_cr(handle);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(handle->last_error, EEXIST);
    EXPECT_EQ(bytes_of(fallback, 16), std::vector<u8>(16));
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    // The handle decides whether the worker may return the fallback object.
    handle->cr_fallback_enabled = 1;
    EXPECT_EQ(lamp_state_create_internal(handle, tx), fallback);
    handle->cr_fallback_enabled = 0;
    EXPECT_NE(lamp_state_create_internal(handle, tx), fallback);
}

TEST_P(EnumerationSteps, AnErrorOfTheAllocatorIsKept) {
    const FailingAllocator allocator(handle, EEXIST);
    EXPECT_EQ(bytes_of(lamp_state_create_cr(handle), 16), std::vector<u8>(16));
    EXPECT_EQ(handle->last_error, EEXIST);
}

TEST_P(EnumerationSteps, TheCrFormsUseTheHandlesTransaction) {
    u32 transaction = 0;
    ASSERT_EQ(kel_transaction_begin(handle, &transaction), 0U);
    handle->cr_tx_id = transaction;
    HookRecorder hooks(handle);
    lamp_state *made = lamp_state_create_cr(handle);
    lamp_state_destroy_cr(handle, made);
    ASSERT_EQ(hooks.count(Hook::free), 1U);
    EXPECT_EQ(hooks.of(Hook::free)[0].address, made);
    EXPECT_EQ(hooks.of(Hook::alloc).back().tx_id, transaction);
    EXPECT_EQ(hooks.of(Hook::free)[0].tx_id, transaction);
    handle->cr_tx_id = KEL_TX_NONE;
    ASSERT_EQ(kel_transaction_commit(handle, transaction), 0U);
}

TEST_P(EnumerationSteps, InitializationAnnouncesTheHeaderOnRequestAndStoresTheVariantUnchanged) {
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 3);
    alignas(8) u8 memory[16] = {};
    memory[10] = OBJ_EMBEDDED;
    HookRecorder hooks(handle);
    lamp_state *made = at<lamp_state>(memory, 0);
    lamp_state_initialize(handle, tx, made, &_lamp_state_type_info_internal, 1, 0, OBJ_NESTED,
                          memory, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(made)->variant, 3);
    EXPECT_EQ(head(made)->created_variant, 3);
    const auto stores = hooks.writes_in(memory, 16);
    ASSERT_EQ(stores.size(), 4U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(stores[i].before, std::vector<u8>(stores[i].length));
    }
    EXPECT_EQ(stores[3].before, std::vector<u8>{OBJ_EMBEDDED});
    EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 0);
}

TEST_P(EnumerationSteps, MarkingAsEmbeddedKeepsTheOtherFlags) {
    lamp_state *made = lamp(0);
    head(made)->flags = OBJ_NESTED;
    HookRecorder hooks(handle);
    lamp_state_set_instance_embedded(handle, tx, made);
    EXPECT_EQ(head(made)->flags, OBJ_NESTED | OBJ_EMBEDDED);
    ASSERT_EQ(hooks.events.size(), 1U);
    EXPECT_EQ(hooks.events[0].before, std::vector<u8>{OBJ_NESTED});
}

TEST_P(EnumerationSteps, SizesAndLengthsUseNoArgument) {
    EXPECT_EQ(lamp_state_sizeof(nullptr), 16U);
    EXPECT_EQ(lamp_state_len(nullptr, tx, nullptr), 5U);
}

// ---- Values -------------------------------------------------------------------------------

TEST_P(EnumerationSteps, EnteredWithAnErrorChangeNothing) {
    lamp_state *object = lamp(1);
    lamp_state *source = lamp(2);
    char buffer[64] = "as it was";
    const u8 wire[5] = {0, 2, 0, 0, 0};
    expect_untouched([&] {
        lamp_state_set(handle, tx, object, source, &err);
        lamp_state_set_value(handle, tx, object, 2, &err);
        lamp_state_unmarshal(handle, tx, wire, object, 5, 0, &err);
        EXPECT_EQ(lamp_state_get_value(handle, tx, object, &err), 0U);
        EXPECT_EQ(lamp_state_get(handle, tx, object, &err), object);
        EXPECT_EQ(lamp_state_marshal(handle, tx, buffer, object, 64, &err), 0U);
        EXPECT_EQ(lamp_state_unmarshal(handle, tx, wire, object, 5, 0, &err), 0U);
        EXPECT_EQ(lamp_state_backpropagate(handle, tx, object, &err), 0U);
        EXPECT_EQ(lamp_state_print(handle, tx, buffer, 1, "f", object, 64, &err), 0U);
        EXPECT_EQ(lamp_state_to_xml(handle, tx, "f", buffer, object, 64, 0, &err), 0U);
        lamp_state_from_xml(handle, tx, "/f", nullptr, object, &err, buffer, 64);
        EXPECT_EQ(lamp_state_print_cr(handle, object, buffer, 64), 0xffffffffU);
        EXPECT_EQ(lamp_state_toxml_cr(handle, object, buffer, 64), 0xffffffffU);
        EXPECT_EQ(lamp_state_len_cr(handle), 0U);
    });
    EXPECT_EQ(value_of(object), 1U);
    EXPECT_STREQ(buffer, "as it was");
    EXPECT_EQ(lamp_state_backpropagate(handle, tx, object, &err), 1U) << "the mark stayed";
}

TEST_P(EnumerationSteps, ASetterClearsTheErrorAdjustsChecksStoresAndMarks) {
    const std::vector<std::string> steps = {"kel_clear_last_error", "kellib_adjust_variant",
                                            "kel_get_instance_variant",
                                            "kel_set_instance_modified"};
    const std::string expected =
        "kel_clear_last_error kellib_adjust_variant kel_get_instance_variant "
        "kel_set_instance_modified";
    lamp_state *source = lamp(2);
    lamp_state *object = lamp(1);
    handle->last_error = EINVAL;
    services.clear();
    lamp_state_set_value(handle, tx, object, 0, &err);
    EXPECT_EQ(services.order(steps), expected);
    EXPECT_EQ(handle->last_error, 0U);
    handle->last_error = EINVAL;
    services.clear();
    lamp_state_set(handle, tx, object, source, &err);
    EXPECT_EQ(services.order(steps), expected);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(services.calls("kel_set_instance_modified", object).at(0).arguments,
              words(object, 0, 1, 1));
    EXPECT_EQ(services.calls("kel_get_instance_variant").at(0).arguments, words(object, 0, 1));
}

TEST_P(EnumerationSteps, SettingAValueKeepsTheHeader) {
    lamp_state *object = lamp(1);
    const auto header = bytes_of(object, 10);
    head(object)->flags = OBJ_NESTED;
    lamp_state_set_value(handle, tx, object, 2, &err);
    EXPECT_EQ(bytes_of(object, 10), header);
    EXPECT_NE(head(object)->flags & OBJ_NESTED, 0);
}

TEST_P(EnumerationSteps, SettingAnEmbeddedOneCopiesFlagsAndDescriptor) {
    st_tag *tag = make.tag(1);
    lamp_state *inside = st_tag_lamp_get(handle, tx, tag, &err);
    ASSERT_NE(head(inside)->flags & OBJ_NESTED, 0);
    lamp_state *source = lamp(2);
    static const kel_type_info other = _lamp_state_type_info_internal;
    const kel_type_info *own = head(source)->descriptor;
    head(source)->descriptor = &other;
    const auto before = bytes_of(inside, 16);
    HookRecorder hooks(handle);
    lamp_state_set(handle, tx, inside, source, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(inside)->flags & OBJ_NESTED, 0);
    EXPECT_EQ(head(inside)->descriptor, &other);
    EXPECT_EQ(value_of(inside), 2U);
    ASSERT_EQ(hooks.writes_in(inside, 16).size(), 1U);
    EXPECT_EQ(hooks.writes_in(inside, 16)[0].before, before);
    head(source)->descriptor = own;
    head(inside)->descriptor = own;
}

TEST_P(EnumerationSteps, AnEpochErrorIsReportedThroughItsOwnServiceAndMarksNothing) {
    lamp_state *object = lamp_state_create(handle, tx);
    lamp_state *source = lamp(1);
    value_of(source) = 3;
    const auto expect_epoch = [&](const std::function<void()> &setter) {
        services.clear();
        HookRecorder hooks(handle);
        setter();
        expect_error(EIDRM);
        ASSERT_EQ(services.count("kel_store_epoch_err"), 1U);
        EXPECT_EQ(services.calls("kel_store_epoch_err")[0].arguments, words(handle, 43, &err));
        // The service's own call, which the compiler may have inlined.
        EXPECT_LE(services.count("kel_store_err"), 1U);
        EXPECT_EQ(services.count("kel_set_instance_modified"), 0U);
        EXPECT_EQ(hooks.count(Hook::write_log), 0U);
    };
    expect_epoch([&] { lamp_state_set_value(handle, tx, object, 3, &err); });
    expect_epoch([&] { lamp_state_set(handle, tx, object, source, &err); });
}

TEST_P(EnumerationSteps, AnEnumerationOfOneEnumeratorIsCheckedToo) {
    single_choice *object = single_choice_create(handle, tx);
    single_choice_set_value(handle, tx, object, 0, &err);
    EXPECT_EQ(err, 0U);
    single_choice_set_value(handle, tx, object, 1, &err);
    expect_error(EIDRM);
    single_choice_set_value(handle, tx, object, 0xffffffffU, &err);
    expect_error(EIDRM);
    EXPECT_EQ(value_of(object), 0U);
    EXPECT_EQ(single_choice_is_valid_cr(handle, static_cast<u32>(-1)), 1U);
}

TEST_P(EnumerationSteps, ComparingWrapsAt32Bits) {
    lamp_state *a = lamp(0);
    lamp_state *b = lamp(0);
    value_of(a) = 0xffffffffU;
    value_of(b) = 1;
    EXPECT_EQ(lamp_state_compare(a, b), -2);
    EXPECT_EQ(lamp_state_compare(b, a), 2);
}

TEST_P(EnumerationSteps, ValidityUsesTheDomainOnlyForValuesOutOfRange) {
    services.clear();
    EXPECT_EQ(lamp_state_is_valid_cr(handle, 2), 1U);
    EXPECT_EQ(services.count("kel_domain_lookup_variant"), 0U);
    EXPECT_EQ(lamp_state_is_valid_cr(handle, 3), 0U);
    EXPECT_EQ(services.count("kel_domain_lookup_variant"), 1U);
}

TEST_P(EnumerationSteps, AMarkIsReadAndClearedAsThatOfASmallObject) {
    lamp_state *object = lamp(1);
    services.clear();
    EXPECT_EQ(lamp_state_backpropagate(handle, tx, object, &err), 1U);
    EXPECT_EQ(services.calls("kel_get_instance_modified").at(0).arguments, words(object, 0, 1));
    EXPECT_EQ(services.calls("kel_set_instance_modified", object).at(0).arguments,
              words(object, 0, 1, 0));
    services.clear();
    EXPECT_EQ(lamp_state_backpropagate(handle, tx, object, &err), 0U);
    EXPECT_EQ(services.count("kel_set_instance_modified"), 0U);
}

}  // namespace
}  // namespace tarn::test
