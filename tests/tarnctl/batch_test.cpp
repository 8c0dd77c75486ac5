// SPDX-License-Identifier: Apache-2.0
//
// Batches of insert, set and delete: all or nothing.

#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tests/support/json.h"
#include "tests/tarnctl/store_access.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

class Batch : public WithStore {
 protected:
    void SetUp() override {
        WithStore::SetUp();
        file = directory / "orders.txt";
    }

    // Runs a batch that fails, and checks that it changed nothing.
    Outcome refused(const std::string &orders) {
        const kel_store_description before = description(store);
        const Outcome outcome = on_store({"set", "--batch", file}, write(orders));
        const kel_store_description after = description(store);
        EXPECT_EQ(after.committed, before.committed);
        EXPECT_EQ(after.tables, before.tables);
        EXPECT_EQ(connection_records(store), 5U);
        EXPECT_EQ(connections(store, "a.example"), 1U);
        EXPECT_EQ(connections(store, "b.example"), 2U);
        EXPECT_EQ(connections(store, "new.example"), std::nullopt);
        return outcome;
    }

    std::string write(const std::string &orders) {
        tarn::test::write_file(file, orders);
        return "";
    }

    std::string file;
};

constexpr const char *orders = R"(# three orders
insert ldap_conn sname=new.example num_conns=3   # and a comment

set ldap_conn 'a.example' num_conns=4 --source 1
	delete ldap_conn --where "sname=b.example"
)";

TEST_F(Batch, OfStandardInputIsOneTransaction) {
    const uint64_t committed = description(store).committed;
    const Outcome outcome = on_store({"insert", "-"}, orders);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "1 record inserted, 1 record changed, 2 records deleted\n");
    EXPECT_EQ(connections(store, "new.example"), 3U);
    EXPECT_EQ(connections(store, "a.example"), 4U);
    EXPECT_EQ(connections(store, "b.example"), std::nullopt);
    EXPECT_EQ(description(store).committed, committed + 1);
}

TEST_F(Batch, OfAFileIsTheSameWithEachCommand) {
    write("set ldap_conn a.example num_conns=4\n");
    for (const char *command : {"insert", "set", "delete"}) {
        const Outcome outcome = on_store({command, "--batch", file, "--dry-run"});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(outcome.out,
                  "~ tbl_ldap_conn:ldap a.example\n    num_conns: 1 -> 4\n"
                  "1 record changed (dry run)\n");
    }
    const Outcome from_input =
        on_store({"delete", "--batch", "-"}, "set ldap_conn a.example num_conns=4");
    EXPECT_EQ(from_input.exit_code, 0) << from_input.err;
    EXPECT_EQ(connections(store, "a.example"), 4U);
}

TEST_F(Batch, SeesTheChangesOfItsEarlierCommands) {
    const Outcome outcome = on_store({"set", "-"},
                                     "insert --create ldap_conn:fresh sname=x\n"
                                     "set ldap_conn:fresh x num_conns=2\n"
                                     "delete ldap_conn:fresh x\n"
                                     "insert ldap_conn:fresh sname=x num_conns=3\n");
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(connections(store, "x", 1, 0, "fresh"), 3U);
}

TEST_F(Batch, TakesOptionsForAllItsLinesFromTheCommandLine) {
    const std::string inserts =
        "insert ldap_conn:fresh sname=x num_conns=3\n"
        "insert ldap_conn:fresh sname=x num_conns=4\n";
    EXPECT_EQ(on_store({"insert", "-"}, inserts).exit_code, 1);
    EXPECT_EQ(on_store({"insert", "-", "--create"}, inserts).exit_code, 3);
    const Outcome outcome = on_store({"insert", "-", "--create", "--or-update"}, inserts);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(connections(store, "x", 1, 0, "fresh"), 4U);

    const std::string sets =
        "set ldap_conn:ldap gone.example num_conns=1\n"
        "set ldap_stats gone.example search_success=1\n";
    EXPECT_EQ(on_store({"set", "-"}, sets).exit_code, 1);
    EXPECT_EQ(on_store({"set", "-", "--if-exists"}, sets).exit_code, 0);
}

TEST_F(Batch, ThatFailsInTheStoreIsRolledBackAndNamesItsLine) {
    const Outcome existing = refused(
        "set ldap_conn a.example num_conns=4\n"
        "delete ldap_conn b.example\n"
        "insert ldap_conn:fresh sname=x --create\n"
        "\n"
        "insert ldap_conn sname=ldap1.example.net\n"
        "insert ldap_conn sname=new.example\n");
    EXPECT_EQ(existing.exit_code, 3);
    EXPECT_EQ(existing.err, "tarnctl: " + file +
                                ":5: tbl_ldap_conn:ldap: there is already a record of the key "
                                "`ldap1.example.net`, tenant 0, source 1\n");

    const Outcome missing = refused(
        "set ldap_conn a.example num_conns=4\n"
        "delete ldap_conn gone.example\n");
    EXPECT_EQ(missing.exit_code, 1);
    EXPECT_NE(missing.err.find(file + ":2: "), std::string::npos) << missing.err;
}

