// SPDX-License-Identifier: Apache-2.0
// The parts of the destination that a copy doesn't change: the place of its state block, its
// modified mark, its entries in the hd mapping.
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class WholeCopies : public ObjectTest {};
class CopiedMarks : public ObjectModeTest {};
TARN_EACH_MODE(CopiedMarks);
class CopiedTraces : public ObjectModeTest {};
TARN_EACH_MODE(CopiedTraces);

// ---- State ------------------------------------------------------------------------------

TEST_F(WholeCopies, ATrackingHandleCopiesTheStateBlockUnannounced) {
    track(KEL_STATE_TRACKING_ON);
    st_every *source = make.every(1);
    st_every *copy = make.every(2);
    for (u8 i = 0; i < every_states; ++i) *at(source, every_size + i) = static_cast<u8>(50 + i);
    HookRecorder hooks(handle);
    st_every_set(handle, tx, copy, source, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes_of(at(copy, every_size), every_states),
              bytes_of(at(source, every_size), every_states));
    EXPECT_TRUE(hooks.writes_in(at(copy, every_size), every_states).empty());
    EXPECT_EQ(at(copy, 160) + kellib_get_sttr_offset(handle, tx, at(copy, 160)),
              at(copy, every_size + 20));
    EXPECT_EQ(at(copy, 224) + kellib_get_sttr_offset(handle, tx, at(copy, 224)),
              at(copy, every_size + 24));
}

TEST_F(WholeCopies, TheDestinationKeepsTheOffsetOfItsStateBlock) {
    track(KEL_STATE_TRACKING_ON);
    st_every *parent = make.every(1);
    st_tag *nested = st_every_tag_get(handle, tx, parent, &err);
    st_tag *free_one = make.tag(5);
    for (const u32 mode : {u32{KEL_STATE_TRACKING_ON}, u32{KEL_STATE_TRACKING_OFF}, u32{0}}) {
        track(mode);
        st_tag_set(handle, tx, nested, free_one, &err);
        EXPECT_NE(head(nested)->flags & OBJ_STATE_ELSEWHERE, 0);
        EXPECT_EQ(head(nested)->flags & OBJ_NESTED, 0);
        st_tag_set(handle, tx, free_one, nested, &err);
        EXPECT_EQ(head(free_one)->flags & OBJ_STATE_ELSEWHERE, 0);
        EXPECT_EQ(err, 0U);
    }
}

TEST_F(WholeCopies, ATrackedWriteAfterAPlainCopyMarksTheNestedObjectsOwnShare) {
    track(KEL_STATE_TRACKING_ON);
    st_every *parent = make.every(1);
    st_tag *nested = st_every_tag_get(handle, tx, parent, &err);
    st_tag *free_one = make.tag(5);
    track(0);
    st_tag_set(handle, tx, nested, free_one, &err);
    track(KEL_STATE_TRACKING_ON);
    st_every_set_all_state_tracking_flag(handle, tx, parent, 9);
    const auto before = bytes_of(parent, every_size);
    st_tag_lamp_state_flag_set(handle, tx, nested, 7, &err);
    EXPECT_EQ(err, 0U);
    std::vector<u8> states(every_states, 9);
    states[20 + 2] = 7;
    EXPECT_EQ(bytes_of(at(parent, every_size), every_states), states);
    auto after = bytes_of(parent, every_size);
    after[160 + offsetof(kel_object, flags)] = before[160 + offsetof(kel_object, flags)];
    EXPECT_EQ(after, before);
}

TEST_F(WholeCopies, NestedObjectsKeepTheirOffsetsToo) {
    st_every *plain = make.every(2);
    track(KEL_STATE_TRACKING_ON);
    st_every *tracked = make.every(1);
    for (const u32 mode : {u32{KEL_STATE_TRACKING_OFF}, u32{0}}) {
        track(mode);
        st_every_set(handle, tx, tracked, plain, &err);
        for (const u32 place : sharing) {
            EXPECT_NE(head(at(tracked, place))->flags & OBJ_STATE_ELSEWHERE, 0) << place;
        }
        st_every_set(handle, tx, plain, tracked, &err);
        for (const u32 place : sharing) {
            EXPECT_EQ(head(at(plain, place))->flags & OBJ_STATE_ELSEWHERE, 0) << place;
        }
    }
    EXPECT_EQ(err, 0U);
}

