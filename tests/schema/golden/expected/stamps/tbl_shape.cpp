// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#include "frame/vector.h"
#include "model/tbl_shape.h"
#include "table/order.h"
#include "table/table.h"

static kel_variant_usage tbl_shape_table_usage[] = {
    {1, 8, 0, 0, 0, 0},
};
static kel_variant_info tbl_shape_table_variants = {
    1,
    tbl_shape_table_usage,
};
const kel_type_info _tbl_shape_table_type_info_internal = {
    .magic = KEL_TYPE_INFO_MAGIC,
    .luid = {0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f, 0x01, 0x02,
             0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x00},
    .luid_text = "0a0b0c0d0e0f01020304050607080900",
    .name = "tbl_shape",
    .module_name = "sample",
    .kind = "table",
    .type_slot = KEL_TYPE_SLOT_NONE,
    .variant_info = &tbl_shape_table_variants,
    .store_private = 0,
};

static kel_variant_usage tbl_shape_table_record_usage[] = {
    {1, 8, 0, 0, 0, 0},
};
static kel_variant_info tbl_shape_table_record_variants = {
    1,
    tbl_shape_table_record_usage,
};
const kel_type_info _tbl_shape_table_record_type_info_internal = {
    .magic = KEL_TYPE_INFO_MAGIC,
    .luid = {0xf9, 0xc5, 0x2d, 0x76, 0x30, 0x00, 0x95, 0x7f,
             0xb8, 0xde, 0x56, 0x2c, 0xdc, 0xed, 0x21, 0x7e},
    .luid_text = "f9c52d763000957fb8de562cdced217e",
    .name = "tbl_shape_record",
    .module_name = "sample",
    .kind = "table_record",
    .type_slot = KEL_TYPE_SLOT_NONE,
    .variant_info = &tbl_shape_table_record_variants,
    .store_private = 0,
};

const uint8_t table_tbl_shape_luid[16] =
    {0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f, 0x01, 0x02,
             0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x00};
const char table_tbl_shape_luid_text[33] = "0a0b0c0d0e0f01020304050607080900";
const char table_tbl_shape_name[64] = "table tbl_shape";

TARN_DESIGNATED const void *const tbl_shape_table_vft[KEL_TABLE_VFT_SLOTS] = {
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
};

namespace tarnbase::model {
constinit kel_record tbl_shape_fallback = {};
constinit kel_table_id_root *tbl_shape_root = nullptr;
}  // namespace tarnbase::model

kel_table *tbl_shape_table_open(kel_handle *handle, uint32_t tx_id, const char *name,
                                uint32_t open_only, uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_BY_NAME, .name = name,
                                  .open_only = open_only != 0});
}

kel_table *tbl_shape_table_open_unsafe(kel_handle *handle, uint32_t tx_id, const char *name,
                                       uint32_t open_only, uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_BY_NAME, .name = name,
                                  .open_only = open_only != 0});
}

kel_table *tbl_shape_table_open_by_id(kel_handle *handle, uint32_t tx_id, uint64_t id,
                                      uint32_t open_only, uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_BY_ID, .id = id, .open_only = open_only != 0});
}

kel_table *tbl_shape_table_open_by_id_unsafe(kel_handle *handle, uint32_t tx_id, uint64_t id,
                                             uint32_t open_only, uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_BY_ID, .id = id, .open_only = open_only != 0});
}

kel_table *tbl_shape_table_open_auto_id(kel_handle *handle, uint32_t tx_id, uint32_t open_only,
                                        uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_AUTO_ID, .open_only = open_only != 0});
}

kel_table *tbl_shape_table_open_auto_id_unsafe(kel_handle *handle, uint32_t tx_id,
                                               uint32_t open_only, uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_AUTO_ID, .open_only = open_only != 0});
}

kel_table *tbl_shape_dynamic_table_open_auto_id(kel_handle *handle, uint32_t tx_id,
                                                uint32_t open_only, uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_AUTO_ID, .open_only = open_only != 0,
                                  .dynamic = true});
}

kel_table *tbl_shape_dynamic_table_open_auto_id_unsafe(kel_handle *handle, uint32_t tx_id,
                                                       uint32_t open_only, uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_AUTO_ID, .open_only = open_only != 0,
                                  .dynamic = true});
}

kel_table *tbl_shape_table_open_by_ior_with_name(kel_handle *handle, uint32_t tx_id,
                                                 const char *name, uint64_t ior, uint32_t open_only,
                                                 uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_BY_NAME, .name = name,
                                  .open_only = open_only != 0, .ior = ior});
}

kel_table *tbl_shape_table_open_by_ior_with_name_unsafe(kel_handle *handle, uint32_t tx_id,
                                                        const char *name, uint64_t ior,
                                                        uint32_t open_only, uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_BY_NAME, .name = name,
                                  .open_only = open_only != 0, .ior = ior});
}

kel_table *tbl_shape_table_open_by_ior_with_id(kel_handle *handle, uint32_t tx_id, uint64_t id,
                                               uint64_t ior, uint32_t open_only, uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_BY_ID, .id = id, .open_only = open_only != 0,
                                  .ior = ior});
}

kel_table *tbl_shape_table_open_by_ior_with_id_unsafe(kel_handle *handle, uint32_t tx_id,
                                                      uint64_t id, uint64_t ior, uint32_t open_only,
                                                      uint32_t *err) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                 {.mode = KEL_OPEN_BY_ID, .id = id, .open_only = open_only != 0,
                                  .ior = ior});
}

