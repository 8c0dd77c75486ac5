// SPDX-License-Identifier: Apache-2.0
// An array field and its flags: one for the whole array, one for each element.
#include <array>
#include <cerrno>
#include <numeric>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Arrays : public ObjectModeTest {
 protected:
    st_grown *grown = st_grown_create(handle, tx);
    u8 *element(u32 index) { return at(grown, 168 + index); }
    u8 *state(u32 position) { return at(grown, grown_size + position); }
    std::array<u8, minutes> values = [] {
        std::array<u8, minutes> made;
        std::iota(made.begin(), made.end(), u8{1});
        return made;
    }();
    void make_old() {
        kel_handle_set_variant(handle, &_st_grown_type_info_internal, -1);
        head(grown)->variant = -1;
    }
};
TARN_EACH_MODE(Arrays);

// Positions in the block: the array's flag, its elements' flags.
constexpr u32 whole = 10, first = 11;

class ArrayFlags : public TrackedTest {
 protected:
    st_grown *grown = st_grown_create(handle, tx);
    u8 *state(u32 position) { return at(grown, grown_size + position); }
};
class UntrackedArray : public ObjectTest {
 protected:
    st_grown *grown = st_grown_create(handle, tx);
    void SetUp() override { track(KEL_STATE_TRACKING_ON); }
};

