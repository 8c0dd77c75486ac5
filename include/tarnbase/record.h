/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Table blocks and record blocks. A table keeps these in the arena, besides its
 * objects.
 */
#ifndef TARNBASE_RECORD_H
#define TARNBASE_RECORD_H

#include <stdint.h>

#include "tarnbase/export.h"
#include "tarnbase/object.h"
#include "tarnbase/vector.h"

TARNBASE_BEGIN

/* How a table block was opened. */
#define KEL_OPEN_BY_NAME 0U
#define KEL_OPEN_BY_ID 1U
#define KEL_OPEN_AUTO_ID 2U

/* Bits of a record's `flags`. */
#define KEL_RECORD_IN_INDEX 1U        /* has been inserted; stays set after delete */
#define KEL_RECORD_PENDING_DESTROY 2U /* set by the runtime on a replicated table */
#define KEL_RECORD_PKEY_INSERTED 16U  /* was inserted by key alone */
#define KEL_RECORD_HD_MAPPED 32U      /* has an entry in the handle's mapping */

#define KEL_SOURCE_DEFAULT 1U  /* the source of a record unless one is given */
#define KEL_SOURCE_SHADOW 255U /* the source of a key's shadow */

typedef struct kel_table kel_table;   /* an open table */
typedef struct kel_record kel_record; /* a table record */

/* Node of a key index, embedded in its record. The content is the tree's. */
typedef struct kel_index_node {
    uint64_t opaque[4]; /* links and balance */
} kel_index_node;

/* An open table. Zeroed when allocated; lives until the table is freed. */
struct kel_table {
    KEL_OBJECT_HEADER            /* descriptor of kind "table", then three zero bytes */
        char table_name[256];    /* the key it is stored under; empty if opened by id */
    uint32_t record_count;       /* records in the index, all tenants and sources */
    uint32_t src_counts[256];    /* the same by source */
    uint64_t table_id;           /* 0 if opened by name */
    uint32_t open_mode;          /* KEL_OPEN_... */
    kel_table *toc_next;         /* next block on the store's table list */
    kel_table **toc_prev;        /* address of the pointer to this block */
    uint32_t replication_marked; /* set by the runtime: the table is replicated */
    uint32_t write_cursor_armed; /* set by the runtime: inserts move the write cursor */
    uint64_t range_word;         /* registered with the store; zero */
    void *index_root;            /* root of the key index; null when empty */
    uintptr_t index_aux;         /* the tree's second anchor */
    /* The rest is the runtime's; the library zeroes it and never reads it. */
    kel_index_node id_node;    /* node in the table-id tree */
    uint64_t write_cursor;     /* position after the last record enqueued */
    void *tenant_counters;     /* counters by tenant and source */
    uint64_t runtime_words[4]; /* zero */
};

/*
 * A table record. Tables keyed by a field of the object allocate
 * KEL_RECORD_SIZE bytes, without `key_object`; tables keyed by a key structure
 * allocate all of it.
 */
struct kel_record {
    const kel_type_info *descriptor; /* kind "table_record"; null once destroyed */
    kel_table *table;                /* the table whose index holds the record */
    uint64_t ra_uuid;                /* the runtime's: trace correlation */
    uint8_t ra_byte;                 /* the runtime's: trace correlation */
    uint8_t ra_reserved[3];          /* zero */
    uint32_t ref_count;              /* references; the last one destroys the record */
    uint16_t tenant_id;              /* tenant at creation; first part of the key order */
    uint8_t flags;                   /* KEL_RECORD_... */
    uint8_t src;                     /* last part of the key order */
    kel_index_node index_node;       /* node in the key index */
    void *object;                    /* the data object; null until set */
    void *key_object;                /* the key object, on tables with a key structure */
};

/* Size of a record in a table keyed by a field of its object. */
#define KEL_RECORD_SIZE (sizeof(kel_record) - sizeof(void *))

/* Head of the table-id tree. The content is the runtime's. */
typedef struct kel_table_id_tree {
    void *root;    /* null when empty */
    uintptr_t aux; /* the tree's second anchor */
} kel_table_id_tree;

/* Table-id root: one per table and store; contains the blocks opened by id. */
typedef struct kel_table_id_root {
    uint64_t reserved;           /* zero */
    uint32_t id_table_count;     /* blocks in the tree */
    uint64_t next_id;            /* the next automatic id */
    kel_table_id_tree tree_head; /* the blocks, by table_id */
} kel_table_id_root;

/* Head of the store's table list. In an empty list `last` is &first. */
typedef struct kel_table_list {
    kel_table *first; /* the first block, or null */
    kel_table **last; /* address of the last block's toc_next, or of first */
} kel_table_list;

/*
 * Called with each record in a walk over all records of a table. A nonzero result
 * ends the walk. The function may delete and destroy the record.
 */
typedef uint32_t (*kel_walk_function)(kel_record *record, void *context);

/* What `<table>_<key>_walk` passes through the tree to its callback. */
typedef struct kel_walk_pair {
    kel_walk_function function; /* called with each record */
    void *context;              /* passed to it; the caller's */
} kel_walk_pair;

TARNBASE_END

#endif
