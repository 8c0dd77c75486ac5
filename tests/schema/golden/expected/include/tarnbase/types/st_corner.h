/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from shapes.tarn; changes belong there. */
/*
 * st_corner: where two lines meet.
 *
 *   int64  x         to the right [millimetres]
 *   u_int8 register  its name is a keyword of C
 */
#ifndef TARNBASE_TYPES_st_corner_H
#define TARNBASE_TYPES_st_corner_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/schema.h"
#include "tarnbase/value.h"

TARNBASE_BEGIN

typedef struct st_corner st_corner;

/* The type's descriptor. */
extern TARNBASE_API const kel_type_info _st_corner_type_info_internal;

/*
 * Makes an empty st_corner.
 * Returns: the object, the caller's until a record takes it; null if there is no memory.
 */
TARNBASE_API st_corner *st_corner_create(kel_handle *handle, uint32_t tx_id);

/*
 * As st_corner_create, without registering the trace module first. While a `_cr` creation runs it
 * returns the type's fallback object where there is no memory for the object.
 */
TARNBASE_API st_corner *st_corner_create_internal(kel_handle *handle, uint32_t tx_id);

/*
 * As st_corner_create, in the handle's own transaction.
 * Returns: the object; or null, with last_error set, if its fields could not be initialised (in a
 * tracking handle also without memory for a place). Without memory for the object, or with an error
 * in last_error before, it is the type's fallback object, one in the process, shared by all handles
 * and in no store. Don't fill it.
 * Errors: 12 in the handle's last_error: no memory. kel_object_is_fallback of the embedded runtime
 * tells a fallback object from others.
 */
TARNBASE_API st_corner *st_corner_create_cr(kel_handle *handle);

/*
 * Makes the memory at `object` a live, empty st_corner.
 * Arguments: `descriptor` is _st_corner_type_info_internal; `log_writes` nonzero announces each
 * store; `quiet` nonzero leaves the usage counters alone; `flags` are the first OBJ_... flags;
 * `sttr_base` is the share of the parent's state block if they have OBJ_NESTED.
 * Errors: 22 a nested object without `sttr_base` in a tracking handle.
 */
TARNBASE_API void st_corner_initialize(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                       const kel_type_info *descriptor, uint32_t log_writes,
                                       uint32_t quiet, uint8_t flags, void *sttr_base,
                                       uint32_t *err);

/* Marks the object, and the objects inside it, as belonging to a record. */
TARNBASE_API void st_corner_set_instance_embedded(kel_handle *handle, uint32_t tx_id,
                                                  st_corner *object);

/* Tells the object and the objects inside it that their state block starts at `sttr_base`. */
TARNBASE_API void st_corner_offset_update(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                          void *sttr_base, uint32_t *err);

/* Drops what st_corner_offset_update recorded. */
TARNBASE_API void st_corner_offset_remove(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                          uint32_t *err);

/* Returns: the object references that the object holds. */
TARNBASE_API uint32_t st_corner_get_oid_count(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                              uint32_t *err);

/* Fills `references`, of `count` entries, with the object references that the object holds. */
TARNBASE_API void st_corner_get_object_references(kel_handle *handle, uint32_t tx_id,
                                                  st_corner *object, uint64_t *references,
                                                  uint32_t count, uint32_t *err);

/*
 * Returns: the bytes that an object takes: 40, and 2 more for the state block in a tracking handle.
 */
TARNBASE_API uint32_t st_corner_sizeof(kel_handle *handle);

/* Destroys an object that no record owns, with what it owns itself. */
TARNBASE_API void st_corner_destroy(kel_handle *handle, uint32_t tx_id, st_corner *object);

/* As st_corner_destroy; with `release` 0 the memory stays, as for an object inside another. */
TARNBASE_API void st_corner_destroy_internal(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                             uint32_t release);

/* As st_corner_destroy, in the handle's own transaction. */
TARNBASE_API void st_corner_destroy_cr(kel_handle *handle, st_corner *object);