kel_table *tbl_shape_table_open_cr(kel_handle *handle, uint32_t open_only, uint32_t mode,
                                   const char *name, uint64_t id) {
    return tarnbase::table::open(tarnbase::model::tbl_shape, tarnbase::Call::cr(handle),
                                 {.mode = mode, .name = name, .id = id,
                                  .open_only = open_only != 0});
}

void tbl_shape_table_close(kel_handle *handle, uint32_t tx_id, kel_table *, uint32_t *err) {
    tarnbase::table::close({handle, tx_id, err});
}

void tbl_shape_table_close_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *, uint32_t *err) {
    tarnbase::table::close({handle, tx_id, err});
}

void tbl_shape_table_close_cr(kel_handle *handle, kel_table *) {
    tarnbase::table::close(tarnbase::Call::cr(handle));
}

void tbl_shape_table_free(kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t *err) {
    tarnbase::table::free(tarnbase::model::tbl_shape, {handle, tx_id, err}, table);
}

void tbl_shape_table_free_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                 uint32_t *err) {
    tarnbase::table::free(tarnbase::model::tbl_shape, {handle, tx_id, err}, table);
}

uint32_t tbl_shape_table_get_count(kel_handle *handle, uint32_t tx_id, kel_table *table) {
    return tarnbase::table::get_count({handle, tx_id}, table);
}

uint32_t tbl_shape_table_get_count_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table) {
    return tarnbase::table::get_count({handle, tx_id}, table);
}

uint32_t tbl_shape_table_get_count_by_src(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                          uint32_t src) {
    return tarnbase::table::get_count_by_src({handle, tx_id}, table, src);
}

uint32_t tbl_shape_table_get_count_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                 kel_table *table, uint32_t src) {
    return tarnbase::table::get_count_by_src({handle, tx_id}, table, src);
}

uint32_t tbl_shape_table_get_count_cr(kel_handle *handle, kel_table *table) {
    return tarnbase::table::get_count(tarnbase::Call::cr(handle), table);
}

kel_record *tbl_shape_create_record(kel_handle *handle, uint32_t tx_id, uint32_t *err) {
    return tarnbase::table::create_record(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                          KEL_SOURCE_DEFAULT);
}

kel_record *tbl_shape_create_record_unsafe(kel_handle *handle, uint32_t tx_id, uint32_t *err) {
    return tarnbase::table::create_record(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                          KEL_SOURCE_DEFAULT);
}

kel_record *tbl_shape_create_record_w_src(kel_handle *handle, uint32_t tx_id, uint32_t src,
                                          uint32_t *err) {
    return tarnbase::table::create_record(tarnbase::model::tbl_shape, {handle, tx_id, err}, src);
}

kel_record *tbl_shape_record_create_cr(kel_handle *handle, uint32_t with_objects) {
    return tarnbase::table::create_record_cr(tarnbase::model::tbl_shape, handle, with_objects);
}

uint32_t tbl_shape_record_add_ref(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                  uint32_t *err) {
    return tarnbase::table::record_add_ref({handle, tx_id, err}, record);
}

uint32_t tbl_shape_record_add_ref_unsafe(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                         uint32_t *err) {
    return tarnbase::table::record_add_ref({handle, tx_id, err}, record);
}

void tbl_shape_destroy_record(kel_handle *handle, uint32_t tx_id, kel_record *record,
                              uint32_t *err) {
    tarnbase::table::destroy_record(tarnbase::model::tbl_shape, {handle, tx_id, err}, record);
}

void tbl_shape_destroy_record_unsafe(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                     uint32_t *err) {
    tarnbase::table::destroy_record(tarnbase::model::tbl_shape, {handle, tx_id, err}, record);
}

void tbl_shape_record_destroy_cr(kel_handle *handle, kel_record *record) {
    tarnbase::table::destroy_record(tarnbase::model::tbl_shape, tarnbase::Call::cr(handle), record);
}

void tbl_shape_request_record_destroy(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                      kel_record *record, uint32_t *err) {
    tarnbase::table::request_record_destroy(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                            record);
}

void tbl_shape_request_record_destroy_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                             kel_record *record, uint32_t *err) {
    tarnbase::table::request_record_destroy(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                            record);
}

st_shape *tbl_shape_pkey_create(kel_handle *handle, uint32_t tx_id) {
    return static_cast<st_shape *>(tarnbase::table::pkey_create(tarnbase::model::tbl_shape,
                                                                {handle, tx_id}));
}

st_shape *tbl_shape_pkey_create_unsafe(kel_handle *handle, uint32_t tx_id) {
    return static_cast<st_shape *>(tarnbase::table::pkey_create(tarnbase::model::tbl_shape,
                                                                {handle, tx_id}));
}

void tbl_shape_pkey_destroy(kel_handle *handle, uint32_t tx_id, st_shape *key_object) {
    tarnbase::table::pkey_destroy(tarnbase::model::tbl_shape, {handle, tx_id}, key_object);
}

void tbl_shape_pkey_destroy_unsafe(kel_handle *handle, uint32_t tx_id, st_shape *key_object) {
    tarnbase::table::pkey_destroy(tarnbase::model::tbl_shape, {handle, tx_id}, key_object);
}

