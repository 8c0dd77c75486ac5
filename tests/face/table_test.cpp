// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"
#include "tarnbase/tarn/tables/test_grown.hpp"

namespace face_test {
namespace {

class Table : public Face {
 protected:
    tarn::table<tarn::ldap_conn> table = servers(session);
};

TEST_F(Table, IsTheSameByItsStructureAndByItsName) {
    static_assert(std::is_same_v<tarn::table<tarn::ldap_conn>, tarn::table<tarn::tbl_ldap_conn>>);
    EXPECT_EQ(table.name(), "ldap");
    EXPECT_EQ(table.id(), 0U);
}

TEST_F(Table, OpeningAMissingTableIsAnError) {
    const tarn::error error =
        thrown_by([&] { tarn::table<tarn::ldap_conn>::open(session, "another"); });
    EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    EXPECT_STREQ(error.what(), "opening a tbl_ldap_conn: not found");
    const std::string long_name(300, 'x');
    EXPECT_EQ(
        thrown_by([&] { tarn::table<tarn::ldap_conn>::open_or_create(session, long_name); }).code(),
        std::errc::argument_list_too_long);
}

TEST_F(Table, IsOpenedByItsId) {
    EXPECT_THROW(tarn::table<tarn::ldap_conn>::open_id(session, 5), tarn::error);
    const auto made = tarn::table<tarn::ldap_conn>::open_or_create_id(session, 5);
    add(made, "ldap1");
    EXPECT_EQ(made.id(), 5U);
    EXPECT_EQ(made.name(), "");
    EXPECT_EQ(tarn::table<tarn::ldap_conn>::open_id(session, 5).size(), 1U);
    EXPECT_TRUE(table.empty());
}

TEST_F(Table, ATableOfAnotherKindIsRefused) {
    tarn::table<tarn::grown>::open_or_create(session, "aaa/shared");
    const tarn::error error =
        thrown_by([&] { tarn::table<tarn::ldap_conn>::open_or_create(session, "aaa/shared"); });
    EXPECT_EQ(error.code(), std::errc::invalid_argument);
    EXPECT_STREQ(error.what(), "opening a tbl_ldap_conn: the table is of another kind");
    const std::string key = std::string("ldap/") + table_tbl_ldap_conn_luid_text;
    EXPECT_FALSE(tarn::table<tarn::grown>::try_open(session, key));
    EXPECT_EQ(tarn::table<tarn::ldap_conn>::open(session, key).c_table(), table.c_table());
    EXPECT_EQ(tarn::table<tarn::grown>::open(session, "aaa/shared").name(), "aaa/shared");
}

// The path is equal to the key of a plain name.
TEST_F(Table, ATableOfAnotherKindIsRefusedForAnotherKeyToo) {
    const std::string key = std::string("other/") + table_tbl_ldap_conn_luid_text;
    tarn::table<tarn::grown>::open_or_create(session, key);
    for (const std::string &name : {key, std::string("other")}) {
        EXPECT_EQ(
            thrown_by([&] { tarn::table<tarn::ldap_conn>::open_or_create(session, name); }).code(),
            std::errc::invalid_argument);
    }
}

TEST_F(Table, FindsWhatWasInserted) {
    add(table, "ldap1", 7);
    EXPECT_EQ(table.find("ldap1")->num_conns(), 7U);
    EXPECT_EQ(table.find("ldap1")->key(), "ldap1");
    EXPECT_FALSE(table.find("ldap2"));
    EXPECT_TRUE(table.contains("ldap1"));
    EXPECT_FALSE(table.contains("ldap2"));
    EXPECT_EQ(table.size(), 1U);
}

TEST_F(Table, InsertReturnsTheRecordInTheTable) {
    auto made = table.make("ldap1");
    auto record = table.insert(std::move(made));
    EXPECT_FALSE(made);  // NOLINT: what is left is part of the contract
    record.set_num_conns(4);
    EXPECT_EQ(table.find("ldap1")->num_conns(), 4U);
    EXPECT_EQ(thrown_by([&] { table.insert(std::move(made)); }).code(),
              std::errc::invalid_argument);
}

TEST_F(Table, ASecondRecordOfAKeyStaysWithItsOwner) {
    add(table, "ldap1", 7);
    const std::uint64_t before = blocks(store);
    {
        auto second = table.make("ldap1");
        second.set_num_conns(8);
        const tarn::error error = thrown_by([&] { table.insert(std::move(second)); });
        EXPECT_EQ(error.number(), static_cast<std::uint32_t>(EEXIST));
        EXPECT_STREQ(error.what(), "inserting in tbl_ldap_conn: the key already exists");
        EXPECT_TRUE(second);  // NOLINT: a record that isn't inserted isn't moved from
        second.set_sname("ldap2");
        table.insert(std::move(second));
    }
    EXPECT_EQ(names(table), (Names{"ldap1", "ldap2"}));
    EXPECT_TRUE(table.erase("ldap2"));
    EXPECT_EQ(blocks(store), before);
}

TEST_F(Table, ARecordInsertedDespiteAnErrorBelongsToTheTable) {
    // The store has a stream, and this session's handle isn't attached to it.
    tarn::session(store).attach_replication();
    kel_table_set_replication(session.c_handle(), KEL_TX_NONE, table.c_table(), 1, 1);
    {
        auto record = table.make("ldap1");
        EXPECT_EQ(thrown_by([&] { table.insert(std::move(record)); }).number(),
                  static_cast<std::uint32_t>(ENOENT));
        EXPECT_FALSE(record);  // NOLINT: who owns it is part of the contract
        EXPECT_FALSE(table.try_insert(table.make("ldap2")));
    }
    EXPECT_EQ(names(table), (Names{"ldap1", "ldap2"}));
    EXPECT_EQ(table.find("ldap1")->key(), "ldap1");
    kel_table_set_replication(session.c_handle(), KEL_TX_NONE, table.c_table(), 0, 0);
    EXPECT_EQ(table.erase_if([](const auto &) { return true; }), 2U);
}

TEST_F(Table, AnAttachedSessionInsertsInAnArmedTable) {
    session.attach_replication();
    kel_table_set_replication(session.c_handle(), KEL_TX_NONE, table.c_table(), 1, 1);
    kel_replication_reader reader;
    kel_replication_reader_open(session.c_handle(), KEL_REPLICATION_NEWEST, &reader);
    add(table, "ldap1");
    EXPECT_EQ(kel_replication_lag(session.c_handle(), &reader), 1U);
}

TEST_F(Table, ARecordThatIsNotInsertedIsDestroyed) {
    const std::uint64_t before = blocks(store);
    { const auto record = table.make("a name that doesn't lie in the string itself"); }
    EXPECT_EQ(blocks(store), before);
}

TEST_F(Table, FailedAllocationsLeakNothing) {
    const std::uint64_t before = blocks(store);
    std::uint64_t n = 1;
    for (;; ++n) {
        kel_store_fail_allocation(store.c_store(), n);
        const auto made = table.try_make("a name that doesn't lie in the string itself");
        kel_store_fail_allocation(store.c_store(), 0);
        if (made) break;
        EXPECT_EQ(made.error().number(), static_cast<std::uint32_t>(ENOMEM)) << "allocation " << n;
        EXPECT_EQ(blocks(store), before) << "allocation " << n;
    }
    EXPECT_GT(n, 3U);
}

TEST_F(Table, EraseByKeyReturnsWhetherARecordExisted) {
    add(table, "ldap1");
    EXPECT_TRUE(table.erase("ldap1"));
    EXPECT_FALSE(table.erase("ldap1"));
    EXPECT_TRUE(table.empty());
}

TEST_F(Table, EraseFreesTheRecordsMemory) {
    const std::uint64_t before = blocks(store);
    add(table, "a name that doesn't lie in the string itself");
    const auto record = table.find("a name that doesn't lie in the string itself");
    table.erase(*record);
    EXPECT_EQ(blocks(store), before);
}

TEST_F(Table, IsDroppedIfItIsEmpty) {
    add(table, "ldap1");
    const tarn::error error = thrown_by([&] { table.drop(); });
    EXPECT_EQ(error.code(), std::errc::directory_not_empty);
    EXPECT_STREQ(error.what(), "dropping a tbl_ldap_conn: it still has records");
    EXPECT_TRUE(table.erase("ldap1"));
    table.drop();
    EXPECT_FALSE(tarn::table<tarn::ldap_conn>::try_open(session, "ldap"));
    EXPECT_TRUE(servers(session).empty());
}

TEST_F(Table, AnExtractedRecordIsTheCallers) {
    add(table, "ldap1", 7);
    const std::uint64_t before = blocks(store);
    {
        auto record = table.extract(*table.find("ldap1"));
        EXPECT_TRUE(table.empty());
        EXPECT_EQ(record.num_conns(), 7U);
        record.set_sname("ldap2");
        table.insert(std::move(record));
    }
    EXPECT_EQ(names(table), Names{"ldap2"});
    EXPECT_EQ(blocks(store), before);
    { const auto record = table.extract(*table.find("ldap2")); }
    EXPECT_LT(blocks(store), before);
    EXPECT_EQ(thrown_by([&] {
                  auto record = table.make("ldap3");
                  table.extract(record);
              }).code(),
              std::errc::no_such_file_or_directory);
}

}  // namespace
}  // namespace face_test
