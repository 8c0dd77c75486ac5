// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

namespace face_test {
namespace {

class Transaction : public Face {
 protected:
    tarn::table<tarn::ldap_conn> table = servers(session);
};

TEST_F(Transaction, ChangesStayOnceCommitted) {
    tarn::transaction transaction(session);
    add(table, "ldap1");
    transaction.commit();
    EXPECT_FALSE(transaction.is_open());
    EXPECT_EQ(names(table), Names{"ldap1"});
    EXPECT_EQ(store.describe().committed, 1U);
}

TEST_F(Transaction, ChangesAreRolledBackAtTheEndOfTheScope) {
    add(table, "ldap1", 3);
    const std::uint64_t before = blocks(store);
    {
        const tarn::transaction transaction(session);
        table.find("ldap1")->set_num_conns(9);
        add(table, "ldap2");
    }
    EXPECT_EQ(names(table), Names{"ldap1"});
    EXPECT_EQ(table.find("ldap1")->num_conns(), 3U);
    EXPECT_EQ(blocks(store), before);
}

TEST_F(Transaction, AnExceptionRollsChangesBack) {
    EXPECT_EQ(thrown_by([&] {
                  const tarn::transaction transaction(session);
                  add(table, "ldap1");
                  add(table, "ldap1");
              }).code(),
              std::errc::file_exists);
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(store.describe().transactions, 0U);
}

TEST_F(Transaction, RollbackUndoesAnErase) {
    add(table, "ldap1", 3);
    tarn::transaction transaction(session);
    EXPECT_TRUE(table.erase("ldap1"));
    EXPECT_TRUE(table.empty());
    transaction.rollback();
    EXPECT_EQ(table.find("ldap1")->num_conns(), 3U);
}

TEST_F(Transaction, EndsOnce) {
    tarn::transaction transaction(session);
    transaction.commit();
    EXPECT_EQ(thrown_by([&] { transaction.commit(); }).code(), std::errc::invalid_argument);
    EXPECT_EQ(thrown_by([&] { transaction.rollback(); }).code(), std::errc::invalid_argument);
}

TEST_F(Transaction, ItsIdIsThatOfItsCallsOfTheCInterface) {
    add(table, "ldap1", 3);
    {
        const tarn::transaction transaction(session);
        EXPECT_NE(transaction.id(), KEL_TX_NONE);
        std::uint32_t err = 0;
        st_ldap_conn_num_conns_set_value(session.c_handle(), transaction.id(),
                                         table.find("ldap1")->c_object(), 9, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(table.find("ldap1")->num_conns(), 9U);
    }
    EXPECT_EQ(table.find("ldap1")->num_conns(), 3U);
}

TEST_F(Transaction, ASessionHasOneAtATime) {
    tarn::transaction transaction(session);
    const tarn::error error = thrown_by([&] { const tarn::transaction second(session); });
    EXPECT_EQ(error.code(), std::errc::device_or_resource_busy);
    transaction.commit();
    EXPECT_NO_THROW(tarn::transaction{session}.commit());
}

TEST_F(Transaction, CanBeMoved) {
    tarn::transaction first(session);
    add(table, "ldap1");
    tarn::transaction second(std::move(first));
    EXPECT_FALSE(first.is_open());  // NOLINT: what is left is part of the contract
    EXPECT_TRUE(second.is_open());
    second.commit();
    EXPECT_EQ(table.size(), 1U);
}

TEST_F(Transaction, WithoutOneChangesArePermanent) {
    EXPECT_EQ(session.c_handle()->cr_tx_id, KEL_TX_NONE);
    add(table, "ldap1");
    { const tarn::transaction transaction(session); }
    EXPECT_EQ(table.size(), 1U);
}

TEST_F(Transaction, ARecordThatWasNotInsertedIsDestroyedByTheRollback) {
    const std::uint64_t before = blocks(store);
    {
        const tarn::transaction transaction(session);
        const auto record = table.make("a name that doesn't lie in the string itself");
    }
    EXPECT_EQ(blocks(store), before);
    {
        // In the other order: the rollback removes the record.
        std::optional<tarn::new_record<tarn::ldap_conn>> record;
        const tarn::transaction transaction(session);
        record.emplace(table.make("a name that doesn't lie in the string itself"));
    }
    EXPECT_EQ(blocks(store), before);
}

}  // namespace
}  // namespace face_test
