// SPDX-License-Identifier: Apache-2.0
// Comparing and hashing whole objects.
#include <cstring>
#include <functional>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Order : public ObjectModeTest {};
TARN_EACH_MODE(Order);

int sign(std::int32_t value) { return (value > 0) - (value < 0); }

TEST_P(Order, NullComesFirst) {
    st_every *every = make.every(1);
    EXPECT_EQ(st_every_compare(nullptr, nullptr), 0);
    EXPECT_EQ(st_every_compare(nullptr, every), -1);
    EXPECT_EQ(st_every_compare(every, nullptr), 1);
    EXPECT_EQ(st_every_compare(every, every), 0);
}

TEST_P(Order, TheHashOfNullIsTheSeed) {
    EXPECT_EQ(st_every_hash(nullptr, 0x1234), 0x1234U);
    EXPECT_EQ(st_grown_hash(nullptr, 7), 7U);
}

TEST_P(Order, IntegersCompareByTheirSignedness) {
    st_every *a = st_every_create(handle, tx);
    st_every *b = st_every_create(handle, tx);
    const auto expect_order = [&](std::function<void(st_every *)> greater) {
        greater(a);
        EXPECT_EQ(st_every_compare(a, b), 1);
        EXPECT_EQ(st_every_compare(b, a), -1);
        greater(b);
        EXPECT_EQ(st_every_compare(a, b), 0);
    };
    expect_order([&](st_every *x) { st_every_a8_set_value(handle, tx, x, 0x80, &err); });
    expect_order([&](st_every *x) { st_every_a16_set_value(handle, tx, x, 0x8000, &err); });
    expect_order([&](st_every *x) { st_every_a32_set_value(handle, tx, x, 0x80000000U, &err); });
    expect_order([&](st_every *x) { st_every_a64_set_value(handle, tx, x, u64{1} << 63, &err); });
    st_every_s32_set_value(handle, tx, a, -1, &err);
    EXPECT_EQ(st_every_compare(a, b), -1);
    st_every_s32_set_value(handle, tx, b, -1, &err);
    st_every_s64_set_value(handle, tx, a, -1, &err);
    EXPECT_EQ(st_every_compare(a, b), -1);
    EXPECT_EQ(err, 0U);
}

TEST_P(Order, TheFirstFieldThatDiffersDecides) {
    st_every *a = make.every(4);
    st_every *b = make.every(4);
    st_tag *inner = st_every_tag_get(handle, tx, b, &err);
    const std::vector<std::function<void()>> changes = {
        [&] {
            st_point_y_set_value(handle, tx, st_tag_point_get(handle, tx, inner, &err), 900, &err);
        },
        [&] {
            st_point_x_set_value(handle, tx, st_tag_point_get(handle, tx, inner, &err), -900, &err);
        },
        [&] { st_tag_name_set(handle, tx, inner, Text("a longer text than before"), &err); },
        [&] { st_every_addr_set(handle, tx, b, Address("1.0.0.1"), &err); },
        [&] { st_every_label_set(handle, tx, b, Text("a longer text than before"), &err); },
        [&] { st_every_door_set_value(handle, tx, b, 1, &err); },
        [&] { st_every_lamp_set_value(handle, tx, b, 2, &err); },
        [&] { st_every_flag_set_value(handle, tx, b, 1, &err); },
        [&] { st_every_s64_set_value(handle, tx, b, std::int64_t{-1} << 60, &err); },
        [&] { st_every_a8_set_value(handle, tx, b, 5, &err); },
    };
    const std::vector<int> expected = {-1, 1, -1, 1, -1, 1, -1, -1, 1, -1};
    EXPECT_EQ(st_every_compare(a, b), 0);
    EXPECT_EQ(st_every_hash(a, 3), st_every_hash(b, 3));
    for (std::size_t i = 0; i < changes.size(); ++i) {
        changes[i]();
        ASSERT_EQ(err, 0U);
        EXPECT_EQ(sign(st_every_compare(a, b)), expected[i]) << "change " << i;
        EXPECT_EQ(sign(st_every_compare(b, a)), -expected[i]) << "change " << i;
        EXPECT_NE(st_every_hash(a, 3), st_every_hash(b, 3)) << "change " << i;
    }
}

