// SPDX-License-Identifier: Apache-2.0
// Each structure with a variant of which nothing is accessible, and its marks.
#include <cerrno>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/objects.h"
#include "tests/support/services.h"

namespace tarn::test {
namespace {

class NegativeVariant : public StructureTest {
 protected:
    void SetUp() override {
        object = typed.create();
        other = typed.create();
        typed.fill(object, 1);
        typed.fill(other, 2);
        kel_handle_set_variant(handle, type.descriptor, -1);
        top = head(object)->variant;
        head(object)->variant = -1;
    }
    void TearDown() override {
        head(object)->variant = top;
        kel_handle_set_variant(handle, type.descriptor, top);
        typed.destroy(object);
        typed.destroy(other);
        StructureTest::TearDown();
    }
    // Error 43, through the service that reports it.
    void expect_epoch(const ServiceRecorder &recorder) {
        EXPECT_EQ(err, EIDRM);
        EXPECT_EQ(handle->last_error, EIDRM);
        EXPECT_EQ(recorder.count("kel_store_err"), 0U);
        const auto reports = recorder.calls("kel_store_epoch_err");
        ASSERT_EQ(reports.size(), 1U);
        EXPECT_EQ(reports[0].pointer<kel_handle>(0), handle);
        EXPECT_EQ(reports[0].arguments[1], EIDRM);
        EXPECT_EQ(reports[0].pointer<u32>(2), &err);
        err = 0;
    }
    std::vector<u8> bytes() const {
        return {at(object, 0), at(object, typed.cr<u32>("sizeof", {}))};
    }

    void *object = nullptr;
    void *other = nullptr;
    std::int8_t top = 0;
};
TARN_EACH_STRUCTURE(NegativeVariant);

TEST_P(NegativeVariant, NoFieldCanBeRead) {
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::array) continue;
        SCOPED_TRACE(field.name);
        const std::string name = field.name;
        {
            ServiceRecorder recorder(handle);
            EXPECT_EQ(typed.operator()<void *>(name + "_get", {object, &err}), nullptr);
            expect_epoch(recorder);
        }
        if (!has_plain_value(field.kind)) continue;
        ServiceRecorder recorder(handle);
        EXPECT_EQ(narrowed(field.kind, typed.operator()<u64>(name + "_get_value", {object, &err})),
                  0U);
        expect_epoch(recorder);
    }
}

TEST_P(NegativeVariant, NoFieldCanBeWritten) {
    const std::vector<u8> before = bytes();
    for (const Field &field : fields_of(type)) {
        if (field.kind == FieldKind::array) continue;
        SCOPED_TRACE(field.name);
        const std::string name = field.name;
        {
            ServiceRecorder recorder(handle);
            typed(name + "_set", {object, at(other, field.offset), &err});
            expect_epoch(recorder);
            EXPECT_EQ(recorder.count("kel_set_instance_modified"), 0U);
        }
        if (!has_plain_value(field.kind)) continue;
        ServiceRecorder recorder(handle);
        typed(name + "_set_value", {object, plain_value(field, 2), &err});
        expect_epoch(recorder);
    }
    EXPECT_EQ(bytes(), before);
}

TEST_P(NegativeVariant, FlagsCanBeReadAndNotWritten) {
    if (!tracking) return;
    const std::vector<u8> before = bytes();
    for (const Field &field : fields_of(type)) {
        SCOPED_TRACE(field.name);
        const std::string stem = std::string(field.name) + "_state_flag" +
                                 (field.kind == FieldKind::array ? "_whole" : "");
        EXPECT_EQ(typed.operator()<u8>(stem + "_get", {object, &err}), 2);
        EXPECT_EQ(err, 0U);
        ServiceRecorder recorder(handle);
        typed(stem + "_set", {object, 9, &err});
        expect_epoch(recorder);
    }
    EXPECT_EQ(bytes(), before);
}

TEST_P(NegativeVariant, ReadingAndWritingAllValuesSilentlyDoesNothing) {
    const std::vector<u8> before = bytes();
    std::vector<u64> out(type.field_count, 0x5a5a);
    std::vector<Word> read = {object}, written = {object};
    for (const Field &field : fields_of(type)) {
        if (!has_plain_value(field.kind)) continue;
        read.emplace_back(&out[read.size() - 1]);
        written.emplace_back(plain_value(field, 2));
    }
    read.emplace_back(&err);
    written.emplace_back(&err);
    typed("get_all", read);
    typed("set_all", written);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(out, std::vector<u64>(type.field_count, 0x5a5a));
    EXPECT_EQ(bytes(), before);
}

