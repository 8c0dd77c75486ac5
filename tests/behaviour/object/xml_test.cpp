// SPDX-License-Identifier: Apache-2.0
// Writing and reading the XML form.
#include <cerrno>
#include <string>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Xml : public ObjectModeTest {
 protected:
    std::vector<char> buffer = std::vector<char>(200000, '#');
    char message[128] = "untouched";

    std::string text(u32 length) const { return {buffer.data(), length}; }
    std::string xml(const st_ldap_conn *conn, u8 flag = 0) {
        return text(st_ldap_conn_to_xml(handle, tx, "c", buffer.data(), conn, 100000, flag, &err));
    }
    std::string xml(const st_every *every) {
        return text(st_every_to_xml(handle, tx, "e", buffer.data(), every, 100000, 0, &err));
    }
    std::string xml(const st_grown *grown) {
        return text(st_grown_to_xml(handle, tx, "g", buffer.data(), grown, 190000, 0, &err));
    }
    void read(st_ldap_conn *conn, const std::string &xml, const char *path = "//c") {
        st_ldap_conn_from_xml(handle, tx, path, parse(xml).get(), conn, &err, message, 128);
    }
    void read(st_every *every, const std::string &xml) {
        st_every_from_xml(handle, tx, "//e", parse(xml).get(), every, &err, message, 128);
    }
    void read(st_grown *grown, const std::string &xml) {
        st_grown_from_xml(handle, tx, "//g", parse(xml).get(), grown, &err, message, 128);
    }
    // The number of nodes that a path selects.
    static u32 nodes(const std::string &xml, const std::string &path) {
        u32 count = 0;
        EXPECT_EQ(xml_get_element_nodecount(parse(xml).get(), path.c_str(), &count), 0U);
        return count;
    }
};
TARN_EACH_MODE(Xml);
using TrackedXml = TrackedTest;
class UntrackedXml : public ObjectTest {};

TEST_F(UntrackedXml, OfANullObjectHasEveryElementWithoutAValue) {
    std::vector<char> buffer(60000);
    const u32 length = st_grown_to_xml(handle, tx, "g", buffer.data(), nullptr, 60000, 0, &err);
    EXPECT_EQ(err, 0U);
    const std::string text(buffer.data(), length);
    EXPECT_EQ(text.rfind("<g>\n<name></name>\n<total>0</total>\n", 0), 0U);
    std::size_t elements = 0;
    const std::string element = "<minute>0</minute>\n";
    for (std::size_t at = 0; (at = text.find(element, at)) != text.npos; ++at) ++elements;
    EXPECT_EQ(elements, 1440U);
}

TEST_P(Xml, AnObjectIsAnElementWithOneElementPerField) {
    const std::string text = xml(make.conn("server", 300));
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(nodes(text, "/c"), 1U);
    EXPECT_EQ(nodes(text, "/c/*"), 2U);
    EXPECT_EQ(nodes(text, "/c/sname[.='server']"), 1U);
    EXPECT_EQ(nodes(text, "/c/sname/following-sibling::num_conns[.='300']"), 1U);
}

TEST_P(Xml, EnumerationsAreEmptyElementsAndNestedObjectsAreNestedElements) {
    st_every *every = make.every(1);
    const std::string text = xml(every);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(nodes(text, "/e/lamp/LAMP_ON"), 1U);
    EXPECT_EQ(nodes(text, "/e/door/DOOR_CLOSED"), 1U);
    EXPECT_EQ(nodes(text, "/e/tag/point/y[.='3']"), 1U);
    EXPECT_EQ(nodes(text, "/e/tag/lamp/LAMP_BLINK"), 1U);
    EXPECT_EQ(nodes(text, "/e/*"), 12U);
}

