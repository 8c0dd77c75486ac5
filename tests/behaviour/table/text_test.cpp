// SPDX-License-Identifier: Apache-2.0
// Records as text and as XML, and the text of a key.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

constexpr u32 room = 1U << 20;  // a day of minutes is 1440 elements

struct FreeDocument {
    void operator()(kel_xml_document *document) const { kel_xml_free(document); }
};
using Document = std::unique_ptr<kel_xml_document, FreeDocument>;

Document parse(const std::string &text) {
    Document document(kel_xml_parse(text.data(), text.size()));
    EXPECT_NE(document, nullptr) << kel_error_text() << "\n" << text;
    return document;
}

class Text : public TableTest {
 protected:
    using Writer = u32 (*)(kel_handle *, u32, char *, const kel_record *, u32, u32 *);
    std::string written(Writer writer, const kel_record *record) {
        std::vector<char> area(room, ' ');
        const u32 length = writer(handle, tx, area.data(), record, room, &err);
        EXPECT_EQ(err, 0U);
        return std::string(area.data(), length);
    }
    std::string object_text(const Slot &slot, const void *object) {
        std::vector<char> area(room, ' ');
        const u32 length =
            slot.print(handle, tx, area.data(), 2, slot.type_name, object, room, &err);
        return std::string(area.data(), length);
    }
    std::string object_xml(const Slot &slot, const void *object) {
        std::vector<char> area(room, ' ');
        const u32 length =
            slot.to_xml(handle, tx, slot.type_name, area.data(), object, room, 0, &err);
        return std::string(area.data(), length);
    }
    std::vector<char> buffer = std::vector<char>(room, ' ');
};
TARN_EACH_TABLE_AND_MODE(Text);

TEST_P(Text, ARecordPrintsItsObjectsBetweenItsOwnLines) {
    kel_record *record = make(1, 1, 5);
    std::string expected = std::string("record@") + s.name + ": {\n";
    expected += object_text(s.object, record->object);
    if (s.has_key_object()) expected += object_text(s.key_object, record->key_object);
    expected += "}\n";
    EXPECT_EQ(written(s.plain.print, record), expected);
    EXPECT_EQ(written(s.unsafe.print, record), expected);
    const u32 length = s.cr.print(handle, record, buffer.data(), room);
    EXPECT_EQ(std::string(buffer.data(), length), expected);
}

TEST_P(Text, PrintNeedsTheWireLengthAsRoomForAnObject) {
    kel_record *record = make(1);
    const std::string first_line = std::string("record@") + s.name + ": {\n";
    const u32 needed =
        static_cast<u32>(first_line.size()) + s.object.len(handle, tx, record->object);
    std::string text(buffer.data(), 0);
    const u32 length = s.plain.print(handle, tx, buffer.data(), record, needed - 1, &err);
    EXPECT_EQ(err, 90U);
    EXPECT_EQ(handle->last_error, 90U);
    // The record's last line is written also then.
    EXPECT_EQ(std::string(buffer.data(), length), first_line + "}\n");
    EXPECT_EQ(s.cr.print(handle, record, buffer.data(), needed - 1), 0xffffffffU);
    EXPECT_EQ(handle->last_error, 90U);
}

TEST_P(Text, PrintRunsWithAnErrorAndClearsNone) {
    kel_record *record = make(1);
    handle->last_error = 22;
    err = 5;
    spies.clear();
    s.plain.print(handle, tx, buffer.data(), record, room, &err);
    EXPECT_EQ(err, 5U);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_EQ(spies.count("kel_clear_last_error"), 0U);
}

TEST_P(Text, TheCrFormsStopAtAnError) {
    kel_record *record = make(1);
    handle->last_error = 22;
    std::fill(buffer.begin(), buffer.end(), '.');
    EXPECT_EQ(s.cr.print(handle, record, buffer.data(), room), 0xffffffffU);
    EXPECT_EQ(s.cr.to_xml(handle, record, buffer.data(), room), 0xffffffffU);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_EQ(buffer, std::vector<char>(room, '.'));
    kel_clear_last_error(handle);
    EXPECT_EQ(s.cr.to_xml(handle, record, buffer.data(), 3), 0xffffffffU);
    EXPECT_EQ(handle->last_error, 90U);
}

