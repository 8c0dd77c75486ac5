/* SPDX-License-Identifier: Apache-2.0 */
// The content of a table's vector after its LUID and its text, from slot 2 on: the
// operations' names without the table's. The order is a contract with the runtime.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FRAME_VECTOR_SLOTS_H
#define TARNBASE_TESTS_BEHAVIOUR_FRAME_VECTOR_SLOTS_H

namespace tarn::test {

inline constexpr const char *vector_slots[] = {
    "table_open_unsafe",
    "table_open_by_id_unsafe",
    "table_open_by_ior_with_name_unsafe",
    "table_open_by_ior_with_id_unsafe",
    "table_close_unsafe",
    "table_free_unsafe",
    "table_record_create_cb_unsafe",
    "table_record_modify_cb_unsafe",
    "table_record_delete_cb_unsafe",
    "table_record_create_dm_cb_unsafe",
    "table_record_delete_dm_cb_unsafe",
    "table_record_grouping_cb_unsafe",
    "table_record_free_cb_unsafe",
    "search_unsafe",
    "search_w_src_unsafe",
    "create_record_unsafe",
    "record_add_ref_unsafe",
    "destroy_record_unsafe",
    "insert_unsafe",
    "delete_unsafe",
    "pkey_insert_unsafe",
    "pkey_get_next_unsafe",
    "pkey_get_prev_unsafe",
    "pkey_get_first_unsafe",
    "pkey_get_last_unsafe",
    "table_get_count_unsafe",
    "table_get_count_by_src_unsafe",
    "pkey_get_first_by_src_unsafe",
    "pkey_get_first_ignore_src_unsafe",
    "pkey_get_next_by_src_unsafe",
    "pkey_get_next_ignore_src_unsafe",
    "table_record_print_unsafe",
    "table_record_to_xml_unsafe",
    "table_record_from_xml_unsafe",
    "table_record_is_modified_unsafe",
    "request_record_destroy_unsafe",
    "table_record_marshal_unsafe",
    "table_record_unmarshal_unsafe",
    "table_record_len_unsafe",
    "table_pkey_marshal_unsafe",
    "table_pkey_unmarshal_unsafe",
    "table_pkey_len_unsafe",
    "pkey_destroy_unsafe",
    "get_next_by_key_unsafe",
    "get_prev_by_key_unsafe",
    "pkey_print_unsafe",
};

}  // namespace tarn::test

#endif
