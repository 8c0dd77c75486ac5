// SPDX-License-Identifier: Apache-2.0
// A string as printed text and as XML.
#include <cerrno>
#include <random>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

class VstringForm : public ValueTest {
 protected:
    kel_vstring *string = make_string();

    std::string print(std::string_view text) {
        assign(string, text);
        std::string buffer(100 + 4 * text.size(), '~');
        const std::uint32_t length =
            kel_vstring_print(handle, tx, buffer.data(), 0, "n", string,
                              static_cast<std::uint32_t>(buffer.size()), &err);
        EXPECT_EQ(err, 0U);
        return buffer.substr(0, length);
    }

    std::string to_xml(std::string_view text) {
        assign(string, text);
        std::string buffer(100 + 6 * text.size(), '~');
        const std::uint32_t length =
            kel_vstring_to_xml(handle, tx, "n", buffer.data(), string,
                               static_cast<std::uint32_t>(buffer.size()), 0, &err);
        return buffer.substr(0, length);
    }

    std::string read_back(const std::string &xml) {
        const Document document = parse("<o>" + xml + "</o>");
        EXPECT_NE(document, nullptr) << xml << "\n" << kel_error_text();
        kel_vstring *copy = make_string("before");
        kel_vstring_from_xml(handle, tx, "//o/n", document.get(), copy, &err, nullptr, 0);
        EXPECT_EQ(err, 0U) << kel_error_text();
        const std::string text = text_of(copy);
        kel_vstring_destroy_internal(handle, tx, copy, 0);
        return text;
    }
};

TEST_F(VstringForm, PrintQuotesTheText) {
    EXPECT_EQ(print("plain text"), "n: \"plain text\"\n");
    EXPECT_EQ(print(""), "n: \"\"\n");
    char buffer[32];
    ASSERT_EQ(kel_vstring_print(handle, tx, buffer, 4, "n", nullptr, 32, &err), 10U);
    EXPECT_EQ(std::string(buffer, 10), "    n: \"\"\n");
}

TEST_F(VstringForm, PrintEscapesWhatIsNotPrintable) {
    EXPECT_EQ(print("a\"b\\c"), "n: \"a\\\"b\\\\c\"\n");
    EXPECT_EQ(print("a\nb\tc"), "n: \"a\\nb\\tc\"\n");
    EXPECT_EQ(print(std::string_view("\0\x01\x1f\x7f\r", 5)), "n: \"\\x00\\x01\\x1f\\x7f\\r\"\n");
}

TEST_F(VstringForm, PrintKeepsValidUtf8AndEscapesOtherBytes) {
    const std::pair<const char *, const char *> cases[] = {
        {"gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x99\x82",
         "gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x99\x82"},
        {"\xff", "\\xff"},
        {"a\xc3", "a\\xc3"},                           // cut short
        {"\xc3(x", "\\xc3(x"},                         // no continuation
        {"\xc0\x80", "\\xc0\\x80"},                    // overlong
        {"\xe0\x9f\xbf", "\\xe0\\x9f\\xbf"},           // overlong
        {"\xed\xa0\x80", "\\xed\\xa0\\x80"},           // a surrogate
        {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},  // beyond the last
        {"\xf8\x88\x80\x80\x80", "\\xf8\\x88\\x80\\x80\\x80"},
        {"\xc2\x85", "\\xc2\\x85"},  // a control character
    };
    for (const auto &[text, printed] : cases) {
        EXPECT_EQ(print(text), "n: \"" + std::string(printed) + "\"\n");
    }
}

TEST_F(VstringForm, PrintThatDoesNotFitFailsWithEmsgsizeWithinItsBuffer) {
    assign(string, "a\nb");
    const std::string expected = "  n: \"a\\nb\"\n";
    for (std::uint32_t space = 0; space <= expected.size(); ++space) {
        std::string buffer(expected.size() + 4, '~');
        const std::uint32_t length =
            kel_vstring_print(handle, tx, buffer.data(), 2, "n", string, space, &err);
        EXPECT_EQ(buffer.substr(space), std::string(buffer.size() - space, '~'));
        if (space == expected.size()) {
            EXPECT_EQ(length, space);
            EXPECT_EQ(buffer.substr(0, space), expected);
        } else {
            EXPECT_EQ(length, 0U);
            expect_error(EMSGSIZE);
        }
    }
}

