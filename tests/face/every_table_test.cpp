// SPDX-License-Identifier: Apache-2.0
// Each table of the schema, from its opening to its last record, through every operation
// that its class has.
#include <gtest/gtest.h>

#include <algorithm>
#include <ranges>

#include "tarnbase/tarn.hpp"
#include "tarnbase/tarn/owned.hpp"

namespace face_test {
namespace {

class EveryTable : public testing::Test {
 protected:
    tarn::store store = tarn::store::create_private();
    tarn::session session{store};
    std::size_t tables = 0;

    // A record that every table can have: all its fields and its key are empty.
    template <typename Table>
    void round_trip() {
        SCOPED_TRACE(Table::name);
        ++tables;
        auto table = tarn::basic_table<Table>::open_or_create(session, "round_trip");
        const std::uint64_t before = store.describe().blocks;
        // An enumeration that begins at 1 has no valid value until it is set or read.
        auto record = table.insert(table.from_wire(table.make().to_wire()));
        EXPECT_TRUE(table.begin()->c_record() == record.c_record());
        EXPECT_FALSE(table.try_insert(table.make()));
        const std::string text = record.to_text();
        EXPECT_EQ(text.find(std::string("record@") + Table::name), 0U);
        EXPECT_EQ(table.from_wire(record.to_wire()).to_text(), text);
        EXPECT_EQ(table.from_xml(tarn::xml_document::parse(record.to_xml())).to_text(), text);
        table.erase(table.begin());
        EXPECT_TRUE(table.empty());
        EXPECT_EQ(store.describe().blocks, before);
    }
    template <typename... Tables>
    void round_trips(tarn::type_list<Tables...>) {
        (round_trip<Tables>(), ...);
    }

    template <typename View>
    void round_trip_object() {
        SCOPED_TRACE(tarn::object_traits<View>::name);
        const std::uint64_t before = store.describe().blocks;
        {
            auto object = tarn::owned<View>::make(session);
            EXPECT_LE(tarn::object_traits<View>::size_of(session.c_handle()),
                      tarn::object_traits<View>::size);
            auto copy = tarn::owned<View>::make(session);
            copy.read_wire(object.to_wire());
            object.read_wire(copy.to_wire());
            EXPECT_EQ(copy.to_text(), object.to_text());
        }
        EXPECT_EQ(store.describe().blocks, before);
    }
    template <typename... Views>
    std::size_t round_trip_objects(tarn::type_list<Views...>) {
        (round_trip_object<Views>(), ...);
        return sizeof...(Views);
    }
};

TEST_F(EveryTable, RoundTripsARecordInEachForm) {
    round_trips(tarn::every_table());
    EXPECT_EQ(tables, 45U);
}

TEST_F(EveryTable, ItsStructuresAreCreatedAndRead) {
    EXPECT_EQ(round_trip_objects(tarn::every_structure()), 61U);
}

TEST_F(EveryTable, KeysOfSeveralPartsFindTheirRecord) {
    auto types = tarn::table<tarn::service_type_info>::open_or_create(session, "types");
    auto made = types.make({7, "framed"});
    made.set_enabled(true);
    types.insert(std::move(made));
    EXPECT_TRUE(types.find({7, "framed"})->enabled());
    EXPECT_FALSE(types.find({8, "framed"}));
    auto clients = tarn::table<tarn::ravoClientInfoEntry_op>::open_or_create(session, "clients");
    clients.insert(clients.make({3, "0A", 1}));
    EXPECT_EQ(clients.begin()->key().session_id(), "0A");
}

// This program is C++20: a table is a range there, and a key's parts can be named.
TEST_F(EveryTable, WorksWithTheRangesOfTheStandardLibrary) {
    using Types = tarn::table<tarn::service_type_info>;
    static_assert(std::ranges::bidirectional_range<const Types>);
    static_assert(std::ranges::bidirectional_range<tarn::basic_range<tarn::tbl_ldap_conn>>);
    auto types = Types::open_or_create(session, "types");
    for (const char *name : {"c", "a", "b"}) types.insert(types.make({.serv_name = name}));
    const auto is_b = [](const auto &record) { return record.key().serv_name() == "b"; };
    EXPECT_EQ(std::ranges::count_if(types, is_b), 1);
    EXPECT_EQ((*std::ranges::find_if(types, is_b)).key().serv_type(), 0);
    EXPECT_TRUE(types.contains({.serv_type = 0, .serv_name = "a"}));
}

TEST_F(EveryTable, NestedFiguresAreAccessedThroughTheirParents) {
    auto servers = tarn::table<tarn::aaa_servers>::open_or_create(session, "servers");
    auto record = servers.make();
    record.aaa_authen().set_requests(7);
    record.set_minute(59, 3);
    EXPECT_EQ(record.aaa_authen().requests(), 7U);
    EXPECT_EQ(record.minute()[59], 3);
}

}  // namespace
}  // namespace face_test
