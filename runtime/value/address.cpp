// SPDX-License-Identifier: Apache-2.0
#include "runtime/value/address.h"

#include <arpa/inet.h>

#include <cstring>

#include "runtime/base/announce.h"
#include "runtime/base/errors.h"

namespace tarnbase::runtime {

std::optional<std::uint32_t> address_length(std::uint8_t family) {
    switch (family) {
        case KEL_ADDRESS_NONE:
            return 0;
        case KEL_ADDRESS_IPV4:
            return 4;
        case KEL_ADDRESS_IPV6:
            return 16;
        default:
            return std::nullopt;
    }
}

std::optional<Address> make_address(std::uint8_t family, const void *bytes) {
    const auto length = address_length(family);
    if (!length || (*length > 0 && bytes == nullptr)) return std::nullopt;
    Address address{family, {}};
    if (*length > 0) std::memcpy(address.bytes, bytes, *length);
    return address;
}

std::optional<Address> parse_address(const char *text) {
    Address address{KEL_ADDRESS_IPV4, {}};
    if (inet_pton(AF_INET, text, address.bytes) == 1) return address;
    address.family = KEL_ADDRESS_IPV6;
    if (inet_pton(AF_INET6, text, address.bytes) == 1) return address;
    return std::nullopt;
}

Address address_of(const ip_address *value) {
    Address content;
    if (value == nullptr) return content;
    content.family = value->family;
    std::memcpy(content.bytes, value->bytes, sizeof content.bytes);
    return content;
}

void store_address(kel_handle *handle, std::uint32_t tx_id, ip_address *value,
                   const Address &content, std::uint32_t *err) {
    if (value == nullptr) return report_error(handle, err, ENOENT);
    WriteLog{handle, tx_id}.announce(&value->family, sizeof content);
    value->family = content.family;
    std::memcpy(value->bytes, content.bytes, sizeof value->bytes);
}

void format_address(const Address &address, char *text, std::size_t size) {
    const int family = address.family == KEL_ADDRESS_IPV4 ? AF_INET : AF_INET6;
    const bool none = address.family == KEL_ADDRESS_NONE;
    if (none || inet_ntop(family, address.bytes, text, static_cast<socklen_t>(size)) == nullptr) {
        *text = '\0';
    }
}

}  // namespace tarnbase::runtime
