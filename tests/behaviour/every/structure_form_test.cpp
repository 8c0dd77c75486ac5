// SPDX-License-Identifier: Apache-2.0
// Each structure in all its forms: memory, wire, text and XML agree.
#include <cerrno>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/objects.h"

namespace tarn::test {
namespace {

class StructureForms : public StructureTest {
 protected:
    void SetUp() override {
        object = typed.create();
        typed.fill(object, 1);
    }
    void TearDown() override {
        typed.destroy(object);
        StructureTest::TearDown();
    }
    // Expects a second object equal to the first one in every form, and destroys it.
    void expect_equal_and_destroy(void *second) {
        typed.check(second, 1);
        EXPECT_EQ(call<std::int32_t>(typed.name("compare"), {object, second}), 0);
        EXPECT_EQ(call<u32>(typed.name("hash"), {object, 3}),
                  call<u32>(typed.name("hash"), {second, 3}));
        EXPECT_EQ(typed.wire(second), typed.wire(object));
        EXPECT_EQ(typed.text(second), typed.text(object));
        EXPECT_EQ(typed.xml(second), typed.xml(object));
        typed.destroy(second);
    }
    u32 read(const Typed &reader, const std::vector<u8> &bytes, void *target) {
        return reader.operator()<u32>("unmarshal", {bytes.data(), target, bytes.size(), 0, &err});
    }

    void *object = nullptr;
};
TARN_EACH_STRUCTURE(StructureForms);

TEST_P(StructureForms, TheWireFormRoundTrips) {
    const std::vector<u8> bytes = typed.wire(object);
    void *second = typed.create();
    EXPECT_EQ(read(typed, bytes, second), bytes.size());
    expect_equal_and_destroy(second);
}

TEST_P(StructureForms, TheWireFormStartsWithVariantFlagsAndJump) {
    const std::vector<u8> bytes = typed.wire(object);
    EXPECT_EQ(bytes.at(0), type.top_variant);
    EXPECT_EQ(bytes.at(1), tracking ? OBJ_STATE_TRACKED : 0);
    const u32 jump = bytes[2] | u32{bytes[3]} << 8 | u32{bytes[4]} << 16 | u32{bytes[5]} << 24;
    EXPECT_EQ(jump, bytes.size() - 2);
}

TEST_P(StructureForms, AllWireFormsAgree) {
    const std::vector<u8> bytes = typed.wire(object);
    EXPECT_EQ(typed.cr<u32>("len_cr", {object}), bytes.size());
    std::vector<u8> again(bytes.size() + 1);
    EXPECT_EQ(
        typed.operator()<u32>("marshal_for_clone", {again.data(), object, bytes.size(), &err}),
        bytes.size());
    again.pop_back();
    EXPECT_EQ(again, bytes);
}

TEST_P(StructureForms, ATooSmallBufferIsAnErrorInEveryWriter) {
    std::vector<u8> bytes = typed.wire(object);
    typed("marshal", {bytes.data(), object, 5, &err});
    EXPECT_EQ(err, EMSGSIZE);
    err = 0;
    typed("marshal", {bytes.data(), object, 0, &err});
    EXPECT_EQ(err, ENOMEM);
    err = 0;
    char text[16];
    typed("print", {text, 0, "x", object, 3, &err});
    EXPECT_EQ(err, EMSGSIZE);
    err = 0;
    typed("to_xml", {"x", text, object, 3, 0, &err});
    EXPECT_EQ(err, EMSGSIZE);
    err = 0;
}

TEST_P(StructureForms, ClonesAreEqualAndIndependent) {
    std::vector<u8> workspace(typed.wire(object).size() + 1);
    void *second = nullptr;
    typed("clone", {object, &second, workspace.data(), workspace.size(), &err});
    ASSERT_NE(second, nullptr);
    expect_equal_and_destroy(second);
    expect_equal_and_destroy(typed.cr<void *>("clone_cr", {object}));

    second = typed.create();
    typed.fill(second, 2);
    typed.cr("copy_cr", {object, second});
    EXPECT_EQ(handle->last_error, 0U);
    expect_equal_and_destroy(second);
    typed.check(object, 1);
}

TEST_P(StructureForms, TheTextNamesEveryFieldInOrder) {
    const std::string text = typed.text(object);
    EXPECT_EQ(text.find(std::string(type.name) + "@" + type.name + ": {\n"), 0U);
    EXPECT_EQ(text.substr(text.size() - 2), "}\n");
    std::size_t position = 0;
    for (const Field &field : fields_of(type)) {
        std::string line = "\n  " + std::string(field.name);
        if (field.kind == FieldKind::array) line += "[0]";
        if (field.enumeration != nullptr) {
            const u64 value = plain_value(field, 1) - field.enumeration->first_user_value;
            line += std::string("@") + field.enumeration->name + ":" +
                    field.enumeration->enumerators[value].name;
        }
        if (field.structure != nullptr) line += std::string("@") + field.structure->name + ": {\n";
        const std::size_t found = text.find(line, position);
        ASSERT_NE(found, std::string::npos) << line << " in\n" << text;
        position = found + 1;
    }
    std::string again(text.size() + 16, ' ');
    again.resize(typed.cr<u32>("print_cr", {object, again.data(), again.size()}));
    EXPECT_EQ(again, text);
}

TEST_P(StructureForms, TheXmlRoundTrips) {
    const std::string xml = typed.xml(object);
    std::string again(xml.size() + 16, ' ');
    again.resize(typed.cr<u32>("toxml_cr", {object, again.data(), again.size()}));
    EXPECT_EQ(again, xml);

    const Document document = parse(xml);
    void *second = typed.create();
    char message[64] = "";
    const std::string path = "//" + std::string(type.name);
    typed("from_xml", {path.c_str(), document.get(), second, &err, message, sizeof message});
    EXPECT_STREQ(message, "");
    typed.check(second, 1);
    EXPECT_EQ(call<std::int32_t>(typed.name("compare"), {object, second}), 0);
    if (tracking) typed("set", {second, object, &err});  // XML has no flags to read
    expect_equal_and_destroy(second);
}

TEST_P(StructureForms, ADocumentWithoutTheStructureIsNotFound) {
    const Document document = parse("<nothing/>");
    const std::string path = "//" + std::string(type.name);
    typed("from_xml", {path.c_str(), document.get(), object, &err, nullptr, 0});
    EXPECT_EQ(err, ENOENT);
    err = 0;
    typed.check(object, 1);
}

// ---- Variants ------------------------------------------------------------------------

TEST_P(StructureForms, ANegativeVariantHasNoBodyInAnyForm) {
    head(object)->variant = -2;
    const u8 flags = tracking ? OBJ_STATE_TRACKED : 0;
    EXPECT_EQ(typed.wire(object), (std::vector<u8>{0xfe, flags, 4, 0, 0, 0}));
    const std::string name = type.name;
    EXPECT_EQ(typed.text(object), name + "@" + name + ": {\n");
    EXPECT_EQ(typed.xml(object), "<" + name + ">\n</" + name + ">\n");

    void *second = typed.create();
    typed.fill(second, 2);
    EXPECT_EQ(read(typed, typed.wire(object), second), 6U);
    EXPECT_EQ(head(second)->variant, -2);
    head(second)->variant = type.top_variant;
    typed.check(second, 2);
    typed.destroy(second);
}

TEST_P(StructureForms, OneNewerThanTheDomainIsReportedAndWrittenWithoutABody) {
    ASSERT_EQ(kel_handle_set_variant(handle, type.descriptor, -1), 0U);
    std::vector<u8> bytes(typed.operator()<u32>("len", {object}) + 1);
    EXPECT_EQ(typed.operator()<u32>("marshal", {bytes.data(), object, bytes.size() - 1, &err}), 6U);
    EXPECT_EQ(err, EIDRM);
    EXPECT_EQ(handle->last_error, EIDRM);
    EXPECT_EQ(bytes[0], 0xff);
    err = 0;
    EXPECT_EQ(
        typed.operator()<u32>("marshal_for_clone", {bytes.data(), object, bytes.size() - 1, &err}),
        bytes.size() - 1);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes[0], type.top_variant);
}

TEST_P(StructureForms, OfANewerWriterAreReadAsFarAsKnownAndSkippedByTheJump) {
    std::vector<u8> bytes = typed.wire(object);
    const auto known = static_cast<u32>(bytes.size());
    const u32 jump = known - 2 + 20;
    bytes[0] = static_cast<u8>(type.top_variant + 3);
    for (u32 i = 0; i < 4; ++i) bytes[2 + i] = static_cast<u8>(jump >> (8 * i));
    bytes.resize(known + 20, 0xcc);
    void *second = typed.create();
    TraceCapture traced;
    EXPECT_EQ(read(typed, bytes, second), known + 20);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(second)->variant, type.top_variant);
    EXPECT_TRUE(traced.has(KEL_TRACE_INFO, "(info): offset_jump read_len " + std::to_string(known) +
                                               " offset_jump_base 2 _kel_variant_jump " +
                                               std::to_string(jump)))
        << traced.all();
    expect_equal_and_destroy(second);
}

