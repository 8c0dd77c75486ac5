// SPDX-License-Identifier: Apache-2.0
// Reading the wire form: of other modes, of other variants, of hostile bytes.
#include <cerrno>
#include <cstring>
#include <random>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Unmarshal : public ObjectModeTest {
 protected:
    void expect_equal_when_read_back(const st_grown *grown) {
        const auto bytes = form(st_grown_marshal, grown);
        EXPECT_EQ(bytes.size(), st_grown_len(handle, tx, grown));
        st_grown *again = st_grown_create(handle, tx);
        EXPECT_EQ(read(st_grown_unmarshal, again, bytes), bytes.size());
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(st_grown_compare(grown, again), 0);
        EXPECT_EQ(form(st_grown_marshal, again), bytes);
        st_grown_destroy(handle, tx, again);
    }
    static u32 size(const std::vector<u8> &bytes) { return static_cast<u32>(bytes.size()); }
};
TARN_EACH_MODE(Unmarshal);
class UnmarshalModes : public ObjectTest {
 protected:
    std::vector<u8> form_of(const std::string &name, u32 connections) {
        return form(st_ldap_conn_marshal, make.conn(name, connections));
    }
    void expect_conn(st_ldap_conn *conn, const std::string &name, u32 connections) {
        EXPECT_EQ(text_of(st_ldap_conn_sname_get(handle, tx, conn, &err)), name);
        EXPECT_EQ(st_ldap_conn_num_conns_get_value(handle, tx, conn, &err), connections);
        EXPECT_EQ(err, 0U);
    }
};
using FatalUnmarshal = UnmarshalModes;

TEST_P(Unmarshal, RoundTrips) {
    for (u32 seed = 0; seed < 4; ++seed) {
        st_every *every = st_every_create(handle, tx);
        const auto bytes = form(st_every_marshal, make.every(seed));
        EXPECT_EQ(read(st_every_unmarshal, every, bytes), bytes.size());
        EXPECT_EQ(err, 0U);
        make.check(every, seed);
        st_grown *grown = make.grown(77);
        const auto other = form(st_grown_marshal, make.grown(seed));
        EXPECT_EQ(read(st_grown_unmarshal, grown, other, 1), other.size());
        EXPECT_EQ(err, 0U);
        make.check(grown, seed);
    }
}

TEST_P(Unmarshal, InPlaceIsPassedToTheFieldsUnchanged) {
    const auto bytes = form(st_every_marshal, make.every(2));
    st_every *every = st_every_create(handle, tx);
    services.clear();
    read(st_every_unmarshal, every, bytes, 9);
    EXPECT_EQ(services.calls("u_int32_unmarshal", at(every, 16)).at(0).arguments.at(5), 9U);
    EXPECT_EQ(services.calls("kel_vstring_unmarshal", at(every, 96)).at(0).arguments.at(5), 9U);
    EXPECT_EQ(services.calls("kel_vstring_unmarshal", at(every, 176)).at(0).arguments.at(5), 9U);
    EXPECT_EQ(services.calls("u_int32_unmarshal", at(every, 64 + 12)).at(0).arguments.at(5), 9U);
}

TEST_P(Unmarshal, AVariantAboveTheTypesIsReducedToIt) {
    auto bytes = form(st_ldap_conn_marshal, make.conn("server", 5));
    bytes[0] = 3;
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), bytes.size());
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(conn)->variant, 0);
    EXPECT_EQ(*at<u32>(conn, 48), 5U);
}

TEST_P(Unmarshal, TheFlagOfTraceDataComesFromTheWire) {
    st_ldap_conn *source = make.conn("server", 5);
    kellib_update_ra_all(handle, tx, source, 1, 2);
    const auto bytes = form(st_ldap_conn_marshal, source);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    services.replace(kellib_update_ra_all, [](auto...) {});
    EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), bytes.size());
    EXPECT_NE(head(conn)->flags & OBJ_RA_DATA, 0);
    head(conn)->flags &= static_cast<u8>(~OBJ_RA_DATA);
}

TEST_P(Unmarshal, AnOlderFormKeepsTheLaterFields) {
    st_grown *source = make.grown(2);
    head(source)->variant = 0;
    const auto bytes = form(st_grown_marshal, source);
    st_grown *grown = make.grown(8);
    EXPECT_EQ(read(st_grown_unmarshal, grown, bytes), bytes.size());
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(grown)->variant, 0);
    make.check(grown, 2);
    make.check(at<st_tag>(grown, 1608), 10);
}

