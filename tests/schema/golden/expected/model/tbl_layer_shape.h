/* SPDX-License-Identifier: Apache-2.0 */
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_MODEL_tbl_layer_shape_H
#define TARNBASE_MODEL_tbl_layer_shape_H

#include "frame/schema.h"
#include "model/st_shape.h"
#include "model/shape_key.h"
#include "tarnbase/tables/tbl_layer_shape.h"

namespace tarnbase::model {

extern kel_record tbl_layer_shape_fallback;
extern kel_table_id_root *tbl_layer_shape_root;

// The whole key object, as a field.
inline constexpr Field tbl_layer_shape_key_field = {
    .name = "",
    .name_length = 0,
    .kind = FieldKind::structure,
    .first_variant = 0,
    .run = 1,
    .offset = 0,
    .state = 0,
    .elements = 0,
    .descriptor = &_shape_key_type_info_internal,
    .enumeration = nullptr,
    .structure = &shape_key,
};

inline constexpr Table tbl_layer_shape = {
    .name = "tbl_layer_shape",
    .luid_text = table_tbl_layer_shape_luid_text,
    .luid = table_tbl_layer_shape_luid,
    .table_descriptor = &_tbl_layer_shape_table_type_info_internal,
    .record_descriptor = &_tbl_layer_shape_table_record_type_info_internal,
    .type = &st_shape,
    .key_type = &shape_key,
    .key = &tbl_layer_shape_key_field,
    .key_label = "shape_key ",
    .compare = &tbl_layer_shape_shape_key__avl_compare,
    .vector = tbl_layer_shape_table_vft,
    .fallback = &tbl_layer_shape_fallback,
    .root_cache = &tbl_layer_shape_root,
    .record_size = sizeof(kel_record),
};

}  // namespace tarnbase::model

#endif