/*
 * Makes `destination`, whose bytes were copied from `source`, independent of it: texts of its own,
 * its own place of the state block.
 */
TARNBASE_API void st_corner_post_copyout_cleanup(kel_handle *handle, uint32_t tx_id,
                                                 st_corner *destination, const st_corner *source,
                                                 uint32_t *err);

/*
 * Returns: 1 if field number `field_index`, counted from 0, is valid in the handle's variant
 * domain, else 0. `object` is not looked at.
 */
TARNBASE_API uint32_t st_corner_is_valid_cr(kel_handle *handle, const st_corner *object,
                                            uint32_t field_index);

/* Returns: `variant`, or 0 if it is greater. */
TARNBASE_API int8_t st_corner_variant_data_index_cap(int8_t variant);

/*
 * Brings the object's variant in line with the handle's domain, 0 at most.
 * Returns: the object's variant then; 0 for a null object.
 */
TARNBASE_API int32_t st_corner_adjust_variant(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                              uint32_t *err);

/*
 * Asks for the modified marks of the object and its fields, and clears those that it finds.
 * Returns: 1 if there was one, else 0, also for a null object.
 */
TARNBASE_API uint32_t st_corner_type_type_backpropagate(kel_handle *handle, uint32_t tx_id,
                                                        st_corner *object, uint32_t *err);

/* Gives every field the state flag `flag`, if the object has a state block. */
TARNBASE_API void st_corner_set_all_state_tracking_flag(kel_handle *handle, uint32_t tx_id,
                                                        st_corner *object, uint8_t flag);

/* Returns: the object itself. */
TARNBASE_API st_corner *st_corner_get(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                      uint32_t *err);

/*
 * Reads all fields with a plain value, each through its own argument. An object of a negative
 * variant is left alone, without an error.
 */
TARNBASE_API void st_corner_get_all(kel_handle *handle, uint32_t tx_id, const st_corner *object,
                                    int64_t *x, uint8_t *register_, uint32_t *err);

/*
 * Sets all fields with a plain value, but no state flags; a value that can't be set stops none of
 * the others, and the first error is the result. An object of a negative variant is left alone,
 * without an error.
 * Errors: 2 `object` is null; 43 a value is no enumerator's, in a field that is an enumeration.
 */
TARNBASE_API void st_corner_set_all(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                    int64_t x, uint8_t register_, uint32_t *err);

/*
 * Copies `source` over `destination`, which keeps its own place and modified mark and gets texts of
 * its own. A handle that tracks no state copies the flag OBJ_STATE_TRACKED too: a destination
 * without a state block that has it is not for tracking handles any more.
 * Errors: 2 one of them is null; 12 no memory for a text, which is empty then; 22 the handle tracks
 * state, and one of them has no state block. After 22 `destination` has the bytes of `source`, and
 * shows its texts without owning them: destroy it, or set it anew.
 */
TARNBASE_API void st_corner_set(kel_handle *handle, uint32_t tx_id, st_corner *destination,
                                const st_corner *source, uint32_t *err);

/*
 * Compares two objects field by field, in field order.
 * Returns: a negative number, 0 or a positive one. Null comes first.
 */
TARNBASE_API int32_t st_corner_compare(const st_corner *a, const st_corner *b);

/* Returns: a hash over all fields, started from `seed`. */
TARNBASE_API uint32_t st_corner_hash(const st_corner *object, uint32_t seed);

/*
 * Writes the object's wire form.
 * Requires: in a tracking handle `buffer` has one byte more than `buffer_len`: in a form that fills
 * the buffer the last state byte is stored there.
 * Returns: the bytes written; of no use after an error but 43.
 * Errors: 12 no byte of room; 43 the object's variant is above the domain's, whose form is written
 * then; 90 too little room.
 */
TARNBASE_API uint32_t st_corner_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                        const st_corner *object, uint32_t buffer_len,
                                        uint32_t *err);

