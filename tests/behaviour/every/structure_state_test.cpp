// SPDX-License-Identifier: Apache-2.0
// Each structure with and without a state block, used with handles of the other mode.
#include <cerrno>
#include <cstring>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/objects.h"
#include "tests/support/hooks.h"

namespace tarn::test {
namespace {

class StateModes : public StructureTest {
 protected:
    void SetUp() override {
        object = typed.create();
        other = typed.create();
        typed.fill(object, 1);
        typed.fill(other, 2);
        clear_marks(type, object);
    }
    void TearDown() override {
        track(tracking ? KEL_STATE_TRACKING_ON : 0);
        typed.destroy(object);
        typed.destroy(other);
        StructureTest::TearDown();
    }
    void track(u32 mode) { kel_handle_set_state_tracking(handle, mode); }
    static void clear_marks(const Structure &of, void *place) {
        head(place)->flags &= static_cast<u8>(~OBJ_MODIFIED);
        for (const Field &field : fields_of(of)) {
            if (field.descriptor != nullptr)
                head(at(place, field.offset))->flags &= static_cast<u8>(~OBJ_MODIFIED);
        }
    }
    void expect_error(u32 code) {
        EXPECT_EQ(err, code);
        EXPECT_EQ(handle->last_error, code);
        err = 0;
    }
    static std::string flags_of(const Field &field) {
        return std::string(field.name) + "_state_flag" +
               (field.kind == FieldKind::array ? "_whole" : "");
    }
    std::vector<u8> block() const {
        return {at(object, type.plain_size), at(object, type.plain_size + type.state_length)};
    }

    void *object = nullptr;
    void *other = nullptr;
};

// Objects without a block, and those with one.
class UntrackedObjects : public StateModes {};
class TrackedObjects : public StateModes {};
INSTANTIATE_TEST_SUITE_P(Every, UntrackedObjects,
                         ::testing::ValuesIn(in_mode(all_structures(), Mode::plain)),
                         name_in_mode<Structure>);
INSTANTIATE_TEST_SUITE_P(Every, TrackedObjects,
                         ::testing::ValuesIn(in_mode(all_structures(), Mode::tracking)),
                         name_in_mode<Structure>);

TEST_P(UntrackedObjects, AWriteInATrackingHandleFailsAfterStoringItsValueUnmarked) {
    track(KEL_STATE_TRACKING_ON);
    std::size_t failed = 0;
    const auto expect_failure = [&](const Field &field, u32 seed) {
        expect_error(EINVAL);
        EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"), ++failed);
        EXPECT_EQ(head(object)->flags & OBJ_MODIFIED, 0);
        typed.check_field(object, field, seed);
    };
    for (const Field &field : fields_of(type)) {
        // A nested object's own copy refuses it before.
        if (field.kind == FieldKind::array || field.structure != nullptr) continue;
        SCOPED_TRACE(field.name);
        const std::string name = field.name;
        typed(name + "_set", {object, at(other, field.offset), &err});
        expect_failure(field, 2);
        if (!has_plain_value(field.kind)) continue;
        typed(name + "_set_value", {object, plain_value(field, 3), &err});
        expect_failure(field, 3);
    }
}

TEST_P(UntrackedObjects, ReadersAndWritersOfFlagsTraceThatInTwoTexts) {
    const std::vector<u8> before(at(object, 0), at(object, type.plain_size));
    std::size_t readings = 0;
    for (const u32 mode : {u32{KEL_STATE_TRACKING_ON}, u32{0}}) {
        track(mode);
        for (const Field &field : fields_of(type)) {
            SCOPED_TRACE(field.name);
            EXPECT_EQ(typed.operator()<u8>(flags_of(field) + "_get", {object, &err}), 0);
            expect_error(EINVAL);
            typed(flags_of(field) + "_set", {object, 7, &err});
            expect_error(EINVAL);
            ++readings;
            EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is non state tracked"),
                      readings);
            EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"),
                      readings);
        }
    }
    EXPECT_EQ(before, std::vector<u8>(at(object, 0), at(object, type.plain_size)));
}

TEST_P(UntrackedObjects, SettingAllFlagsIsSilentInEveryMode) {
    const std::vector<u8> before(at(object, 0), at(object, type.plain_size));
    for (const u32 mode : {u32{KEL_STATE_TRACKING_ON}, u32{KEL_STATE_TRACKING_OFF}, u32{0}}) {
        track(mode);
        typed("set_all_state_tracking_flag", {object, 7});
    }
    EXPECT_EQ(before, std::vector<u8>(at(object, 0), at(object, type.plain_size)));
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
}

TEST_P(TrackedObjects, WithModeOffFlagsFailWithEinvalWithoutATrace) {
    const std::vector<u8> before = block();
    track(KEL_STATE_TRACKING_OFF);
    for (const Field &field : fields_of(type)) {
        SCOPED_TRACE(field.name);
        EXPECT_EQ(typed.operator()<u8>(flags_of(field) + "_get", {object, &err}), 0);
        expect_error(EINVAL);
        typed(flags_of(field) + "_set", {object, 7, &err});
        expect_error(EINVAL);
    }
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
    EXPECT_EQ(block(), before);
}

TEST_P(TrackedObjects, WithoutAControlRecordFlagsAreReadAndWritten) {
    track(0);
    for (const Field &field : fields_of(type)) {
        EXPECT_EQ(typed.operator()<u8>(flags_of(field) + "_get", {object, &err}), 2) << field.name;
        typed(flags_of(field) + "_set", {object, 7, &err});
        EXPECT_EQ(block()[field.state], 7) << field.name;
    }
    EXPECT_EQ(err, 0U);
}

