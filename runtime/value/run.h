/* SPDX-License-Identifier: Apache-2.0 */
// Runs: integers of one type that follow each other in memory and on the wire. An operation on a
// run has the results and effects of the type's operation for one value after the other.
#ifndef TARNBASE_RUNTIME_VALUE_RUN_H
#define TARNBASE_RUNTIME_VALUE_RUN_H

#include <bit>
#include <cstdint>
#include <cstring>

#include "runtime/value/scalar.h"

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

// `at_once`: the run is announced as one range, and not value by value.
template <typename T>
std::uint32_t unmarshal_run(kel_handle *handle, std::uint32_t tx_id, const void *buffer, T *values,
                            std::uint32_t count, std::uint32_t remaining, bool at_once,
                            std::uint32_t *err) {
    if (*err != 0) return 0;
    if (at_once && values != nullptr && fits<T>(count, remaining)) {
        const std::uint32_t length = count * static_cast<std::uint32_t>(sizeof(T));
        WriteLog{handle, tx_id}.announce(values, length);
        copy_little<T>(values, buffer, count);
        return length;
    }
    std::uint32_t used = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        used += unmarshal(handle, tx_id, static_cast<const char *>(buffer) + used,
                          values == nullptr ? nullptr : values + i, remaining - used, err);
    }
    return used;
}

}  // namespace tarnbase::runtime::scalar

#endif