TEST_F(Batch, ThatFailsInTheStoreChangesNothing) {
    const std::string before = on_store({"export"}).out;
    refused(
        "set ldap_conn a.example num_conns=4\n"
        "delete ldap_conn ldap1.example.net\n"
        "insert ldap_conn sname=a-name-that-is-too-long-for-its-object\n"
        "insert ldap_conn sname=b.example\n");
    EXPECT_EQ(on_store({"export"}).out, before);
}

TEST_F(Batch, WithAnInvalidLineDoesNotChangeTheStore) {
    const std::string before = content_of(store);
    const struct {
        const char *line;
        const char *problem;
    } lines[] = {
        {"set ldap_conn b.example num_con=3", "did you mean `num_conns`?"},
        {"set ldap_conn b.example num_conns=x", "expected a number"},
        {"put ldap_conn b.example", "expected insert, set or delete, not `put`"},
        {"set ldap_con b.example num_conns=3", "did you mean `ldap_conn`?"},
        {"set ldap_conn 'b.example num_conns=3", "the quotation that ' begins doesn't end"},
        {"set ldap_conn b.example num_conns=3 --source 300", "--source"},
        {"set ldap_conn b.example num_conns=3 --nonsense", "--nonsense"},
        {"insert ldap_conn num_conns=3", "the key field `sname` is missing"},
        {"set", "TABLE is missing"},
    };
    for (const auto &each : lines) {
        const Outcome outcome = refused(std::string("set ldap_conn a.example num_conns=4\n") +
                                        each.line + "\ndelete ldap_conn --all\n");
        EXPECT_EQ(outcome.exit_code, 3) << each.line;
        EXPECT_NE(outcome.err.find(file + ":2: "), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find(each.problem), std::string::npos) << outcome.err;
    }
    EXPECT_TRUE(content_of(store) == before);
}

TEST_F(Batch, AsADryRunKeepsEveryByteOfTheStore) {
    const std::string before = content_of(store);
    const Outcome good = on_store({"insert", "-", "--dry-run", "--json"}, orders);
    ASSERT_EQ(good.exit_code, 0) << good.err;
    const auto report = tarn::test::json_of(good.out);
    EXPECT_EQ(report["dry_run"], true);
    EXPECT_EQ(report["changes"].size(), 4U);
    const Outcome bad = on_store({"insert", "-", "--dry-run"}, "delete ldap_conn gone.example");
    EXPECT_EQ(bad.exit_code, 1);
    EXPECT_NE(bad.err.find("standard input:1: "), std::string::npos) << bad.err;
    EXPECT_TRUE(content_of(store) == before);
}

TEST_F(Batch, NeedsOnlyAFile) {
    EXPECT_EQ(on_store({"set", "--batch", directory / "none.txt"}).exit_code, 4);
    write(orders);
    EXPECT_EQ(on_store({"set", "ldap_conn", "--batch", file}).exit_code, 2);
    EXPECT_EQ(on_store({"delete", "--all", "--batch", file}).exit_code, 2);
    EXPECT_EQ(connection_records(store), 5U);
    const Outcome empty = on_store({"set", "-"}, "# nothing\n");
    EXPECT_EQ(empty.exit_code, 0);
    EXPECT_EQ(empty.out, "no record changed\n");
}

TEST_F(Batch, WithATableByIdDoesNotMakeItsTypeUnambiguous) {
    {
        const tarn::store opened = tarn::store::open(store);
        tarn::table<tarn::ldap_conn>::open_or_create_id(tarn::session(opened), 0);
    }
    const Outcome outcome = refused(
        "insert ldap_conn#0 sname=new.example\n"
        "insert ldap_conn sname=new.example\n");
    EXPECT_EQ(outcome.exit_code, 2);
    EXPECT_NE(outcome.err.find("the store holds several tables `tbl_ldap_conn`"), std::string::npos)
        << outcome.err;
}

TEST_F(Batch, RunsThousandsOfCommands) {
    std::string many;
    for (int i = 0; i < 2000; ++i)
        many += "insert ldap_conn sname=n" + std::to_string(i) + " num_conns=" + std::to_string(i) +
                "\n";
    const Outcome outcome = on_store({"insert", "-"}, many);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "2000 records inserted\n");
    EXPECT_EQ(connections(store, "n1999"), 1999U);
}

}  // namespace
}  // namespace tarnctl_test
