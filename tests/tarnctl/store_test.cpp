// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "tarnbase/tarnbase.h"
#include "tests/support/json.h"
#include "tests/tarnctl/store_access.h"
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
        return tarn::test::json_of(outcome.out);
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

TEST_F(Store, ShowsItsFiles) {
    ASSERT_EQ(tarnctl({"store", "create", made}).exit_code, 0);
    const json report = info(made);
    EXPECT_LE(report["disk"], 256 << 10) << "of an empty store";
    EXPECT_EQ(report["free"], 0);
    EXPECT_EQ(report["reclaimable"], 0);
    EXPECT_GT(report["checkpoint"]["disk"], 0);
    EXPECT_EQ(report["checkpoint"]["time"].get<std::string>().size(),
              std::string("2026-01-01T00:00:00.000Z").size());
    EXPECT_EQ(report["log"]["bytes"], 0);
    EXPECT_EQ(report["log"]["disk"], 65536);
    EXPECT_TRUE(report["last_commit"].is_null());
    EXPECT_TRUE(report["writer"].is_null());
    EXPECT_GT(info(store)["log"]["bytes"], 0);
    EXPECT_TRUE(info(store)["last_commit"].is_string());
    const Outcome outcome = on_store({"store", "info"});
    for (const char *part : {"\nwriter        none\n", "\nlast commit   ", " s ago\n",
                             "\ncheckpoint    ", " after the checkpoint; ", " reclaimable\n"})
        EXPECT_NE(outcome.out.find(part), std::string::npos) << part << "\n" << outcome.out;
}

TEST_F(Store, ShowsItsWriter) {
    change_store(store, [this](kel_handle *) {
        const json writer = info(store)["writer"];
        EXPECT_EQ(writer["pid"], getpid());
        EXPECT_EQ(writer["command"], "tarnctl_test");
        EXPECT_TRUE(writer["since"].is_string());
        const Outcome outcome = on_store({"store", "info"});
        const std::string line =
            "\nwriter        " + std::to_string(getpid()) + " (tarnctl_test) since 20";
        EXPECT_TRUE(holds(outcome.out, line)) << outcome.out;
    });
    EXPECT_TRUE(info(store)["writer"].is_null());
}

// Sets the connections of two records to the same numbers until the process ends.
void write_beside(const std::string &store, tarn::test::Process &process) {
    with_store(store, [&](kel_handle *handle) {
        uint32_t err = 0;
        st_ldap_conn *const objects[] = {connection_of(handle, "a.example"),
                                         connection_of(handle, "b.example")};
        for (uint32_t i = 100; process.is_running(); ++i) {
            uint32_t tx_id = 0;
            ASSERT_EQ(kel_transaction_begin(handle, &tx_id), 0U);
            for (st_ldap_conn *object : objects)
                st_ldap_conn_num_conns_set_value(handle, tx_id, object, i, &err);
            ASSERT_EQ(kel_transaction_commit(handle, tx_id), 0U);
        }
        ASSERT_EQ(err, 0U);
    });
}

TEST_F(Store, IsCopiedWhileAnotherProcessWrites) {
    for (int i = 0; i < 5; ++i) {
        const std::string copy = made + std::to_string(i);
        tarn::test::Process process({TARNCTL, "store", "backup", store, copy});
        write_beside(store, process);
        const Outcome outcome = process.finish();
        ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(connections(copy, "b.example"),
                  connections(copy, "a.example") == 1U ? 2U : connections(copy, "a.example"));
        EXPECT_EQ(connection_records(copy), 5U);
        EXPECT_EQ(tarnctl({"set", "ldap_conn", "a.example", "num_conns=9", "-s", copy}).exit_code,
                  0);
    }
}

TEST_F(Store, IsNotCopiedOverAnother) {
    const Outcome outcome = tarnctl({"store", "backup", store, store});
    EXPECT_EQ(outcome.exit_code, 4);
    EXPECT_NE(outcome.err.find(store), std::string::npos) << outcome.err;
    EXPECT_EQ(tarnctl({"store", "backup", directory / "none", made}).exit_code, 4);
    EXPECT_EQ(tarnctl({"store", "backup", store}).exit_code, 2);
    EXPECT_FALSE(std::filesystem::exists(made));
}

