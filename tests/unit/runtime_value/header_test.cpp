// SPDX-License-Identifier: Apache-2.0
// What initialize, set_instance_embedded and destroy_internal do to a value's
// header, and how values are counted.
#include <cerrno>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

class ValueHeader : public ValueTest {
 protected:
    kel_vstring *string = make_zeroed<kel_vstring>();

    void initialize(std::uint32_t log_writes, std::uint32_t quiet, std::uint8_t flags) {
        kel_vstring_initialize(handle, tx, string, &_kel_vstring_type_info_internal, log_writes,
                               quiet, flags, nullptr, &err);
    }
    static kel_variant_usage usage(const kel_type_info &descriptor) {
        return descriptor.variant_info->variants[0];
    }
};

TEST_F(ValueHeader, InitializeFillsTheHeaderAndLeavesAnEmptyValue) {
    initialize(0, 1, OBJ_NESTED);
    EXPECT_EQ(string->descriptor, &_kel_vstring_type_info_internal);
    EXPECT_EQ(string->variant, 0);
    EXPECT_EQ(string->created_variant, 0);
    EXPECT_EQ(string->flags, OBJ_NESTED);
    EXPECT_EQ(text_of(string), "");
    EXPECT_EQ(err, 0U);
}

TEST_F(ValueHeader, LoggedInitializeAnnouncesEachMemberInOrder) {
    HookRecorder hooks(handle);
    tx = 6;
    initialize(1, 1, OBJ_NESTED);
    const void *const places[] = {&string->created_variant, &string->variant, &string->descriptor,
                                  &string->flags};
    const std::uint64_t lengths[] = {1, 1, 8, 1};
    ASSERT_EQ(hooks.events.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(hooks.events[i].address, places[i]);
        EXPECT_EQ(hooks.events[i].length, lengths[i]);
        EXPECT_EQ(hooks.events[i].tx_id, 6U);
        EXPECT_EQ(hooks.events[i].before, std::vector<std::uint8_t>(lengths[i], 0));
    }
}

TEST_F(ValueHeader, UnloggedQuietInitializeCallsNoHook) {
    HookRecorder hooks(handle);
    initialize(0, 1, OBJ_NESTED);
    EXPECT_TRUE(hooks.events.empty());
}

TEST_F(ValueHeader, ExistingFlagsAreKept) {
    string->flags = OBJ_STATE_ELSEWHERE;
    initialize(0, 1, OBJ_NESTED);
    EXPECT_EQ(string->flags, OBJ_NESTED | OBJ_STATE_ELSEWHERE);
}

TEST_F(ValueHeader, WithTrackingOnOnlyStringsAndAddressesAreTracked) {
    kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_ON);
    HookRecorder hooks(handle);
    initialize(1, 1, OBJ_NESTED);
    EXPECT_EQ(string->flags, OBJ_NESTED | OBJ_STATE_TRACKED);
    EXPECT_EQ(hooks.count(Hook::write_log), 5U);
    EXPECT_EQ(make_address()->flags, OBJ_NESTED | OBJ_STATE_TRACKED);
    EXPECT_EQ(make_boolean()->flags, OBJ_NESTED);
}

TEST_F(ValueHeader, ANegativeVariantOfTheDomainIsStoredInTheHeader) {
    ASSERT_EQ(kel_handle_set_variant(handle, &_kel_vstring_type_info_internal, -1), 0U);
    initialize(0, 1, 0);
    EXPECT_EQ(string->variant, -1);
    EXPECT_EQ(string->created_variant, -1);
    ASSERT_EQ(kel_handle_set_variant(handle, &_kel_vstring_type_info_internal, 4), 0U);
    initialize(0, 1, 0);
    EXPECT_EQ(string->variant, 0);
}

TEST_F(ValueHeader, AnErrorOnEntryKeepsTheMemory) {
    err = ENOMEM;
    initialize(1, 0, OBJ_NESTED);
    const kel_vstring zeroed{};
    EXPECT_EQ(std::memcmp(string, &zeroed, sizeof zeroed), 0);
    EXPECT_EQ(err, ENOMEM);
}

TEST_F(ValueHeader, ACorruptedHandleAborts) {
    EXPECT_DEATH(
        {
            kel_state_tracking corrupted{0x1234};
            handle->state_tracking = &corrupted;
            initialize(0, 1, 0);
        },
        "\\(FATAL\\): Corrupted KEL Handle");
}

