// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"
#include "tarnbase/tarn/tables/test_pair.hpp"

namespace face_test {
namespace {

class Bounds : public Face {
 protected:
    Bounds() {
        for (const char *name : {"ldap1", "ldap3", "ldap5"}) add(table, name);
    }
    tarn::table<tarn::ldap_conn> table = servers(session);
};

TEST_F(Bounds, LowerBoundIsTheKeyOrTheNextOne) {
    EXPECT_EQ(table.lower_bound("ldap3")->sname(), "ldap3");
    EXPECT_EQ(table.lower_bound("ldap4")->sname(), "ldap5");
    EXPECT_EQ(table.lower_bound("")->sname(), "ldap1");
    EXPECT_TRUE(table.lower_bound("ldap6") == table.end());
}

TEST_F(Bounds, UpperBoundIsAfterTheKey) {
    EXPECT_EQ(table.upper_bound("ldap3")->sname(), "ldap5");
    EXPECT_EQ(table.upper_bound("ldap4")->sname(), "ldap5");
    EXPECT_TRUE(table.upper_bound("ldap5") == table.end());
}

TEST_F(Bounds, ARangeStartsAtAKey) {
    EXPECT_EQ(names(table.from("ldap2")), (Names{"ldap3", "ldap5"}));
    EXPECT_TRUE(table.from("x ldap").empty());
}

TEST_F(Bounds, OfCompositeKeysCompareFieldByField) {
    auto pairs = tarn::table<tarn::pair>::open_or_create(session, "pairs");
    for (const std::uint32_t port : {1U, 2U})
        for (const char *name : {"a", "b"}) pairs.insert(pairs.make({port, name, {}, 0}));
    EXPECT_EQ(pairs.lower_bound({1, "b", {}, 0})->key().name(), "b");
    const auto above = pairs.lower_bound({1, "c", {}, 0});
    EXPECT_EQ(above->key().port(), 2U);
    EXPECT_EQ(above->key().name(), "a");
    EXPECT_EQ(pairs.upper_bound({2, "a", {}, 0})->key().name(), "b");
    EXPECT_TRUE(pairs.upper_bound({2, "b", {}, 0}) == pairs.end());
}

}  // namespace
}  // namespace face_test