TEST_P(Xml, AnArrayHasOneElementPerItem) {
    const std::string text = xml(make.grown(5));
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(nodes(text, "/g/minute"), minutes);
    EXPECT_EQ(nodes(text, "/g/minute[1][.='5']"), 1U);
    EXPECT_EQ(nodes(text, "/g/minute[1440][.='" + std::to_string((5 + 1439 * 3) % 256) + "']"), 1U);
    EXPECT_EQ(nodes(text, "/g/extra/preceding-sibling::minute"), minutes);
}

TEST_P(Xml, RoundTrips) {
    for (u32 seed = 0; seed < 3; ++seed) {
        st_every *every = make.every(50);
        read(every, xml(make.every(seed)));
        EXPECT_EQ(err, 0U);
        make.check(every, seed);
        st_grown *grown = make.grown(50);
        read(grown, xml(make.grown(seed)));
        EXPECT_EQ(err, 0U);
        make.check(grown, seed);
    }
    EXPECT_STREQ(message, "untouched");
}

TEST_P(Xml, StateFlagsAreAttributesOfTheFieldsElements) {
    st_grown *grown = make.grown(1);
    st_grown_set_all_state_tracking_flag(handle, tx, grown, 6);
    services.clear();
    text(st_grown_to_xml(handle, tx, "g", buffer.data(), grown, 190000, 4, &err));
    EXPECT_EQ(err, 0U);
    const u64 expected = tracking() ? 6 : 0;
    const auto tags = services.calls("start_tag");
    // The object, `share`, its lamp and point, `extra`, its lamp and point.
    ASSERT_EQ(tags.size(), 7U);
    EXPECT_EQ(tags[0].arguments.at(5), 4U);
    EXPECT_EQ(tags[1].arguments.at(5), expected);
    EXPECT_EQ(tags[2].arguments.at(5), 0U) << "an enumeration ignores its flag";
    EXPECT_EQ(tags[3].arguments.at(5), expected);
    EXPECT_EQ(tags[4].arguments.at(5), expected);
    const auto elements = services.calls("u_int8_to_xml");
    ASSERT_EQ(elements.size(), minutes);
    for (const ServiceCall &call : elements) EXPECT_EQ(call.arguments.at(6), expected);
}

TEST_F(TrackedXml, EachElementOfAnArrayHasItsOwnFlag) {
    st_grown *grown = st_grown_create(handle, tx);
    st_grown_minute_state_flag_set(handle, tx, grown, 5, 3, &err);
    st_grown_minute_state_flag_whole_set(handle, tx, grown, 9, &err);
    std::vector<char> buffer(190000);
    services.clear();
    st_grown_to_xml(handle, tx, "g", buffer.data(), grown, 190000, 0, &err);
    EXPECT_EQ(err, 0U);
    const auto elements = services.calls("u_int8_to_xml");
    EXPECT_EQ(elements[4].arguments.at(6), 0U);
    EXPECT_EQ(elements[5].arguments.at(6), 3U);
}

TEST_P(Xml, AnInstanceOfANegativeVariantIsAnEmptyElement) {
    st_ldap_conn *conn = make.conn("server", 300);
    head(conn)->variant = -1;
    const std::string text = xml(conn);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(nodes(text, "/c"), 1U);
    EXPECT_EQ(nodes(text, "/c/*"), 0U);
}

TEST_P(Xml, AnOlderInstanceIsClosedWithoutTheLaterFields) {
    st_grown *grown = make.grown(5);
    head(grown)->variant = 0;
    const std::string text = xml(grown);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(nodes(text, "/g/extra"), 0U);
    EXPECT_EQ(nodes(text, "/g/minute"), minutes);
}

TEST_P(Xml, AFailedFieldEndsTheFieldsAndTheElementIsClosed) {
    st_ldap_conn *conn = make.conn(std::string("\x01", 1), 300);
    const std::string text = xml(conn);
    EXPECT_NE(err, 0U);
    EXPECT_EQ(nodes(text, "/c"), 1U);
    EXPECT_EQ(nodes(text, "/c/*"), 0U);
}

