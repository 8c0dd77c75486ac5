// SPDX-License-Identifier: Apache-2.0
// The layout of each structure in memory, computed again from only the kinds of its
// fields.
#include <dlfcn.h>

#include <algorithm>
#include <cstddef>

#include "tests/behaviour/every/call.h"
#include "tests/behaviour/every/items.h"

namespace tarn::test {
namespace {

u32 round_up(u32 value, u32 alignment) { return (value + alignment - 1) / alignment * alignment; }

struct Extent {
    u32 size = 0;       // in the body
    u32 alignment = 0;  // of its place there
    u32 share = 0;      // bytes in the state block
};

u32 used_length(const Structure &type, std::int8_t variant);
u32 allocation(u32 used) { return round_up(used, 8) + (used <= 64 ? 8 : 16); }
u32 state_length(const Structure &type);

Extent extent_of(const Field &field) {
    switch (field.kind) {
        case FieldKind::u_int8:
            return {1, 1, 1};
        case FieldKind::u_int16:
            return {2, 2, 1};
        case FieldKind::u_int32:
        case FieldKind::int32:
            return {4, 4, 1};
        case FieldKind::u_int64:
        case FieldKind::int64:
            return {8, 8, 1};
        case FieldKind::boolean:
        case FieldKind::enumeration:
            return {16, 8, 1};
        case FieldKind::vstring:
            return {32, 8, 2};
        case FieldKind::address:
            return {32, 8, 8};
        case FieldKind::structure:
            return {allocation(used_length(*field.structure, field.structure->top_variant)), 8,
                    1 + state_length(*field.structure)};
        case FieldKind::array:
            return {1440, 1, 1441};
    }
    return {};
}

u32 used_length(const Structure &type, std::int8_t variant) {
    u32 end = KEL_OBJECT_HEADER_SIZE;
    for (const Field &field : fields_of(type)) {
        if (field.first_variant > variant) continue;
        const Extent extent = extent_of(field);
        end = round_up(end, extent.alignment) + extent.size;
    }
    return end;
}

u32 state_length(const Structure &type) {
    u32 length = 0;
    for (const Field &field : fields_of(type)) length += extent_of(field).share;
    return length;
}

const Field &field_of(const Structure &type, const std::string &name) {
    return *std::find_if(type.fields, type.fields + type.field_count,
                         [&](const Field &field) { return field.name == name; });
}

class StructureLayout : public ::testing::TestWithParam<const Structure *> {
 protected:
    const Structure &type = *GetParam();
};
INSTANTIATE_TEST_SUITE_P(Every, StructureLayout, ::testing::ValuesIn(all_structures()),
                         [](const auto &each) { return std::string(each.param->name); });

TEST_P(StructureLayout, FieldsAreInOrderAtTheNextAlignedOffset) {
    u32 end = KEL_OBJECT_HEADER_SIZE;
    for (const Field &field : fields_of(type)) {
        const Extent extent = extent_of(field);
        end = round_up(end, extent.alignment);
        EXPECT_EQ(field.offset, end) << field.name;
        end += extent.size;
    }
}

TEST_P(StructureLayout, FlagsOfTheStateBlockAreInOrderWithoutGaps) {
    u32 position = 0;
    for (const Field &field : fields_of(type)) {
        EXPECT_EQ(field.state, position) << field.name;
        position += extent_of(field).share;
    }
    EXPECT_EQ(type.state_length, position);
}

TEST_P(StructureLayout, EachVariantGivesItsUsedPartOfTheAllocation) {
    const kel_variant_info *info = type.descriptor->variant_info;
    ASSERT_EQ(info->variant_count, type.top_variant + 1);
    const u32 plain = allocation(used_length(type, type.top_variant));
    EXPECT_EQ(type.plain_size, plain);
    for (std::int8_t variant = 0; variant <= type.top_variant; ++variant) {
        const kel_variant_usage &usage = info->variants[variant];
        EXPECT_EQ(usage.used_length, used_length(type, variant));
        EXPECT_EQ(usage.used_length + usage.alloc_slop, plain);
    }
}

TEST_P(StructureLayout, AFieldHasAValueFormIfItsValueFitsAnInteger) {
    for (const Field &field : fields_of(type)) {
        const std::string stem = std::string(type.name) + "_" + field.name;
        const bool expected = has_plain_value(field.kind) || field.kind == FieldKind::array;
        for (const char *form : {"_get_value", "_set_value"}) {
            EXPECT_EQ(dlsym(RTLD_DEFAULT, (stem + form).c_str()) != nullptr, expected)
                << stem << form;
        }
        for (const char *form : {"_get", "_set", "_state_flag_get", "_state_flag_set"}) {
            EXPECT_NE(dlsym(RTLD_DEFAULT, (stem + form).c_str()), nullptr) << stem << form;
        }
    }
}

TEST(Layouts, AnObjectStartsWithAHeaderOfElevenBytes) {
    EXPECT_EQ(offsetof(kel_object, descriptor), 0U);
    EXPECT_EQ(offsetof(kel_object, variant), 8U);
    EXPECT_EQ(offsetof(kel_object, created_variant), 9U);
    EXPECT_EQ(offsetof(kel_object, flags), 10U);
    EXPECT_TRUE((std::is_same_v<decltype(kel_object::variant), std::int8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(kel_object::created_variant), std::int8_t>));
    const u32 flags[] = {OBJ_OID_MAPPED,    OBJ_EMBEDDED, OBJ_NESTED,
                         OBJ_STATE_TRACKED, OBJ_RA_DATA,  OBJ_STATE_ELSEWHERE};
    EXPECT_EQ(std::vector<u32>(std::begin(flags), std::end(flags)),
              (std::vector<u32>{1, 2, 4, 8, 32, 64}));
}

TEST(Layouts, AFieldOfOneByteSharesTheWordOfTheFlags) {
    const Structure &type = structure("service_type_info_key");
    EXPECT_EQ(type.fields[0].kind, FieldKind::u_int8);
    EXPECT_EQ(type.fields[0].offset, 11U);
}

TEST(Layouts, TheConnectionAndTheServerHaveTheirKnownSizes) {
    const auto lengths = [](const char *name) {
        const Structure &type = structure(name);
        std::vector<u32> found = {type.plain_size, type.state_length};
        for (int variant = 0; variant <= type.top_variant; ++variant) {
            found.push_back(type.descriptor->variant_info->variants[variant].used_length);
        }
        return found;
    };
    EXPECT_EQ(lengths("st_ldap_conn"), (std::vector<u32>{64, 3, 52}));
    EXPECT_EQ(lengths("st_aaa_servers"), (std::vector<u32>{1920, 1527, 1836, 1904}));
    const auto position = [](const char *type, const char *field) {
        return field_of(structure(type), field).state;
    };
    EXPECT_EQ(position("st_ldap_conn", "sname"), 0U);
    EXPECT_EQ(position("st_ldap_conn", "num_conns"), 2U);
    EXPECT_EQ(position("st_aaa_servers", "aaa_authen"), 7U);
    EXPECT_EQ(position("st_aaa_servers", "aaa_author"), 25U);
    EXPECT_EQ(position("st_aaa_servers", "minute"), 74U);
    EXPECT_EQ(position("st_aaa_servers", "radius_dtls_stats"), 1515U);
}

TEST(Layouts, OneTypeHasASecondVariantWithOneField) {
    for (const Structure *type : all_structures()) {
        const bool grown = std::string(type->name) == "st_aaa_servers";
        EXPECT_EQ(type->top_variant, grown ? 1 : 0) << type->name;
        for (const Field &field : fields_of(*type)) {
            const bool later = grown && std::string(field.name) == "radius_dtls_stats";
            EXPECT_EQ(field.first_variant, later ? 1 : 0) << field.name;
        }
    }
    EXPECT_EQ(structure("st_aaa_servers").field_count, 41U);
}

TEST(Layouts, TheServerHas36PlainValuesFromStatusToAvg) {
    std::vector<std::string> values;
    for (const Field &field : fields_of(structure("st_aaa_servers"))) {
        if (has_plain_value(field.kind)) values.emplace_back(field.name);
    }
    ASSERT_EQ(values.size(), 36U);
    EXPECT_EQ(values.front(), "status");
    EXPECT_EQ(values.back(), "avg");
}

}  // namespace
}  // namespace tarn::test