/* As st_corner_marshal, whatever the object's variant. */
TARNBASE_API uint32_t st_corner_marshal_for_clone(kel_handle *handle, uint32_t tx_id, void *buffer,
                                                  const st_corner *object, uint32_t buffer_len,
                                                  uint32_t *err);

/*
 * Fills an initialised object from its wire form. `in_place` is handed on to every field.
 * Requires: in a tracking handle the object has a state block; else the process ends.
 * Returns: the bytes read; of no use after an error.
 * Errors: 12 no byte to read; 90 too few bytes.
 */
TARNBASE_API uint32_t st_corner_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                          st_corner *object, uint32_t buffer_len, uint32_t in_place,
                                          uint32_t *err);

/* Returns: the bytes that st_corner_marshal needs. */
TARNBASE_API uint32_t st_corner_len(kel_handle *handle, uint32_t tx_id, const st_corner *object);

/* As st_corner_len, in the handle's own transaction; 0 if the handle's last_error is set. */
TARNBASE_API uint32_t st_corner_len_cr(kel_handle *handle, const st_corner *object);

/*
 * Makes a copy of `source`, which the caller owns, and stores it through `result`; null on failure.
 * Arguments: `workspace`, of `workspace_len` bytes, holds the wire form meanwhile; in a tracking
 * handle it has one byte more.
 * Errors: 2 `source`, `result` or `workspace` is null; 12 no memory; 90 the workspace is too small.
 */
TARNBASE_API void st_corner_clone(kel_handle *handle, uint32_t tx_id, const st_corner *source,
                                  st_corner **result, void *workspace, uint32_t workspace_len,
                                  uint32_t *err);

/*
 * As st_corner_clone, in the handle's own transaction and workspace.
 * Returns: the copy, the caller's, or null.
 */
TARNBASE_API st_corner *st_corner_clone_cr(kel_handle *handle, const st_corner *source);

/*
 * Copies `source` into `destination`, an initialised object, through the wire form in the handle's
 * workspace.
 * Errors: in the handle's last_error: 2 `source` or `destination` is null, or the handle has no
 * workspace; 90 the workspace is too small. If the form was made and reading it fails, as with 12
 * no memory, `destination` is destroyed and its memory given back, also if a record holds it: roll
 * the transaction back.
 */
TARNBASE_API void st_corner_copy_cr(kel_handle *handle, const st_corner *source,
                                    st_corner *destination);

/*
 * Prints the object as text, under `name` and indented by `indent` blanks. A null object prints as
 * one with empty fields.
 * Requires: `buffer` holds blanks, since the indentation of closing braces is stepped over.
 * Returns: the characters written, also after an error; 0 with an error in `*err` on entry.
 * Errors: 90 too little room.
 */
TARNBASE_API uint32_t st_corner_print(kel_handle *handle, uint32_t tx_id, char *buffer,
                                      uint32_t indent, const char *name, const st_corner *object,
                                      uint32_t buffer_len, uint32_t *err);

/*
 * As st_corner_print, in the handle's own transaction, under the type's name.
 * Returns: the characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t st_corner_print_cr(kel_handle *handle, const st_corner *object, char *buffer,
                                         uint32_t buffer_len);

/*
 * Writes the object as an XML element `name`, with `state_flag` as an attribute unless it is 0. A
 * null object is written as one with empty fields.
 * Returns: the characters written, also after an error; 0 with an error in `*err` on entry.
 * Errors: 22 a tracking handle and an object without a state block, or a string that XML can't
 * carry; 90 too little room.
 */
TARNBASE_API uint32_t st_corner_to_xml(kel_handle *handle, uint32_t tx_id, const char *name,
                                       char *buffer, const st_corner *object, uint32_t buffer_len,
                                       uint8_t state_flag, uint32_t *err);

