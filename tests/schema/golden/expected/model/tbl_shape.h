/* SPDX-License-Identifier: Apache-2.0 */
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_MODEL_tbl_shape_H
#define TARNBASE_MODEL_tbl_shape_H

#include "frame/schema.h"
#include "model/st_shape.h"
#include "tarnbase/tables/tbl_shape.h"

namespace tarnbase::model {

extern kel_record tbl_shape_fallback;
extern kel_table_id_root *tbl_shape_root;

inline constexpr Table tbl_shape = {
    .name = "tbl_shape",
    .luid_text = table_tbl_shape_luid_text,
    .luid = table_tbl_shape_luid,
    .table_descriptor = &_tbl_shape_table_type_info_internal,
    .record_descriptor = &_tbl_shape_table_record_type_info_internal,
    .type = &st_shape,
    .key_type = nullptr,
    .key = &st_shape_fields[1],
    .key_label = "st_shape number",
    .compare = &tbl_shape_st_shape_number_avl_compare,
    .vector = tbl_shape_table_vft,
    .fallback = &tbl_shape_fallback,
    .root_cache = &tbl_shape_root,
    .record_size = KEL_RECORD_SIZE,
};

}  // namespace tarnbase::model

#endif
