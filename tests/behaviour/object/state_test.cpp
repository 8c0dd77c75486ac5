// SPDX-License-Identifier: Apache-2.0
// State flags: one byte for each field, outside the value.
#include <cerrno>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class StateFlags : public TrackedTest {};
using FatalState = TrackedTest;
class StateModes : public ObjectTest {
 protected:
    // An object with a block, then used through a handle in another mode.
    st_ldap_conn *tracked_conn() {
        track(KEL_STATE_TRACKING_ON);
        st_ldap_conn *conn = make.conn("server", 1);
        kel_clear_last_error(handle);
        return conn;
    }
    // An object without a block, then used through a tracking handle.
    st_ldap_conn *plain_conn() {
        track(0);
        st_ldap_conn *conn = make.conn("server", 1);
        track(KEL_STATE_TRACKING_ON);
        return conn;
    }
};

TEST_F(StateFlags, ANewObjectIsTrackedAndHasNoFlagSet) {
    st_every *every = st_every_create(handle, tx);
    EXPECT_NE(head(every)->flags & OBJ_STATE_TRACKED, 0);
    EXPECT_EQ(bytes_of(at(every, every_size), every_states), std::vector<u8>(every_states));
}

TEST_F(StateFlags, AFieldWriteMarksItsOwnFlagWith2AndNoOther) {
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    HookRecorder hooks(handle);
    st_ldap_conn_num_conns_set_value(handle, tx, conn, 4, &err);
    EXPECT_EQ(st_ldap_conn_num_conns_state_flag_get(handle, tx, conn, &err), 2);
    EXPECT_EQ(st_ldap_conn_sname_state_flag_get(handle, tx, conn, &err), 0);
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(hooks.announced(at(conn, conn_size + 2), 1));
    st_ldap_conn_sname_set(handle, tx, conn, Text("x"), &err);
    EXPECT_EQ(bytes_of(at(conn, conn_size), conn_states), (std::vector<u8>{2, 0, 2}));
}

TEST_F(StateFlags, EachFieldHasItsOwnFlagInTheBlock) {
    st_every *every = st_every_create(handle, tx);
    const decltype(&st_every_a8_state_flag_set) setters[] = {
        st_every_a8_state_flag_set,    st_every_a16_state_flag_set,  st_every_a32_state_flag_set,
        st_every_a64_state_flag_set,   st_every_s32_state_flag_set,  st_every_s64_state_flag_set,
        st_every_flag_state_flag_set,  st_every_lamp_state_flag_set, st_every_door_state_flag_set,
        st_every_label_state_flag_set, st_every_addr_state_flag_set, st_every_tag_state_flag_set};
    u8 flag = 11;
    for (const auto set : setters) set(handle, tx, every, flag++, &err);
    st_tag *tag = st_every_tag_get(handle, tx, every, &err);
    st_tag_name_state_flag_set(handle, tx, tag, 23, &err);
    st_tag_lamp_state_flag_set(handle, tx, tag, 24, &err);
    st_tag_point_state_flag_set(handle, tx, tag, 25, &err);
    st_point *point = st_tag_point_get(handle, tx, tag, &err);
    st_point_x_state_flag_set(handle, tx, point, 26, &err);
    st_point_y_state_flag_set(handle, tx, point, 27, &err);
    EXPECT_EQ(err, 0U);
    const std::vector<u8> expected = {11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 0,  21, 0,
                                      0,  0,  0,  0,  0,  0,  22, 23, 0,  24, 25, 26, 27};
    EXPECT_EQ(bytes_of(at(every, every_size), every_states), expected);
    EXPECT_EQ(st_every_tag_state_flag_get(handle, tx, every, &err), 22);
    EXPECT_EQ(st_point_y_state_flag_get(handle, tx, point, &err), 27);
}

TEST_F(StateFlags, SettingAFlagAnnouncesItsByteAndMarksTheObjectAsModified) {
    st_every *every = st_every_create(handle, tx);
    services.clear();
    HookRecorder hooks(handle);
    st_every_lamp_state_flag_set(handle, tx, every, 5, &err);
    ASSERT_EQ(hooks.events.size(), 1U);
    EXPECT_EQ(hooks.events[0].address, at(every, every_size + 7));
    EXPECT_EQ(hooks.events[0].length, 1U);
    EXPECT_EQ(hooks.events[0].before, std::vector<u8>{0});
    EXPECT_EQ(services.calls("kel_set_instance_modified", every).at(0).arguments,
              words(every, 1, 1, 1));
    EXPECT_EQ(services.calls("kel_get_instance_variant").at(0).arguments, words(every, 1, 1));
}