TEST_F(Store, IsCompactedWhileAnotherProcessWrites) {
    for (int i = 0; i < 5; ++i) {
        tarn::test::Process process({TARNCTL, "store", "compact", "--wait", "60", store});
        write_beside(store, process);
        const Outcome outcome = process.finish();
        ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_TRUE(holds(outcome.out, " on disk, ")) << outcome.out;
        EXPECT_EQ(connections(store, "a.example"), connections(store, "b.example"));
    }
}

TEST_F(Store, ReturnsTheSpaceOfDeletedRecords) {
    ASSERT_EQ(tarnctl({"store", "create", made}).exit_code, 0);
    std::string orders;
    for (int i = 0; i < 5000; ++i)
        orders += "insert --create ldap_conn sname=server" + std::to_string(i) + ".example.net\n";
    ASSERT_EQ(tarnctl({"insert", "-", "-s", made}, orders).exit_code, 0);
    ASSERT_EQ(tarnctl({"delete", "ldap_conn", "--all", "-s", made}).exit_code, 0);
    const Outcome outcome = tarnctl({"store", "compact", "--json", made});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.err;
    const json report = tarn::test::json_of(outcome.out);
    EXPECT_GT(report["before"], report["after"]);
    EXPECT_EQ(report["after"], info(made)["disk"]);
    EXPECT_LE(report["after"], 1 << 20);
    EXPECT_EQ(info(made)["reclaimable"], 0);
}

TEST_F(Store, ThatIsInvalidIsAStoreError) {
    EXPECT_EQ(tarnctl({"store", "info", directory / "none"}).exit_code, 4);
    tarn::test::write_file(made, "no store");
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
    const json report = tarn::test::json_of(in_json.out);
    EXPECT_EQ(report, (json{{"path", store}, {"sound", true}, {"findings", json::array()}}));
    EXPECT_EQ(content_of(store), before);
}

std::string checkpoint_of(const std::string &store) {
    for (const auto &entry : std::filesystem::directory_iterator(store)) {
        if (entry.path().filename().string().starts_with("checkpoint-")) return entry.path();
    }
    return "";
}

