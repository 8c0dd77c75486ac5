// SPDX-License-Identifier: Apache-2.0
#include "terminal/screen.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "cli/utf8.h"
#include "terminal/progress.h"
#include "terminal/style.h"

namespace tarnctl {
namespace {

// The widths of characters are those of the locale.
class Screens : public testing::Test {
 protected:
    void SetUp() override { ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
    void TearDown() override { std::setlocale(LC_CTYPE, "C"); }

    Screen utf8{true, 80, false, true};
    Screen ascii{true, 80, false, false};
};

TEST_F(Screens, ShowUnsafeTextEscaped) {
    const struct {
        std::string text;
        const char *on_utf8;
        const char *on_ascii;
    } cases[] = {
        {"c:\\path", "c:\\path", "c:\\path"},
        // control characters
        {"a\nb\tc\x1b[31m\x7f", "a\\x0ab\\x09c\\x1b[31m\\x7f", "a\\x0ab\\x09c\\x1b[31m\\x7f"},
        {std::string("a\0b", 3), "a\\x00b", "a\\x00b"},
        {"a\u0085b", "a\\u{85}b", "a\\u{85}b"},
        // bytes that aren't UTF-8
        {"a\xff", "a\\xff", "a\\xff"},
        {"\xc3", "\\xc3", "\\xc3"},
        {"\xc0\x80", "\\xc0\\x80", "\\xc0\\x80"},
        {"\xed\xa0\x80", "\\xed\\xa0\\x80", "\\xed\\xa0\\x80"},
        // characters that change the direction of text
        {"a\u202eb", "a\\u{202e}b", "a\\u{202e}b"},
        {"a\u2066b", "a\\u{2066}b", "a\\u{2066}b"},
        // letters of other scripts
        {"caf\u00e9 \u65e5", "caf\u00e9 \u65e5", "caf\\u{e9} \\u{65e5}"},
    };
    for (const auto &each : cases) {
        EXPECT_EQ(shown(each.text, utf8), each.on_utf8);
        EXPECT_EQ(shown(each.text, ascii), each.on_ascii);
    }
}

TEST_F(Screens, CountCellsNotBytes) {
    const std::pair<const char *, std::size_t> cases[] = {
        {"abc", 3}, {"caf\u00e9", 4}, {"\u65e5\u672c", 4}, {"e\u0301", 1}, {"", 0}};
    for (const auto &[text, width] : cases) EXPECT_EQ(width_of(text), width) << text;
}

TEST_F(Screens, TruncateBetweenCharacters) {
    const struct {
        const char *text;
        std::size_t width;
        const char *on_utf8;
        const char *on_ascii;
    } cases[] = {
        {"abcdef", 6, "abcdef", "abcdef"},
        {"abcdef", 5, "abcd\u2026", "ab..."},
        {"abcdef", 2, "a\u2026", ".."},
        {"abcdef", 0, "", ""},
        {"\u65e5\u672c\u8a9e", 4, "\u65e5\u2026", "..."},
        {"\u65e5\u672c\u8a9e", 5, "\u65e5\u672c\u2026", "\u65e5..."},
    };
    for (const auto &each : cases) {
        EXPECT_EQ(cut(each.text, each.width, utf8), each.on_utf8) << each.width;
        EXPECT_EQ(cut(each.text, each.width, ascii), each.on_ascii) << each.width;
    }
}

TEST(Style, IsPlainTextWithoutColours) {
    EXPECT_EQ(red("x", Screen{}), "x");
    EXPECT_EQ(bold("x", Screen{}), "x");
}

TEST(Style, EndsAfterTheText) {
    const Screen screen{true, 80, true, true};
    const std::pair<Style, const char *> cases[] = {{bold, "\x1b[1mx\x1b[0m"},
                                                    {dim, "\x1b[2mx\x1b[0m"},
                                                    {red, "\x1b[31mx\x1b[0m"},
                                                    {green, "\x1b[32mx\x1b[0m"},
                                                    {yellow, "\x1b[33mx\x1b[0m"}};
    for (const auto &[style, text] : cases) EXPECT_EQ(style("x", screen), text);
    EXPECT_EQ(red("", screen), "");
}

TEST(Utf8, AcceptsWhatUnicodeAllows) {
    for (const char *text : {"", "a\u00e9\u65e5\U0001f600"})
        EXPECT_TRUE(cli::is_utf8(text)) << text;
    for (const char *bytes :
         {"\x80", "\xe6\x97", "\xe0\x80\x80", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80"})
        EXPECT_FALSE(cli::is_utf8(bytes)) << bytes;
    EXPECT_EQ(cli::first_utf8("\u65e5x").code, U'\u65e5');
    EXPECT_EQ(cli::first_utf8("\u65e5x").length, 3U);
}

TEST(Utf8, EscapesLineBreaks) {
    EXPECT_EQ(cli::one_line("a\nb\x7f\x80"), "a\\x0ab\\x7f\\x80");
    EXPECT_EQ(cli::one_line("\u00e9\\"), "\u00e9\\");
}

TEST(Progress, ShowsCountAndRateOfAnUnknownTotal) {
    EXPECT_EQ(progress_text("records", 300, 0, 2), "300 records, 150/s");
    EXPECT_EQ(progress_text("records", 0, 0, 0), "0 records, 0/s");
}

TEST(Progress, ShowsPercentageAndTimeLeftOfAKnownTotal) {
    EXPECT_EQ(progress_text("records", 300, 1200, 2), "300 records, 150/s, 25 %, 0:06 left");
    EXPECT_EQ(progress_text("bytes", 10, 6010, 1), "10 bytes, 10/s, 0 %, 10:00 left");
    EXPECT_EQ(progress_text("bytes", 1, 3726, 1), "1 bytes, 1/s, 0 %, 1:02:05 left");
    EXPECT_EQ(progress_text("records", 0, 10, 2), "0 records, 0/s, 0 %");
}

TEST(Progress, ShowsNoPercentageAbove100) {
    EXPECT_EQ(progress_text("records", 30, 20, 2), "30 records, 15/s");
}

}  // namespace
}  // namespace tarnctl