TEST_F(StateFlags, ReadingAFlagChecksNoVariantAndKeepsTheLastError) {
    st_ldap_conn *conn = make.conn("server", 1);
    head(conn)->variant = -1;
    kel_store_err(handle, EEXIST);
    services.clear();
    EXPECT_EQ(st_ldap_conn_num_conns_state_flag_get(handle, tx, conn, &err), 2);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, EEXIST);
    EXPECT_EQ(services.count("kel_get_instance_variant"), 0U);
    EXPECT_EQ(services.count("kel_clear_last_error"), 0U);
}

TEST_F(StateFlags, WithAnErrorSetFlagsAreNeitherReadNorWritten) {
    st_ldap_conn *conn = make.conn("server", 1);
    err = ENOMEM;
    EXPECT_EQ(st_ldap_conn_num_conns_state_flag_get(handle, tx, conn, &err), 0);
    st_ldap_conn_num_conns_state_flag_set(handle, tx, conn, 9, &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(*at(conn, conn_size + 2), 2);
}

TEST_F(StateFlags, SettingAllFlagsWritesTheWholeBlockUnannounced) {
    st_every *every = st_every_create(handle, tx);
    const auto body = bytes_of(every, every_size);
    HookRecorder hooks(handle);
    services.clear();
    st_every_set_all_state_tracking_flag(handle, tx, every, 7);
    EXPECT_EQ(bytes_of(at(every, every_size), every_states), std::vector<u8>(every_states, 7));
    EXPECT_EQ(bytes_of(every, every_size), body);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(services.count("kel_set_instance_modified"), 0U);
    st_tag *tag = st_every_tag_get(handle, tx, every, &err);
    st_tag_set_all_state_tracking_flag(handle, tx, tag, 8);
    std::vector<u8> expected(every_states, 7);
    std::fill(expected.begin() + 20, expected.end(), std::uint8_t{8});
    EXPECT_EQ(bytes_of(at(every, every_size), every_states), expected);
}

TEST_F(StateModes, SettingAllFlagsIsSilentInEveryOtherMode) {
    st_ldap_conn *conn = tracked_conn();
    const auto before = bytes_of(conn, conn_size + conn_states);
    for (const u32 mode : {KEL_STATE_TRACKING_OFF, 0U, 5U}) {
        if (mode == 5) {
            track(KEL_STATE_TRACKING_OFF);
            handle->state_tracking->state_tracking_mode = 5;
        } else {
            track(mode);
        }
        TraceCapture trace;
        st_ldap_conn_set_all_state_tracking_flag(handle, tx, conn, 7);
        EXPECT_EQ(bytes_of(conn, conn_size + conn_states), before);
        EXPECT_EQ(handle->last_error, 0U);
        EXPECT_TRUE(trace.lines.empty()) << trace.all();
    }
    st_ldap_conn *plain = plain_conn();
    const auto untouched = bytes_of(plain, conn_size);
    st_ldap_conn_set_all_state_tracking_flag(handle, tx, plain, 7);
    EXPECT_EQ(bytes_of(plain, conn_size), untouched);
}

TEST_F(StateModes, WithoutAControlRecordAFlagOfATrackedObjectIsRead) {
    st_ldap_conn *conn = tracked_conn();
    track(0);
    EXPECT_EQ(st_ldap_conn_num_conns_state_flag_get(handle, tx, conn, &err), 2);
    EXPECT_EQ(err, 0U);
    st_ldap_conn_num_conns_state_flag_set(handle, tx, conn, 6, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(*at(conn, conn_size + 2), 6);
}

TEST_F(StateModes, WithModeOffFlagsFailWithEinvalWithoutATrace) {
    st_ldap_conn *conn = tracked_conn();
    track(KEL_STATE_TRACKING_OFF);
    TraceCapture trace;
    EXPECT_EQ(st_ldap_conn_num_conns_state_flag_get(handle, tx, conn, &err), 0);
    expect_error(EINVAL);
    st_ldap_conn_num_conns_state_flag_set(handle, tx, conn, 6, &err);
    expect_error(EINVAL);
    EXPECT_EQ(*at(conn, conn_size + 2), 2);
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
}

TEST_F(StateModes, ReadersAndWritersOfFlagsTraceAnUntrackedObjectInTwoTexts) {
    st_ldap_conn *conn = plain_conn();
    TraceCapture trace;
    EXPECT_EQ(st_ldap_conn_num_conns_state_flag_get(handle, tx, conn, &err), 0);
    expect_error(EINVAL);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is non state tracked"), 1U);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"), 0U);
    st_ldap_conn_num_conns_state_flag_set(handle, tx, conn, 6, &err);
    expect_error(EINVAL);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is non state tracked"), 1U);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"), 1U);
}

