// SPDX-License-Identifier: Apache-2.0
#include "identity.h"

#include <gtest/gtest.h>

#include "support.h"

using tarn::test::compile;
using tarn::test::compile_text;
using tarn::test::item;
using tarn::test::schema_path;

namespace {

std::string module_of(const std::string &structure) {
    return "module sample\norder\n    st_a\n" + structure;
}

TEST(Identity, GivenIdentitiesAreUsed) {
    const tarnc::Schema schema = compile(schema_path("test.tarn"));
    const auto &type = item(schema.structures, "st_ldap_conn");
    EXPECT_EQ(type.identity.luid, "09f02ed2147f259a0aee4a14c8331c9b");
    EXPECT_EQ(type.identity.digest, "97d76957a270d27f594d2fa3911da4a8");
    const auto &table = item(schema.tables, "tbl_ldap_conn");
    EXPECT_EQ(table.identity.luid, "b1bbd13dd7e17f84a70ee216797542cc");
    EXPECT_EQ(table.identity.digest, "e1d07067ef74500008674d8ade831baf");
    EXPECT_EQ(table.record_identity.luid, "e7e9deccdbbc11bc0ff4fcb04f6cf52e");
    EXPECT_EQ(table.record_identity.digest, "44bc147b5e77b05a720a706230bf6d35");
}

// Stores keep descriptor copies under the LUID: it must not change by itself.
TEST(Identity, DigestOfATextIsAlwaysTheSame) {
    EXPECT_EQ(tarnc::digest("", 0), "99aa06d3014798d86001c324468d497f");
    EXPECT_EQ(tarnc::digest("structure st_a\n", 0), "df9cdc0e7e81b0dc943295d190d43b23");
}

TEST(Identity, OtherDescriptionsChangeNoIdentity) {
    const auto one = compile_text(module_of("structure st_a \"a\"\n    u_int32 x \"one\"\n"));
    const auto other =
        compile_text(module_of("# a remark\nstructure st_a   \"better\" counters\n"
                               "    u_int32  x   \"better words\" unit \"seconds\" gauge \"y\"\n"));
    EXPECT_EQ(one.structures[0].identity.luid, other.structures[0].identity.luid);
    EXPECT_EQ(one.structures[0].identity.digest, other.structures[0].identity.digest);
}

TEST(Identity, AnotherFieldChangesTheIdentity) {
    const auto one = compile_text(module_of("structure st_a \"a\"\n    u_int32 x \"one\"\n"));
    const auto other = compile_text(module_of("structure st_a \"a\"\n    u_int64 x \"one\"\n"));
    EXPECT_NE(one.structures[0].identity.luid, other.structures[0].identity.luid);
}

TEST(Identity, LuidAndDigestOfAnItemDiffer) {
    const auto schema = compile_text(module_of("structure st_a \"a\"\n    u_int32 x \"one\"\n"));
    EXPECT_NE(schema.structures[0].identity.luid, schema.structures[0].identity.digest);
}

TEST(Identity, DirectoryIsInAscendingOrderOfLuid) {
    const tarnc::Schema schema = compile(schema_path("test.tarn"));
    const auto sorted = schema.tables_by_luid();
    ASSERT_EQ(sorted.size(), schema.tables.size());
    for (std::size_t i = 1; i < sorted.size(); ++i)
        EXPECT_LT(sorted[i - 1]->identity.luid, sorted[i]->identity.luid);
}

}  // namespace
