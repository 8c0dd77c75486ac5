// SPDX-License-Identifier: Apache-2.0
// The two arrays of minutes through their thirteen operations.
#include <cerrno>
#include <utility>
#include <vector>

#include "tests/behaviour/every/minutes.h"

namespace tarn::test {
namespace {

class Minutes : public MinuteTest {
 protected:
    void expect_error(u32 expected) {
        EXPECT_EQ(err, expected);
        err = 0;
    }
    u8 *block() { return at(object, type.plain_size); }
};

class TrackedMinutes : public Minutes {};
class UntrackedMinutes : public Minutes {};

INSTANTIATE_TEST_SUITE_P(Every, Minutes, ::testing::ValuesIn(with_minutes()),
                         name_in_mode<Structure>);
INSTANTIATE_TEST_SUITE_P(Every, TrackedMinutes,
                         ::testing::ValuesIn(tracking_only(with_minutes(), true)),
                         name_in_mode<Structure>);
INSTANTIATE_TEST_SUITE_P(Every, UntrackedMinutes,
                         ::testing::ValuesIn(tracking_only(with_minutes(), false)),
                         name_in_mode<Structure>);

TEST_P(Minutes, AreReadElementByElement) {
    const auto expected = array_value(*field, 1);
    for (u32 i = 0; i < minutes; ++i) {
        EXPECT_EQ(on<u8>("get_value", {i}), expected[i]);
        EXPECT_EQ(*on<u8 *>("get", {i}), expected[i]);
    }
    EXPECT_EQ(on<u8 *>("get", {minutes}), nullptr);
    expect_error(ENOENT);
    EXPECT_EQ(on<u8>("get_value", {minutes}), 0);
    expect_error(ENOENT);
}

TEST_P(Minutes, AreWrittenElementByElement) {
    const auto expected = array_value(*field, 2);
    for (u32 i = 0; i < minutes; ++i) {
        if (i % 2 == 0) on("set_value", {i, expected[i]});
        if (i % 2 == 1) on("set", {i, &expected[i]});
    }
    typed.check_field(object, *field, 2);
    on("set", {0, nullptr});
    typed.check_field(object, *field, 2);
    on("set_value", {minutes, 1});
    expect_error(ENOENT);
}

TEST_P(Minutes, AreCopiedUpToTheirNumber) {
    std::array<u8, minutes + 1> elements = {};
    on("get_mem", {elements.data(), minutes + 1});
    expect_error(EINVAL);
    on("set_mem", {elements.data(), minutes + 1});
    expect_error(EINVAL);
    typed.check_field(object, *field, 1);
    const auto expected = array_value(*field, 3);
    EXPECT_EQ(typed.cr<u32>("minute_set_mem_cr", {object, expected.data(), minutes}), 0U);
    typed.check_field(object, *field, 3);
    on("set_mem", {elements.data(), 2});
    EXPECT_EQ(on<u8>("get_value", {1}), 0);
    EXPECT_EQ(on<u8>("get_value", {2}), expected[2]);
}

TEST_P(UntrackedMinutes, HaveNoFlags) {
    u8 *flags = nullptr;
    u8 source[minutes] = {};
    const std::pair<const char *, std::vector<Word>> calls[] = {
        {"state_flag_whole_get", {}},     {"state_flag_whole_set", {1}},
        {"state_flag_get", {0}},          {"state_flag_set", {0, 1}},
        {"state_flag_get_arr", {&flags}}, {"state_flag_set_arr", {source, minutes}}};
    for (const auto &[operation, arguments] : calls) {
        SCOPED_TRACE(operation);
        on(operation, arguments);
        expect_error(EINVAL);
    }
}

TEST_P(TrackedMinutes, HaveOneFlagEachAndOneForAll) {
    typed("set_all_state_tracking_flag", {object, 0});
    on("set_value", {7, 1});
    EXPECT_EQ(on<u8>("state_flag_whole_get", {}), 2);
    EXPECT_EQ(on<u8>("state_flag_get", {7}), 2);
    EXPECT_EQ(on<u8>("state_flag_get", {8}), 0);
    on("state_flag_whole_set", {5});
    on("state_flag_set", {1439, 6});
    EXPECT_EQ(block()[field->state], 5);
    EXPECT_EQ(block()[field->state + minutes], 6);
    u8 *flags = nullptr;
    on("state_flag_get_arr", {&flags});
    EXPECT_EQ(flags, block() + field->state + 1);
    on("state_flag_get", {minutes});
    expect_error(ENOENT);
    on("state_flag_set", {minutes, 1});
    expect_error(ENOENT);
    // The given flags are stored at the start of the block, not at the array's place.
    const std::vector<u8> source(minutes, 4);
    on("state_flag_set_arr", {source.data(), minutes - 1});
    expect_error(ENOENT);
    on("state_flag_set_arr", {source.data(), minutes});
    EXPECT_EQ(std::vector<u8>(block(), block() + minutes), source);
    EXPECT_EQ(block()[field->state + minutes], field->state + minutes < minutes ? 4 : 6);
}

}  // namespace
}  // namespace tarn::test
