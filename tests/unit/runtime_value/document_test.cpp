// SPDX-License-Identifier: Apache-2.0
// Parsing untrusted documents, and walking their elements.
#include <cerrno>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

std::string refusal_of(std::string_view text) {
    EXPECT_EQ(kel_xml_parse(text.data(), text.size()), nullptr);
    return kel_error_text();
}

bool mentions(const std::string &text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

TEST(XmlDocuments, AWellFormedDocumentIsParsed) {
    EXPECT_NE(parse("<a><b>c</b></a>"), nullptr);
    EXPECT_NE(parse("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a/>\n"), nullptr);
    kel_xml_free(nullptr);
}

TEST(XmlDocuments, ABrokenDocumentIsAnErrorWithItsLine) {
    const std::string text = refusal_of("<a>\n<b>\n</a>\n");
    EXPECT_TRUE(mentions(text, "XML: line 3: ")) << text;
    EXPECT_TRUE(mentions(text, "b")) << text;
    EXPECT_NE(text.back(), '\n');
    EXPECT_TRUE(mentions(refusal_of("no markup"), "line 1"));
    EXPECT_TRUE(mentions(refusal_of(""), "XML: "));
    EXPECT_TRUE(mentions(refusal_of("<a>\xff</a>"), "line 1"));
    EXPECT_TRUE(mentions(refusal_of("<a>&#0;</a>"), "line 1"));
    EXPECT_TRUE(mentions(refusal_of("<a/><b/>"), "line 1"));
    EXPECT_EQ(kel_xml_parse(nullptr, 3), nullptr);
    EXPECT_TRUE(mentions(kel_error_text(), "expected a text"));
}

TEST(XmlDocuments, InvalidBytesOfTheEncodingPrintNothing) {
    constexpr char wide[] = "\xff\xfe<\0a\0>\0\0\xd8x";
    ::testing::internal::CaptureStderr();
    refusal_of("<?xml version='1.0' encoding='EUC-JP'?><a>\xff\xff\xff\xff</a>");
    refusal_of("<?xml version='1.0' encoding='UTF-32'?><a/>");
    refusal_of({wide, sizeof wide});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(XmlDocuments, ADocumentTypeDeclarationIsAnErrorWhereItStarts) {
    for (const char *text :
         {"<!DOCTYPE a>\n<a/>", "<!DOCTYPE a SYSTEM \"file:///etc/hostname\">\n<a/>",
          "<!DOCTYPE a [<!ENTITY e \"x\">]>\n<a>&e;</a>",
          "<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///etc/hostname\">]>\n<a>&e;</a>",
          "<!DOCTYPE a [<!ENTITY a0 \"xx\"><!ENTITY a1 \"&a0;&a0;\"><!ENTITY a2 \"&a1;&a1;\">]>\n"
          "<a>&a2;</a>"}) {
        EXPECT_EQ(refusal_of(text), "XML: line 1: expected no document type declaration");
    }
    EXPECT_TRUE(mentions(refusal_of("<a>&unknown;</a>"), "unknown"));
}

std::string nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<a>\n";
    for (int i = 0; i < depth; ++i) text += "</a>";
    return text;
}

TEST(XmlDocuments, ElementsNestToAFixedDepth) {
    EXPECT_NE(parse(nested(256)), nullptr);
    const std::string expected = "XML: line 257: expected elements that nest no deeper than 256";
    EXPECT_EQ(refusal_of(nested(257)), expected);
    EXPECT_EQ(refusal_of(nested(100000)), expected);
}

class Walk : public ValueTest {
 protected:
    struct Seen {
        std::vector<std::string> texts;
        std::uint32_t stop_after = 1000;
    };
    static std::uint32_t see(kel_xml_document *element, void *context) {
        auto &seen = *static_cast<Seen *>(context);
        char text[32];
        EXPECT_EQ(xml_get_element_value(element, "//record/n", text, sizeof text, 0), 0U);
        std::uint32_t count = 0;
        EXPECT_EQ(xml_get_element_nodecount(element, "//record", &count), 0U);
        seen.texts.push_back(std::string(text) + "/" + std::to_string(count));
        return seen.texts.size() == seen.stop_after ? 17 : 0;
    }
    Document document = parse(
        "<all><record><n>1</n></record><x><record><n>2</n></record></x>"
        "<record><n>3</n><record><n>4</n></record></record></all>");
    Seen seen;
    std::uint32_t result = 99;
};

TEST_F(Walk, EachElementIsItsOwnDocumentInDocumentOrder) {
    EXPECT_EQ(kel_xml_for_each(document.get(), "//record", see, &seen, &result), 0U);
    EXPECT_EQ(result, 0U);
    EXPECT_EQ(seen.texts, std::vector<std::string>({"1/1", "2/1", "3/2", "4/1"}));
}

TEST_F(Walk, ANonzeroResultEndsTheWalkAndIsReturned) {
    seen.stop_after = 2;
    EXPECT_EQ(kel_xml_for_each(document.get(), "//record", see, &seen, &result), 0U);
    EXPECT_EQ(result, 17U);
    EXPECT_EQ(seen.texts.size(), 2U);
    EXPECT_EQ(kel_xml_for_each(document.get(), "//record", see, &seen, nullptr), 0U);
}

TEST_F(Walk, APathThatSelectsNothingCallsNoFunction) {
    EXPECT_EQ(kel_xml_for_each(document.get(), "//nothing", see, &seen, &result), 0U);
    EXPECT_EQ(result, 0U);
    EXPECT_TRUE(seen.texts.empty());
}

TEST_F(Walk, NodesThatAreNoElementsAreSkipped) {
    EXPECT_EQ(kel_xml_for_each(document.get(), "//n/text() | //record[1]", see, &seen, &result),
              0U);
    EXPECT_EQ(seen.texts.size(), 3U);
}

TEST_F(Walk, ABadPathOrDocumentIsInvalid) {
    EXPECT_EQ(kel_xml_for_each(document.get(), "//[", see, &seen, &result), EINVAL);
    EXPECT_TRUE(mentions(kel_error_text(), "//["));
    EXPECT_EQ(kel_xml_for_each(document.get(), "1 + 1", see, &seen, &result), EINVAL);
    EXPECT_EQ(kel_xml_for_each(document.get(), nullptr, see, &seen, &result), EINVAL);
    EXPECT_EQ(kel_xml_for_each(nullptr, "//record", see, &seen, &result), EINVAL);
    EXPECT_EQ(result, 99U);
}

}  // namespace
}  // namespace tarn::test
