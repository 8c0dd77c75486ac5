/* SPDX-License-Identifier: Apache-2.0 */
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_MODEL_st_shape_H
#define TARNBASE_MODEL_st_shape_H

#include "frame/schema.h"
#include "model/color.h"
#include "model/st_corner.h"
#include "object/order.h"
#include "tarnbase/types/st_shape.h"

namespace tarnbase::model {

extern Fallback<112> st_shape_fallback;

inline constexpr Field st_shape_fields[] = {
    {
        .name = "sides",
        .name_length = 5,
        .kind = FieldKind::u_int8,
        .first_variant = 0,
        .run = 1,
        .offset = 11,
        .state = 0,
        .elements = 0,
        .descriptor = nullptr,
        .enumeration = nullptr,
        .structure = nullptr,
    },
    {
        .name = "number",
        .name_length = 6,
        .kind = FieldKind::u_int32,
        .first_variant = 0,
        .run = 1,
        .offset = 12,
        .state = 1,
        .elements = 0,
        .descriptor = nullptr,
        .enumeration = nullptr,
        .structure = nullptr,
    },
    {
        .name = "color",
        .name_length = 5,
        .kind = FieldKind::enumeration,
        .first_variant = 0,
        .run = 1,
        .offset = 16,
        .state = 2,
        .elements = 0,
        .descriptor = &_color_type_info_internal,
        .enumeration = &color,
        .structure = nullptr,
    },
    {
        .name = "first",
        .name_length = 5,
        .kind = FieldKind::structure,
        .first_variant = 0,
        .run = 1,
        .offset = 32,
        .state = 3,
        .elements = 0,
        .descriptor = &_st_corner_type_info_internal,
        .enumeration = nullptr,
        .structure = &st_corner,
    },
    {
        .name = "pattern",
        .name_length = 7,
        .kind = FieldKind::array,
        .first_variant = 0,
        .run = 1,
        .offset = 72,
        .state = 6,
        .elements = 4,
        .descriptor = nullptr,
        .enumeration = nullptr,
        .structure = nullptr,
    },
    {
        .name = "filled",
        .name_length = 6,
        .kind = FieldKind::boolean,
        .first_variant = 1,
        .run = 1,
        .offset = 80,
        .state = 11,
        .elements = 0,
        .descriptor = &_kel_boolean_type_info_internal,
        .enumeration = nullptr,
        .structure = nullptr,
    },
};

inline constexpr std::uint32_t st_shape_field_numbers[] = {
    5,  // variant 0
    7,  // variant 1
};

inline constexpr Structure st_shape = {
    .name = "st_shape",
    .descriptor = &_st_shape_type_info_internal,
    .fallback = &st_shape_fallback.object,
    .plain_size = 112,
    .state_length = 12,
    .top_variant = 1,
    .field_count = 6,
    .fields = st_shape_fields,
    .field_numbers = st_shape_field_numbers,
    .compare = &tarnbase::object::compare_fields<st_shape_fields>,
    .hash = &tarnbase::object::hash_fields<st_shape_fields>,
};

}  // namespace tarnbase::model

#endif