TEST_F(WholeCopies, CopyingAnUntrackedObjectInATrackingHandleFailsWithEinvalBeforeItsTexts) {
    st_ldap_conn *source = make.conn("a name of more than twelve bytes", 5);
    track(KEL_STATE_TRACKING_ON);
    st_ldap_conn *copy = make.conn("other", 6);
    services.clear();
    TraceCapture trace;
    st_ldap_conn_set(handle, tx, copy, source, &err);
    expect_error(EINVAL);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"));
    EXPECT_EQ(st_ldap_conn_num_conns_get_value(handle, tx, copy, &err), 5U);
    EXPECT_EQ(services.count("kel_vstring_set"), 0U);
}

// A block with an object at its start and guard bytes after its plain size.
class Guarded {
 public:
    Guarded(kel_handle *handle, u32 tx) {
        constexpr u32 length = grown_size + grown_states;
        object = static_cast<st_grown *>(handle->alloc_hook(handle->arena, tx, length));
        std::memset(object, 0, grown_size);
        std::memset(at(object, grown_size), 0xaa, grown_states);
        u32 err = 0;
        st_grown_initialize(handle, tx, object, &_st_grown_type_info_internal, 1, 0, 0, nullptr,
                            &err);
        EXPECT_EQ(err, 0U);
    }
    void expect_whole() const {
        EXPECT_EQ(bytes_of(at(object, grown_size), grown_states),
                  std::vector<u8>(grown_states, 0xaa));
    }

    st_grown *object;
};

TEST_F(WholeCopies, CopyingIntoAnUntrackedObjectInATrackingHandleFailsWithEinvalInBounds) {
    const Guarded copy(handle, tx);
    track(KEL_STATE_TRACKING_ON);
    st_grown *source = make.grown(1);
    services.clear();
    TraceCapture trace;
    st_grown_set(handle, tx, copy.object, source, &err);
    expect_error(EINVAL);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"));
    EXPECT_EQ(services.count("kel_vstring_set"), 0U);
    copy.expect_whole();
}

TEST_F(WholeCopies, AnUntrackedDestinationHasNoStateBlockAfterwards) {
    const Guarded copy(handle, tx);
    st_grown *object = copy.object;
    track(KEL_STATE_TRACKING_ON);
    st_grown *source = make.grown(1);
    st_grown_set(handle, tx, object, source, &err);
    expect_error(EINVAL);
    EXPECT_EQ(head(object)->flags & OBJ_STATE_TRACKED, 0);
    st_grown_total_set_value(handle, tx, object, 5, &err);
    expect_error(EINVAL);
    copy.expect_whole();
}

TEST_F(WholeCopies, ObjectsNestedInAnUntrackedDestinationHaveNone) {
    st_every *copy = make.every(2);
    track(KEL_STATE_TRACKING_ON);
    st_every *source = make.every(1);
    st_every_set(handle, tx, copy, source, &err);
    expect_error(EINVAL);
    for (const u32 place : embedded) {
        EXPECT_EQ(head(at(copy, place))->flags & (OBJ_STATE_TRACKED | OBJ_STATE_ELSEWHERE), 0)
            << place;
    }
}

TEST_F(WholeCopies, AFailedCopyFromAnUntrackedObjectCopiesItsFlags) {
    st_ldap_conn *source = make.conn("server", 5);
    track(KEL_STATE_TRACKING_ON);
    st_ldap_conn *copy = make.conn("other", 6);
    st_ldap_conn_set(handle, tx, copy, source, &err);
    expect_error(EINVAL);
    EXPECT_EQ(head(copy)->flags & OBJ_STATE_TRACKED, 0);
}

