/* SPDX-License-Identifier: Apache-2.0 */
// A structure's compare and hash, unrolled over its fields at compile time: the
// key index compares composite keys through them. `Fields` is the model's array.
//   model: compare = &tarn::object::compare_fields<st_x_fields>, hash likewise.
#ifndef TARNBASE_OBJECT_ORDER_H
#define TARNBASE_OBJECT_ORDER_H

#include <cstdint>

#include "frame/schema.h"

namespace tarn::object {

template <const auto &Fields>
std::int32_t compare_fields(const void *a, const void *b);

template <const auto &Fields>
std::uint32_t hash_fields(const void *object, std::uint32_t seed);

}  // namespace tarn::object

#endif
