// SPDX-License-Identifier: Apache-2.0
// The services that the operations on each structure as a whole call, their arguments
// and their order.
#include <cerrno>

#include "tests/behaviour/every/structure_services.h"

namespace tarn::test {
namespace {

class WholeServices : public ServicesTest {};
TARN_EACH_STRUCTURE(WholeServices);

TEST_P(WholeServices, AReadOfAllValuesChecksTheVariantOnceAndReadsInFieldOrder) {
    std::vector<u64> out(type.field_count);
    std::vector<Word> arguments = {object};
    std::vector<FieldCall> expected;
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        arguments.emplace_back(&out[expected.size()]);
        expected.push_back({std::string(), at(object, field.offset), 0});
    }
    arguments.emplace_back(&err);
    ServiceRecorder recorder(handle);
    typed("get_all", arguments);
    EXPECT_EQ(recorder.calls()[0].name, "kel_clear_last_error");
    EXPECT_EQ(recorder.calls()[1].name, "kel_get_instance_variant");
    EXPECT_EQ(recorder.calls()[1].arguments, (Words{word(object), 1, 0}));
    std::vector<FieldCall> read;
    for (const ServiceCall &call : recorder.calls()) {
        if (call.name.size() < 10 || call.name.substr(call.name.size() - 10) != "_get_value")
            continue;
        read.push_back({std::string(), call.pointer<const void>(2), 0});
    }
    // The library reads enumerations itself.
    std::erase_if(expected, [this](const FieldCall &each) {
        return std::any_of(type.fields, type.fields + type.field_count, [&](const Field &field) {
            return field.kind == FieldKind::enumeration && at(object, field.offset) == each.subject;
        });
    });
    EXPECT_EQ(read, expected);
}

TEST_P(WholeServices, AWriteOfAllValuesMarksTheObjectOncePerFieldInFieldOrder) {
    std::vector<Word> arguments = {object};
    std::vector<Words> expected;
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        arguments.emplace_back(plain_value(field, 3));
        expected.push_back({word(object), 1, is_small(field.kind), 1});
    }
    arguments.emplace_back(&err);
    ServiceRecorder recorder(handle);
    within("set_all", arguments);
    EXPECT_EQ(recorder.calls()[0].name, "kel_clear_last_error");
    EXPECT_EQ(recorder.calls()[1].name, "kellib_adjust_variant");
    expect_adjusted(recorder);
    EXPECT_EQ(recorder.calls()[2].name, "kel_get_instance_variant");
    EXPECT_EQ(recorder.calls()[2].arguments, (Words{word(object), 1, 0}));
    std::vector<Words> marks;
    for (const ServiceCall &call : recorder.calls("kel_set_instance_modified")) {
        if (call.arguments[0] == word(object)) marks.push_back(call.arguments);
    }
    EXPECT_EQ(marks, expected);
}

TEST_P(WholeServices, AFailedStoreDoesNotStopTheOthers) {
    const Field *failing = nullptr;
    std::vector<Word> arguments = {object};
    std::size_t values = 0;
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        ++values;
        arguments.emplace_back(plain_value(field, 3));
        if (failing == nullptr && service_of(field.kind) != nullptr) failing = &field;
    }
    if (failing == nullptr) return;
    arguments.emplace_back(&err);
    std::size_t stored = 0, marked = 0;
    {
        ServiceRecorder recorder(handle);
        recorder.fail(std::string(service_of(failing->kind)) + "_set_value", 1);
        typed("set_all", arguments);
        EXPECT_EQ(err, EINVAL);
        err = 0;
        for (const ServiceCall &call : recorder.calls()) {
            if (call.name.find("_set_value") != std::string::npos) ++stored;
        }
        for (const ServiceCall &call : recorder.calls("kel_set_instance_modified")) {
            if (call.pointer<void>(0) == object) ++marked;
        }
    }
    typed.check_field(object, *failing, 1);
    EXPECT_EQ(marked, values);
    EXPECT_EQ(stored,
              std::count_if(type.fields, type.fields + type.field_count, [](const Field &field) {
                  return has_plain_value(field.kind) && service_of(field.kind) != nullptr;
              }));
}

