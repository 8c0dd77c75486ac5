// SPDX-License-Identifier: Apache-2.0
// Replicas that go on to one record, or to transactions that are wanted.
#include <cerrno>

#include "tarnbase/tarn/journal.hpp"
#include "tarnbase/tarn/replica.hpp"
#include "tests/shared/replica.h"

namespace shared_test {
namespace {

std::string name_of(std::uint32_t number) { return "r" + std::to_string(number); }

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
        all.commit("r401", 7);
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
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(kel_replica_advance_wanted(replica.c_replica(), is_wanted, &seen, &replica.last),
                  0U);
        EXPECT_STREQ(replica.last.label, "round");
        EXPECT_EQ(replica.last.sequence, first + seen);
        for (const std::string &each : replica.changes()) texts.push_back(each);
    }
    EXPECT_EQ(texts, (Texts{"+r100 100", "-r100 100", "+r200 200", "-r200 200", "+r300 300",
                            "-r300 300", "+r400 400", "-r400 400", "+r500 500"}));
    EXPECT_EQ(replica.sequence(), first + seen);
    EXPECT_EQ(replica.last.sequence, replica.sequence());
    ASSERT_EQ(replica.advance(), 0U);
    EXPECT_EQ(replica.changes(), Texts{"~r401 401 7"});
    EXPECT_EQ(kel_replica_advance_wanted(replica.c_replica(), is_wanted, &seen, &replica.last),
              std::uint32_t{EAGAIN});
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

}  // namespace
}  // namespace shared_test
