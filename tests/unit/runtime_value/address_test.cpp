// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>
#include <random>
#include <tuple>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

class Address : public ValueTest {
 protected:
    ip_address *field = make_address();

    void read_xml(const std::string &content) {
        const Document document = parse("<o><f>" + content + "</f></o>");
        ip_address_from_xml(handle, tx, "//o/f", document.get(), field, &err, nullptr, 0);
    }
};

TEST_F(Address, ANewAddressIsNone) {
    EXPECT_EQ(field->family, KEL_ADDRESS_NONE);
    EXPECT_EQ(text_of(field), "");
    EXPECT_EQ(ip_address_len(handle, tx, field), 1U);
    EXPECT_EQ(ip_address_len(handle, tx, nullptr), 1U);
}

TEST_F(Address, TextOfBothFamiliesIsReadAndWrittenInItsCanonicalForm) {
    for (const auto &[text, canonical] :
         std::vector<std::pair<const char *, const char *>>{{"0.0.0.0", "0.0.0.0"},
                                                            {"255.255.255.255", "255.255.255.255"},
                                                            {"10.1.2.3", "10.1.2.3"},
                                                            {"::", "::"},
                                                            {"2001:DB8:0:0:0:0:0:1", "2001:db8::1"},
                                                            {"::ffff:1.2.3.4", "::ffff:1.2.3.4"}}) {
        ip_address_assign_text(handle, tx, field, text, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(text_of(field), canonical);
    }
}

TEST_F(Address, TextThatIsNoAddressFailsWithEinvalAndKeepsTheValue) {
    ip_address_assign_text(handle, tx, field, "10.0.0.1", &err);
    for (const char *text : {"", "10.0.0", "10.0.0.256", "fe80::1%eth0", "host", "10.0.0.1 "}) {
        ip_address_assign_text(handle, tx, field, text, &err);
        expect_error(EINVAL);
        EXPECT_EQ(text_of(field), "10.0.0.1");
    }
    EXPECT_STREQ(kel_error_text(), "ip_address: expected an IPv4 or IPv6 address, found 10.0.0.1 ");
    ip_address_assign_text(handle, tx, field, nullptr, &err);
    expect_error(ENOENT);
}

TEST_F(Address, AssignAcceptsOnlyTheBytesOfAKnownFamily) {
    const std::uint8_t bytes[16] = {1, 2, 3, 4, 5};
    ip_address_assign(handle, tx, field, KEL_ADDRESS_IPV6, bytes, &err);
    EXPECT_EQ(text_of(field), "102:304:500::");
    ip_address_assign(handle, tx, field, KEL_ADDRESS_IPV4, bytes, &err);
    EXPECT_EQ(text_of(field), "1.2.3.4");
    EXPECT_EQ(field->bytes[4], 0);
    ip_address_assign(handle, tx, field, 5, bytes, &err);
    expect_error(EINVAL);
    ip_address_assign(handle, tx, field, KEL_ADDRESS_IPV4, nullptr, &err);
    expect_error(EINVAL);
    EXPECT_EQ(text_of(field), "1.2.3.4");
    ip_address_assign(handle, tx, field, KEL_ADDRESS_NONE, nullptr, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text_of(field), "");
    ip_address_assign(handle, tx, nullptr, KEL_ADDRESS_NONE, nullptr, &err);
    expect_error(ENOENT);
}

TEST_F(Address, SetCopiesOnlyFamilyAndBytesAndAnnouncesThem) {
    ip_address *source = make_address("2001:db8::7");
    source->flags = OBJ_RA_DATA;
    source->variant = 3;
    HookRecorder hooks(handle);
    ip_address_set(handle, 4, field, source, &err);
    ASSERT_EQ(hooks.events.size(), 1U);
    EXPECT_EQ(hooks.events[0].address, &field->family);
    EXPECT_EQ(hooks.events[0].length, 17U);
    EXPECT_EQ(hooks.events[0].tx_id, 4U);
    EXPECT_EQ(hooks.events[0].before, std::vector<std::uint8_t>(17, 0));
    EXPECT_EQ(text_of(field), "2001:db8::7");
    EXPECT_EQ(field->flags, OBJ_NESTED);
    EXPECT_EQ(field->variant, 0);
    hooks.clear();
    ip_address_set(handle, tx, field, field, &err);
    EXPECT_TRUE(hooks.events.empty());
    ip_address_set(handle, tx, field, nullptr, &err);
    expect_error(ENOENT);
    ip_address_set(handle, tx, nullptr, source, &err);
    expect_error(ENOENT);
}

TEST_F(Address, AnErrorOnEntryStopsEveryOperation) {
    ip_address *source = make_address("1.2.3.4");
    char buffer[64] = "untouched";
    err = EAGAIN;
    HookRecorder hooks(handle);
    EXPECT_EQ(ip_address_get(handle, tx, field, &err), nullptr);
    ip_address_set(handle, tx, field, source, &err);
    ip_address_assign(handle, tx, field, KEL_ADDRESS_IPV4, "abcd", &err);
    ip_address_assign_text(handle, tx, field, "1.1.1.1", &err);
    EXPECT_EQ(ip_address_marshal(handle, tx, buffer, source, 64, &err), 0U);
    EXPECT_EQ(ip_address_unmarshal(handle, tx, "\4abcd", field, 5, 0, &err), 0U);
    EXPECT_EQ(ip_address_print(handle, tx, buffer, 0, "n", source, 64, &err), 0U);
    EXPECT_EQ(ip_address_to_xml(handle, tx, "n", buffer, source, 64, 0, &err), 0U);
    read_xml("1.1.1.1");
    EXPECT_EQ(err, EAGAIN);
    EXPECT_EQ(text_of(field), "");
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_TRUE(hooks.events.empty());
}

TEST_F(Address, TheWireFormIsFamilyAndBytesAndRoundTrips) {
    for (const auto &[text, length] : std::vector<std::pair<const char *, std::uint32_t>>{
             {"", 1}, {"1.2.3.4", 5}, {"1:2::", 17}}) {
        ip_address *source = make_address(*text == '\0' ? nullptr : text);
        ASSERT_EQ(ip_address_len(handle, tx, source), length);
        std::vector<std::uint8_t> buffer(length);
        for (std::uint32_t space = 0; space < length; ++space) {
            EXPECT_EQ(ip_address_marshal(handle, tx, buffer.data(), source, space, &err), 0U);
            expect_error(EMSGSIZE);
            EXPECT_EQ(buffer, std::vector<std::uint8_t>(length, 0));
        }
        ASSERT_EQ(ip_address_marshal(handle, tx, buffer.data(), source, length, &err), length);
        EXPECT_EQ(buffer[0], length == 1 ? 0 : length == 5 ? 4 : 6);
        ip_address *copy = make_address("9.9.9.9");
        HookRecorder hooks(handle);
        ASSERT_EQ(ip_address_unmarshal(handle, tx, buffer.data(), copy, length, 0, &err), length);
        EXPECT_TRUE(hooks.announced(&copy->family, 17));
        EXPECT_EQ(ip_address_compare(copy, source), 0);
        EXPECT_EQ(text_of(copy), text);
        for (std::uint32_t space = 0; space < length; ++space) {
            const std::vector<std::uint8_t> cut(buffer.begin(), buffer.begin() + space);
            EXPECT_EQ(ip_address_unmarshal(handle, tx, cut.data(), copy, space, 0, &err), 0U);
            expect_error(EMSGSIZE);
            EXPECT_EQ(text_of(copy), text);
        }
    }
}

TEST_F(Address, AnUnknownFamilyOnTheWireFailsWithEinval) {
    ip_address_assign_text(handle, tx, field, "1.2.3.4", &err);
    for (const int family : {1, 2, 3, 5, 7, 10, 127, 128, 255}) {
        const std::vector<std::uint8_t> buffer(17, static_cast<std::uint8_t>(family));
        EXPECT_EQ(ip_address_unmarshal(handle, tx, buffer.data(), field, 17, 0, &err), 0U);
        expect_error(EINVAL);
        EXPECT_EQ(text_of(field), "1.2.3.4");
    }
}

TEST_F(Address, ANullAddressIsMarshalledAndPrintedAsNone) {
    std::uint8_t byte = 1;
    EXPECT_EQ(ip_address_marshal(handle, tx, &byte, nullptr, 1, &err), 1U);
    EXPECT_EQ(byte, 0);
    char buffer[32];
    ASSERT_EQ(ip_address_print(handle, tx, buffer, 0, "a", nullptr, 32, &err), 8U);
    EXPECT_EQ(std::string(buffer, 8), "a: none\n");
    ASSERT_EQ(ip_address_to_xml(handle, tx, "a", buffer, nullptr, 32, 0, &err), 8U);
    EXPECT_EQ(std::string(buffer, 8), "<a></a>\n");
    EXPECT_EQ(ip_address_unmarshal(handle, tx, &byte, nullptr, 1, 0, &err), 0U);
    expect_error(ENOENT);
}

TEST_F(Address, PrintShowsTheTextOrNone) {
    char buffer[32];
    ASSERT_EQ(ip_address_print(handle, tx, buffer, 2, "peer", field, 13, &err), 13U);
    EXPECT_EQ(std::string(buffer, 13), "  peer: none\n");
    EXPECT_EQ(ip_address_print(handle, tx, buffer, 2, "peer", field, 12, &err), 0U);
    expect_error(EMSGSIZE);
    ip_address_assign_text(handle, tx, field, "::1", &err);
    ASSERT_EQ(ip_address_print(handle, tx, buffer, 0, "peer", field, 32, &err), 10U);
    EXPECT_EQ(std::string(buffer, 10), "peer: ::1\n");
}

TEST_F(Address, XmlRoundTripsAndBadTextFailsWithEinval) {
    for (const char *text : {"", "192.0.2.1", "2001:db8::ff"}) {
        ip_address *source = make_address(*text == '\0' ? nullptr : text);
        const std::string expected = "<f state=\"7\">" + std::string(text) + "</f>\n";
        char buffer[64];
        ASSERT_EQ(ip_address_to_xml(handle, tx, "f", buffer, source, 64, 7, &err), expected.size());
        EXPECT_EQ(std::string(buffer, expected.size()), expected);
        ip_address_assign_text(handle, tx, field, "9.9.9.9", &err);
        read_xml(text);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(text_of(field), text);
    }
    for (const char *text : {" ", "1.2.3", "none", "1.2.3.4/24"}) {
        TraceCapture trace;
        read_xml(text);
        expect_error(EINVAL);
        EXPECT_EQ(text_of(field), "2001:db8::ff");
        EXPECT_EQ(trace.lines.size(), 1U);
    }
}

TEST_F(Address, OrderIsByFamilyThenByBytesInNetworkOrder) {
    ip_address *none = make_address();
    ip_address *v4_low = make_address("1.255.255.255");
    ip_address *v4_high = make_address("200.0.0.0");
    ip_address *v6 = make_address("::");
    const std::vector<const ip_address *> ordered = {nullptr, none, v4_low, v4_high, v6};
    for (std::size_t i = 0; i < ordered.size(); ++i) {
        for (std::size_t j = 0; j < ordered.size(); ++j) {
            EXPECT_EQ(ip_address_compare(ordered[i], ordered[j]), i < j ? -1 : i > j ? 1 : 0);
        }
    }
}

TEST_F(Address, CompareAgreesWithAModelOnRandomAddresses) {
    constexpr unsigned seed = 99;
    std::mt19937 random(seed);
    using Model = std::tuple<int, std::vector<std::uint8_t>>;
    std::vector<Model> models;
    std::vector<ip_address *> addresses;
    for (int i = 0; i < 100; ++i) {
        const auto family = static_cast<std::uint8_t>(std::vector<int>{0, 4, 6}[random() % 3]);
        std::vector<std::uint8_t> bytes(16);
        for (auto &byte : bytes) byte = static_cast<std::uint8_t>(random() % 4 == 0 ? random() : 0);
        addresses.push_back(make_address());
        ip_address_assign(handle, tx, addresses.back(), family, bytes.data(), &err);
        bytes.resize(family == 0 ? 0 : family == 4 ? 4 : 16);
        models.emplace_back(family, bytes);
    }
    for (std::size_t i = 0; i < models.size(); ++i) {
        for (std::size_t j = 0; j < models.size(); ++j) {
            const int expected = models[i] < models[j] ? -1 : models[j] < models[i] ? 1 : 0;
            ASSERT_EQ(ip_address_compare(addresses[i], addresses[j]), expected)
                << "seed " << seed << ", pair " << i << " " << j;
            if (expected == 0) {
                ASSERT_EQ(ip_address_hash(addresses[i], 1), ip_address_hash(addresses[j], 1));
            }
        }
    }
}

TEST_F(Address, AKeyToSearchWithNeedsNoHandle) {
    const std::uint8_t bytes[4] = {10, 0, 0, 1};
    ip_address key;
    ip_address_refer(&key, KEL_ADDRESS_IPV4, bytes);
    EXPECT_EQ(text_of(&key), "10.0.0.1");
    EXPECT_EQ(key.descriptor, &_ip_address_type_info_internal);
    ip_address_refer(&key, 9, bytes);
    EXPECT_EQ(key.family, KEL_ADDRESS_NONE);
}

TEST_F(Address, TextIsEmptyIfItDoesNotFit) {
    ip_address_assign_text(handle, tx, field, "10.20.30.40", &err);
    char text[11];
    EXPECT_STREQ(ip_address_text(field, text, sizeof text), "");
    text[0] = 'x';
    EXPECT_EQ(ip_address_text(field, text, 0), text);
    EXPECT_EQ(text[0], 'x');
}

TEST_F(Address, ARollbackRestoresTheAddress) {
    ip_address_assign_text(handle, tx, field, "10.0.0.1", &err);
    std::uint32_t transaction = 0;
    ASSERT_EQ(kel_transaction_begin(handle, &transaction), 0U);
    ip_address_assign_text(handle, transaction, field, "::1", &err);
    ASSERT_EQ(kel_transaction_rollback(handle, transaction), 0U);
    EXPECT_EQ(text_of(field), "10.0.0.1");
}

}  // namespace
}  // namespace tarn::test
