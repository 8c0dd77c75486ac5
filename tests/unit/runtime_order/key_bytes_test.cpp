// SPDX-License-Identifier: Apache-2.0
// The bytes that a record's key has for an index, byte for byte, for each kind of part.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/index/key_order.h"
#include "runtime/value/address.h"
#include "runtime/value/vstring.h"
#include "tarnbase/key_order.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::KeyBytes;
using tarnbase::runtime::KeyOrder;
using tarnbase::runtime::order_of_keys;
using tarnbase::runtime::text_of;

// One comparison for each test, since an order belongs to one.
template <int>
std::uint32_t compare(const kel_index_node *, const kel_index_node *) {
    return 0;
}

std::int32_t other_text_compare(const kel_vstring *, const kel_vstring *) { return 0; }
std::int32_t other_address_compare(const ip_address *, const ip_address *) { return 0; }

struct Fields {
    std::uint64_t number;
    kel_vstring text;
    ip_address address;
    unsigned char bytes[64];
};

constexpr kel_key_part number_part(std::uint32_t kind, std::uint32_t size) {
    return {kind, offsetof(Fields, number), size};
}
constexpr kel_key_part text_part{KEL_KEY_TEXT, offsetof(Fields, text), 0};
constexpr kel_key_part address_part{KEL_KEY_ADDRESS, offsetof(Fields, address), 0};
constexpr kel_key_part bytes_part(std::uint32_t size) {
    return {KEL_KEY_BYTES, offsetof(Fields, bytes), size};
}

std::string operator""_b(const char *bytes, std::size_t length) { return {bytes, length}; }

class KeyBytesOf : public ::testing::Test {
 protected:
    KeyBytesOf() {
        record.tenant_id = 0x0102;
        record.src = 7;
        record.object = &fields;
    }

    kel_key_order described(const std::vector<kel_key_part> &parts) const {
        return {sizeof(kel_key_order),
                in_key_object,
                compare<0>,
                parts.data(),
                static_cast<std::uint32_t>(parts.size()),
                tarnbase::runtime::own_vstring_compare,
                tarnbase::runtime::own_address_compare};
    }
    const KeyOrder *order_of(const std::vector<kel_key_part> &parts) const {
        const kel_key_order order = described(parts);
        kel_index_describe_order(&order);
        return order_of_keys(compare<0>);
    }
    // The bytes of the record's key after those of its tenant.
    std::string bytes_of(const std::vector<kel_key_part> &parts) const {
        struct {
            KeyBytes bytes;
            KeyBytes after;
        } memory;
        memory.bytes.fill(0xee);
        memory.after.fill(0xee);
        order_of(parts)->encode(&record.index_node, memory.bytes);
        for (const unsigned char byte : memory.after) EXPECT_EQ(byte, 0xee);
        const std::string all(memory.bytes.begin(), memory.bytes.end());
        EXPECT_EQ(all.substr(0, 2), "\1\2"_b);
        return all.substr(2);
    }
    // Without the zeros up to the end, which are checked.
    std::string bytes_of(const std::vector<kel_key_part> &parts, std::size_t length) const {
        const std::string all = bytes_of(parts);
        EXPECT_EQ(all.substr(length), std::string(all.size() - length, '\0'));
        return all.substr(0, length);
    }

    std::uint32_t in_key_object = 0;
    Fields fields{};
    kel_record record{};
};

TEST_F(KeyBytesOf, AnUnsignedNumberAreThoseOfItsSizeAndThenTheSource) {
    fields.number = 0x1122334455667788;
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_UNSIGNED, 1)}, 2), "\x88\7"_b);
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_UNSIGNED, 2)}, 3), "\x77\x88\7"_b);
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_UNSIGNED, 4)}, 5), "\x55\x66\x77\x88\7"_b);
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_UNSIGNED, 8)}, 9),
              "\x11\x22\x33\x44\x55\x66\x77\x88\7"_b);
}

TEST_F(KeyBytesOf, ASignedNumberHaveItsSignTurned) {
    fields.number = static_cast<std::uint64_t>(-2);
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_SIGNED, 1)}, 2), "\x7e\7"_b);
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_SIGNED, 2)}, 3), "\x7f\xfe\7"_b);
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_SIGNED, 8)}, 9),
              "\x7f\xff\xff\xff\xff\xff\xff\xfe\7"_b);
    fields.number = 3;
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_SIGNED, 4)}, 5), "\x80\0\0\3\7"_b);
}

