// SPDX-License-Identifier: Apache-2.0
#include <limits>

#include "fixture.h"
#include "tarnbase/tarn/tables/test_grown.hpp"
#include "tarnbase/tarn/tables/test_number.hpp"
#include "tarnbase/tarn/variant.hpp"

namespace face_test {
namespace {

class Field : public Face {
 protected:
    tarn::table<tarn::tbl_test_number> table =
        tarn::table<tarn::tbl_test_number>::open_or_create(session, "every");
    tarn::new_record<tarn::tbl_test_number> record = table.make(1);
};

TEST_F(Field, NumbersHaveTheirWholeRange) {
    record.set_a8(std::numeric_limits<std::uint8_t>::max());
    record.set_a16(std::numeric_limits<std::uint16_t>::max());
    record.set_a32(std::numeric_limits<std::uint32_t>::max());
    record.set_a64(std::numeric_limits<std::uint64_t>::max());
    record.set_s32(std::numeric_limits<std::int32_t>::min());
    record.set_s64(std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(record.a8(), std::numeric_limits<std::uint8_t>::max());
    EXPECT_EQ(record.a16(), std::numeric_limits<std::uint16_t>::max());
    EXPECT_EQ(record.a32(), std::numeric_limits<std::uint32_t>::max());
    EXPECT_EQ(record.a64(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(record.s32(), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(record.s64(), std::numeric_limits<std::int64_t>::min());
}

TEST_F(Field, TypesAreThoseOfTheSchema) {
    static_assert(std::is_same_v<decltype(record.a8()), std::uint8_t>);
    static_assert(std::is_same_v<decltype(record.s64()), std::int64_t>);
    static_assert(std::is_same_v<decltype(record.flag()), bool>);
    static_assert(std::is_same_v<decltype(record.lamp()), tarn::lamp_state>);
    static_assert(std::is_same_v<decltype(record.label()), std::string_view>);
    static_assert(std::is_same_v<decltype(record.addr()), tarn::address>);
    static_assert(std::is_same_v<decltype(record.tag()), tarn::tag>);
    static_assert(noexcept(record.a8()) &&noexcept(record.label()) &&noexcept(record.tag()));
}

TEST_F(Field, BooleansAreBool) {
    EXPECT_FALSE(record.flag());
    record.set_flag(true);
    EXPECT_TRUE(record.flag());
    record.set_flag(false);
    EXPECT_FALSE(record.flag());
}

TEST_F(Field, EnumerationsCountFromTheirFirstValue) {
    record.set_lamp(tarn::lamp_state::blink);
    record.set_door(tarn::door_state::locked);
    EXPECT_EQ(record.lamp(), tarn::lamp_state::blink);
    EXPECT_EQ(record.door(), tarn::door_state::locked);
    EXPECT_EQ(static_cast<std::uint32_t>(record.door()), 3U);
}

TEST_F(Field, AValueThatIsNoEnumeratorIsRefused) {
    record.set_door(tarn::door_state::open);
    const tarn::error error = thrown_by([&] { record.set_door(tarn::door_state{9}); });
    EXPECT_EQ(error.code(), std::errc::identifier_removed);
    EXPECT_STREQ(
        error.what(),
        "setting door of st_every: not in the object's variant, or not a value of the enumeration");
    EXPECT_EQ(record.door(), tarn::door_state::open);
}

TEST_F(Field, TextsOfAnyLengthAndAnyBytes) {
    EXPECT_EQ(record.label(), "");
    for (const std::string &text :
         {std::string("short"), std::string(12, 'x'), std::string(13, 'x'),
          std::string(100000, 'y'), std::string("a\0b", 3), std::string()}) {
        record.set_label(text);
        EXPECT_EQ(record.label(), text);
    }
    record.set_label("from a literal");
    EXPECT_EQ(record.label(), "from a literal");
}

TEST_F(Field, ATextCanBeSetToAPartOfItself) {
    record.set_label("a text that doesn't lie in the string itself");
    record.set_label(record.label().substr(2, 20));
    EXPECT_EQ(record.label(), "text that doesn't li");
}

TEST_F(Field, AddressesOfBothFamilies) {
    EXPECT_FALSE(record.addr());
    record.set_addr(tarn::address::parse("192.0.2.7"));
    EXPECT_EQ(record.addr().to_text(), "192.0.2.7");
    record.set_addr(tarn::address::parse("2001:db8::1"));
    EXPECT_EQ(record.addr().to_text(), "2001:db8::1");
    record.set_addr({});
    EXPECT_FALSE(record.addr());
}

TEST_F(Field, NestedStructuresAreReadInPlace) {
    record.tag().set_name("a label");
    record.tag().point().set_x(-3);
    record.tag().set_lamp(tarn::lamp_state::on);
    tarn::tag tag = record.tag();
    EXPECT_EQ(tag.name(), "a label");
    EXPECT_EQ(tag.point().x(), -3);
    EXPECT_EQ(tag.lamp(), tarn::lamp_state::on);
    tag.set_name("another");
    EXPECT_EQ(record.tag().name(), "another");
}

TEST_F(Field, ANestedStructureIsCopiedWhole) {
    auto other = table.make(2);
    other.tag().set_name("a name that doesn't lie in the string itself");
    other.tag().point().set_y(12);
    record.set_tag(other.tag());
    other.tag().set_name("changed");
    EXPECT_EQ(record.tag().name(), "a name that doesn't lie in the string itself");
    EXPECT_EQ(record.tag().point().y(), 12);
}

// An older object doesn't have a field that was added by a later variant.
TEST_F(Field, OfALaterVariantIsMissingInAnOlderObject) {
    auto grown = tarn::table<tarn::grown>::open_or_create(session, "grown");
    auto now = grown.make("now");
    now.extra().set_name("there");
    EXPECT_EQ(now.try_extra()->name(), "there");

    const tarn::variant_scope older(session.c_handle(), _st_grown_type_info_internal, 0);
    auto old = grown.make("old");
    EXPECT_FALSE(old.try_extra());
    EXPECT_EQ(thrown_by([&] { (void)old.extra(); }).code(), std::errc::identifier_removed);
    EXPECT_STREQ(old.try_extra().error().what(),
                 "reading extra of st_grown: not in the object's variant, or not a value of the "
                 "enumeration");
}

}  // namespace
}  // namespace face_test
