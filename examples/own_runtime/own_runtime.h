/* SPDX-License-Identifier: Apache-2.0 */
/* The shared functions of this runtime's files. */
#ifndef OWN_RUNTIME_H
#define OWN_RUNTIME_H

#include "tarnbase/runtime.h"

/* Makes a handle on a new store in memory. Null: no memory. */
kel_handle *own_handle_create(void);
/* Frees a handle and its store, with memory under keys. Returns the number of other blocks in use.
 */
unsigned own_handle_destroy(kel_handle *handle);
/* Makes `string` refer to C text of the caller, as a value to set or as a key. */
void own_string_refer(kel_vstring *string, const char *text);

/* Reports an error, in `*err` first. */
void own_report(kel_handle *handle, uint32_t *err, uint32_t code);
/* Whether an operation may go on that needs `length` of `remaining` bytes. */
int own_enter(kel_handle *handle, uint64_t length, uint32_t remaining, uint32_t *err);
/* Writes formatted text without a NUL; returns its length. EMSGSIZE: it doesn't fit. */
uint32_t own_put(kel_handle *handle, char *buffer, uint32_t remaining, uint32_t *err,
                 const char *format, ...) TARNBASE_PRINTF(5, 6);

#endif
