/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Which fields of a record differ between two states of it, as a replica reports them
 * (tarnbase/replica.h), and their values in both, for programs that work on any table.
 */
#ifndef TARNBASE_DIFFERENCE_H
#define TARNBASE_DIFFERENCE_H

#include <stdint.h>

#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/record.h"

TARNBASE_BEGIN

/* What the value of a field is, and which member has it. */
#define TARNBASE_VALUE_NONE 0U        /* there is none: no record, or its variant lacks the field */
#define TARNBASE_VALUE_UNSIGNED 1U    /* `number` */
#define TARNBASE_VALUE_SIGNED 2U      /* `number`, as an int64_t */
#define TARNBASE_VALUE_BOOLEAN 3U     /* `number`, 0 or 1 */
#define TARNBASE_VALUE_ENUMERATION 4U /* `number`, the user value */
#define TARNBASE_VALUE_TEXT 5U        /* `data`, a const kel_vstring * */
#define TARNBASE_VALUE_ADDRESS 6U     /* `data`, a const ip_address * */
#define TARNBASE_VALUE_ARRAY 7U       /* `data`, `number` elements of a byte each */

/* A value of a field. `data` points into the record. */
typedef struct tarnbase_field_value {
    uint32_t kind;     /* TARNBASE_VALUE_... */
    uint32_t reserved; /* zero */
    uint64_t number;   /* the value, or a count of elements; else 0 */
    const void *data;  /* the value; null if `number` has it */
} tarnbase_field_value;

/* A field that differs. Of a structure in a structure, its fields are compared. */
typedef struct tarnbase_field_difference {
    const char *name;            /* "num_conns"; in an inner structure "addr.port" */
    uint32_t number;             /* its place in its structure, from 0 */
    uint32_t is_key;             /* 1: it is the key, or a part of it */
    tarnbase_field_value before; /* what it was */
    tarnbase_field_value after;  /* what it is */
} tarnbase_field_difference;

/*
 * Called with each field that differs; `difference` and its name are valid until the function
 * returns. A nonzero result ends the comparison.
 */
typedef uint32_t (*tarnbase_difference_function)(const tarnbase_field_difference *difference,
                                                 void *context);

/*
 * Compares two states of a record, in the order of the fields, those of a key structure first.
 * One of them may be null: then all fields that the other one has differ. Flags, tenant and source
 * of a record, marks and state flags aren't fields.
 * Returns: how many fields were given to the function.
 * Errors: EINVAL both are null, or of different tables; ENOENT the library has no such table.
 */
TARNBASE_API uint32_t tarnbase_record_differences(kel_handle *handle, uint32_t tx_id,
                                                  const kel_record *before, const kel_record *after,
                                                  tarnbase_difference_function function,
                                                  void *context, uint32_t *err);

TARNBASE_END

#endif