TEST_P(Text, ARecordIsOneElementAroundThoseOfItsObjects) {
    kel_record *record = make(1, 1, 5);
    const std::string xml = written(s.plain.to_xml, record);
    EXPECT_EQ(written(s.unsafe.to_xml, record), xml);
    const u32 length = s.cr.to_xml(handle, record, buffer.data(), room);
    EXPECT_EQ(std::string(buffer.data(), length), xml);

    const std::string object = object_xml(s.object, record->object);
    const std::size_t at = xml.find(object);
    ASSERT_NE(at, std::string::npos) << xml;
    if (s.has_key_object()) {
        const std::string key = object_xml(s.key_object, record->key_object);
        EXPECT_EQ(xml.find(key), at + object.size());
    }
    const Document document = parse(xml);
    u32 count = 0;
    for (const std::string &path :
         {std::string("/") + s.name, std::string("/") + s.name + "/" + s.object.type_name}) {
        EXPECT_EQ(xml_get_element_nodecount(document.get(), path.c_str(), &count), 0U);
        EXPECT_EQ(count, 1U) << path;
    }
}

TEST_P(Text, XmlIsReadBackIntoAnEqualRecord) {
    kel_record *record = make(9 % s.keys, 7, 5);
    const Document document = parse(written(s.plain.to_xml, record));
    char message[128] = {};
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        kel_record *read =
            form->from_xml(handle, tx, document.get(), &err, message, sizeof message);
        EXPECT_EQ(err, 0U) << message;
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(s.object.compare(read->object, record->object), 0);
        if (s.has_key_object()) {
            EXPECT_EQ(s.key_object.compare(read->key_object, record->key_object), 0);
        }
        EXPECT_EQ(read->src, KEL_SOURCE_DEFAULT);
        EXPECT_EQ(key_of(read), 9 % s.keys);
        insert(read);
        destroy(read);
    }
}

TEST_P(Text, XmlClosesTheRecordAlsoAfterAnError) {
    kel_record *record = make(1);
    const std::string whole = written(s.plain.to_xml, record);
    const std::string end = std::string("</") + s.name + ">";
    // Room for the opening tags, but not for all of the object.
    const u32 length =
        s.plain.to_xml(handle, tx, buffer.data(), record, static_cast<u32>(whole.size()) / 2, &err);
    EXPECT_EQ(err, 90U);
    EXPECT_LE(length, whole.size() / 2);
}

TEST_P(Text, XmlEnteredWithAnErrorDoesNothing) {
    kel_record *record = make(1);
    const Document document = parse("<a/>");
    handle->last_error = 22;
    err = 5;
    spies.clear();
    HookRecorder hooks(handle);
    EXPECT_EQ(s.plain.to_xml(handle, tx, buffer.data(), record, room, &err), 0U);
    EXPECT_EQ(s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0), nullptr);
    EXPECT_EQ(err, 5U);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_TRUE(spies.calls.empty());
    EXPECT_TRUE(hooks.events.empty());
}

TEST_P(Text, ADocumentWithoutTheElementGivesAnEmptyRecord) {
    const Document document = parse("<other><thing/></other>");
    kel_record *read = s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0);
    EXPECT_EQ(err, 0U);
    ASSERT_NE(read, nullptr);
    ASSERT_NE(read->object, nullptr);
    EXPECT_EQ(s.get_value(handle, read->object), 0U);
    if (s.has_key_object()) {
        EXPECT_NE(read->key_object, nullptr);
    }
    destroy(read);
}

TEST_P(Text, AMissingValueElementKeepsTheKeyFromBeingRead) {
    if (!s.has_key_object()) return;
    kel_record *record = make(13);
    const Document document = parse("<x>" + object_xml(s.key_object, record->key_object) + "</x>");
    kel_record *read = s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0);
    EXPECT_EQ(err, 0U);
    ASSERT_NE(read, nullptr);
    EXPECT_NE(s.key_object.compare(read->key_object, record->key_object), 0);
    destroy(read);
}

TEST_P(Text, AMissingKeyElementLeavesTheKeyEmpty) {
    if (!s.has_key_object()) return;
    kel_record *record = make(13, 1, 5);
    const Document document = parse("<x>" + object_xml(s.object, record->object) + "</x>");
    kel_record *read = s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0);
    EXPECT_EQ(err, 0U);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(s.get_value(handle, read->object), 5U);
    EXPECT_NE(s.key_object.compare(read->key_object, record->key_object), 0);
    destroy(read);
}

TEST_P(Text, XmlReadWithoutMemoryIsErrorTwelve) {
    const Document document = parse(written(s.plain.to_xml, make(1)));
    const u64 blocks = session.blocks();
    for (u64 n = 1; n <= (s.has_key_object() ? 3U : 2U); ++n) {
        // Each earlier block stays: the record isn't released.
        kel_store_fail_allocation(session.store(), n);
        err = 0;
        EXPECT_EQ(s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0), nullptr) << n;
        kel_store_fail_allocation(session.store(), 0);
        EXPECT_EQ(err, 12U) << n;
        EXPECT_EQ(handle->last_error, 12U) << n;
    }
    EXPECT_GT(session.blocks(), blocks);
}