TEST_P(StructureForms, AnEmptyBufferFailsWithEnomemInReadersAndWriters) {
    u8 byte = 0x5a;
    for (const u32 length : {0U, 0x80000000U}) {
        EXPECT_EQ(typed.operator()<u32>("marshal", {&byte, object, length, &err}), 0U);
        EXPECT_EQ(err, ENOMEM);
        err = 0;
        EXPECT_EQ(typed.operator()<u32>("unmarshal", {&byte, object, length, 0, &err}), 0U);
        EXPECT_EQ(err, ENOMEM);
        EXPECT_EQ(handle->last_error, ENOMEM);
        err = 0;
    }
    EXPECT_EQ(byte, 0x5a);
    typed.check(object, 1);
}

// ---- Between modes -------------------------------------------------------------------

TEST_P(StructureForms, StateFlagsAreOnlyExchangedBetweenTrackingHandles) {
    typed("set_all_state_tracking_flag", {object, 3});
    const Mode reader_mode = tracking ? Mode::plain : Mode::tracking;
    const Typed reader(type, session.second_handle(reader_mode));
    const std::vector<u8> bytes = typed.wire(object);

    void *same = typed.create();
    EXPECT_EQ(read(typed, bytes, same), bytes.size());
    if (tracking) {
        EXPECT_EQ(at(same, type.plain_size)[0], 3);
    }
    expect_equal_and_destroy(same);

    void *across = reader.create();
    EXPECT_EQ(read(reader, bytes, across), bytes.size());
    reader.check(across, 1);
    EXPECT_EQ((head(across)->flags & OBJ_STATE_TRACKED) != 0, !tracking);
    if (!tracking) {
        EXPECT_EQ(at(across, type.plain_size)[0], 0);
    }
    reader.destroy(across);
}

}  // namespace
}  // namespace tarn::test