TEST_F(ValueHeader, StringsAndAddressesAreCountedWhenCreatedAndDestroyed) {
    const auto check = [&](const kel_type_info &descriptor, auto make, auto destroy) {
        const kel_variant_usage before = usage(descriptor);
        HookRecorder hooks(handle);
        auto *value = make();
        EXPECT_EQ(usage(descriptor).created, before.created + 1);
        EXPECT_EQ(usage(descriptor).live, before.live + 1);
        ASSERT_EQ(hooks.count(Hook::delta_log), 2U);
        EXPECT_EQ(hooks.of(Hook::delta_log)[0].delta, 1);
        EXPECT_EQ(hooks.of(Hook::delta_log)[0].counter_before, before.created);
        EXPECT_EQ(hooks.of(Hook::delta_log)[1].counter_before, before.live);
        hooks.clear();
        destroy(value);
        EXPECT_EQ(usage(descriptor).destroyed, before.destroyed + 1);
        EXPECT_EQ(usage(descriptor).live, before.live);
        ASSERT_EQ(hooks.count(Hook::delta_log), 2U);
        EXPECT_EQ(hooks.of(Hook::delta_log)[0].delta, 1);
        EXPECT_EQ(hooks.of(Hook::delta_log)[1].delta, -1);
    };
    check(
        _kel_vstring_type_info_internal, [&] { return make_string(); },
        [&](kel_vstring *value) { kel_vstring_destroy_internal(handle, tx, value, 0); });
    check(
        _ip_address_type_info_internal, [&] { return make_address(); },
        [&](ip_address *value) { ip_address_destroy_internal(handle, tx, value, 0); });
}

TEST_F(ValueHeader, QuietInitializeCountsNothing) {
    const kel_variant_usage before = usage(_kel_vstring_type_info_internal);
    initialize(0, 1, 0);
    EXPECT_EQ(usage(_kel_vstring_type_info_internal).created, before.created);
    EXPECT_EQ(usage(_kel_vstring_type_info_internal).live, before.live);
}

TEST_F(ValueHeader, ARollbackUndoesTheCounts) {
    const kel_variant_usage before = usage(_kel_vstring_type_info_internal);
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    initialize(1, 0, OBJ_NESTED);
    ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
    EXPECT_EQ(usage(_kel_vstring_type_info_internal).created, before.created);
    EXPECT_EQ(usage(_kel_vstring_type_info_internal).live, before.live);
    EXPECT_EQ(string->descriptor, nullptr);
}

TEST_F(ValueHeader, SetInstanceEmbeddedAnnouncesTheFlagsByte) {
    kel_boolean *boolean = make_boolean();
    ip_address *address = make_address();
    initialize(0, 1, OBJ_NESTED);
    HookRecorder hooks(handle);
    kel_vstring_set_instance_embedded(handle, 3, string);
    ip_address_set_instance_embedded(handle, 3, address);
    kel_boolean_set_instance_embedded(handle, 3, boolean);
    ASSERT_EQ(hooks.events.size(), 3U);
    EXPECT_EQ(hooks.events[0].address, &string->flags);
    EXPECT_EQ(hooks.events[1].address, &address->flags);
    EXPECT_EQ(hooks.events[2].address, &boolean->flags);
    for (const HookEvent &event : hooks.events) {
        EXPECT_EQ(event.length, 1U);
        EXPECT_EQ(event.before, std::vector<std::uint8_t>({OBJ_NESTED}));
        EXPECT_EQ(event.tx_id, 3U);
    }
    EXPECT_EQ(string->flags, OBJ_NESTED | OBJ_EMBEDDED);
    EXPECT_EQ(address->flags, OBJ_NESTED | OBJ_EMBEDDED);
    EXPECT_EQ(boolean->flags, OBJ_NESTED | OBJ_EMBEDDED);
    kel_vstring_set_instance_embedded(handle, tx, nullptr);
    ip_address_set_instance_embedded(handle, tx, nullptr);
    kel_boolean_set_instance_embedded(handle, tx, nullptr);
}