TEST_P(Unmarshal, UnknownBytesWithinTheJumpAreSkipped) {
    auto bytes = form(st_ldap_conn_marshal, make.conn("server", 5));
    const u32 known = size(bytes);
    bytes[0] = 7;
    bytes[2] = static_cast<u8>(bytes[2] + 20);
    bytes.resize(known + 20, 0xcc);
    const auto next = form(st_ldap_conn_marshal, make.conn("next", 6));
    bytes.insert(bytes.end(), next.begin(), next.end());
    TraceCapture trace;
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), known + 20);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(*at<u32>(conn, 48), 5U);
    char line[128];
    std::snprintf(line, sizeof line,
                  "(info): offset_jump read_len %d offset_jump_base %d _kel_variant_jump %d",
                  static_cast<int>(known), 2, static_cast<int>(known - 2 + 20));
    EXPECT_TRUE(trace.has(KEL_TRACE_INFO, line)) << trace.all();
    EXPECT_EQ(st_ldap_conn_unmarshal(handle, tx, bytes.data() + known + 20, conn,
                                     size(bytes) - known - 20, 0, &err),
              next.size());
    EXPECT_EQ(*at<u32>(conn, 48), 6U);
}

TEST_P(Unmarshal, AJumpThatIsTooShortOrNegativeIsIgnored) {
    for (const std::int32_t jump : {0, 4, -5, std::numeric_limits<std::int32_t>::min()}) {
        auto bytes = form(st_ldap_conn_marshal, make.conn("server", 5));
        std::memcpy(bytes.data() + 2, &jump, sizeof jump);
        st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
        EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), bytes.size());
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(*at<u32>(conn, 48), 5U);
    }
}

TEST_P(Unmarshal, AJumpMayPointBeyondTheBuffer) {
    auto bytes = form(st_ldap_conn_marshal, make.conn("server", 5));
    const std::int32_t jump = 0x01000000;
    std::memcpy(bytes.data() + 2, &jump, sizeof jump);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), 0x01000002U);
    EXPECT_EQ(err, 0U);
}

TEST_P(Unmarshal, ANestedJumpBeyondTheBufferLeavesNoBytesForLaterFields) {
    st_grown *source = make.grown(2);
    auto bytes = form(st_grown_marshal, source);
    // `share` comes after 6 of header, `name` and `total`.
    const u32 name = 4 + static_cast<u32>(text_of(at<kel_vstring>(source, 16)).size());
    const u32 share = 6 + name + 4 + (tracking() ? 2 : 0);
    const std::int32_t jump = 0x7fffff00;
    std::memcpy(bytes.data() + share + 2, &jump, sizeof jump);
    st_grown *grown = make.grown(8);
    read(st_grown_unmarshal, grown, bytes);
    expect_error(EMSGSIZE);
    make.check(st_grown_share_get(handle, tx, grown, &err), 3);
    EXPECT_EQ(*at(grown, 168), 8) << "the array is as it was";
}

TEST_P(Unmarshal, AFormOfANegativeVariantHasNoBody) {
    const std::vector<u8> bytes = {0xfe, 0, 4, 0, 0, 0, 1, 2, 3};
    st_ldap_conn *conn = make.conn("server", 5);
    EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), 6U);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(conn)->variant, -2);
    EXPECT_EQ(*at<u32>(conn, 48), 5U);
}

TEST_P(Unmarshal, AnEmptyBufferFailsWithEnomem) {
    st_ldap_conn *conn = make.conn("server", 5);
    const auto before = bytes_of(conn, st_ldap_conn_sizeof(handle));
    const u8 byte = 0;
    for (const u32 length : {0U, 0x80000000U}) {
        EXPECT_EQ(st_ldap_conn_unmarshal(handle, tx, &byte, conn, length, 0, &err), 0U);
        expect_error(ENOMEM);
    }
    EXPECT_EQ(bytes_of(conn, st_ldap_conn_sizeof(handle)), before);
}

TEST_P(Unmarshal, EveryTruncatedFormFailsAndIsNotReadBeyond) {
    const auto bytes = form(st_every_marshal, make.every(3));
    for (u32 length = 1; length < bytes.size(); ++length) {
        const std::vector<u8> cut(bytes.begin(), bytes.begin() + length);
        st_every *every = st_every_create(handle, tx);
        read(st_every_unmarshal, every, cut);
        // The state bytes of `y`, `point` and `tag` are last and may be missing.
        if (!tracking() || length + 3 < bytes.size()) {
            // 12 if it ends before an enumeration or a nested object.
            ASSERT_TRUE(err == EMSGSIZE || err == ENOMEM) << length;
        }
        err = 0;
        st_every_destroy(handle, tx, every);
    }
}