TEST_P(WholeServices, ACopyAdjustsTheDestinationAndSetsOwningFieldsInOrder) {
    std::vector<FieldCall> expected;
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::vstring || field.kind == FieldKind::address) {
            expected.push_back({std::string(service_of(field.kind)) + "_set",
                                at(object, field.offset), word(at(other, field.offset))});
        } else if (field.structure != nullptr) {
            expected.push_back({"kellib_adjust_variant", at(object, field.offset), 0});
        }
    }
    for (const char *operation : {"set", "post_copyout_cleanup"}) {
        ServiceRecorder recorder(handle);
        typed(operation, {object, other, &err});
        std::vector<FieldCall> made;
        for (const FieldCall &each :
             calls_of(recorder, {"kel_vstring_set", "ip_address_set"}, 2, 3)) {
            made.push_back(each);
        }
        std::vector<FieldCall> leaves = expected;
        std::erase_if(
            leaves, [](const FieldCall &each) { return each.service == "kellib_adjust_variant"; });
        // Not the fields of nested structures.
        std::erase_if(made, [&](const FieldCall &each) {
            return std::find(leaves.begin(), leaves.end(), each) == leaves.end();
        });
        EXPECT_EQ(made, leaves) << operation;
        for (const FieldCall &each : expected) {
            if (each.service != "kellib_adjust_variant") continue;
            EXPECT_FALSE(of(recorder, each.service, each.subject, 2).empty()) << operation;
        }
        EXPECT_EQ(of(recorder, "kellib_adjust_variant", object, 2).empty(),
                  std::string(operation) != "set");
        EXPECT_TRUE(of(recorder, "kel_set_instance_modified", object, 0).empty());
        EXPECT_EQ(recorder.count("kel_boolean_set"), 0U);
    }
}

TEST_P(WholeServices, ACopyOutSetsNoPlainValueAndNoArray) {
    typed("post_copyout_cleanup", {object, other, &err});
    for (const Field &field : fields_of(type)) {
        typed.check_field(object, field, owns_state(field.kind) ? 2 : 1);
    }
}

TEST_P(WholeServices, ACopyOntoItselfOnlyAdjustsTheVariant) {
    ServiceRecorder recorder(handle);
    within("set", {object, object, &err});
    ASSERT_EQ(recorder.calls().size(), 1U);
    expect_adjusted(recorder);
}

TEST_P(WholeServices, ACopyWithAnErrorSetContinuesAndKeepsIt) {
    err = ENOMEM;
    handle->last_error = E2BIG;
    typed("set", {object, other, &err});
    EXPECT_EQ(err, ENOMEM);
    err = 0;
    typed.check(object, 2);
}

TEST_P(WholeServices, TheWholeObjectsGetCallsNoService) {
    ServiceRecorder recorder(handle);
    err = ENOMEM;
    EXPECT_EQ(typed.operator()<void *>("get", {object, &err}), object);
    EXPECT_EQ(typed.operator()<void *>("get", {nullptr, &err}), nullptr);
    EXPECT_EQ(err, ENOMEM);
    err = 0;
    EXPECT_TRUE(recorder.calls().empty());
}

void add_updates(const Structure &type, void *object, u8 *base, std::vector<FieldCall> &expected) {
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        u8 *place = at(object, field.offset);
        u8 *position = base + field.state + 1;
        expected.push_back(
            {"kellib_update_sttr_offset", place, static_cast<u32>(position - place)});
        if (field.structure != nullptr) {
            add_updates(*field.structure, place, position, expected);
        } else {
            expected.push_back(
                {std::string(service_of(field.kind)) + "_offset_update", place, word(position)});
        }
    }
}

