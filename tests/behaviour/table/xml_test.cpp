// SPDX-License-Identifier: Apache-2.0
// Records written as XML, and read from it.
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "tests/behaviour/table/text_fixture.h"

namespace tarn::test {
namespace {

class RecordXml : public TextTest {
 protected:
    // The elements of a service's calls, in order.
    std::string elements(const std::string &service) {
        std::string names;
        for (const ServiceCall &call : services.calls(service)) names += call.text + " ";
        return names;
    }
};
TARN_EACH_TABLE_AND_MODE(RecordXml);

TEST_P(RecordXml, ARecordIsAnElementThatContainsItsObjects) {
    kel_record *record = make(1, 1, 5);
    const std::string xml = written(s.plain.to_xml, record);
    EXPECT_EQ(written(s.unsafe.to_xml, record), xml);
    const u32 length = s.cr.to_xml(handle, record, buffer.data(), space);
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
    for (const std::string &path : {std::string("/") + s.name,
                                    std::string("/") + s.name + "/" + s.object.type->name.data()}) {
        EXPECT_EQ(xml_get_element_nodecount(document.get(), path.c_str(), &count), 0U);
        EXPECT_EQ(count, 1U) << path;
    }
}

TEST_P(RecordXml, RoundTripsToAnEqualRecord) {
    kel_record *record = make(9 % s.keys, 7, 5);
    const Document document = parse(written(s.plain.to_xml, record));
    char message[128] = {};
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        kel_record *read =
            form->from_xml(handle, tx, document.get(), &err, message, sizeof message);
        EXPECT_EQ(err, 0U) << message;
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(s.object.type->compare(read->object, record->object), 0);
        if (s.has_key_object()) {
            EXPECT_EQ(s.key_object.type->compare(read->key_object, record->key_object), 0);
        }
        EXPECT_EQ(read->src, KEL_SOURCE_DEFAULT);
        EXPECT_EQ(key_of(read), 9 % s.keys);
        insert(read);
        destroy(read);
    }
}

TEST_P(RecordXml, EnteredWithAnErrorDoesNothing) {
    kel_record *record = make(1);
    const Document document = parse("<a/>");
    handle->last_error = EINVAL;
    err = EIO;
    services.clear();
    HookRecorder hooks(handle);
    EXPECT_EQ(s.plain.to_xml(handle, tx, buffer.data(), record, space, &err), 0U);
    EXPECT_EQ(s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0), nullptr);
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(services.calls().empty());
    EXPECT_TRUE(hooks.events.empty());
}

TEST_P(RecordXml, ADocumentWithoutTheElementIsReadAsAnEmptyRecord) {
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

TEST_P(RecordXml, WithoutTheValueElementTheKeyIsNotRead) {
    if (!s.has_key_object()) return;
    kel_record *record = make(13);
    const Document document = parse("<x>" + object_xml(s.key_object, record->key_object) + "</x>");
    kel_record *read = s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0);
    EXPECT_EQ(err, 0U);
    ASSERT_NE(read, nullptr);
    EXPECT_NE(s.key_object.type->compare(read->key_object, record->key_object), 0);
    destroy(read);
}

TEST_P(RecordXml, WithoutTheKeyElementTheKeyIsEmpty) {
    if (!s.has_key_object()) return;
    kel_record *record = make(13, 1, 5);
    const Document document = parse("<x>" + object_xml(s.object, record->object) + "</x>");
    kel_record *read = s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0);
    EXPECT_EQ(err, 0U);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(s.get_value(handle, read->object), 5U);
    EXPECT_NE(s.key_object.type->compare(read->key_object, record->key_object), 0);
    destroy(read);
}

TEST_P(RecordXml, AReadWithoutMemoryFailsWithEnomem) {
    const Document document = parse(written(s.plain.to_xml, make(1)));
    const u64 blocks = session.blocks();
    for (u64 n = 1; n <= (s.has_key_object() ? 3U : 2U); ++n) {
        // The earlier blocks stay: the record is not released.
        kel_store_fail_allocation(session.store(), n);
        err = 0;
        EXPECT_EQ(s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0), nullptr) << n;
        kel_store_fail_allocation(session.store(), 0);
        EXPECT_EQ(err, ENOMEM) << n;
        EXPECT_EQ(handle->last_error, ENOMEM) << n;
    }
    EXPECT_GT(session.blocks(), blocks);
}