TEST_P(Order, HeadersAndStateFlagsAreNotCompared) {
    st_every *a = make.every(4);
    st_every *b = make.every(4);
    head(b)->flags ^= OBJ_RA_DATA;
    head(b)->variant = 5;
    st_every_set_all_state_tracking_flag(handle, tx, b, 9);
    EXPECT_EQ(st_every_compare(a, b), 0);
    EXPECT_EQ(st_every_hash(a, 1), st_every_hash(b, 1));
}

TEST_P(Order, EnumerationsCompareByTheDifferenceOfTheirValues) {
    st_every *a = make.every(0);
    st_every *b = make.every(0);
    st_every_door_set_value(handle, tx, a, 3, &err);
    st_every_door_set_value(handle, tx, b, 1, &err);
    EXPECT_EQ(st_every_compare(a, b), 2);
    EXPECT_EQ(st_every_compare(b, a), -2);
}

TEST_P(Order, TheResultOfAValuesComparisonIsReturnedUnchanged) {
    st_every *a = make.every(4);
    st_every *b = make.every(4);
    services.replace(kel_boolean_compare, [](auto, auto) { return 5; });
    EXPECT_EQ(st_every_compare(a, b), 5);
    services.replace(kel_boolean_compare, nullptr);
    services.replace(ip_address_compare, [](auto, auto) { return -6; });
    EXPECT_EQ(st_every_compare(a, b), -6);
    services.replace(ip_address_compare, nullptr);
    services.replace(kel_vstring_compare, [](auto, auto) { return 7; });
    EXPECT_EQ(st_every_compare(a, b), 7);
    EXPECT_EQ(st_tag_compare(st_every_tag_get(handle, tx, a, &err),
                             st_every_tag_get(handle, tx, b, &err)),
              7);
    services.replace(kel_vstring_compare, nullptr);
    st_tag_lamp_set_value(handle, tx, st_every_tag_get(handle, tx, a, &err), 2, &err);
    st_tag_lamp_set_value(handle, tx, st_every_tag_get(handle, tx, b, &err), 0, &err);
    EXPECT_EQ(st_every_compare(a, b), 2);
    EXPECT_EQ(st_every_compare(b, a), -2);
    EXPECT_EQ(err, 0U);
}

TEST_P(Order, ArraysCompareByTheirBytesAndReturnMemcmpsResult) {
    st_grown *a = make.grown(0);
    st_grown *b = make.grown(0);
    EXPECT_EQ(st_grown_compare(a, b), 0);
    st_grown_minute_set_value(handle, tx, b, 1439, 255, &err);
    const int expected = std::memcmp(at(a, 168), at(b, 168), minutes);
    ASSERT_NE(expected, 0);
    EXPECT_EQ(st_grown_compare(a, b), expected);
    EXPECT_NE(st_grown_hash(a, 1), st_grown_hash(b, 1));
}

TEST_P(Order, AHashIsTheChainOfTheFieldsHashes) {
    st_tag *tag = make.tag(4);
    st_point *point = st_tag_point_get(handle, tx, tag, &err);
    const std::int32_t x = st_point_x_get_value(handle, tx, point, &err);
    const std::int32_t y = st_point_y_get_value(handle, tx, point, &err);
    u32 hash = kel_vstring_hash(st_tag_name_get(handle, tx, tag, &err), 77);
    const u32 lamp = st_tag_lamp_get_value(handle, tx, tag, &err);
    hash = SuperFastHash(reinterpret_cast<const char *>(&lamp), 4, hash);
    hash = int32_hash(&y, int32_hash(&x, hash));
    EXPECT_EQ(st_tag_hash(tag, 77), hash);
    EXPECT_NE(st_tag_hash(tag, 78), hash);

    st_day *day = st_day_create(handle, tx);
    st_day_name_set(handle, tx, day, Text("x"), &err);
    st_day_total_set_value(handle, tx, day, 5, &err);
    const u32 total = 5;
    const std::vector<char> zeros(minutes);
    u32 chain = kel_vstring_hash(Text("x"), 1);
    chain = SuperFastHash(zeros.data(), minutes, chain);
    EXPECT_EQ(st_day_hash(day, 1), u_int32_hash(&total, chain));
}

}  // namespace
}  // namespace tarn::test