TEST_P(Unmarshal, RandomBytesCauseNoAccessOutsideBufferOrObject) {
    constexpr u32 seed = 20240517;
    std::mt19937 random(seed);
    const auto base = form(st_grown_marshal, make.grown(1));
    const auto blocks = session.blocks();
    int whole = 0;
    for (int step = 0; step < 400; ++step) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
        std::vector<u8> bytes = base;
        if (step % 2 == 0) bytes.resize(1 + random() % base.size());
        for (u32 i = 0; i < 1 + random() % 8; ++i) {
            bytes[random() % std::min<std::size_t>(bytes.size(), 80)] = static_cast<u8>(random());
        }
        // The runtime stores trace data, which moves the object's other mappings.
        bytes[std::min<std::size_t>(1, bytes.size() - 1)] &= 0xdf;
        st_grown *grown = st_grown_create(handle, tx);
        read(st_grown_unmarshal, grown, bytes);
        EXPECT_STREQ(head(grown)->descriptor->name, "st_grown");
        EXPECT_LE(head(grown)->variant, 1);
        EXPECT_EQ(head(grown)->flags & ~(OBJ_STATE_TRACKED | OBJ_RA_DATA | OBJ_MODIFIED), 0);
        if (err == 0) {
            expect_equal_when_read_back(grown);
            whole += head(grown)->variant == 1;
        }
        err = 0;
        st_grown_destroy(handle, tx, grown);
        EXPECT_EQ(session.blocks(), blocks);
    }
    EXPECT_GT(whole, 10) << "forms that were read to their end";
}

TEST_P(Unmarshal, FlagsThatAreNeverSentAreIgnored) {
    auto bytes = form(st_ldap_conn_marshal, make.conn("server", 5));
    bytes[1] = static_cast<u8>(bytes[1] | 0xd7);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    const u8 flags = head(conn)->flags;
    read(st_ldap_conn_unmarshal, conn, bytes);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(conn)->flags, flags);
}

TEST_P(Unmarshal, TheHeadersStoresAreAnnounced) {
    const auto bytes = form(st_ldap_conn_marshal, make.conn("server", 5));
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    HookRecorder hooks(handle);
    read(st_ldap_conn_unmarshal, conn, bytes);
    const Places stores = places_of(hooks.of(Hook::write_log));
    ASSERT_GE(stores.size(), 3U);
    EXPECT_EQ(
        Places(stores.end() - 3, stores.end()),
        (Places{{&head(conn)->variant, 1}, {&head(conn)->flags, 1}, {&head(conn)->descriptor, 8}}));
}

TEST_P(Unmarshal, TraceDataIsReadIntoTheObject) {
    st_ldap_conn *source = make.conn("server", 5);
    kellib_update_ra_all(handle, tx, source, 0x1122334455667788, 0x99);
    const auto bytes = form(st_ldap_conn_marshal, source);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), bytes.size());
    EXPECT_EQ(err, 0U);
    EXPECT_NE(head(conn)->flags & OBJ_RA_DATA, 0);
    u64 word = 0;
    u8 byte = 0;
    EXPECT_EQ(kellib_get_ra_data(handle, tx, conn, &word, &byte), 0U);
    EXPECT_EQ(word, 0x1122334455667788U);
    EXPECT_EQ(byte, 0x99);
    EXPECT_EQ(*at<u32>(conn, 48), 5U);
}

TEST_P(Unmarshal, TruncatedTraceDataSetsNoFlag) {
    st_ldap_conn *conn = make.conn("server", 5);
    for (const u32 length : {2U, 10U}) {
        std::vector<u8> bytes(length, 0x55);
        bytes[0] = 0;
        bytes[1] = OBJ_RA_DATA;
        read(st_ldap_conn_unmarshal, conn, bytes);
        EXPECT_EQ(err, EMSGSIZE);
        err = 0;
        EXPECT_EQ(head(conn)->flags & OBJ_RA_DATA, 0);
    }
    EXPECT_EQ(form(st_ldap_conn_marshal, conn).size(), st_ldap_conn_len(handle, tx, conn));
    EXPECT_EQ(err, 0U);
}

// ---- Between modes -----------------------------------------------------------------------