TEST_P(TrackedObjects, AreWrittenByAHandleWithTrackingOffWithoutMarks) {
    const std::vector<u8> before = block();
    u32 seed = 3;
    for (const u32 mode : {u32{KEL_STATE_TRACKING_OFF}, u32{0}}) {
        track(mode);
        for (const Field &field : fields_of(type)) {
            if (field.structure != nullptr) continue;
            typed.fill_field(object, field, seed);
            typed.check_field(object, field, seed);
            EXPECT_NE(head(object)->flags & OBJ_MODIFIED, 0) << field.name;
            clear_marks(type, object);
        }
        ++seed;
    }
    EXPECT_EQ(block(), before);
}

TEST_P(TrackedObjects, SettingAllFlagsIsSilentWithTrackingOff) {
    const std::vector<u8> before = block();
    for (const u32 mode : {u32{KEL_STATE_TRACKING_OFF}, u32{0}}) {
        track(mode);
        typed("set_all_state_tracking_flag", {object, 7});
        EXPECT_EQ(typed.cr<u32>("sizeof", {}), type.plain_size);
    }
    EXPECT_EQ(block(), before);
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
}

TEST_P(TrackedObjects, SettingAllFlagsAnnouncesAndMarksNothing) {
    HookRecorder hooks(handle);
    typed("set_all_state_tracking_flag", {object, 7});
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(head(object)->flags & OBJ_MODIFIED, 0);
    EXPECT_EQ(block(), std::vector<u8>(type.state_length, 7));
}

TEST_P(TrackedObjects, WithAnErrorSetFlagsAreNeitherReadNorWritten) {
    const std::vector<u8> before = block();
    for (const Field &field : fields_of(type)) {
        err = ENOMEM;
        EXPECT_EQ(typed.operator()<u8>(flags_of(field) + "_get", {object, &err}), 0) << field.name;
        typed(flags_of(field) + "_set", {object, 7, &err});
        EXPECT_EQ(err, ENOMEM);
    }
    err = 0;
    EXPECT_EQ(block(), before);
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
}

TEST_P(TrackedObjects, ACopyKeepsTheOffsetOfTheDestinationsBlock) {
    const auto elsewhere = [](const void *which) {
        return (head(which)->flags & OBJ_STATE_ELSEWHERE) != 0;
    };
    const auto set = [](void *which, bool away) {
        head(which)->flags = static_cast<u8>(away ? head(which)->flags | OBJ_STATE_ELSEWHERE
                                                  : head(which)->flags & ~OBJ_STATE_ELSEWHERE);
    };
    for (const u32 mode : {u32{KEL_STATE_TRACKING_OFF}, u32{0}}) {
        track(mode);
        for (const bool before : {false, true}) {
            set(object, before);
            set(other, !before);
            typed("set", {object, other, &err});
            EXPECT_EQ(elsewhere(object), before);
        }
    }
    set(object, false);
    set(other, false);
}

TEST_P(TrackedObjects, ACopyAnnouncesThePlainSizeFirstAndTheBlockNotAtAll) {
    const std::vector<u8> before(at(object, 0), at(object, type.plain_size));
    typed("set_all_state_tracking_flag", {other, 6});
    {
        HookRecorder hooks(handle);
        typed("set", {object, other, &err});
        const auto writes = hooks.of(Hook::write_log);
        ASSERT_FALSE(writes.empty());
        EXPECT_EQ(writes[0].address, object);
        EXPECT_EQ(writes[0].length, type.plain_size);
        EXPECT_EQ(writes[0].before, before);
        EXPECT_TRUE(hooks.writes_in(at(object, type.plain_size), type.state_length).empty());
    }
    EXPECT_EQ(block(), std::vector<u8>(type.state_length, 6));
}

TEST_P(TrackedObjects, ACloneHasTheFlagsOfItsSource) {
    u8 value = 20;
    for (const Field &field : fields_of(type)) {
        typed(flags_of(field) + "_set", {object, value++, &err});
    }
    void *clone = typed.cr<void *>("clone_cr", {object});
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    value = 20;
    for (const Field &field : fields_of(type)) {
        EXPECT_EQ(at(clone, type.plain_size)[field.state], value++) << field.name;
    }
    typed.destroy(clone);
}

TEST_P(UntrackedObjects, ACopyFromATrackedObjectFailsWithEinvalInBounds) {
    const u32 length = type.plain_size + type.state_length;
    void *copy = handle->alloc_hook(handle->arena, KEL_TX_NONE, length);
    std::memset(copy, 0, type.plain_size);
    std::memset(at(copy, type.plain_size), 0xaa, type.state_length);
    typed("initialize", {copy, type.descriptor, 1, 0, 0, nullptr, &err});
    track(KEL_STATE_TRACKING_ON);
    void *source = typed.create();
    typed.fill(source, 3);

    typed("set", {copy, source, &err});
    expect_error(EINVAL);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"), 1U);
    EXPECT_EQ(head(copy)->flags & OBJ_STATE_TRACKED, 0);
    const u8 *after = at(copy, type.plain_size);
    EXPECT_EQ(std::vector<u8>(after, after + type.state_length),
              std::vector<u8>(type.state_length, 0xaa));
    typed.destroy(source);
    typed.destroy(copy);
}

TEST_P(UntrackedObjects, ACloneOfOneHasNoFlags) {
    void *clone = typed.cr<void *>("clone_cr", {object});
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(head(clone)->flags & OBJ_STATE_TRACKED, 0);
    typed.destroy(clone);
}

}  // namespace
}  // namespace tarn::test
