/* SPDX-License-Identifier: Apache-2.0 */
// Numbers on the wire: little-endian, of their type's width, at any address.
#ifndef TARNBASE_RUNTIME_WIRE_LITTLE_ENDIAN_H
#define TARNBASE_RUNTIME_WIRE_LITTLE_ENDIAN_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tarnbase::runtime {

// The same bytes on every machine: compilers make one load or store of the loop.
template <typename T>
void store_little(void *buffer, T value) {
    auto bits = static_cast<std::make_unsigned_t<T>>(value);
    auto *bytes = static_cast<std::uint8_t *>(buffer);
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        bytes[i] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(bits) >> (8 * i));
    }
}

template <typename T>
T load_little(const void *buffer) {
    const auto *bytes = static_cast<const std::uint8_t *>(buffer);
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) bits |= std::uint64_t{bytes[i]} << (8 * i);
    return static_cast<T>(static_cast<std::make_unsigned_t<T>>(bits));
}

}  // namespace tarnbase::runtime

#endif