/*
 * As st_corner_to_xml, in the handle's own transaction, as an element of the type's name.
 * Returns: the characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t st_corner_toxml_cr(kel_handle *handle, const st_corner *object, char *buffer,
                                         uint32_t buffer_len);

/*
 * Fills the object from the element at `path` of a parsed document of the XML service. An absent
 * field keeps its value.
 * Arguments: a failure of the XML service at an enumeration is told in `message`, of `message_len`
 * bytes, unless that is null.
 * Errors: 2 there is no element at `path`; 12 no memory; 22 an element's text isn't of its field's
 * type. The fields before it have their new values.
 */
TARNBASE_API void st_corner_from_xml(kel_handle *handle, uint32_t tx_id, const char *path,
                                     void *document, st_corner *object, uint32_t *err,
                                     char *message, uint32_t message_len);

/*
 * `x`: to the right [millimetres].
 * Returns: access to the field, inside the object; null on failure.
 * Errors: 43 the field is beyond the object's variant.
 */
TARNBASE_API int64_t *st_corner_x_get(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                      uint32_t *err);

/*
 * Copies the value that `source` gives into `x`.
 * Errors: 2 `object` or `source` is null; 22 a tracking handle and an object without a state block:
 * the field has the new value, but no state flag or mark tells of it; 43 the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_corner_x_set(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                  const int64_t *source, uint32_t *err);

/*
 * Returns: the value of `x`; 0 on failure.
 * Errors: 43 the field is beyond the object's variant.
 */
TARNBASE_API int64_t st_corner_x_get_value(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                           uint32_t *err);

/*
 * Sets `x` to a plain value.
 * Errors: 2 `object` is null; 22 a tracking handle and an object without a state block: the field
 * has the new value, but no state flag or mark tells of it; 43 the field is beyond the object's
 * variant.
 */
TARNBASE_API void st_corner_x_set_value(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                        int64_t value, uint32_t *err);

/*
 * Returns: the state flag of `x`; 0 on failure.
 * Errors: 22 the object or the handle tracks no state.
 */
TARNBASE_API uint8_t st_corner_x_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                const st_corner *object, uint32_t *err);

/*
 * Sets the state flag of `x`.
 * Errors: 22 the object or the handle tracks no state; 43 the field is beyond the object's variant.
 */
TARNBASE_API void st_corner_x_state_flag_set(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                             uint8_t flag, uint32_t *err);

/*
 * `register`: its name is a keyword of C.
 * Returns: access to the field, inside the object; null on failure.
 * Errors: 43 the field is beyond the object's variant.
 */
TARNBASE_API uint8_t *st_corner_register_get(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                             uint32_t *err);

/*
 * Copies the value that `source` gives into `register`.
 * Errors: 2 `object` or `source` is null; 22 a tracking handle and an object without a state block:
 * the field has the new value, but no state flag or mark tells of it; 43 the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_corner_register_set(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                         const uint8_t *source, uint32_t *err);

/*
 * Returns: the value of `register`; 0 on failure.
 * Errors: 43 the field is beyond the object's variant.
 */
TARNBASE_API uint8_t st_corner_register_get_value(kel_handle *handle, uint32_t tx_id,
                                                  st_corner *object, uint32_t *err);

/*
 * Sets `register` to a plain value.
 * Errors: 2 `object` is null; 22 a tracking handle and an object without a state block: the field
 * has the new value, but no state flag or mark tells of it; 43 the field is beyond the object's
 * variant.
 */
TARNBASE_API void st_corner_register_set_value(kel_handle *handle, uint32_t tx_id,
                                               st_corner *object, uint8_t value, uint32_t *err);

/*
 * Returns: the state flag of `register`; 0 on failure.
 * Errors: 22 the object or the handle tracks no state.
 */
TARNBASE_API uint8_t st_corner_register_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                       const st_corner *object, uint32_t *err);

/*
 * Sets the state flag of `register`.
 * Errors: 22 the object or the handle tracks no state; 43 the field is beyond the object's variant.
 */
TARNBASE_API void st_corner_register_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                    st_corner *object, uint8_t flag, uint32_t *err);

TARNBASE_END

#endif
