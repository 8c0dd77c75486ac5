/* SPDX-License-Identifier: Apache-2.0 */
// The items before an object's fields on the wire.
//
//   item      bytes  form
//   variant       1  signed
//   flags         1  bits of OBJ_...
//   ra data       9  64-bit word, little-endian; byte
//   jump          4  signed, little-endian
//
// Each function returns the item's length; 0 with EMSGSIZE if it doesn't fit in
// `remaining`, and 0 if *err is set on entry.
#ifndef TARNBASE_RUNTIME_WIRE_ITEMS_H
#define TARNBASE_RUNTIME_WIRE_ITEMS_H

#include <cstdint>

#include "runtime/base/errors.h"
#include "runtime/wire/little_endian.h"

namespace tarnbase::runtime {

// Whether an item of `length` bytes can be written or read; reports if it doesn't fit.
inline bool has_space(kel_handle *handle, std::uint32_t length, std::uint32_t remaining,
                      std::uint32_t *err) {
    if (*err != 0) return false;
    if (remaining >= length) return true;
    report_error(handle, err, EMSGSIZE);
    return false;
}

template <typename T>
std::uint32_t write_item(kel_handle *handle, void *buffer, T value, std::uint32_t remaining,
                         std::uint32_t *err) {
    if (!has_space(handle, sizeof(T), remaining, err)) return 0;
    store_little(buffer, value);
    return sizeof(T);
}

// Results go into variables of the caller, which are not in a store.
template <typename T>
std::uint32_t read_item(kel_handle *handle, const void *buffer, T *result, std::uint32_t remaining,
                        std::uint32_t *err) {
    if (!has_space(handle, sizeof(T), remaining, err)) return 0;
    *result = load_little<T>(buffer);
    return sizeof(T);
}

inline constexpr std::uint32_t ra_data_length = 9;

inline std::uint32_t write_ra_data(kel_handle *handle, void *buffer, std::uint64_t word,
                                   std::uint8_t byte, std::uint32_t remaining, std::uint32_t *err) {
    if (!has_space(handle, ra_data_length, remaining, err)) return 0;
    auto *bytes = static_cast<std::uint8_t *>(buffer);
    store_little(bytes, word);
    store_little(bytes + sizeof word, byte);
    return ra_data_length;
}

inline std::uint32_t read_ra_data(kel_handle *handle, const void *buffer, std::uint64_t *word,
                                  std::uint8_t *byte, std::uint32_t remaining, std::uint32_t *err) {
    if (!has_space(handle, ra_data_length, remaining, err)) return 0;
    const auto *bytes = static_cast<const std::uint8_t *>(buffer);
    *word = load_little<std::uint64_t>(bytes);
    *byte = load_little<std::uint8_t>(bytes + sizeof *word);
    return ra_data_length;
}

// Whether the object that begins at `first_byte` is followed by state bytes.
inline bool has_state_bytes(const void *first_byte) {
    constexpr std::uint32_t flags_offset = 1;
    if (first_byte == nullptr) return false;
    return (static_cast<const std::uint8_t *>(first_byte)[flags_offset] & OBJ_STATE_TRACKED) != 0;
}

}  // namespace tarnbase::runtime

#endif
