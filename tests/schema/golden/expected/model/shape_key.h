/* SPDX-License-Identifier: Apache-2.0 */
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_MODEL_shape_key_H
#define TARNBASE_MODEL_shape_key_H

#include "frame/schema.h"
#include "object/order.h"
#include "tarnbase/types/shape_key.h"

namespace tarnbase::model {

extern Fallback<96> shape_key_fallback;

inline constexpr Field shape_key_fields[] = {
    {
        .name = "layer",
        .name_length = 5,
        .kind = FieldKind::vstring,
        .first_variant = 0,
        .run = 1,
        .offset = 16,
        .state = 0,
        .elements = 0,
        .descriptor = &_kel_vstring_type_info_internal,
        .enumeration = nullptr,
        .structure = nullptr,
    },
    {
        .name = "owner",
        .name_length = 5,
        .kind = FieldKind::address,
        .first_variant = 0,
        .run = 1,
        .offset = 48,
        .state = 2,
        .elements = 0,
        .descriptor = &_ip_address_type_info_internal,
        .enumeration = nullptr,
        .structure = nullptr,
    },
};

inline constexpr std::uint32_t shape_key_field_numbers[] = {
    2,  // variant 0
};

inline constexpr Structure shape_key = {
    .name = "shape_key",
    .descriptor = &_shape_key_type_info_internal,
    .fallback = &shape_key_fallback.object,
    .plain_size = 96,
    .state_length = 10,
    .top_variant = 0,
    .field_count = 2,
    .fields = shape_key_fields,
    .field_numbers = shape_key_field_numbers,
    .compare = &tarnbase::object::compare_fields<shape_key_fields>,
    .hash = &tarnbase::object::hash_fields<shape_key_fields>,
};

}  // namespace tarnbase::model

#endif
