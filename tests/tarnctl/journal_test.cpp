// SPDX-License-Identifier: Apache-2.0
#include "tests/support/json.h"
#include "tests/tarnctl/tarnctl.h"

namespace tarnctl_test {
namespace {

using nlohmann::json;

class Journal : public WithStore {
 protected:
    json status() {
        const Outcome outcome = on_store({"journal", "status", "--json"});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        return tarn::test::json_of(outcome.out);
    }
    void expect_done(std::vector<std::string> arguments) {
        const Outcome outcome = on_store(std::move(arguments));
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
};

TEST_F(Journal, IsOffUntilItIsStarted) {
    const json off = status();
    EXPECT_EQ(off["enabled"], false);
    EXPECT_EQ(off["durability"], "process");
    EXPECT_EQ(off["full_disk"], "refuse");
    EXPECT_EQ(off["keep_bytes"], 0);
    EXPECT_EQ(off["keep_seconds"], 0);
    EXPECT_EQ(off["checkpoints"], 1);
    EXPECT_TRUE(holds(on_store({"journal", "status"}).out, "journal       off\n"));
}

TEST_F(Journal, KeepsTheSettingsThatArentGiven) {
    expect_done({"journal", "start", "--keep", "2G", "--keep-for", "30d"});
    expect_done({"journal", "start", "--durability", "250ms", "--full-disk", "gap"});
    const json on = status();
    EXPECT_EQ(on["enabled"], true);
    EXPECT_EQ(on["durability"], "250ms");
    EXPECT_EQ(on["full_disk"], "gap");
    EXPECT_EQ(on["keep_bytes"], 2ULL << 30);
    EXPECT_EQ(on["keep_seconds"], 30 * 86400);
    const std::string text = on_store({"journal", "status"}).out;
    EXPECT_TRUE(holds(text, "journal       on\nkeeps         2 GiB, for 30d\n")) << text;
    EXPECT_TRUE(holds(text, "durability    250ms\nfull disk     gap\n")) << text;

    expect_done({"journal", "start", "--keep", "all", "--keep-for", "ever"});
    EXPECT_TRUE(holds(on_store({"journal", "status"}).out, "keeps         all, for ever\n"));
    expect_done({"journal", "stop"});
    EXPECT_EQ(status()["enabled"], false);
    EXPECT_EQ(status()["durability"], "250ms");
    expect_done({"journal", "stop", "--durability", "process"});
    EXPECT_EQ(status()["durability"], "process");
}

TEST_F(Journal, DurableCommitsAreOnTheDisk) {
    expect_done({"journal", "start", "--durability", "commit"});
    const json before = status();
    EXPECT_EQ(before["durable"], before["end"]);
    ASSERT_EQ(on_store({"set", "ldap_conn", "b.example", "num_conns=8"}).exit_code, 0);
    const json after = status();
    EXPECT_GT(after["end"], before["end"]);
    EXPECT_EQ(after["durable"], after["end"]);
    EXPECT_EQ(after["begin"], before["begin"]);
}

TEST_F(Journal, CompressesWhatOnlyTheJournalNeeds) {
    expect_done({"journal", "start"});
    EXPECT_EQ(status()["compress"], false);
    ASSERT_EQ(on_store({"set", "ldap_conn", "b.example", "num_conns=8"}).exit_code, 0);
    ASSERT_EQ(tarnctl({"store", "compact", store}).exit_code, 0);
    EXPECT_EQ(status()["compressed_segments"], 0);
    const std::string log = on_store({"log"}).out;

    expect_done({"journal", "start", "--compress"});
    const json compressed = status();
    EXPECT_EQ(compressed["compress"], true);
    EXPECT_GE(compressed["compressed_segments"], 1);
    EXPECT_GT(compressed["compressed_plain_bytes"], 5 * compressed["compressed_bytes"].get<int>());
    const std::string text = on_store({"journal", "status"}).out;
    EXPECT_TRUE(holds(text, "journal       on, compressed\n")) << text;
    EXPECT_TRUE(holds(text, "of the log, from ")) << text;
    EXPECT_EQ(on_store({"log"}).out, log);

    // It stays so until it is switched off, and then what is compressed does.
    expect_done({"journal", "start", "--keep", "2G"});
    EXPECT_EQ(status()["compress"], true);
    expect_done({"journal", "start", "--no-compress"});
    EXPECT_EQ(status()["compress"], false);
    EXPECT_EQ(status()["compressed_segments"], compressed["compressed_segments"]);
    EXPECT_EQ(on_store({"log"}).out, log);
    expect_done({"journal", "stop"});
    EXPECT_EQ(status()["compressed_segments"], 0);
}

TEST_F(Journal, RefusesSettingsThatMakeNoSense) {
    expect_refusals({
        {2, {"journal", "start", "--keep", "0"}, "--keep `0`: expected a size"},
        {2, {"journal", "start", "--keep", "much"}, "--keep `much`: expected a size"},
        {2, {"journal", "start", "--keep-for", "30"}, "--keep-for `30`: expected a number"},
        {2, {"journal", "start", "--keep-for", "0d"}, "--keep-for `0d`: expected a number"},
        {2, {"journal", "start", "--durability", "0ms"}, "--durability `0ms`: expected"},
        {2, {"journal", "start", "--durability", "3600001ms"}, "expected `process`"},
        {2, {"journal", "start", "--durability", "often"}, "--durability `often`: expected"},
        {2, {"journal", "start", "--full-disk", "wait"}, "--full-disk"},
        {2, {"journal", "start", "--compress", "--no-compress"}, "--no-compress"},
    });
    EXPECT_EQ(tarnctl({"journal", "status", directory / "none"}).exit_code, 4);
    EXPECT_EQ(status()["enabled"], false);
}

}  // namespace
}  // namespace tarnctl_test
