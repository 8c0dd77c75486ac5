// SPDX-License-Identifier: Apache-2.0
#include "cli/suggestion.h"

#include <gtest/gtest.h>

#include "base/failure.h"

namespace {

using cli::edit_distance;
using cli::nearest;

TEST(Suggestion, CountsInsertionsLossesReplacementsAndSwaps) {
    EXPECT_EQ(edit_distance("ldap", "ldap"), 0U);
    EXPECT_EQ(edit_distance("ldap", "ldaps"), 1U);
    EXPECT_EQ(edit_distance("ldap", "lap"), 1U);
    EXPECT_EQ(edit_distance("ldap", "ldip"), 1U);
    EXPECT_EQ(edit_distance("ldap", "dlap"), 1U);
    EXPECT_EQ(edit_distance("", "ldap"), 4U);
}

TEST(Suggestion, IsTheNearestNameAndNoneWhereAllAreFar) {
    EXPECT_EQ(nearest("tbl_ldap_con", {"tbl_ldap_stats", "tbl_ldap_conn"}), "tbl_ldap_conn");
    EXPECT_EQ(nearest("NUM_CONS", {"sname", "num_conns"}), "num_conns");
    EXPECT_EQ(nearest("weather", {"sname", "num_conns"}), std::nullopt);
    EXPECT_EQ(nearest("x", {}), std::nullopt);
}

TEST(Suggestion, StandsBehindTheNameThatIsUnknown) {
    const tarnctl::Failure near =
        tarnctl::no_such(tarnctl::Exit::usage, "table", "tbl_ldap_con", {"tbl_ldap_conn"});
    EXPECT_STREQ(near.what(), "no table `tbl_ldap_con`; did you mean `tbl_ldap_conn`?");
    const tarnctl::Failure far =
        tarnctl::no_such(tarnctl::Exit::usage, "table", "weather", {"tbl_ldap_conn"});
    EXPECT_STREQ(far.what(), "no table `weather`");
}

}  // namespace
