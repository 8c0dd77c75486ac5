// SPDX-License-Identifier: Apache-2.0
#include <filesystem>
#include <fstream>

#include "tests/examples/json.h"
#include "tests/tarnctl/look.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class Store : public WithStore {
 protected:
    std::string made = directory / "made.store";

    json info(const std::string &path) {
        const Outcome outcome = tarnctl({"store", "info", "--json", path});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        return example_test::json_of(outcome.out);
    }
};

TEST_F(Store, IsCreatedWithTheGivenCapacityAndAddress) {
    const Outcome outcome =
        tarnctl({"store", "create", made, "--capacity", "512M", "--base", "0x7d0000000000"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    const json report = info(made);
    EXPECT_EQ(report["capacity"], 512 << 20);
    EXPECT_EQ(report["base"], "0x7d0000000000");
    EXPECT_EQ(report["types"], 0);
    EXPECT_TRUE(report["tables"].empty());
}

TEST_F(Store, GetsTheDescriptorsOfAllTypesAtOnceOnRequest) {
    ASSERT_EQ(tarnctl({"store", "create", "--capacity", "64M", "--types", made}).exit_code, 0);
    // 61 structures, 20 enumerations, 45 tables and their records.
    EXPECT_EQ(info(made)["types"], 61 + 20 + 2 * 45);
}

TEST_F(Store, CapacityIsASizeOfWholePages) {
    for (const char *bad : {"x", "64X", "64MM", "-1", "0", "1000", "99999999999T", "1.5G"}) {
        const Outcome outcome =
            tarnctl({"store", "create", made, std::string("--capacity=") + bad});
        EXPECT_EQ(outcome.exit_code, 2) << bad;
        EXPECT_NE(outcome.err.find("--capacity"), std::string::npos) << outcome.err;
    }
    EXPECT_FALSE(std::filesystem::exists(made));
}

TEST_F(Store, BaseIsAnAddressOfAPage) {
    for (const char *bad : {"x", "0x", "0", "7d00000000001", "0x7d0000000000z"}) {
        const Outcome outcome = tarnctl({"store", "create", made, "--base", bad});
        EXPECT_EQ(outcome.exit_code, 2) << bad;
        EXPECT_NE(outcome.err.find("--base `" + std::string(bad) + "`"), std::string::npos)
            << outcome.err;
    }
}

TEST_F(Store, ThatExistsIsNotCreatedAgain) {
    const std::string before = content_of(store);
    const Outcome outcome = tarnctl({"store", "create", store});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_NE(outcome.err.find(store), std::string::npos) << outcome.err;
    EXPECT_EQ(content_of(store), before);
}

TEST_F(Store, ShowsItsSizeFillTransactionsAndTables) {
    const json report = info(store);
    EXPECT_EQ(report["size"].get<uint64_t>() % 65536, 0U);
    EXPECT_GT(report["block_bytes"], 0);
    EXPECT_DOUBLE_EQ(report["fill"],
                     report["block_bytes"].get<double>() / report["size"].get<double>());
    EXPECT_EQ(report["transactions"], (json{{"open", 0}, {"committed", 0}, {"rolled_back", 0}}));
    EXPECT_EQ(report["unknown_tables"], 0);
    ASSERT_EQ(report["tables"].size(), 5U);
    bool found = false;
    for (const json &each : report["tables"]) {
        if (each["instance"] != "tbl_ldap_conn:ldap") continue;
        found = true;
        EXPECT_EQ(each["table"], "tbl_ldap_conn");
        EXPECT_EQ(each["records"], 5);
    }
    EXPECT_TRUE(found);
}

TEST_F(Store, ShowsTheSameToAReader) {
    const Outcome outcome = on_store({"store", "info"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    for (const char *part : {"capacity", "in use", "base address", "0 open, 0 committed",
                             "tbl_dot1xAuthConfigEntry_op:more_ports", "RECORDS"})
        EXPECT_NE(outcome.out.find(part), std::string::npos) << part << "\n" << outcome.out;
}

TEST_F(Store, ThatIsInvalidIsAStoreError) {
    EXPECT_EQ(tarnctl({"store", "info", directory / "none"}).exit_code, 4);
    example_test::write_file(made, "no store");
    const Outcome outcome = tarnctl({"store", "info", made});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_NE(outcome.err.find(made), std::string::npos) << outcome.err;
    EXPECT_EQ(tarnctl({"store"}).exit_code, 2);
    EXPECT_EQ(tarnctl({"store", "create"}).exit_code, 2);
}

TEST_F(Store, ThatIsSoundHasNoFindings) {
    const std::string before = content_of(store);
    const Outcome outcome = on_store({"store", "check"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.out << outcome.err;
    EXPECT_EQ(outcome.out + outcome.err, "");
    const Outcome in_json = tarnctl({"store", "check", "--json", store});
    const json report = example_test::json_of(in_json.out);
    EXPECT_EQ(report, (json{{"path", store}, {"sound", true}, {"findings", json::array()}}));
    EXPECT_EQ(content_of(store), before);
}

TEST_F(Store, ThatIsDamagedHasFindings) {
    // A byte in a page of the checkpoint.
    for (const auto &entry : std::filesystem::directory_iterator(store)) {
        if (!entry.path().filename().string().starts_with("checkpoint-")) continue;
        std::fstream file(entry.path(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(-1, std::ios::end);
        file.put('x');
    }
    const Outcome outcome = tarnctl({"store", "check", store});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_NE(outcome.out.find("doesn't match its checksum"), std::string::npos) << outcome.out;
    const Outcome in_json = tarnctl({"store", "check", "--json", store});
    EXPECT_EQ(in_json.exit_code, 3);
    const json report = example_test::json_of(in_json.out);
    EXPECT_EQ(report["sound"], false);
    EXPECT_EQ(report["findings"].size(), 1U);
    EXPECT_EQ(tarnctl({"store", "check", directory / "none"}).exit_code, 4);
}

}  // namespace
}  // namespace tarnctl_test
