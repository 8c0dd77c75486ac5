// SPDX-License-Identifier: Apache-2.0
//
// Addresses of IPv4 and IPv6 with a port.
#ifndef FEEDERS_RADIUS_ENDPOINT_H
#define FEEDERS_RADIUS_ENDPOINT_H

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace tarn_radius {

class Endpoint {
 public:
    // "192.0.2.2", "192.0.2.2:1812", "2001:db8::2", "[2001:db8::2]:1812", "[fe80::2%eth0]:1812";
    // the port is `port` where there is none. Throws cli::UsageError "expected ...".
    static Endpoint parse(const std::string &text, uint16_t port);
    // Of IPv4 or IPv6.
    explicit Endpoint(const sockaddr_storage &address);

    int family() const { return address_.ss_family; }
    uint16_t port() const;
    // 4 or 16 bytes, in the order of the network.
    std::span<const uint8_t> address() const;
    // As `parse` reads it, always with the port.
    std::string text() const;

    const sockaddr *data() const { return reinterpret_cast<const sockaddr *>(&address_); }
    socklen_t size() const;

    // The same address and port, whatever the interface.
    bool operator==(const Endpoint &other) const;

 private:
    sockaddr_storage address_;
};

}  // namespace tarn_radius

#endif
