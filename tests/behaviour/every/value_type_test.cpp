// SPDX-License-Identifier: Apache-2.0
// The built-in value types as the schema's structures use them, and the time stamp
// that serves as one.
#include <algorithm>
#include <map>

#include "tests/behaviour/every/convention.h"
#include "tests/support/services.h"

namespace tarn::test {
namespace {

// The value type of a field or of an array's elements; empty for an enumeration.
std::string value_type_of(const Field &field) {
    if (field.kind == FieldKind::array) return "u_int8";
    if (field.kind == FieldKind::structure) return field.structure->name;
    return tarnbase::facts_of(field.kind).type;
}

TEST(ValueTypes, AreUsedByKnownNumbersOfFields) {
    std::map<std::string, u32> fields;
    for (const Structure *type : all_structures()) {
        for (const Field &field : fields_of(*type)) {
            const std::string value = value_type_of(field);
            const bool is_struct = field.kind == FieldKind::structure;
            if (!value.empty() && (!is_struct || value == "kel_timespec")) ++fields[value];
        }
    }
    EXPECT_EQ(fields, (std::map<std::string, u32>{{"u_int8", 14},
                                                  {"u_int16", 19},
                                                  {"u_int32", 243},
                                                  {"u_int64", 20},
                                                  {"int32", 12},
                                                  {"int64", 2},
                                                  {"kel_boolean", 23},
                                                  {"kel_vstring", 47},
                                                  {"ip_address", 4},
                                                  {"kel_timespec", 5}}));
}

// One flag byte each; a string's own block has one more byte, an address's seven, a
// structure's its whole block, an array's one per element.
u32 share_of(const Field &field) {
    if (field.kind == FieldKind::vstring) return 2;
    if (field.kind == FieldKind::address) return 8;
    if (field.kind == FieldKind::structure) return 1 + field.structure->state_length;
    return field.kind == FieldKind::array ? 1 + field.elements : 1;
}

TEST(ValueTypes, HaveTheirStateFlagsInTheOrderOfTheFields) {
    for (const Structure *type : all_structures()) {
        const auto fields = fields_of(*type);
        for (std::size_t i = 1; i < fields.size(); ++i) {
            EXPECT_EQ(fields[i].state, fields[i - 1].state + share_of(fields[i - 1]))
                << type->name << "." << fields[i].name;
        }
        const Field &last = fields.back();
        EXPECT_EQ(type->state_length, last.state + share_of(last)) << type->name;
    }
}

// The places that hash their bytes directly, and how many, in the order of the fields.
using Places = std::vector<std::vector<u64>>;
void collect_hashed(const Structure &type, const void *object, Places &places) {
    for (const Field &field : fields_of(type)) {
        const u8 *place = at(object, field.offset);
        if (field.kind == FieldKind::enumeration) {
            places.push_back(words(&reinterpret_cast<const kel_enum_object *>(place)->value, 4));
        } else if (field.kind == FieldKind::array) {
            places.push_back(words(place, field.elements));
        } else if (field.kind == FieldKind::structure) {
            collect_hashed(*field.structure, place, places);
        }
    }
}

TEST(ValueTypes, OnlyEnumerationsAndArraysHashTheirBytesDirectly) {
    std::ptrdiff_t arrays = 0;
    for (const Structure *type : all_structures()) {
        const Session session;
        const Typed typed(*type, session.handle());
        void *object = typed.create();
        typed.fill(object, 3);
        Places expected;
        collect_hashed(*type, object, expected);
        Places hashed;
        {
            const ServiceRecorder services(session.handle());
            call<u32>(typed.name("hash"), {object, 99});
            for (const ServiceCall &each : services.calls("SuperFastHash")) {
                hashed.push_back(each.arguments_in(0, 2));
            }
        }
        EXPECT_EQ(hashed, expected) << type->name;
        arrays += std::count_if(hashed.begin(), hashed.end(),
                                [](const auto &each) { return each.at(1) == 1440; });
        typed.destroy(object);
    }
    EXPECT_EQ(arrays, 2);
}

TEST(ValueTypes, AnEnumerationHashesItsFourBytesFromTheSeed) {
    for (const Enumeration *type : all_enumerations()) {
        const Session session;
        const ServiceRecorder services(session.handle());
        const std::string name = type->name;
        auto *object = call<kel_enum_object *>(name + "_create", {session.handle(), KEL_TX_NONE});
        call<u32>(name + "_hash", {object, 99});
        const auto hashed = services.calls("SuperFastHash");
        ASSERT_EQ(hashed.size(), 1U) << name;
        EXPECT_EQ(hashed[0].arguments, words(&object->value, 4, 99)) << name;
        call(name + "_destroy", {session.handle(), KEL_TX_NONE, object});
    }
}

class TimeStamps : public ::testing::Test {
 protected:
    void *make(u32 seconds, u32 nanoseconds) {
        void *object = typed.create();
        typed("tv_sec_set_value", {object, seconds, &err});
        typed("tv_nsec_set_value", {object, nanoseconds, &err});
        EXPECT_EQ(err, 0U);
        return object;
    }
    std::int32_t compare(const void *a, const void *b) {
        return call<std::int32_t>("kel_timespec_compare", {a, b});
    }
    Session session;
    kel_handle *const handle = session.handle();
    const Typed typed{structure("kel_timespec"), handle};
    u32 err = 0;
};

TEST_F(TimeStamps, AreTwoNumbersOf32Bits) {
    const auto fields = fields_of(typed.type());
    ASSERT_EQ(fields.size(), 2U);
    EXPECT_STREQ(fields[0].name, "tv_sec");
    EXPECT_STREQ(fields[1].name, "tv_nsec");
    for (const Field &field : fields) EXPECT_EQ(field.kind, FieldKind::u_int32);
    void *object = make(0x11223344, 0x55667788);
    const std::vector<u8> wire = typed.wire(object);
    const std::vector<u8> numbers = {0x44, 0x33, 0x22, 0x11, 0x88, 0x77, 0x66, 0x55};
    EXPECT_EQ(std::vector<u8>(wire.end() - 8, wire.end()), numbers);
}

TEST_F(TimeStamps, ReturnTheirAddressAsAccess) {
    void *object = make(1, 2);
    EXPECT_EQ(typed.operator()<void *>("get", {object, &err}), object);
    EXPECT_EQ(err, 0U);
}

TEST_F(TimeStamps, CompareSecondsThenNanosecondsUnsigned) {
    void *early = make(5, 0xffffffff);
    void *late = make(0x80000000, 0);
    void *later = make(0x80000000, 1);
    void *latest = make(0x80000000, 0x80000000);
    EXPECT_LT(compare(early, late), 0);
    EXPECT_LT(compare(late, later), 0);
    EXPECT_LT(compare(later, latest), 0);
    EXPECT_GT(compare(latest, early), 0);
    EXPECT_EQ(compare(late, make(0x80000000, 0)), 0);
}

TEST_F(TimeStamps, HashSecondsThenNanoseconds) {
    const u32 seconds = 7;
    const u32 nanoseconds = 8;
    const u32 expected = u_int32_hash(&nanoseconds, u_int32_hash(&seconds, 99));
    EXPECT_EQ(call<u32>("kel_timespec_hash", {make(seconds, nanoseconds), 99}), expected);
}

TEST_F(TimeStamps, HaveNoOffsetsToSetOrClear) {
    kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_ON);
    void *object = make(1, 2);
    u8 block[8] = {};
    const HookRecorder hooks(handle);
    typed("offset_update", {object, block, &err});
    typed("offset_remove", {object, &err});
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(kellib_get_sttr_offset(handle, KEL_TX_NONE, object), 0U);
}

}  // namespace
}  // namespace tarn::test
