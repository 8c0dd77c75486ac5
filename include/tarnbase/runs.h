/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Operations of a runtime on runs: integers of one type that follow each other in
 * memory, on the wire, and in text and XML; and on pieces: several runs of a form.
 *
 * This is an optional service: a runtime need not have it. The library looks it up
 * by its name when it is loaded, and without it calls the services of value.h for
 * each integer.
 */
#ifndef TARNBASE_RUNS_H
#define TARNBASE_RUNS_H

#include <stdint.h>

#include "tarnbase/export.h"
#include "tarnbase/handle.h"

TARNBASE_BEGIN

/*
 * Writes a run: `count` values of one type that follow each other in memory. The
 * arguments are those of the type's marshal, which this does for one value after
 * the other, each with the bytes that remain.
 * Returns: the sum of the bytes written.
 */
typedef uint32_t (*kel_marshal_run)(kel_handle *handle, uint32_t tx_id, void *buffer,
                                    const void *values, uint32_t count, uint32_t remaining,
                                    uint32_t *err);

/*
 * Reads a run, as the type's unmarshal does for one value after the other.
 * Returns: the sum of the bytes consumed.
 */
typedef uint32_t (*kel_unmarshal_run)(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                      void *values, uint32_t count, uint32_t remaining,
                                      uint32_t in_place, uint32_t *err);

/* The name of a value in text and XML, and its length without the NUL after it. */
typedef struct kel_run_label {
    const char *name; /* ends with a NUL */
    uint32_t length;  /* bytes before that */
} kel_run_label;

/* A run with names. */
typedef struct kel_labelled_run {
    const kel_run_label *labels; /* one for each value */
    const void *values;          /* null: all are 0 */
    uint32_t count;              /* of the values */
} kel_labelled_run;

/*
 * Prints a run, as the type's print does for one value after the other, each with
 * its name and the bytes that remain.
 * Returns: the sum of the bytes written.
 */
typedef uint32_t (*kel_print_run)(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                                  const kel_labelled_run *run, uint32_t remaining, uint32_t *err);

/*
 * Writes a run as XML elements, as the type's to_xml does for one value after the
 * other, each with its name, the bytes that remain and the state flag 0.
 * Returns: the sum of the bytes written.
 */
typedef uint32_t (*kel_to_xml_run)(kel_handle *handle, uint32_t tx_id, char *buffer,
                                   const kel_labelled_run *run, uint32_t remaining, uint32_t *err);

/* A run of a form. */
typedef struct kel_run_piece {
    void *values;    /* in memory */
    uint32_t offset; /* of the first value on the wire */
    uint32_t length; /* bytes, there and in memory */
    uint32_t width;  /* bytes of one value */
} kel_run_piece;

/*
 * Writes the values of some pieces to their places in the buffer, which has space for
 * them. What is between them is written by the library.
 * Returns: 1; 0 if it has written nothing, and the services are to be called.
 */
typedef uint32_t (*kel_marshal_pieces)(kel_handle *handle, uint32_t tx_id, void *buffer,
                                       const kel_run_piece *pieces, uint32_t count);

/*
 * Announces `length` bytes at `first`, which contain the values of the pieces, as one
 * change; then reads the values from their places in the buffer. Without pieces it only
 * announces, and `buffer` and `pieces` may be null.
 * Returns: 1; 0 if each value is to be announced by itself: it has done nothing, and
 * the services are to be called.
 */
typedef uint32_t (*kel_unmarshal_pieces)(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                         const kel_run_piece *pieces, uint32_t count, void *first,
                                         uint64_t length);

/* An operation on runs or pieces, and a service that it repeats. */
typedef struct kel_run_service {
    void (*single)(void); /* the runtime's own function of the service */
    void (*run)(void);    /* of the type above for this service */
} kel_run_service;

/*
 * The runtime's operations on runs and on pieces. The library uses `run` only if
 * `single` is the function that its own calls of the service reach. A program that
 * replaces the service therefore still gets a call for each value. An operation on
 * pieces has an entry for each service of runtime.h that it stands for besides those of
 * the values; the library uses it only if it has all of these, and all of them are reached:
 *   writing  _kel_variant_jump_marshal, _kel_instance_variant_marshal,
 *            _kel_instance_obj_flag_marshal, kel_get_instance_obj_flag,
 *            kel_get_instance_variant, kel_domain_lookup_variant, kel_clear_last_error
 *   reading  _kel_variant_jump_unmarshal, _kel_instance_variant_unmarshal,
 *            _kel_instance_obj_flag_unmarshal, kel_clear_last_error
 * Arguments: `count` gets the number of entries.
 * Returns: the entries, in any order. They are constant.
 */
TARNBASE_API const kel_run_service *kel_run_services(uint32_t *count);

TARNBASE_END

#endif
