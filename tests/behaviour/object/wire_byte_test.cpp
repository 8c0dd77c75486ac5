// SPDX-License-Identifier: Apache-2.0
// The wire form of one object of each kind of field, as literal bytes: other processes and
// other versions read them, so they must not change.
#include <cerrno>
#include <vector>

#include "tests/behaviour/object/sample.h"

namespace tarn::test {
namespace {

using WireBytes = ObjectTest;

// clang-format off
const std::vector<u8> every_bytes = {
    0,                                               // variant
    0,                                               // flags
    0x6a, 0, 0, 0,                                   // jump
    0x11,                                            // a8
    0x33, 0x22,                                      // a16
    0x77, 0x66, 0x55, 0x44,                          // a32
    0xff, 0xee, 0xdd, 0xcc, 0xbb, 0xaa, 0x99, 0x88,  // a64
    0xfd, 0xff, 0xff, 0xff,                          // s32
    0xf8, 0xf8, 0xf9, 0xfa, 0xfb, 0xfc, 0xfd, 0xfe,  // s64
    1,                                               // flag
    0, 1, 0, 0, 0,                                   // lamp: variant, LAMP_ON
    0, 2, 0, 0, 0,                                   // door: variant, DOOR_LOCKED's inner value
    23, 0, 0, 0,                                     // label: length, text
    'a', ' ', '<', 't', 'e', 'x', 't', '>', ' ', 'o', 'f', ' ',
    '"', 'm', 'o', 'r', 'e', '"', ' ', '&', ' ', 0xc3, 0xa9,
    4, 192, 0, 2, 7,                                 // addr: family, network order
    0, 0, 0x1e, 0, 0, 0,                             // tag: variant, flags, jump
    3, 0, 0, 0, 't', 'a', 'g',                       // tag.name
    0, 2, 0, 0, 0,                                   // tag.lamp
    0, 0, 12, 0, 0, 0,                               // tag.point: variant, flags, jump
    0xfe, 0xff, 0xff, 0xff,                          // tag.point.x
    4, 3, 2, 1,                                      // tag.point.y
};
// clang-format on

TEST_F(WireBytes, OfEachKindOfField) {
    EXPECT_EQ(form(st_every_marshal, sample_every(make)), every_bytes);
}

TEST_F(WireBytes, OfEachKindOfFieldAreReadBack) {
    st_every *every = st_every_create(handle, tx);
    EXPECT_EQ(read(st_every_unmarshal, every, every_bytes), every_bytes.size());
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_every_compare(every, sample_every(make)), 0);
    EXPECT_EQ(st_every_door_get_value(handle, tx, every, &err), 3U);
    EXPECT_EQ(text_of(st_every_addr_get(handle, tx, every, &err)), "192.0.2.7");
}

TEST_F(WireBytes, NonzeroBooleansAreTrueAndUnknownFamiliesAreRefused) {
    auto bytes = every_bytes;
    bytes[33] = 0x80;  // flag
    st_every *every = st_every_create(handle, tx);
    EXPECT_EQ(read(st_every_unmarshal, every, bytes), bytes.size());
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_every_flag_get_value(handle, tx, every, &err), 1U);
    ASSERT_EQ(bytes[71], 4) << "the family of addr";
    bytes[71] = 5;
    read(st_every_unmarshal, every, bytes);
    expect_error(EINVAL);
}

TEST_F(WireBytes, OfAnAddressOfEachFamily) {
    const auto address_bytes = [this](const ip_address *address) {
        u8 area[32];
        const u32 length = ip_address_marshal(handle, tx, area, address, 32, &err);
        EXPECT_EQ(length, ip_address_len(handle, tx, address));
        return bytes_of(area, length);
    };
    EXPECT_EQ(address_bytes(Address("2001:db8::9")),
              (std::vector<u8>{6, 0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9}));
    EXPECT_EQ(address_bytes(nullptr), (std::vector<u8>{0}));
}

TEST_F(WireBytes, OfANewObjectAreThoseOfEmptyFields) {
    EXPECT_EQ(form(st_tag_marshal, st_tag_create(handle, tx)),
              (std::vector<u8>{0, 0, 27, 0, 0, 0,  // variant, flags, jump
                               0, 0, 0,  0,        // name
                               0, 0, 0,  0, 0,     // lamp
                               0, 0, 12, 0, 0, 0,  // point
                               0, 0, 0,  0, 0, 0, 0, 0}));
}

// ---- With state bytes ----------------------------------------------------------------

