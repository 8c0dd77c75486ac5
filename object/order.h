// SPDX-License-Identifier: Apache-2.0
// A structure's compare and hash, unrolled over its fields at compile time: the
// key index compares composite keys through them. `Fields` is the model's array.
//   model: compare = &tarnbase::object::compare_fields<st_x_fields>, hash likewise.
#ifndef TARNBASE_OBJECT_ORDER_H
#define TARNBASE_OBJECT_ORDER_H

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

#include "frame/schema.h"
#include "object/array.h"
#include "object/value_type.h"

namespace tarnbase::object {

template <const auto &Fields, std::size_t I>
std::int32_t compare_field(const char *a, const char *b) {
    constexpr const Field &field = Fields[I];
    return Value<field.kind>::compare(field, a + field.offset, b + field.offset);
}

template <const auto &Fields, std::size_t I>
std::uint32_t hash_field(const char *object, std::uint32_t seed) {
    constexpr const Field &field = Fields[I];
    return Value<field.kind>::hash(field, object + field.offset, seed);
}

template <const auto &Fields, std::size_t... I>
std::int32_t compare_each(const char *a, const char *b, std::index_sequence<I...>) {
    std::int32_t result = 0;
    static_cast<void>((((result = compare_field<Fields, I>(a, b)) == 0) && ...));
    return result;
}

template <const auto &Fields, std::size_t... I>
std::uint32_t hash_each(const char *object, std::uint32_t seed, std::index_sequence<I...>) {
    ((seed = hash_field<Fields, I>(object, seed)), ...);
    return seed;
}

// Null comes first; else the first field that differs decides, in field order.
template <const auto &Fields>
std::int32_t compare_fields(const void *a, const void *b) {
    if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
    return compare_each<Fields>(static_cast<const char *>(a), static_cast<const char *>(b),
                                std::make_index_sequence<std::size(Fields)>());
}

// Each field's hash seeds the next one's. For a null object, the seed.
template <const auto &Fields>
std::uint32_t hash_fields(const void *object, std::uint32_t seed) {
    if (object == nullptr) return seed;
    return hash_each<Fields>(static_cast<const char *>(object), seed,
                             std::make_index_sequence<std::size(Fields)>());
}

}  // namespace tarnbase::object

#endif