TEST_F(ValueHeader, ModifiedMarksOfStringsAndAddressesAreReadOnce) {
    ip_address *address = make_address();
    initialize(0, 1, OBJ_NESTED);
    EXPECT_EQ(kel_vstring_type_type_backpropagate(handle, tx, string, &err), 0U);
    kel_set_instance_modified(string, 1, 0, 1);
    kel_set_instance_modified(address, 1, 0, 1);
    EXPECT_EQ(kel_vstring_type_type_backpropagate(handle, tx, string, &err), 1U);
    EXPECT_EQ(kel_vstring_type_type_backpropagate(handle, tx, string, &err), 0U);
    EXPECT_EQ(ip_address_type_type_backpropagate(handle, tx, address, &err), 1U);
    EXPECT_EQ(ip_address_type_type_backpropagate(handle, tx, address, &err), 0U);
    EXPECT_EQ(string->flags, OBJ_NESTED);
    EXPECT_EQ(ip_address_type_type_backpropagate(handle, tx, nullptr, &err), 0U);
}

TEST_F(ValueHeader, DestroyingAValueRemovesItFromTheHdMapping) {
    const auto check = [&](auto *value, auto destroy) {
        const std::uint64_t blocks = session.blocks();
        kellib_update_sttr_offset(handle, tx, value, 40);
        ASSERT_EQ(kellib_get_sttr_offset(handle, tx, value), 40U);
        handle->hd_mapping_enabled = 0;
        destroy(value);
        EXPECT_EQ(kellib_get_sttr_offset(handle, tx, value), 40U);
        handle->hd_mapping_enabled = 1;
        destroy(value);
        EXPECT_EQ(kellib_get_sttr_offset(handle, tx, value), 0U);
        EXPECT_EQ(value->flags & OBJ_STATE_ELSEWHERE, 0);
        EXPECT_EQ(session.blocks(), blocks);
    };
    check(make_string(),
          [&](kel_vstring *value) { kel_vstring_destroy_internal(handle, tx, value, 0); });
    check(make_address(),
          [&](ip_address *value) { ip_address_destroy_internal(handle, tx, value, 0); });
}

TEST_F(ValueHeader, ValuesHoldNoReferencesAndNoOffset) {
    initialize(0, 1, OBJ_NESTED);
    ip_address *address = make_address();
    const kel_vstring before = *string;
    std::uint64_t reference = 1;
    HookRecorder hooks(handle);
    EXPECT_EQ(kel_vstring_get_oid_count(handle, tx, string, &err), 0U);
    EXPECT_EQ(ip_address_get_oid_count(handle, tx, address, &err), 0U);
    kel_vstring_get_object_references(handle, tx, string, &reference, 1, &err);
    ip_address_get_object_references(handle, tx, address, &reference, 1, &err);
    kel_vstring_offset_update(handle, tx, string, &reference, &err);
    kel_vstring_offset_remove(handle, tx, string, &err);
    ip_address_offset_update(handle, tx, address, &reference, &err);
    ip_address_offset_remove(handle, tx, address, &err);
    EXPECT_EQ(reference, 1U);
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(std::memcmp(string, &before, sizeof before), 0);
}

TEST(ValueDescriptors, AreValidAndDistinct) {
    const kel_type_info *const all[] = {&_kel_boolean_type_info_internal,
                                        &_kel_vstring_type_info_internal,
                                        &_ip_address_type_info_internal};
    const char *const names[] = {"kel_boolean", "kel_vstring", "ip_address"};
    const std::uint32_t sizes[] = {16, 32, 32};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(all[i]->magic, KEL_TYPE_INFO_MAGIC);
        EXPECT_STREQ(all[i]->name, names[i]);
        EXPECT_STREQ(all[i]->kind, "type");
        EXPECT_EQ(all[i]->type_slot, KEL_TYPE_SLOT_NONE);
        EXPECT_EQ(all[i]->store_private, 0U);
        ASSERT_EQ(all[i]->variant_info->variant_count, 1);
        EXPECT_EQ(all[i]->variant_info->variants[0].variant, 0U);
        EXPECT_EQ(all[i]->variant_info->variants[0].used_length, sizes[i]);
        EXPECT_EQ(all[i]->variant_info->variants[0].alloc_slop, 0U);
        std::string text;
        for (const std::uint8_t byte : all[i]->luid) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", unsigned{byte});
            text += digits;
        }
        EXPECT_EQ(text, all[i]->luid_text);
        for (std::size_t j = 0; j < i; ++j) EXPECT_STRNE(all[i]->luid_text, all[j]->luid_text);
    }
}

}  // namespace
}  // namespace tarn::test
