// SPDX-License-Identifier: Apache-2.0
// Writing the wire form, and its length.
#include <cerrno>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Wire : public ObjectModeTest {
 protected:
    std::vector<u8> buffer = std::vector<u8>(8192, 0xee);
};
TARN_EACH_MODE(Wire);
class WireModes : public ObjectTest {
 protected:
    std::vector<u8> buffer = std::vector<u8>(8192, 0xee);
};

std::vector<u8> joined(std::initializer_list<std::vector<u8>> parts) {
    std::vector<u8> all;
    for (const auto &part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

std::vector<u8> little(u64 value, unsigned bytes) {
    std::vector<u8> made;
    for (unsigned i = 0; i < bytes; ++i) made.push_back(static_cast<u8>(value >> (8 * i)));
    return made;
}

std::vector<u8> string_form(const std::string &text) {
    return joined({little(text.size(), 4), {text.begin(), text.end()}});
}

TEST_F(WireModes, AnObjectIsItsVariantFlagsJumpAndFields) {
    const auto expected =
        joined({{0, 0}, little(8 + 4 + 6, 4), string_form("server"), little(300, 4)});
    EXPECT_EQ(form(st_ldap_conn_marshal, make.conn("server", 300)), expected);
    track(KEL_STATE_TRACKING_OFF);
    EXPECT_EQ(form(st_ldap_conn_marshal, make.conn("server", 300)), expected);
}

TEST_F(WireModes, InStateModeAStateByteFollowsEachField) {
    track(KEL_STATE_TRACKING_ON);
    st_ldap_conn *conn = make.conn("server", 300);
    st_ldap_conn_sname_state_flag_set(handle, tx, conn, 7, &err);
    EXPECT_EQ(
        form(st_ldap_conn_marshal, conn),
        joined({{0, 8}, little(10 + 4 + 6, 4), string_form("server"), {7}, little(300, 4), {2}}));
}

TEST_F(WireModes, InStateModeAnUntrackedObjectHasStateBytesOf0) {
    st_ldap_conn *conn = make.conn("server", 300);
    track(KEL_STATE_TRACKING_ON);
    EXPECT_EQ(
        form(st_ldap_conn_marshal, conn),
        joined({{0, 8}, little(10 + 4 + 6, 4), string_form("server"), {0}, little(300, 4), {0}}));
}

TEST_F(WireModes, APlainHandleWritesATrackedObjectWithoutStateBytes) {
    track(KEL_STATE_TRACKING_ON);
    st_ldap_conn *conn = make.conn("server", 300);
    track(0);
    EXPECT_EQ(form(st_ldap_conn_marshal, conn),
              joined({{0, 0}, little(8 + 4 + 6, 4), string_form("server"), little(300, 4)}));
}

TEST_F(WireModes, OnlyTheFlagsOfStateAndTraceDataAreWritten) {
    st_ldap_conn *conn = make.conn("server", 300);
    head(conn)->flags =
        OBJ_OID_MAPPED | OBJ_EMBEDDED | OBJ_NESTED | 16 | OBJ_STATE_ELSEWHERE | OBJ_MODIFIED;
    EXPECT_EQ(form(st_ldap_conn_marshal, conn)[1], 0);
}

TEST_F(WireModes, TraceDataFollowsTheFlagsAndTheJumpCountsFromItself) {
    st_ldap_conn *conn = make.conn("server", 300);
    const u32 bare = st_ldap_conn_len(handle, tx, conn);
    kellib_update_ra_all(handle, tx, conn, 0x1122334455667788, 0x99);
    const auto bytes = form(st_ldap_conn_marshal, conn);
    EXPECT_EQ(bytes, joined({{0, OBJ_RA_DATA},
                             little(0x1122334455667788, 8),
                             {0x99},
                             little(8 + 4 + 6, 4),
                             string_form("server"),
                             little(300, 4)}));
    EXPECT_EQ(st_ldap_conn_len(handle, tx, conn), bare) << "trace data isn't counted";
    EXPECT_GT(bytes.size(), bare);
}

TEST_F(WireModes, TheResultOfFetchingTraceDataBecomesTheError) {
    st_ldap_conn *conn = make.conn("server", 300);
    head(conn)->flags |= OBJ_RA_DATA;
    services.always_return("kellib_get_ra_data", EINVAL);
    st_ldap_conn_marshal(handle, tx, buffer.data(), conn, 8000, &err);
    EXPECT_EQ(err, EINVAL);
}

TEST_F(WireModes, AnEnumerationFieldIsItsVariantAndInternalValue) {
    st_every *every = make.every(0);
    st_every_door_set_value(handle, tx, every, 3, &err);
    const auto bytes = form(st_every_marshal, every);
    ASSERT_EQ(bytes.size(), st_every_len(handle, tx, every));
    // Before `lamp`: 6 of header, 1 + 2 + 4 + 8 + 4 + 8 of integers, 1 of flag.
    const auto enumerations = bytes_of(bytes.data() + 34, 10);
    EXPECT_EQ(enumerations, (std::vector<u8>{0, 0, 0, 0, 0, 0, 2, 0, 0, 0}));
}

TEST_F(WireModes, ANestedObjectIsACompleteForm) {
    st_tag *tag = st_tag_create(handle, tx);
    st_tag_name_set(handle, tx, tag, Text("ab"), &err);
    st_point *point = st_tag_point_get(handle, tx, tag, &err);
    st_point_x_set_value(handle, tx, point, -2, &err);
    st_point_y_set_value(handle, tx, point, 5, &err);
    EXPECT_EQ(form(st_tag_marshal, tag), joined({{0, 0},
                                                 little(4 + 6 + 5 + 14, 4),
                                                 string_form("ab"),
                                                 {0, 0, 0, 0, 0},
                                                 {0, 0},
                                                 little(12, 4),
                                                 little(0xfffffffeU, 4),
                                                 little(5, 4)}));
}

TEST_F(WireModes, AnArrayIsItsElementsAndInStateModeOneFlagThenOneEach) {
    track(KEL_STATE_TRACKING_ON);
    st_day *day = st_day_create(handle, tx);
    st_day_minute_set_value(handle, tx, day, 0, 5, &err);
    st_day_minute_set_value(handle, tx, day, 1439, 6, &err);
    st_day_minute_state_flag_whole_set(handle, tx, day, 9, &err);
    const u32 length = st_day_marshal(handle, tx, buffer.data(), day, 8000, &err);
    ASSERT_EQ(err, 0U);
    EXPECT_EQ(length, 6U + 4 + 1 + minutes + 1 + minutes + 4 + 1);
    std::vector<u8> elements(minutes), flags(minutes);
    elements[0] = 5;
    elements[1439] = 6;
    flags[0] = flags[1439] = 2;
    EXPECT_EQ(bytes_of(buffer.data() + 11, minutes), elements);
    EXPECT_EQ(buffer[11 + minutes], 9);
    EXPECT_EQ(bytes_of(buffer.data() + 12 + minutes, minutes), flags);
}

TEST_F(WireModes, AnUntrackedArrayHasFlagsOf0InStateMode) {
    st_day *day = st_day_create(handle, tx);
    track(KEL_STATE_TRACKING_ON);
    const u32 length = st_day_marshal(handle, tx, buffer.data(), day, 8000, &err);
    ASSERT_EQ(err, 0U);
    EXPECT_EQ(length, st_day_len(handle, tx, day));
    EXPECT_EQ(bytes_of(buffer.data() + 11 + minutes, 1 + minutes), std::vector<u8>(1 + minutes));
}

// ---- In each mode ------------------------------------------------------------------------

TEST_P(Wire, TheLengthIsWhatMarshalWrites) {
    for (u32 seed = 0; seed < 4; ++seed) {
        st_every *every = make.every(seed);
        EXPECT_EQ(form(st_every_marshal, every).size(), st_every_len(handle, tx, every));
        st_grown *grown = make.grown(seed);
        EXPECT_EQ(form(st_grown_marshal, grown).size(), st_grown_len(handle, tx, grown));
        st_tag *tag = make.tag(seed);
        EXPECT_EQ(form(st_tag_marshal, tag).size(), st_tag_len(handle, tx, tag));
        EXPECT_EQ(err, 0U);
    }
}

TEST_P(Wire, TheLengthOfANullObjectIsThatOfEmptyFields) {
    EXPECT_EQ(st_ldap_conn_len(handle, tx, nullptr), 6U + 4 + 4);
    EXPECT_EQ(st_tag_len(handle, tx, nullptr), 6U + 4 + 5 + 14);
    EXPECT_EQ(st_every_len(handle, tx, nullptr), 6U + 27 + 1 + 10 + 4 + 1 + 29);
    EXPECT_EQ(st_day_len(handle, tx, nullptr), 6U + 4 + minutes + 4);
}

TEST_P(Wire, InStateModeTheLengthHasOneBytePerFieldAndElement) {
    st_ldap_conn *conn = make.conn("server", 1);
    EXPECT_EQ(st_ldap_conn_len(handle, tx, conn), 10U + 4 + 6 + (tracking() ? 2 : 0));
    st_day *day = st_day_create(handle, tx);
    EXPECT_EQ(st_day_len(handle, tx, day), 6U + 4 + minutes + 4 + (tracking() ? 3 + minutes : 0));
}

TEST_P(Wire, TheCrFormOfTheLengthIs0WithAnErrorSet) {
    st_ldap_conn *conn = make.conn("server", 1);
    kel_clear_last_error(handle);
    EXPECT_EQ(st_ldap_conn_len_cr(handle, conn), st_ldap_conn_len(handle, tx, conn));
    kel_store_err(handle, EEXIST);
    EXPECT_EQ(st_ldap_conn_len_cr(handle, conn), 0U);
}

TEST_P(Wire, AnOlderInstanceHasNoLaterFields) {
    st_grown *grown = make.grown(2);
    const u32 newer = st_grown_len(handle, tx, grown);
    head(grown)->variant = 0;
    const u32 older = st_grown_len(handle, tx, grown);
    EXPECT_EQ(newer - older,
              st_tag_len(handle, tx, at<st_tag>(grown, 1608)) + (tracking() ? 1 : 0));
    const auto bytes = form(st_grown_marshal, grown);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes.size(), older);
    EXPECT_EQ(bytes[0], 0);
}

TEST_P(Wire, AnObjectOfANegativeVariantHasNoBody) {
    st_ldap_conn *conn = make.conn("server", 1);
    head(conn)->variant = -3;
    EXPECT_EQ(st_ldap_conn_len(handle, tx, conn), 6U);
    EXPECT_EQ(form(st_ldap_conn_marshal, conn),
              (std::vector<u8>{0xfd, static_cast<u8>(tracking() ? 8 : 0), 4, 0, 0, 0}));
    EXPECT_EQ(err, 0U);
}

TEST_P(Wire, AnInstanceNewerThanTheDomainIsReportedAndWrittenInTheDomainsVariant) {
    st_grown *grown = make.grown(2);
    head(grown)->variant = 0;
    const auto expected = form(st_grown_marshal, grown);
    head(grown)->variant = 1;
    kel_handle_set_variant(handle, &_st_grown_type_info_internal, 0);
    services.clear();
    const auto written = form(st_grown_marshal, grown, 43);
    expect_error(EIDRM);
    EXPECT_EQ(written, expected);
    EXPECT_EQ(services.count("kel_store_epoch_err"), 1U);
    EXPECT_EQ(services.calls("kel_store_epoch_err").at(0).arguments, words(handle, 43, &err));
}

TEST_P(Wire, ForACloneTheInstanceKeepsItsVariantAndNothingIsReported) {
    st_grown *grown = make.grown(2);
    const auto expected = form(st_grown_marshal, grown);
    kel_handle_set_variant(handle, &_st_grown_type_info_internal, 0);
    services.clear();
    EXPECT_EQ(form(st_grown_marshal_for_clone, grown), expected);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(services.count("kel_store_epoch_err"), 0U);
}

TEST_P(Wire, ANestedObjectNewerThanTheDomainIsReportedAndTheRestIsWritten) {
    st_every *every = make.every(2);
    const auto expected = form(st_every_marshal, every);
    st_tag *tag = st_every_tag_get(handle, tx, every, &err);
    head(tag)->variant = 1;
    // In marshal_for_clone too: only the outermost object isn't checked.
    const auto written = form(st_every_marshal, every, 43);
    expect_error(EIDRM);
    EXPECT_EQ(written, expected);
    const auto cloned = form(st_every_marshal_for_clone, every, 43);
    expect_error(EIDRM);
    EXPECT_EQ(cloned, expected);
}

TEST_P(Wire, AnEnumerationNewerThanTheDomainIsReportedAndTheRestIsWritten) {
    st_every *every = make.every(2);
    const auto expected = form(st_every_marshal, every);
    head(at(every, 64))->variant = 1;
    const auto written = form(st_every_marshal, every, 43);
    expect_error(EIDRM);
    EXPECT_EQ(written, expected);
}

TEST_P(Wire, AVariantAboveTheTypesTopIsWrittenAsTheTop) {
    kel_handle_set_variant(handle, &_st_ldap_conn_type_info_internal, 5);
    st_ldap_conn *conn = make.conn("server", 1);
    head(conn)->variant = 4;
    EXPECT_EQ(form(st_ldap_conn_marshal, conn)[0], 0);
    EXPECT_EQ(err, 0U);
}

TEST_P(Wire, AnEmptyBufferFailsWithEnomem) {
    st_ldap_conn *conn = make.conn("server", 1);
    for (const u32 space : {0U, 0x80000000U, 0xffffffffU}) {
        EXPECT_EQ(st_ldap_conn_marshal(handle, tx, buffer.data(), conn, space, &err), 0U);
        expect_error(ENOMEM);
        EXPECT_EQ(st_ldap_conn_marshal_for_clone(handle, tx, buffer.data(), conn, space, &err), 0U);
        expect_error(ENOMEM);
    }
    EXPECT_EQ(buffer, std::vector<u8>(buffer.size(), 0xee));
}

TEST_P(Wire, EveryTooShortBufferFailsAndIsNotOverrun) {
    st_every *every = make.every(3);
    const u32 length = st_every_len(handle, tx, every);
    // With tracking on, one state byte is stored after the end of a full buffer.
    const u32 spare = tracking() ? 1 : 0;
    for (u32 space = 1; space < length; ++space) {
        std::vector<u8> exact(space + spare, 0xee);
        const u32 written = st_every_marshal(handle, tx, exact.data(), every, space, &err);
        EXPECT_LE(written, space);
        // The state bytes of `y`, `point` and `tag` are last and may be missing.
        if (space + 3 * spare < length) {
            // 12 if the buffer ends before an enumeration or a nested object.
            ASSERT_TRUE(err == EMSGSIZE || err == ENOMEM) << space;
            EXPECT_EQ(handle->last_error, err);
        }
        err = 0;
    }
}

TEST_P(Wire, ABufferThatEndsBeforeAnEnumerationOrANestedObjectFailsWithEnomem) {
    st_tag *tag = st_tag_create(handle, tx);
    const u32 state = tracking() ? 1 : 0;
    const u32 lamp = 6 + 4 + state;
    st_tag_marshal(handle, tx, buffer.data(), tag, lamp, &err);
    expect_error(ENOMEM);
    st_tag_marshal(handle, tx, buffer.data(), tag, lamp + 5 + state, &err);
    expect_error(ENOMEM);
    st_tag_marshal(handle, tx, buffer.data(), tag, lamp + 4, &err);
    expect_error(EMSGSIZE);
}

TEST_P(Wire, TheJumpOfAFailedFormCoversTheBytesWritten) {
    st_ldap_conn *conn = make.conn("server", 1);
    st_ldap_conn_marshal(handle, tx, buffer.data(), conn, 17, &err);
    expect_error(EMSGSIZE);
    // The string of 10 bytes fitted, the number didn't.
    EXPECT_EQ(buffer[2], tracking() ? 4 + 10 + 1 : 4 + 10);
}

TEST_P(Wire, ABufferOfTheExactLengthIsEnough) {
    st_every *every = make.every(3);
    const u32 length = st_every_len(handle, tx, every);
    std::vector<u8> exact(length);
    EXPECT_EQ(st_every_marshal(handle, tx, exact.data(), every, length, &err), length);
    EXPECT_EQ(err, 0U);
}

TEST_F(WireModes, TheLastStateByteIsWrittenAfterAFullBufferAndNotCounted) {
    track(KEL_STATE_TRACKING_ON);
    st_ldap_conn *conn = make.conn("server", 1);
    const u32 space = st_ldap_conn_len(handle, tx, conn) - 1;
    EXPECT_EQ(st_ldap_conn_marshal(handle, tx, buffer.data(), conn, space, &err), space);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(buffer[space], 2);
    EXPECT_EQ(buffer[space + 1], 0xee);
}

TEST_P(Wire, MarshallingAnnouncesAndChangesNothing) {
    st_grown *grown = make.grown(1);
    const auto before = bytes_of(grown, st_grown_sizeof(handle));
    HookRecorder hooks(handle);
    form(st_grown_marshal, grown);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(bytes_of(grown, st_grown_sizeof(handle)), before);
}

}  // namespace
}  // namespace tarn::test