TEST_P(RecordXml, ClosesTheRecordAfterAnErrorToo) {
    kel_record *record = make(1);
    const u32 whole = static_cast<u32>(written(s.plain.to_xml, record).size());
    const std::string begin = std::string("<") + s.name + ">";
    u32 error_at_the_end = 0;
    services.at_each = [&](const ServiceCall &call) {
        if (call.name == "end_tag") error_at_the_end = *call.pointer<u32>(5);
    };
    // Less and less space, down to none for the record's own tag.
    for (const u32 length : {whole - 1, whole / 2, static_cast<u32>(begin.size()) - 1}) {
        err = 0;
        services.clear();
        EXPECT_LE(s.plain.to_xml(handle, tx, buffer.data(), record, length, &err), length);
        EXPECT_EQ(err, EMSGSIZE);
        EXPECT_EQ(services.calls("start_tag").at(0).text, s.name);
        EXPECT_EQ(services.calls("start_tag").at(0).arguments_in(4, 6),
                  (std::vector<u64>{length, 0}));
        EXPECT_EQ(services.calls("end_tag").back().text, s.name);
    }
    // Nothing is between the record's tags, which did not fit.
    EXPECT_EQ(elements("start_tag"), std::string(s.name) + " ");
    EXPECT_EQ(elements("end_tag"), std::string(s.name) + " ");
    EXPECT_EQ(error_at_the_end, EMSGSIZE);
}

TEST_P(RecordXml, ClearsTheLastErrorFirst) {
    kel_record *record = make(1);
    handle->last_error = EINVAL;
    const std::string xml = written(s.plain.to_xml, record);
    EXPECT_EQ(handle->last_error, 0U);
    const Document document = parse(xml);
    handle->last_error = EINVAL;
    services.clear();
    EXPECT_NE(s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0), nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(services.calls().at(0).name, "kel_clear_last_error");
}

TEST_P(RecordXml, IsFoundAtAnyDepthOfTheDocument) {
    kel_record *record = make(1, 1, 5);
    std::string text = "<a><b>" + object_xml(s.object, record->object) + "</b>";
    if (s.has_key_object()) text += "<c>" + object_xml(s.key_object, record->key_object) + "</c>";
    const Document document = parse(text + "</a>");
    kel_record *read = s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(s.get_value(handle, read->object), 5U);
    EXPECT_EQ(key_of(read), 1U);
    EXPECT_EQ(static_cast<kel_object *>(read->object)->flags & OBJ_EMBEDDED, 0);
    destroy(read);
}

TEST_P(RecordXml, AKeyElementThatCannotBeReadEndsTheRead) {
    if (!s.has_key_object()) return;
    kel_record *record = make(1, 1, 5);
    const Document document = parse("<x>" + object_xml(s.object, record->object) +
                                    "<pair_key><port>many</port></pair_key></x>");
    const u64 blocks = session.blocks();
    EXPECT_EQ(s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0), nullptr);
    EXPECT_NE(err, 0U);
    EXPECT_NE(err, ENOENT);
    EXPECT_GE(session.blocks(), blocks + 3) << "record and objects aren't released";
}

TEST_P(RecordXml, AnEnumerationThatFailsFillsTheMessage) {
    if (std::string(s.object.type->name.data()) != "st_every") return;
    const Document document = parse(written(s.plain.to_xml, make(1, 1, 5)));
    services.at_each = [&](const ServiceCall &call) {
        if (call.name != "xml_get_element_value" || !call.text.starts_with("//st_every/lamp"))
            return;
        services.fail(call.name, 1, 77);
    };
    char message[64] = "";
    EXPECT_EQ(s.plain.from_xml(handle, tx, document.get(), &err, message, sizeof message), nullptr);
    EXPECT_EQ(err, 77U);
    EXPECT_STREQ(message, "Failed xpath: //st_every/lamp");
}

class LdapXml : public LdapTest {};

TEST_F(LdapXml, HasOneElementPerField) {
    kel_record *record = make(1, 1, 7);
    std::string buffer(1024, ' ');
    const u32 length = s.plain.to_xml(handle, tx, buffer.data(), record, 1024, &err);
    EXPECT_EQ(buffer.substr(0, length),
              "<tbl_ldap_conn>\n<st_ldap_conn>\n<sname>server-00000001</sname>\n"
              "<num_conns>7</num_conns>\n</st_ldap_conn>\n</tbl_ldap_conn>\n");
}

TEST_F(LdapXml, AFieldThatIsAbsentKeepsItsValue) {
    const Document document =
        parse("<tbl_ldap_conn><st_ldap_conn><sname>x</sname></st_ldap_conn></tbl_ldap_conn>");
    // The new object gets a value before its fields are read.
    HookRecorder hooks(handle);
    bool filled = false;
    services.at_each = [&](const ServiceCall &call) {
        if (filled || call.name != "xml_get_element_nodecount") return;
        filled = true;
        s.set_value(handle, tx, hooks.of(Hook::alloc).back().address, 300, &err);
    };
    kel_record *read = s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(s.get_value(handle, read->object), 300U);
}

TEST_F(LdapXml, AnUnreadableValueEndsTheReadAndKeepsTheRecord) {
    const Document document =
        parse("<st_ldap_conn><sname>x</sname><num_conns>many</num_conns></st_ldap_conn>");
    const u64 blocks = session.blocks();
    EXPECT_EQ(s.plain.from_xml(handle, tx, document.get(), &err, nullptr, 0), nullptr);
    EXPECT_NE(err, 0U);
    EXPECT_NE(err, ENOENT);
    EXPECT_EQ(session.blocks(), blocks + 2);
}

}  // namespace
}  // namespace tarn::test
