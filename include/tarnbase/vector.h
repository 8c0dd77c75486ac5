/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A table's vector: the array by which code works with a table that it doesn't name,
 * for example with one that it has found by LUID with tarnbase_table_get_vft. The vector
 * of table T is T_table_vft.
 */
#ifndef TARNBASE_VECTOR_H
#define TARNBASE_VECTOR_H

#include "tarnbase/export.h"

TARNBASE_BEGIN

/*
 * The slots of the vector of table T. Each slot from 2 on holds a function: the `_unsafe`
 * form of the operation beside it, with the prototype in the table's header. Slot 20 of
 * tbl_ldap_conn_table_vft is the address of tbl_ldap_conn_insert_unsafe. The numbers
 * never change.
 */
typedef enum kel_table_slot {
    /* The table's identity: data, not functions. */
    KEL_SLOT_LUID = 0, /* table_T_luid, 16 bytes */
    KEL_SLOT_NAME = 1, /* table_T_name, the text "table T" */

    /* The table block. */
    KEL_SLOT_TABLE_OPEN = 2,                  /* T_table_open */
    KEL_SLOT_TABLE_OPEN_BY_ID = 3,            /* T_table_open_by_id */
    KEL_SLOT_TABLE_OPEN_BY_IOR_WITH_NAME = 4, /* T_table_open_by_ior_with_name */
    KEL_SLOT_TABLE_OPEN_BY_IOR_WITH_ID = 5,   /* T_table_open_by_ior_with_id */
    KEL_SLOT_TABLE_CLOSE = 6,                 /* T_table_close */
    KEL_SLOT_TABLE_FREE = 7,                  /* T_table_free */

    /* Callbacks of the runtime's events: each calls the table's handler. */
    KEL_SLOT_RECORD_CREATE_CB = 8,     /* T_table_record_create_cb */
    KEL_SLOT_RECORD_MODIFY_CB = 9,     /* T_table_record_modify_cb */
    KEL_SLOT_RECORD_DELETE_CB = 10,    /* T_table_record_delete_cb */
    KEL_SLOT_RECORD_CREATE_DM_CB = 11, /* T_table_record_create_dm_cb */
    KEL_SLOT_RECORD_DELETE_DM_CB = 12, /* T_table_record_delete_dm_cb */
    KEL_SLOT_RECORD_GROUPING_CB = 13,  /* T_table_record_grouping_cb */
    KEL_SLOT_RECORD_FREE_CB = 14,      /* T_table_record_free_cb */

    /* Records and the index. */
    KEL_SLOT_SEARCH = 15,         /* T_search: by an object */
    KEL_SLOT_SEARCH_W_SRC = 16,   /* T_search_w_src */
    KEL_SLOT_CREATE_RECORD = 17,  /* T_create_record */
    KEL_SLOT_RECORD_ADD_REF = 18, /* T_record_add_ref */
    KEL_SLOT_DESTROY_RECORD = 19, /* T_destroy_record */
    KEL_SLOT_INSERT = 20,         /* T_insert */
    KEL_SLOT_DELETE = 21,         /* T_delete */
    KEL_SLOT_PKEY_INSERT = 22,    /* T_pkey_insert */

    /* Traversal and counts. */
    KEL_SLOT_PKEY_GET_NEXT = 23,             /* T_pkey_get_next */
    KEL_SLOT_PKEY_GET_PREV = 24,             /* T_pkey_get_prev */
    KEL_SLOT_PKEY_GET_FIRST = 25,            /* T_pkey_get_first */
    KEL_SLOT_PKEY_GET_LAST = 26,             /* T_pkey_get_last */
    KEL_SLOT_TABLE_GET_COUNT = 27,           /* T_table_get_count */
    KEL_SLOT_TABLE_GET_COUNT_BY_SRC = 28,    /* T_table_get_count_by_src */
    KEL_SLOT_PKEY_GET_FIRST_BY_SRC = 29,     /* T_pkey_get_first_by_src */
    KEL_SLOT_PKEY_GET_FIRST_IGNORE_SRC = 30, /* T_pkey_get_first_ignore_src */
    KEL_SLOT_PKEY_GET_NEXT_BY_SRC = 31,      /* T_pkey_get_next_by_src */
    KEL_SLOT_PKEY_GET_NEXT_IGNORE_SRC = 32,  /* T_pkey_get_next_ignore_src */

    /* A record's text, XML and wire forms, and its replication. */
    KEL_SLOT_RECORD_PRINT = 33,           /* T_table_record_print */
    KEL_SLOT_RECORD_TO_XML = 34,          /* T_table_record_to_xml */
    KEL_SLOT_RECORD_FROM_XML = 35,        /* T_table_record_from_xml */
    KEL_SLOT_RECORD_IS_MODIFIED = 36,     /* T_table_record_is_modified */
    KEL_SLOT_REQUEST_RECORD_DESTROY = 37, /* T_request_record_destroy */
    KEL_SLOT_RECORD_MARSHAL = 38,         /* T_table_record_marshal */
    KEL_SLOT_RECORD_UNMARSHAL = 39,       /* T_table_record_unmarshal */
    KEL_SLOT_RECORD_LEN = 40,             /* T_table_record_len */

    /* Keys. */
    KEL_SLOT_PKEY_MARSHAL = 41,    /* T_table_pkey_marshal */
    KEL_SLOT_PKEY_UNMARSHAL = 42,  /* T_table_pkey_unmarshal */
    KEL_SLOT_PKEY_LEN = 43,        /* T_table_pkey_len */
    KEL_SLOT_PKEY_DESTROY = 44,    /* T_pkey_destroy */
    KEL_SLOT_GET_NEXT_BY_KEY = 45, /* T_get_next_by_key: by an object */
    KEL_SLOT_GET_PREV_BY_KEY = 46, /* T_get_prev_by_key: by an object */
    KEL_SLOT_PKEY_PRINT = 47       /* T_pkey_print */
} kel_table_slot;

/* The slots of a table's vector. */
#define KEL_TABLE_VFT_SLOTS 48

TARNBASE_END

#endif
