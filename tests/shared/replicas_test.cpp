// SPDX-License-Identifier: Apache-2.0
// Replicas of a store that other processes change.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <thread>

#include "tarnbase/tarn/difference.hpp"
#include "tarnbase/tarn/replica.hpp"
#include "tests/shared/replica.h"

namespace shared_test {
namespace {

TEST_F(Replicas, ReportTheRecordsThatATransactionHasChanged) {
    Connections::create(path, {{"a", 1}, {"b", 2}, {long_name, 3}});
    Child writer(turns(path, {[](Connections &all) {
                                  tarn::transaction transaction(all.session);
                                  all.set("c", 5);
                                  all.set("a", 4);
                                  all.table().erase("b");
                                  all.set(long_name, 6);
                                  transaction.commit();
                              },
                              [](Connections &all) {
                                  tarn::transaction transaction(all.session);
                                  all.table().erase(long_name);
                                  transaction.commit();
                              }}));
    Replica replica(path);
    EXPECT_EQ(replica.advance(), std::uint32_t{EAGAIN});
    turn(writer);
    const std::uint64_t before = replica.sequence();
    ASSERT_EQ(replica.advance(), 0U);
    EXPECT_EQ(replica.changes(), (Texts{"-b 2", "~a 1 4", "+c 5", "~" + long_name + " 3 6"}));
    EXPECT_EQ(replica.last.sequence, before + 1);
    EXPECT_EQ(replica.sequence(), before + 1);
    turn(writer);
    EXPECT_EQ(replica.all_changes(), Texts{"-" + long_name + " 6"});
    EXPECT_EQ(writer.join(), 0);
}

TEST_F(Replicas, JoinADeletionAndAnInsertionOfOneKey) {
    Connections::create(path, {{"a", 1}, {"b", 2}});
    Child writer(turns(path, {[](Connections &all) {
                           tarn::transaction transaction(all.session);
                           all.table().erase("a");
                           all.table().erase("b");
                           all.set("b", 7);
                           all.set("a", 1);
                           transaction.commit();
                       }}));
    Replica replica(path);
    turn(writer);
    const Texts changes = replica.all_changes();
    EXPECT_TRUE(std::find(changes.begin(), changes.end(), "~b 2 7") != changes.end());
    for (const std::string &each : changes) EXPECT_EQ(each[0], '~') << each;
    EXPECT_EQ(writer.join(), 0);
}

TEST_F(Replicas, AreOfATransactionUntilTheyAdvance) {
    Connections::create(path, {{"a", 1}});
    Child writer(turns(path, {[](Connections &all) { all.commit("a", 2); },
                              [](Connections &all) { all.commit("a", 3); }}));
    turn(writer);
    {
        Replica replica(path);
        turn(writer);
        EXPECT_EQ(kel_store_refresh(replica.store()), 0U);
        const std::uint64_t before = replica.sequence();
        EXPECT_EQ(replica.advance(), 0U);
        EXPECT_EQ(replica.sequence(), before + 1);
        EXPECT_EQ(replica.changes(), Texts{"~a 2 3"});
    }
    EXPECT_EQ(writer.join(), 0);
}

TEST_F(Replicas, CanBeginAtATransactionOfThePast) {
    Connections::create(path, {{"a", 1}});
    std::uint64_t created = 0;
    created = Replica(path).sequence();
    {
        Connections connections(path);
        for (std::uint32_t i = 2; i < 6; ++i) connections.commit("a", i);
    }
    EXPECT_EQ(Replica(path, created).all_changes(),
              (Texts{"~a 1 2", "~a 2 3", "~a 3 4", "~a 4 5"}));
    EXPECT_EQ(Replica(path, created + 3).all_changes(), Texts{"~a 4 5"});
    EXPECT_EQ(Replica(path, KEL_REPLICA_OLDEST).sequence(), 0U);
    kel_replica *none = nullptr;
    EXPECT_EQ(kel_replica_open(path.c_str(), tarnbase_table_get_vft, created + 5, &none),
              std::uint32_t{EINVAL});
    EXPECT_EQ(none, nullptr);
}

TEST_F(Replicas, SayWhatTheLogDoesNotContainAnyMore) {
    Connections::create(path, {{"a", 1}});
    // Longer than a segment of the log.
    const auto change_often = [](Connections &all) {
        for (std::uint32_t i = 0; i < 3000; ++i) all.commit("a", i);
        all.commit("b", 1);
        EXPECT_EQ(kel_store_checkpoint(all.store.c_store()), 0U) << kel_error_text();
    };
    Child writer(turns(path, {change_often, [](Connections &all) { all.commit("b", 2); }}));
    Replica replica(path);
    const std::uint64_t before = replica.sequence();
    turn(writer);
    std::uint32_t error = 0;
    while ((error = replica.advance()) == 0) {
    }
    EXPECT_EQ(error, std::uint32_t{EOVERFLOW}) << kel_error_text();
    EXPECT_EQ(replica.last.sequence, before + 3001);
    EXPECT_GT(replica.last.missed, 0U);
    turn(writer);
    EXPECT_EQ(replica.all_changes(), Texts{"~b 1 2"});
    EXPECT_EQ(writer.join(), 0);
}

TEST_F(Replicas, TooOldAreRefused) {
    Connections::create(path, {{"a", 1}});
    {
        Connections connections(path);
        for (std::uint32_t i = 0; i < 100; ++i) connections.commit("a", i);
        EXPECT_EQ(kel_store_checkpoint(connections.store.c_store()), 0U) << kel_error_text();
    }
    kel_replica *none = nullptr;
    EXPECT_EQ(kel_replica_open(path.c_str(), tarnbase_table_get_vft, 1, &none),
              std::uint32_t{EOVERFLOW});
    EXPECT_NE(std::string(kel_error_text()).find("begins after transaction"), std::string::npos)
        << kel_error_text();
}

TEST_F(Replicas, HaveTheChangesOfATableInCpp) {
    Connections::create(path, {{"a", 1}, {"b", 2}});
    Child writer(turns(path, {[](Connections &all) {
                           tarn::transaction transaction(all.session);
                           all.set("a", 7);
                           all.table().erase("b");
                           all.set("c", 3);
                           auto other =
                               tarn::table<tarn::ldap_conn>::open_or_create(all.session, "other");
                           other.insert(other.make("a"));
                           transaction.commit();
                       }}));
    tarn::replica replica = tarn::replica::open(path);
    const tarn::store store = replica.store();
    const tarn::session session(store);
    const auto table = tarn::table<tarn::ldap_conn>::open(session, table_name);
    EXPECT_EQ(replica.advance(), tarn::replica::step::current);
    turn(writer);
    while (replica.advance() == tarn::replica::step::applied &&
           replica.transaction().change_count == 0) {
    }
    EXPECT_EQ(replica.transaction().change_count, 4U);
    const auto changes = replica.changes_of(table, session);
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_EQ(changes[0].before->sname(), "b");
    EXPECT_FALSE(changes[0].after);
    EXPECT_EQ(changes[1].before->num_conns(), 1U);
    EXPECT_EQ(changes[1].after->num_conns(), 7U);
    EXPECT_FALSE(changes[2].before);
    EXPECT_EQ(changes[2].after->sname(), "c");
    const auto fields = tarn::differences(session, changes[1]);
    ASSERT_EQ(fields.size(), 1U);
    EXPECT_EQ(fields[0].name, "num_conns");
    EXPECT_EQ(std::get<std::uint64_t>(fields[0].before), 1U);
    EXPECT_EQ(std::get<std::uint64_t>(fields[0].after), 7U);
    EXPECT_EQ(writer.join(), 0);
}

TEST_F(Replicas, AndTheirStoreAreNotOpenInOneProcess) {
    Connections::create(path);
    kel_replica *none = nullptr;
    kel_store *store = nullptr;
    {
        const Connections connections(path);
        EXPECT_EQ(kel_replica_open(path.c_str(), tarnbase_table_get_vft, KEL_REPLICA_NEWEST, &none),
                  std::uint32_t{EADDRINUSE});
        EXPECT_NE(std::string(kel_error_text()).find("a replica of a store and the store"),
                  std::string::npos)
            << kel_error_text();
    }
    const Replica replica(path);
    EXPECT_EQ(kel_store_open(path.c_str(), &store), std::uint32_t{EADDRINUSE});
}

TEST_F(Replicas, CannotBeChanged) {
    Connections::create(path, {{"a", 1}});
    Child writer(turns(path, {[](Connections &all) { all.commit("a", 2); }}));
    Replica replica(path);
    std::uint32_t tx = 0;
    EXPECT_EQ(kel_transaction_begin(replica.handle(), &tx), std::uint32_t{EACCES});
    EXPECT_EQ(kel_store_lock(replica.store()), std::uint32_t{EACCES});
    EXPECT_EQ(kel_store_checkpoint(replica.store()), std::uint32_t{EACCES});
    kel_store_description description;
    kel_store_describe(replica.store(), &description);
    EXPECT_EQ(description.writable, 0U);
    EXPECT_EQ(kel_store_wait(replica.store(), 1), std::uint32_t{ETIMEDOUT});
    turn(writer);
    EXPECT_EQ(kel_store_wait(replica.store(), 10000), 0U);
    EXPECT_EQ(replica.all_changes(), Texts{"~a 1 2"});
    EXPECT_EQ(writer.join(), 0);
}

// Commits the numbers from 1 on, again and again, until it is killed. It rests now and then, so
// that the log isn't removed before a process that gets little time has read it.
void count_for_ever(const std::string &path) {
    Connections connections(path);
    for (std::uint32_t i = connections.number("count") + 1;; ++i) {
        connections.commit("count", i);
        if (i % 20 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// Advances until so many changes of the record were seen; each begins with the number of the
// last.
void see_changes(Replica &replica, std::uint32_t count, std::optional<std::uint32_t> &last) {
    while (count != 0) {
        const std::uint32_t error = replica.advance();
        if (error == EAGAIN) {
            kel_store_wait(replica.store(), 100);
            continue;
        }
        ASSERT_EQ(error, 0U) << kel_error_text();
        if (replica.last.change_count == 0) continue;
        ASSERT_EQ(replica.last.change_count, 1U);
        const kel_replica_change &change = replica.last.changes[0];
        const std::uint32_t before = replica.number(change.before);
        ASSERT_EQ(before, last.value_or(before));
        last = replica.number(change.after);
        ASSERT_EQ(*last, before + 1);
        --count;
    }
}

TEST_F(Replicas, ReportEachChangeOnceWhileWritersAreKilled) {
    constexpr int rounds = 5;
    Connections::create(path, {{"count", 0}});
    // A process that has a replica open can't fork one that opens the store.
    Child spawner([&](Child &test) {
        for (int round = 0; round < rounds; ++round) {
            Child writer([&](Child &) { count_for_ever(path); });
            test.await();
            writer.send(SIGKILL);
            need(writer.join() == -SIGKILL, "the writer has ended");
            test.tell();
        }
    });
    std::optional<Replica> replica(path);
    std::optional<std::uint32_t> last;
    for (int round = 0; round < rounds; ++round) {
        ASSERT_NO_FATAL_FAILURE(see_changes(*replica, 400, last));
        turn(spawner);
    }
    for (const std::string &each : replica->all_changes()) {
        EXPECT_EQ(each, "~count " + std::to_string(*last) + " " + std::to_string(*last + 1));
        *last += 1;
    }
    replica.reset();
    EXPECT_EQ(spawner.join(), 0);
    EXPECT_EQ(Connections(path).number("count"), *last);
}

TEST_F(Replicas, ThatAreKilledHoldNothingBack) {
    Connections::create(path, {{"a", 1}});
    Child follower([&](Child &test) {
        Replica replica(path);
        test.tell();
        while (true) {
            replica.all_changes();
            kel_store_wait(replica.store(), -1);
        }
    });
    follower.await();
    Connections connections(path);
    for (std::uint32_t i = 0; i < 100; ++i) connections.commit("a", i);
    follower.send(SIGKILL);
    EXPECT_EQ(follower.join(), -SIGKILL);
    for (std::uint32_t i = 0; i < 100; ++i) connections.commit("a", i);
    EXPECT_EQ(kel_store_checkpoint(connections.store.c_store()), 0U) << kel_error_text();
}

}  // namespace
}  // namespace shared_test