TEST_F(StateModes, AFieldWriteToAnUntrackedObjectFailsAfterStoringItsValue) {
    st_ldap_conn *conn = plain_conn();
    kel_set_instance_modified(conn, 1, 0, 0);
    TraceCapture trace;
    st_ldap_conn_num_conns_set_value(handle, tx, conn, 55, &err);
    expect_error(EINVAL);
    EXPECT_EQ(st_ldap_conn_num_conns_get_value(handle, tx, conn, &err), 55U);
    st_ldap_conn_sname_set(handle, tx, conn, Text("another name"), &err);
    expect_error(EINVAL);
    EXPECT_EQ(text_of(st_ldap_conn_sname_get(handle, tx, conn, &err)), "another name");
    EXPECT_EQ(kel_get_instance_modified(conn, 1, 0), 0U);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"), 2U);
}

TEST_F(StateModes, ATrackedObjectIsWrittenByAPlainHandleWithoutMarks) {
    st_ldap_conn *conn = tracked_conn();
    for (u8 i = 0; i < conn_states; ++i) *at(conn, conn_size + i) = 0;
    track(KEL_STATE_TRACKING_OFF);
    st_ldap_conn_num_conns_set_value(handle, tx, conn, 55, &err);
    track(0);
    st_ldap_conn_sname_set(handle, tx, conn, Text("x"), &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes_of(at(conn, conn_size), conn_states), std::vector<u8>(conn_states));
    EXPECT_EQ(kel_get_instance_modified(conn, 1, 0), 1U);
}

TEST_F(StateModes, NoControlRecordAndModeOffBehaveAlike) {
    for (const u32 mode : {0U, KEL_STATE_TRACKING_OFF}) {
        track(mode);
        EXPECT_EQ(st_every_sizeof(handle), every_size);
        st_every *every = make.every(4);
        EXPECT_EQ(head(every)->flags & OBJ_STATE_TRACKED, 0);
        make.check(every, 4);
        HookRecorder hooks(handle);
        st_every_a32_set_value(handle, tx, every, 5, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(hooks.count(Hook::write_log), 1U);
    }
}

TEST_F(StateModes, ADestroyedTrackedObjectMayBeDestroyedByAPlainHandle) {
    st_every *every = (track(KEL_STATE_TRACKING_ON), make.every(1));
    track(0);
    const u64 blocks = session.blocks();
    st_every_destroy(handle, tx, every);
    EXPECT_LT(session.blocks(), blocks);
}

TEST_F(FatalState, AnUnknownModeEndsTheProcessWhereverTheModeIsRead) {
    st_ldap_conn *conn = make.conn("server", 1);
    st_ldap_conn *other = make.conn("other", 1);
    char buffer[256];
    handle->state_tracking->state_tracking_mode = 5;
    const char *text = "\\(FATAL\\): Corrupted KEL Handle";
    EXPECT_DEATH(st_ldap_conn_num_conns_state_flag_get(handle, tx, conn, &err), text);
    EXPECT_DEATH(st_ldap_conn_num_conns_state_flag_set(handle, tx, conn, 1, &err), text);
    EXPECT_DEATH(st_ldap_conn_num_conns_set_value(handle, tx, conn, 1, &err), text);
    EXPECT_DEATH(st_ldap_conn_set(handle, tx, other, conn, &err), text);
    EXPECT_DEATH(st_ldap_conn_marshal(handle, tx, buffer, conn, sizeof buffer, &err), text);
    EXPECT_DEATH(st_ldap_conn_len(handle, tx, conn), text);
    EXPECT_DEATH(st_ldap_conn_to_xml(handle, tx, "a", buffer, conn, sizeof buffer, 0, &err), text);
}

}  // namespace
}  // namespace tarn::test
