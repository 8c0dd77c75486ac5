// SPDX-License-Identifier: Apache-2.0
// The XML services that the library calls.
#include <cerrno>
#include <random>
#include <utility>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

class XmlServices : public ValueTest {
 protected:
    Document document = parse(
        "<o><f>text</f><f>second</f><empty/><long>0123456789</long><e>a<b/>c</e>"
        "<m>1</m><m>2</m><m>3</m><with a=\"attribute\"/></o>");
    char area[128] = "untouched";

    std::uint32_t value(const char *path, std::uint32_t length = sizeof area) {
        return xml_get_element_value(document.get(), path, area, length, 0);
    }
};

TEST_F(XmlServices, TagsEndTheirLineAndShowAStateFlag) {
    char buffer[64];
    ASSERT_EQ(start_tag(handle, tx, buffer, "st_x", 7, 0, &err), 7U);
    EXPECT_EQ(std::string(buffer, 7), "<st_x>\n");
    ASSERT_EQ(start_tag(handle, tx, buffer, "st_x", 64, 2, &err), 17U);
    EXPECT_EQ(std::string(buffer, 17), "<st_x state=\"2\">\n");
    ASSERT_EQ(end_tag(handle, tx, buffer, "st_x", 8, &err), 8U);
    EXPECT_EQ(std::string(buffer, 8), "</st_x>\n");
    ASSERT_EQ(xml_enum_print(handle, tx, buffer, "<LAMP_ON/>", 10, 10, &err), 10U);
    EXPECT_EQ(std::string(buffer, 10), "<LAMP_ON/>");
}

TEST_F(XmlServices, TagsThatDoNotFitFailWithEmsgsizeWithinTheirBuffer) {
    std::string buffer(20, '~');
    for (std::uint32_t space = 0; space < 7; ++space) {
        buffer.assign(20, '~');
        EXPECT_EQ(start_tag(handle, tx, buffer.data(), "st_x", space, 0, &err), 0U);
        expect_error(EMSGSIZE);
        EXPECT_EQ(end_tag(handle, tx, buffer.data(), "st_x", space, &err), 0U);
        expect_error(EMSGSIZE);
        EXPECT_EQ(xml_enum_print(handle, tx, buffer.data(), "<A_NAME/>", space, 9, &err), 0U);
        expect_error(EMSGSIZE);
        EXPECT_EQ(buffer.substr(space), std::string(20 - space, '~'));
    }
}

TEST_F(XmlServices, AnElementWhoseContentFailedIsStillClosed) {
    char buffer[64] = "untouched";
    err = EINVAL;
    EXPECT_EQ(start_tag(handle, tx, buffer, "x", 64, 0, &err), 0U);
    EXPECT_EQ(xml_enum_print(handle, tx, buffer, "<A/>", 64, 4, &err), 0U);
    EXPECT_STREQ(buffer, "untouched");
    ASSERT_EQ(end_tag(handle, tx, buffer, "x", 64, &err), 5U);
    EXPECT_EQ(std::string(buffer, 5), "</x>\n");
    EXPECT_EQ(end_tag(handle, tx, buffer, "x", 4, &err), 0U);
    EXPECT_EQ(err, EINVAL);
}

TEST_F(XmlServices, NodesAreCounted) {
    std::uint32_t count = 99;
    EXPECT_EQ(xml_get_element_nodecount(document.get(), "//o/m", &count), 0U);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(xml_get_element_nodecount(document.get(), "//o/m[4]", &count), 0U);
    EXPECT_EQ(count, 0U);
    count = 99;
    EXPECT_NE(xml_get_element_nodecount(document.get(), "//o/[", &count), 0U);
    EXPECT_NE(xml_get_element_nodecount(document.get(), "count(//o)", &count), 0U);
    EXPECT_NE(xml_get_element_nodecount(nullptr, "//o", &count), 0U);
    EXPECT_NE(xml_get_element_nodecount(document.get(), nullptr, &count), 0U);
    EXPECT_EQ(count, 99U);
}