st_shape *tbl_shape_st_shape_get_field(kel_handle *, uint32_t, kel_record *record) {
    return static_cast<st_shape *>(tarnbase::table::get_field(record,
                                                              tarnbase::table::Slot::object));
}

st_shape *tbl_shape_st_shape_get_field_detach(kel_handle *handle, uint32_t tx_id,
                                              kel_record *record) {
    return static_cast<st_shape *>(tarnbase::table::get_field_detach({handle, tx_id}, record,
                                                                     tarnbase::table::Slot::object));
}

void tbl_shape_st_shape_set_field(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                  st_shape *object) {
    tarnbase::table::set_field(tarnbase::model::tbl_shape, {handle, tx_id}, record,
                               tarnbase::table::Slot::object, object);
}

void tbl_shape_st_shape_free_and_set_field(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                           st_shape *object) {
    tarnbase::table::free_and_set_field(tarnbase::model::tbl_shape, {handle, tx_id}, record,
                                        tarnbase::table::Slot::object, object);
}

uint32_t tbl_shape_st_shape_number_avl_compare(const kel_index_node *a, const kel_index_node *b) {
    return tarnbase::table::compare_records<tarnbase::model::tbl_shape>(a, b);
}

void tbl_shape_insert(kel_handle *handle, uint32_t tx_id, kel_table *table, kel_record *record,
                      uint32_t *err) {
    tarnbase::table::insert(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

void tbl_shape_insert_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                             kel_record *record, uint32_t *err) {
    tarnbase::table::insert(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

void tbl_shape_pkey_insert(kel_handle *handle, uint32_t tx_id, kel_table *table, kel_record *record,
                           uint32_t *err) {
    tarnbase::table::insert(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                            {.by_key_alone = true});
}

void tbl_shape_pkey_insert_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                  kel_record *record, uint32_t *err) {
    tarnbase::table::insert(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                            {.by_key_alone = true});
}

uint32_t tbl_shape_insert_cr(kel_handle *handle, kel_table *table, kel_record *record) {
    return tarnbase::table::insert_cr(tarnbase::model::tbl_shape, handle, table, record);
}

void tbl_shape_delete(kel_handle *handle, uint32_t tx_id, kel_table *table, kel_record *record,
                      uint32_t *err) {
    tarnbase::table::remove(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

void tbl_shape_delete_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                             kel_record *record, uint32_t *err) {
    tarnbase::table::remove(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

uint32_t tbl_shape_delete_cr(kel_handle *handle, kel_table *table, kel_record *record,
                             uint32_t destroy) {
    return tarnbase::table::remove_cr(tarnbase::model::tbl_shape, handle, table, record, destroy);
}

kel_record *tbl_shape_st_shape_number_search(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                             const uint32_t *key, uint32_t *err) {
    return tarnbase::table::search(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, key);
}

kel_record *tbl_shape_st_shape_number_search_unsafe(kel_handle *handle, uint32_t tx_id,
                                                    kel_table *table, const uint32_t *key,
                                                    uint32_t *err) {
    return tarnbase::table::search(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, key);
}

kel_record *tbl_shape_st_shape_number_search_w_src(kel_handle *handle, uint32_t tx_id,
                                                   kel_table *table, const uint32_t *key,
                                                   uint32_t src, uint32_t *err) {
    return tarnbase::table::search(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, key,
                                   {.source = src});
}

kel_record *tbl_shape_st_shape_number_search_nearest(kel_handle *handle, uint32_t tx_id,
                                                     kel_table *table, const uint32_t *key,
                                                     uint32_t *err) {
    return tarnbase::table::search(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, key,
                                   {.nearest = true});
}

kel_record *tbl_shape_st_shape_number_search_not_pending_destroy(kel_handle *handle, uint32_t tx_id,
                                                                 kel_table *table,
                                                                 const uint32_t *key,
                                                                 uint32_t nearest, uint32_t *err) {
    return tarnbase::table::search(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, key,
                                   {.nearest = nearest != 0, .skip_pending = true});
}

kel_record *tbl_shape_st_shape_number_search_sub_first(kel_handle *handle, uint32_t tx_id,
                                                       kel_table *table, const uint32_t *key,
                                                       uint32_t *err) {
    return tarnbase::table::search_sub_first(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                             table, key);
}

kel_record *tbl_shape_st_shape_number_search_cr(kel_handle *handle, kel_table *table,
                                                const uint32_t *key, uint32_t src,
                                                uint32_t nearest) {
    return tarnbase::table::search(tarnbase::model::tbl_shape, tarnbase::Call::cr(handle), table,
                                   key, {.nearest = nearest != 0,
                                         .source = tarnbase::table::source_of_cr(src)});
}

kel_record *tbl_shape_st_shape_number_search_internal(kel_handle *handle, uint32_t tx_id,
                                                      kel_table *table, const uint32_t *key,
                                                      uint32_t nearest, uint32_t forward,
                                                      uint32_t src, uint32_t skip_pending,
                                                      uint32_t *err) {
    return tarnbase::table::search(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, key,
                                   {.nearest = nearest != 0, .backward = forward == 0,
                                    .source = src, .skip_pending = skip_pending != 0});
}

kel_record *tbl_shape_search(kel_handle *handle, uint32_t tx_id, kel_table *table,
                             const st_shape *object, uint32_t nearest, uint32_t *err) {
    return tarnbase::table::search_by_object(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                             table, object, {.nearest = nearest != 0});
}

kel_record *tbl_shape_search_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                    const st_shape *object, uint32_t nearest, uint32_t *err) {
    return tarnbase::table::search_by_object(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                             table, object, {.nearest = nearest != 0});
}

kel_record *tbl_shape_search_w_src(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                   const st_shape *object, uint32_t nearest, uint32_t src,
                                   uint32_t *err) {
    return tarnbase::table::search_by_object(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                             table, object,
                                             {.nearest = nearest != 0, .source = src});
}

kel_record *tbl_shape_search_w_src_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                          const st_shape *object, uint32_t nearest, uint32_t src,
                                          uint32_t *err) {
    return tarnbase::table::search_by_object(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                             table, object,
                                             {.nearest = nearest != 0, .source = src});
}

kel_record *tbl_shape_st_shape_number_get_first(kel_handle *handle, uint32_t tx_id,
                                                kel_table *table, uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table);
}

kel_record *tbl_shape_st_shape_number_get_first_by_src(kel_handle *handle, uint32_t tx_id,
                                                       kel_table *table, uint32_t src,
                                                       uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                  {.source = src});
}

kel_record *tbl_shape_st_shape_number_get_first_not_pending_destroy(kel_handle *handle,
                                                                    uint32_t tx_id,
                                                                    kel_table *table, uint32_t src,
                                                                    uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                  {.source = src, .skip_pending = true});
}

