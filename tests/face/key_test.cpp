// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"
#include "tarnbase/tarn/tables/test_address.hpp"
#include "tarnbase/tarn/tables/test_label.hpp"
#include "tarnbase/tarn/tables/test_lamp.hpp"
#include "tarnbase/tarn/tables/test_number.hpp"
#include "tarnbase/tarn/tables/test_pair.hpp"

namespace face_test {
namespace {

class Key : public Face {
 protected:
    template <typename T>
    tarn::table<T> open() {
        return tarn::table<T>::open_or_create(session, "keys");
    }
};

TEST_F(Key, OfANumber) {
    auto table = open<tarn::tbl_test_number>();
    for (const std::uint32_t n : {4000000000U, 0U, 7U}) table.insert(table.make(n));
    std::vector<std::uint32_t> keys;
    for (auto record : table) keys.push_back(record.key());
    EXPECT_EQ(keys, (std::vector<std::uint32_t>{0, 7, 4000000000U}));
    EXPECT_EQ(table.find(4000000000U)->a32(), 4000000000U);
    EXPECT_EQ(table.lower_bound(1)->key(), 7U);
    EXPECT_TRUE(table.erase(7));
}

TEST_F(Key, OfAText) {
    auto table = open<tarn::tbl_test_label>();
    const std::string name = "a name that doesn't lie in the string itself";
    table.insert(table.make(name));
    table.insert(table.make(std::string("a\0b", 3)));
    EXPECT_EQ(table.find(name)->key(), name);
    EXPECT_FALSE(table.find("a"));
    EXPECT_TRUE(table.find(std::string_view("a\0b", 3)));
}

TEST_F(Key, OfAnAddress) {
    auto table = open<tarn::tbl_test_address>();
    for (const char *text : {"2001:db8::1", "192.0.2.7", "192.0.2.1"})
        table.insert(table.make(tarn::address::parse(text)));
    std::vector<std::string> keys;
    for (auto record : table) keys.push_back(record.key().to_text());
    EXPECT_EQ(keys, (std::vector<std::string>{"192.0.2.1", "192.0.2.7", "2001:db8::1"}));
    EXPECT_TRUE(table.contains(tarn::address::parse("192.0.2.7")));
}

TEST_F(Key, OfAnEnumeration) {
    auto table = open<tarn::tbl_test_lamp>();
    table.insert(table.make(tarn::lamp_state::blink));
    table.insert(table.make(tarn::lamp_state::off));
    EXPECT_EQ(table.begin()->key(), tarn::lamp_state::off);
    EXPECT_TRUE(table.contains(tarn::lamp_state::blink));
    EXPECT_FALSE(table.contains(tarn::lamp_state::on));
}

class CompositeKey : public Key {
 protected:
    tarn::table<tarn::pair> table = open<tarn::pair>();
    const tarn::address peer = tarn::address::parse("192.0.2.7");
};

TEST_F(CompositeKey, IsPassedAsItsFields) {
    auto made = table.make({7, "eth0", peer, 2});
    made.set_count(5);
    table.insert(std::move(made));
    EXPECT_EQ(table.find({7, "eth0", peer, 2})->count(), 5U);
    EXPECT_FALSE(table.find({7, "eth0", peer, 3}));
    EXPECT_FALSE(table.find({7, "eth0", {}, 2}));
    EXPECT_FALSE(table.find({7, "eth1", peer, 2}));
    EXPECT_TRUE(table.erase({7, "eth0", peer, 2}));
}

TEST_F(CompositeKey, IsReadFromItsRecord) {
    const std::string name = "a name that doesn't lie in the string itself";
    table.insert(table.make({7, name, peer, 2}));
    const tarn::pair_key key = table.begin()->key();
    EXPECT_EQ(key.port(), 7U);
    EXPECT_EQ(key.name(), name);
    EXPECT_EQ(key.peer(), peer);
    EXPECT_EQ(key.kind(), 2U);
}

TEST_F(CompositeKey, IsSetInARecordOutsideATable) {
    auto made = table.make();
    made.key().set_port(9);
    made.key().set_name("eth1");
    table.insert(std::move(made));
    EXPECT_TRUE(table.contains({9, "eth1", {}, 0}));
}

TEST_F(CompositeKey, SearchingAllocatesNothing) {
    const std::string name(1000, 'x');
    table.insert(table.make({7, name, peer, 2}));
    const std::uint64_t before = blocks(store);
    const std::uint64_t created = _pair_key_type_info_internal.variant_info->variants[0].created;
    kel_store_fail_allocation(store.c_store(), 1);
    EXPECT_TRUE(table.find({7, name, peer, 2}));
    EXPECT_TRUE(table.lower_bound({7, name, peer, 2}) != table.end());
    kel_store_fail_allocation(store.c_store(), 0);
    EXPECT_EQ(blocks(store), before);
    EXPECT_EQ(_pair_key_type_info_internal.variant_info->variants[0].created, created);
}

TEST_F(CompositeKey, IsFoundWithStateTracking) {
    kel_handle_set_state_tracking(session.c_handle(), KEL_STATE_TRACKING_ON);
    table.insert(table.make({7, "eth0", peer, 2}));
    EXPECT_TRUE(table.find({7, "eth0", peer, 2}));
    EXPECT_FALSE(table.find({8, "eth0", peer, 2}));
}

}  // namespace
}  // namespace face_test
