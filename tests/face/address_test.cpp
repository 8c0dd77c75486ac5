// SPDX-License-Identifier: Apache-2.0
#include "tarnbase/tarn/address.hpp"

#include <algorithm>
#include <vector>

#include "fixture.h"

namespace face_test {
namespace {

using tarn::address;

TEST(Address, IsReadAndWrittenAsText) {
    for (const char *text : {"0.0.0.0", "192.0.2.7", "::", "2001:db8::1", "fe80::1:2:3:4"})
        EXPECT_EQ(address::parse(text).to_text(), text);
    EXPECT_EQ(address::parse("2001:DB8:0:0::1").to_text(), "2001:db8::1");
    EXPECT_EQ(address().to_text(), "");
}

TEST(Address, InvalidTextIsAnError) {
    for (const char *text : {"", "192.0.2", "192.0.2.256", "ldap1", "2001:db8::1::2"}) {
        const auto read = address::try_parse(text);
        ASSERT_FALSE(read) << text;
        EXPECT_EQ(read.error().code(), std::errc::invalid_argument);
    }
    EXPECT_STREQ(thrown_by([] { address::parse("ldap1"); }).what(),
                 "'ldap1' is not an IPv4 or IPv6 address");
}

TEST(Address, HasAFamilyAndBytes) {
    const address four = address::parse("192.0.2.7");
    EXPECT_EQ(four.family(), KEL_ADDRESS_IPV4);
    EXPECT_EQ(four.size(), 4U);
    EXPECT_EQ(four.data()[3], 7);
    EXPECT_EQ(address::parse("::1").size(), 16U);
    EXPECT_EQ(address().size(), 0U);
    EXPECT_TRUE(four);
    EXPECT_FALSE(address());
}

TEST(Address, IsOrderedAsTablesOrderAddresses) {
    std::vector<address> all;
    for (const char *text : {"2001:db8::1", "192.0.2.10", "::", "192.0.2.9", "0.0.0.0"})
        all.push_back(address::parse(text));
    all.push_back({});
    std::sort(all.begin(), all.end());
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < all.size(); ++i) {
        texts.push_back(all[i].to_text());
        if (i == 0) continue;
        const ip_address before = all[i - 1].to_c();
        const ip_address here = all[i].to_c();
        EXPECT_LT(ip_address_compare(&before, &here), 0);
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"", "0.0.0.0", "192.0.2.9", "192.0.2.10",
                                               "::", "2001:db8::1"}));
    EXPECT_TRUE(address::parse("::1") == address::parse("0::1"));
    EXPECT_TRUE(address::parse("::1") != address::parse("::2"));
}

}  // namespace
}  // namespace face_test
