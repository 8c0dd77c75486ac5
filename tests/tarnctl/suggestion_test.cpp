// SPDX-License-Identifier: Apache-2.0
#include "cli/suggestion.h"

#include <gtest/gtest.h>

#include "base/failure.h"

namespace {

using cli::edit_distance;
using cli::nearest;

TEST(Suggestion, CountsInsertionsDeletionsReplacementsAndSwaps) {
    const struct {
        const char *a;
        const char *b;
        std::size_t distance;
    } cases[] = {{"ldap", "ldap", 0}, {"ldap", "ldaps", 1}, {"ldap", "lap", 1},
                 {"ldap", "ldip", 1}, {"ldap", "dlap", 1},  {"", "ldap", 4}};
    for (const auto &each : cases)
        EXPECT_EQ(edit_distance(each.a, each.b), each.distance) << each.b;
}

TEST(Suggestion, IsTheNearestNameOrNoneIfAllAreFar) {
    const std::vector<std::string_view> known{"sname", "tbl_ldap_stats", "tbl_ldap_conn",
                                              "num_conns"};
    EXPECT_EQ(nearest("tbl_ldap_con", known), "tbl_ldap_conn");
    EXPECT_EQ(nearest("NUM_CONS", known), "num_conns");
    EXPECT_EQ(nearest("weather", known), std::nullopt);
    EXPECT_EQ(nearest("x", {}), std::nullopt);
}

TEST(Suggestion, FollowsTheUnknownName) {
    const tarnctl::Failure near =
        tarnctl::no_such(tarnctl::Exit::usage, "table", "tbl_ldap_con", {"tbl_ldap_conn"});
    EXPECT_STREQ(near.what(), "no table `tbl_ldap_con`; did you mean `tbl_ldap_conn`?");
    const tarnctl::Failure far =
        tarnctl::no_such(tarnctl::Exit::usage, "table", "weather", {"tbl_ldap_conn"});
    EXPECT_STREQ(far.what(), "no table `weather`");
}

}  // namespace
