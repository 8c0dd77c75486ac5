// SPDX-License-Identifier: Apache-2.0
// Offsets, sizes and state positions that stored data and other programs rely on.
#include <gtest/gtest.h>

#include "support.h"

using tarn::test::compile;
using tarn::test::item;
using tarn::test::schema_path;

namespace {

const tarnc::Schema &servers() {
    static const tarnc::Schema schema = compile(schema_path("servers.tarn"));
    return schema;
}

const tarnc::Schema &tests() {
    static const tarnc::Schema schema = compile(schema_path("test.tarn"));
    return schema;
}

TEST(Layout, PlainStructureHasItsFieldsAfterTheHeader) {
    const auto &type = item(tests().structures, "st_ldap_conn");
    EXPECT_EQ(item(type.fields, "sname").offset, 16U);
    EXPECT_EQ(item(type.fields, "num_conns").offset, 48U);
    EXPECT_EQ(type.variants.at(0).used, 52U);
    EXPECT_EQ(type.plain_size, 64U);
}

TEST(Layout, StateBlockHasOneBytePerFieldAndThatOfTheText) {
    const auto &type = item(tests().structures, "st_ldap_conn");
    EXPECT_EQ(item(type.fields, "sname").state, 0U);
    EXPECT_EQ(item(type.fields, "num_conns").state, 2U);
    EXPECT_EQ(type.state_length, 3U);
}

TEST(Layout, FirstFieldOfOneByteSharesTheHeadersWord) {
    const auto &type = item(servers().structures, "service_type_info_key");
    EXPECT_EQ(item(type.fields, "serv_type").offset, 11U);
    EXPECT_EQ(item(type.fields, "serv_name").offset, 16U);
    EXPECT_EQ(type.variants.at(0).used, 48U);
    EXPECT_EQ(type.plain_size, 56U);
    EXPECT_EQ(type.state_length, 3U);
}

TEST(Layout, MoreThan64BytesGetTheLargerSlop) {
    const auto &type = item(servers().structures, "st_aaa_type");
    EXPECT_EQ(type.variants.at(0).used, 80U);
    EXPECT_EQ(type.plain_size, 96U);
    EXPECT_EQ(type.state_length, 17U);
}

TEST(Layout, NestedStructureTakesItsWholeAllocation) {
    const auto &type = item(servers().structures, "st_aaa_servers");
    EXPECT_EQ(item(type.fields, "aaa_authen").size, 96U);
    EXPECT_EQ(item(type.fields, "aaa_author").offset, item(type.fields, "aaa_authen").offset + 96U);
}

TEST(Layout, GrownStructureKeepsTheOffsetsOfItsFirstVariant) {
    const auto &type = item(servers().structures, "st_aaa_servers");
    EXPECT_EQ(item(type.fields, "minute").offset, 396U);
    EXPECT_EQ(item(type.fields, "radius_dtls_stats").offset, 1840U);
    EXPECT_EQ(type.variants.at(0).used, 1836U);
    EXPECT_EQ(type.variants.at(1).used, 1904U);
    EXPECT_EQ(type.plain_size, 1920U);
}

TEST(Layout, StateBlockOfNestedStructuresAndArrays) {
    const auto &type = item(servers().structures, "st_aaa_servers");
    EXPECT_EQ(item(type.fields, "aaa_authen").state, 7U);
    EXPECT_EQ(item(type.fields, "aaa_author").state, 25U);
    EXPECT_EQ(item(type.fields, "minute").state, 74U);
    EXPECT_EQ(item(type.fields, "radius_dtls_stats").state, 1515U);
    EXPECT_EQ(type.state_length, 1527U);
}

TEST(Layout, FieldNumbersOfAVariantAreItsFieldsByDefault) {
    const auto &grown = item(servers().structures, "st_aaa_servers");
    EXPECT_EQ(grown.fields.size(), 41U);
    EXPECT_EQ(grown.variants.at(0).field_numbers, 40U);
    EXPECT_EQ(grown.variants.at(1).field_numbers, 42U);
    const auto &test = item(tests().structures, "st_grown");
    EXPECT_EQ(test.variants.at(0).field_numbers, 4U);
    EXPECT_EQ(test.variants.at(1).field_numbers, 6U);
}

TEST(Layout, EachKindOfFieldHasItsAlignmentAndStateLength) {
    struct Expected {
        const char *field;
        std::uint32_t offset, size, state;
    };
    const Expected expected[] = {
        {"a8", 11, 1, 0},    {"a16", 12, 2, 1},    {"a32", 16, 4, 2},     {"a64", 24, 8, 3},
        {"s32", 32, 4, 4},   {"s64", 40, 8, 5},    {"flag", 48, 16, 6},   {"lamp", 64, 16, 7},
        {"door", 80, 16, 8}, {"label", 96, 32, 9}, {"addr", 128, 32, 11}, {"tag", 160, 112, 19},
    };
    const auto &type = item(tests().structures, "st_every");
    ASSERT_EQ(type.fields.size(), std::size(expected));
    for (const Expected &each : expected) {
        const auto &field = item(type.fields, each.field);
        EXPECT_EQ(field.offset, each.offset) << each.field;
        EXPECT_EQ(field.size, each.size) << each.field;
        EXPECT_EQ(field.state, each.state) << each.field;
    }
    EXPECT_EQ(type.state_length, 26U);
}

}  // namespace
