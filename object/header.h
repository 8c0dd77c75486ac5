// SPDX-License-Identifier: Apache-2.0
// Writing an object's header, and choosing its usage record.
#ifndef TARNBASE_OBJECT_HEADER_H
#define TARNBASE_OBJECT_HEADER_H

#include <cstdint>
#include <cstring>

#include "frame/call.h"
#include "frame/conventions.h"
#include "object/arguments.h"

namespace tarnbase::object {

inline const char *error_text(std::uint32_t error) {
    return std::strerror(static_cast<int>(error));
}

// Stores a header member, announced first if the object may be in the arena.
template <typename T>
void store_member(const Call &call, T &member, T value, std::uint32_t log_writes) {
    if (log_writes != 0) call.log_write(&member, sizeof(T));
    member = value;
}

template <typename Object>
void add_flags(const Call &call, Object *object, std::uint8_t flags, std::uint32_t log_writes) {
    store_member(call, object->flags, static_cast<std::uint8_t>(object->flags | flags), log_writes);
}

// The four stores that make memory an object, in their order.
template <typename Object>
void write_header(const Call &call, Object *object, std::int8_t variant, const Initial &initial) {
    store_member(call, object->created_variant, variant, initial.log_writes);
    store_member(call, object->variant, variant, initial.log_writes);
    store_member(call, object->descriptor, choose_descriptor(call, initial.descriptor),
                 initial.log_writes);
    add_flags(call, object, initial.flags, initial.log_writes);
}

// The index of a variant's usage record: never above the top one, and 0 for an
// instance with a negative variant, which has no accessible field.
constexpr std::int32_t usage_index(std::int8_t variant, std::int8_t top_variant) {
    if (variant < 0) return 0;
    return variant > top_variant ? top_variant : variant;
}

}  // namespace tarnbase::object

#endif