TEST_F(VstringForm, XmlIsOneElementOnOneLine) {
    EXPECT_EQ(to_xml("plain"), "<n>plain</n>\n");
    EXPECT_EQ(to_xml(""), "<n></n>\n");
    EXPECT_EQ(to_xml("<a & \"b\">"), "<n>&lt;a &amp; &quot;b&quot;&gt;</n>\n");
    EXPECT_EQ(to_xml("1\r\n2\t3"), "<n>1&#13;&#10;2&#9;3</n>\n");
    char buffer[64];
    ASSERT_EQ(kel_vstring_to_xml(handle, tx, "n", buffer, nullptr, 64, 2, &err), 18U);
    EXPECT_EQ(std::string(buffer, 18), "<n state=\"2\"></n>\n");
}

TEST_F(VstringForm, XmlThatDoesNotFitFailsWithEmsgsizeWithinItsBuffer) {
    assign(string, "a&b");
    const std::string expected = "<n>a&amp;b</n>\n";
    for (std::uint32_t space = 0; space <= expected.size(); ++space) {
        std::string buffer(expected.size() + 4, '~');
        const std::uint32_t length =
            kel_vstring_to_xml(handle, tx, "n", buffer.data(), string, space, 0, &err);
        EXPECT_EQ(buffer.substr(space), std::string(buffer.size() - space, '~'));
        EXPECT_EQ(length, space == expected.size() ? space : 0U);
        if (length == 0) expect_error(EMSGSIZE);
    }
}

TEST_F(VstringForm, EveryTextThatXmlCanRepresentRoundTrips) {
    for (const std::string &text :
         {std::string(" "), std::string("  both ends  "), std::string("\n\n"), std::string("\t"),
          std::string("\r"), std::string("a\r\nb\rc\n"), std::string("]]>"), std::string("&amp;"),
          std::string("<!-- no comment -->"), std::string("\x7f"), std::string("\xc2\x80\xc2\x85"),
          std::string("\xe2\x80\xa8"), std::string("\xee\x80\x80"), std::string("\xef\xbf\xbd"),
          std::string("\xef\xbb\xbf at the start"), std::string("\xf4\x8f\xbf\xbf"),
          std::string("\xf0\x9f\xbf\xbe")}) {
        EXPECT_EQ(read_back(to_xml(text)), text);
    }
}

void append_utf8(std::string &text, std::uint32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xc0 | character >> 6);
        text += static_cast<char>(0x80 | (character & 0x3f));
    } else if (character < 0x10000) {
        text += static_cast<char>(0xe0 | character >> 12);
        text += static_cast<char>(0x80 | (character >> 6 & 0x3f));
        text += static_cast<char>(0x80 | (character & 0x3f));
    } else {
        text += static_cast<char>(0xf0 | character >> 18);
        text += static_cast<char>(0x80 | (character >> 12 & 0x3f));
        text += static_cast<char>(0x80 | (character >> 6 & 0x3f));
        text += static_cast<char>(0x80 | (character & 0x3f));
    }
}

bool is_xml_character(std::uint32_t character) {
    if (character < 0x20) return character == 9 || character == 10 || character == 13;
    if (character >= 0xd800 && character < 0xe000) return false;
    return character != 0xfffe && character != 0xffff && character <= 0x10ffff;
}

