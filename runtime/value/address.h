/* SPDX-License-Identifier: Apache-2.0 */
// An address's content inside the runtime.
#ifndef TARNBASE_RUNTIME_VALUE_ADDRESS_H
#define TARNBASE_RUNTIME_VALUE_ADDRESS_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "tarnbase/value.h"

namespace tarnbase::runtime {

// Family and bytes, adjacent as in an ip_address.
struct Address {
    std::uint8_t family = KEL_ADDRESS_NONE;
    std::uint8_t bytes[16] = {};
};
static_assert(sizeof(Address) == 17);
static_assert(offsetof(ip_address, bytes) == offsetof(ip_address, family) + 1);

// Bytes of a family's addresses; nothing if there is no such family.
std::optional<std::uint32_t> address_length(std::uint8_t family);

// An address from `address_length` bytes in network order; nothing if there is no such
// family, or if its bytes are null.
std::optional<Address> make_address(std::uint8_t family, const void *bytes);

// IPv4 or IPv6 from text; nothing if it is neither.
std::optional<Address> parse_address(const char *text);

// The content of an address; none for a null one.
Address address_of(const ip_address *value);

// Writes the text of an address; an empty one for no address, or if `size` is too small.
// Requires: `size` is not 0.
void format_address(const Address &address, char *text, std::size_t size);

// ip_address_compare of this runtime, also in a process that has another one in its place.
extern "C" [[gnu::visibility("hidden")]] std::int32_t own_address_compare(const ip_address *a,
                                                                          const ip_address *b);

// Stores the content, logged. Error ENOENT: the value is null.
void store_address(kel_handle *handle, std::uint32_t tx_id, ip_address *value,
                   const Address &content, std::uint32_t *err);

}  // namespace tarnbase::runtime

#endif
