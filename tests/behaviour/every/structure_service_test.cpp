// SPDX-License-Identifier: Apache-2.0
// The services that the operations of each field call, their arguments and their order.
#include <cerrno>

#include "tests/behaviour/every/structure_services.h"

namespace tarn::test {
namespace {

class StructureServices : public ServicesTest {};
TARN_EACH_STRUCTURE(StructureServices);

const std::vector<std::string> steps = {
    "kel_clear_last_error",      "kellib_adjust_variant", "kel_get_instance_variant",
    "kel_set_instance_modified", "kel_store_err",         "kel_store_epoch_err"};

std::vector<std::string> steps_and(std::initializer_list<std::string> more) {
    std::vector<std::string> all = steps;
    all.insert(all.end(), more);
    return all;
}

TEST_P(StructureServices, AReadClearsTheLastErrorThenGetsTheVariantThenTheField) {
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::array) continue;
        SCOPED_TRACE(field.name);
        const std::string name = field.name;
        ServiceRecorder recorder(handle);
        typed(name + "_get", {object, &err});
        expect_pair(recorder, field);
        const char *value = service_of(field.kind);
        if (value == nullptr) continue;
        const std::string get = std::string(value) + "_get";
        const std::string expected = "kel_clear_last_error kel_get_instance_variant " + get;
        EXPECT_EQ(recorder.order(steps_and({get})), expected);
        EXPECT_EQ(recorder.calls(get)[0].arguments[2], word(at(object, field.offset)));
        if (!has_plain_value(field.kind)) continue;
        recorder.clear();
        typed(name + "_get_value", {object, &err});
        EXPECT_EQ(recorder.order(steps_and({get, get + "_value"})),
                  expected + " " + get + "_value");
        expect_pair(recorder, field);
    }
}

TEST_P(StructureServices, AWriteFromASourceAdjustsChecksSetsAndMarks) {
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::array) continue;
        SCOPED_TRACE(field.name);
        const std::string name = field.name;
        void *source = typed.operator()<void *>(name + "_get", {other, &err});
        ServiceRecorder recorder(handle);
        typed(name + "_set", {object, source, &err});
        expect_pair(recorder, field);
        expect_marked(recorder, field);
        EXPECT_EQ(recorder.calls()[0].name, "kel_clear_last_error");
        EXPECT_EQ(recorder.calls()[1].name, "kellib_adjust_variant");
        EXPECT_EQ(recorder.calls()[2].name, "kel_get_instance_variant");
        const char *value = service_of(field.kind);
        if (value == nullptr) continue;
        const std::string set = std::string(value) + "_set";
        EXPECT_EQ(recorder.order(steps_and({set})),
                  "kel_clear_last_error kellib_adjust_variant kel_get_instance_variant " + set +
                      " kel_set_instance_modified");
        EXPECT_EQ(recorder.calls(set)[0].arguments[2], word(at(object, field.offset)));
        EXPECT_EQ(recorder.calls(set)[0].arguments[3], word(source));
    }
}

TEST_P(StructureServices, AWriteOfAValueRunsTheReadPathToo) {
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        SCOPED_TRACE(field.name);
        ServiceRecorder recorder(handle);
        typed(std::string(field.name) + "_set_value", {object, plain_value(field, 3), &err});
        expect_pair(recorder, field);
        expect_marked(recorder, field);
        EXPECT_EQ(of(recorder, "kellib_adjust_variant", object, 2)[4],
                  static_cast<u64>(type.top_variant));
        const char *value = service_of(field.kind);
        if (value == nullptr) continue;
        const std::string get = std::string(value) + "_get",
                          set = std::string(value) + "_set_value";
        EXPECT_EQ(recorder.order(steps_and({get, set})),
                  "kel_clear_last_error kellib_adjust_variant kel_get_instance_variant "
                  "kel_clear_last_error kel_get_instance_variant " +
                      get + " " + set + " kel_set_instance_modified");
    }
}

TEST_P(StructureServices, AReadThatFailsEndsAWriteOfAValue) {
    for (const Field &field : fields_of(type)) {
        const char *value = service_of(field.kind);
        if (!has_plain_value(field.kind) || value == nullptr) continue;
        SCOPED_TRACE(field.name);
        const std::string name = field.name, get = std::string(value) + "_get";
        ServiceRecorder recorder(handle);
        recorder.fail(get, 1);
        typed(name + "_set_value", {object, plain_value(field, 3), &err});
        EXPECT_EQ(err, EINVAL);
        EXPECT_EQ(recorder.calls().back().name, get);
        err = 0;
        recorder.fail(get, 1);
        EXPECT_EQ(narrowed(field.kind, typed.operator()<u64>(name + "_get_value", {object, &err})),
                  0U);
        EXPECT_EQ(err, EINVAL);
        EXPECT_EQ(recorder.calls().back().name, get);
        err = 0;
    }
    typed.check(object, 1);
}

TEST_P(StructureServices, AFailedStoreStillMarksTheField) {
    for (const Field &field : fields_of(type)) {
        const char *value = service_of(field.kind);
        if (value == nullptr) continue;
        SCOPED_TRACE(field.name);
        const std::string name = field.name;
        typed("set_all_state_tracking_flag", {object, 0});
        ServiceRecorder recorder(handle);
        recorder.fail(std::string(value) + "_set", 1, 12);
        typed(name + "_set", {object, at(other, field.offset), &err});
        EXPECT_EQ(err, ENOMEM);
        err = 0;
        expect_marked(recorder, field);
        if (tracking) {
            EXPECT_EQ(at(object, type.plain_size)[field.state], 2);
        }
    }
}

TEST_P(StructureServices, AFlagsWriteAdjustsChecksAndMarksAndItsReadCallsNoService) {
    if (!tracking) return;
    for (const Field &field : fields_of(type)) {
        SCOPED_TRACE(field.name);
        const std::string stem = std::string(field.name) + "_state_flag" +
                                 (field.kind == FieldKind::array ? "_whole" : "");
        ServiceRecorder recorder(handle);
        within(stem + "_set", {object, 5, &err});
        EXPECT_EQ(recorder.order(steps),
                  "kellib_adjust_variant kel_get_instance_variant kel_set_instance_modified");
        expect_adjusted(recorder);
        expect_pair(recorder, field);
        expect_marked(recorder, field);
        recorder.clear();
        typed(stem + "_get", {object, &err});
        EXPECT_TRUE(recorder.calls().empty());
    }
}

}  // namespace
}  // namespace tarn::test
