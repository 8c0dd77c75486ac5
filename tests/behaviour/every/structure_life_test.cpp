// SPDX-License-Identifier: Apache-2.0
// Each structure from raw memory to an object and back.
#include <cstring>

#include "tests/behaviour/every/objects.h"

namespace tarn::test {
namespace {

class StructureLife : public StructureTest {
 protected:
    kel_variant_usage usage() const {
        const kel_type_info *descriptor = type.descriptor;
        if (GetParam().mode == Mode::store_types) {
            void *object = typed.create();
            descriptor = head(object)->descriptor;
            typed.destroy(object);
        }
        return descriptor->variant_info->variants[static_cast<u8>(type.top_variant)];
    }
    void expect_new(const void *object) const {
        ASSERT_NE(object, nullptr);
        EXPECT_STREQ(head(object)->descriptor->name, type.name);
        EXPECT_EQ(head(object)->descriptor == type.descriptor,
                  GetParam().mode != Mode::store_types);
        EXPECT_EQ(head(object)->variant, type.top_variant);
        EXPECT_EQ(head(object)->created_variant, type.top_variant);
        EXPECT_EQ((head(object)->flags & OBJ_STATE_TRACKED) != 0, tracking);
        if (!tracking) return;
        const u8 *block = at(object, type.plain_size);
        EXPECT_EQ(std::vector<u8>(block, block + type.state_length),
                  std::vector<u8>(type.state_length));
    }
    void *raw_memory() const {
        const u32 size = typed.cr<u32>("sizeof", {});
        void *memory = handle->alloc_hook(handle->arena, KEL_TX_NONE, size);
        std::memset(memory, 0, size);
        return memory;
    }
};
TARN_EACH_STRUCTURE(StructureLife);

TEST_P(StructureLife, TakesItsStateBlockOnlyInATrackingHandle) {
    EXPECT_EQ(typed.cr<u32>("sizeof", {}), type.plain_size + (tracking ? type.state_length : 0));
}

TEST_P(StructureLife, EachFormCreatesACountedEmptyObjectOrDestroysOne) {
    const kel_variant_usage before = usage();
    void *made[] = {typed.create(), typed.operator()<void *>("create_internal", {}),
                    typed.cr<void *>("create_cr", {})};
    for (const void *object : made) expect_new(object);
    EXPECT_EQ(usage().live, before.live + 3);
    for (u32 i = 0; i < 3; ++i) typed.fill(made[i], i);
    for (u32 i = 0; i < 3; ++i) typed.check(made[i], i);
    typed.destroy(made[0]);
    typed("destroy_internal", {made[1], 1});
    typed.cr("destroy_cr", {made[2]});
    EXPECT_EQ(usage().live, before.live);
}

TEST_P(StructureLife, InitialisesMemoryAndDestroysItWithoutFreeing) {
    void *object = raw_memory();
    typed("initialize",
          {object, symbol("_" + typed.name("type_info_internal")), 1, 0, 0, nullptr, &err});
    typed.fill(object, 4);
    typed.check(object, 4);
    typed("destroy_internal", {object, 0});
    handle->free_hook(handle->arena, KEL_TX_NONE, object);
}

TEST_P(StructureLife, MarksItselfAndItsFieldsAsEmbedded) {
    void *object = typed.create();
    typed("set_instance_embedded", {object});
    EXPECT_NE(head(object)->flags & OBJ_EMBEDDED, 0);
    for (const Field &field : fields_of(type)) {
        if (field.descriptor == nullptr) continue;
        const u8 flags = head(at(object, field.offset))->flags;
        EXPECT_EQ(flags & (OBJ_EMBEDDED | OBJ_NESTED), OBJ_EMBEDDED | OBJ_NESTED) << field.name;
    }
    typed.destroy(object);
}

TEST_P(StructureLife, HoldsNoObjectReferences) {
    void *object = typed.create();
    u64 references[2] = {7, 7};
    EXPECT_EQ(typed.operator()<u32>("get_oid_count", {object, &err}), 0U);
    typed("get_object_references", {object, references, 2, &err});
    EXPECT_EQ(references[0], 7U);
    EXPECT_EQ(typed.operator()<void *>("get", {object, &err}), object);
    typed.destroy(object);
}

TEST_P(StructureLife, RemovesAndSetsTheOffsetsOfItsFields) {
    void *object = typed.create();
    u8 *block = at(object, type.plain_size);
    typed("offset_remove", {object, &err});
    if (!tracking) {
        typed.fill(object, 5);
        typed.check(object, 5);
        typed.destroy(object);
        return;
    }
    typed("offset_update", {object, block, &err});
    for (const Field &field : fields_of(type)) {
        if (field.structure == nullptr) continue;
        void *inner = at(object, field.offset);
        const Typed nested(*field.structure, handle);
        nested("set_all_state_tracking_flag", {inner, 9});
        const u8 *share = block + field.state;
        EXPECT_EQ(share[0], 0) << field.name;
        EXPECT_EQ(share[1], 9) << field.name;
        EXPECT_EQ(share[field.structure->state_length], 9) << field.name;
    }
    typed.fill(object, 5);
    typed.check(object, 5);
    typed.destroy(object);
}

TEST_P(StructureLife, ACopyOfItsBytesBecomesIndependent) {
    void *source = typed.create();
    typed.fill(source, 6);
    void *copy = typed.create();
    std::memcpy(copy, source, type.plain_size);
    typed("post_copyout_cleanup", {copy, source, &err});
    typed.check(copy, 6);
    typed.fill(source, 7);
    typed.check(copy, 6);
    typed.destroy(source);
    typed.check(copy, 6);
    typed.destroy(copy);
}

TEST_P(StructureLife, ChecksFieldNumbersAndVariantsOfItsDomain) {
    const u32 numbers = type.field_numbers[type.top_variant];
    EXPECT_EQ(typed.cr<u32>("is_valid_cr", {nullptr, 0}), 1U);
    EXPECT_EQ(typed.cr<u32>("is_valid_cr", {nullptr, numbers - 1}), 1U);
    EXPECT_EQ(typed.cr<u32>("is_valid_cr", {nullptr, numbers}), 0U);
    const std::string cap = typed.name("variant_data_index_cap");
    for (int variant = -2; variant < 4; ++variant) {
        const int expected = variant > type.top_variant ? type.top_variant : variant;
        EXPECT_EQ(call<std::int8_t>(cap, {variant}), expected);
    }
    void *object = typed.create();
    EXPECT_EQ(typed.operator()<std::int32_t>("adjust_variant", {object, &err}), type.top_variant);
    EXPECT_EQ(typed.operator()<std::int32_t>("adjust_variant", {nullptr, &err}), 0);
    typed.destroy(object);
}

TEST_P(StructureLife, ARollbackRestoresTheObject) {
    void *object = typed.create();
    typed.fill(object, 8);
    u32 tx = 0;
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    const Typed within(type, handle, tx);
    within.fill(object, 9);
    within.check(object, 9);
    within.destroy(within.create());
    ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
    typed.check(object, 8);
    typed.destroy(object);
}

}  // namespace
}  // namespace tarn::test
