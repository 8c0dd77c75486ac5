/* SPDX-License-Identifier: Apache-2.0 */
// Runs: integers of one type that follow each other in memory and on the wire. An operation on a
// run has the results and effects of the type's operation for one value after the other.
#ifndef TARNBASE_RUNTIME_VALUE_RUN_H
#define TARNBASE_RUNTIME_VALUE_RUN_H

#include <bit>
#include <cstdint>
#include <cstring>

#include "runtime/value/scalar.h"
#include "tarnbase/runs.h"

namespace tarnbase::runtime::scalar {

// Values between memory and the wire: swapping the bytes works both ways.
template <typename T>
void copy_little(void *destination, const void *source, std::uint32_t count) {
    if constexpr (std::endian::native == std::endian::little || sizeof(T) == 1) {
        std::memcpy(destination, source, std::size_t{count} * sizeof(T));
    } else {
        for (std::size_t at = 0; at < std::size_t{count} * sizeof(T); at += sizeof(T)) {
            T value;
            std::memcpy(&value, static_cast<const char *>(source) + at, sizeof value);
            store_little(static_cast<char *>(destination) + at, value);
        }
    }
}

template <typename T>
bool fits(std::uint32_t count, std::uint32_t remaining) {
    return remaining / sizeof(T) >= count;
}

// Null values read as 0.
template <typename T>
std::uint32_t marshal_run(kel_handle *handle, void *buffer, const T *values, std::uint32_t count,
                          std::uint32_t remaining, std::uint32_t *err) {
    if (*err != 0) return 0;
    if (values != nullptr && fits<T>(count, remaining)) {
        copy_little<T>(buffer, values, count);
        return count * static_cast<std::uint32_t>(sizeof(T));
    }
    std::uint32_t used = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        used += marshal(handle, static_cast<char *>(buffer) + used,
                        value_of(values == nullptr ? nullptr : values + i), remaining - used, err);
    }
    return used;
}

// Each value is announced by itself.
template <typename T>
std::uint32_t unmarshal_each(kel_handle *handle, std::uint32_t tx_id, const void *buffer, T *values,
                             std::uint32_t count, std::uint32_t remaining, std::uint32_t *err) {
    std::uint32_t used = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        used += unmarshal(handle, tx_id, static_cast<const char *>(buffer) + used,
                          values == nullptr ? nullptr : values + i, remaining - used, err);
    }
    return used;
}

// Values of some width between memory and the wire.
inline void copy_values(void *destination, const void *source, const kel_run_piece &piece) {
    switch (piece.width) {
        case 2:
            return copy_little<std::uint16_t>(destination, source, piece.length / 2);
        case 4:
            return copy_little<std::uint32_t>(destination, source, piece.length / 4);
        case 8:
            return copy_little<std::uint64_t>(destination, source, piece.length / 8);
        default:
            return copy_little<std::uint8_t>(destination, source, piece.length);
    }
}

}  // namespace tarnbase::runtime::scalar

#endif