TEST_F(WholeCopies, APlainHandleCopiesTheTrackedFlag) {
    st_point *copy = st_point_create(handle, tx);
    track(KEL_STATE_TRACKING_ON);
    st_point *source = st_point_create(handle, tx);
    for (const u32 mode : {u32{KEL_STATE_TRACKING_OFF}, u32{0}}) {
        track(mode);
        head(copy)->flags = 0;
        st_point_set(handle, tx, copy, source, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_NE(head(copy)->flags & OBJ_STATE_TRACKED, 0);
    }
}

// ---- Modified marks ---------------------------------------------------------------------

void mark_all(st_every *every, u32 value) {
    kel_set_instance_modified(every, 1, 0, value);
    for (const u32 place : embedded) kel_set_instance_modified(at(every, place), 0, 0, value);
}

TEST_P(CopiedMarks, AChangeIsStillReportedAfterACopyFromAnUnmarkedSource) {
    st_every *source = make.every(1);
    st_every *copy = make.every(2);
    mark_all(source, 0);
    mark_all(copy, 0);
    st_every_a8_set_value(handle, tx, copy, 5, &err);
    st_every_set(handle, tx, copy, source, &err);
    EXPECT_EQ(st_every_type_type_backpropagate(handle, tx, copy, &err), 1U);
    EXPECT_EQ(err, 0U);
}

TEST_P(CopiedMarks, AnUnmarkedDestinationIsNotReportedAfterACopyFromAMarkedSource) {
    st_every *source = make.every(1);
    st_every *copy = make.every(2);
    mark_all(source, 1);
    mark_all(copy, 0);
    st_every_set(handle, tx, copy, source, &err);
    EXPECT_EQ(st_every_type_type_backpropagate(handle, tx, copy, &err), 0U);
    EXPECT_EQ(err, 0U);
    make.check(copy, 1);
}

TEST_P(CopiedMarks, EachNestedObjectKeepsItsOwnMark) {
    st_every *source = make.every(1);
    st_every *copy = make.every(2);
    for (const u32 marked : embedded) {
        mark_all(source, 1);
        mark_all(copy, 0);
        kel_set_instance_modified(at(source, marked), 0, 0, 0);
        kel_set_instance_modified(at(copy, marked), 0, 0, 1);
        st_every_set(handle, tx, copy, source, &err);
        EXPECT_EQ(kel_get_instance_modified(copy, 1, 0), 0U);
        for (const u32 place : embedded) {
            EXPECT_EQ(kel_get_instance_modified(at(copy, place), 0, 0), place == marked ? 1U : 0U)
                << place << " when " << marked << " is marked";
        }
    }
    EXPECT_EQ(err, 0U);
}

TEST_P(CopiedMarks, FlagsThatAreReadOrSentContainNone) {
    st_every *source = make.every(1);
    mark_all(source, 1);
    EXPECT_EQ(kel_get_instance_obj_flag(source, 1, 0), tracking() ? OBJ_STATE_TRACKED : 0);
    std::vector<u8> form(512);
    const u32 length = st_every_marshal(handle, tx, form.data(), source, 500, &err);
    EXPECT_EQ(form[1], tracking() ? OBJ_STATE_TRACKED : 0);
    form[1] |= OBJ_MODIFIED;
    st_every *read = st_every_create(handle, tx);
    mark_all(read, 0);
    st_every_unmarshal(handle, tx, form.data(), read, length, 0, &err);
    EXPECT_EQ(kel_get_instance_modified(read, 1, 0), 0U);
    kel_clear_last_error(handle);
    st_every *clone = st_every_clone_cr(handle, source);
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(kel_get_instance_modified(clone, 1, 0), 0U);
    EXPECT_EQ(err, 0U);
}

TEST_P(CopiedMarks, ACopyOutChangesNone) {
    st_every *source = make.every(1);
    st_every *copy = make.every(2);
    for (const u32 marked : {0U, 1U}) {
        mark_all(source, 1 - marked);
        mark_all(copy, marked);
        st_every_post_copyout_cleanup(handle, tx, copy, source, &err);
        EXPECT_EQ(kel_get_instance_modified(copy, 1, 0), marked);
        for (const u32 place : embedded) {
            EXPECT_EQ(kel_get_instance_modified(at(copy, place), 0, 0), marked) << place;
        }
    }
    EXPECT_EQ(err, 0U);
}

// ---- Trace data -------------------------------------------------------------------------

TEST_P(CopiedTraces, ACopiedFlagWithoutDataIsWrittenAsZerosAndReadBack) {
    st_every *source = make.every(1);
    kellib_update_ra_all(handle, tx, source, 77, 7);
    st_every *copy = make.every(2);
    st_every_set(handle, tx, copy, source, &err);
    ASSERT_NE(head(copy)->flags & OBJ_RA_DATA, 0);

    std::vector<u8> form(512);
    const u32 length = st_every_marshal(handle, tx, form.data(), copy, 500, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(length, st_every_len(handle, tx, copy) + 9);
    EXPECT_EQ(std::vector<u8>(form.begin() + 2, form.begin() + 11), std::vector<u8>(9));
    st_every *read = st_every_create(handle, tx);
    EXPECT_EQ(st_every_unmarshal(handle, tx, form.data(), read, length, 0, &err), length);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_every_compare(read, copy), 0);
    make.check(read, 1);
}

TEST_P(CopiedTraces, ACopiedFlagWithoutDataDoesNotPreventACopy) {
    st_every *source = make.every(1);
    kellib_update_ra_all(handle, tx, source, 77, 7);
    st_every *copy = make.every(2);
    st_every_set(handle, tx, copy, source, &err);
    kel_clear_last_error(handle);
    st_every *clone = st_every_clone_cr(handle, copy);
    EXPECT_EQ(handle->last_error, 0U);
    ASSERT_NE(clone, nullptr);
    make.check(clone, 1);
    EXPECT_EQ(err, 0U);
}

TEST_P(CopiedTraces, OverwrittenTraceDataIsReleased) {
    st_every *source = make.every(1);
    st_every_destroy(handle, tx, make.every(2));
    const u64 blocks = session.blocks();
    for (int i = 0; i < 100; ++i) {
        st_every *copy = make.every(2);
        kellib_update_ra_all(handle, tx, copy, 77, 7);
        kellib_update_ra_all(handle, tx, st_every_tag_get(handle, tx, copy, &err), 78, 8);
        st_every_set(handle, tx, copy, source, &err);
        EXPECT_EQ(head(copy)->flags & OBJ_RA_DATA, 0);
        st_every_destroy(handle, tx, copy);
    }
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_P(CopiedTraces, AHandleWithoutTheMappingRemovesNothingFromIt) {
    st_point *source = st_point_create(handle, tx);
    st_point *copy = st_point_create(handle, tx);
    kellib_update_ra_all(handle, tx, copy, 77, 7);
    handle->hd_mapping_enabled = 0;
    st_point_set(handle, tx, copy, source, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(services.count("kel_hd_mapping_destroy"), 0U);
}

TEST_F(WholeCopies, ANestedObjectWhoseTraceDataIsRemovedKeepsItsOffset) {
    track(KEL_STATE_TRACKING_ON);
    st_every *parent = make.every(1);
    st_tag *nested = st_every_tag_get(handle, tx, parent, &err);
    const u32 place = kellib_get_sttr_offset(handle, tx, nested);
    kellib_update_ra_all(handle, tx, nested, 77, 7);
    st_tag_set(handle, tx, nested, make.tag(5), &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(nested)->flags & (OBJ_RA_DATA | OBJ_STATE_ELSEWHERE), OBJ_STATE_ELSEWHERE);
    EXPECT_EQ(kellib_get_sttr_offset(handle, tx, nested), place);
}

}  // namespace
}  // namespace tarn::test
