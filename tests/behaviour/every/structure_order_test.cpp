// SPDX-License-Identifier: Apache-2.0
// How each structure is compared and hashed, field by field.
#include "tarnbase/runtime.h"
#include "tests/behaviour/every/objects.h"
#include "tests/support/services.h"

namespace tarn::test {
namespace {

class StructureOrder : public StructureTest {
 protected:
    void SetUp() override {
        object = typed.create();
        other = typed.create();
        typed.fill(object, 1);
        typed.fill(other, 1);
    }
    void TearDown() override {
        typed.destroy(object);
        typed.destroy(other);
        StructureTest::TearDown();
    }
    std::int32_t compare(const void *a, const void *b) const {
        return call<std::int32_t>(typed.name("compare"), {a, b});
    }
    // The object that is passed for the first field that decides, the field under test.
    void set(void *which, const Field &field, u64 value) {
        typed(std::string(field.name) + "_set_value", {which, value, &err});
    }

    void *object = nullptr;
    void *other = nullptr;
};
TARN_EACH_STRUCTURE(StructureOrder);

TEST_P(StructureOrder, IntegersCompareInTheirWidthAndSignTo1OrMinus1) {
    for (const Field &field : fields_of(type)) {
        if (field.kind >= FieldKind::boolean) continue;
        const bool is_signed = field.kind == FieldKind::int32 || field.kind == FieldKind::int64;
        // All ones: the greatest, or one below zero.
        set(object, field, ~u64{0});
        set(other, field, 0);
        EXPECT_EQ(compare(object, other), is_signed ? -1 : 1) << field.name;
        EXPECT_EQ(compare(other, object), is_signed ? 1 : -1) << field.name;
        set(object, field, 0);
        EXPECT_EQ(compare(object, other), 0) << field.name;
    }
}

TEST_P(StructureOrder, EnumerationsCompareByTheDifferenceOfTheirValues) {
    for (const Field &field : fields_of(type)) {
        if (field.kind != FieldKind::enumeration) continue;
        const u32 first = field.enumeration->first_user_value;
        const u32 last = first + field.enumeration->count - 1;
        set(object, field, last);
        set(other, field, first);
        const auto difference = static_cast<std::int32_t>(last - first);
        EXPECT_EQ(compare(object, other), difference) << field.name;
        EXPECT_EQ(compare(other, object), -difference) << field.name;
        set(object, field, first);
    }
}

TEST_P(StructureOrder, HeadersAndStateAreNotCompared) {
    typed("set_all_state_tracking_flag", {other, 9});
    head(other)->flags ^= OBJ_EMBEDDED | OBJ_MODIFIED;
    EXPECT_EQ(compare(object, other), 0);
    EXPECT_EQ(call<u32>(typed.name("hash"), {object, 5}),
              call<u32>(typed.name("hash"), {other, 5}));
    head(other)->flags ^= OBJ_EMBEDDED;
}

// The places whose hashes form a structure's, in order.
void add_places(const Structure &type, const void *object, std::vector<const void *> &found) {
    for (const Field &field : fields_of(type)) {
        const u8 *place = at(object, field.offset);
        if (field.structure != nullptr) {
            add_places(*field.structure, place, found);
        } else {
            // An enumeration's is that of its value.
            found.push_back(field.kind == FieldKind::enumeration ? place + 12 : place);
        }
    }
}

TEST_P(StructureOrder, EachFieldsHashSeedsTheNext) {
    std::vector<const void *> expected;
    add_places(type, object, expected);
    ServiceRecorder recorder(handle);
    const u32 hash = call<u32>(typed.name("hash"), {object, 77});
    std::vector<const void *> places;
    u64 seed = 77;
    for (const ServiceCall &call : recorder.calls()) {
        places.push_back(call.pointer<const void>(0));
        EXPECT_EQ(static_cast<u32>(call.arguments.back()), seed);
        seed = static_cast<u32>(call.result);
    }
    EXPECT_EQ(places, expected);
    EXPECT_EQ(hash, seed);
}

}  // namespace
}  // namespace tarn::test
