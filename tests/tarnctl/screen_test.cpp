// SPDX-License-Identifier: Apache-2.0
#include "terminal/screen.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "base/utf8.h"
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

TEST_F(Screens, ShowControlCharactersAsTheirNumbers) {
    EXPECT_EQ(shown("a\nb\tc\x1b[31m\x7f", utf8), "a\\x0ab\\x09c\\x1b[31m\\x7f");
    EXPECT_EQ(shown(std::string("a\0b", 3), utf8), "a\\x00b");
    EXPECT_EQ(shown("c:\\path", utf8), "c:\\path");
}

TEST_F(Screens, ShowBytesThatAreNoCharacterAsTheirNumbers) {
    EXPECT_EQ(shown("a\xff", utf8), "a\\xff");
    EXPECT_EQ(shown("\xc3", utf8), "\\xc3");
    EXPECT_EQ(shown("\xc0\x80", utf8), "\\xc0\\x80");
    EXPECT_EQ(shown("\xed\xa0\x80", utf8), "\\xed\\xa0\\x80");
}

TEST_F(Screens, ShowLettersOfOtherScriptsWhereTheLocaleHasThem) {
    EXPECT_EQ(shown("caf\u00e9 \u65e5", utf8), "caf\u00e9 \u65e5");
    EXPECT_EQ(shown("caf\u00e9 \u65e5", ascii), "caf\\u{e9} \\u{65e5}");
}

TEST_F(Screens, ShowNoCharacterThatControlsATerminalOrTurnsTheDirection) {
    EXPECT_EQ(shown("a\u0085b", utf8), "a\\u{85}b");
    EXPECT_EQ(shown("a\u202eb", utf8), "a\\u{202e}b");
    EXPECT_EQ(shown("a\u2066b", utf8), "a\\u{2066}b");
}

TEST_F(Screens, CountCellsNotBytes) {
    EXPECT_EQ(width_of("abc"), 3U);
    EXPECT_EQ(width_of("caf\u00e9"), 4U);
    EXPECT_EQ(width_of("\u65e5\u672c"), 4U);
    EXPECT_EQ(width_of("e\u0301"), 1U);
    EXPECT_EQ(width_of(""), 0U);
}

TEST_F(Screens, CutWithOneDotsCharacterOrThreeDots) {
    EXPECT_EQ(cut("abcdef", 6, utf8), "abcdef");
    EXPECT_EQ(cut("abcdef", 5, utf8), "abcd\u2026");
    EXPECT_EQ(cut("abcdef", 5, ascii), "ab...");
    EXPECT_EQ(cut("abcdef", 2, ascii), "..");
    EXPECT_EQ(cut("abcdef", 0, utf8), "");
}

TEST_F(Screens, CutNoWideCharacterInTheMiddle) {
    EXPECT_EQ(cut("\u65e5\u672c\u8a9e", 4, utf8), "\u65e5\u2026");
    EXPECT_EQ(cut("\u65e5\u672c\u8a9e", 5, utf8), "\u65e5\u672c\u2026");
}

TEST(Style, IsPlainTextWithoutColours) {
    EXPECT_EQ(red("x", Screen{}), "x");
    EXPECT_EQ(bold("x", Screen{}), "x");
}

TEST(Style, IsTakenBackBehindTheText) {
    const Screen screen{true, 80, true, true};
    EXPECT_EQ(bold("x", screen), "\x1b[1mx\x1b[0m");
    EXPECT_EQ(dim("x", screen), "\x1b[2mx\x1b[0m");
    EXPECT_EQ(red("x", screen), "\x1b[31mx\x1b[0m");
    EXPECT_EQ(green("x", screen), "\x1b[32mx\x1b[0m");
    EXPECT_EQ(yellow("x", screen), "\x1b[33mx\x1b[0m");
    EXPECT_EQ(red("", screen), "");
}

TEST(Utf8, IsWhatUnicodeAllows) {
    EXPECT_TRUE(is_utf8(""));
    EXPECT_TRUE(is_utf8("a\u00e9\u65e5\U0001f600"));
    EXPECT_FALSE(is_utf8("\x80"));
    EXPECT_FALSE(is_utf8("\xe6\x97"));
    EXPECT_FALSE(is_utf8("\xe0\x80\x80"));
    EXPECT_FALSE(is_utf8("\xf4\x90\x80\x80"));
    EXPECT_FALSE(is_utf8("\xf8\x88\x80\x80\x80"));
    EXPECT_EQ(first_utf8("\u65e5x").code, U'\u65e5');
    EXPECT_EQ(first_utf8("\u65e5x").length, 3U);
}

TEST(Utf8, EscapesWhatWouldLeaveItsLine) {
    EXPECT_EQ(one_line("a\nb\x7f\x80"), "a\\x0ab\\x7f\\x80");
    EXPECT_EQ(one_line("\u00e9\\"), "\u00e9\\");
}

TEST(Progress, TellsCountAndRateOfAnUnknownTotal) {
    EXPECT_EQ(progress_text("records", 300, 0, 2), "300 records, 150/s");
    EXPECT_EQ(progress_text("records", 0, 0, 0), "0 records, 0/s");
}

TEST(Progress, TellsShareAndTimeLeftOfAKnownTotal) {
    EXPECT_EQ(progress_text("records", 300, 1200, 2), "300 records, 150/s, 25 %, 0:06 left");
    EXPECT_EQ(progress_text("bytes", 10, 6010, 1), "10 bytes, 10/s, 0 %, 10:00 left");
    EXPECT_EQ(progress_text("bytes", 1, 3726, 1), "1 bytes, 1/s, 0 %, 1:02:05 left");
    EXPECT_EQ(progress_text("records", 0, 10, 2), "0 records, 0/s, 0 %");
}

TEST(Progress, TellsNoShareBeyondTheTotal) {
    EXPECT_EQ(progress_text("records", 30, 20, 2), "30 records, 15/s");
}

}  // namespace
}  // namespace tarnctl
