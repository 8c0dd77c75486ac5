// SPDX-License-Identifier: Apache-2.0
#include <cerrno>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

class Boolean : public ValueTest {
 protected:
    kel_boolean *field = make_boolean();

    std::uint32_t value() { return kel_boolean_get_value(handle, tx, field, &err); }

    void read_xml(const std::string &content) {
        const Document document = parse("<o><f>" + content + "</f></o>");
        kel_boolean_from_xml(handle, tx, "//o/f", document.get(), field, &err, nullptr, 0);
    }
};

TEST_F(Boolean, AnyNonzeroValueBecomesOne) {
    for (const std::uint32_t value_set : {1U, 2U, 0x80000000U, 0xffffffffU}) {
        kel_boolean_set_value(handle, tx, field, value_set, &err);
        EXPECT_EQ(field->value, 1U);
    }
    kel_boolean_set_value(handle, tx, field, 0, &err);
    EXPECT_EQ(field->value, 0U);
    EXPECT_EQ(value(), 0U);
}

TEST_F(Boolean, SetCopiesOnlyTheValueAndAnnouncesItsFourBytes) {
    kel_boolean source{};
    source.flags = OBJ_RA_DATA;
    source.variant = 5;
    source.value = 1;
    HookRecorder hooks(handle);
    kel_boolean_set(handle, 9, field, &source, &err);
    ASSERT_EQ(hooks.events.size(), 1U);
    EXPECT_EQ(hooks.events[0].address, &field->value);
    EXPECT_EQ(hooks.events[0].length, 4U);
    EXPECT_EQ(hooks.events[0].tx_id, 9U);
    EXPECT_EQ(hooks.events[0].before, std::vector<std::uint8_t>({0, 0, 0, 0}));
    EXPECT_EQ(value(), 1U);
    EXPECT_EQ(field->flags, OBJ_NESTED);
    EXPECT_EQ(field->variant, 0);
    EXPECT_EQ(field->descriptor, &_kel_boolean_type_info_internal);
}

TEST_F(Boolean, NullsAndErrorsOnEntryChangeNothing) {
    kel_boolean_set(handle, tx, field, nullptr, &err);
    expect_error(ENOENT);
    kel_boolean_set_value(handle, tx, nullptr, 1, &err);
    expect_error(ENOENT);
    EXPECT_EQ(kel_boolean_get(handle, tx, nullptr, &err), nullptr);
    EXPECT_EQ(kel_boolean_get_value(handle, tx, nullptr, &err), 0U);
    EXPECT_EQ(kel_boolean_get(handle, tx, field, &err), field);
    err = EAGAIN;
    kel_boolean_set_value(handle, tx, field, 1, &err);
    kel_boolean_set(handle, tx, field, field, &err);
    EXPECT_EQ(kel_boolean_get(handle, tx, field, &err), nullptr);
    EXPECT_EQ(field->value, 0U);
    EXPECT_EQ(err, EAGAIN);
}

TEST_F(Boolean, TheWireFormIsOneByteAndAnyNonzeroByteReadsAsTrue) {
    std::uint8_t byte = 0xee;
    kel_boolean_set_value(handle, tx, field, 1, &err);
    EXPECT_EQ(kel_boolean_len(handle, tx, field), 1U);
    EXPECT_EQ(kel_boolean_len(handle, tx, nullptr), 1U);
    EXPECT_EQ(kel_boolean_marshal(handle, tx, &byte, field, 1, &err), 1U);
    EXPECT_EQ(byte, 1U);
    EXPECT_EQ(kel_boolean_marshal(handle, tx, &byte, nullptr, 1, &err), 1U);
    EXPECT_EQ(byte, 0U);
    EXPECT_EQ(kel_boolean_unmarshal(handle, tx, &byte, field, 1, 0, &err), 1U);
    EXPECT_EQ(value(), 0U);
    byte = 200;
    EXPECT_EQ(kel_boolean_unmarshal(handle, tx, &byte, field, 1, 0, &err), 1U);
    EXPECT_EQ(value(), 1U);
}

