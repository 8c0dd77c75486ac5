// SPDX-License-Identifier: Apache-2.0
// Variants of handles and instances, marks and flags of instances.
#include <cerrno>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

// A type of three variants, and the same type as another build has it.
kel_variant_usage usages[3] = {{0, 16, 0, 0, 0, 0}, {1, 24, 0, 0, 0, 0}, {2, 32, 0, 0, 0, 0}};
kel_variant_info three_variants = {3, usages};
kel_variant_info one_variant = {1, usages};

kel_type_info describe(std::uint8_t luid, kel_variant_info *variants) {
    kel_type_info descriptor{};
    descriptor.magic = KEL_TYPE_INFO_MAGIC;
    descriptor.luid[15] = luid;
    descriptor.variant_info = variants;
    return descriptor;
}

class Variants : public ValueTest {
 protected:
    const kel_type_info type = describe(1, &three_variants);
    const kel_type_info same_type = describe(1, &one_variant);
    const kel_type_info other_type = describe(2, &three_variants);
    kel_object *object = make_zeroed<kel_object>();

    std::int8_t domain(const kel_type_info *descriptor) {
        return static_cast<std::int8_t>(
            kel_domain_lookup_variant(handle, &handle->variant_domain, descriptor, &err));
    }
    std::int32_t adjust(const kel_type_info *descriptor, std::int32_t top) {
        return kellib_adjust_variant(handle, tx, object, descriptor, top, &err);
    }
};

TEST_F(Variants, ADomainReturnsTheHighestVariantUnlessOneIsChosen) {
    EXPECT_EQ(domain(&type), 2);
    EXPECT_EQ(domain(&same_type), 0);
    EXPECT_EQ(domain(&_kel_vstring_type_info_internal), 0);
    EXPECT_EQ(domain(nullptr), 0);
    kel_type_info bare{};
    EXPECT_EQ(domain(&bare), 0);
    EXPECT_EQ(err, 0U);
}

TEST_F(Variants, AChoiceHoldsForTheTypesLuidOnThisHandle) {
    ASSERT_EQ(kel_handle_set_variant(handle, &type, 1), 0U);
    EXPECT_EQ(domain(&type), 1);
    EXPECT_EQ(domain(&same_type), 1);
    EXPECT_EQ(domain(&other_type), 2);
    ASSERT_EQ(kel_handle_set_variant(handle, &same_type, 7), 0U);
    EXPECT_EQ(domain(&type), 7);
    kel_handle *other = session.second_handle(Mode::plain);
    EXPECT_EQ(kel_domain_lookup_variant(other, &other->variant_domain, &type, &err), 2U);
}

TEST_F(Variants, ANegativeChoiceIsReturnedInTheLowByte) {
    ASSERT_EQ(kel_handle_set_variant(handle, &type, -1), 0U);
    EXPECT_EQ(domain(&type), -1);
    EXPECT_EQ(kel_domain_lookup_variant(handle, &handle->variant_domain, &type, &err), 0xffU);
}

TEST_F(Variants, AChoiceForNoTypeIsInvalid) {
    EXPECT_EQ(kel_handle_set_variant(handle, nullptr, 1), EINVAL);
    EXPECT_STREQ(kel_error_text(), "kel_handle_set_variant: the descriptor is null");
}

TEST_F(Variants, AnInstanceIsRaisedToTheDomainAnnounced) {
    HookRecorder hooks(handle);
    tx = 5;
    EXPECT_EQ(adjust(&type, 2), 2);
    EXPECT_EQ(object->variant, 2);
    EXPECT_EQ(object->created_variant, 0);
    ASSERT_EQ(hooks.events.size(), 1U);
    EXPECT_EQ(hooks.events[0].address, &object->variant);
    EXPECT_EQ(hooks.events[0].length, 1U);
    EXPECT_EQ(hooks.events[0].tx_id, 5U);
    EXPECT_EQ(hooks.events[0].before, std::vector<std::uint8_t>({0}));
    EXPECT_EQ(adjust(&type, 2), 2);
    EXPECT_EQ(hooks.events.size(), 1U);
}

TEST_F(Variants, AnInstanceIsNeverRaisedAboveTheTopVariantOrTheDomain) {
    EXPECT_EQ(adjust(&type, 0), 0);
    EXPECT_EQ(adjust(&type, 1), 1);
    ASSERT_EQ(kel_handle_set_variant(handle, &type, 1), 0U);
    EXPECT_EQ(adjust(&type, 2), 1);
    EXPECT_EQ(object->variant, 1);
}

TEST_F(Variants, AnInstanceIsNeverLowered) {
    object->variant = 2;
    ASSERT_EQ(kel_handle_set_variant(handle, &type, -1), 0U);
    EXPECT_EQ(adjust(&type, 2), 2);
    EXPECT_EQ(adjust(&type, 0), 2);
    object->variant = -1;
    EXPECT_EQ(adjust(&type, 2), -1);
}

TEST_F(Variants, WithoutObjectDescriptorOrWithAnErrorNothingIsRaised) {
    EXPECT_EQ(kellib_adjust_variant(handle, tx, nullptr, &type, 2, &err), 0);
    object->variant = -1;
    EXPECT_EQ(adjust(nullptr, 2), -1);
    err = EINVAL;
    EXPECT_EQ(adjust(&type, 2), -1);
    EXPECT_EQ(object->variant, -1);
}

TEST_F(Variants, AnInstanceHasAVariantAndFlags) {
    object->variant = -3;
    object->flags = 0x2a;
    EXPECT_EQ(kel_get_instance_variant(object, 1, 0), -3);
    EXPECT_EQ(kel_get_instance_variant(nullptr, 1, 0), 0);
    EXPECT_EQ(kel_get_instance_obj_flag(object, 1, 0), 0x2a);
    EXPECT_EQ(kel_get_instance_obj_flag(nullptr, 1, 0), 0);
}

TEST_F(Variants, TheModifiedMarkIsOneBitOfTheFlagsAndIsNotAnnounced) {
    HookRecorder hooks(handle);
    object->flags = 0x7f;
    EXPECT_EQ(kel_get_instance_modified(object, 1, 0), 0U);
    kel_set_instance_modified(object, 1, 0, 1);
    EXPECT_EQ(kel_get_instance_modified(object, 0, 1), 1U);
    EXPECT_EQ(object->flags, 0xff);
    kel_set_instance_modified(object, 1, 1, 0);
    EXPECT_EQ(kel_get_instance_modified(object, 1, 0), 0U);
    EXPECT_EQ(object->flags, 0x7f);
    kel_set_instance_modified(nullptr, 1, 0, 1);
    EXPECT_EQ(kel_get_instance_modified(nullptr, 1, 0), 0U);
    EXPECT_TRUE(hooks.events.empty());
}

TEST_F(Variants, OnlyAFreeObjectMayBeAttached) {
    EXPECT_EQ(kellib_validate_object_flags(object, 1, 1), 0U);
    object->flags = static_cast<std::uint8_t>(~(OBJ_NESTED | OBJ_EMBEDDED));
    EXPECT_EQ(kellib_validate_object_flags(object, 1, 1), 0U);
    object->flags = OBJ_NESTED;
    EXPECT_EQ(kellib_validate_object_flags(object, 1, 1), EINVAL);
    object->flags = OBJ_EMBEDDED | OBJ_STATE_TRACKED;
    EXPECT_EQ(kellib_validate_object_flags(object, 1, 1), EINVAL);
    EXPECT_EQ(kellib_validate_object_flags(nullptr, 1, 1), 0U);
}

}  // namespace
}  // namespace tarn::test
