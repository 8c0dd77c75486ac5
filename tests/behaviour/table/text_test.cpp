// SPDX-License-Identifier: Apache-2.0
// Records as text, and the text of a key.
#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "tests/behaviour/table/text_fixture.h"

namespace tarn::test {
namespace {

class Text : public TextTest {};
TARN_EACH_TABLE_AND_MODE(Text);

TEST_P(Text, ARecordContainsItsObjectsBetweenItsOwnLines) {
    kel_record *record = make(1, 1, 5);
    std::string expected = first_line;
    expected += object_text(s.object, record->object);
    if (s.has_key_object()) expected += object_text(s.key_object, record->key_object);
    expected += "}\n";
    EXPECT_EQ(written(s.plain.print, record), expected);
    EXPECT_EQ(written(s.unsafe.print, record), expected);
    const u32 length = s.cr.print(handle, record, buffer.data(), space);
    EXPECT_EQ(std::string(buffer.data(), length), expected);
}

TEST_P(Text, PrintingAnObjectNeedsItsWireLengthAsSpace) {
    kel_record *record = make(1);
    const u32 needed =
        static_cast<u32>(first_line.size()) + s.object.type->len(handle, tx, record->object);
    const u32 length = s.plain.print(handle, tx, buffer.data(), record, needed - 1, &err);
    EXPECT_EQ(err, EMSGSIZE);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
    // The record's last line is still written.
    EXPECT_EQ(std::string(buffer.data(), length), first_line + "}\n");
    EXPECT_EQ(s.cr.print(handle, record, buffer.data(), needed - 1), 0xffffffffU);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
}

TEST_P(Text, WithItsWireLengthAsSpaceAnObjectIsStarted) {
    kel_record *record = make(1);
    const u32 space_left = s.object.type->len(handle, tx, record->object);
    std::vector<char> area(space, ' ');
    u32 of_object = s.object.type->print(handle, tx, area.data(), 2, s.object.type->name.data(),
                                         record->object, space_left, &err);
    const u32 object_error = err;
    err = 0;
    const u32 length = s.plain.print(handle, tx, buffer.data(), record,
                                     static_cast<u32>(first_line.size()) + space_left, &err);
    EXPECT_EQ(err != 0, object_error != 0 || s.has_key_object());
    EXPECT_GE(length, first_line.size() + of_object);
    EXPECT_EQ(std::string(buffer.data() + first_line.size(), of_object),
              std::string(area.data(), of_object));
    EXPECT_GT(of_object, 0U);
}

TEST_P(Text, TheSpaceForAnObjectIsSigned) {
    kel_record *record = make(1);
    const std::string lines = first_line + "}\n";
    const u32 length = s.plain.print(handle, tx, buffer.data(), record, 0x80001000U, &err);
    EXPECT_EQ(err, EMSGSIZE);
    EXPECT_EQ(std::string(buffer.data(), length), lines);
}

TEST_P(Text, AKeyObjectNeedsItsWireLengthAfterTheValue) {
    if (!s.has_key_object()) return;
    kel_record *record = make(1);
    const std::string before = first_line + object_text(s.object, record->object);
    const u32 needed =
        static_cast<u32>(before.size()) + s.key_object.type->len(handle, tx, record->key_object);
    const u32 length = s.plain.print(handle, tx, buffer.data(), record, needed - 1, &err);
    EXPECT_EQ(err, EMSGSIZE);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
    EXPECT_EQ(std::string(buffer.data(), length), before + "}\n");
}

TEST_P(Text, PrintRunsWithAnErrorAndClearsNone) {
    kel_record *record = make(1);
    handle->last_error = EINVAL;
    err = EIO;
    services.clear();
    const u32 length = s.plain.print(handle, tx, buffer.data(), record, space, &err);
    // The record's own lines, without its objects.
    EXPECT_EQ(std::string(buffer.data(), length), first_line + "}\n");
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(services.count("kel_clear_last_error"), 0U);
    // The error is kept when the objects don't fit.
    s.plain.print(handle, tx, buffer.data(), record, static_cast<u32>(length), &err);
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
}

TEST_P(Text, TheCrFormsStopAtAnError) {
    kel_record *record = make(1);
    handle->last_error = EINVAL;
    std::fill(buffer.begin(), buffer.end(), '.');
    EXPECT_EQ(s.cr.print(handle, record, buffer.data(), space), 0xffffffffU);
    EXPECT_EQ(s.cr.to_xml(handle, record, buffer.data(), space), 0xffffffffU);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(buffer, std::vector<char>(space, '.'));
    kel_clear_last_error(handle);
    EXPECT_EQ(s.cr.to_xml(handle, record, buffer.data(), 3), 0xffffffffU);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
}

TEST_P(Text, AKeyPrintsUnderItsOwnName) {
    kel_record *record = make(1);
    std::string expected;
    if (s.has_key_object()) {
        std::vector<char> area(space, ' ');
        const u32 length = s.key_object.type->print(handle, tx, area.data(), 0, "",
                                                    record->key_object, space, &err);
        expected.assign(area.data(), length);
        EXPECT_EQ(expected.rfind("@pair_key: {\n", 0), 0U) << expected;
    } else {
        expected = s.key_name;
    }
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        const u32 length = form->pkey_print(handle, tx, table, record, buffer.data(), space, &err);
        EXPECT_EQ(err, 0U);
        const std::string text(buffer.data(), length);
        EXPECT_EQ(text.rfind(expected, 0), 0U) << text;
        EXPECT_EQ(text.back(), '\n');
    }
}

TEST_P(Text, PrintingAKeyNeedsTableRecordAndSpace) {
    kel_record *record = make(1);
    std::fill(buffer.begin(), buffer.end(), '.');
    const auto expect_error = [&](u32 result, u32 code) {
        EXPECT_EQ(result, 0U);
        EXPECT_EQ(err, code);
        err = 0;
    };
    expect_error(s.plain.pkey_print(handle, tx, nullptr, record, buffer.data(), space, &err),
                 EINVAL);
    EXPECT_EQ(handle->last_error, EINVAL);
    expect_error(s.plain.pkey_print(handle, tx, table, nullptr, buffer.data(), space, &err),
                 EINVAL);
    expect_error(s.plain.pkey_print(nullptr, tx, table, record, buffer.data(), space, &err),
                 EINVAL);
    const u32 length = s.plain.pkey_len(handle, tx, record);
    expect_error(s.plain.pkey_print(handle, tx, table, record, buffer.data(), length - 1, &err),
                 EMSGSIZE);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
    // The length is compared as a signed number.
    expect_error(s.plain.pkey_print(handle, tx, table, record, buffer.data(), 0x80000000U, &err),
                 EMSGSIZE);
    handle->last_error = EINVAL;
    err = EIO;
    EXPECT_EQ(s.plain.pkey_print(handle, tx, table, record, buffer.data(), space, &err), 0U);
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(buffer, std::vector<char>(space, '.'));
}

TEST_P(Text, PrintingAKeyClearsTheLastErrorFirst) {
    kel_record *record = make(1);
    handle->last_error = EINVAL;
    EXPECT_GT(s.plain.pkey_print(handle, tx, table, record, buffer.data(), space, &err), 0U);
    EXPECT_EQ(handle->last_error, 0U);
    const u32 length = s.plain.pkey_len(handle, tx, record);
    // With its wire length as space a key is begun, even if its text does not fit.
    services.clear();
    s.plain.pkey_print(handle, tx, table, record, buffer.data(), length, &err);
    const auto stored = services.calls("kel_store_err");
    for (const ServiceCall &call : stored) EXPECT_NE(call.arguments.at(1), EINVAL);
    EXPECT_NE(buffer[0], ' ');
}

class LdapText : public LdapTest {};

TEST_F(LdapText, IsAsDocumented) {
    kel_record *record = make(1, 1, 7);
    std::string buffer(1024, ' ');
    const u32 length = s.plain.print(handle, tx, buffer.data(), record, 1024, &err);
    EXPECT_EQ(buffer.substr(0, length),
              "record@tbl_ldap_conn: {\n"
              "  st_ldap_conn@st_ldap_conn: {\n"
              "    sname: \"server-00000001\"\n"
              "    num_conns: 7\n"
              "  }\n"
              "}\n");
}

TEST_F(LdapText, SkipsTheBytesBeforeAnInnerClosingBrace) {
    kel_record *record = make(1, 1, 7);
    std::string buffer(1024, '.');
    const u32 length = s.plain.print(handle, tx, buffer.data(), record, 1024, &err);
    const std::string text = buffer.substr(0, length);
    const std::string tail = "..}\n}\n";
    EXPECT_EQ(text.substr(text.size() - tail.size()), tail) << text;
}

}  // namespace
}  // namespace tarn::test
