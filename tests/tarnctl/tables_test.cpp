// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>

#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class Tables : public WithStore {
 protected:
    // The entries of a table, in a run that must succeed.
    static json entry(const Outcome &outcome, const std::string &table) {
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        for (const json &each : tarn::test::json_of(outcome.out)) {
            if (each["table"] == table) return each;
        }
        ADD_FAILURE() << table << " is missing";
        return {};
    }
};

std::size_t lines(const std::string &text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST_F(Tables, OfTheSchemaAreListedWithoutAStore) {
    const Outcome outcome = tarnctl({"tables", "--json"});
    EXPECT_EQ(tarn::test::json_of(outcome.out).size(), 45U);
    const json table = entry(outcome, "tbl_pexSessionEntry_op");
    EXPECT_EQ(table["key"], (json{"if_index", "session_id_in", "searchtype"}));
    EXPECT_EQ(table["type"], "st_pexSessionEntry_op");
    EXPECT_EQ(table["meaning"], "an authentication session on a port");
    EXPECT_FALSE(table.contains("open"));
    EXPECT_EQ(lines(tarnctl({"tables"}).out), 46U);
}

TEST_F(Tables, AreChosenByAPatternWithOrWithoutTheirPrefix) {
    for (const char *pattern : {"ldap_*", "tbl_ldap_*", "ldap_[cs]*"}) {
        const Outcome outcome = tarnctl({"tables", pattern});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(lines(outcome.out), 4U) << outcome.out;
    }
    EXPECT_EQ(lines(tarnctl({"tables", "ldap_conn"}).out), 2U);
}

TEST_F(Tables, ThatNoPatternMatchesAreNotFound) {
    const Outcome near = tarnctl({"tables", "ldap_con"});
    EXPECT_EQ(near.exit_code, 1);
    EXPECT_EQ(near.err, "tarnctl: no table `ldap_con`; did you mean `ldap_conn`?\n");
    EXPECT_EQ(tarnctl({"tables", "weather*"}).exit_code, 1);
}

TEST_F(Tables, OfAStoreAreCountedBySourceAndByTenant) {
    const json open = entry(on_store({"tables", "--json"}), "tbl_ldap_conn")["open"];
    ASSERT_EQ(open.size(), 1U);
    EXPECT_EQ(open[0]["instance"], "tbl_ldap_conn:ldap");
    EXPECT_EQ(open[0]["records"], 5);
    EXPECT_EQ(open[0]["sources"], (json{{"1", 4}, {"5", 1}}));
    EXPECT_EQ(open[0]["tenants"], (json{{"0", 4}, {"9", 1}}));
    EXPECT_EQ(open[0]["shadows"], 0);
    EXPECT_EQ(open[0]["pending"], 0);
    const json closed = entry(on_store({"tables", "--json"}), "tbl_ldap_stats")["open"];
    EXPECT_TRUE(closed.empty());
}

TEST_F(Tables, OfAStoreAreListedWithTheirInstances) {
    const Outcome outcome = on_store({"tables"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("tbl_dot1xAuthConfigEntry_op:more_ports"), std::string::npos);
    EXPECT_NE(outcome.out.find("1: 4, 5: 1"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("0: 4, 9: 1"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("tbl_ldap_stats"), std::string::npos);
}

TEST_F(Tables, ThatAreOpenAreListedOnTheirOwn) {
    const Outcome outcome = on_store({"tables", "--open"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(lines(outcome.out), 6U) << outcome.out;
    EXPECT_EQ(outcome.out.find("tbl_ldap_stats"), std::string::npos);
    EXPECT_EQ(on_store({"tables", "--open", "ldap_stats"}).exit_code, 0);
    const Outcome without = tarnctl({"tables", "--open"});
    EXPECT_EQ(without.exit_code, 2);
    EXPECT_NE(without.err.find("TARNBASE_STORE"), std::string::npos) << without.err;
}

TEST_F(Tables, OfAFileThatIsNoStoreAreAStoreError) {
    std::filesystem::remove_all(store);
    tarn::test::write_file(store, "no store");
    const Outcome outcome = on_store({"tables"});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_NE(outcome.err.find(store), std::string::npos) << outcome.err;
}

}  // namespace
}  // namespace tarnctl_test
