// SPDX-License-Identifier: Apache-2.0
#include "describe/values.h"

#include <algorithm>

#include "tarnbase/value.h"

namespace tarnctl {
namespace {

constexpr std::string_view by_size = "by number";
constexpr std::string_view decimal = "a decimal number; read in hexadecimal too, after 0x";

const ValueType types[] = {
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
     &_kel_vstring_type_info_internal},
    {"ip_address", "an IPv4 or IPv6 address, or none",
     "1 byte family (0 none, 4, 6), then 0, 4 or 16 bytes in network order",
     "by family, then by the bytes in network order", "as 192.0.2.1 or 2001:db8::1; none is empty",
     &_ip_address_type_info_internal},
};

}  // namespace

std::span<const ValueType> value_types() { return types; }

const ValueType *value_type(std::string_view name) {
    const auto *found = std::find_if(std::begin(types), std::end(types),
                                     [&](const ValueType &each) { return each.name == name; });
    return found == std::end(types) ? nullptr : found;
}

}  // namespace tarnctl
