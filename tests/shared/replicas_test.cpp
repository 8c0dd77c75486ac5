// SPDX-License-Identifier: Apache-2.0
// Replicas of a store that other processes change.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "tarnbase/journal.h"
#include "tarnbase/module.h"
#include "tarnbase/replica.h"
#include "tarnbase/runtime.h"
#include "tarnbase/tarn/difference.hpp"
#include "tarnbase/tarn/journal.hpp"
#include "tarnbase/tarn/replica.hpp"
#include "tests/shared/connections.h"

namespace shared_test {
namespace {

using Replicas = SharedStore;

struct Close {
    void operator()(kel_replica *replica) const { kel_replica_close(replica); }
    void operator()(kel_handle *handle) const { kel_handle_destroy(handle); }
};

// A replica of a store of connections.
class Replica {
 public:
    explicit Replica(const std::string &path, std::uint64_t sequence = KEL_REPLICA_NEWEST) {
        kel_replica *opened = nullptr;
        need(kel_replica_open(path.c_str(), tarnbase_table_get_vft, sequence, &opened) == 0,
             kel_error_text());
        replica_.reset(opened);
        kel_handle *handle = nullptr;
        need(kel_handle_create(store(), 0, &handle) == 0, kel_error_text());
        handle_.reset(handle);
    }

    kel_store *store() const { return kel_replica_store(replica_.get()); }
    kel_handle *handle() const { return handle_.get(); }
    std::uint64_t sequence() const { return kel_replica_sequence(replica_.get()); }
    std::uint32_t advance() { return kel_replica_advance(replica_.get(), &last); }
    std::uint32_t advance_record(const kel_record *place) {
        return kel_replica_advance_record(replica_.get(), table(), place, &last);
    }
    kel_replica *c_replica() const { return replica_.get(); }
    // The table of connections, or null.
    kel_table *table() const {
        std::uint32_t error = 0;
        return tbl_ldap_conn_table_open(handle(), KEL_TX_NONE, table_name, 1, &error);
    }

    // "+name 1", "~name 1 2" or "-name 2" for each change of the last transaction.
    std::vector<std::string> changes() const {
        std::vector<std::string> texts;
        for (std::uint64_t i = 0; i < last.change_count; ++i)
            texts.push_back(text(last.changes[i]));
        return texts;
    }
    // The changes of all transactions up to now.
    std::vector<std::string> all_changes() {
        std::vector<std::string> texts;
        while (advance() == 0) {
            for (std::string &each : changes()) texts.push_back(std::move(each));
        }
        return texts;
    }
    std::uint32_t number(const kel_record *record) const {
        std::uint32_t error = 0;
        return st_ldap_conn_num_conns_get_value(handle(), KEL_TX_NONE, object(record), &error);
    }
    std::string name(const kel_record *record) const {
        std::uint32_t error = 0;
        auto *name = st_ldap_conn_sname_get(handle(), KEL_TX_NONE, object(record), &error);
        std::uint32_t length = 0;
        const char *bytes = kel_vstring_bytes(name, &length);
        return {bytes, length};
    }

    kel_replica_transaction last{};

 private:
    static st_ldap_conn *object(const kel_record *record) {
        return static_cast<st_ldap_conn *>(record->object);
    }
    std::string text(const kel_replica_change &change) const {
        const std::string numbers[] = {
            change.before != nullptr ? " " + std::to_string(number(change.before)) : "",
            change.after != nullptr ? " " + std::to_string(number(change.after)) : ""};
        const kel_record *any = change.after != nullptr ? change.after : change.before;
        return std::string(1, "?+~-"[change.what]) + name(any) + numbers[0] + numbers[1];
    }

