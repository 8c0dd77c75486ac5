// SPDX-License-Identifier: Apache-2.0
// The example programs that exist in C and in C++: both print the same.
#include <gtest/gtest.h>

#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace tarn::test {
namespace {

using Command = std::vector<std::string>;

// Runs both and compares. Returns what the first one did.
Outcome run_both(const Command &in_c, const Command &in_cpp) {
    const Outcome first = run(in_c);
    const Outcome second = run(in_cpp);
    EXPECT_EQ(first.out, second.out);
    EXPECT_EQ(first.exit_code, second.exit_code);
    return first;
}

TEST(Pairs, TheFirstRecordIsTheSameInBothLanguages) {
    const Outcome outcome = run_both({FIRST_RECORD}, {FIRST_RECORD_CPP});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("77 bytes on the wire\n0 records left\n"), std::string::npos);
}

TEST(Pairs, ARecordIsExchangedTheSameInBothLanguages) {
    const Outcome outcome = run_both({EXCHANGE}, {EXCHANGE_CPP});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("framed &lt;ppp&gt;"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("serv_name: \"framed <ppp>\""), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("the same record three times\n"), std::string::npos) << outcome.out;
}

TEST(Pairs, AStoreIsFilledAndShownTheSameInBothLanguages) {
    const TemporaryDirectory directory;
    const std::string by_c = directory / "c.store";
    const std::string by_cpp = directory / "cpp.store";
    EXPECT_EQ(run_both({WALK_TABLE, "fill", by_c}, {WALK_TABLE_CPP, "fill", by_cpp}).out,
              "4 servers stored\n");
    // Each reads what the other one has written.
    EXPECT_EQ(run_both({WALK_TABLE, "show", by_cpp}, {WALK_TABLE_CPP, "show", by_c}).out,
              "ldap1: 2 connections\n"
              "ldap2: 4 connections\n"
              "ldap3: 1 connections\n"
              "backup: 3 connections\n");
    EXPECT_EQ(
        run_both({WALK_TABLE, "show", by_c, "ldap4"}, {WALK_TABLE_CPP, "show", by_c, "ldap4"}).out,
        "backup: 3 connections\n");
    // A second run counts the servers that exist, whichever program made them.
    run_both({WALK_TABLE, "fill", by_cpp}, {WALK_TABLE_CPP, "fill", by_c});
    EXPECT_EQ(
        run_both({WALK_TABLE, "show", by_c, "ldap3"}, {WALK_TABLE_CPP, "show", by_cpp, "ldap3"})
            .out,
        "ldap3: 2 connections\n"
        "backup: 4 connections\n");
}

TEST(Pairs, AMissingStoreIsReportedInBothLanguages) {
    for (const char *program : {WALK_TABLE, WALK_TABLE_CPP}) {
        const Outcome outcome = run({program, "show", "/nowhere/at.all"});
        EXPECT_EQ(outcome.exit_code, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.find("walk_table: "), 0U) << outcome.err;
        EXPECT_NE(outcome.err.find("/nowhere/at.all"), std::string::npos) << outcome.err;
        EXPECT_EQ(run({program}).exit_code, 2);
    }
}

}  // namespace
}  // namespace tarn::test
