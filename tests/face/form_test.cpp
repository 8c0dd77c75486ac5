// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>

#include "fixture.h"
#include "tarnbase/tarn/tables/ldap_stats.hpp"
#include "tarnbase/tarn/tables/test_grown.hpp"
#include "tarnbase/tarn/tables/test_pair.hpp"

namespace face_test {
namespace {

class Form : public Face {
 protected:
    tarn::table<tarn::ldap_conn> table = servers(session);
};

TEST_F(Form, TextOfARecord) {
    add(table, "ldap1", 3);
    EXPECT_EQ(table.find("ldap1")->to_text(),
              "record@tbl_ldap_conn: {\n"
              "  st_ldap_conn@st_ldap_conn: {\n"
              "    sname: \"ldap1\"\n"
              "    num_conns: 3\n"
              "  }\n"
              "}\n");
}

TEST_F(Form, TextOfAnObjectHasOnlyTheObject) {
    add(table, "ldap1", 3);
    const tarn::ldap_conn conn = *table.find("ldap1");
    EXPECT_EQ(conn.to_text(),
              "st_ldap_conn@st_ldap_conn: {\n"
              "  sname: \"ldap1\"\n"
              "  num_conns: 3\n"
              "}\n");
}

TEST_F(Form, ALongTextGetsALargerBuffer) {
    auto grown = tarn::table<tarn::grown>::open_or_create(session, "grown");
    auto record = grown.make("day");
    for (std::size_t i = 0; i < record.minute().size(); ++i) record.set_minute(i, 200);
    const std::string text = record.to_text();
    const std::string xml = record.to_xml();
    EXPECT_GT(text.size(), 10000U);
    EXPECT_EQ(text.substr(text.size() - 2), "}\n");
    EXPECT_GT(xml.size(), 10000U);
    auto read = grown.from_xml(tarn::xml_document::parse(xml));
    EXPECT_EQ(read.to_text(), text);
    EXPECT_EQ(grown.from_wire(record.to_wire()).to_text(), text);
}

TEST_F(Form, XmlRoundTrips) {
    add(table, "a < b & \"c\"", 3);
    const std::string xml = table.begin()->to_xml();
    const auto read = table.from_xml(tarn::xml_document::parse(xml));
    EXPECT_EQ(read.sname(), "a < b & \"c\"");
    EXPECT_EQ(read.num_conns(), 3U);
    EXPECT_EQ(read.to_xml(), xml);
}

TEST_F(Form, EachRecordOfADocumentIsReadSeparately) {
    add(table, "ldap1", 1);
    add(table, "ldap2", 2);
    std::string all = "<all>";
    for (auto record : table) all += record.to_xml();
    const auto document = tarn::xml_document::parse(all + "</all>");
    auto copy = tarn::table<tarn::ldap_conn>::open_or_create(session, "copy");
    document.for_each("/all/tbl_ldap_conn", [&](const tarn::xml_element &element) {
        copy.insert(copy.from_xml(element));
    });
    EXPECT_EQ(names(copy), (Names{"ldap1", "ldap2"}));
    EXPECT_EQ(copy.find("ldap2")->num_conns(), 2U);
}

TEST_F(Form, ExceptionsOfAnElementsFunctionPropagate) {
    const auto document = tarn::xml_document::parse("<a><b/><b/></a>");
    int calls = 0;
    EXPECT_THROW(document.for_each("/a/b",
                                   [&](const tarn::xml_element &) {
                                       ++calls;
                                       throw std::out_of_range("enough");
                                   }),
                 std::out_of_range);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(thrown_by([&] { document.for_each("/[", [](const tarn::xml_element &) {}); }).code(),
              std::errc::invalid_argument);
}

TEST_F(Form, FieldsWithoutAnElementStayEmpty) {
    const auto document =
        tarn::xml_document::parse("<st_ldap_conn><num_conns>3</num_conns></st_ldap_conn>");
    const auto read = table.from_xml(document);
    EXPECT_EQ(read.sname(), "");
    EXPECT_EQ(read.num_conns(), 3U);
    EXPECT_EQ(table.from_xml(tarn::xml_document::parse("<something/>")).num_conns(), 0U);
}

TEST_F(Form, InvalidXmlIsAnErrorWithItsLine) {
    const tarn::error error = thrown_by([] { tarn::xml_document::parse("<a>\n<b>"); });
    EXPECT_EQ(error.code(), std::errc::invalid_argument);
    EXPECT_NE(std::string(error.what()).find("line 2"), std::string::npos) << error.what();
}

TEST_F(Form, XmlThatDoesNotFitIsAnErrorAndLeaksNothing) {
    const auto document = tarn::xml_document::parse(
        "<st_ldap_conn><sname>a name that doesn't lie in the string itself</sname>"
        "<num_conns>12345678901234567890</num_conns></st_ldap_conn>");
    const std::uint64_t before = blocks(store);
    const tarn::error error = thrown_by([&] { (void)table.from_xml(document); });
    EXPECT_EQ(error.code(), std::errc::invalid_argument) << error.what();
    EXPECT_EQ(std::string(error.what()).find("reading the XML of st_ldap_conn: "), 0U)
        << error.what();
    EXPECT_EQ(blocks(store), before);
}

TEST_F(Form, XmlWithoutMemoryLeaksNothing) {
    add(table, "a name that doesn't lie in the string itself", 3);
    const auto document = tarn::xml_document::parse(table.begin()->to_xml());
    const std::uint64_t before = blocks(store);
    std::uint64_t n = 1;
    for (;; ++n) {
        kel_store_fail_allocation(store.c_store(), n);
        const auto read = table.try_from_xml(document);
        kel_store_fail_allocation(store.c_store(), 0);
        if (read) break;
        EXPECT_EQ(read.error().code(), std::errc::not_enough_memory) << "allocation " << n;
        EXPECT_EQ(blocks(store), before) << "allocation " << n;
    }
    EXPECT_GT(n, 3U);
}

TEST_F(Form, TheWireFormRoundTrips) {
    auto pairs = tarn::table<tarn::pair>::open_or_create(session, "pairs");
    auto record = pairs.make({7, "a name that doesn't lie in the string itself",
                              tarn::address::parse("2001:db8::1"), 3});
    record.set_count(9);
    record.set_note("noted");
    const auto read = pairs.from_wire(record.to_wire());
    EXPECT_EQ(read.to_text(), record.to_text());
    EXPECT_EQ(read.key().peer().to_text(), "2001:db8::1");
}

TEST_F(Form, AWireFormInATrackingHandleHasItsState) {
    kel_handle_set_state_tracking(session.c_handle(), KEL_STATE_TRACKING_ON);
    add(table, "ldap1", 3);
    const tarn::bytes wire = table.begin()->to_wire();
    EXPECT_EQ(table.from_wire(wire).num_conns(), 3U);
}

TEST_F(Form, AFrameOfAnotherTableIsRefused) {
    auto stats = tarn::table<tarn::ldap_stats>::open_or_create(session, "stats");
    add(table, "ldap1", 3);
    const tarn::bytes wire = table.begin()->to_wire();
    const tarn::error error = thrown_by([&] { (void)stats.from_wire(wire); });
    EXPECT_EQ(error.code(), std::errc::invalid_argument);
    EXPECT_STREQ(error.what(),
                 "reading the wire form of tbl_ldap_stats: the frame is another table's");
}

TEST_F(Form, ATruncatedFrameIsRefusedAndLeaksNothing) {
    add(table, "a name that doesn't lie in the string itself", 3);
    const tarn::bytes wire = table.begin()->to_wire();
    const std::uint64_t before = blocks(store);
    for (std::size_t length = 0; length < wire.size(); ++length) {
        const auto read = table.try_from_wire({wire.data(), length});
        ASSERT_FALSE(read) << length << " bytes";
        // A missing object is reported as the C call reports it.
        const auto expected = length == 43 ? std::errc::not_enough_memory : std::errc::message_size;
        EXPECT_EQ(read.error().code(), expected) << length << " bytes";
        EXPECT_EQ(blocks(store), before) << length << " bytes";
    }
}

}  // namespace
}  // namespace face_test