kel_record *tbl_shape_st_shape_number_get_first_ignore_src(kel_handle *handle, uint32_t tx_id,
                                                           kel_table *table, uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                  {.any_source = true});
}

kel_record *tbl_shape_st_shape_number_get_last(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               uint32_t *err) {
    return tarnbase::table::last(tarnbase::model::tbl_shape, {handle, tx_id, err}, table);
}

kel_record *tbl_shape_st_shape_number_get_last_by_src(kel_handle *handle, uint32_t tx_id,
                                                      kel_table *table, uint32_t src,
                                                      uint32_t *err) {
    return tarnbase::table::last(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                 {.source = src});
}

kel_record *tbl_shape_st_shape_number_get_last_not_pending_destroy(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   uint32_t src, uint32_t *err) {
    return tarnbase::table::last(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                 {.source = src, .skip_pending = true});
}

kel_record *tbl_shape_st_shape_number_get_next(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               const kel_record *record, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

kel_record *tbl_shape_st_shape_number_get_prev(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               const kel_record *record, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

kel_record *tbl_shape_st_shape_number_get_next_by_src(kel_handle *handle, uint32_t tx_id,
                                                      kel_table *table, const kel_record *record,
                                                      uint32_t src, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src});
}

kel_record *tbl_shape_st_shape_number_get_prev_by_src(kel_handle *handle, uint32_t tx_id,
                                                      kel_table *table, const kel_record *record,
                                                      uint32_t src, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src});
}

kel_record *tbl_shape_st_shape_number_get_next_not_pending_destroy(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const kel_record *record,
                                                                   uint32_t src, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src, .skip_pending = true});
}

kel_record *tbl_shape_st_shape_number_get_prev_not_pending_destroy(kel_handle *handle,
                                                                   uint32_t tx_id, kel_table *table,
                                                                   const kel_record *record,
                                                                   uint32_t src, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src, .skip_pending = true});
}

kel_record *tbl_shape_st_shape_number_get_next_ignore_src(kel_handle *handle, uint32_t tx_id,
                                                          kel_table *table,
                                                          const kel_record *record, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.any_source = true});
}

kel_record *tbl_shape_st_shape_number_get_prev_ignore_src(kel_handle *handle, uint32_t tx_id,
                                                          kel_table *table,
                                                          const kel_record *record, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.any_source = true});
}

kel_record *tbl_shape_st_shape_number_get_sub_next(kel_handle *handle, uint32_t tx_id,
                                                   kel_table *table, kel_record *record,
                                                   uint32_t *err) {
    return tarnbase::table::sub_next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                     record);
}

kel_record *tbl_shape_st_shape_number_get_sub_prev(kel_handle *handle, uint32_t tx_id,
                                                   kel_table *table, kel_record *record,
                                                   uint32_t *err) {
    return tarnbase::table::sub_prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                     record);
}

kel_record *tbl_shape_st_shape_number_get_shadow(kel_handle *handle, uint32_t tx_id,
                                                 kel_table *table, kel_record *record,
                                                 uint32_t *err) {
    return tarnbase::table::shadow(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

kel_record *tbl_shape_pkey_get_first(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                     uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table);
}

kel_record *tbl_shape_pkey_get_first_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                            uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table);
}

kel_record *tbl_shape_pkey_get_first_by_src(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                            uint32_t src, uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                  {.source = src});
}

kel_record *tbl_shape_pkey_get_first_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                   kel_table *table, uint32_t src, uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                  {.source = src});
}

kel_record *tbl_shape_pkey_get_first_ignore_src(kel_handle *handle, uint32_t tx_id,
                                                kel_table *table, uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                  {.any_source = true});
}

kel_record *tbl_shape_pkey_get_first_ignore_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                       kel_table *table, uint32_t *err) {
    return tarnbase::table::first(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                  {.any_source = true});
}

kel_record *tbl_shape_pkey_get_last(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                    uint32_t *err) {
    return tarnbase::table::last(tarnbase::model::tbl_shape, {handle, tx_id, err}, table);
}

