/* SPDX-License-Identifier: Apache-2.0 */
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_MODEL_st_corner_H
#define TARNBASE_MODEL_st_corner_H

#include "frame/schema.h"
#include "object/order.h"
#include "tarnbase/types/st_corner.h"

namespace tarnbase::model {

extern Fallback<40> st_corner_fallback;

inline constexpr Field st_corner_fields[] = {
    {
        .name = "x",
        .name_length = 1,
        .kind = FieldKind::int64,
        .first_variant = 0,
        .run = 1,
        .offset = 16,
        .state = 0,
        .elements = 0,
        .descriptor = nullptr,
        .enumeration = nullptr,
        .structure = nullptr,
    },
    {
        .name = "register",
        .name_length = 8,
        .kind = FieldKind::u_int8,
        .first_variant = 0,
        .run = 1,
        .offset = 24,
        .state = 1,
        .elements = 0,
        .descriptor = nullptr,
        .enumeration = nullptr,
        .structure = nullptr,
    },
};

inline constexpr std::uint32_t st_corner_field_numbers[] = {
    2,  // variant 0
};

inline constexpr Structure st_corner = {
    .name = "st_corner",
    .descriptor = &_st_corner_type_info_internal,
    .fallback = &st_corner_fallback.object,
    .plain_size = 40,
    .state_length = 2,
    .top_variant = 0,
    .field_count = 2,
    .fields = st_corner_fields,
    .field_numbers = st_corner_field_numbers,
    .compare = &tarnbase::object::compare_fields<st_corner_fields>,
    .hash = &tarnbase::object::hash_fields<st_corner_fields>,
};

}  // namespace tarnbase::model

#endif
