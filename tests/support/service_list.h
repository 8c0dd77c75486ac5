/* SPDX-License-Identifier: Apache-2.0 */
// The services that the library calls, with the number of their arguments and what
// they do when they fail, as their contracts in runtime.h and value.h say:
//
//   never               it has no way to fail
//   returns(value)      it returns this
//   reports(code, ...)  it reports an error, and returns the value given, if any
//   falls_back          it returns its third argument
//
// Two more, in the manner of printf, are in service_functions.cpp.
#ifndef TARNBASE_TESTS_SUPPORT_SERVICE_LIST_H
#define TARNBASE_TESTS_SUPPORT_SERVICE_LIST_H

#include <cerrno>

#include "frame/kinds.h"

#define TARN_EACH_VALUE_SERVICE(S, value)      \
    S(value##_get, 4, reports(EINVAL))         \
    S(value##_set, 5, reports(ENOMEM))         \
    S(value##_hash, 2, never)                  \
    S(value##_len, 3, never)                   \
    S(value##_marshal, 6, reports(EMSGSIZE))   \
    S(value##_unmarshal, 7, reports(EMSGSIZE)) \
    S(value##_print, 8, reports(EMSGSIZE))     \
    S(value##_to_xml, 8, reports(EMSGSIZE))    \
    S(value##_from_xml, 8, reports(EINVAL))

#define TARN_EACH_PLAIN_SERVICE(S, value)    \
    S(value##_get_value, 4, reports(EINVAL)) \
    S(value##_set_value, 5, reports(EINVAL)) \
    S(value##_backpropagate, 4, reports(EINVAL))

#define TARN_EACH_HEADED_SERVICE(S, value)    \
    S(value##_compare, 2, never)              \
    S(value##_initialize, 9, reports(EINVAL)) \
    S(value##_set_instance_embedded, 3, never)

#define TARN_EACH_OWNING_SERVICE(S, value)                 \
    S(value##_type_type_backpropagate, 4, reports(EINVAL)) \
    S(value##_destroy_internal, 4, never)                  \
    S(value##_get_oid_count, 4, reports(EINVAL))           \
    S(value##_get_object_references, 6, reports(EINVAL))   \
    S(value##_offset_update, 5, reports(EINVAL))           \
    S(value##_offset_remove, 4, reports(EINVAL))

#define TARN_EACH_SCALAR_SERVICE(S, value) \
    TARN_EACH_VALUE_SERVICE(S, value)      \
    TARN_EACH_PLAIN_SERVICE(S, value)

// The services of a value type, by the group of its kind.
#define TARN_SERVICES_number(S, value) TARN_EACH_SCALAR_SERVICE(S, value)
#define TARN_SERVICES_boxed(S, value)  \
    TARN_EACH_SCALAR_SERVICE(S, value) \
    TARN_EACH_HEADED_SERVICE(S, value)
#define TARN_SERVICES_object(S, value) \
    TARN_EACH_VALUE_SERVICE(S, value)  \
    TARN_EACH_HEADED_SERVICE(S, value) \
    TARN_EACH_OWNING_SERVICE(S, value)
#define TARN_SERVICES_enumeration(S, value)
#define TARN_SERVICES_structure(S, value)
#define TARN_SERVICES_array(S, value)
#define TARN_SERVICES_OF(group, kind, type, c_type, plain, face, size, alignment, state, wire, S) \
    TARN_SERVICES_##group(S, type)

#define TARN_EACH_VALUE_TYPE_SERVICE(S)   \
    TARN_FIELD_KINDS(TARN_SERVICES_OF, S) \
    S(SuperFastHash, 3, never)

#define TARN_EACH_FRAME_SERVICE(S)                    \
    S(kel_clear_last_error, 1, never)                 \
    S(kel_store_err, 2, never)                        \
    S(kel_store_epoch_err, 3, never)                  \
    S(ptrail_module_init_fn, 3, never)                \
    S(ptrail_get_radioactive_bit, 2, never)           \
    S(kel_type_info_ptr_get, 4, falls_back)           \
    S(kel_update_variant_info, 5, never)              \
    S(table_vft_cpy, 3, returns(EINVAL))              \
    S(ridge_comm_bundle_handler_register, 1, never)   \
    S(ridge_comm_bundle_handler_unregister, 0, never) \
    S(if_common_bundle_handler_register, 1, never)    \
    S(if_common_bundle_handler_unregister, 0, never)

#define TARN_EACH_TABLE_SERVICE(S)                                  \
    S(loam_get_key, 2, never)                                       \
    S(loam_set_key, 3, returns(0))                                  \
    S(loam_delete_key, 2, never)                                    \
    S(loam_set_range, 4, returns(0))                                \
    S(loam_perror, 0, never)                                        \
    S(kellib_database_table_toc_create, 3, reports(ENOMEM))         \
    S(tbi_rb_tree_LM_RB_FIND, 5, never)                             \
    S(tbi_rb_tree_LM_RB_INSERT, 4, never)                           \
    S(tbi_rb_tree_LM_RB_REMOVE, 4, never)                           \
    S(e_avl_insert, 6, returns(0))                                  \
    S(e_avl_delete, 6, returns(0))                                  \
    S(e_avl_search, 3, never)                                       \
    S(e_avl_get_first, 1, never)                                    \
    S(e_avl_get_last, 1, never)                                     \
    S(e_avl_get_next, 3, never)                                     \
    S(e_avl_get_prev, 3, never)                                     \
    S(e_avl_walk, 3, never)                                         \
    S(mt_get_tenant_id, 1, never)                                   \
    S(keldb_update_tenant_counter, 7, reports(ENOMEM))              \
    S(keldb_get_tenant_counter, 6, never)                           \
    S(keldb_enq_rec_move_write_cursor_internal, 5, reports(ENOMEM)) \
    S(keldb_request_record_destroy, 4, reports(EINVAL))             \
    S(kelrepl_add_to_cache, 6, reports(ENOMEM))

#define TARN_EACH_OBJECT_SERVICE(S)                               \
    S(kel_oid_mapping_create, 7, reports(ENOMEM))                 \
    S(kel_request_oid_mapping_destroy, 4, reports(EINVAL, 1))     \
    S(kellib_lookup_and_update_oid_ref_count, 5, reports(ENOENT)) \
    S(kel_hd_mapping_destroy, 4, reports(EINVAL))                 \
    S(kel_domain_lookup_variant, 4, reports(EINVAL))              \
    S(kel_get_instance_variant, 3, never)                         \
    S(kellib_adjust_variant, 6, reports(EINVAL))                  \
    S(kel_get_instance_modified, 3, never)                        \
    S(kel_set_instance_modified, 4, never)                        \
    S(kellib_get_sttr_offset, 3, never)                           \
    S(kellib_update_sttr_offset, 4, never)                        \
    S(kellib_type_header_get_state_tracking_flag, 1, never)       \
    S(kellib_validate_object_flags, 3, returns(EINVAL))           \
    S(kel_get_instance_obj_flag, 3, never)                        \
    S(kellib_get_ra_data, 5, returns(EINVAL))                     \
    S(kellib_update_ra_all, 5, never)                             \
    S(kellib_record_update_ra_all, 5, never)                      \
    S(kellib_get_handle_ws, 3, never)

#define TARN_EACH_FORM_SERVICE(S)                             \
    S(_kel_instance_variant_marshal, 6, reports(EMSGSIZE))    \
    S(_kel_instance_variant_unmarshal, 6, reports(EMSGSIZE))  \
    S(_kel_instance_obj_flag_marshal, 6, reports(EMSGSIZE))   \
    S(_kel_instance_obj_flag_unmarshal, 6, reports(EMSGSIZE)) \
    S(_kel_instance_ra_data_marshal, 7, reports(EMSGSIZE))    \
    S(_kel_instance_ra_data_unmarshal, 7, reports(EMSGSIZE))  \
    S(_kel_variant_jump_marshal, 6, reports(EMSGSIZE))        \
    S(_kel_variant_jump_unmarshal, 6, reports(EMSGSIZE))      \
    S(_kel_message_header_marshal, 6, reports(EMSGSIZE))      \
    S(_kel_message_header_unmarshal, 6, reports(EMSGSIZE))    \
    S(kel_print_space, 6, reports(EMSGSIZE))                  \
    S(start_tag, 7, reports(EMSGSIZE))                        \
    S(end_tag, 6, reports(EMSGSIZE))                          \
    S(xml_enum_print, 7, reports(EMSGSIZE))                   \
    S(xml_get_element_nodecount, 3, returns(EINVAL))          \
    S(xml_get_element_value, 5, returns(EINVAL))

#define TARN_EACH_SERVICE(S)    \
    TARN_EACH_FRAME_SERVICE(S)  \
    TARN_EACH_TABLE_SERVICE(S)  \
    TARN_EACH_OBJECT_SERVICE(S) \
    TARN_EACH_FORM_SERVICE(S)   \
    TARN_EACH_VALUE_TYPE_SERVICE(S)

#endif
