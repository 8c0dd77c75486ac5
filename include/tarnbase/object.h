/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The Object Header: the four members that every typed object starts with.
 *
 *   offset  size  member
 *        0     8  descriptor
 *        8     1  variant
 *        9     1  created_variant
 *       10     1  flags
 *       11        first field, at the next byte that fits its alignment
 *
 * The members are part of each structure. A header of its own type would be
 * padded to 16 bytes and would move a first field of one byte away from byte 11.
 */
#ifndef TARNBASE_OBJECT_H
#define TARNBASE_OBJECT_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"

TARNBASE_BEGIN

/* The four members that every structure starts with. */
#define KEL_OBJECT_HEADER                                                            \
    const kel_type_info *descriptor; /* the item's descriptor; null once released */ \
    int8_t variant;                  /* the variant the instance now has */          \
    int8_t created_variant;          /* the variant it was initialised with */       \
    uint8_t flags;                   /* OBJ_... */

/* Size of the header in bytes. */
#define KEL_OBJECT_HEADER_SIZE 11U

/* Instance flags. */
#define OBJ_OID_MAPPED 1U       /* has an entry in the runtime's OID mapping */
#define OBJ_EMBEDDED 2U         /* belongs to a record, or to a parent that does */
#define OBJ_NESTED 4U           /* is inside a parent object */
#define OBJ_STATE_TRACKED 8U    /* has a state block, one flag byte per field */
#define OBJ_RA_DATA 32U         /* has trace correlation data */
#define OBJ_STATE_ELSEWHERE 64U /* the state block isn't directly after the object */
#define OBJ_MODIFIED 128U       /* the runtime's own: its modified mark of the object */

/* Any object, as its header alone. */
typedef struct kel_object {
    KEL_OBJECT_HEADER
} kel_object;

/* An enumeration object. `value` holds the user value. */
typedef struct kel_enum_object {
    KEL_OBJECT_HEADER
    uint32_t value; /* the user value */
} kel_enum_object;

TARNBASE_END

#endif
