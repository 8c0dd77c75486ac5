// SPDX-License-Identifier: Apache-2.0
// XML is read by paths: which ones are looked up, in which order, and the effects of the
// results.
#include <cerrno>
#include <string>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class XmlPaths : public ObjectModeTest {
 protected:
    static std::vector<std::string> paths(const std::vector<ServiceCall> &calls) {
        std::vector<std::string> all;
        for (const ServiceCall &call : calls) all.push_back(call.text);
        return all;
    }
    char message[64] = "untouched";
};
TARN_EACH_MODE(XmlPaths);

TEST_P(XmlPaths, AFieldsPathIsItsParentsASlashAndItsName) {
    const Document document = parse(
        "<around><e><label>new</label><tag><name>n</name><point><x>1</x><y>2</y></point></tag>"
        "</e></around>");
    st_every *every = make.every(1);
    services.clear();
    st_every_from_xml(handle, tx, "//e", document.get(), every, &err, message, 64);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(paths(services.calls("xml_get_element_nodecount")),
              (std::vector<std::string>{"//e", "//e/tag", "//e/tag/point"}));
    EXPECT_EQ(paths(services.calls("kel_vstring_from_xml")),
              (std::vector<std::string>{"//e/label", "//e/tag/name"}));
    EXPECT_EQ(paths(services.calls("int32_from_xml")),
              (std::vector<std::string>{"//e/s32", "//e/tag/point/x", "//e/tag/point/y"}));
    EXPECT_EQ(paths(services.calls("u_int32_from_xml")), (std::vector<std::string>{"//e/a32"}));
    EXPECT_EQ(services.order({"u_int8_from_xml", "u_int32_from_xml", "kel_vstring_from_xml"}),
              "u_int8_from_xml u_int32_from_xml kel_vstring_from_xml kel_vstring_from_xml");
}

TEST_P(XmlPaths, DocumentAndMessageArePassedOnUnchanged) {
    const Document document = parse("<e><a8>300</a8></e>");
    st_every *every = make.every(1);
    services.clear();
    st_every_from_xml(handle, tx, "/e", document.get(), every, &err, message, 64);
    expect_error(EINVAL);
    EXPECT_STREQ(message, "untouched") << "only enumerations write it";
    const Document other = parse("<e><label>new</label></e>");
    st_every_from_xml(handle, tx, "/e", other.get(), every, &err, message, 64);
    EXPECT_EQ(err, 0U);
    const auto calls = services.calls("kel_vstring_from_xml", at(every, 96));
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].arguments_in(3, 8), words(other.get(), at(every, 96), &err, message, 64));
}

TEST_P(XmlPaths, AnArraysElementsCountFrom1AndEndAtTheFirstThatIsAbsent) {
    const Document document = parse("<d><minute>8</minute><minute>9</minute><total>5</total></d>");
    st_day *day = st_day_create(handle, tx);
    services.clear();
    st_day_from_xml(handle, tx, "//d", document.get(), day, &err, message, 64);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(paths(services.calls("u_int8_from_xml")),
              (std::vector<std::string>{"//d/minute[1]", "//d/minute[2]", "//d/minute[3]"}));
    EXPECT_EQ(paths(services.calls("u_int32_from_xml")), (std::vector<std::string>{"//d/total"}));
    EXPECT_EQ(st_day_total_get_value(handle, tx, day, &err), 5U);
}

TEST_P(XmlPaths, AnArrayIsReadOnlyToItsLastElement) {
    std::string text = "<d>";
    for (u32 i = 0; i < minutes + 2; ++i) {
        text += "<minute>" + std::to_string(i % 250) + "</minute>";
    }
    const Document document = parse(text + "</d>");
    st_day *day = st_day_create(handle, tx);
    services.clear();
    st_day_from_xml(handle, tx, "//d", document.get(), day, &err, message, 64);
    EXPECT_EQ(err, 0U);
    const auto looked_up = paths(services.calls("u_int8_from_xml"));
    ASSERT_EQ(looked_up.size(), minutes);
    EXPECT_EQ(looked_up.back(), "//d/minute[1440]");
    for (u32 i = 0; i < minutes; ++i) {
        ASSERT_EQ(st_day_minute_get_value(handle, tx, day, i, &err), i % 250);
    }
    EXPECT_EQ(st_day_total_get_value(handle, tx, day, &err), 0U);
}

TEST_P(XmlPaths, AFieldsPathIsTruncatedTo255Characters) {
    // Selects the element nevertheless: each predicate accepts the first node.
    std::string path = "//c";
    while (path.size() < 250) path += "[1]";
    const Document document = parse("<c><sname>new</sname><num_conns>7</num_conns></c>");
    st_ldap_conn *conn = make.conn("server", 300);
    services.clear();
    st_ldap_conn_from_xml(handle, tx, path.c_str(), document.get(), conn, &err, message, 64);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(paths(services.calls("kel_vstring_from_xml")),
              (std::vector<std::string>{(path + "/sname").substr(0, 255)}));
    EXPECT_EQ(paths(services.calls("u_int32_from_xml")),
              (std::vector<std::string>{(path + "/num_conns").substr(0, 255)}));
}

TEST_P(XmlPaths, InvalidPathsAndNoDocumentSelectNothing) {
    const Document document = parse("<c/>");
    st_ldap_conn *conn = make.conn("server", 300);
    st_ldap_conn_from_xml(handle, tx, "//c", nullptr, conn, &err, message, 64);
    expect_error(ENOENT);
    st_ldap_conn_from_xml(handle, tx, "count(//c)", document.get(), conn, &err, message, 64);
    expect_error(ENOENT);
    EXPECT_EQ(services.count("kel_vstring_from_xml"), 0U);
}

TEST_P(XmlPaths, ANestedObjectsFailureEndsItsParentsReadToo) {
    const Document document = parse("<e><tag><point><x>much</x><y>2</y></point></tag></e>");
    st_every *every = make.every(1);
    st_every_from_xml(handle, tx, "//e", document.get(), every, &err, message, 64);
    expect_error(EINVAL);
    EXPECT_EQ(services.count("int32_from_xml"), 2U) << "s32 and x";
}

TEST_P(XmlPaths, WritingStopsAfterAFailedField) {
    pair_key *key = pair_key_create(handle, tx);
    std::vector<char> buffer(500);
    services.clear();
    pair_key_to_xml(handle, tx, "k", buffer.data(), key, 500, 0, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(services.count("u_int8_to_xml"), 1U);
    pair_key_name_set(handle, tx, key, Text(std::string("\x01", 1)), &err);
    services.clear();
    pair_key_to_xml(handle, tx, "k", buffer.data(), key, 500, 0, &err);
    expect_error(EINVAL);
    EXPECT_EQ(services.count("u_int8_to_xml"), 0U);
}

TEST_P(XmlPaths, WritingTextAndXmlAnnouncesAndChangesNothing) {
    st_every *every = make.every(1);
    const auto before = bytes_of(every, st_every_sizeof(handle));
    std::vector<char> buffer(8000);
    HookRecorder hooks(handle);
    st_every_print(handle, tx, buffer.data(), 2, "e", every, 8000, &err);
    st_every_to_xml(handle, tx, "e", buffer.data(), every, 8000, 3, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(bytes_of(every, st_every_sizeof(handle)), before);
}

}  // namespace
}  // namespace tarn::test
