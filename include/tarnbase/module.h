/* SPDX-License-Identifier: Apache-2.0 */
/* The library's own functions and data, besides those generated from the schema. */
#ifndef TARNBASE_MODULE_H
#define TARNBASE_MODULE_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/record.h"

TARNBASE_BEGIN

/*
 * Trace module ids. Tables trace with the table id, objects and descriptors with
 * the type id. The table id stays 0 unless the runtime sets it; the queue and stub
 * ids are for other modules.
 */
extern TARNBASE_API uint16_t g_kel_tarnbase_type_trace_module_id;
extern TARNBASE_API uint16_t g_kel_tarnbase_table_trace_module_id;
extern TARNBASE_API uint16_t g_kel_tarnbase_queue_trace_module_id;
extern TARNBASE_API uint16_t g_kel_tarnbase_stub_trace_module_id;

/* Registers the trace module "kel_tarnbase_type"; may be called any number of times. */
TARNBASE_API void kel_tarnbase_type_trace_init(void);

/*
 * The constant descriptors: structures, enumerations, then two per table, the
 * table's before its record's; a null pointer ends the list.
 */
extern TARNBASE_API const kel_type_info *const tarnbase_type_list[];

/*
 * Fills the store's type map with copies of the module's descriptors. Of existing
 * copies only the variant information is brought up to date.
 * Errors: ENOMEM, the map partly filled; a second call completes it.
 */
TARNBASE_API void tarnbase_typeinfo_initialize(kel_handle *handle, uint32_t tx_id, uint32_t *err);

/*
 * Prints the variants of each constant descriptor: calls `print` with
 * "n_variants %d\n", then "variant %d used length %d alloc slop %d\n" for each.
 */
TARNBASE_API void tarnbase_type_variant_dump(void (*print)(const char *format, ...));

/*
 * The Table Directory: the tables' vectors in ascending order of LUID, empty
 * until the first call of one of the next two functions. Make that call before
 * threads use the directory.
 */
extern TARNBASE_API const void *tarnbase_table_lut[][KEL_TABLE_VFT_SLOTS];
/* Fills the directory, once. Returns 0 or what table_vft_cpy returns. */
TARNBASE_API uint32_t tarnbase_table_vft_init(void);
/*
 * Stores the vector of the table with this 16-byte LUID in `*vector`, or null with
 * ENOENT. `tx_id` is not used.
 */
TARNBASE_API void tarnbase_table_get_vft(kel_handle *handle, uint32_t tx_id, const uint8_t *luid,
                                         const void *const **vector, uint32_t *err);
/* Returns a table's index in the directory, or -1 if no table has this LUID. */
TARNBASE_API int32_t tarnbase_table_mrst_lookup(const uint8_t *luid);

/* The registered bundle handler, or null. */
extern TARNBASE_API void *tarnbase_bundle_registered_handler;
/* Registers a handler with both communication registries. Returns the previous one. */
TARNBASE_API void *tarnbase_bundle_handler_register(void *handler);
/* Removes the handler from both registries. Returns the previous one. */
TARNBASE_API void *tarnbase_bundle_handler_unregister(void);

TARNBASE_END

#endif