TEST_P(Xml, TheCrFormUsesTheTypesNameAndNoFlag) {
    st_ldap_conn *conn = make.conn("server", 300);
    kel_clear_last_error(handle);
    const std::string whole = text(st_ldap_conn_toxml_cr(handle, conn, buffer.data(), 1000));
    EXPECT_EQ(nodes(whole, "/st_ldap_conn/sname"), 1U);
    EXPECT_EQ(st_ldap_conn_toxml_cr(handle, conn, buffer.data(), 20), 0xffffffffU);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
    EXPECT_EQ(st_ldap_conn_toxml_cr(handle, conn, buffer.data(), 1000), 0xffffffffU);
}

TEST_P(Xml, IsSafeForEveryBufferSize) {
    st_every *every = make.every(3);
    const u32 length = st_every_to_xml(handle, tx, "e", buffer.data(), every, 5000, 0, &err);
    ASSERT_EQ(err, 0U);
    for (u32 space = 0; space < length; ++space) {
        std::vector<char> exact(space);
        EXPECT_LE(st_every_to_xml(handle, tx, "e", exact.data(), every, space, 0, &err), space);
        ASSERT_EQ(err, EMSGSIZE) << space;
        err = 0;
    }
    std::vector<char> exact(length);
    EXPECT_EQ(st_every_to_xml(handle, tx, "e", exact.data(), every, length, 0, &err), length);
    EXPECT_EQ(err, 0U);
}

// ---- Reading ------------------------------------------------------------------------------

TEST_P(Xml, AbsentFieldsKeepTheirValues) {
    st_ldap_conn *conn = make.conn("server", 300);
    read(conn, "<c><sname>new</sname></c>");
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text_of(st_ldap_conn_sname_get(handle, tx, conn, &err)), "new");
    EXPECT_EQ(st_ldap_conn_num_conns_get_value(handle, tx, conn, &err), 300U);
    read(conn, "<c/>");
    read(conn, "<c><other>1</other></c>");
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text_of(st_ldap_conn_sname_get(handle, tx, conn, &err)), "new");
}

TEST_P(Xml, APathThatSelectsNothingFailsWithEnoent) {
    st_ldap_conn *conn = make.conn("server", 300);
    read(conn, "<d><sname>new</sname></d>");
    expect_error(ENOENT);
    read(conn, "<c><sname>new</sname></c>", "//[");
    expect_error(ENOENT);
    EXPECT_EQ(text_of(st_ldap_conn_sname_get(handle, tx, conn, &err)), "server");
}

TEST_P(Xml, AnyOtherFailureStopsTheReader) {
    st_ldap_summary *summary = st_ldap_summary_create(handle, tx);
    services.replace(u_int32_from_xml,
                     [](auto, auto, auto, auto, auto, u32 *error, auto, auto) { *error = EINVAL; });
    st_ldap_summary_from_xml(
        handle, tx, "//s",
        parse("<s><sname>a</sname><req_timeout>4</req_timeout><status>1</status></s>").get(),
        summary, &err, message, 128);
    EXPECT_EQ(err, EINVAL);
    EXPECT_EQ(text_of(st_ldap_summary_sname_get(handle, tx, summary, &(err = 0))), "a");
    EXPECT_EQ(st_ldap_summary_status_get_value(handle, tx, summary, &err), 0U);
}

TEST_P(Xml, AnAbsentNestedObjectIsUnchanged) {
    st_every *every = make.every(5);
    read(every, "<e><a8>9</a8></e>");
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_every_a8_get_value(handle, tx, every, &err), 9);
    make.check(st_every_tag_get(handle, tx, every, &err), 6);
    read(every, "<e><tag><point><y>-4</y></point></tag></e>");
    EXPECT_EQ(err, 0U);
    st_tag *tag = st_every_tag_get(handle, tx, every, &err);
    st_point *point = st_tag_point_get(handle, tx, tag, &err);
    EXPECT_EQ(st_point_y_get_value(handle, tx, point, &err), -4);
    EXPECT_EQ(st_point_x_get_value(handle, tx, point, &err), -18);
}

