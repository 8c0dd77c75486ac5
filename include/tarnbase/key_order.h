/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Describes the order of the library's key indexes to a runtime, besides the comparison functions
 * that the library passes to e_avl_insert and the other services of the tree. With it an index can
 * keep parts of the keys, and needn't read the records that it searches.
 *
 * This is an optional service: a runtime need not have it. The library looks it up by its name
 * when it is loaded, and describes each of its comparison functions to it.
 */
#ifndef TARNBASE_KEY_ORDER_H
#define TARNBASE_KEY_ORDER_H

#include <stdint.h>

#include "tarnbase/export.h"
#include "tarnbase/runtime.h"
#include "tarnbase/value.h"

TARNBASE_BEGIN

/* Kinds of a part, and how two parts order. */
#define KEL_KEY_UNSIGNED 1U /* an unsigned integer of `size` bytes: by its value */
#define KEL_KEY_SIGNED 2U   /* a signed integer of `size` bytes: by its value */
#define KEL_KEY_TEXT 3U     /* a kel_vstring: by `compare_text` */
#define KEL_KEY_ADDRESS 4U  /* an ip_address: by `compare_address` */
#define KEL_KEY_BYTES 5U    /* `size` bytes: as memcmp orders them */
#define KEL_KEY_OTHER 6U    /* anything else: this part and those after it are unknown */

/* A part of a key. */
typedef struct kel_key_part {
    uint32_t kind;   /* KEL_KEY_... */
    uint32_t offset; /* bytes from the start of the object */
    uint32_t size;   /* bytes; of integers 1, 2, 4 or 8 */
} kel_key_part;

/*
 * The order of a comparison function of records: by tenant_id, then by the parts of the key, one
 * after the other, then by src. A record without the object orders before one that has it.
 */
typedef struct kel_key_order {
    uint32_t size;                  /* bytes of this structure, sizeof(kel_key_order) */
    uint32_t in_key_object;         /* nonzero: the parts are in key_object, else in object */
    e_avl_compare_function compare; /* the function that is described */
    const kel_key_part *parts;      /* copied */
    uint32_t part_count;            /* 0: the function is about to be unloaded */
    /* The comparison of texts that the library is bound to. */
    int32_t (*compare_text)(const kel_vstring *a, const kel_vstring *b);
    /* The comparison of addresses that it is bound to. */
    int32_t (*compare_address)(const ip_address *a, const ip_address *b);
} kel_key_order;

/*
 * Describes the order of a comparison function. A later description replaces an earlier one. A
 * description with another `size` is ignored. After one with comparisons of texts and addresses
 * that aren't the runtime's own, an index compares records. Any thread may call it.
 */
TARNBASE_API void kel_index_describe_order(const kel_key_order *order);

TARNBASE_END

#endif
