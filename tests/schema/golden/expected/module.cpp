// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
#include "frame/vector.h"
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

TARN_DESIGNATED const void *const source_vectors[2][KEL_TABLE_VFT_SLOTS] = {
    {
    [KEL_SLOT_LUID] = table_tbl_layer_shape_luid,
    [KEL_SLOT_NAME] = table_tbl_layer_shape_name,
    [KEL_SLOT_TABLE_OPEN] = reinterpret_cast<const void *>(&tbl_layer_shape_table_open_unsafe),
    [KEL_SLOT_TABLE_OPEN_BY_ID] = reinterpret_cast<const void *>(&tbl_layer_shape_table_open_by_id_unsafe),
    [KEL_SLOT_TABLE_OPEN_BY_IOR_WITH_NAME] = reinterpret_cast<const void *>(&tbl_layer_shape_table_open_by_ior_with_name_unsafe),
    [KEL_SLOT_TABLE_OPEN_BY_IOR_WITH_ID] = reinterpret_cast<const void *>(&tbl_layer_shape_table_open_by_ior_with_id_unsafe),
    [KEL_SLOT_TABLE_CLOSE] = reinterpret_cast<const void *>(&tbl_layer_shape_table_close_unsafe),
    [KEL_SLOT_TABLE_FREE] = reinterpret_cast<const void *>(&tbl_layer_shape_table_free_unsafe),
    [KEL_SLOT_RECORD_CREATE_CB] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_create_cb_unsafe),
    [KEL_SLOT_RECORD_MODIFY_CB] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_modify_cb_unsafe),
    [KEL_SLOT_RECORD_DELETE_CB] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_delete_cb_unsafe),
    [KEL_SLOT_RECORD_CREATE_DM_CB] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_create_dm_cb_unsafe),
    [KEL_SLOT_RECORD_DELETE_DM_CB] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_delete_dm_cb_unsafe),
    [KEL_SLOT_RECORD_GROUPING_CB] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_grouping_cb_unsafe),
    [KEL_SLOT_RECORD_FREE_CB] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_free_cb_unsafe),
    [KEL_SLOT_SEARCH] = reinterpret_cast<const void *>(&tbl_layer_shape_search_unsafe),
    [KEL_SLOT_SEARCH_W_SRC] = reinterpret_cast<const void *>(&tbl_layer_shape_search_w_src_unsafe),
    [KEL_SLOT_CREATE_RECORD] = reinterpret_cast<const void *>(&tbl_layer_shape_create_record_unsafe),
    [KEL_SLOT_RECORD_ADD_REF] = reinterpret_cast<const void *>(&tbl_layer_shape_record_add_ref_unsafe),
    [KEL_SLOT_DESTROY_RECORD] = reinterpret_cast<const void *>(&tbl_layer_shape_destroy_record_unsafe),
    [KEL_SLOT_INSERT] = reinterpret_cast<const void *>(&tbl_layer_shape_insert_unsafe),
    [KEL_SLOT_DELETE] = reinterpret_cast<const void *>(&tbl_layer_shape_delete_unsafe),
    [KEL_SLOT_PKEY_INSERT] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_insert_unsafe),
    [KEL_SLOT_PKEY_GET_NEXT] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_next_unsafe),
    [KEL_SLOT_PKEY_GET_PREV] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_prev_unsafe),
    [KEL_SLOT_PKEY_GET_FIRST] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_first_unsafe),
    [KEL_SLOT_PKEY_GET_LAST] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_last_unsafe),
    [KEL_SLOT_TABLE_GET_COUNT] = reinterpret_cast<const void *>(&tbl_layer_shape_table_get_count_unsafe),
    [KEL_SLOT_TABLE_GET_COUNT_BY_SRC] = reinterpret_cast<const void *>(&tbl_layer_shape_table_get_count_by_src_unsafe),
    [KEL_SLOT_PKEY_GET_FIRST_BY_SRC] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_first_by_src_unsafe),
    [KEL_SLOT_PKEY_GET_FIRST_IGNORE_SRC] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_first_ignore_src_unsafe),
    [KEL_SLOT_PKEY_GET_NEXT_BY_SRC] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_next_by_src_unsafe),
    [KEL_SLOT_PKEY_GET_NEXT_IGNORE_SRC] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_get_next_ignore_src_unsafe),
    [KEL_SLOT_RECORD_PRINT] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_print_unsafe),
    [KEL_SLOT_RECORD_TO_XML] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_to_xml_unsafe),
    [KEL_SLOT_RECORD_FROM_XML] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_from_xml_unsafe),
    [KEL_SLOT_RECORD_IS_MODIFIED] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_is_modified_unsafe),
    [KEL_SLOT_REQUEST_RECORD_DESTROY] = reinterpret_cast<const void *>(&tbl_layer_shape_request_record_destroy_unsafe),
    [KEL_SLOT_RECORD_MARSHAL] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_marshal_unsafe),
    [KEL_SLOT_RECORD_UNMARSHAL] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_unmarshal_unsafe),
    [KEL_SLOT_RECORD_LEN] = reinterpret_cast<const void *>(&tbl_layer_shape_table_record_len_unsafe),
    [KEL_SLOT_PKEY_MARSHAL] = reinterpret_cast<const void *>(&tbl_layer_shape_table_pkey_marshal_unsafe),
    [KEL_SLOT_PKEY_UNMARSHAL] = reinterpret_cast<const void *>(&tbl_layer_shape_table_pkey_unmarshal_unsafe),
    [KEL_SLOT_PKEY_LEN] = reinterpret_cast<const void *>(&tbl_layer_shape_table_pkey_len_unsafe),
    [KEL_SLOT_PKEY_DESTROY] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_destroy_unsafe),
    [KEL_SLOT_GET_NEXT_BY_KEY] = reinterpret_cast<const void *>(&tbl_layer_shape_get_next_by_key_unsafe),
    [KEL_SLOT_GET_PREV_BY_KEY] = reinterpret_cast<const void *>(&tbl_layer_shape_get_prev_by_key_unsafe),
    [KEL_SLOT_PKEY_PRINT] = reinterpret_cast<const void *>(&tbl_layer_shape_pkey_print_unsafe),
    },
    {
    [KEL_SLOT_LUID] = table_tbl_shape_luid,
    [KEL_SLOT_NAME] = table_tbl_shape_name,
    [KEL_SLOT_TABLE_OPEN] = reinterpret_cast<const void *>(&tbl_shape_table_open_unsafe),
    [KEL_SLOT_TABLE_OPEN_BY_ID] = reinterpret_cast<const void *>(&tbl_shape_table_open_by_id_unsafe),
    [KEL_SLOT_TABLE_OPEN_BY_IOR_WITH_NAME] = reinterpret_cast<const void *>(&tbl_shape_table_open_by_ior_with_name_unsafe),
    [KEL_SLOT_TABLE_OPEN_BY_IOR_WITH_ID] = reinterpret_cast<const void *>(&tbl_shape_table_open_by_ior_with_id_unsafe),
    [KEL_SLOT_TABLE_CLOSE] = reinterpret_cast<const void *>(&tbl_shape_table_close_unsafe),
    [KEL_SLOT_TABLE_FREE] = reinterpret_cast<const void *>(&tbl_shape_table_free_unsafe),
    [KEL_SLOT_RECORD_CREATE_CB] = reinterpret_cast<const void *>(&tbl_shape_table_record_create_cb_unsafe),
    [KEL_SLOT_RECORD_MODIFY_CB] = reinterpret_cast<const void *>(&tbl_shape_table_record_modify_cb_unsafe),
    [KEL_SLOT_RECORD_DELETE_CB] = reinterpret_cast<const void *>(&tbl_shape_table_record_delete_cb_unsafe),
    [KEL_SLOT_RECORD_CREATE_DM_CB] = reinterpret_cast<const void *>(&tbl_shape_table_record_create_dm_cb_unsafe),
    [KEL_SLOT_RECORD_DELETE_DM_CB] = reinterpret_cast<const void *>(&tbl_shape_table_record_delete_dm_cb_unsafe),
    [KEL_SLOT_RECORD_GROUPING_CB] = reinterpret_cast<const void *>(&tbl_shape_table_record_grouping_cb_unsafe),
    [KEL_SLOT_RECORD_FREE_CB] = reinterpret_cast<const void *>(&tbl_shape_table_record_free_cb_unsafe),
    [KEL_SLOT_SEARCH] = reinterpret_cast<const void *>(&tbl_shape_search_unsafe),
    [KEL_SLOT_SEARCH_W_SRC] = reinterpret_cast<const void *>(&tbl_shape_search_w_src_unsafe),
    [KEL_SLOT_CREATE_RECORD] = reinterpret_cast<const void *>(&tbl_shape_create_record_unsafe),
    [KEL_SLOT_RECORD_ADD_REF] = reinterpret_cast<const void *>(&tbl_shape_record_add_ref_unsafe),
    [KEL_SLOT_DESTROY_RECORD] = reinterpret_cast<const void *>(&tbl_shape_destroy_record_unsafe),
    [KEL_SLOT_INSERT] = reinterpret_cast<const void *>(&tbl_shape_insert_unsafe),
    [KEL_SLOT_DELETE] = reinterpret_cast<const void *>(&tbl_shape_delete_unsafe),
    [KEL_SLOT_PKEY_INSERT] = reinterpret_cast<const void *>(&tbl_shape_pkey_insert_unsafe),
    [KEL_SLOT_PKEY_GET_NEXT] = reinterpret_cast<const void *>(&tbl_shape_pkey_get_next_unsafe),
    [KEL_SLOT_PKEY_GET_PREV] = reinterpret_cast<const void *>(&tbl_shape_pkey_get_prev_unsafe),
    [KEL_SLOT_PKEY_GET_FIRST] = reinterpret_cast<const void *>(&tbl_shape_pkey_get_first_unsafe),
    [KEL_SLOT_PKEY_GET_LAST] = reinterpret_cast<const void *>(&tbl_shape_pkey_get_last_unsafe),
    [KEL_SLOT_TABLE_GET_COUNT] = reinterpret_cast<const void *>(&tbl_shape_table_get_count_unsafe),
    [KEL_SLOT_TABLE_GET_COUNT_BY_SRC] = reinterpret_cast<const void *>(&tbl_shape_table_get_count_by_src_unsafe),
    [KEL_SLOT_PKEY_GET_FIRST_BY_SRC] = reinterpret_cast<const void *>(&tbl_shape_pkey_get_first_by_src_unsafe),
    [KEL_SLOT_PKEY_GET_FIRST_IGNORE_SRC] = reinterpret_cast<const void *>(&tbl_shape_pkey_get_first_ignore_src_unsafe),
    [KEL_SLOT_PKEY_GET_NEXT_BY_SRC] = reinterpret_cast<const void *>(&tbl_shape_pkey_get_next_by_src_unsafe),
    [KEL_SLOT_PKEY_GET_NEXT_IGNORE_SRC] = reinterpret_cast<const void *>(&tbl_shape_pkey_get_next_ignore_src_unsafe),
    [KEL_SLOT_RECORD_PRINT] = reinterpret_cast<const void *>(&tbl_shape_table_record_print_unsafe),
    [KEL_SLOT_RECORD_TO_XML] = reinterpret_cast<const void *>(&tbl_shape_table_record_to_xml_unsafe),
    [KEL_SLOT_RECORD_FROM_XML] = reinterpret_cast<const void *>(&tbl_shape_table_record_from_xml_unsafe),
    [KEL_SLOT_RECORD_IS_MODIFIED] = reinterpret_cast<const void *>(&tbl_shape_table_record_is_modified_unsafe),
    [KEL_SLOT_REQUEST_RECORD_DESTROY] = reinterpret_cast<const void *>(&tbl_shape_request_record_destroy_unsafe),
    [KEL_SLOT_RECORD_MARSHAL] = reinterpret_cast<const void *>(&tbl_shape_table_record_marshal_unsafe),
    [KEL_SLOT_RECORD_UNMARSHAL] = reinterpret_cast<const void *>(&tbl_shape_table_record_unmarshal_unsafe),
    [KEL_SLOT_RECORD_LEN] = reinterpret_cast<const void *>(&tbl_shape_table_record_len_unsafe),
    [KEL_SLOT_PKEY_MARSHAL] = reinterpret_cast<const void *>(&tbl_shape_table_pkey_marshal_unsafe),
    [KEL_SLOT_PKEY_UNMARSHAL] = reinterpret_cast<const void *>(&tbl_shape_table_pkey_unmarshal_unsafe),
    [KEL_SLOT_PKEY_LEN] = reinterpret_cast<const void *>(&tbl_shape_table_pkey_len_unsafe),
    [KEL_SLOT_PKEY_DESTROY] = reinterpret_cast<const void *>(&tbl_shape_pkey_destroy_unsafe),
    [KEL_SLOT_GET_NEXT_BY_KEY] = reinterpret_cast<const void *>(&tbl_shape_get_next_by_key_unsafe),
    [KEL_SLOT_GET_PREV_BY_KEY] = reinterpret_cast<const void *>(&tbl_shape_get_prev_by_key_unsafe),
    [KEL_SLOT_PKEY_PRINT] = reinterpret_cast<const void *>(&tbl_shape_pkey_print_unsafe),
    },
};

static constexpr const Structure *structures[] = {
    &model::st_corner,
    &model::st_shape,
    &model::shape_key,
    nullptr,
};

static constexpr const Enumeration *enumerations[] = {
    &model::color,
    nullptr,
};

// In ascending order of LUID.
static constexpr const Table *tables[] = {
    &model::tbl_layer_shape,
    &model::tbl_shape,
};

constinit const Module module = {
    .name = "sample",
    .descriptors = sample_type_list,
    .structures = structures,
    .structure_count = 3,
    .enumerations = enumerations,
    .enumeration_count = 1,
    .tables = tables,
    .table_count = 2,
};

}  // namespace tarnbase