TEST_F(VstringForm, EachCharacterAroundTheLimitsOfXmlIsWrittenOrFails) {
    std::vector<std::uint32_t> characters;
    for (std::uint32_t character = 0; character < 0x180; ++character)
        characters.push_back(character);
    for (const std::uint32_t limit :
         {0x7ffU, 0x800U, 0xd7ffU, 0xd800U, 0xdfffU, 0xe000U, 0xfdd0U, 0xfffdU, 0xfffeU, 0xffffU,
          0x10000U, 0x1fffeU, 0x10ffffU, 0x110000U}) {
        characters.push_back(limit);
    }
    for (const std::uint32_t character : characters) {
        std::string text = "x";
        append_utf8(text, character);
        text += "y";
        TraceCapture trace;
        const std::string xml = to_xml(text);
        if (is_xml_character(character)) {
            ASSERT_EQ(err, 0U) << character;
            ASSERT_EQ(read_back(xml), text) << character;
        } else {
            EXPECT_EQ(xml, "") << character;
            expect_error(EINVAL);
            EXPECT_EQ(trace.lines.size(), 1U);
        }
    }
}

TEST_F(VstringForm, RandomTextsRoundTrip) {
    constexpr unsigned seed = 31337;
    std::mt19937 random(seed);
    const std::uint32_t ranges[] = {0x40, 0x80, 0x100, 0x3000, 0x10000, 0x110000};
    for (int step = 0; step < 400; ++step) {
        std::string text;
        for (std::size_t i = random() % 40; i > 0; --i) {
            std::uint32_t character = 0;
            do {
                character =
                    static_cast<std::uint32_t>(random()) % ranges[random() % std::size(ranges)];
            } while (!is_xml_character(character));
            append_utf8(text, character);
        }
        ASSERT_EQ(read_back(to_xml(text)), text) << "seed " << seed << ", step " << step;
    }
}

TEST_F(VstringForm, ATextThatXmlCannotRepresentIsAnErrorWithItsOffset) {
    TraceCapture trace;
    assign(string, std::string_view("good\0bad", 8));
    char buffer[64] = "untouched";
    EXPECT_EQ(kel_vstring_to_xml(handle, tx, "sname", buffer, string, 64, 0, &err), 0U);
    expect_error(EINVAL);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_STREQ(kel_error_text(),
                 "XML: sname: expected text that XML can carry, found another byte at offset 4");
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, std::string("(ERR): ") + kel_error_text()));
    for (const char *text : {"\xff", "a\xc3", "\xed\xa0\x80", "\xc0\xaf"}) {
        EXPECT_EQ(to_xml(text), "");
        expect_error(EINVAL);
    }
}

TEST_F(VstringForm, AVeryLongTextRoundTrips) {
    std::string text;
    for (int i = 0; text.size() < 12'000'000; ++i) text += "line " + std::to_string(i) + " <&>\n";
    const std::string back = read_back(to_xml(text));
    EXPECT_TRUE(back == text);
}

TEST_F(VstringForm, FromXmlReadsCharacterDataAndIgnoresComments) {
    EXPECT_EQ(read_back("<n>a<!-- c -->b<?p q?><![CDATA[<c>]]></n>"), "ab<c>");
    EXPECT_EQ(read_back("<n/>"), "");
    EXPECT_EQ(read_back("<n>first</n><n>second</n>"), "first");
}

TEST_F(VstringForm, AnElementInTheTextIsAnErrorFromXml) {
    TraceCapture trace;
    assign(string, "kept");
    const Document document = parse("<o><n>a<b>c</b></n></o>");
    kel_vstring_from_xml(handle, tx, "//o/n", document.get(), string, &err, nullptr, 0);
    expect_error(EINVAL);
    EXPECT_EQ(text_of(string), "kept");
    EXPECT_STREQ(kel_error_text(), "XML: //o/n: expected text, found an element");
}

TEST_F(VstringForm, FromXmlOfAMissingElementFailsWithEnoent) {
    assign(string, "kept");
    const Document document = parse("<o/>");
    kel_vstring_from_xml(handle, tx, "//o/n", document.get(), string, &err, nullptr, 0);
    expect_error(ENOENT);
    EXPECT_EQ(text_of(string), "kept");
}

}  // namespace
}  // namespace tarn::test
