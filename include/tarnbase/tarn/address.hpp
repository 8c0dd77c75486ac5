// SPDX-License-Identifier: Apache-2.0
/// @file
/// A network address as a value.
#ifndef TARNBASE_TARN_ADDRESS_HPP
#define TARNBASE_TARN_ADDRESS_HPP

#include <arpa/inet.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "tarnbase/tarn/result.hpp"
#include "tarnbase/value.h"

namespace tarn {

/// An IPv4 or IPv6 address, or none. Ordered as in tables: by family, then by the
/// bytes in network order.
class address {
 public:
    /// No address.
    address() = default;
    /// From bytes in network order, as many as `family` (KEL_ADDRESS_...) has.
    address(std::uint8_t family, const void *content) noexcept : family_(family) {
        std::memcpy(bytes_, content, size());
    }

    /// The value of a field.
    explicit address(const ::ip_address &field) noexcept : address(field.family, field.bytes) {}

    /// Parses the text of an address, as inet_pton(3) does. Error: EINVAL it isn't one.
    static result<address> try_parse(const std::string &text) {
        unsigned char found[sizeof bytes_];
        if (inet_pton(AF_INET, text.c_str(), found) == 1) return address(KEL_ADDRESS_IPV4, found);
        if (inet_pton(AF_INET6, text.c_str(), found) == 1) return address(KEL_ADDRESS_IPV6, found);
        return error(EINVAL, "'" + text + "' is not an IPv4 or IPv6 address");
    }
#if TARN_EXCEPTIONS
    /// As try_parse; throws.
    static address parse(const std::string &text) { return try_parse(text).value(); }
#endif

    /// Returns: the text, as inet_ntop(3) writes it; "" for none.
    std::string to_text() const {
        char text[INET6_ADDRSTRLEN] = "";
        const ::ip_address same = to_c();
        return ip_address_text(&same, text, sizeof text);
    }

    /// Returns: KEL_ADDRESS_NONE, KEL_ADDRESS_IPV4 or KEL_ADDRESS_IPV6.
    std::uint8_t family() const noexcept { return family_; }
    /// Returns: the bytes in network order, `size()` of them.
    const std::uint8_t *data() const noexcept { return bytes_; }
    std::size_t size() const noexcept {
        return family_ == KEL_ADDRESS_IPV4 ? 4 : family_ == KEL_ADDRESS_IPV6 ? 16 : 0;
    }
    /// Returns: whether there is an address.
    explicit operator bool() const noexcept { return family_ != KEL_ADDRESS_NONE; }

    /// Returns: the address for calls of the C interface.
    ::ip_address to_c() const noexcept {
        ::ip_address same;
        ip_address_refer(&same, family_, bytes_);
        return same;
    }

    friend bool operator==(const address &a, const address &b) noexcept {
        return a.compare(b) == 0;
    }
    friend bool operator!=(const address &a, const address &b) noexcept {
        return a.compare(b) != 0;
    }
    friend bool operator<(const address &a, const address &b) noexcept { return a.compare(b) < 0; }

 private:
    int compare(const address &other) const noexcept {
        if (family_ != other.family_) return family_ < other.family_ ? -1 : 1;
        return std::memcmp(bytes_, other.bytes_, sizeof bytes_);
    }

    std::uint8_t family_ = KEL_ADDRESS_NONE;
    std::uint8_t bytes_[16] = {};
};

}  // namespace tarn

#endif
