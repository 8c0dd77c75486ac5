// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
#include "tarnbase/module.h"

#include "model/color.h"
#include "model/st_corner.h"
#include "model/st_shape.h"
#include "model/shape_key.h"
#include "model/tbl_shape.h"
#include "model/tbl_layer_shape.h"

const kel_type_info *const sample_type_list[] = {
    &_st_corner_type_info_internal,
    &_st_shape_type_info_internal,
    &_shape_key_type_info_internal,
    &_color_type_info_internal,
    &_tbl_shape_table_type_info_internal,
    &_tbl_shape_table_record_type_info_internal,
    &_tbl_layer_shape_table_type_info_internal,
    &_tbl_layer_shape_table_record_type_info_internal,
    nullptr,
};

constinit const void *sample_table_lut[2][KEL_TABLE_VFT_SLOTS] = {};

namespace tarnbase {

const void *const source_vectors[2][KEL_TABLE_VFT_SLOTS] = {
    {
    table_tbl_layer_shape_luid,
    table_tbl_layer_shape_name,
    reinterpret_cast<const void *>(&tbl_layer_shape_table_open_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_open_by_id_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_open_by_ior_with_name_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_open_by_ior_with_id_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_close_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_free_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_create_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_modify_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_delete_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_create_dm_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_delete_dm_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_grouping_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_free_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_search_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_search_w_src_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_create_record_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_record_add_ref_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_destroy_record_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_insert_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_delete_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_insert_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_next_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_prev_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_first_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_last_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_get_count_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_get_count_by_src_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_first_by_src_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_first_ignore_src_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_next_by_src_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_next_ignore_src_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_print_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_to_xml_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_from_xml_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_is_modified_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_request_record_destroy_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_marshal_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_unmarshal_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_record_len_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_pkey_marshal_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_pkey_unmarshal_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_table_pkey_len_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_destroy_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_get_next_by_key_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_get_prev_by_key_unsafe),
    reinterpret_cast<const void *>(&tbl_layer_shape_pkey_print_unsafe),
    },
    {
    table_tbl_shape_luid,
    table_tbl_shape_name,
    reinterpret_cast<const void *>(&tbl_shape_table_open_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_open_by_id_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_open_by_ior_with_name_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_open_by_ior_with_id_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_close_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_free_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_create_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_modify_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_delete_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_create_dm_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_delete_dm_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_grouping_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_free_cb_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_search_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_search_w_src_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_create_record_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_record_add_ref_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_destroy_record_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_insert_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_delete_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_insert_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_get_next_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_get_prev_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_get_first_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_get_last_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_get_count_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_get_count_by_src_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_get_first_by_src_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_get_first_ignore_src_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_get_next_by_src_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_get_next_ignore_src_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_print_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_to_xml_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_from_xml_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_is_modified_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_request_record_destroy_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_marshal_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_unmarshal_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_record_len_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_pkey_marshal_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_pkey_unmarshal_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_table_pkey_len_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_destroy_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_get_next_by_key_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_get_prev_by_key_unsafe),
    reinterpret_cast<const void *>(&tbl_shape_pkey_print_unsafe),
    },
};

// In ascending order of LUID.
static constexpr const Table *tables[] = {
    &model::tbl_layer_shape,
    &model::tbl_shape,
};

constinit const Module module = {
    .name = "sample",
    .descriptors = sample_type_list,
    .tables = tables,
    .table_count = 2,
};

}  // namespace tarnbase