TEST_P(Xml, AnArrayIsReadToItsFirstAbsentElementAndLaterFieldsInAnyVariant) {
    st_grown *grown = make.grown(40);
    head(grown)->variant = 0;
    read(grown,
         "<g><minute>1</minute><minute>2</minute><minute>3</minute>"
         "<extra><lamp><LAMP_BLINK/></lamp></extra></g>");
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes_of(at(grown, 168), 4), (std::vector<u8>{1, 2, 3, 49}));
    EXPECT_EQ(*at<u32>(grown, 1608 + 48 + 12), 2U);
    st_day *day = st_day_create(handle, tx);
    st_day_from_xml(handle, tx, "//d", parse("<d><minute>8</minute><total>5</total></d>").get(),
                    day, &err, nullptr, 0);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_day_minute_get_value(handle, tx, day, 0, &err), 8);
    EXPECT_EQ(st_day_minute_get_value(handle, tx, day, 1, &err), 0);
    EXPECT_EQ(st_day_total_get_value(handle, tx, day, &err), 5U);
}

TEST_P(Xml, ABadElementOfAnArrayStopsTheReader) {
    st_day *day = st_day_create(handle, tx);
    st_day_from_xml(handle, tx, "//d",
                    parse("<d><minute>8</minute><minute>256</minute><total>5</total></d>").get(),
                    day, &err, nullptr, 0);
    EXPECT_NE(err, 0U);
    EXPECT_NE(err, ENOENT);
    EXPECT_EQ(st_day_total_get_value(handle, tx, day, &(err = 0)), 0U);
}

TEST_P(Xml, AnEnumerationWithoutAKnownChildKeepsItsValue) {
    st_every *every = make.every(5);
    read(every, "<e><lamp><LAMP_GREEN/></lamp><door/></e>");
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_every_lamp_get_value(handle, tx, every, &err), 5U % 3);
    EXPECT_EQ(st_every_door_get_value(handle, tx, every, &err), 5U % 3 + 1);
}

TEST_P(Xml, AnEnumerationsFailureHasAMessageAndStopsTheReader) {
    st_every *every = make.every(5);
    services.always_return("xml_get_element_value", EINVAL);
    read(every, "<e><lamp><LAMP_ON/></lamp><label>new</label></e>");
    expect_error(EINVAL);
    EXPECT_STREQ(message, "Failed xpath: //e/lamp");
    EXPECT_NE(text_of(at<kel_vstring>(every, 96)), "new");
}

TEST_P(Xml, ReadingChangesNeitherFlagsNorStateBlock) {
    const std::string text = xml(make.every(3));
    st_every *every = make.every(5);
    st_every_set_all_state_tracking_flag(handle, tx, every, 7);
    kel_set_instance_modified(every, 1, 0, 0);
    const u8 flags = head(every)->flags;
    const auto block = bytes_of(at(every, every_size), tracking() ? every_states : 0);
    read(every, text);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(every)->flags, flags);
    EXPECT_EQ(bytes_of(at(every, every_size), tracking() ? every_states : 0), block);
}

TEST_F(UntrackedXml, AnUntrackedObjectInATrackingHandleIsAnEmptyElementAndEinval) {
    st_ldap_conn *conn = make.conn("server", 1);
    track(KEL_STATE_TRACKING_ON);
    char buffer[256];
    TraceCapture trace;
    const u32 length = st_ldap_conn_to_xml(handle, tx, "c", buffer, conn, 256, 0, &err);
    EXPECT_EQ(err, EINVAL);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): The object is non state tracked"));
    const std::string text(buffer, length);
    const Document document = parse(text);
    u32 count = 9;
    EXPECT_EQ(xml_get_element_nodecount(document.get(), "/c/*", &count), 0U);
    EXPECT_EQ(count, 0U);
}

}  // namespace
}  // namespace tarn::test
