// SPDX-License-Identifier: Apache-2.0
// The services for blanks and formatted text.
#include <cerrno>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

class PrintServices : public ValueTest {
 protected:
    std::string buffer = std::string(20, '~');

    std::uint32_t format(std::uint32_t space, const char *text) {
        return kel_snprintf(handle, tx, buffer.data(), space, &err, "%s", text);
    }
};

TEST_F(PrintServices, BlanksAreWrittenWithoutANul) {
    EXPECT_EQ(kel_print_space(handle, tx, buffer.data(), 3, 3, &err), 3U);
    EXPECT_EQ(buffer.substr(0, 5), "   ~~");
    EXPECT_EQ(kel_print_space(handle, tx, buffer.data(), 0, 0, &err), 0U);
    EXPECT_EQ(err, 0U);
}

TEST_F(PrintServices, BlanksThatDoNotFitFailWithEmsgsizeAndWriteNothing) {
    for (const std::uint32_t indent : {4U, 1000U, 0xffffffffU}) {
        EXPECT_EQ(kel_print_space(handle, tx, buffer.data(), indent, 3, &err), 0U);
        expect_error(EMSGSIZE);
    }
    EXPECT_EQ(buffer, std::string(20, '~'));
}

TEST_F(PrintServices, FormattedTextFillsItsBufferToTheLastCharacter) {
    EXPECT_EQ(format(6, "abcdef"), 6U);
    EXPECT_EQ(buffer.substr(0, 7), "abcdef~");
    EXPECT_EQ(err, 0U);
}

TEST_F(PrintServices, ANulFollowsIfThereIsSpaceForIt) {
    EXPECT_EQ(format(7, "abcdef"), 6U);
    EXPECT_EQ(buffer.substr(0, 8), std::string("abcdef\0~", 8));
}

TEST_F(PrintServices, FormattedTextThatDoesNotFitFailsWithEmsgsizeWithinItsBuffer) {
    for (std::uint32_t space = 0; space < 6; ++space) {
        buffer.assign(20, '~');
        EXPECT_EQ(format(space, "abcdef"), 0U);
        expect_error(EMSGSIZE);
        EXPECT_EQ(buffer.substr(space), std::string(20 - space, '~'));
    }
}

TEST_F(PrintServices, ArgumentsAreFormattedLikeSnprintfDoes) {
    EXPECT_EQ(kel_snprintf(handle, tx, buffer.data(), 20, &err, "%s[%d]%c", "minute", 12, '!'),
              11U);
    EXPECT_STREQ(buffer.c_str(), "minute[12]!");
    // A text that fills the buffer exactly formats the arguments a second time.
    EXPECT_EQ(kel_snprintf(handle, tx, buffer.data(), 11, &err, "%s[%d]%c", "MINUTE", 34, '?'),
              11U);
    EXPECT_EQ(buffer.substr(0, 11), "MINUTE[34]?");
    EXPECT_EQ(kel_snprintf(handle, tx, buffer.data(), 0, &err, "%s", ""), 0U);
    EXPECT_EQ(err, 0U);
}

TEST_F(PrintServices, TextsAreFormattedAgainIfSomethingElseFollowsThem) {
    EXPECT_EQ(kel_snprintf(handle, tx, buffer.data(), 20, &err, "%s@%s: %u", "ab", "cde", 12U),
              10U);
    EXPECT_STREQ(buffer.c_str(), "ab@cde: 12");
    // Space for the text without a NUL, and for less.
    buffer.assign(20, '~');
    EXPECT_EQ(kel_snprintf(handle, tx, buffer.data(), 10, &err, "%s@%s: {\n", "ab", "cde"), 10U);
    EXPECT_EQ(buffer.substr(0, 11), "ab@cde: {\n~");
    EXPECT_EQ(err, 0U);
    buffer.assign(20, '~');
    EXPECT_EQ(kel_snprintf(handle, tx, buffer.data(), 9, &err, "%s@%s: {\n", "ab", "cde"), 0U);
    expect_error(EMSGSIZE);
    EXPECT_EQ(buffer.substr(9), std::string(11, '~'));
}

TEST_F(PrintServices, ATextThatFailedHalfwayIsStillClosed) {
    err = EINVAL;
    EXPECT_EQ(kel_print_space(handle, tx, buffer.data(), 2, 20, &err), 2U);
    EXPECT_EQ(kel_snprintf(handle, tx, buffer.data() + 2, 18, &err, "}\n"), 2U);
    EXPECT_EQ(buffer.substr(0, 4), "  }\n");
    EXPECT_EQ(kel_snprintf(handle, tx, buffer.data(), 1, &err, "}\n"), 0U);
    EXPECT_EQ(kel_print_space(handle, tx, buffer.data(), 2, 1, &err), 0U);
    EXPECT_EQ(err, EINVAL);
}

}  // namespace
}  // namespace tarn::test
