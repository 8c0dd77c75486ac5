// SPDX-License-Identifier: Apache-2.0
// A structure's compare and hash, unrolled over its fields at compile time: the
// key index compares composite keys through them. `Fields` is the model's array.
//   model: compare = &tarnbase::object::compare_fields<st_x_fields>, hash likewise.
#ifndef TARNBASE_OBJECT_ORDER_H
#define TARNBASE_OBJECT_ORDER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include "frame/schema.h"
#include "object/plain_value.h"
#include "object/value_type.h"

namespace tarnbase::object {

template <const auto &Fields, std::size_t I>
std::int32_t compare_field(const char *a, const char *b) {
    constexpr FieldKind kind = Fields[I].kind;
    const char *first = a + Fields[I].offset;
    const char *second = b + Fields[I].offset;
    if constexpr (kind == FieldKind::array) {
        return std::memcmp(first, second, Fields[I].elements);
    } else if constexpr (kind == FieldKind::structure) {
        return Fields[I].structure->compare(first, second);
    } else if constexpr (kind < FieldKind::boolean) {
        PlainValue<kind> x;
        PlainValue<kind> y;
        std::memcpy(&x, first, sizeof x);
        std::memcpy(&y, second, sizeof y);
        return x == y ? 0 : (x > y ? 1 : -1);
    } else {
        return Value<kind>::compare(first, second);
    }
}

template <const auto &Fields, std::size_t I>
std::uint32_t hash_field(const char *object, std::uint32_t seed) {
    constexpr FieldKind kind = Fields[I].kind;
    const char *place = object + Fields[I].offset;
    if constexpr (kind == FieldKind::array) {
        return SuperFastHash(place, static_cast<std::int32_t>(Fields[I].elements), seed);
    } else if constexpr (kind == FieldKind::structure) {
        return Fields[I].structure->hash(place, seed);
    } else {
        return Value<kind>::hash(place, seed);
    }
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

// Null first; else the first field that differs decides, in field order.
template <const auto &Fields>
std::int32_t compare_fields(const void *a, const void *b) {
    if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
    return compare_each<Fields>(static_cast<const char *>(a), static_cast<const char *>(b),
                                std::make_index_sequence<std::size(Fields)>());
}

// Each field's hash seeds the next one's. A null object gives the seed.
template <const auto &Fields>
std::uint32_t hash_fields(const void *object, std::uint32_t seed) {
    if (object == nullptr) return seed;
    return hash_each<Fields>(static_cast<const char *>(object), seed,
                             std::make_index_sequence<std::size(Fields)>());
}

}  // namespace tarnbase::object

#endif
