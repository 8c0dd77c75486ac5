// SPDX-License-Identifier: Apache-2.0
#include "tarnbase/tarn/enums/door_state.hpp"
#include "tarnbase/tarn/enums/lamp_state.hpp"
#include "tarnbase/tarn/enums/single_choice.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace face_test {
namespace {

TEST(Enumeration, ValuesAreThoseOfTheSchema) {
    EXPECT_EQ(static_cast<std::uint32_t>(tarn::lamp_state::off), LAMP_OFF);
    EXPECT_EQ(static_cast<std::uint32_t>(tarn::lamp_state::blink), LAMP_BLINK);
    EXPECT_EQ(static_cast<std::uint32_t>(tarn::door_state::open), DOOR_OPEN);
    EXPECT_EQ(static_cast<std::uint32_t>(tarn::single_choice::only), SINGLE_CHOICE_ONLY);
}

TEST(Enumeration, NamesAreThoseOfTheSchema) {
    static_assert(tarn::name(tarn::lamp_state::on) == "LAMP_ON");
    EXPECT_EQ(tarn::name(tarn::door_state::open), "DOOR_OPEN");
    EXPECT_EQ(tarn::name(tarn::door_state::locked), "DOOR_LOCKED");
    EXPECT_EQ(tarn::name(tarn::single_choice::only), "SINGLE_CHOICE_ONLY");
}

TEST(Enumeration, AValueThatIsNoEnumeratorHasNoName) {
    EXPECT_EQ(tarn::name(tarn::lamp_state{3}), "");
    EXPECT_EQ(tarn::name(tarn::door_state{0}), "");
    EXPECT_EQ(tarn::name(tarn::door_state{4}), "");
    EXPECT_EQ(tarn::name(tarn::door_state{0xffffffffU}), "");
}

TEST(Enumeration, IsReadFromAName) {
    static_assert(tarn::from_name<tarn::lamp_state>("LAMP_BLINK") == tarn::lamp_state::blink);
    EXPECT_EQ(tarn::from_name<tarn::door_state>("DOOR_CLOSED"), tarn::door_state::closed);
    EXPECT_FALSE(tarn::from_name<tarn::door_state>("LAMP_ON"));
    EXPECT_FALSE(tarn::from_name<tarn::door_state>(""));
}

TEST(Enumeration, AllValuesAreListedInOrder) {
    std::vector<std::string> names;
    std::uint32_t next = 1;
    for (const auto &each : tarn::values<tarn::door_state>()) {
        EXPECT_EQ(static_cast<std::uint32_t>(each.value), next++);
        names.emplace_back(each.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"DOOR_OPEN", "DOOR_CLOSED", "DOOR_LOCKED"}));
}

}  // namespace
}  // namespace face_test
