/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The Runtime Handle: a caller's connection to one arena, and the first
 * argument of every operation. The runtime creates and owns it. The library reads
 * it, and writes only `cr_fallback_enabled` and, through the error services,
 * `last_error`. A handle may be used by one thread at a time.
 *
 * Calling conventions.
 *
 * tx_id  second argument of nearly all operations: the transaction that a
 *        change belongs to, passed to every hook. KEL_TX_NONE: no transaction.
 * err    last argument: a u32, in and out, never null. Zero is no error, other
 *        values are Linux errno numbers (ENOENT, E2BIG, EAGAIN, ENOMEM, EFAULT,
 *        EEXIST, EINVAL, EIDRM, EMSGSIZE). An operation entered with a nonzero
 *        value returns its failure value at once and changes nothing.
 *
 * Three call forms. `<op>(handle, tx_id, ..., err)` is the plain one.
 * `<op>_unsafe` has the same arguments and the same behaviour. `<op>_cr(handle,
 * ...)` uses the handle's `cr_tx_id` and `last_error`, so that an error sticks
 * and a chain of `_cr` calls is tested once, at its end.
 */
#ifndef TARNBASE_HANDLE_H
#define TARNBASE_HANDLE_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"

TARNBASE_BEGIN

/* The no-transaction value of `tx_id`. */
#define KEL_TX_NONE 0xffffffffU

/* Values of `state_tracking_mode`. Any other value is a corrupt handle. */
#define KEL_STATE_TRACKING_OFF 0xddddU
#define KEL_STATE_TRACKING_ON 0xeeeeU

/* The state tracking control record. The runtime owns it. */
typedef struct kel_state_tracking {
    uint32_t state_tracking_mode; /* KEL_STATE_TRACKING_OFF or KEL_STATE_TRACKING_ON */
} kel_state_tracking;

/* Which variant of each type a handle uses. The members are the runtime's. */
typedef struct kel_variant_domain {
    void *choices;     /* the variants chosen, by type; null: the highest of each */
    uint64_t reserved; /* zero */
} kel_variant_domain;

/* The handle. The order and widths of its members are the same in every runtime. */
typedef struct kel_handle {
    /* Returns a block of `size` bytes for a descriptor copy, or null. */
    void *(*type_alloc_hook)(void *type_arena, uint32_t tx_id, uint64_t size);
    /* Returns an uninitialised block of `size` bytes in the arena, or null. */
    void *(*alloc_hook)(void *arena, uint32_t tx_id, uint64_t size);
    /* Frees a block. */
    void (*free_hook)(void *arena, uint32_t tx_id, void *block);
    /* Announces that `length` bytes at `address` are about to change. */
    void (*write_log_hook)(void *arena, void *address, uint64_t length, uint32_t tx_id);
    /* Announces that the 64-bit counter at `address` is about to change by `delta`. */
    void (*delta_log_hook)(void *arena, uint64_t *address, int32_t delta, uint32_t tx_id);
    /* Enters `copy` in the type map under its LUID text of 33 bytes. */
    void (*type_map_insert_hook)(void *type_map, uint32_t tx_id, const char *luid_text,
                                 kel_type_info_copy *copy);
    /* Returns the copy entered under that text, or null. */
    kel_type_info_copy *(*type_map_lookup_hook)(void *type_map, uint32_t tx_id,
                                                const char *luid_text);
    uint32_t store_types_enabled;       /* nonzero: per-store descriptors are in use */
    void *arena;                        /* where tables, records and objects live */
    void *type_map;                     /* LUID text to descriptor copy */
    void *type_arena;                   /* where descriptor copies live */
    uint32_t replication_engine_active; /* the replication engine is the caller */
    uint32_t header_stamp;              /* copied into every message header */
    kel_variant_domain variant_domain;  /* which variant of each type objects get */
    uint32_t last_error;                /* zero: none */
    uint32_t cr_tx_id;                  /* the tx_id of every `_cr` form */
    uint32_t cr_fallback_enabled;       /* nonzero only while a `_cr` creation runs */
    kel_state_tracking *state_tracking; /* null: tracking is off */
    uintptr_t hd_mapping_enabled;       /* nonzero: object mappings are removed at destroy */
} kel_handle;

TARNBASE_END

#endif
