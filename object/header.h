// SPDX-License-Identifier: Apache-2.0
// Writing an Object Header, and what the life of an object is counted by.
#ifndef TARNBASE_OBJECT_HEADER_H
#define TARNBASE_OBJECT_HEADER_H

#include <cstdint>
#include <cstring>

#include "frame/conventions.h"

namespace tarnbase::object {

inline const char *error_text(std::uint32_t error) {
    return std::strerror(static_cast<int>(error));
}

// Stores a header member, announced first if the object may be in the arena.
template <typename T>
void store_member(kel_handle *handle, std::uint32_t tx_id, T &member, T value,
                  std::uint32_t log_writes) {
    if (log_writes != 0) log_write(handle, tx_id, &member, sizeof(T));
    member = value;
}

template <typename Object>
void add_flags(kel_handle *handle, std::uint32_t tx_id, Object *object, std::uint8_t flags,
               std::uint32_t log_writes) {
    const auto joined = static_cast<std::uint8_t>(object->flags | flags);
    store_member(handle, tx_id, object->flags, joined, log_writes);
}

// The four stores that make memory an object, in their order.
template <typename Object>
void write_header(kel_handle *handle, std::uint32_t tx_id, Object *object, std::int8_t variant,
                  const kel_type_info *descriptor, std::uint8_t flags, std::uint32_t log_writes) {
    store_member(handle, tx_id, object->created_variant, variant, log_writes);
    store_member(handle, tx_id, object->variant, variant, log_writes);
    store_member(handle, tx_id, object->descriptor, choose_descriptor(handle, tx_id, descriptor),
                 log_writes);
    add_flags(handle, tx_id, object, flags, log_writes);
}

// The usage record of a variant: never above the top one, and the first one for
// an instance with a negative variant, of which nothing is accessible.
constexpr std::int32_t usage_index(std::int8_t variant, std::int8_t top_variant) {
    if (variant < 0) return 0;
    return variant > top_variant ? top_variant : variant;
}

}  // namespace tarnbase::object

#endif