TEST_P(Text, AKeyPrintsUnderItsOwnName) {
    kel_record *record = make(1);
    std::string expected;
    if (s.has_key_object()) {
        std::vector<char> area(room, ' ');
        const u32 length =
            s.key_object.print(handle, tx, area.data(), 0, "", record->key_object, room, &err);
        expected.assign(area.data(), length);
        EXPECT_EQ(expected.rfind("@pair_key: {\n", 0), 0U) << expected;
    } else {
        expected = s.key_name;
    }
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        const u32 length = form->pkey_print(handle, tx, table, record, buffer.data(), room, &err);
        EXPECT_EQ(err, 0U);
        const std::string text(buffer.data(), length);
        EXPECT_EQ(text.rfind(expected, 0), 0U) << text;
        EXPECT_EQ(text.back(), '\n');
    }
}

TEST_P(Text, AKeyIsPrintedOnlyWithTableRecordAndRoom) {
    kel_record *record = make(1);
    std::fill(buffer.begin(), buffer.end(), '.');
    const auto expect_error = [&](u32 result, u32 code) {
        EXPECT_EQ(result, 0U);
        EXPECT_EQ(err, code);
        err = 0;
    };
    expect_error(s.plain.pkey_print(handle, tx, nullptr, record, buffer.data(), room, &err), 22);
    EXPECT_EQ(handle->last_error, 22U);
    expect_error(s.plain.pkey_print(handle, tx, table, nullptr, buffer.data(), room, &err), 22);
    expect_error(s.plain.pkey_print(nullptr, tx, table, record, buffer.data(), room, &err), 22);
    const u32 length = s.plain.pkey_len(handle, tx, record);
    expect_error(s.plain.pkey_print(handle, tx, table, record, buffer.data(), length - 1, &err),
                 90);
    EXPECT_EQ(handle->last_error, 90U);
    // The room is compared as a signed number.
    expect_error(s.plain.pkey_print(handle, tx, table, record, buffer.data(), 0x80000000U, &err),
                 90);
    handle->last_error = 22;
    err = 5;
    EXPECT_EQ(s.plain.pkey_print(handle, tx, table, record, buffer.data(), room, &err), 0U);
    EXPECT_EQ(err, 5U);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_EQ(buffer, std::vector<char>(room, '.'));
}

class LdapText : public LdapTest {};

TEST_F(LdapText, IsTheDocumentedOne) {
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

TEST_F(LdapText, StepsOverTheBytesBeforeAnInnerClosingBrace) {
    kel_record *record = make(1, 1, 7);
    std::string buffer(1024, '.');
    const u32 length = s.plain.print(handle, tx, buffer.data(), record, 1024, &err);
    const std::string text = buffer.substr(0, length);
    const std::string tail = "..}\n}\n";
    EXPECT_EQ(text.substr(text.size() - tail.size()), tail) << text;
}

TEST_F(LdapText, OfXmlHoldsOneElementAField) {
    kel_record *record = make(1, 1, 7);
    std::string buffer(1024, ' ');
    const u32 length = s.plain.to_xml(handle, tx, buffer.data(), record, 1024, &err);
    EXPECT_EQ(buffer.substr(0, length),
              "<tbl_ldap_conn>\n<st_ldap_conn>\n<sname>server-00000001</sname>\n"
              "<num_conns>7</num_conns>\n</st_ldap_conn>\n</tbl_ldap_conn>\n");
}

TEST_F(LdapText, AFieldThatIsAbsentInXmlKeepsItsValue) {
    const Document document =
        parse("<tbl_ldap_conn><st_ldap_conn><sname>x</sname></st_ldap_conn></tbl_ldap_conn>");
    kel_record *read = s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(s.get_value(handle, read->object), 0U);
}

TEST_F(LdapText, AValueThatCannotBeReadEndsTheReadWithoutReleasingTheRecord) {
    const Document document =
        parse("<st_ldap_conn><sname>x</sname><num_conns>many</num_conns></st_ldap_conn>");
    const u64 blocks = session.blocks();
    EXPECT_EQ(s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0), nullptr);
    EXPECT_NE(err, 0U);
    EXPECT_NE(err, 2U);
    EXPECT_EQ(session.blocks(), blocks + 2);
}

}  // namespace
}  // namespace tarn::test
