// SPDX-License-Identifier: Apache-2.0
// Where reading a wire form ends: jumps of newer writers on each level, state bytes
// at the end of a buffer, and the object's header afterwards.
#include <cerrno>
#include <cstring>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class FormEnds : public ObjectModeTest {
 protected:
    static void lengthen_jump(std::vector<u8> &bytes, u32 jump, u32 by) {
        u32 value = 0;
        std::memcpy(&value, bytes.data() + jump, sizeof value);
        value += by;
        std::memcpy(bytes.data() + jump, &value, sizeof value);
    }
    u32 state() const { return tracking() ? 1 : 0; }
};
TARN_EACH_MODE(FormEnds);
using PlainFormEnds = ObjectTest;
using TrackedFormEnds = TrackedTest;

TEST_P(FormEnds, TheRestOfANewerNestedObjectIsSkippedByItsJump) {
    st_grown *source = make.grown(2);
    auto bytes = form(st_grown_marshal, source);
    // `share` ends where `minute` begins: insert five bytes of a later field there.
    const u32 name = 4 + static_cast<u32>(text_of(at<kel_vstring>(source, 16)).size());
    const u32 share = 6 + name + state() + 4 + state();
    const u32 end = share + st_tag_len(handle, tx, at<st_tag>(source, 56));
    bytes.insert(bytes.begin() + end, 5, 0xcc);
    bytes[share] = 9;
    lengthen_jump(bytes, share + 2, 5);
    lengthen_jump(bytes, 2, 5);
    st_grown *target = make.grown(8);
    TraceCapture trace;
    EXPECT_EQ(read(st_grown_unmarshal, target, bytes), bytes.size());
    EXPECT_EQ(err, 0U);
    make.check(target, 2);
    EXPECT_EQ(head(at(target, 56))->variant, 0);
    EXPECT_EQ(trace.lines.size(), 1U) << trace.all();
}

TEST_P(FormEnds, AJumpToTheEndOfWhatWasReadIsNotTraced) {
    const auto bytes = form(st_every_marshal, make.every(2));
    st_every *target = make.every(3);
    TraceCapture trace;
    EXPECT_EQ(read(st_every_unmarshal, target, bytes), bytes.size());
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
}

TEST_P(FormEnds, AJumpByOneByteIsFollowed) {
    auto bytes = form(st_point_marshal, st_point_create(handle, tx));
    lengthen_jump(bytes, 2, 1);
    bytes.push_back(0xcc);
    st_point *target = st_point_create(handle, tx);
    EXPECT_EQ(read(st_point_unmarshal, target, bytes), bytes.size());
    EXPECT_EQ(err, 0U);
}

TEST_P(FormEnds, ANegativeVariantIsSkippedByItsJump) {
    const std::vector<u8> bytes = {0xff, 0, 9, 0, 0, 0, 1, 2, 3, 4, 5};
    st_point *target = st_point_create(handle, tx);
    EXPECT_EQ(read(st_point_unmarshal, target, bytes), 11U);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(*at<std::int32_t>(target, 12), 0);
}

TEST_P(FormEnds, EachFieldGetsTheRemainingLength) {
    const auto bytes = form(st_ldap_conn_marshal, make.conn("server", 5));
    st_ldap_conn *target = make.conn("other", 6);
    services.clear();
    read(st_ldap_conn_unmarshal, target, bytes);
    EXPECT_EQ(services.calls("kel_vstring_unmarshal", at(target, 16)).at(0).arguments.at(4),
              bytes.size() - 6);
    EXPECT_EQ(services.calls("u_int32_unmarshal", at(target, 48)).at(0).arguments.at(4),
              4 + state());
}

TEST_P(FormEnds, TruncatedTraceDataIsNotStored) {
    st_point *source = st_point_create(handle, tx);
    kellib_update_ra_all(handle, tx, source, 0x1122334455667788, 0x99);
    const auto bytes = form(st_point_marshal, source);
    st_point *target = st_point_create(handle, tx);
    for (u32 length = 2; length < 11; ++length) {
        services.clear();
        st_point_unmarshal(handle, tx, bytes.data(), target, length, 0, &err);
        expect_error(EMSGSIZE);
        EXPECT_EQ(services.count("kellib_update_ra_all"), 0U) << length;
    }
    services.clear();
    read(st_point_unmarshal, target, bytes);
    EXPECT_EQ(err, 0U);
    ASSERT_EQ(services.count("kellib_update_ra_all"), 1U);
    EXPECT_EQ(services.calls("kellib_update_ra_all")[0].arguments,
              words(handle, tx, target, 0x1122334455667788, 0x99));
}

// ---- The header afterwards -----------------------------------------------------------

TEST_P(FormEnds, TheObjectsOtherFlagsAreKept) {
    const auto bytes = form(st_point_marshal, st_point_create(handle, tx));
    st_point *target = st_point_create(handle, tx);
    st_point_set_instance_embedded(handle, tx, target);
    kel_set_instance_modified(target, 1, 0, 1);
    const u8 before = head(target)->flags;
    EXPECT_NE(before & OBJ_EMBEDDED, 0);
    read(st_point_unmarshal, target, bytes);
    EXPECT_EQ(head(target)->flags, before);
}