kel_record *tbl_shape_pkey_get_last_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                           uint32_t *err) {
    return tarnbase::table::last(tarnbase::model::tbl_shape, {handle, tx_id, err}, table);
}

kel_record *tbl_shape_pkey_get_last_by_src(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                           uint32_t src, uint32_t *err) {
    return tarnbase::table::last(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                 {.source = src});
}

kel_record *tbl_shape_pkey_get_last_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                  kel_table *table, uint32_t src, uint32_t *err) {
    return tarnbase::table::last(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                 {.source = src});
}

kel_record *tbl_shape_pkey_get_next(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                    const kel_record *record, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

kel_record *tbl_shape_pkey_get_next_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                           const kel_record *record, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

kel_record *tbl_shape_pkey_get_prev(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                    const kel_record *record, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

kel_record *tbl_shape_pkey_get_prev_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                           const kel_record *record, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

kel_record *tbl_shape_pkey_get_next_by_src(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                           const kel_record *record, uint32_t src, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src});
}

kel_record *tbl_shape_pkey_get_next_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                  kel_table *table, const kel_record *record,
                                                  uint32_t src, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src});
}

kel_record *tbl_shape_pkey_get_prev_by_src(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                           const kel_record *record, uint32_t src, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src});
}

kel_record *tbl_shape_pkey_get_prev_by_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                  kel_table *table, const kel_record *record,
                                                  uint32_t src, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src});
}

kel_record *tbl_shape_pkey_get_next_ignore_src(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               const kel_record *record, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.any_source = true});
}

kel_record *tbl_shape_pkey_get_next_ignore_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                      kel_table *table, const kel_record *record,
                                                      uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.any_source = true});
}

kel_record *tbl_shape_pkey_get_prev_ignore_src(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               const kel_record *record, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.any_source = true});
}

kel_record *tbl_shape_pkey_get_prev_ignore_src_unsafe(kel_handle *handle, uint32_t tx_id,
                                                      kel_table *table, const kel_record *record,
                                                      uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.any_source = true});
}

kel_record *tbl_shape_pkey_get_sub_next(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                        kel_record *record, uint32_t *err) {
    return tarnbase::table::sub_next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                     record);
}

kel_record *tbl_shape_pkey_get_sub_next_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               kel_record *record, uint32_t *err) {
    return tarnbase::table::sub_next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                     record);
}

kel_record *tbl_shape_pkey_get_sub_prev(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                        kel_record *record, uint32_t *err) {
    return tarnbase::table::sub_prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                     record);
}

kel_record *tbl_shape_pkey_get_sub_prev_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                               kel_record *record, uint32_t *err) {
    return tarnbase::table::sub_prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                     record);
}

kel_record *tbl_shape_pkey_get_shadow(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                      kel_record *record, uint32_t *err) {
    return tarnbase::table::shadow(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

kel_record *tbl_shape_pkey_get_shadow_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                             kel_record *record, uint32_t *err) {
    return tarnbase::table::shadow(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record);
}

kel_record *tbl_shape_st_shape_number_get_next_by_key(kel_handle *handle, uint32_t tx_id,
                                                      kel_table *table, const uint32_t *key,
                                                      uint32_t *err) {
    return tarnbase::table::next_by_key(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                        key);
}

kel_record *tbl_shape_st_shape_number_get_prev_by_key(kel_handle *handle, uint32_t tx_id,
                                                      kel_table *table, const uint32_t *key,
                                                      uint32_t *err) {
    return tarnbase::table::prev_by_key(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                        key);
}

kel_record *tbl_shape_st_shape_number_get_next_by_key_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const uint32_t *key, uint32_t *err) {
    return tarnbase::table::next_by_key(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                        key, {.skip_pending = true});
}

kel_record *tbl_shape_st_shape_number_get_prev_by_key_not_pending_destroy(
    kel_handle *handle, uint32_t tx_id, kel_table *table, const uint32_t *key, uint32_t *err) {
    return tarnbase::table::prev_by_key(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                        key, {.skip_pending = true});
}

kel_record *tbl_shape_st_shape_number_get_next_by_key_w_src(kel_handle *handle, uint32_t tx_id,
                                                            kel_table *table, const uint32_t *key,
                                                            uint32_t src, uint32_t *err) {
    return tarnbase::table::next_by_key(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                        key, {.source = src});
}

kel_record *tbl_shape_get_next_by_key(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                      const st_shape *object, uint32_t *err) {
    return tarnbase::table::next_by_object(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                           object);
}

kel_record *tbl_shape_get_next_by_key_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                             const st_shape *object, uint32_t *err) {
    return tarnbase::table::next_by_object(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                           object);
}

kel_record *tbl_shape_get_prev_by_key(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                      const st_shape *object, uint32_t *err) {
    return tarnbase::table::prev_by_object(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                           object);
}

kel_record *tbl_shape_get_prev_by_key_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                             const st_shape *object, uint32_t *err) {
    return tarnbase::table::prev_by_object(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                           object);
}

kel_record *tbl_shape_get_next_by_key_w_src(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                            const st_shape *object, uint32_t src, uint32_t *err) {
    return tarnbase::table::next_by_object(tarnbase::model::tbl_shape, {handle, tx_id, err}, table,
                                           object, {.source = src});
}