    std::unique_ptr<kel_replica, Close> replica_;
    std::unique_ptr<kel_handle, Close> handle_;
};

using Texts = std::vector<std::string>;

// A process that changes the store when the test lets it.
Child::Body turns(const std::string &path, std::vector<std::function<void(Connections &)>> all) {
    return [path, all = std::move(all)](Child &test) {
        Connections connections(path);
        for (const auto &each : all) {
            test.await();
            each(connections);
            test.tell();
        }
    };
}

void turn(Child &child) {
    child.tell();
    child.await();
}

void keep_journal(const Connections &connections) {
    kel_journal_settings settings{};
    settings.enabled = 1;
    need(kel_store_set_journal(connections.store.c_store(), &settings) == 0, kel_error_text());
}

const std::string long_name(40, 'n');

std::string name_of(std::uint32_t number) { return "r" + std::to_string(number); }

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

TEST_F(Replicas, NameTheAuthorIfTheStoreKeepsAJournal) {
    Connections::create(path, {{"a", 1}});
    Child writer(turns(path, {[](Connections &all) { keep_journal(all); },
                              [](Connections &all) {
                                  tarn::transaction transaction(all.session);
                                  all.set("a", 2);
                                  const std::uint32_t tx = all.session.c_handle()->cr_tx_id;
                                  kel_transaction_label(all.session.c_handle(), tx, "line 7");
                                  transaction.commit();
                              }}));
    turn(writer);
    Replica replica(path);
    turn(writer);
    while (replica.advance() == 0 && replica.last.change_count == 0) {
    }
    EXPECT_EQ(replica.changes(), Texts{"~a 1 2"});
    EXPECT_EQ(replica.last.pid, static_cast<std::uint32_t>(writer.pid()));
    EXPECT_EQ(replica.last.uid, ::getuid());
    EXPECT_STREQ(replica.last.label, "line 7");
    EXPECT_NE(replica.last.command, nullptr);
    EXPECT_NE(replica.last.time, 0U);
    EXPECT_EQ(writer.join(), 0);
}

TEST_F(Replicas, AdvanceToTheTransactionsThatAreWanted) {
    constexpr std::uint32_t distance = 100;  // few blocks: those between aren't observed
    Connections::create(path, {{"a", 0}});
    {
        Connections all(path);
        keep_journal(all);
        for (std::uint32_t i = 1; i <= 5 * distance; ++i) {
            tarn::transaction transaction(all.session);
            if (i % distance == 0) tarn::label(all.session, transaction, "round");
            if (i % distance == 0 && i > distance) all.table().erase(name_of(i - distance));
            all.set(i % distance <= 1 ? name_of(i) : "a", i);
            transaction.commit();
        }
    }
    const auto is_wanted = [](const kel_replica_transaction *transaction, void *context) {
        ++*static_cast<std::uint64_t *>(context);
        EXPECT_EQ(transaction->change_count, 0U);
        return transaction->label != nullptr ? 1 : 0;
    };
    Replica replica(path, KEL_REPLICA_OLDEST);
    std::uint64_t seen = 0;
    Texts texts;
    const std::uint64_t first = replica.sequence();
    while (kel_replica_advance_wanted(replica.c_replica(), is_wanted, &seen, &replica.last) == 0) {
        EXPECT_STREQ(replica.last.label, "round");
        EXPECT_EQ(replica.last.sequence, first + seen);
        for (const std::string &each : replica.changes()) texts.push_back(each);
    }
    EXPECT_EQ(texts, (Texts{"+r100 100", "-r100 100", "+r200 200", "-r200 200", "+r300 300",
                            "-r300 300", "+r400 400", "-r400 400", "+r500 500"}));
    EXPECT_EQ(replica.sequence(), first + seen);
    EXPECT_EQ(replica.last.sequence, replica.sequence());
    // What wasn't observed is known afterwards.
    Connections(path).commit("r401", 7);
    ASSERT_EQ(replica.advance(), 0U);
    EXPECT_EQ(replica.changes(), Texts{"~r401 401 7"});
}

// A record of another store, with the key of one.
class Place {
 public:
    explicit Place(const std::string &name) {
        tarn::transaction transaction(session_);
        table_.insert(table_.make(name));
        transaction.commit();
        record_ = table_.find(name)->c_record();
    }
    const kel_record *record() const { return record_; }