void add_removals(const Structure &type, void *object, std::vector<FieldCall> &expected) {
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        u8 *place = at(object, field.offset);
        expected.push_back({"kel_hd_mapping_destroy", place, 0});
        if (field.structure != nullptr) {
            add_removals(*field.structure, place, expected);
        } else {
            expected.push_back({std::string(service_of(field.kind)) + "_offset_remove", place, 0});
        }
    }
}

TEST_P(WholeServices, ACopyInATrackingHandleSetsTheOffsetsForItsOwnBlock) {
    if (!tracking) return;
    std::vector<FieldCall> expected;
    add_updates(type, object, at(object, type.plain_size), expected);
    ServiceRecorder recorder(handle);
    within("set", {object, other, &err});
    std::vector<FieldCall> made = calls_of(
        recorder,
        {"kellib_update_sttr_offset", "kel_vstring_offset_update", "ip_address_offset_update"}, 2,
        3);
    // The copies of nested structures record their places again.
    ASSERT_GE(made.size(), expected.size());
    made.resize(expected.size());
    EXPECT_EQ(made, expected);
}

TEST_P(WholeServices, OffsetsAreSetAndClearedInFieldOrder) {
    if (!tracking) return;
    u8 *base = at(object, type.plain_size) + 64;
    std::vector<FieldCall> expected;
    add_updates(type, object, base, expected);
    {
        ServiceRecorder recorder(handle);
        within("offset_update", {object, base, &err});
        EXPECT_EQ(calls_of(recorder,
                           {"kellib_update_sttr_offset", "kel_vstring_offset_update",
                            "ip_address_offset_update"},
                           2, 3),
                  expected);
    }
    expected.clear();
    add_removals(type, object, expected);
    ServiceRecorder recorder(handle);
    within("offset_remove", {object, &err});
    EXPECT_EQ(calls_of(recorder,
                       {"kel_hd_mapping_destroy", "kel_vstring_offset_remove",
                        "ip_address_offset_remove"},
                       2, 0),
              expected);
}

void add_endings(const Structure &type, void *object, std::vector<FieldCall> &expected) {
    for (const Field &field : fields_of(type)) {
        if (!owns_state(field.kind)) continue;
        u8 *place = at(object, field.offset);
        if (field.structure != nullptr) {
            add_endings(*field.structure, place, expected);
            continue;
        }
        const std::string value = service_of(field.kind);
        expected.push_back({value + "_get_oid_count", place, 0});
        expected.push_back({value + "_destroy_internal", place, 0});
    }
}

TEST_P(WholeServices, DestructionReadsTheReferencesOfEachFieldAndDestroysItInPlace) {
    void *third = within.create();
    std::vector<FieldCall> expected;
    add_endings(type, third, expected);
    ServiceRecorder recorder(handle);
    within.destroy(third);
    std::vector<FieldCall> made;
    for (const ServiceCall &call : recorder.calls()) {
        const bool ends = call.name.find("_destroy_internal") != std::string::npos;
        if (!ends && call.name.find("_get_oid_count") == std::string::npos) continue;
        made.push_back({call.name, call.pointer<const void>(2), ends ? call.arguments[3] : 0});
    }
    EXPECT_EQ(made, expected);
    EXPECT_EQ(recorder.count("kellib_get_sttr_offset"), recorder.count("kel_hd_mapping_destroy"))
        << "called for the nested objects that are in the mapping";
}

TEST_P(WholeServices, InitializationLooksTheVariantUpWithTheConstantDescriptor) {
    ServiceRecorder recorder(handle);
    void *third = within.create();
    EXPECT_EQ(recorder.calls("kel_domain_lookup_variant")[0].arguments[0], word(handle));
    EXPECT_EQ(recorder.calls("kel_domain_lookup_variant")[0].arguments[1],
              word(&handle->variant_domain));
    EXPECT_EQ(recorder.calls("kel_domain_lookup_variant")[0].arguments[2], word(type.descriptor));
    within.destroy(third);
}

}  // namespace
}  // namespace tarn::test