kel_record *tbl_shape_st_shape_number_get_cr(kel_handle *handle, kel_table *table,
                                             uint32_t selector, const kel_record *record,
                                             uint32_t src, uint32_t mode) {
    return tarnbase::table::get_cr(tarnbase::model::tbl_shape, handle, table, {selector, record},
                                   {.source = tarnbase::table::source_of_cr(src),
                                    .any_source = mode != 0});
}

kel_record *tbl_shape_st_shape_number_get_next_internal(kel_handle *handle, uint32_t tx_id,
                                                        kel_table *table, const kel_record *record,
                                                        uint32_t src, uint32_t match_src,
                                                        uint32_t skip_pending, uint32_t *err) {
    return tarnbase::table::next(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src, .any_source = match_src == 0,
                                  .skip_pending = skip_pending != 0});
}

kel_record *tbl_shape_st_shape_number_get_prev_internal(kel_handle *handle, uint32_t tx_id,
                                                        kel_table *table, const kel_record *record,
                                                        uint32_t src, uint32_t match_src,
                                                        uint32_t skip_pending, uint32_t *err) {
    return tarnbase::table::prev(tarnbase::model::tbl_shape, {handle, tx_id, err}, table, record,
                                 {.source = src, .any_source = match_src == 0,
                                  .skip_pending = skip_pending != 0});
}

void tbl_shape_st_shape_number_walk(kel_table *table, kel_walk_function function, void *context,
                                    uint32_t *err) {
    tarnbase::table::walk(table, {function, context}, tbl_shape_st_shape_number_avl_internal_walk,
                          err);
}

void tbl_shape_record_walk_cr(kel_handle *handle, kel_table *table, uint32_t key_number,
                              kel_walk_function function, void *context) {
    tarnbase::table::walk_cr(handle, table, key_number, {function, context},
                             tbl_shape_st_shape_number_avl_internal_walk);
}

extern "C" TARNBASE_API uint32_t tbl_shape_st_shape_number_avl_internal_walk_wide(
    kel_index_node *node, void *pair, uintptr_t third, uintptr_t fourth, uintptr_t fifth,
    uintptr_t sixth)
    __asm__("tbl_shape_st_shape_number_avl_internal_walk");
TARN_CALLED_WITH_FEWER uint32_t tbl_shape_st_shape_number_avl_internal_walk_wide(
    kel_index_node *node, void *pair, uintptr_t third, uintptr_t fourth, uintptr_t fifth,
    uintptr_t sixth) {
    return tarnbase::table::visit(node, pair, third, fourth, fifth, sixth);
}

void tbl_shape_st_shape_number_unordered_traversal() {}

void tbl_shape_table_record_create_cb(kel_handle *handle, uint32_t tx_id, void *table, void *record,
                                      uint32_t *err) {
    tarnbase::table::record_callback({handle, tx_id, err}, table, record,
                                     sample_tbl_shape_table_record_create_handler);
}

void tbl_shape_table_record_create_cb_unsafe(kel_handle *handle, uint32_t tx_id, void *table,
                                             void *record, uint32_t *err) {
    tarnbase::table::record_callback({handle, tx_id, err}, table, record,
                                     sample_tbl_shape_table_record_create_handler);
}

void tbl_shape_table_record_modify_cb(kel_handle *handle, uint32_t tx_id, void *table, void *record,
                                      uint32_t *err) {
    tarnbase::table::record_callback({handle, tx_id, err}, table, record,
                                     sample_tbl_shape_table_record_modify_handler);
}

void tbl_shape_table_record_modify_cb_unsafe(kel_handle *handle, uint32_t tx_id, void *table,
                                             void *record, uint32_t *err) {
    tarnbase::table::record_callback({handle, tx_id, err}, table, record,
                                     sample_tbl_shape_table_record_modify_handler);
}

void tbl_shape_table_record_delete_cb(kel_handle *handle, uint32_t tx_id, void *table, void *record,
                                      uint32_t *err) {
    tarnbase::table::record_callback({handle, tx_id, err}, table, record,
                                     sample_tbl_shape_table_record_delete_handler);
}

void tbl_shape_table_record_delete_cb_unsafe(kel_handle *handle, uint32_t tx_id, void *table,
                                             void *record, uint32_t *err) {
    tarnbase::table::record_callback({handle, tx_id, err}, table, record,
                                     sample_tbl_shape_table_record_delete_handler);
}

void tbl_shape_table_record_create_dm_cb(kel_handle *handle, uint32_t tx_id, void *record,
                                         uint32_t *err) {
    tarnbase::table::dm_callback({handle, tx_id, err}, record,
                                 sample_tbl_shape_table_record_create_dm_handler);
}

void tbl_shape_table_record_create_dm_cb_unsafe(kel_handle *handle, uint32_t tx_id, void *record,
                                                uint32_t *err) {
    tarnbase::table::dm_callback({handle, tx_id, err}, record,
                                 sample_tbl_shape_table_record_create_dm_handler);
}

void tbl_shape_table_record_delete_dm_cb(kel_handle *handle, uint32_t tx_id, void *record,
                                         uint32_t *err) {
    tarnbase::table::dm_callback({handle, tx_id, err}, record,
                                 sample_tbl_shape_table_record_delete_dm_handler);
}

void tbl_shape_table_record_delete_dm_cb_unsafe(kel_handle *handle, uint32_t tx_id, void *record,
                                                uint32_t *err) {
    tarnbase::table::dm_callback({handle, tx_id, err}, record,
                                 sample_tbl_shape_table_record_delete_dm_handler);
}

