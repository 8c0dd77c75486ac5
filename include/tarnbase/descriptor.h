/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Type Descriptors: describe every structure, enumeration, table and table record
 * to the runtime. Objects, table blocks and record blocks start with a pointer to
 * their descriptor.
 *
 * A descriptor has two forms. The constant form is part of the library's data. A
 * store used by several builds of a schema keeps its own copies, made when a
 * handle has `store_types_enabled` set; a copy has two more words.
 */
#ifndef TARNBASE_DESCRIPTOR_H
#define TARNBASE_DESCRIPTOR_H

#include <stdint.h>

#include "tarnbase/export.h"

TARNBASE_BEGIN

/* First word of every valid descriptor. */
#define KEL_TYPE_INFO_MAGIC 0xbeeff00dU
/* `type_slot` of every descriptor; the field is the runtime's. */
#define KEL_TYPE_SLOT_NONE 0xffffffffU

/* Counters of one variant of an item. Only the three counters ever change. */
typedef struct kel_variant_usage {
    uint32_t variant;     /* number of the variant; 1 for a table and a record */
    uint32_t used_length; /* bytes used by the fixed part in this variant */
    uint32_t alloc_slop;  /* bytes allocated beyond used_length */
    uint64_t created;     /* objects of this variant ever created */
    uint64_t destroyed;   /* objects of this variant ever destroyed */
    uint64_t live;        /* objects of this variant that exist now */
} kel_variant_usage;

/* The variants of an item. */
typedef struct kel_variant_info {
    int8_t variant_count;        /* entries in `variants` */
    kel_variant_usage *variants; /* one entry per variant, in order */
} kel_variant_info;

/* A Type Descriptor, constant form. */
typedef struct kel_type_info {
    uint32_t magic;                 /* KEL_TYPE_INFO_MAGIC */
    uint8_t luid[16];               /* schema identity */
    char luid_text[33];             /* the same in lower-case hexadecimal */
    char name[64];                  /* "st_ldap_conn", "tbl_ldap_conn_record" */
    char module_name[64];           /* "tarnbase" */
    char kind[64];                  /* "type", "enum", "table", "table_record" */
    uint32_t type_slot;             /* KEL_TYPE_SLOT_NONE */
    kel_variant_info *variant_info; /* never null in a valid descriptor */
    uint32_t store_private;         /* nonzero: counters take plain increments */
} kel_type_info;

/* A Type Descriptor, per-store form. */
typedef struct kel_type_info_copy {
    kel_type_info info;    /* as the constant form, with its own counters */
    uint64_t store_word_1; /* the runtime's; zero when the copy is made */
    uint64_t store_word_2; /* the runtime's; zero when the copy is made */
} kel_type_info_copy;

/* A library's entry in the runtime's module list: a plain tail queue. */
typedef struct kel_module_record {
    const char *module_name;                 /* "tarnbase" */
    const kel_type_info *const *descriptors; /* ends with a null pointer */
    struct kel_module_record *link_next;     /* the next record, or null */
    struct kel_module_record **link_prev;    /* address of the pointer to this record */
} kel_module_record;

/* Head of the module list. In an empty list `last` is the address of `first`. */
typedef struct kel_module_list {
    uint32_t count;           /* records in the list */
    kel_module_record *first; /* the first record, or null */
    kel_module_record **last; /* address of the last record's link_next, or of first */
} kel_module_list;

TARNBASE_END

#endif
