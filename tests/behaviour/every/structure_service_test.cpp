// SPDX-License-Identifier: Apache-2.0
// Which services each operation of each structure asks, with what, in which order.
#include <algorithm>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/objects.h"
#include "tests/support/services.h"

namespace tarn::test {
namespace {

using Words = std::vector<u64>;

u64 word(const void *pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

const char *service_of(FieldKind kind) {
    switch (kind) {
        case FieldKind::u_int8:
            return "u_int8";
        case FieldKind::u_int16:
            return "u_int16";
        case FieldKind::u_int32:
            return "u_int32";
        case FieldKind::u_int64:
            return "u_int64";
        case FieldKind::int32:
            return "int32";
        case FieldKind::int64:
            return "int64";
        case FieldKind::boolean:
            return "kel_boolean";
        case FieldKind::vstring:
            return "kel_vstring";
        case FieldKind::address:
            return "ip_address";
        default:
            return nullptr;  // the library's own
    }
}

// A call of a service about a field, and what it is given.
struct Asked {
    std::string service;
    const void *subject = nullptr;
    u64 detail = 0;

    bool operator==(const Asked &) const = default;
};
void PrintTo(const Asked &asked, std::ostream *out) {
    *out << asked.service << ' ' << asked.subject << ' ' << asked.detail;
}

class StructureServices : public StructureTest {
 protected:
    void SetUp() override {
        object = within.create();
        other = within.create();
        within.fill(object, 1);
        within.fill(other, 2);
    }
    void TearDown() override {
        within.destroy(object);
        within.destroy(other);
        ASSERT_EQ(kel_transaction_commit(handle, tx), 0U);
        StructureTest::TearDown();
    }
    // The calls of these services, as names, about `subject` in their argument at
    // `place`, joined by blanks.
    std::vector<Asked> asked(const ServiceRecorder &recorder,
                             const std::vector<std::string> &services, std::size_t subject,
                             std::size_t detail) const {
        std::vector<Asked> found;
        for (const ServiceCall &call : recorder.calls()) {
            if (std::find(services.begin(), services.end(), call.name) == services.end()) continue;
            found.push_back({call.name, call.pointer<const void>(subject),
                             detail == 0 ? 0 : call.arguments.at(detail)});
        }
        return found;
    }
    static Words of(const ServiceRecorder &recorder, const std::string &service,
                    const void *subject, std::size_t place) {
        for (const ServiceCall &call : recorder.calls(service)) {
            if (call.pointer<const void>(place) == subject) return call.arguments;
        }
        return {};
    }
    void expect_pair(const ServiceRecorder &recorder, const Field &field) const {
        EXPECT_EQ(of(recorder, "kel_get_instance_variant", object, 0),
                  (Words{word(object), 1, is_small(field.kind)}));
    }
    void expect_adjusted(const ServiceRecorder &recorder) const {
        EXPECT_EQ(of(recorder, "kellib_adjust_variant", object, 2),
                  (Words{word(handle), tx, word(object), word(head(object)->descriptor),
                         static_cast<u64>(type.top_variant), word(&err)}));
    }
    void expect_marked(const ServiceRecorder &recorder, const Field &field) const {
        EXPECT_EQ(of(recorder, "kel_set_instance_modified", object, 0),
                  (Words{word(object), 1, is_small(field.kind), 1}));
        EXPECT_EQ(recorder.calls().back().name, "kel_set_instance_modified");
    }

    u32 begin() const {
        u32 started = 0;
        EXPECT_EQ(kel_transaction_begin(handle, &started), 0U);
        return started;
    }

    const u32 tx = begin();
    const Typed within{type, handle, tx};
    void *object = nullptr;
    void *other = nullptr;
};
TARN_EACH_STRUCTURE(StructureServices);

const std::vector<std::string> steps = {
    "kel_clear_last_error",      "kellib_adjust_variant", "kel_get_instance_variant",
    "kel_set_instance_modified", "kel_store_err",         "kel_store_epoch_err"};

std::vector<std::string> steps_and(std::initializer_list<std::string> more) {
    std::vector<std::string> all = steps;
    all.insert(all.end(), more);
    return all;
}

TEST_P(StructureServices, AReadClearsTheLastErrorAsksForTheVariantThenForTheField) {
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

TEST_P(StructureServices, AWriteFromASourceAdjustsTestsSetsAndMarks) {
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

TEST_P(StructureServices, AWriteOfAValueGoesThroughTheReadPathOnceMore) {
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

TEST_P(StructureServices, AFlagsWriteAdjustsTestsAndMarksAndItsReadAsksNothing) {
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

TEST_P(StructureServices, AReadOfAllValuesTestsTheVariantOnceAndReadsInFieldOrder) {
    std::vector<u64> out(type.field_count);
    std::vector<Word> arguments = {object};
    std::vector<Asked> expected;
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
    std::vector<Asked> read;
    for (const ServiceCall &call : recorder.calls()) {
        if (call.name.size() < 10 || call.name.substr(call.name.size() - 10) != "_get_value")
            continue;
        read.push_back({std::string(), call.pointer<const void>(2), 0});
    }
    // Enumerations are read by the library itself.
    std::erase_if(expected, [this](const Asked &each) {
        return std::any_of(type.fields, type.fields + type.field_count, [&](const Field &field) {
            return field.kind == FieldKind::enumeration && at(object, field.offset) == each.subject;
        });
    });
    EXPECT_EQ(read, expected);
}

TEST_P(StructureServices, AWriteOfAllValuesMarksTheObjectOnceAFieldInFieldOrder) {
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

TEST_P(StructureServices, ACopyAdjustsTheDestinationAndSetsWhatOwnsAPlaceInFieldOrder) {
    std::vector<Asked> expected;
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
        std::vector<Asked> made;
        for (const Asked &each : asked(recorder, {"kel_vstring_set", "ip_address_set"}, 2, 3)) {
            made.push_back(each);
        }
        std::vector<Asked> leaves = expected;
        std::erase_if(leaves,
                      [](const Asked &each) { return each.service == "kellib_adjust_variant"; });
        // What lies in nested structures is theirs.
        std::erase_if(made, [&](const Asked &each) {
            return std::find(leaves.begin(), leaves.end(), each) == leaves.end();
        });
        EXPECT_EQ(made, leaves) << operation;
        for (const Asked &each : expected) {
            if (each.service != "kellib_adjust_variant") continue;
            EXPECT_FALSE(of(recorder, each.service, each.subject, 2).empty()) << operation;
        }
        EXPECT_EQ(of(recorder, "kellib_adjust_variant", object, 2).empty(),
                  std::string(operation) != "set");
        EXPECT_TRUE(of(recorder, "kel_set_instance_modified", object, 0).empty());
        EXPECT_EQ(recorder.count("kel_boolean_set"), 0U);
    }
}

void add_updates(const Structure &type, void *object, u8 *base, std::vector<Asked> &expected) {
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

void add_removals(const Structure &type, void *object, std::vector<Asked> &expected) {
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

TEST_P(StructureServices, SharesArePlacedInFieldOrderAndForgottenLikewise) {
    if (!tracking) return;
    u8 *base = at(object, type.plain_size) + 64;
    std::vector<Asked> expected;
    add_updates(type, object, base, expected);
    {
        ServiceRecorder recorder(handle);
        within("offset_update", {object, base, &err});
        EXPECT_EQ(asked(recorder,
                        {"kellib_update_sttr_offset", "kel_vstring_offset_update",
                         "ip_address_offset_update"},
                        2, 3),
                  expected);
    }
    expected.clear();
    add_removals(type, object, expected);
    ServiceRecorder recorder(handle);
    within("offset_remove", {object, &err});
    EXPECT_EQ(
        asked(recorder,
              {"kel_hd_mapping_destroy", "kel_vstring_offset_remove", "ip_address_offset_remove"},
              2, 0),
        expected);
}

void add_endings(const Structure &type, void *object, std::vector<Asked> &expected) {
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

TEST_P(StructureServices, DestructionAsksEachFieldForReferencesAndEndsItInPlace) {
    void *third = within.create();
    std::vector<Asked> expected;
    add_endings(type, third, expected);
    ServiceRecorder recorder(handle);
    within.destroy(third);
    std::vector<Asked> made;
    for (const ServiceCall &call : recorder.calls()) {
        const bool ends = call.name.find("_destroy_internal") != std::string::npos;
        if (!ends && call.name.find("_get_oid_count") == std::string::npos) continue;
        made.push_back({call.name, call.pointer<const void>(2), ends ? call.arguments[3] : 0});
    }
    EXPECT_EQ(made, expected);
    EXPECT_EQ(recorder.count("kellib_get_sttr_offset"), recorder.count("kel_hd_mapping_destroy"))
        << "asked of the nested objects that are in the mapping";
}

TEST_P(StructureServices, InitializationAsksTheHandlesDomainWithTheConstantDescriptor) {
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
