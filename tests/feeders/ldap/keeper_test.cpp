// SPDX-License-Identifier: Apache-2.0
#include "feeders/ldap/keeper.h"

#include <gtest/gtest.h>

#include "tests/support/temporary_directory.h"

namespace tarn_ldap {
namespace {

using tarn::test::TemporaryDirectory;
using tarn::test::write_file;

constexpr const char *kName = "ldap://127.0.0.1:389";

// A server whose every field has a value of its own.
Server sample(uint32_t first) {
    Server server;
    uint32_t value = first;
#define X(name) server.stats.name = value++;
    LDAP_STATS_COUNTERS(X)
#undef X
    server.req_timeout = value++;
    server.status = true;
    server.num_conns = value;
    return server;
}

uint64_t blocks_of(const Keeper &keeper) { return keeper.store().describe().blocks; }

class KeeperTest : public testing::Test {
 protected:
    TemporaryDirectory directory;
    std::string path = directory / "store";
};

TEST_F(KeeperTest, AServerIsReadAsItWasWritten) {
    Keeper keeper(tarn::store::open_or_create(path));
    EXPECT_EQ(keeper.read(kName), std::nullopt);
    keeper.write(kName, sample(1));
    EXPECT_EQ(keeper.read(kName), sample(1));
    keeper.write(kName, sample(100));
    EXPECT_EQ(keeper.read(kName), sample(100));
}

TEST_F(KeeperTest, AKeeperReadsWhatAnEarlierOneWrote) {
    { Keeper(tarn::store::open_or_create(path)).write(kName, sample(1)); }
    EXPECT_EQ(Keeper(tarn::store::open_or_create(path)).read(kName), sample(1));
}

TEST_F(KeeperTest, KeepsSeveralServers) {
    Keeper keeper(tarn::store::open_or_create(path));
    const std::string long_name(300, 'x');
    keeper.write(kName, sample(1));
    keeper.write(long_name, sample(50));
    keeper.write("", sample(90));
    EXPECT_EQ(keeper.read(kName), sample(1));
    EXPECT_EQ(keeper.read(long_name), sample(50));
    EXPECT_EQ(keeper.read(""), sample(90));
    EXPECT_EQ(keeper.read("another"), std::nullopt);
}

TEST_F(KeeperTest, ARepeatedWriteTakesNoMoreSpace) {
    Keeper keeper(tarn::store::open_or_create(path));
    keeper.write(kName, sample(1));
    const uint64_t blocks = blocks_of(keeper);
    for (uint32_t i = 0; i < 10; ++i) keeper.write(kName, sample(i));
    EXPECT_EQ(blocks_of(keeper), blocks);
}

TEST_F(KeeperTest, AWriteThatFailsIsRolledBack) {
    Keeper keeper(tarn::store::open_or_create(path));
    keeper.write("another", sample(7), {.source = "log", .position = "1"});
    const uint64_t blocks = blocks_of(keeper);
    uint64_t failures = 0;
    for (;;) {
        kel_store_fail_allocation(keeper.store().c_store(), failures + 1);
        try {
            keeper.write(kName, sample(1), {.source = "log", .position = "2"});
            break;
        } catch (const tarn::error &) {
            ++failures;
        }
        ASSERT_EQ(keeper.read(kName), std::nullopt) << "allocation " << failures;
        ASSERT_EQ(keeper.read("another"), sample(7)) << "allocation " << failures;
        ASSERT_EQ(keeper.place("log")->position, "1") << "allocation " << failures;
        ASSERT_EQ(blocks_of(keeper), blocks) << "allocation " << failures;
        ASSERT_LT(failures, 1000u);
    }
    kel_store_fail_allocation(keeper.store().c_store(), 0);
    // At least a record, an object and a text in each of three tables.
    EXPECT_GE(failures, 9u);
    EXPECT_EQ(keeper.read(kName), sample(1));
    EXPECT_EQ(keeper.read("another"), sample(7));
    EXPECT_EQ(keeper.place("log")->position, "2");
}

TEST_F(KeeperTest, ThePlaceOfALogIsKeptWithTheServerThatItIsAbout) {
    {
        Keeper keeper(tarn::store::open_or_create(path));
        EXPECT_FALSE(keeper.place("log"));
        keeper.write(kName, sample(1), {.source = "log", .position = "file 1 2"});
    }
    Keeper keeper(tarn::store::open_or_create(path));
    EXPECT_EQ(keeper.place("log")->position, "file 1 2");
    EXPECT_EQ(keeper.place("log")->server, kName);
    EXPECT_FALSE(keeper.place("another log"));
}

TEST_F(KeeperTest, AFileThatIsNoStoreIsRefused) {
    write_file(path, "something else\n");
    try {
        Keeper keeper(tarn::store::open_or_create(path));
        FAIL() << "opened";
    } catch (const tarn::error &error) {
        EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
    }
}

}  // namespace
}  // namespace tarn_ldap
