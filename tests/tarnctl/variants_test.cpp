// SPDX-License-Identifier: Apache-2.0
#include <set>

#include "tests/examples/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class Variants : public WithStore {
 protected:
    static json of(const Outcome &outcome) {
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        return example_test::json_of(outcome.out);
    }
    static json variant(const json &answer, const std::string &name, int number) {
        for (const json &each : answer["variants"]) {
            if (each["name"] == name && each["variant"] == number) return each;
        }
        ADD_FAILURE() << name << " " << number << " is missing";
        return {};
    }
};

TEST_F(Variants, OfAStoreAreCountedInItsOwnDescriptors) {
    const json answer = of(on_store({"variants", "--json"}));
    EXPECT_EQ(answer["descriptors"], "store");
    EXPECT_EQ(answer["unknown"], 0);
    const json conn = variant(answer, "st_ldap_conn", 0);
    EXPECT_EQ(conn["kind"], "type");
    EXPECT_EQ(conn["created"], 5);
    EXPECT_EQ(conn["destroyed"], 0);
    EXPECT_EQ(conn["live"], 5);
    EXPECT_EQ(conn["used_length"], 52);
    EXPECT_EQ(conn["slop"], 12);
    EXPECT_EQ(variant(answer, "st_aaa_servers", 1)["live"], 1);
    EXPECT_EQ(variant(answer, "tbl_dot1xAuthConfigEntry_op", 1)["created"], 2);
    EXPECT_EQ(variant(answer, "tbl_dot1xAuthConfigEntry_op_record", 1)["kind"], "table_record");
    for (const json &each : answer["variants"]) EXPECT_GT(each["created"], 0) << each;
}

TEST_F(Variants, ThatWereNeverUsedAreShownOnRequest) {
    const json answer = of(on_store({"variants", "--all", "--json"}));
    EXPECT_EQ(variant(answer, "st_aaa_servers", 0)["created"], 0);
    EXPECT_EQ(variant(answer, "server_state", 0)["kind"], "enum");
    std::set<std::string> names;
    for (const json &each : answer["variants"]) names.insert(each["name"]);
    EXPECT_EQ(names.size(), 61U + 20U + 2 * 45U);
}

TEST_F(Variants, OfTheLibraryShowTheLengthsWithoutAStore) {
    const json answer = of(tarnctl({"variants", "--all", "--json"}));
    EXPECT_EQ(answer["descriptors"], "library");
    EXPECT_EQ(variant(answer, "st_aaa_servers", 0)["used_length"], 1836);
    EXPECT_EQ(variant(answer, "kel_vstring", 0)["kind"], "value");
    EXPECT_TRUE(of(tarnctl({"variants", "--json"}))["variants"].empty());
    EXPECT_NE(tarnctl({"variants"}).out.find("--all"), std::string::npos);
}

TEST_F(Variants, AreTheLibrarysIfAStoreHasNoDescriptors) {
    const std::string plain = directory / "plain.store";
    ASSERT_EQ(tarnctl({"store", "create", plain, "--capacity", "64M"}).exit_code, 0);
    EXPECT_EQ(of(tarnctl({"variants", "--json", "-s", plain}))["descriptors"], "library");
    const Outcome outcome = tarnctl({"variants", "-s", plain});
    EXPECT_NE(outcome.out.find("The store has no descriptors"), std::string::npos) << outcome.out;
}

TEST_F(Variants, AreShownAsATable) {
    const Outcome outcome = on_store({"variants"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    for (const char *part : {"CREATED", "SLOP", "st_ldap_conn", "table_record"})
        EXPECT_NE(outcome.out.find(part), std::string::npos) << part;
    EXPECT_EQ(tarnctl({"variants", "-s", directory / "none"}).exit_code, 4);
}

}  // namespace
}  // namespace tarnctl_test