TEST_F(Boolean, ATooSmallBufferFailsWithEmsgsize) {
    std::uint8_t byte = 0xee;
    EXPECT_EQ(kel_boolean_marshal(handle, tx, &byte, field, 0, &err), 0U);
    expect_error(EMSGSIZE);
    EXPECT_EQ(byte, 0xee);
    EXPECT_EQ(kel_boolean_unmarshal(handle, tx, &byte, field, 0, 0, &err), 0U);
    expect_error(EMSGSIZE);
    EXPECT_EQ(value(), 0U);
}

TEST_F(Boolean, PrintWritesTrueOrFalse) {
    char buffer[32];
    ASSERT_EQ(kel_boolean_print(handle, tx, buffer, 2, "up", field, sizeof buffer, &err), 12U);
    EXPECT_EQ(std::string(buffer, 12), "  up: false\n");
    kel_boolean_set_value(handle, tx, field, 1, &err);
    ASSERT_EQ(kel_boolean_print(handle, tx, buffer, 0, "up", field, 9, &err), 9U);
    EXPECT_EQ(std::string(buffer, 9), "up: true\n");
    EXPECT_EQ(kel_boolean_print(handle, tx, buffer, 0, "up", field, 8, &err), 0U);
    expect_error(EMSGSIZE);
}

TEST_F(Boolean, XmlReadsOnlyWordsAndDigits) {
    const std::pair<const char *, std::uint32_t> valid[] = {
        {"true", 1}, {"false", 0}, {"1", 1}, {"0", 0}};
    for (const auto &[text, expected] : valid) {
        read_xml(text);
        EXPECT_EQ(value(), expected) << text;
    }
    read_xml("1");
    for (const char *text : {"", "2", "TRUE", " true", "yes", "00"}) {
        TraceCapture trace;
        read_xml(text);
        expect_error(EINVAL);
        EXPECT_EQ(value(), 1U) << text;
        EXPECT_EQ(trace.lines.size(), 1U);
    }
    const std::string expected = "<f state=\"2\">true</f>\n";
    char buffer[64];
    ASSERT_EQ(kel_boolean_to_xml(handle, tx, "f", buffer, field, sizeof buffer, 2, &err),
              expected.size());
    EXPECT_EQ(std::string(buffer, expected.size()), expected);
}

TEST_F(Boolean, FalseOrdersBeforeTrueAndNullBeforeBoth) {
    kel_boolean *yes = make_boolean(true);
    kel_boolean *no = make_boolean(false);
    EXPECT_LT(kel_boolean_compare(no, yes), 0);
    EXPECT_GT(kel_boolean_compare(yes, no), 0);
    EXPECT_EQ(kel_boolean_compare(no, field), 0);
    EXPECT_EQ(kel_boolean_compare(nullptr, nullptr), 0);
    EXPECT_EQ(kel_boolean_compare(nullptr, no), -1);
    EXPECT_EQ(kel_boolean_compare(no, nullptr), 1);
    EXPECT_EQ(kel_boolean_hash(no, 3), kel_boolean_hash(field, 3));
    EXPECT_NE(kel_boolean_hash(no, 3), kel_boolean_hash(yes, 3));
    EXPECT_EQ(kel_boolean_hash(nullptr, 3), 3U);
}

TEST_F(Boolean, ItsModifiedMarkIsReadOnce) {
    EXPECT_EQ(kel_boolean_backpropagate(handle, tx, field, &err), 0U);
    kel_set_instance_modified(field, 1, 1, 1);
    EXPECT_EQ(kel_boolean_backpropagate(handle, tx, field, &err), 1U);
    EXPECT_EQ(kel_boolean_backpropagate(handle, tx, field, &err), 0U);
    EXPECT_EQ(field->flags, OBJ_NESTED);
}

}  // namespace
}  // namespace tarn::test