TEST_F(Store, ThatIsDamagedHasFindings) {
    // A byte in a page of the checkpoint.
    std::fstream(checkpoint_of(store), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(-1, std::ios::end)
        .put('x');
    const Outcome outcome = tarnctl({"store", "check", store});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_NE(outcome.out.find("doesn't match its checksum"), std::string::npos) << outcome.out;
    const Outcome in_json = tarnctl({"store", "check", "--json", store});
    EXPECT_EQ(in_json.exit_code, 3);
    const json report = tarn::test::json_of(in_json.out);
    EXPECT_EQ(report["sound"], false);
    EXPECT_EQ(report["findings"].size(), 1U);
    EXPECT_EQ(tarnctl({"store", "check", directory / "none"}).exit_code, 4);
}

std::string files_of(const std::string &store) {
    std::string all;
    for (const auto &entry : std::filesystem::directory_iterator(store))
        all += tarn::test::read_file(entry.path().string());
    return all;
}

// Two wrong bytes in the page of the checkpoint that has the strings of tbl_ldap_conn's records.
void damage_texts(const std::string &store) {
    const std::string checkpoint = checkpoint_of(store);
    const std::size_t place = tarn::test::read_file(checkpoint).find("ldap1.example.net");
    ASSERT_NE(place, std::string::npos);
    std::fstream(checkpoint, std::ios::in | std::ios::out | std::ios::binary)
        .seekp(static_cast<std::streamoff>(place))
        .write("XX", 2);
}

TEST_F(Store, ThatIsSoundIsSalvagedWhole) {
    const std::string out = directory / "out.json", exported = directory / "exported.json";
    ASSERT_EQ(on_store({"export", "-o", exported}).exit_code, 0);
    const Outcome outcome = tarnctl({"store", "salvage", store, "--output", out});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_NE(outcome.err.find("tbl_ldap_conn:ldap: 5 saved, 0 lost\n"), std::string::npos);
    EXPECT_EQ(tarn::test::read_file(out), tarn::test::read_file(exported));
    // It is not replaced.
    EXPECT_EQ(tarnctl({"store", "salvage", store, "--output", out}).exit_code, 4);
    EXPECT_EQ(tarnctl({"store", "salvage", store}).exit_code, 2);
}

TEST_F(Store, ThatIsDamagedIsSalvagedInPart) {
    ASSERT_EQ(tarnctl({"store", "compact", store}).exit_code, 0);
    damage_texts(store);
    const std::string before = files_of(store);
    const std::string out = directory / "out.frames";
    const Outcome outcome = tarnctl({"store", "salvage", store, "--json", "-o", out});
    EXPECT_EQ(outcome.exit_code, 3) << outcome.err;
    const json report = tarn::test::json_of(outcome.out);
    EXPECT_EQ(report["output"], out);
    EXPECT_GT(report["lost"], 0);
    EXPECT_GT(report["saved"], 0);
    for (const json &table : report["tables"]) {
        if (table["instance"] != "tbl_ldap_conn:ldap") continue;
        EXPECT_EQ(table["saved"].get<int>() + table["lost"].get<int>(), 5);
    }
    EXPECT_NE(outcome.out.find("doesn't match its checksum"), std::string::npos);
    EXPECT_EQ(files_of(store), before);
    // What was saved is a document for import.
    ASSERT_EQ(tarnctl({"store", "create", "--capacity", "64M", made}).exit_code, 0);
    const Outcome imported = tarnctl({"import", "--store", made, out});
    EXPECT_EQ(imported.exit_code, 0) << imported.err;
}

TEST_F(Store, OfWhichNothingCanBeReadIsNotSalvaged) {
    const std::string out = directory / "out.json";
    std::filesystem::resize_file(checkpoint_of(store), 10);
    const Outcome outcome = tarnctl({"store", "salvage", store, "-o", out});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_NE(outcome.err.find("no checkpoint of it can be read"), std::string::npos)
        << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(out));
    EXPECT_EQ(tarnctl({"store", "salvage", directory / "none", "-o", out}).exit_code, 4);
}

TEST_F(Store, IsRepaired) {
    EXPECT_EQ(tarnctl({"store", "check", "--repair", store}).exit_code, 0);
    {
        kel_store *opened = nullptr;
        ASSERT_EQ(kel_store_open(store.c_str(), &opened), 0U);
        kel_handle *handle = nullptr;
        ASSERT_EQ(kel_handle_create(opened, 1, &handle), 0U);
        ASSERT_EQ(kel_store_lock(opened), 0U);
        std::uint32_t &count = kel_store_first_table(opened)->record_count;
        handle->write_log_hook(handle->arena, &count, sizeof count, KEL_TX_NONE);
        count += 1;
        ASSERT_EQ(kel_store_unlock(opened), 0U);
        kel_handle_destroy(handle);
        kel_store_close(opened);
    }
    EXPECT_EQ(tarnctl({"store", "check", store}).exit_code, 3);
    const Outcome outcome = tarnctl({"store", "check", "--repair", store});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    EXPECT_TRUE(outcome.out.starts_with("mended: table tbl_")) << outcome.out;
    EXPECT_EQ(tarnctl({"store", "check", store}).exit_code, 0);
}

TEST_F(Store, IsNotRepairedWithoutItsContent) {
    ASSERT_EQ(tarnctl({"store", "compact", store}).exit_code, 0);
    damage_texts(store);
    const std::string before = files_of(store);
    const Outcome outcome = tarnctl({"store", "check", "--repair", store});
    EXPECT_EQ(outcome.exit_code, 3);
    EXPECT_TRUE(outcome.out.starts_with("not mended: ")) << outcome.out;
    EXPECT_NE(outcome.err.find("tarnctl store salvage"), std::string::npos) << outcome.err;
    EXPECT_EQ(files_of(store), before);
    const Outcome in_json = tarnctl({"store", "check", "--repair", "--json", store});
    const json report = tarn::test::json_of(in_json.out);
    EXPECT_EQ(report["sound"], false);
    EXPECT_TRUE(report["mended"].empty());
    EXPECT_EQ(report["findings"].size(), 1U);
}

}  // namespace
}  // namespace tarnctl_test