TEST_F(UnmarshalModes, StateFlagsAreRead) {
    track(KEL_STATE_TRACKING_ON);
    st_grown *source = make.grown(1);
    for (u32 i = 0; i < grown_states; ++i) *at(source, grown_size + i) = static_cast<u8>(i + 1);
    auto expected = bytes_of(at(source, grown_size), grown_states);
    st_grown *grown = st_grown_create(handle, tx);
    const auto bytes = form(st_grown_marshal, source);
    EXPECT_EQ(read(st_grown_unmarshal, grown, bytes), bytes.size());
    EXPECT_EQ(err, 0U);
    // A string's own byte isn't part of the wire form.
    for (const u32 position : {1U, 5U, 1453U}) expected[position] = 0;
    EXPECT_EQ(bytes_of(at(grown, grown_size), grown_states), expected);
}

TEST_F(UnmarshalModes, APlainHandleSkipsStateBytes) {
    track(KEL_STATE_TRACKING_ON);
    const auto bytes = form_of("server", 5);
    ASSERT_NE(kellib_type_header_get_state_tracking_flag(bytes.data()), 0U);
    for (const u32 mode : {0U, KEL_STATE_TRACKING_OFF}) {
        track(mode);
        st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
        EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), bytes.size());
        expect_conn(conn, "server", 5);
        EXPECT_EQ(head(conn)->flags & OBJ_STATE_TRACKED, 0);
    }
}

TEST_F(UnmarshalModes, APlainHandleSkipsTheStateBytesOfArraysAndNestedObjects) {
    track(KEL_STATE_TRACKING_ON);
    st_grown *source = make.grown(3);
    const auto bytes = form(st_grown_marshal, source);
    track(0);
    st_grown *grown = st_grown_create(handle, tx);
    EXPECT_EQ(read(st_grown_unmarshal, grown, bytes), bytes.size());
    make.check(grown, 3);
}

TEST_F(UnmarshalModes, ATrackingHandleReadsAFormWithoutStateBytesAndKeepsItsBlock) {
    const auto bytes = form_of("server", 5);
    track(KEL_STATE_TRACKING_ON);
    st_ldap_conn *conn = make.conn("other", 6);
    st_ldap_conn_set_all_state_tracking_flag(handle, tx, conn, 9);
    EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), bytes.size());
    expect_conn(conn, "server", 5);
    EXPECT_EQ(bytes_of(at(conn, conn_size), conn_states), std::vector<u8>(conn_states, 9));
    EXPECT_NE(head(conn)->flags & OBJ_STATE_TRACKED, 0);
}

TEST_F(UnmarshalModes, StateBytesReadAreAnnouncedOneByOne) {
    track(KEL_STATE_TRACKING_ON);
    const auto bytes = form_of("server", 5);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    HookRecorder hooks(handle);
    read(st_ldap_conn_unmarshal, conn, bytes);
    EXPECT_TRUE(hooks.announced(at(conn, conn_size + 0), 1));
    EXPECT_TRUE(hooks.announced(at(conn, conn_size + 2), 1));
    EXPECT_EQ(bytes_of(at(conn, conn_size), conn_states), (std::vector<u8>{2, 0, 2}));
}

TEST_F(UnmarshalModes, AFormWithoutItsLastStateByteKeepsThatFlag) {
    track(KEL_STATE_TRACKING_ON);
    auto bytes = form_of("server", 5);
    bytes.pop_back();
    // The jump still counts the removed byte.
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    EXPECT_EQ(read(st_ldap_conn_unmarshal, conn, bytes), bytes.size() + 1);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes_of(at(conn, conn_size), conn_states), (std::vector<u8>{2, 0, 0}));
}

TEST_F(FatalUnmarshal, AnUntrackedObjectInATrackingHandleEndsTheProcess) {
    const auto plain = form_of("server", 5);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    track(KEL_STATE_TRACKING_ON);
    const auto tracked = form_of("server", 5);
    const char *text = "\\(FATAL\\): KEL handle and object state tracking mis-match";
    EXPECT_DEATH(read(st_ldap_conn_unmarshal, conn, plain), text);
    EXPECT_DEATH(read(st_ldap_conn_unmarshal, conn, tracked), text);
}

TEST_F(FatalUnmarshal, AnUnknownModeEndsTheProcess) {
    track(KEL_STATE_TRACKING_ON);
    const auto bytes = form_of("server", 5);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    handle->state_tracking->state_tracking_mode = 5;
    EXPECT_DEATH(read(st_ldap_conn_unmarshal, conn, bytes), "\\(FATAL\\): Corrupted KEL Handle");
}

}  // namespace
}  // namespace tarn::test
