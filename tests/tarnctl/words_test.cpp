// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "base/failure.h"
#include "edit/batch.h"
#include "edit/order.h"

namespace {

using tarnctl::split_words;
using Words = std::vector<std::string>;

TEST(BatchWords, AreSplitAtBlanksUnlessQuoted) {
    const std::pair<const char *, Words> cases[] = {
        {"  set\tldap_conn  a=b \r", {"set", "ldap_conn", "a=b"}},
        {"", {}},
        {"''", {""}},
        {R"(a'b  c'"d \"e\\ \n")", {R"(ab  cd "e\ \n)"}},
        {R"(a\ b\'c '\')", Words{std::string("a b'c"), "\\"}},
        {"a b#c # d 'e", Words{std::string("a"), "b#c"}},
        {"'#a'", {"#a"}},
    };
    for (const auto &[line, words] : cases) EXPECT_EQ(split_words(line), words) << line;
}

TEST(BatchWords, MustCloseTheirQuotes) {
    for (const char *line : {"a 'b", "a \"b\\\"", "a \\"})
        EXPECT_THROW(split_words(line), tarnctl::Failure) << line;
}

TEST(Assignments, StartWithThePathOfAField) {
    for (const char *word :
         {"num_conns=3", "aaa_authen.requests=", "minute[5]=x=y", "sname:hex=00"})
        EXPECT_TRUE(tarnctl::is_assignment(word)) << word;
    for (const char *word : {"num_conns", "a b=3", "2001:db8::1=x", "=3"})
        EXPECT_FALSE(tarnctl::is_assignment(word)) << word;
}

}  // namespace
