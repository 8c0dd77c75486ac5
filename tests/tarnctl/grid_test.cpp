// SPDX-License-Identifier: Apache-2.0
#include "terminal/grid.h"

#include <gtest/gtest.h>

#include <clocale>
#include <sstream>

namespace tarnctl {
namespace {

class Grids : public testing::Test {
 protected:
    void SetUp() override { ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
    void TearDown() override { std::setlocale(LC_CTYPE, "C"); }

    static Screen wide(std::size_t width) { return {true, width, false, true}; }
    static std::string printed(const Grid &grid, const Screen &screen) {
        std::ostringstream out;
        grid.print(out, screen);
        return out.str();
    }
    static Grid sample() {
        Grid grid({{"name"}, {"count", true}});
        grid.add({"a", "1"});
        grid.add({"a long name of something", "12345678"});
        return grid;
    }
};

TEST_F(Grids, AlignTextLeftAndNumbersRight) {
    EXPECT_EQ(printed(sample(), Screen{}),
              "name                         count\n"
              "a                                1\n"
              "a long name of something  12345678\n");
}

TEST_F(Grids, OfNoRowsHaveOnlyTheirTitles) {
    EXPECT_EQ(printed(Grid({{"a"}, {"b", true}}), Screen{}), "a  b\n");
}

TEST_F(Grids, HaveNoBlanksAtTheEndOfALine) {
    Grid grid({{"a"}, {"b"}});
    grid.add({"x"});
    grid.add({"x", "long"});
    EXPECT_EQ(printed(grid, Screen{}), "a  b\nx\nx  long\n");
}

TEST_F(Grids, TruncateTheirWidestColumnToFitTheScreen) {
    EXPECT_EQ(printed(sample(), wide(20)),
              "name           count\n"
              "a                  1\n"
              "a long na\u2026  12345678\n");
    EXPECT_EQ(printed(sample(), Screen{true, 20, false, false}),
              "name           count\n"
              "a                  1\n"
              "a long ...  12345678\n");
}

TEST_F(Grids, KeepFourCellsOfAColumnOnAnyScreen) {
    EXPECT_EQ(printed(sample(), wide(5)),
              "name  cou\u2026\n"
              "a        1\n"
              "a l\u2026  123\u2026\n");
}

TEST_F(Grids, AlignByCellsNotBytes) {
    Grid grid({{"a"}, {"b"}});
    grid.add({"\u65e5\u672c", "x"});
    grid.add({"\u00e9", "y"});
    EXPECT_EQ(printed(grid, wide(80)), "a     b\n\u65e5\u672c  x\n\u00e9     y\n");
}

TEST_F(Grids, EscapeTerminalControlCharacters) {
    Grid grid({{"a"}});
    grid.add({"x\x1b[2J\ny"});
    EXPECT_EQ(printed(grid, Screen{}), "a\nx\\x1b[2J\\x0ay\n");
}

TEST_F(Grids, OmitTheLastColumnsThatDoNotFit) {
    Grid grid({{"key"}, {"one"}, {"two"}, {"three"}});
    grid.add({"k", "1", "2", "3"});
    EXPECT_EQ(grid.leave_out_to_fit(1, Screen{}), 0U);
    EXPECT_EQ(grid.leave_out_to_fit(1, wide(20)), 0U);
    EXPECT_EQ(grid.leave_out_to_fit(1, wide(13)), 1U);
    EXPECT_EQ(printed(grid, wide(13)), "key  one  two\nk    1    2\n");
    EXPECT_EQ(grid.leave_out_to_fit(2, wide(1)), 1U);
    EXPECT_EQ(printed(grid, Screen{}), "key  one\nk    1\n");
}

TEST_F(Grids, ColourRowsAndTitlesOnlyIfThereAreColours) {
    Grid grid({{"a"}});
    grid.add({"x"}, red);
    EXPECT_EQ(printed(grid, wide(80)), "a\nx\n");
    EXPECT_EQ(printed(grid, Screen{true, 80, true, true}), "\x1b[1ma\x1b[0m\n\x1b[31mx\x1b[0m\n");
}

}  // namespace
}  // namespace tarnctl
