// SPDX-License-Identifier: Apache-2.0
// Several processes that write: nothing that was committed is lost, whoever has the lock.
#include <csignal>

#include "tests/shared/connections.h"

namespace shared_test {
namespace {

using Writers = SharedStore;

constexpr std::uint32_t commits = 2000;

TEST_F(Writers, TwoAtOnceLoseNoCommitOfEither) {
    Connections::create(path, {{"commits", 0}});
    const auto write = [&](const std::string &name) {
        return [&, name](Child &test) {
            Connections connections(path);
            test.tell();
            test.await();
            for (std::uint32_t i = 0; i < commits; ++i) {
                tarn::transaction transaction(connections.session);
                connections.set(name + std::to_string(i), i);
                connections.set("commits", connections.number("commits") + 1);
                transaction.commit();
            }
        };
    };
    Child first(write("first"));
    Child second(write("second"));
    for (Child *each : {&first, &second}) each->await();
    for (Child *each : {&first, &second}) each->tell();
    for (Child *each : {&first, &second}) EXPECT_EQ(each->join(), 0);

    Content expected = numbered("first", commits);
    expected.merge(numbered("second", commits));
    expected["commits"] = 2 * commits;
    EXPECT_EQ(content(), expected);
}

TEST_F(Writers, ImportsBesideABusyDaemonKeepAllRecordsOfBoth) {
    constexpr std::uint32_t imported = 500;
    constexpr std::uint32_t imports = 5;
    Connections::create(path);
    Content expected;
    for (std::uint32_t i = 0; i < imports; ++i) {
        const std::string name = "import" + std::to_string(i) + "-";
        const std::string store = directory / (name + "store");
        Connections::create(store, numbered(name, imported));
        ASSERT_EQ(tarnctl({"export", "-s", store, "-o", store + ".json"}).exit_code, 0);
        expected.merge(numbered(name, imported));
    }
    // Changes its first record in each commit, and inserts a further one.
    Child daemon([&](Child &test) {
        Connections connections(path);
        std::uint32_t i = 0;
        for (; !test.is_told(); ++i) {
            tarn::transaction transaction(connections.session);
            connections.set("daemon" + std::to_string(i), i);
            connections.set("commits", i + 1);
            transaction.commit();
            if (i == 100) test.tell();
        }
    });
    daemon.await();
    for (std::uint32_t i = 0; i < imports; ++i) {
        const std::string document = directory / ("import" + std::to_string(i) + "-store.json");
        const auto outcome = tarnctl({"import", "-s", path, document});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    }
    daemon.tell();
    EXPECT_EQ(daemon.join(), 0);
    const Content found = content();
    const std::uint32_t written = found.at("commits");
    expected.merge(numbered("daemon", written));
    expected["commits"] = written;
    EXPECT_EQ(found, expected);
    const auto outcome = tarnctl({"show", "ldap_conn", "-s", path});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
}

// Begins a transaction with 100 records, tells the test, and commits when it is told to.
void write_half(const std::string &path, Child &test) {
    Connections connections(path);
    tarn::transaction transaction(connections.session);
    for (std::uint32_t i = 0; i < 100; ++i) connections.set("half" + std::to_string(i), i);
    connections.set("a", 77);
    test.tell();
    test.await();
    transaction.commit();
    test.tell();
}

TEST_F(Writers, ADeadOneLeavesNothingToAWatcherAndItsLockToTheNext) {
    Connections::create(path, {{"a", 1}});
    tarn::test::Process watch({TARNCTL, "watch", "ldap_conn", "-s", path, "-v", "--no-time",
                               "--interval", "5", "--count", "1"});
    ASSERT_TRUE(watch.wait_for("tarnctl: watching"));
    Child writer([&](Child &test) { write_half(path, test); });
    writer.await();
    writer.send(SIGKILL);
    EXPECT_EQ(writer.join(), -SIGKILL);
    {
        Connections next(path);
        // The dead one would hold it for ever.
        next.store.set_lock_timeout(5000);
        next.commit("next", 5);
        EXPECT_EQ(next.content(), (Content{{"a", 1}, {"next", 5}}));
    }
    const tarn::test::Outcome seen = watch.finish();
    EXPECT_EQ(seen.exit_code, 0) << seen.err;
    EXPECT_EQ(seen.out,
              "= tbl_ldap_conn:ldap a  num_conns: 1\n+ tbl_ldap_conn:ldap next  num_conns: 5\n");
}

TEST_F(Writers, AStoppedOneIsWaitedForAndNamedAndKeepsItsLock) {
    Connections::create(path, {{"a", 1}});
    Child writer([&](Child &test) { write_half(path, test); });
    writer.await();
    writer.send(SIGSTOP);
    // The kernel keeps 15 bytes of the command's name.
    const std::string holder =
        "held by " + std::to_string(writer.pid()) + " (shared_store_te) since ";
    Connections next(path);
    next.store.set_lock_timeout(300);
    const auto refused = tarn::transaction::try_begin(next.session);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().number(), std::uint32_t{ETIMEDOUT});
    EXPECT_NE(std::string(refused.error().what()).find(holder), std::string::npos)
        << refused.error().what();
    const auto outcome = tarnctl({"set", "ldap_conn", "a", "num_conns=2", "-s", path});
    EXPECT_EQ(outcome.exit_code, 5);
    EXPECT_NE(outcome.err.find(holder), std::string::npos) << outcome.err;

    writer.tell();
    writer.send(SIGCONT);
    writer.await();
    EXPECT_EQ(writer.join(), 0);
    next.store.set_lock_timeout(5000);
    next.commit("b", 2);
    Content expected = numbered("half", 100);
    expected["a"] = 77;
    expected["b"] = 2;
    EXPECT_EQ(next.content(), expected);
}

}  // namespace
}  // namespace shared_test
