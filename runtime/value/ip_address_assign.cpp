// SPDX-License-Identifier: Apache-2.0
// Addresses from bytes and from text, and their text.
#include <arpa/inet.h>

#include <cerrno>
#include <cstring>

#include "runtime/base/error_text.h"
#include "runtime/base/errors.h"
#include "runtime/value/address.h"
#include "tarnbase/embedded.h"

namespace tarn::runtime {

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
    if (value == nullptr) return report(handle, err, ENOENT);
    announce(handle, tx_id, &value->family, sizeof content);
    value->family = content.family;
    std::memcpy(value->bytes, content.bytes, sizeof value->bytes);
}

}  // namespace tarn::runtime

namespace {

using namespace tarn::runtime;

void refuse(kel_handle *handle, std::uint32_t *err, const char *complaint, const char *found) {
    fail(EINVAL, "ip_address: %s%s", complaint, found);
    report(handle, err, EINVAL);
}

}  // namespace

void ip_address_assign(kel_handle *handle, std::uint32_t tx_id, ip_address *address,
                       std::uint8_t family, const void *bytes, std::uint32_t *err) {
    if (*err != 0) return;
    const auto content = make_address(family, bytes);
    if (!content) return refuse(handle, err, "expected family 0, 4 or 6, and its bytes", "");
    store_address(handle, tx_id, address, *content, err);
}

void ip_address_assign_text(kel_handle *handle, std::uint32_t tx_id, ip_address *address,
                            const char *text, std::uint32_t *err) {
    if (*err != 0) return;
    if (text == nullptr) return report(handle, err, ENOENT);
    const auto content = parse_address(text);
    if (!content) return refuse(handle, err, "expected an IPv4 or IPv6 address, found ", text);
    store_address(handle, tx_id, address, *content, err);
}

void ip_address_refer(ip_address *address, std::uint8_t family, const void *bytes) {
    const Address content = make_address(family, bytes).value_or(Address{});
    *address = {};
    address->descriptor = &_ip_address_type_info_internal;
    address->family = content.family;
    std::memcpy(address->bytes, content.bytes, sizeof address->bytes);
}

const char *ip_address_text(const ip_address *address, char *text, std::size_t size) {
    if (size == 0) return text;
    const Address content = address_of(address);
    const int family = content.family == KEL_ADDRESS_IPV4 ? AF_INET : AF_INET6;
    const bool none = content.family == KEL_ADDRESS_NONE;
    if (none || inet_ntop(family, content.bytes, text, static_cast<socklen_t>(size)) == nullptr) {
        *text = '\0';
    }
    return text;
}