TEST_F(KeyBytesOf, ATextComeAfterItsLength) {
    tarnbase::runtime::borrow_text(&fields.text, "");
    EXPECT_EQ(bytes_of({text_part}, 5), "\0\0\0\0\7"_b);
    tarnbase::runtime::borrow_text(&fields.text, "name");
    EXPECT_EQ(bytes_of({text_part}, 9), "\0\0\0\4name\7"_b);
    const std::string longer(300, 'x');
    tarnbase::runtime::borrow_text(&fields.text, longer);
    EXPECT_EQ(bytes_of({text_part}), "\0\0\1\x2c"_b + std::string(34, 'x'));
}

TEST_F(KeyBytesOf, AnAddressBeginWithItsFamily) {
    fields.address.family = KEL_ADDRESS_IPV6;
    std::memcpy(fields.address.bytes, "0123456789abcdef", 16);
    EXPECT_EQ(bytes_of({address_part}, 18),
              "\x06"
              "0123456789abcdef\7"_b);
}

TEST_F(KeyBytesOf, BytesAreThemAsFarAsThereIsSpace) {
    for (std::size_t i = 0; i < sizeof fields.bytes; ++i) {
        fields.bytes[i] = static_cast<unsigned char>(i + 1);
    }
    const std::string_view all(reinterpret_cast<const char *>(fields.bytes), sizeof fields.bytes);
    EXPECT_EQ(bytes_of({bytes_part(3)}, 4), "\1\2\3\7"_b);
    EXPECT_EQ(bytes_of({bytes_part(37)}, 38), std::string(all.substr(0, 37)) + "\7");
    EXPECT_EQ(bytes_of({bytes_part(38)}), all.substr(0, 38));
    EXPECT_EQ(bytes_of({bytes_part(64), number_part(KEL_KEY_UNSIGNED, 8)}), all.substr(0, 38));
}

TEST_F(KeyBytesOf, SeveralPartsFollowOneAnother) {
    fields.number = 5;
    tarnbase::runtime::borrow_text(&fields.text, "ab");
    EXPECT_EQ(
        bytes_of({number_part(KEL_KEY_UNSIGNED, 1), text_part, number_part(KEL_KEY_UNSIGNED, 2)},
                 10),
        "\5\0\0\0\2ab\0\5\7"_b);
}

TEST_F(KeyBytesOf, WhatFollowsAnUnknownPartAreZero) {
    fields.number = 5;
    const kel_key_part unknown{KEL_KEY_OTHER, 0, 8};
    const kel_key_part number = number_part(KEL_KEY_UNSIGNED, 1);
    EXPECT_EQ(bytes_of({unknown}, 0), "");
    EXPECT_EQ(bytes_of({number, unknown, number}, 1), "\5");
}

TEST_F(KeyBytesOf, WhatFollowsTheEighthPartAreZero) {
    fields.number = 5;
    std::vector<kel_key_part> parts(8, number_part(KEL_KEY_UNSIGNED, 1));
    EXPECT_EQ(bytes_of(parts, 9), "\5\5\5\5\5\5\5\5\7");
    parts.push_back(parts[0]);
    EXPECT_EQ(bytes_of(parts, 8), "\5\5\5\5\5\5\5\5");
}

TEST_F(KeyBytesOf, ARecordWithoutItsObjectAreThoseOfItsTenant) {
    fields.number = 5;
    record.object = nullptr;
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_UNSIGNED, 1)}, 0), "");
    // The object that a key isn't in doesn't matter.
    record.key_object = &fields;
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_UNSIGNED, 1)}, 0), "");
    in_key_object = 1;
    EXPECT_EQ(bytes_of({number_part(KEL_KEY_UNSIGNED, 1)}, 2), "\5\7");
}

