// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"
#include "tarnbase/tarn/tables/test_pair.hpp"

namespace face_test {
namespace {

class Record : public Face {
 protected:
    tarn::table<tarn::ldap_conn> table = servers(session);
};

TEST_F(Record, IsAViewAndCopied) {
    add(table, "ldap1", 1);
    tarn::record<tarn::ldap_conn> first = *table.begin();
    tarn::record<tarn::ldap_conn> second = first;
    second.set_num_conns(2);
    EXPECT_EQ(first.num_conns(), 2U);
    EXPECT_EQ(first.c_record(), second.c_record());
    static_assert(sizeof first == 3 * sizeof(void *));
    static_assert(std::is_trivially_copyable_v<tarn::record<tarn::ldap_conn>>);
}

TEST_F(Record, ConvertsToItsStructure) {
    add(table, "ldap1", 5);
    const auto connections = [](const tarn::ldap_conn &conn) { return conn.num_conns(); };
    EXPECT_EQ(connections(*table.find("ldap1")), 5U);
}

TEST_F(Record, ANewOneIsMovedAndDestroyedOnce) {
    const std::uint64_t before = blocks(store);
    static_assert(!std::is_copy_constructible_v<tarn::new_record<tarn::ldap_conn>>);
    {
        auto first = table.make("ldap1");
        auto second = std::move(first);
        EXPECT_FALSE(first);  // NOLINT: what is left is part of the contract
        EXPECT_EQ(second.sname(), "ldap1");
        auto third = table.make("ldap3");
        third = std::move(second);
        EXPECT_EQ(third.sname(), "ldap1");
    }
    EXPECT_EQ(blocks(store), before);
}

TEST_F(Record, ANewOneCanBeGivenToTheCInterface) {
    auto made = table.make("ldap1");
    std::uint32_t err = 0;
    tbl_ldap_conn_insert(session.c_handle(), KEL_TX_NONE, table.c_table(), made.release(), &err);
    EXPECT_EQ(err, 0U);
    EXPECT_FALSE(made);
    EXPECT_EQ(names(table), Names{"ldap1"});
}

TEST_F(Record, OneWithoutAnObjectIsReadAsEmptyAndNotWritten) {
    std::uint32_t err = 0;
    kel_record *bare = tbl_test_pair_create_record(session.c_handle(), KEL_TX_NONE, &err);
    tarn::new_record<tarn::pair> record(session.c_handle(), bare);
    EXPECT_EQ(record.count(), 0U);
    EXPECT_EQ(record.note(), "");
    EXPECT_EQ(thrown_by([&] { (void)record.to_wire(); }).code(),
              std::errc::no_such_file_or_directory);
}

}  // namespace
}  // namespace face_test