TEST_F(WireBytes, InStateModeEachObjectAndFieldHasItsStateBytes) {
    track(KEL_STATE_TRACKING_ON);
    st_tag *tag = sample_tag(make);
    // Positions: name 0 (and 1, its own), lamp 2, point 3, its x 4 and y 5.
    const u8 flags[tag_states] = {0x10, 0x11, 0x12, 0x13, 0x14, 0x15};
    std::copy_n(flags, tag_states, at(tag, tag_size));
    EXPECT_EQ(form(st_tag_marshal, tag),
              (std::vector<u8>{
                  0,    8,    35,   0,    0,    0,                // variant, flags, jump
                  3,    0,    0,    0,    't',  'a',  'g', 0x10,  // name
                  0,    2,    0,    0,    0,    0x12,             // lamp
                  0,    8,    14,   0,    0,    0,                // point
                  0xfe, 0xff, 0xff, 0xff, 0x14,                   // point.x
                  4,    3,    2,    1,    0x15,                   // point.y
                  0x13,                                           // point's own
              }));
    EXPECT_EQ(st_tag_len(handle, tx, tag), 37U);
}

TEST_F(WireBytes, InStateModeANestedObjectsStateBytesComeFromItsParentsBlock) {
    track(KEL_STATE_TRACKING_ON);
    st_tag *tag = sample_tag(make);
    const u8 flags[tag_states] = {0x10, 0x11, 0x12, 0x13, 0x14, 0x15};
    std::copy_n(flags, tag_states, at(tag, tag_size));
    st_point *point = st_tag_point_get(handle, tx, tag, &err);
    ASSERT_NE(head(point)->flags & OBJ_STATE_ELSEWHERE, 0);
    const std::vector<u8> bytes = {0,    8,    14,   0, 0, 0, 0xfe, 0xff,
                                   0xff, 0xff, 0x14, 4, 3, 2, 1,    0x15};
    EXPECT_EQ(form(st_point_marshal, point), bytes);
    // They are read back into the object.
    st_tag *other = st_tag_create(handle, tx);
    st_point *target = st_tag_point_get(handle, tx, other, &err);
    read(st_point_unmarshal, target, bytes);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes_of(at(other, tag_size), tag_states), (std::vector<u8>{0, 0, 0, 0, 0x14, 0x15}));
}

TEST_F(WireBytes, InStateModeANestedObjectWithoutABlockHasStateBytesOf0) {
    st_tag *tag = sample_tag(make);
    track(KEL_STATE_TRACKING_ON);
    EXPECT_EQ(
        form(st_tag_marshal, tag),
        (std::vector<u8>{0, 8, 35, 0,  0, 0, 3, 0,    0,    0,    't',  'a', 'g', 0, 0, 2, 0, 0, 0,
                         0, 0, 8,  14, 0, 0, 0, 0xfe, 0xff, 0xff, 0xff, 0,   4,   3, 2, 1, 0, 0}));
}

// ---- Arrays --------------------------------------------------------------------------

TEST_F(WireBytes, OfAnArrayAreItsElements) {
    st_day *day = st_day_create(handle, tx);
    for (u32 i = 0; i < minutes; ++i) {
        st_day_minute_set_value(handle, tx, day, i, static_cast<u8>(i % 251), &err);
    }
    st_day_total_set_value(handle, tx, day, 0x01020304, &err);
    std::vector<u8> expected = {0, 0, 0xac, 5, 0, 0, 0, 0, 0, 0};  // jump 4 + 4 + 1440 + 4
    for (u32 i = 0; i < minutes; ++i) expected.push_back(static_cast<u8>(i % 251));
    expected.insert(expected.end(), {4, 3, 2, 1});
    EXPECT_EQ(form(st_day_marshal, day), expected);
    EXPECT_EQ(st_day_len(handle, tx, day), expected.size());
}

TEST_F(WireBytes, OfEachVariantEndWithItsLastField) {
    st_grown *grown = st_grown_create(handle, tx);
    st_grown_minute_set_value(handle, tx, grown, 1439, 7, &err);
    auto newer = form(st_grown_marshal, grown);
    EXPECT_EQ(newer[0], 1);
    EXPECT_EQ(newer.size(), 6U + 4 + 4 + 29 + minutes + 29);
    head(grown)->variant = 0;
    auto older = form(st_grown_marshal, grown);
    EXPECT_EQ(older[0], 0);
    EXPECT_EQ(older.back(), 7);
    EXPECT_EQ(older.size(), newer.size() - 29);
    EXPECT_TRUE(std::equal(older.begin() + 6, older.end(), newer.begin() + 6));
}

}  // namespace
}  // namespace tarn::test
