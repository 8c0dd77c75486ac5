// SPDX-License-Identifier: Apache-2.0
#include "tarnbase/tarn/difference.hpp"

#include <map>

#include "fixture.h"
#include "tarnbase/tarn/replica.hpp"
#include "tarnbase/tarn/tables/test_grown.hpp"
#include "tarnbase/tarn/tables/test_number.hpp"
#include "tarnbase/tarn/tables/test_pair.hpp"

namespace face_test {
namespace {

using tarn::field_difference;

class Difference : public Face {
 protected:
    template <typename Table>
    static tarn::table<Table> open(const tarn::session &session) {
        return tarn::table<Table>::open_or_create(session, "every");
    }
    // By name.
    static std::map<std::string, field_difference> named(std::vector<field_difference> all) {
        std::map<std::string, field_difference> found;
        for (field_difference &each : all) found.emplace(each.name, std::move(each));
        return found;
    }
    static std::vector<std::string> names_of(const std::vector<field_difference> &all) {
        std::vector<std::string> found;
        for (const field_difference &each : all) found.push_back(each.name);
        return found;
    }
};

TEST_F(Difference, HasTheValuesOfEachKindOfField) {
    auto table = open<tarn::tbl_test_number>(session);
    auto before = table.make(1);
    auto after = table.make(1);
    after.set_a8(200);
    after.set_s32(-7);
    after.set_s64(-8);
    after.set_flag(true);
    after.set_lamp(tarn::lamp_state::blink);
    after.set_door(tarn::door_state::locked);
    after.set_label("a label");
    after.set_addr(tarn::address::parse("10.1.2.3"));
    after.tag().point().set_y(-9);
    const auto found = named(tarn::differences(session, before.c_record(), after.c_record()));
    EXPECT_EQ(found.size(), 9U);
    EXPECT_EQ(std::get<std::uint64_t>(found.at("a8").before), 0U);
    EXPECT_EQ(std::get<std::uint64_t>(found.at("a8").after), 200U);
    EXPECT_EQ(found.at("a8").number, 0U);
    EXPECT_EQ(std::get<std::int64_t>(found.at("s32").after), -7);
    EXPECT_EQ(found.at("s32").number, 4U);
    EXPECT_EQ(std::get<std::int64_t>(found.at("s64").after), -8);
    EXPECT_TRUE(std::get<bool>(found.at("flag").after));
    EXPECT_EQ(std::get<std::uint64_t>(found.at("lamp").after), 2U);
    EXPECT_EQ(std::get<std::uint64_t>(found.at("door").before), 0U);
    EXPECT_EQ(std::get<std::uint64_t>(found.at("door").after), 3U);
    EXPECT_EQ(std::get<std::string_view>(found.at("label").after), "a label");
    EXPECT_EQ(std::get<tarn::address>(found.at("addr").after), tarn::address::parse("10.1.2.3"));
    EXPECT_EQ(std::get<std::int64_t>(found.at("tag.point.y").after), -9);
    EXPECT_EQ(found.at("tag.point.y").number, 1U);
    for (const auto &[name, each] : found) EXPECT_FALSE(each.is_key) << name;
}

TEST_F(Difference, OfEqualRecordsIsNone) {
    auto table = open<tarn::tbl_test_number>(session);
    auto one = table.make(1);
    auto other = table.make(1);
    one.set_label("same");
    other.set_label("same");
    EXPECT_TRUE(tarn::differences(session, one.c_record(), other.c_record()).empty());
}

TEST_F(Difference, OfAnInsertedRecordHasAllFieldsAndTheKeyFirst) {
    auto table = open<tarn::pair>(session);
    auto record = table.make({80, "name", tarn::address::parse("10.1.2.3"), 4});
    record.set_count(5);
    const auto found = tarn::differences(session, nullptr, record.c_record());
    EXPECT_EQ(names_of(found), (Names{"port", "name", "peer", "kind", "count", "note"}));
    for (const field_difference &each : found) {
        EXPECT_TRUE(std::holds_alternative<std::monostate>(each.before)) << each.name;
        EXPECT_FALSE(std::holds_alternative<std::monostate>(each.after)) << each.name;
        EXPECT_EQ(each.is_key, each.name != "count" && each.name != "note") << each.name;
    }
    const auto gone = tarn::differences(session, record.c_record(), nullptr);
    EXPECT_EQ(names_of(gone), names_of(found));
    EXPECT_EQ(gone.back().number, 1U);
    EXPECT_EQ(std::get<std::string_view>(gone[1].before), "name");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(gone[1].after));
}

TEST_F(Difference, OfAnArrayHasAllItsElements) {
    auto table = open<tarn::tbl_test_grown>(session);
    auto before = table.make("key");
    auto after = table.make("key");
    after.set_minute(1439, 7);
    const auto found = named(tarn::differences(session, before.c_record(), after.c_record()));
    ASSERT_EQ(found.size(), 1U);
    const auto elements = std::get<tarn::byte_range>(found.at("minute").after);
    EXPECT_EQ(elements.size(), 1440U);
    EXPECT_EQ(elements[1439], 7);
}

TEST_F(Difference, SaysThatAKeyFieldIsTheKey) {
    auto table = open<tarn::tbl_test_grown>(session);
    auto record = table.make("key");
    const auto found = named(tarn::differences(session, record.c_record(), nullptr));
    EXPECT_TRUE(found.at("name").is_key);
    EXPECT_FALSE(found.at("total").is_key);
}

TEST_F(Difference, OfAFieldThatAVariantLacksHasNoValue) {
    auto table = open<tarn::tbl_test_grown>(session);
    auto now = table.make("key");
    auto old = table.make("key");
    auto *head = static_cast<kel_object *>(old.c_record()->object);
    head->variant = 0;
    const auto found = named(tarn::differences(session, old.c_record(), now.c_record()));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(found.at("extra.lamp").before));
    EXPECT_EQ(std::get<std::uint64_t>(found.at("extra.lamp").after), 0U);
    for (const auto &[name, each] : found) EXPECT_EQ(name.rfind("extra.", 0), 0U) << name;
    head->variant = head->created_variant;
}

TEST_F(Difference, OfTwoTablesIsRefused) {
    auto one = open<tarn::tbl_test_grown>(session).make("key");
    auto other = open<tarn::tbl_test_number>(session).make(1);
    const kel_record *records[] = {one.c_record(), other.c_record()};
    EXPECT_EQ(tarn::try_differences(session, records[0], records[1]).error().number(), EINVAL);
    EXPECT_EQ(tarn::try_differences(session, nullptr, nullptr).error().number(), EINVAL);
}

TEST_F(Difference, EndsWhenTheFunctionSaysSo) {
    auto record = open<tarn::tbl_test_number>(session).make(1);
    const auto stop = [](const tarnbase_field_difference *, void *) -> std::uint32_t { return 1; };
    std::uint32_t err = 0;
    EXPECT_EQ(tarnbase_record_differences(session.c_handle(), KEL_TX_NONE, nullptr,
                                          record.c_record(), stop, nullptr, &err),
              1U);
    EXPECT_EQ(err, 0U);
    err = ENOMEM;
    EXPECT_EQ(tarnbase_record_differences(session.c_handle(), KEL_TX_NONE, nullptr,
                                          record.c_record(), stop, nullptr, &err),
              0U);
}

}  // namespace
}  // namespace face_test