TEST_F(XmlServices, ABadPathPrintsNothing) {
    ::testing::internal::CaptureStderr();
    std::uint32_t count = 0;
    EXPECT_NE(xml_get_element_nodecount(document.get(), "]]", &count), 0U);
    EXPECT_EQ(kel_xml_parse("<broken", 7), nullptr);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(XmlServices, AnElementsTextIsTruncatedToTheArea) {
    EXPECT_EQ(value("//o/f"), 0U);
    EXPECT_STREQ(area, "text");
    EXPECT_EQ(value("//o/empty"), 0U);
    EXPECT_STREQ(area, "");
    EXPECT_EQ(value("//o/long", 5), 0U);
    EXPECT_STREQ(area, "0123");
    EXPECT_EQ(value("//o/long", 1), 0U);
    EXPECT_STREQ(area, "");
    EXPECT_EQ(value("//o/with/@a"), 0U);
    EXPECT_STREQ(area, "attribute");
    EXPECT_EQ(xml_get_element_value(document.get(), "//o/f", nullptr, 0, 0), 0U);
}

TEST_F(XmlServices, AnElementOfElementsIsOnlyTestedForPresence) {
    EXPECT_EQ(value("//o/e"), 0U);
    EXPECT_EQ(value("//o"), 0U);
}

TEST_F(XmlServices, AMissingElementFailsWithEnoentAndABadPathWithEinval) {
    EXPECT_EQ(value("//o/nothing"), ENOENT);
    EXPECT_EQ(value("//o/["), EINVAL);
    EXPECT_EQ(xml_get_element_value(nullptr, "//o", area, sizeof area, 0), EINVAL);
    EXPECT_STREQ(area, "untouched");
}

TEST_F(XmlServices, ReadingWithoutADocumentFailsWithEinval) {
    TraceCapture trace;
    std::uint32_t number = 5;
    u_int32_from_xml(handle, tx, "//o/m", nullptr, &number, &err, nullptr, 0);
    expect_error(EINVAL);
    u_int32_from_xml(handle, tx, "//o/[", document.get(), &number, &err, nullptr, 0);
    expect_error(EINVAL);
    EXPECT_EQ(number, 5U);
    EXPECT_EQ(trace.lines.size(), 2U);
}

TEST_F(XmlServices, TheCallersMessageIsUnchanged) {
    char message[16] = "untouched";
    TraceCapture trace;
    std::uint32_t number = 5;
    u_int32_from_xml(handle, tx, "//o/f", document.get(), &number, &err, message, sizeof message);
    expect_error(EINVAL);
    EXPECT_STREQ(message, "untouched");
}

TEST_F(XmlServices, ElementsOfOneNameAreReadByTheirIndex) {
    std::string text = "<o>";
    for (int i = 0; i < 1440; ++i) text += "<minute>" + std::to_string(i % 256) + "</minute>\n";
    const Document day = parse(text + "</o>");
    for (int i = 1; i <= 1440; ++i) {
        const std::string path = "//o/minute[" + std::to_string(i) + "]";
        std::uint8_t minute = 0;
        u_int8_from_xml(handle, tx, path.c_str(), day.get(), &minute, &err, nullptr, 0);
        ASSERT_EQ(err, 0U);
        ASSERT_EQ(minute, (i - 1) % 256);
    }
    std::uint8_t minute = 0;
    u_int8_from_xml(handle, tx, "//o/minute[1441]", day.get(), &minute, &err, nullptr, 0);
    expect_error(ENOENT);
}

// Nested elements `a` and `m`; each `m` begins with a number of its own.
void grow(std::string &text, std::mt19937 &random, int depth, int &number) {
    for (auto i = random() % 5; i > 0; --i) {
        const std::string name = random() % 2 == 0 ? "a" : "m";
        text += "<" + name + ">";
        if (name == "m") text += std::to_string(++number);
        if (depth < 4) grow(text, random, depth + 1, number);
        text += "</" + name + ">";
    }
}

// What a path selects: how many, and the text of the first in document order.
std::pair<std::uint32_t, std::string> selected(kel_xml_document *document,
                                               const std::string &path) {
    std::uint32_t count = 0;
    char text[32] = "";
    EXPECT_EQ(xml_get_element_nodecount(document, path.c_str(), &count), 0U);
    xml_get_element_value(document, path.c_str(), text, sizeof text, 0);
    return {count, text};
}

TEST_F(XmlServices, AnIndexCountsWithinEachParent) {
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        std::mt19937 random(seed);
        std::string text = "<a>";
        int number = 0;
        grow(text, random, 0, number);
        const Document tree = parse(text + "</a>");
        for (int i = 0; i < 6; ++i) {
            for (const std::string path : {"//m", "//a/m", "/a/m", "//a", "/a/a/m", "//none"}) {
                const std::string index = std::to_string(i);
                EXPECT_EQ(selected(tree.get(), path + "[" + index + "]"),
                          selected(tree.get(), path + "[position()=" + index + "]"))
                    << path << " " << index << " in " << text << ", seed " << seed;
            }
        }
    }
}

TEST_F(XmlServices, AnIndexAfterParenthesesCountsInTheWholeDocument) {
    const Document tree = parse("<a><b><m>1</m></b><b><m>2</m></b></a>");
    using Selected = std::pair<std::uint32_t, std::string>;
    EXPECT_EQ(selected(tree.get(), "(//m)[2]"), Selected(1, "2"));
    EXPECT_EQ(selected(tree.get(), "//m[1]"), Selected(2, "1"));
    EXPECT_EQ(selected(tree.get(), "//m[2]"), Selected(0, ""));
    EXPECT_EQ(selected(tree.get(), "//m[99999999999]"), Selected(0, ""));
}

}  // namespace
}  // namespace tarn::test