TEST_P(FormEnds, AfterAnErrorVariantAndDescriptorAreStillSet) {
    auto bytes = form(st_grown_marshal, make.grown(1));
    bytes[0] = 0;
    bytes.resize(7);
    st_grown *target = make.grown(2);
    const kel_type_info *descriptor = head(target)->descriptor;
    head(target)->descriptor = nullptr;
    read(st_grown_unmarshal, target, bytes);
    expect_error(EMSGSIZE);
    EXPECT_EQ(head(target)->variant, 0);
    EXPECT_EQ(head(target)->descriptor, descriptor);
    make.check(st_grown_share_get(handle, tx, target, &err), 3);
}

TEST_P(FormEnds, TheCreatedVariantIsKept) {
    auto bytes = form(st_grown_marshal, make.grown(1));
    bytes[0] = 0;
    st_grown *target = st_grown_create(handle, tx);
    read(st_grown_unmarshal, target, bytes);
    EXPECT_EQ(head(target)->variant, 0);
    EXPECT_EQ(head(target)->created_variant, 1);
}

TEST_F(PlainFormEnds, TheDescriptorBecomesTheReaders) {
    const u8 bytes[] = {0, 0, 12, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0};
    kel_handle *second = session.second_handle(Mode::store_types);
    st_point *point = st_point_create(handle, tx);
    EXPECT_EQ(head(point)->descriptor, &_st_point_type_info_internal);
    st_point_unmarshal(second, tx, bytes, point, 14, 0, &err);
    EXPECT_EQ(head(point)->descriptor, head(st_point_create(second, tx))->descriptor);
    EXPECT_NE(head(point)->descriptor, &_st_point_type_info_internal);
    st_point_unmarshal(handle, tx, bytes, point, 14, 0, &err);
    EXPECT_EQ(head(point)->descriptor, &_st_point_type_info_internal);
    EXPECT_EQ(err, 0U);
}

// ---- State bytes at the end of a buffer ----------------------------------------------

// A point's form with state bytes whose jump says nothing.
const std::vector<u8> tracked_point = {0, 8, 0, 0, 0, 0, 1, 0, 0, 0, 7, 2, 0, 0, 0, 8};

TEST_F(PlainFormEnds, AMissingStateByteIsNotSkipped) {
    st_point *point = st_point_create(handle, tx);
    EXPECT_EQ(st_point_unmarshal(handle, tx, tracked_point.data(), point, 16, 0, &err), 16U);
    EXPECT_EQ(st_point_unmarshal(handle, tx, tracked_point.data(), point, 15, 0, &err), 15U);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(*at<std::int32_t>(point, 16), 2);
}

TEST_F(TrackedFormEnds, AMissingStateByteIsNotCopied) {
    st_point *point = st_point_create(handle, tx);
    EXPECT_EQ(st_point_unmarshal(handle, tx, tracked_point.data(), point, 16, 0, &err), 16U);
    EXPECT_EQ(bytes_of(at(point, point_size), 2), (std::vector<u8>{7, 8}));
    *at(point, point_size + 1) = 3;
    EXPECT_EQ(st_point_unmarshal(handle, tx, tracked_point.data(), point, 15, 0, &err), 15U);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes_of(at(point, point_size), 2), (std::vector<u8>{7, 3}));
}

// A day that ends with its array's flags, and whose jump says nothing: those that are
// there are taken.
class TruncatedFlags : public TrackedTest {
 protected:
    TruncatedFlags() {
        st_grown *grown = make.grown(3);
        head(grown)->variant = 0;
        for (u32 i = 0; i < grown_states; ++i) *at(grown, grown_size + i) = static_cast<u8>(i | 1);
        block = bytes_of(at(grown, grown_size), grown_states);
        bytes = form(st_grown_marshal, grown);
        std::fill_n(bytes.begin() + 2, 4, u8{0});
    }
    // The array's own flag is at 10 in the state block.
    std::vector<u8> block;
    std::vector<u8> bytes;
};

TEST_F(TruncatedFlags, OfAnArrayAreCopiedAsFarAsPresent) {
    for (const u32 missing : {0U, 1U, 700U, 1439U, 1440U, 1441U}) {
        const u32 length = static_cast<u32>(bytes.size()) - missing;
        const std::vector<u8> cut(bytes.begin(), bytes.begin() + length);
        st_grown *target = st_grown_create(handle, tx);
        EXPECT_EQ(read(st_grown_unmarshal, target, cut), length);
        EXPECT_EQ(err, 0U);
        auto expected = std::vector<u8>(block.begin() + 10, block.begin() + 10 + 1441);
        std::fill(expected.end() - missing, expected.end(), u8{0});
        EXPECT_EQ(bytes_of(at(target, grown_size + 10), 1441), expected) << missing;
    }
}

TEST_F(TruncatedFlags, OfAnArrayAreSkippedAsFarAsPresent) {
    track(0);
    for (const u32 missing : {0U, 1U, 700U, 1439U, 1440U, 1441U}) {
        const u32 length = static_cast<u32>(bytes.size()) - missing;
        const std::vector<u8> cut(bytes.begin(), bytes.begin() + length);
        st_grown *target = st_grown_create(handle, tx);
        EXPECT_EQ(read(st_grown_unmarshal, target, cut), length);
        EXPECT_EQ(err, 0U);
        make.check(target, 3);
    }
}

TEST_F(TruncatedFlags, OfAnArrayAreAnnouncedAsOne) {
    st_grown *target = st_grown_create(handle, tx);
    HookRecorder hooks(handle);
    read(st_grown_unmarshal, target, bytes);
    EXPECT_TRUE(hooks.announced(at(target, grown_size + 10), 1));
    EXPECT_TRUE(hooks.announced(at(target, grown_size + 11), minutes));
}

}  // namespace
}  // namespace tarn::test