void tbl_shape_table_record_grouping_cb(kel_handle *handle, uint32_t tx_id, void *item,
                                        uint32_t *err, void *arg1, void *arg2) {
    tarnbase::table::grouping_callback({handle, tx_id, err}, item, arg1, arg2,
                                       sample_tbl_shape_table_record_grouping_handler);
}

void tbl_shape_table_record_grouping_cb_unsafe(kel_handle *handle, uint32_t tx_id, void *item,
                                               uint32_t *err, void *arg1, void *arg2) {
    tarnbase::table::grouping_callback({handle, tx_id, err}, item, arg1, arg2,
                                       sample_tbl_shape_table_record_grouping_handler);
}

void tbl_shape_table_record_free_cb(kel_handle *handle, uint32_t tx_id, void *item, uint32_t *err,
                                    void *arg1) {
    tarnbase::table::free_callback({handle, tx_id, err}, item, arg1,
                                   sample_tbl_shape_table_record_free_handler);
}

void tbl_shape_table_record_free_cb_unsafe(kel_handle *handle, uint32_t tx_id, void *item,
                                           uint32_t *err, void *arg1) {
    tarnbase::table::free_callback({handle, tx_id, err}, item, arg1,
                                   sample_tbl_shape_table_record_free_handler);
}

uint32_t tbl_shape_pkey_print(kel_handle *handle, uint32_t tx_id, kel_table *table,
                              const kel_record *record, char *buffer, uint32_t buffer_len,
                              uint32_t *err) {
    return tarnbase::table::pkey_print(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                       {buffer, buffer_len}, table, record);
}

uint32_t tbl_shape_pkey_print_unsafe(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                     const kel_record *record, char *buffer, uint32_t buffer_len,
                                     uint32_t *err) {
    return tarnbase::table::pkey_print(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                       {buffer, buffer_len}, table, record);
}

uint32_t tbl_shape_table_pkey_len(kel_handle *handle, uint32_t tx_id, const kel_record *record) {
    return tarnbase::table::pkey_len(tarnbase::model::tbl_shape, {handle, tx_id}, record);
}

uint32_t tbl_shape_table_pkey_len_unsafe(kel_handle *handle, uint32_t tx_id,
                                         const kel_record *record) {
    return tarnbase::table::pkey_len(tarnbase::model::tbl_shape, {handle, tx_id}, record);
}

uint32_t tbl_shape_table_pkey_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                      const kel_record *record, uint32_t buffer_len,
                                      uint32_t *err) {
    return tarnbase::table::pkey_marshal(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                         {buffer, buffer_len}, record);
}

uint32_t tbl_shape_table_pkey_marshal_unsafe(kel_handle *handle, uint32_t tx_id, void *buffer,
                                             const kel_record *record, uint32_t buffer_len,
                                             uint32_t *err) {
    return tarnbase::table::pkey_marshal(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                         {buffer, buffer_len}, record);
}

uint32_t tbl_shape_table_pkey_unmarshal(kel_handle *handle, uint32_t tx_id, void **pkey,
                                        const void *buffer, uint32_t buffer_len, uint32_t *err) {
    return tarnbase::table::pkey_unmarshal(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                           {buffer, buffer_len}, pkey);
}

uint32_t tbl_shape_table_pkey_unmarshal_unsafe(kel_handle *handle, uint32_t tx_id, void **pkey,
                                               const void *buffer, uint32_t buffer_len,
                                               uint32_t *err) {
    return tarnbase::table::pkey_unmarshal(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                           {buffer, buffer_len}, pkey);
}

uint32_t tbl_shape_table_record_print(kel_handle *handle, uint32_t tx_id, char *buffer,
                                      const kel_record *record, uint32_t buffer_len,
                                      uint32_t *err) {
    return tarnbase::table::record_print(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                         {buffer, buffer_len}, record);
}

uint32_t tbl_shape_table_record_print_unsafe(kel_handle *handle, uint32_t tx_id, char *buffer,
                                             const kel_record *record, uint32_t buffer_len,
                                             uint32_t *err) {
    return tarnbase::table::record_print(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                         {buffer, buffer_len}, record);
}

uint32_t tbl_shape_record_print_cr(kel_handle *handle, const kel_record *record, char *buffer,
                                   uint32_t buffer_len) {
    return tarnbase::table::record_print_cr(tarnbase::model::tbl_shape, handle,
                                            {buffer, buffer_len}, record);
}

uint32_t tbl_shape_table_record_to_xml(kel_handle *handle, uint32_t tx_id, char *buffer,
                                       const kel_record *record, uint32_t buffer_len,
                                       uint32_t *err) {
    return tarnbase::table::record_to_xml(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                          {buffer, buffer_len}, record);
}

uint32_t tbl_shape_table_record_to_xml_unsafe(kel_handle *handle, uint32_t tx_id, char *buffer,
                                              const kel_record *record, uint32_t buffer_len,
                                              uint32_t *err) {
    return tarnbase::table::record_to_xml(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                          {buffer, buffer_len}, record);
}

uint32_t tbl_shape_record_toxml_cr(kel_handle *handle, const kel_record *record, char *buffer,
                                   uint32_t buffer_len) {
    return tarnbase::table::record_toxml_cr(tarnbase::model::tbl_shape, handle,
                                            {buffer, buffer_len}, record);
}