// Distances from the node in units of 16 bytes.
TEST_F(KeyBytesOf, ARecordAreFoundByItsHints) {
    const std::vector<kel_key_part> text_first = {text_part, number_part(KEL_KEY_UNSIGNED, 1)};
    const std::vector<kel_key_part> number_alone = {number_part(KEL_KEY_UNSIGNED, 1)};
    const auto *node = reinterpret_cast<const char *>(&record.index_node);
    const auto hints = [&](const auto &parts) {
        return order_of(parts)->hints(&record.index_node);
    };
    const auto distance = [&](const void *to) {
        return (static_cast<const char *>(to) - node) / 16;
    };
    EXPECT_EQ(hints(text_first).object, distance(&fields.text));
    EXPECT_EQ(hints(text_first).text, distance(text_of(&fields.text).data()));
    EXPECT_EQ(hints(number_alone).object, distance(&fields.number));
    EXPECT_EQ(hints(number_alone).text, distance(&fields.number));

    record.object = nullptr;
    EXPECT_EQ(hints(text_first).object, 0);
    EXPECT_EQ(hints(text_first).text, 0);
    // Too far away.
    const auto address = reinterpret_cast<std::uintptr_t>(&fields) + (std::uintptr_t{1} << 36);
    record.object = reinterpret_cast<void *>(address);
    EXPECT_EQ(hints(number_alone).object, 0);
}

TEST_F(KeyBytesOf, AnOrderThatIsNotTheRuntimesAreUnknown) {
    const std::vector<kel_key_part> parts = {text_part};
    const auto expect_unknown = [&](const kel_key_order &order) {
        ASSERT_NE(order_of(parts), nullptr);
        kel_index_describe_order(&order);
        EXPECT_EQ(order_of_keys(compare<0>), nullptr);
    };
    kel_key_order order = described(parts);
    order.compare_text = other_text_compare;
    expect_unknown(order);
    order = described(parts);
    order.compare_address = other_address_compare;
    expect_unknown(order);
    order = described(parts);
    order.part_count = 0;
    expect_unknown(order);
}

TEST_F(KeyBytesOf, ANumberOfNoPossibleSizeAreUnknown) {
    for (const std::uint32_t kind : {KEL_KEY_UNSIGNED, KEL_KEY_SIGNED}) {
        EXPECT_EQ(order_of({text_part, number_part(kind, 0)}), nullptr);
        EXPECT_EQ(order_of({text_part, number_part(kind, 9)}), nullptr);
        EXPECT_NE(order_of({text_part, number_part(kind, 1)}), nullptr);
        EXPECT_NE(order_of({text_part, number_part(kind, 8)}), nullptr);
    }
    EXPECT_NE(order_of({bytes_part(9)}), nullptr);
}

TEST_F(KeyBytesOf, ADescriptionOfAnotherSizeIsIgnored) {
    const KeyOrder *known = order_of({text_part});
    kel_key_order order = described({});
    order.size -= 1;
    kel_index_describe_order(&order);
    EXPECT_EQ(order_of_keys(compare<0>), known);
}

TEST_F(KeyBytesOf, AComparisonThatWasNeverDescribedAreUnknown) {
    order_of({text_part});
    EXPECT_EQ(order_of_keys(compare<1>), nullptr);
}

// The table of orders grows: each keeps its own.
TEST_F(KeyBytesOf, ManyOrdersAreEachComparisonsOwn) {
    constexpr std::uintptr_t count = 2000;
    const std::vector<kel_key_part> parts = {number_part(KEL_KEY_UNSIGNED, 1)};
    const auto comparison = [](std::uintptr_t i) {
        return reinterpret_cast<e_avl_compare_function>(0x1000 + 16 * i);  // never called
    };
    const auto known = [&](std::uintptr_t i) { return order_of_keys(comparison(i)); };
    std::vector<const KeyOrder *> orders;
    for (std::uintptr_t i = 0; i < count; ++i) {
        kel_key_order order = described(parts);
        order.compare = comparison(i);
        kel_index_describe_order(&order);
        orders.push_back(known(i));
        EXPECT_NE(orders.back(), nullptr);
    }
    for (std::uintptr_t i = 0; i < count; ++i) EXPECT_EQ(known(i), orders[i]) << i;
    EXPECT_EQ(known(count), nullptr);
}

}  // namespace
}  // namespace tarn::test
