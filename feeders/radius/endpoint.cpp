// SPDX-License-Identifier: Apache-2.0
#include "endpoint.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>

#include "cli/target.h"

namespace tarn_radius {
namespace {

struct Parts {
    std::string address;
    std::optional<std::string> port;
};

Parts split(const std::string &text) {
    if (text.starts_with('[')) {
        const size_t end = text.find(']');
        if (end == std::string::npos) return {};
        const std::string address = text.substr(1, end - 1);
        if (end + 1 == text.size()) return {address, std::nullopt};
        return text[end + 1] == ':' ? Parts{address, text.substr(end + 2)} : Parts{};
    }
    const size_t colon = text.find(':');
    // An address of IPv6 without a port has two of them at least.
    if (colon == std::string::npos || text.find(':', colon + 1) != std::string::npos)
        return {text, std::nullopt};
    return {text.substr(0, colon), text.substr(colon + 1)};
}

std::optional<uint16_t> port_in(const std::string &text) {
    uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port == 0) return std::nullopt;
    return port;
}

std::optional<sockaddr_storage> address_in(const std::string &text) {
    addrinfo wanted{};
    wanted.ai_flags = AI_NUMERICHOST;
    wanted.ai_socktype = SOCK_DGRAM;
    addrinfo *found = nullptr;
    if (text.empty() || getaddrinfo(text.c_str(), nullptr, &wanted, &found) != 0)
        return std::nullopt;
    const std::unique_ptr<addrinfo, void (*)(addrinfo *)> owner(found, freeaddrinfo);
    sockaddr_storage address{};
    std::memcpy(&address, found->ai_addr, found->ai_addrlen);
    return address;
}

const sockaddr_in &four(const sockaddr_storage &address) {
    return reinterpret_cast<const sockaddr_in &>(address);
}

const sockaddr_in6 &six(const sockaddr_storage &address) {
    return reinterpret_cast<const sockaddr_in6 &>(address);
}

}  // namespace

Endpoint Endpoint::parse(const std::string &text, uint16_t port) {
    const Parts parts = split(text);
    const auto address = address_in(parts.address);
    const auto wanted = parts.port ? port_in(*parts.port) : port;
    if (!address || !wanted)
        throw cli::UsageError(
            "expected an address such as 192.0.2.2, 192.0.2.2:1812 or [2001:db8::2]:1812");
    Endpoint endpoint(*address);
    // The port is at the same place in both families.
    reinterpret_cast<sockaddr_in &>(endpoint.address_).sin_port = htons(*wanted);
    return endpoint;
}

Endpoint::Endpoint(const sockaddr_storage &address) : address_(address) {}

uint16_t Endpoint::port() const {
    return ntohs(family() == AF_INET ? four(address_).sin_port : six(address_).sin6_port);
}

std::span<const uint8_t> Endpoint::address() const {
    if (family() == AF_INET)
        return {reinterpret_cast<const uint8_t *>(&four(address_).sin_addr), sizeof(in_addr)};
    return {six(address_).sin6_addr.s6_addr, sizeof(in6_addr)};
}

std::string Endpoint::text() const {
    std::array<char, NI_MAXHOST> host{};
    getnameinfo(data(), size(), host.data(), host.size(), nullptr, 0, NI_NUMERICHOST);
    const std::string address = host.data();
    return (family() == AF_INET ? address : "[" + address + "]") + ":" + std::to_string(port());
}

socklen_t Endpoint::size() const {
    return family() == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
}

bool Endpoint::operator==(const Endpoint &other) const {
    return family() == other.family() && port() == other.port() &&
           std::ranges::equal(address(), other.address());
}

}  // namespace tarn_radius