kel_record *tbl_shape_table_record_from_xml(kel_handle *handle, uint32_t tx_id, void *document,
                                            uint32_t *err, char *message, uint32_t message_len) {
    return tarnbase::table::record_from_xml(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                            {document, nullptr, message, message_len});
}

kel_record *tbl_shape_table_record_from_xml_unsafe(kel_handle *handle, uint32_t tx_id,
                                                   void *document, uint32_t *err, char *message,
                                                   uint32_t message_len) {
    return tarnbase::table::record_from_xml(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                            {document, nullptr, message, message_len});
}

uint32_t tbl_shape_table_record_is_modified(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                            uint32_t *err) {
    return tarnbase::table::record_is_modified(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                               record);
}

uint32_t tbl_shape_table_record_is_modified_unsafe(kel_handle *handle, uint32_t tx_id,
                                                   kel_record *record, uint32_t *err) {
    return tarnbase::table::record_is_modified(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                               record);
}

uint32_t tbl_shape_table_record_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                        const kel_record *record, uint32_t buffer_len,
                                        uint32_t *err) {
    return tarnbase::table::record_marshal(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                           {buffer, buffer_len}, record);
}

uint32_t tbl_shape_table_record_marshal_unsafe(kel_handle *handle, uint32_t tx_id, void *buffer,
                                               const kel_record *record, uint32_t buffer_len,
                                               uint32_t *err) {
    return tarnbase::table::record_marshal(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                           {buffer, buffer_len}, record);
}

uint32_t tbl_shape_record_marshal_cr(kel_handle *handle, const kel_record *record, void *buffer,
                                     uint32_t buffer_len) {
    return tarnbase::table::record_marshal_cr(tarnbase::model::tbl_shape, handle,
                                              {buffer, buffer_len}, record);
}

uint32_t tbl_shape_table_record_unmarshal(kel_handle *handle, uint32_t tx_id, kel_record **record,
                                          const void *buffer, uint32_t buffer_len,
                                          uint32_t in_place, uint32_t *err) {
    return tarnbase::table::record_unmarshal(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                             {buffer, buffer_len}, record,
                                             tarnbase::InPlace{in_place});
}

uint32_t tbl_shape_table_record_unmarshal_unsafe(kel_handle *handle, uint32_t tx_id,
                                                 kel_record **record, const void *buffer,
                                                 uint32_t buffer_len, uint32_t in_place,
                                                 uint32_t *err) {
    return tarnbase::table::record_unmarshal(tarnbase::model::tbl_shape, {handle, tx_id, err},
                                             {buffer, buffer_len}, record,
                                             tarnbase::InPlace{in_place});
}

uint32_t tbl_shape_table_record_len(kel_handle *handle, uint32_t tx_id, const kel_record *record) {
    return tarnbase::table::record_len(tarnbase::model::tbl_shape, {handle, tx_id}, record);
}

uint32_t tbl_shape_table_record_len_unsafe(kel_handle *handle, uint32_t tx_id,
                                           const kel_record *record) {
    return tarnbase::table::record_len(tarnbase::model::tbl_shape, {handle, tx_id}, record);
}

uint32_t tbl_shape_record_len_cr(kel_handle *handle, const kel_record *record) {
    return tarnbase::table::record_len_cr(tarnbase::model::tbl_shape, handle, record);
}

__attribute__((weak)) void sample_tbl_shape_table_record_create_handler(kel_handle *, uint32_t,
                                                                        void *, void *,
                                                                        uint32_t *err) {
    tarnbase::table::default_handler(tarnbase::model::tbl_shape, "create", err);
}

__attribute__((weak)) void sample_tbl_shape_table_record_modify_handler(kel_handle *, uint32_t,
                                                                        void *, void *,
                                                                        uint32_t *err) {
    tarnbase::table::default_handler(tarnbase::model::tbl_shape, "modify", err);
}

__attribute__((weak)) void sample_tbl_shape_table_record_delete_handler(kel_handle *, uint32_t,
                                                                        void *, void *,
                                                                        uint32_t *err) {
    tarnbase::table::default_handler(tarnbase::model::tbl_shape, "delete", err);
}

__attribute__((weak)) void sample_tbl_shape_table_record_create_dm_handler(
    kel_handle *handle, uint32_t tx_id, void *record, uint32_t *err) {
    tarnbase::table::default_dm_handler(tarnbase::model::tbl_shape, "create DM",
                                        {handle, tx_id, err}, record,
                                        sample_tbl_shape_table_record_create_handler);
}

__attribute__((weak)) void sample_tbl_shape_table_record_delete_dm_handler(
    kel_handle *handle, uint32_t tx_id, void *record, uint32_t *err) {
    tarnbase::table::default_dm_handler(tarnbase::model::tbl_shape, "delete DM",
                                        {handle, tx_id, err}, record,
                                        sample_tbl_shape_table_record_delete_handler);
}

__attribute__((weak)) void sample_tbl_shape_table_record_grouping_handler(
    kel_handle *, uint32_t, void *, uint32_t *err, void *, void *) {
    tarnbase::table::default_handler(tarnbase::model::tbl_shape, "grouping", err);
}

__attribute__((weak)) void sample_tbl_shape_table_record_free_handler(kel_handle *, uint32_t,
                                                                      void *, uint32_t *err,
                                                                      void *) {
    tarnbase::table::default_handler(tarnbase::model::tbl_shape, "free", err);
}

