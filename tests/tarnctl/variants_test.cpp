// SPDX-License-Identifier: Apache-2.0
#include <set>

#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class Variants : public WithStore {
 protected:
    static json of(const Outcome &outcome) {
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        return tarn::test::json_of(outcome.out);
    }
    static json variant(const json &report, const std::string &name, int number) {
        for (const json &each : report["variants"]) {
            if (each["name"] == name && each["variant"] == number) return each;
        }
        ADD_FAILURE() << name << " " << number << " is missing";
        return {};
    }
};

TEST_F(Variants, OfAStoreAreCountedInItsOwnDescriptors) {
    const json report = of(on_store({"variants", "--json"}));
    EXPECT_EQ(report["descriptors"], "store");
    EXPECT_EQ(report["unknown"], 0);
    const json conn = variant(report, "st_ldap_conn", 0);
    EXPECT_EQ(conn["kind"], "type");
    EXPECT_EQ(conn["created"], 5);
    EXPECT_EQ(conn["destroyed"], 0);
    EXPECT_EQ(conn["live"], 5);
    EXPECT_EQ(conn["used_length"], 52);
    EXPECT_EQ(conn["slop"], 12);
    EXPECT_EQ(variant(report, "st_aaa_servers", 1)["live"], 1);
    EXPECT_EQ(variant(report, "tbl_dot1xAuthConfigEntry_op", 1)["created"], 2);
    EXPECT_EQ(variant(report, "tbl_dot1xAuthConfigEntry_op_record", 1)["kind"], "table_record");
    for (const json &each : report["variants"]) EXPECT_GT(each["created"], 0) << each;
}

TEST_F(Variants, ThatWereNeverUsedAreShownOnRequest) {
    const json report = of(on_store({"variants", "--all", "--json"}));
    EXPECT_EQ(variant(report, "st_aaa_servers", 0)["created"], 0);
    EXPECT_EQ(variant(report, "server_state", 0)["kind"], "enum");
    std::set<std::string> names;
    for (const json &each : report["variants"]) names.insert(each["name"]);
    EXPECT_EQ(names.size(), 61U + 20U + 2 * 45U);
}

TEST_F(Variants, OfTheLibraryShowTheLengthsWithoutAStore) {
    const json report = of(tarnctl({"variants", "--all", "--json"}));
    EXPECT_EQ(report["descriptors"], "library");
    EXPECT_EQ(variant(report, "st_aaa_servers", 0)["used_length"], 1836);
    EXPECT_EQ(variant(report, "kel_vstring", 0)["kind"], "value");
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
