// SPDX-License-Identifier: Apache-2.0
#include "feeders/ldap/lines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarn_ldap {
namespace {

using Texts = std::vector<std::string>;

struct Collected {
    Texts texts;
    Lines::Sink sink = [this](const NumberedLine &line) {
        texts.push_back(std::to_string(line.number) + ":" + std::string(line.text) +
                        (line.too_long ? "(too long)" : ""));
    };
};

TEST(Lines, PiecesOfAnySizeGiveTheSameLines) {
    const std::string text = "one\n\nthree\nfour";
    for (size_t size = 1; size <= text.size(); ++size) {
        Collected collected;
        Lines lines;
        for (size_t start = 0; start < text.size(); start += size)
            lines.add(std::string_view(text).substr(start, size), collected.sink);
        EXPECT_EQ(collected.texts, (Texts{"1:one", "2:", "3:three"})) << size;
        lines.finish(collected.sink);
        EXPECT_EQ(collected.texts.back(), "4:four") << size;
    }
}

TEST(Lines, AFinishedTextIsFollowedByLineOneOfAnother) {
    Collected collected;
    Lines lines;
    lines.add("a\nb", collected.sink);
    lines.finish(collected.sink);
    lines.finish(collected.sink);
    lines.add("c\n", collected.sink);
    EXPECT_EQ(collected.texts, (Texts{"1:a", "2:b", "1:c"}));
}

TEST(Lines, AnEndlessLineTakesNoMoreMemoryThanTheLongestOne) {
    std::vector<NumberedLine> seen;
    size_t length = 0;
    const auto sink = [&](const NumberedLine &line) {
        seen.push_back(line);
        length = line.text.size();
    };
    Lines lines;
    for (int i = 0; i < 3; ++i) lines.add(std::string(kLongestLine / 2, 'x'), sink);
    EXPECT_TRUE(seen.empty());
    lines.add("end\n", sink);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_TRUE(seen[0].too_long);
    EXPECT_EQ(length, kLongestLine);
    lines.add("next\n", sink);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_FALSE(seen[1].too_long);
    EXPECT_EQ(seen[1].number, 2u);
}

TEST(Lines, TheLongestLineIsNotTooLong) {
    bool too_long = true;
    Lines lines;
    lines.add(std::string(kLongestLine, 'x') + "\n",
              [&](const NumberedLine &line) { too_long = line.too_long; });
    EXPECT_FALSE(too_long);
}

}  // namespace
}  // namespace tarn_ldap