TEST_P(Arrays, ABlockWriteAndReadCopyAllElements) {
    st_grown_minute_set_mem(handle, tx, grown, values.data(), minutes, &err);
    std::array<u8, minutes> out = {};
    st_grown_minute_get_mem(handle, tx, grown, out.data(), minutes, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(out, values);
}

TEST_P(Arrays, APartialCopyStartsAtTheFirstElement) {
    st_grown_minute_set_mem(handle, tx, grown, values.data(), minutes, &err);
    std::array<u8, minutes> out = {};
    st_grown_minute_get_mem(handle, tx, grown, out.data(), 3, &err);
    EXPECT_EQ((std::vector<u8>{out[0], out[1], out[2], out[3]}), (std::vector<u8>{1, 2, 3, 0}));
    const u8 two[] = {90, 91};
    st_grown_minute_set_mem(handle, tx, grown, two, 2, &err);
    EXPECT_EQ(bytes_of(element(0), 3), (std::vector<u8>{90, 91, 3}));
    const u8 one[] = {70};
    st_grown_minute_set_mem(handle, tx, grown, one, 1, &err);
    EXPECT_EQ(bytes_of(element(0), 2), (std::vector<u8>{70, 91}));
    st_grown_minute_get_mem(handle, tx, grown, out.data(), 1, &err);
    EXPECT_EQ((std::vector<u8>{out[0], out[1]}), (std::vector<u8>{70, 2}));
    EXPECT_EQ(err, 0U);
}

TEST_P(Arrays, ALengthBeyondTheArrayFailsWithEinvalWithoutATrace) {
    std::array<u8, minutes + 1> area = {};
    TraceCapture trace;
    const auto before = bytes_of(grown, grown_size);
    st_grown_minute_get_mem(handle, tx, grown, area.data(), minutes + 1, &err);
    expect_error(EINVAL);
    st_grown_minute_set_mem(handle, tx, grown, area.data(), minutes + 1, &err);
    expect_error(EINVAL);
    EXPECT_EQ(bytes_of(grown, grown_size), before);
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
}

TEST_P(Arrays, ABlockWriteAnnouncesItsBytesAndMarksOnlyTheWholeArray) {
    services.clear();
    HookRecorder hooks(handle);
    st_grown_minute_set_mem(handle, tx, grown, values.data(), 100, &err);
    EXPECT_EQ(err, 0U);
    const auto stores = hooks.of(Hook::write_log);
    ASSERT_EQ(stores.size(), tracking() ? 2U : 1U);
    EXPECT_EQ(stores[0].address, element(0));
    EXPECT_EQ(stores[0].length, 100U);
    EXPECT_EQ(stores[0].before, std::vector<u8>(100));
    if (tracking()) {
        EXPECT_EQ(stores[1].address, state(whole));
        EXPECT_EQ(*state(whole), 2);
        EXPECT_EQ(bytes_of(state(first), minutes), std::vector<u8>(minutes));
    }
    EXPECT_EQ(services.calls("kel_set_instance_modified", grown).at(0).arguments,
              words(grown, 1, 0, 1));
}

TEST_P(Arrays, TheCrFormOfABlockWriteReturnsTheLastError) {
    kel_clear_last_error(handle);
    EXPECT_EQ(st_grown_minute_set_mem_cr(handle, grown, values.data(), minutes), 0U);
    EXPECT_EQ(bytes_of(element(0), minutes), std::vector<u8>(values.begin(), values.end()));
    EXPECT_EQ(st_grown_minute_set_mem_cr(handle, grown, values.data(), minutes + 1), EINVAL);
    EXPECT_EQ(st_grown_minute_set_mem_cr(handle, grown, std::vector<u8>{77}.data(), 1), EINVAL);
    EXPECT_EQ(*element(0), 1);
}

TEST_P(Arrays, AnElementIsReadAndWrittenByItsIndex) {
    st_grown_minute_set_value(handle, tx, grown, 0, 5, &err);
    st_grown_minute_set_value(handle, tx, grown, 1439, 6, &err);
    EXPECT_EQ(st_grown_minute_get_value(handle, tx, grown, 0, &err), 5);
    EXPECT_EQ(st_grown_minute_get_value(handle, tx, grown, 1439, &err), 6);
    EXPECT_EQ(st_grown_minute_get(handle, tx, grown, 1439, &err), element(1439));
    EXPECT_EQ(st_grown_minute_get_value(handle, tx, grown, 1, &err), 0);
    EXPECT_EQ(err, 0U);
}

TEST_P(Arrays, AnIndexBeyondTheArrayFailsWithEnoent) {
    const auto before = bytes_of(grown, grown_size);
    for (const u32 index : {minutes, 0xffffffffU}) {
        EXPECT_EQ(st_grown_minute_get(handle, tx, grown, index, &err), nullptr);
        expect_error(ENOENT);
        EXPECT_EQ(st_grown_minute_get_value(handle, tx, grown, index, &err), 0);
        expect_error(ENOENT);
        st_grown_minute_set_value(handle, tx, grown, index, 1, &err);
        expect_error(ENOENT);
    }
    EXPECT_EQ(bytes_of(grown, grown_size), before);
}

TEST_P(Arrays, SettingAnElementWithoutAccessFailsWithEnoent) {
    services.replace(u_int8_get, [](auto...) { return nullptr; });
    EXPECT_EQ(st_grown_minute_get_value(handle, tx, grown, 3, &err), 0);
    EXPECT_EQ(err, 0U);
    services.clear();
    st_grown_minute_set_value(handle, tx, grown, 3, 1, &err);
    expect_error(ENOENT);
    EXPECT_EQ(services.count("u_int8_get"), 2U) << "the path is tried once more";
    EXPECT_EQ(*element(3), 0);
}

TEST_P(Arrays, ANullObjectHasNoElements) {
    EXPECT_EQ(st_grown_minute_get(handle, tx, nullptr, 3, &err), nullptr);
    EXPECT_EQ(st_grown_minute_get_value(handle, tx, nullptr, 3, &err), 0);
    EXPECT_EQ(err, 0U);
    st_grown_minute_set_value(handle, tx, nullptr, 3, 1, &err);
    expect_error(ENOENT);
}

TEST_P(Arrays, SettingAnElementFromASourceSetsBothFlagsAndNoModifiedMark) {
    const u8 source = 9;
    services.clear();
    HookRecorder hooks(handle);
    st_grown_minute_set(handle, tx, grown, 7, &source, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(*element(7), 9);
    EXPECT_EQ(services.count("kel_set_instance_modified"), 0U);
    EXPECT_EQ(kel_get_instance_modified(grown, 1, 0), 0U);
    EXPECT_TRUE(hooks.announced(element(7), 1));
    if (tracking()) {
        EXPECT_TRUE(hooks.announced(state(whole), 1));
        EXPECT_TRUE(hooks.announced(state(first + 7), 1));
        EXPECT_EQ(*state(whole), 2);
        EXPECT_EQ(*state(first + 7), 2);
        EXPECT_EQ(*state(first + 6), 0);
    }
}

TEST_P(Arrays, ANullSourceDoesNothingToAnElement) {
    const auto before = bytes_of(grown, st_grown_sizeof(handle));
    HookRecorder hooks(handle);
    st_grown_minute_set(handle, tx, grown, 7, nullptr, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes_of(grown, st_grown_sizeof(handle)), before);
    EXPECT_TRUE(hooks.events.empty());
}

TEST_P(Arrays, SettingAnElementsValueSetsBothFlagsAndTheModifiedMark) {
    HookRecorder hooks(handle);
    st_grown_minute_set_value(handle, tx, grown, 7, 9, &err);
    EXPECT_EQ(kel_get_instance_modified(grown, 1, 0), 1U);
    EXPECT_EQ(hooks.count(Hook::write_log), tracking() ? 3U : 1U);
    if (tracking()) {
        EXPECT_EQ(*state(whole), 2);
        EXPECT_EQ(*state(first + 7), 2);
        EXPECT_EQ(*state(first + 8), 0);
    }
}

TEST_P(Arrays, AnInstanceTooOldForTheArrayFailsWithEidrm) {
    make_old();
    const u8 source = 3;
    u8 out = 77;
    st_grown_minute_get_mem(handle, tx, grown, &out, 1, &err);
    expect_error(EIDRM);
    EXPECT_EQ(out, 77);
    EXPECT_EQ(st_grown_minute_get(handle, tx, grown, 0, &err), nullptr);
    expect_error(EIDRM);
    EXPECT_EQ(st_grown_minute_get_value(handle, tx, grown, 0, &err), 0);
    expect_error(EIDRM);
    st_grown_minute_set_mem(handle, tx, grown, &source, 1, &err);
    expect_error(EIDRM);
    st_grown_minute_set(handle, tx, grown, 0, &source, &err);
    expect_error(EIDRM);
    st_grown_minute_set_value(handle, tx, grown, 0, 3, &err);
    expect_error(EIDRM);
    EXPECT_EQ(*element(0), 0);
}

TEST_F(UntrackedArray, ABlockWriteFailsBeforeAnyChange) {
    const u8 source = 3;
    TraceCapture trace;
    st_grown_minute_set_mem(handle, tx, grown, &source, 1, &err);
    expect_error(EINVAL);
    EXPECT_EQ(*at(grown, 168), 0);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"));
}

TEST_F(UntrackedArray, AnElementsWriteFailsAfterStoringItsValue) {
    const u8 source = 3;
    TraceCapture trace;
    st_grown_minute_set(handle, tx, grown, 1, &source, &err);
    expect_error(EINVAL);
    st_grown_minute_set_value(handle, tx, grown, 2, 4, &err);
    expect_error(EINVAL);
    EXPECT_EQ(bytes_of(at(grown, 168), 3), (std::vector<u8>{0, 3, 4}));
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"), 2U);
    EXPECT_EQ(kel_get_instance_modified(grown, 1, 0), 0U);
}

TEST_F(UntrackedArray, FlagsFailWithEinval) {
    u8 *flags = nullptr;
    EXPECT_EQ(st_grown_minute_state_flag_whole_get(handle, tx, grown, &err), 0);
    expect_error(EINVAL);
    EXPECT_EQ(st_grown_minute_state_flag_get(handle, tx, grown, 0, &err), 0);
    expect_error(EINVAL);
    st_grown_minute_state_flag_get_arr(handle, tx, grown, &flags, &err);
    expect_error(EINVAL);
    EXPECT_EQ(flags, nullptr);
    st_grown_minute_state_flag_whole_set(handle, tx, grown, 1, &err);
    expect_error(EINVAL);
    st_grown_minute_state_flag_set(handle, tx, grown, 0, 1, &err);
    expect_error(EINVAL);
    const std::vector<u8> source(minutes, 9);
    const auto before = bytes_of(grown, grown_size);
    st_grown_minute_state_flag_set_arr(handle, tx, grown, source.data(), minutes, &err);
    expect_error(EINVAL);
    EXPECT_EQ(bytes_of(grown, grown_size), before);
}

// ---- Flags ---------------------------------------------------------------------------

TEST_F(ArrayFlags, TheWholeArrayHasItsOwnFlag) {
    HookRecorder hooks(handle);
    st_grown_minute_state_flag_whole_set(handle, tx, grown, 8, &err);
    EXPECT_EQ(st_grown_minute_state_flag_whole_get(handle, tx, grown, &err), 8);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(*state(whole), 8);
    EXPECT_EQ(*state(first), 0);
    EXPECT_TRUE(hooks.announced(state(whole), 1));
    EXPECT_EQ(kel_get_instance_modified(grown, 1, 0), 1U);
}

TEST_F(ArrayFlags, AnElementHasItsOwnFlag) {
    HookRecorder hooks(handle);
    st_grown_minute_state_flag_set(handle, tx, grown, 1439, 8, &err);
    EXPECT_EQ(st_grown_minute_state_flag_get(handle, tx, grown, 1439, &err), 8);
    EXPECT_EQ(st_grown_minute_state_flag_get(handle, tx, grown, 1438, &err), 0);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(*state(first + 1439), 8);
    EXPECT_EQ(*state(first + 1440), 0);
    EXPECT_TRUE(hooks.announced(state(first + 1439), 1));
    EXPECT_EQ(kel_get_instance_modified(grown, 1, 0), 1U);
}

TEST_F(ArrayFlags, AnIndexBeyondTheArrayFailsWithEnoent) {
    const auto before = bytes_of(state(0), grown_states);
    EXPECT_EQ(st_grown_minute_state_flag_get(handle, tx, grown, minutes, &err), 0);
    expect_error(ENOENT);
    st_grown_minute_state_flag_set(handle, tx, grown, minutes, 8, &err);
    expect_error(ENOENT);
    EXPECT_EQ(bytes_of(state(0), grown_states), before);
}

TEST_F(ArrayFlags, TheElementFlagsFollowTheWholeArraysFlag) {
    u8 *flags = nullptr;
    st_grown_minute_state_flag_get_arr(handle, tx, grown, &flags, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(flags, state(first));
}

TEST_F(ArrayFlags, SettingAllElementFlagsNeedsExactlyOnePerElement) {
    const std::vector<u8> source(minutes, 9);
    st_grown_minute_state_flag_set_arr(handle, tx, grown, source.data(), minutes - 1, &err);
    expect_error(ENOENT);
    st_grown_minute_state_flag_set_arr(handle, tx, grown, source.data(), minutes + 1, &err);
    expect_error(ENOENT);
    EXPECT_EQ(bytes_of(state(0), grown_states), std::vector<u8>(grown_states));
}

TEST_F(ArrayFlags, SettingAllElementFlagsWritesTheBlockFromItsStartUnannounced) {
    std::vector<u8> source(minutes);
    std::iota(source.begin(), source.end(), u8{3});
    HookRecorder hooks(handle);
    services.clear();
    st_grown_minute_state_flag_set_arr(handle, tx, grown, source.data(), minutes, &err);
    EXPECT_EQ(err, 0U);
    std::vector<u8> expected = source;
    expected.resize(grown_states);
    EXPECT_EQ(bytes_of(state(0), grown_states), expected);
    EXPECT_EQ(st_grown_name_state_flag_get(handle, tx, grown, &err), 3);
    EXPECT_EQ(hooks.count(Hook::write_log), 0U);
    EXPECT_EQ(services.calls("kel_set_instance_modified", grown).at(0).arguments,
              words(grown, 1, 0, 1));
}

TEST_F(ArrayFlags, AnInstanceTooOldForTheArrayKeepsItsFlags) {
    kel_handle_set_variant(handle, &_st_grown_type_info_internal, -1);
    head(grown)->variant = -1;
    const std::vector<u8> source(minutes, 9);
    st_grown_minute_state_flag_whole_set(handle, tx, grown, 1, &err);
    expect_error(EIDRM);
    st_grown_minute_state_flag_set(handle, tx, grown, 0, 1, &err);
    expect_error(EIDRM);
    st_grown_minute_state_flag_set_arr(handle, tx, grown, source.data(), minutes, &err);
    expect_error(EIDRM);
    EXPECT_EQ(bytes_of(state(0), grown_states), std::vector<u8>(grown_states));
}

}  // namespace
}  // namespace tarn::test
