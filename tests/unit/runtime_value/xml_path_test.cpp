// SPDX-License-Identifier: Apache-2.0
// Which paths need no XPath, and their parts.
#include "runtime/xml/path.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tarn::test {
namespace {

using tarnbase::runtime::PlainPath;

void expect_parts(const PlainPath &path, std::string_view elements, std::string_view parent,
                  std::string_view name, std::uint32_t index) {
    EXPECT_EQ(path.is_plain(), !elements.empty());
    EXPECT_EQ(path.elements, elements);
    EXPECT_EQ(path.parent, parent);
    EXPECT_EQ(path.name, name);
    EXPECT_EQ(path.index, index);
}

TEST(XmlPath, OfNamesIsPlain) {
    expect_parts(PlainPath("//a"), "//a", "", "a", 0);
    expect_parts(PlainPath("//a/b"), "//a/b", "//a", "b", 0);
    expect_parts(PlainPath("//Zz_9/_b0z/AZ"), "//Zz_9/_b0z/AZ", "//Zz_9/_b0z", "AZ", 0);
}

TEST(XmlPath, MayEndWithAnIndex) {
    expect_parts(PlainPath("//a/b[3]"), "//a/b", "//a", "b", 3);
    expect_parts(PlainPath("//b[4294967295]"), "//b", "", "b", 4294967295);
}

TEST(XmlPath, CanContinueOneThatIsKnown) {
    expect_parts(PlainPath("//a/b/c[2]", 5), "//a/b/c", "//a/b", "c", 2);
    expect_parts(PlainPath("//a/b", 3), "//a/b", "//a", "b", 0);
    EXPECT_FALSE(PlainPath("//a/b", 5).is_plain());
    EXPECT_FALSE(PlainPath("//a/bc", 5).is_plain());
}

TEST(XmlPath, OfAnotherFormIsNotPlain) {
    for (const std::string_view text :
         {"",        "/",      "//",      "/a",      "a",       "///a",       "//a/",
          "//a//b",  "//0a",   "//a/0",   "//a-b",   "//a.b",   "//a:b",      "//*",
          "//a b",   "//@a",   "//a[",    "//a[]",   "//a[0]",  "//a[1",      "//a1]",
          "//a[1]]", "//a[x]", "//a[1x]", "//a[ 1]", "//a[1]b", "//a[1]/b",   "//a[4294967296]",
          "//a[-1]", "//[1]",  "//`",     "//{",     "//a{",    "//a[last()]"}) {
        SCOPED_TRACE(text);
        expect_parts(PlainPath(text), "", "", "", 0);
    }
}

}  // namespace
}  // namespace tarn::test
