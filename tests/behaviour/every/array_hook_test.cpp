// SPDX-License-Identifier: Apache-2.0
// The two arrays of minutes: what their writes announce and mark, and when they fail.
#include <cerrno>
#include <utility>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/minutes.h"
#include "tests/support/services.h"

namespace tarn::test {
namespace {

class MinuteStores : public MinuteTest {
 protected:
    void SetUp() override {
        MinuteTest::SetUp();
        typed("set_all_state_tracking_flag", {object, 9});
        head(object)->flags &= static_cast<u8>(~OBJ_MODIFIED);
    }
    void expect_error(u32 expected) {
        EXPECT_EQ(err, expected);
        EXPECT_EQ(handle->last_error, expected);
        err = 0;
    }
    std::vector<u8> bytes() const {
        return {at(object, 0), at(object, type.plain_size + (tracking ? type.state_length : 0))};
    }
    u8 *element(u32 index) { return at(object, field->offset + index); }
    u8 *flag(u32 position) { return at(object, type.plain_size + field->state + position); }
    // The announcements and marks of a write, in order.
    using Steps = std::vector<std::pair<const void *, u64>>;
    Steps steps(const ServiceRecorder &recorder) const {
        Steps found;
        for (const ServiceCall &call : recorder.calls()) {
            if (call.name == "write_log_hook") {
                found.emplace_back(call.pointer<const void>(1), call.arguments[2]);
            } else if (call.name == "kel_set_instance_modified") {
                found.emplace_back(call.pointer<const void>(0), 0);
                EXPECT_EQ(call.arguments[1], 1U);
                EXPECT_EQ(call.arguments[2], 0U);
                EXPECT_EQ(call.arguments[3], 1U);
            }
        }
        return found;
    }
};

INSTANTIATE_TEST_SUITE_P(Every, MinuteStores, ::testing::ValuesIn(with_minutes()),
                         name_in_mode<Structure>);

TEST_P(MinuteStores, ABlockWriteAnnouncesItsBytesThenTheWholeArraysFlagAndMarks) {
    const std::vector<u8> source(minutes, 3);
    ServiceRecorder recorder(handle);
    on("set_mem", {source.data(), 100});
    Steps expected = {{element(0), 100}};
    if (tracking) expected.emplace_back(flag(0), 1);
    expected.emplace_back(object, 0);
    EXPECT_EQ(steps(recorder), expected);
    EXPECT_EQ(recorder.order(
                  {"kel_clear_last_error", "kellib_adjust_variant", "kel_get_instance_variant"}),
              "kel_clear_last_error kellib_adjust_variant kel_get_instance_variant");
    if (tracking) {
        EXPECT_EQ(*flag(0), 2);
        EXPECT_EQ(std::vector<u8>(flag(1), flag(1) + minutes), std::vector<u8>(minutes, 9));
    }
}

TEST_P(MinuteStores, SettingAnElementFromASourceAnnouncesItAndBothFlagsWithoutAMark) {
    const u8 source = 3;
    ServiceRecorder recorder(handle);
    on("set", {1439, &source});
    Steps expected = {{element(1439), 1}};
    if (tracking) expected.insert(expected.end(), {{flag(0), 1}, {flag(1440), 1}});
    EXPECT_EQ(steps(recorder), expected);
    EXPECT_EQ(recorder.order({"kel_clear_last_error", "kellib_adjust_variant",
                              "kel_get_instance_variant", "u_int8_set"}),
              "kel_clear_last_error kellib_adjust_variant kel_get_instance_variant u_int8_set");
    if (tracking) {
        EXPECT_EQ(*flag(0), 2);
        EXPECT_EQ(*flag(1440), 2);
        EXPECT_EQ(*flag(1439), 9);
    }
}

TEST_P(MinuteStores, SettingAnElementsValueAnnouncesItAndBothFlagsAndMarksTheObject) {
    ServiceRecorder recorder(handle);
    on("set_value", {0, 3});
    Steps expected = {{element(0), 1}};
    if (tracking) expected.insert(expected.end(), {{flag(0), 1}, {flag(1), 1}});
    expected.emplace_back(object, 0);
    EXPECT_EQ(steps(recorder), expected);
    EXPECT_EQ(recorder.order({"kellib_adjust_variant", "u_int8_get", "u_int8_set_value"}),
              "kellib_adjust_variant u_int8_get u_int8_set_value");
}

TEST_P(MinuteStores, AReadOfAValueRunsPrologueAndCheckTwice) {
    ServiceRecorder recorder(handle);
    on<u8>("get_value", {5});
    EXPECT_EQ(recorder.order({"kel_clear_last_error", "kel_get_instance_variant", "u_int8_get",
                              "u_int8_get_value"}),
              "kel_clear_last_error kel_get_instance_variant kel_clear_last_error "
              "kel_get_instance_variant u_int8_get u_int8_get_value");
    recorder.clear();
    u8 out[3];
    on("get_mem", {out, 3});
    EXPECT_EQ(recorder.calls().size(), 2U);
    EXPECT_EQ(recorder.order({"kel_clear_last_error", "kel_get_instance_variant"}),
              "kel_clear_last_error kel_get_instance_variant");
}

TEST_P(MinuteStores, ANullSourceDoesNothing) {
    const std::vector<u8> before = bytes();
    ServiceRecorder recorder(handle);
    on("set", {0, nullptr});
    EXPECT_TRUE(steps(recorder).empty());
    EXPECT_EQ(bytes(), before);
}

TEST_P(MinuteStores, ANegativeLengthIsNoErrorAndCopiesNothing) {
    u8 byte = 77;
    const std::vector<u8> before(element(0), element(minutes));
    on("get_mem", {&byte, -1});
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(byte, 77);
    on("set_mem", {&byte, -1});
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(std::vector<u8>(element(0), element(minutes)), before);
}

TEST_P(MinuteStores, AnInstanceOfANegativeVariantFailsWithEidrmAndIsUnchanged) {
    const std::int8_t variant = head(object)->variant;
    kel_handle_set_variant(handle, type.descriptor, -1);
    head(object)->variant = -1;
    const std::vector<u8> before = bytes();
    u8 byte = 5;
    std::vector<u8> all(minutes, 5);
    EXPECT_EQ(on<u8 *>("get", {0}), nullptr);
    expect_error(EIDRM);
    EXPECT_EQ(on<u8>("get_value", {0}), 0);
    expect_error(EIDRM);
    std::vector<std::pair<const char *, std::vector<Word>>> calls = {{"get_mem", {&byte, 1}},
                                                                     {"set_mem", {&byte, 1}},
                                                                     {"set", {0, &byte}},
                                                                     {"set_value", {0, 5}}};
    if (tracking) {
        calls.insert(calls.end(), {{"state_flag_whole_set", {1}},
                                   {"state_flag_set", {0, 1}},
                                   {"state_flag_set_arr", {all.data(), minutes}}});
    }
    for (const auto &[operation, arguments] : calls) {
        SCOPED_TRACE(operation);
        on(operation, arguments);
        expect_error(EIDRM);
    }
    if (tracking) {
        EXPECT_EQ(on<u8>("state_flag_get", {0}), 9);
        EXPECT_EQ(on<u8>("state_flag_whole_get", {}), 9);
    }
    EXPECT_EQ(byte, 5);
    EXPECT_EQ(bytes(), before);
    head(object)->variant = variant;
    kel_handle_set_variant(handle, type.descriptor, variant);
}

TEST_P(MinuteStores, AWriteToAnObjectWithoutABlockFailsInATrackingHandle) {
    if (tracking) return;
    const u8 source = 3;
    const std::vector<u8> before = bytes();
    kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_ON);
    on("set_mem", {&source, 1});
    expect_error(EINVAL);
    EXPECT_EQ(std::vector<u8>(at(object, 0), at(object, type.plain_size)), before)
        << "a block write fails before any change";
    on("set", {1, &source});
    expect_error(EINVAL);
    on("set_value", {2, 4});
    expect_error(EINVAL);
    EXPECT_EQ(*element(1), 3) << "an element's write fails with its value in place";
    EXPECT_EQ(*element(2), 4);
    EXPECT_EQ(head(object)->flags & OBJ_MODIFIED, 0);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"), 3U);
    kel_handle_set_state_tracking(handle, 0);
}

TEST_P(MinuteStores, ModeAndObjectAreCheckedBeforeTheIndex) {
    if (tracking) {
        kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_OFF);
        on<u8>("state_flag_get", {minutes});
        expect_error(EINVAL);
        on("state_flag_set", {minutes, 1});
        expect_error(EINVAL);
        EXPECT_TRUE(trace.lines.empty()) << trace.all();
        kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_ON);
    } else {
        on<u8>("state_flag_get", {minutes});
        expect_error(EINVAL);
        EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is non state tracked"), 1U);
        on("state_flag_set", {minutes, 1});
        expect_error(EINVAL);
        EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): The object is not state tracked"), 1U);
    }
}

TEST_P(MinuteStores, SettingFlagsAnnouncesEachByteButNotAllAtOnce) {
    if (!tracking) return;
    const std::vector<u8> source(minutes, 4);
    ServiceRecorder recorder(handle);
    on("state_flag_set", {7, 4});
    EXPECT_EQ(steps(recorder), (Steps{{flag(8), 1}, {object, 0}}));
    recorder.clear();
    on("state_flag_whole_set", {4});
    EXPECT_EQ(steps(recorder), (Steps{{flag(0), 1}, {object, 0}}));
    recorder.clear();
    on("state_flag_set_arr", {source.data(), minutes});
    EXPECT_EQ(steps(recorder), (Steps{{object, 0}}));
    EXPECT_EQ(recorder.order({"kellib_adjust_variant", "kel_get_instance_variant"}),
              "kellib_adjust_variant kel_get_instance_variant");
}

}  // namespace
}  // namespace tarn::test
