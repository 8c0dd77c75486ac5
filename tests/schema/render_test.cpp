// SPDX-License-Identifier: Apache-2.0
#include "render.h"

#include <gtest/gtest.h>

namespace {

std::size_t longest_line(const std::string &text) {
    std::size_t longest = 0;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        longest = std::max(longest, end - begin);
        begin = end + 1;
    }
    return longest;
}

TEST(Render, ShortPrototypeStaysOnItsLine) {
    EXPECT_EQ(tarnc::prototype("void f", {"int a", "int b"}, ";"), "void f(int a, int b);");
}

TEST(Render, LongPrototypeAlignsItsArguments) {
    const std::string argument(30, 'a');
    EXPECT_EQ(
        tarnc::prototype("void f", {argument, argument, argument, argument}, ";"),
        "void f(" + argument + ", " + argument + ",\n       " + argument + ", " + argument + ");");
}

TEST(Render, PrototypeThatDoesNotFitStartsItsArgumentsOnTheNextLine) {
    const std::string name(80, 'n');
    EXPECT_EQ(tarnc::prototype(name, {"int first", "int second"}, ";"),
              name + "(\n    int first, int second);");
}

TEST(Render, ShortCommentTakesOneLine) {
    EXPECT_EQ(tarnc::comment({"Does it."}), "/* Does it. */\n");
}

TEST(Render, ParagraphsOfACommentStartOnNewLines) {
    EXPECT_EQ(tarnc::comment({"Does it.", "Returns: nothing."}),
              "/*\n * Does it.\n * Returns: nothing.\n */\n");
}

TEST(Render, NoLineIsLongerThan100Characters) {
    std::string words;
    for (int i = 0; i < 200; ++i)
        words += std::string(static_cast<std::size_t>(1 + i % 17), 'w') + " ";
    EXPECT_LE(longest_line(tarnc::comment({words})), 100U);
    const std::string call = "return outer(inner(" + std::string(40, 'a') + ", " +
                             std::string(40, 'b') + "), " + std::string(40, 'c') + ");";
    EXPECT_LE(longest_line(tarnc::fill_call(call, 4)), 100U);
}

TEST(Render, CallContinuesBelowTheInnermostOpenBracket) {
    const std::string a(60, 'a');
    EXPECT_EQ(tarnc::fill_call("return f(g(" + a + ", b), " + a + ");", 4),
              "    return f(g(" + a + ", b),\n             " + a + ");");
}

TEST(Render, PiecesAreSplitOnlyOutsideBrackets) {
    const std::vector<std::string> expected = {"a(b, c)", "d<e, f>", "g"};
    EXPECT_EQ(tarnc::split("a(b, c), d<e, f>, g", ','), expected);
}

TEST(Render, UnknownTemplateIsAnError) {
    EXPECT_THROW(tarnc::render("no_such_template", {}), std::logic_error);
}

}  // namespace