TEST_P(NegativeVariant, TheWholeIsStillCopiedComparedAndHashed) {
    typed("set", {other, object, &err});
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(other)->variant, -1);
    EXPECT_EQ(call<std::int32_t>(typed.name("compare"), {object, other}), 0);
    EXPECT_EQ(call<u32>(typed.name("hash"), {object, 9}),
              call<u32>(typed.name("hash"), {other, 9}));
    head(other)->variant = top;
    typed.check(other, 1);
}

TEST_P(NegativeVariant, TheFormsHaveNoFields) {
    EXPECT_EQ(typed.operator()<u32>("len", {object}), 6U);
    const std::vector<u8> wire = typed.wire(object);
    ASSERT_EQ(wire.size(), 6U);
    EXPECT_EQ(static_cast<std::int8_t>(wire[0]), -1);
    const std::string text = typed.text(object), xml = typed.xml(object);
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
    EXPECT_EQ(xml.find('<', 1), xml.find("</")) << xml;
}

class ModifiedMarks : public StructureTest {
 protected:
    static void mark(void *place) { head(place)->flags |= OBJ_MODIFIED; }
    static bool marked(const void *place) { return (head(place)->flags & OBJ_MODIFIED) != 0; }
};
TARN_EACH_STRUCTURE(ModifiedMarks);

TEST_P(ModifiedMarks, EachCallClearsTheObjectsMarkAndTheFirstNestedOne) {
    void *object = typed.create();
    std::vector<void *> places;
    for (const Field &field : fields_of(type)) {
        if (field.descriptor != nullptr) places.push_back(at(object, field.offset));
    }
    for (void *place : places) mark(place);
    mark(object);
    for (std::size_t taken = 0; taken < places.size(); ++taken) {
        EXPECT_EQ(typed.operator()<u32>("type_type_backpropagate", {object, &err}), 1U);
        EXPECT_FALSE(marked(object));
        for (std::size_t i = 0; i < places.size(); ++i) {
            EXPECT_EQ(marked(places[i]), i > taken) << i;
        }
    }
    if (places.empty()) {
        EXPECT_EQ(typed.operator()<u32>("type_type_backpropagate", {object, &err}), 1U);
    }
    EXPECT_EQ(typed.operator()<u32>("type_type_backpropagate", {object, &err}), 0U);
    typed.destroy(object);
}

TEST_P(ModifiedMarks, TheObjectsMarkIsReadAndClearedAsThatOfAStructure) {
    void *object = typed.create();
    mark(object);
    ServiceRecorder recorder(handle);
    EXPECT_EQ(typed.operator()<u32>("type_type_backpropagate", {object, &err}), 1U);
    const auto word = reinterpret_cast<std::uintptr_t>(object);
    EXPECT_EQ(recorder.calls("kel_get_instance_modified")[0].arguments,
              (std::vector<u64>{word, 1, 0}));
    EXPECT_EQ(recorder.calls().back().name, "kel_set_instance_modified");
    EXPECT_EQ(recorder.calls().back().arguments, (std::vector<u64>{word, 1, 0, 0}));
    typed.destroy(object);
}

class FieldNumbers : public StructureTest {};
TARN_EACH_STRUCTURE(FieldNumbers);

TEST_P(FieldNumbers, AreCheckedUnsignedAgainstTheDomainNotTheObject) {
    // The type that has grown has one more number than fields.
    const u32 own = type.top_variant == 0 ? type.field_count : type.field_count - 1;
    for (int domain = -1; domain < 3; ++domain) {
        kel_handle_set_variant(handle, type.descriptor, static_cast<std::int8_t>(domain));
        const auto valid = [&](u32 number) {
            return typed.cr<u32>("is_valid_cr", {reinterpret_cast<void *>(8), number}) != 0;
        };
        EXPECT_TRUE(valid(0)) << domain;
        EXPECT_TRUE(valid(own - 1)) << domain;
        EXPECT_EQ(valid(own), domain >= 1) << domain;
        EXPECT_EQ(valid(own + 1), domain >= 1) << domain;
        EXPECT_EQ(valid(own + 2), domain > type.top_variant) << domain;
        EXPECT_EQ(valid(0xffffffffU), domain > type.top_variant) << domain;
    }
}

}  // namespace
}  // namespace tarn::test
