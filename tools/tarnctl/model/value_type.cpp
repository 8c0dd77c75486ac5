// SPDX-License-Identifier: Apache-2.0
#include "model/value_type.h"

#include <algorithm>

#include "tarnbase/embedded.h"
#include "tarnbase/tarn/address.hpp"

namespace tarnctl {
namespace {

constexpr std::string_view by_size = "by number";
constexpr std::string_view decimal = "a decimal number; read in hexadecimal too, after 0x";

using Bytes = std::span<const uint8_t>;

// A kel_vstring.

std::string string_text(const void *value) {
    uint32_t length = 0;
    const char *bytes = kel_vstring_bytes(static_cast<const kel_vstring *>(value), &length);
    return {bytes, length};
}

bool parse_string(std::string_view text, void *value) {
    kel_vstring_refer(static_cast<kel_vstring *>(value), text.data(),
                      static_cast<uint32_t>(text.size()));
    return true;
}

constexpr ObjectType string_type = {
    .text = string_text,
    .parse = parse_string,
    .expected = "a string",
    .expected_json = "a string or {\"hex\": \"00ff\"}",
    .order = string_text,
    .wire = {.number = "length",
             .rest = [](uint64_t length) { return std::optional<std::size_t>(length); },
             .expected = "a length",
             .text = [](Bytes bytes) { return std::string(bytes.begin(), bytes.end()); }},
};

// An ip_address.

std::string address_text(const void *value) {
    char text[INET6_ADDRSTRLEN] = "";
    return ip_address_text(static_cast<const ip_address *>(value), text, sizeof text);
}

bool parse_address(std::string_view text, void *value) {
    tarn::address address;
    if (!text.empty()) {
        const auto parsed = tarn::address::try_parse(std::string(text));
        if (!parsed) return false;
        address = *parsed;
    }
    *static_cast<ip_address *>(value) = address.to_c();
    return true;
}

// As ip_address_compare: by family, then by the bytes.
std::string address_order(const void *value) {
    const auto *address = static_cast<const ip_address *>(value);
    std::string bytes(1, static_cast<char>(address->family));
    return bytes.append(reinterpret_cast<const char *>(address->bytes), sizeof address->bytes);
}

std::optional<std::size_t> address_length(uint64_t family) {
    if (family == KEL_ADDRESS_NONE) return 0;
    if (family == KEL_ADDRESS_IPV4) return 4;
    if (family == KEL_ADDRESS_IPV6) return 16;
    return std::nullopt;
}

std::string address_bytes_text(Bytes bytes) {
    if (bytes.empty()) return "none";
    const uint8_t family = bytes.size() == 4 ? KEL_ADDRESS_IPV4 : KEL_ADDRESS_IPV6;
    return tarn::address(family, bytes.data()).to_text();
}

constexpr ObjectType address_type = {
    .text = address_text,
    .parse = parse_address,
    .expected = "an IPv4 or IPv6 address, or nothing",
    .expected_json = "an address as text, or null",
    .order = address_order,
    .wire = {.number = "family",
             .rest = address_length,
             .expected = "0, 4 or 6",
             .text = address_bytes_text},
};

constexpr ValueType types[] = {
    {"u_int8", "a number from 0 to 255", "1 byte", by_size, decimal, nullptr},
    {"u_int16", "a number from 0 to 65535", "2 bytes, little-endian", by_size, decimal, nullptr},
    {"u_int32", "a number from 0 to 4294967295", "4 bytes, little-endian", by_size, decimal,
     nullptr},
    {"u_int64", "a number from 0 to 18446744073709551615", "8 bytes, little-endian", by_size,
     decimal, nullptr},
    {"int32", "a number from -2147483648 to 2147483647", "4 bytes, little-endian", by_size, decimal,
     nullptr},
    {"int64", "a number from -9223372036854775808 to 9223372036854775807", "8 bytes, little-endian",
     by_size, decimal, nullptr},
    {"kel_boolean", "a truth value", "1 byte, 0 or 1", "false before true",
     "true or false; 1 and 0 are read too", &_kel_boolean_type_info_internal},
    {"kel_vstring", "a string of any bytes", "4 bytes length, then the bytes",
     "shorter strings first, strings of one length by their bytes", "the string as it is",
     &_kel_vstring_type_info_internal, &string_type},
    {"ip_address", "an IPv4 or IPv6 address, or none",
     "1 byte family (0 none, 4, 6), then 0, 4 or 16 bytes in network order",
     "by family, then by the bytes in network order", "as 192.0.2.1 or 2001:db8::1; none is empty",
     &_ip_address_type_info_internal, &address_type},
};

constexpr const ValueType *find_type(std::string_view name) {
    const auto *found = std::find_if(std::begin(types), std::end(types),
                                     [&](const ValueType &each) { return each.name == name; });
    return found == std::end(types) ? nullptr : found;
}

// Whether a kind of field has what tarnctl needs for it here.
constexpr bool is_described(const tarnbase::KindFacts &kind) {
    const std::string_view name = kind.type;
    if (name.empty()) return true;
    const ValueType *type = find_type(name);
    const bool is_object = kind.group == tarnbase::KindGroup::object;
    return type != nullptr && is_object == (type->operations != nullptr);
}
static_assert(std::all_of(std::begin(tarnbase::all_kinds), std::end(tarnbase::all_kinds),
                          is_described),
              "a type of frame/kinds.h has no entry, or one that lacks its operations");

}  // namespace

std::span<const ValueType> value_types() { return types; }

const ValueType *value_type(std::string_view name) { return find_type(name); }

const ObjectType *object_type(const Field &field) {
    if (field.facts().group != tarnbase::KindGroup::object) return nullptr;
    return value_type(field.facts().type)->operations;
}

}  // namespace tarnctl