 private:
    tarn::store store_ = tarn::store::create_private();
    tarn::session session_{store_};
    tarn::table<tarn::ldap_conn> table_ =
        tarn::table<tarn::ldap_conn>::open_or_create(session_, table_name);
    const kel_record *record_ = nullptr;
};

TEST_F(Replicas, AdvanceToTheChangesOfOneRecord) {
    Connections::create(path, {{"a", 1}, {long_name, 2}});
    {
        Connections all(path);
        all.commit("b", 1);
        all.commit("a", 2);
        all.commit(long_name, 3);
        {
            tarn::transaction transaction(all.session);
            all.table().erase("a");
            all.set("c", 1);
            transaction.commit();
        }
        all.commit("b", 2);
        {
            tarn::transaction transaction(all.session);
            all.table().erase("c");
            all.set("a", 7);
            transaction.commit();
        }
        all.commit("b", 3);
    }
    const std::uint64_t newest = Replica(path).sequence();
    const auto changes_of = [&](const std::string &name) {
        Replica replica(path, KEL_REPLICA_OLDEST);
        while (replica.table() == nullptr) EXPECT_EQ(replica.advance(), 0U);
        const Place place(name);
        Texts texts;
        while (replica.advance_record(place.record()) == 0) {
            EXPECT_EQ(replica.last.change_count, 1U);
            texts.push_back(replica.changes().front());
        }
        EXPECT_EQ(replica.last.sequence, newest);
        return texts;
    };
    // The transaction that has made the table has inserted the first two.
    EXPECT_EQ(changes_of("a"), (Texts{"~a 1 2", "-a 2", "+a 7"}));
    EXPECT_EQ(changes_of("b"), (Texts{"+b 1", "~b 1 2", "~b 2 3"}));
    EXPECT_EQ(changes_of(long_name), Texts{"~" + long_name + " 2 3"});
    EXPECT_EQ(changes_of("none"), Texts{});
}

TEST_F(Replicas, AdvanceToTheChangesOfAKeyInCpp) {
    Connections::create(path, {{"a", 1}, {"b", 1}});
    const std::uint64_t created = Replica(path).sequence();
    {
        Connections all(path);
        for (const char *const name : {"b", "a", "b", "a"}) all.commit(name, 5);
        all.commit("a", 6);
        tarn::transaction transaction(all.session);
        all.table().erase("a");
        transaction.commit();
    }
    tarn::replica moved = tarn::replica::open(path, created);
    tarn::replica replica = std::move(moved);
    const tarn::store store = replica.store();
    const tarn::session session(store);
    const auto table = tarn::table<tarn::ldap_conn>::open(session, table_name);
    using step = tarn::replica::step;
    ASSERT_EQ(replica.advance_record(table, "a"), step::applied);
    EXPECT_EQ(replica.changes_of(table, session)[0].after->num_conns(), 5U);
    EXPECT_EQ(replica.sequence(), created + 2);
    ASSERT_EQ(replica.advance_record(table, "a"), step::applied);
    EXPECT_EQ(replica.changes_of(table, session)[0].after->num_conns(), 6U);
    ASSERT_EQ(replica.try_advance_record(table, "a").value(), step::applied);
    EXPECT_FALSE(replica.changes_of(table, session)[0].after.has_value());
    EXPECT_EQ(replica.advance_record(table, "a"), step::current);
}

TEST_F(Replicas, AdvanceToTheChangesOfAKeyOfItsSourceAlone) {
    Connections::create(path, {{"a", 1}});
    const std::uint64_t created = Replica(path).sequence();
    { Connections(path).commit("a", 5); }
    tarn::replica replica = tarn::replica::open(path, created);
    const tarn::store store = replica.store();
    const tarn::session session(store);
    const auto table = tarn::table<tarn::ldap_conn>::open(session, table_name);
    EXPECT_EQ(replica.advance_record(table, "a", tarn::source{7}), tarn::replica::step::current);
    EXPECT_EQ(replica.sequence(), created + 1);
}

TEST_F(Replicas, GoOnWithAllRecordsAfterOne) {
    Connections::create(path, {{"a", 1}});
    const std::uint64_t created = Replica(path).sequence();
    {
        Connections all(path);
        all.commit("b", 1);
        all.commit("a", 2);
        all.commit("b", 2);
        all.commit("a", 3);
    }
    Replica replica(path, created);
    const Place place("a");
    ASSERT_EQ(replica.advance(), 0U);
    ASSERT_EQ(replica.advance_record(place.record()), 0U);
    EXPECT_EQ(replica.changes(), Texts{"~a 1 2"});
    ASSERT_EQ(replica.advance(), 0U);
    EXPECT_EQ(replica.changes(), Texts{"~b 1 2"});
    EXPECT_EQ(replica.all_changes(), Texts{"~a 2 3"});
    EXPECT_EQ(
        kel_replica_advance_record(replica.c_replica(), nullptr, place.record(), &replica.last),
        std::uint32_t{ENOENT});
}

TEST_F(Replicas, AreFoundByTime) {
    Connections::create(path, {{"a", 1}});
    std::uint64_t before = 0;
    EXPECT_EQ(kel_replica_sequence_at(path.c_str(), ~0ULL, &before), std::uint32_t{ENODATA})
        << kel_error_text();
    {
        Connections all(path);
        kel_journal_settings settings{};
        settings.enabled = 1;
        ASSERT_EQ(kel_store_set_journal(all.store.c_store(), &settings), 0U) << kel_error_text();
        for (std::uint32_t i = 2; i < 300; ++i) {
            all.commit("a", i);
            if (i % 100 != 0) continue;
            ASSERT_EQ(kel_store_checkpoint(all.store.c_store()), 0U) << kel_error_text();
        }
    }
    std::uint64_t oldest = 0;
    EXPECT_EQ(kel_replica_sequence_at(path.c_str(), 1, &oldest), std::uint32_t{EOVERFLOW});
    // The kernel's clock may have been a tick behind when it made them.
    for (const auto &entry : std::filesystem::directory_iterator(path)) {
        if (!entry.path().filename().string().starts_with("checkpoint-")) continue;
        std::filesystem::last_write_time(entry,
                                         entry.last_write_time() - std::chrono::milliseconds(9));
    }
    Replica replica(path, KEL_REPLICA_OLDEST);
    std::uint64_t seen = 0;
    while (replica.advance() == 0) {
        const kel_replica_transaction last = replica.last;
        if (last.time == 0) continue;
        std::uint64_t found = 0;
        ASSERT_EQ(kel_replica_sequence_at(path.c_str(), last.time, &found), 0U) << kel_error_text();
        ASSERT_EQ(found, last.sequence);
        if (seen != 0) {
            ASSERT_EQ(kel_replica_sequence_at(path.c_str(), last.time - 1, &found), 0U);
            ASSERT_EQ(found, seen);
        }
        seen = last.sequence;
    }
    EXPECT_GE(seen, 298U);
    std::uint64_t newest = 0;
    EXPECT_EQ(kel_replica_sequence_at(path.c_str(), ~0ULL, &newest), 0U);
    EXPECT_EQ(newest, seen);
    EXPECT_EQ(kel_replica_sequence_at("none.store", 1, &newest), std::uint32_t{ENOENT});
}

TEST_F(Replicas, KnowTheCommandOfASessionThatBeganBefore) {
    Connections::create(path, {{"a", 1}});
    {
        Connections all(path);
        kel_journal_settings settings{};
        settings.enabled = 1;
        ASSERT_EQ(kel_store_set_journal(all.store.c_store(), &settings), 0U) << kel_error_text();
        for (std::uint32_t i = 2; i < 10; ++i) all.commit("a", i);
    }
    const std::uint64_t newest = Replica(path).sequence();
    Replica replica(path, newest - 1);
    ASSERT_EQ(replica.advance(), 0U);
    ASSERT_NE(replica.last.command, nullptr);
    EXPECT_NE(std::string(replica.last.command), "");
}

// Inserts records that need more than a checkpoint's distance of log, and makes a checkpoint.
void fill(Connections &all, char name) {
    constexpr int records = 40;
    const std::string text(32 << 10, name);
    for (int i = 0; i < records; ++i) all.commit(text + std::to_string(i), 1);
    need(kel_store_compact(all.store.c_store()) == 0, kel_error_text());
}

TEST_F(Replicas, CanBeginAtAnOlderCheckpointThatIsKept) {
    Connections::create(path, {{"a", 1}});
    std::vector<std::uint64_t> ends;
    for (const char name : {'x', 'y', 'z'}) {
        {
            Connections all(path);
            if (name == 'x') keep_journal(all);
            all.commit("a", static_cast<std::uint32_t>(2 + ends.size()));
        }
        ends.push_back(Replica(path).sequence());
        Connections all(path);
        fill(all, name);
    }
    EXPECT_GE(tarn::try_describe_journal(Connections(path).store).value().checkpoints, 3U);
    for (std::size_t i = 0; i < ends.size(); ++i) {
        Replica replica(path, ends[i]);
        EXPECT_EQ(replica.sequence(), ends[i]);
        std::size_t inserted = 0;
        std::string changed;
        for (const std::string &each : replica.all_changes()) {
            if (each[0] == '+') ++inserted;
            else changed += each + ' ';
        }
        EXPECT_EQ(inserted, 40 * (ends.size() - i));
        EXPECT_EQ(changed, i == 0 ? "~a 2 3 ~a 3 4 " : i == 1 ? "~a 3 4 " : "");
    }
    Replica oldest(path, KEL_REPLICA_OLDEST);
    EXPECT_LE(oldest.sequence(), ends[0]);
    EXPECT_EQ(oldest.all_changes().back()[0], '+');
}

TEST_F(Replicas, ReadACompressedJournal) {
    Connections::create(path, {{"a", 1}});
    {
        Connections all(path);
        keep_journal(all);
        for (const char name : {'x', 'y'}) fill(all, name);
    }
    const auto changes_since_the_oldest = [&] {
        Replica replica(path, KEL_REPLICA_OLDEST);
        Texts texts;
        while (replica.advance() == 0) {
            for (const std::string &each : replica.changes()) {
                texts.push_back(
                    each + " by " +
                    (replica.last.command != nullptr ? replica.last.command : "nobody"));
            }
        }
        return texts;
    };
    const Texts plain = changes_since_the_oldest();
    EXPECT_EQ(plain.size(), 81U);  // The first one is that of the table.
    {
        const Connections all(path);
        kel_journal_settings settings{};
        settings.enabled = KEL_JOURNAL_COMPRESSED;
        tarn::set_journal(all.store, settings);
        EXPECT_GE(tarn::try_describe_compression(all.store).value().segments, 5U);
    }
    EXPECT_EQ(changes_since_the_oldest(), plain);
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

// A module of one item, which lasts as long as this.
class Module {
 public:
    explicit Module(std::uint32_t length) {
        variant_.used_length = length;
        kel_module_list &list = kel_module_tot_root;
        *list.last = &record_;
        record_.link_prev = list.last;
        list.last = &record_.link_next;
        ++list.count;
    }
    Module(const Module &) = delete;
    Module &operator=(const Module &) = delete;
    ~Module() {
        kel_module_list &list = kel_module_tot_root;
        *record_.link_prev = nullptr;
        list.last = record_.link_prev;
        --list.count;
    }

 private:
    kel_variant_usage variant_{};
    kel_variant_info variants_{1, &variant_};
    kel_type_info type_{KEL_TYPE_INFO_MAGIC, {},         {}, "st_example", "example", "type",
                        KEL_TYPE_SLOT_NONE,  &variants_, 0};
    const kel_type_info *descriptors_[2] = {&type_, nullptr};
    kel_module_record record_{"example", descriptors_, nullptr, nullptr};
};

TEST_F(Replicas, RefuseAJournalThatWasWrittenWithAnotherSchema) {
    Connections::create(path, {{"a", 1}});
    { keep_journal(Connections(path)); }
    const std::uint64_t before = Replica(path).sequence();
    {
        const Module module(24);
        Connections(path).commit("a", 2);
    }
    // Without that module, and with it, the journal can be read.
    EXPECT_EQ(Replica(path, before).all_changes(), Texts{"~a 1 2"});
    {
        const Module same(24);
        EXPECT_EQ(Replica(path, before).all_changes(), Texts{"~a 1 2"});
    }
    const Module other(32);
    Replica replica(path, before);
    EXPECT_EQ(replica.advance(), std::uint32_t{EPROTO});
    EXPECT_EQ(std::string(kel_error_text()),
              path + ": transaction " + std::to_string(before + 1) +
                  " was written with another schema of example. A program with that schema can "
                  "read it");
    EXPECT_EQ(replica.advance(), std::uint32_t{EPROTO});
    EXPECT_EQ(replica.sequence(), before);
}

TEST_F(Replicas, RefuseAStateThatWasWrittenWithAnotherSchema) {
    Connections::create(path, {{"a", 1}});
    { keep_journal(Connections(path)); }
    {
        const Module module(24);
        Connections all(path);
        all.commit("a", 2);
        EXPECT_EQ(kel_store_checkpoint(all.store.c_store()), 0U) << kel_error_text();
    }
    const Module other(32);
    kel_replica *none = nullptr;
    EXPECT_EQ(kel_replica_open(path.c_str(), tarnbase_table_get_vft, KEL_REPLICA_NEWEST, &none),
              std::uint32_t{EPROTO});
    EXPECT_EQ(none, nullptr);
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
