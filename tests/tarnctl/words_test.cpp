// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "base/failure.h"
#include "edit/batch.h"
#include "edit/order.h"

namespace {

using tarnctl::split_words;
using Words = std::vector<std::string>;

TEST(BatchWords, ArePartedByBlanks) {
    EXPECT_EQ(split_words("  set\tldap_conn  a=b \r"), (Words{"set", "ldap_conn", "a=b"}));
    EXPECT_EQ(split_words(""), Words{});
    EXPECT_EQ(split_words("''"), Words{""});
}

TEST(BatchWords, KeepWhatIsQuoted) {
    EXPECT_EQ(split_words(R"(a'b  c'"d \"e\\ \n")"), Words{R"(ab  cd "e\ \n)"});
    EXPECT_EQ(split_words(R"(a\ b\'c '\')"), (Words{"a b'c", "\\"}));
}

TEST(BatchWords, EndAtAComment) {
    EXPECT_EQ(split_words("a b#c # d 'e"), (Words{"a", "b#c"}));
    EXPECT_EQ(split_words("'#a'"), Words{"#a"});
}

TEST(BatchWords, MustEndTheirQuotations) {
    EXPECT_THROW(split_words("a 'b"), tarnctl::Failure);
    EXPECT_THROW(split_words("a \"b\\\""), tarnctl::Failure);
    EXPECT_THROW(split_words("a \\"), tarnctl::Failure);
}

TEST(Assignments, BeginWithThePathOfAField) {
    EXPECT_TRUE(tarnctl::is_assignment("num_conns=3"));
    EXPECT_TRUE(tarnctl::is_assignment("aaa_authen.requests="));
    EXPECT_TRUE(tarnctl::is_assignment("minute[5]=x=y"));
    EXPECT_TRUE(tarnctl::is_assignment("sname:hex=00"));
    EXPECT_FALSE(tarnctl::is_assignment("num_conns"));
    EXPECT_FALSE(tarnctl::is_assignment("a b=3"));
    EXPECT_FALSE(tarnctl::is_assignment("2001:db8::1=x"));
    EXPECT_FALSE(tarnctl::is_assignment("=3"));
}

}  // namespace
