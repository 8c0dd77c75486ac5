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
 * Creates an empty st_corner.
 * Returns: the object, which the caller owns until a record takes it; null if there is no memory.
 */
TARNBASE_API st_corner *st_corner_create(kel_handle *handle, uint32_t tx_id);

/*
 * As st_corner_create, without registering the trace module first. During a `_cr` creation it
 * returns the type's fallback object if there is no memory.
 */
TARNBASE_API st_corner *st_corner_create_internal(kel_handle *handle, uint32_t tx_id);

/*
 * As st_corner_create, in the handle's own transaction.
 * Returns: the object; null, with last_error set, if its fields could not be initialised (in a
 * tracking handle also if there is no memory for the offset of a state block). If there is no
 * memory for the object, or last_error was set before, the type's fallback object: there is one in
 * the process, shared by all handles and in no store. Don't fill it.
 * Errors: in the handle's last_error: ENOMEM. kel_object_is_fallback of the embedded runtime
 * recognises a fallback object.
 */
TARNBASE_API st_corner *st_corner_create_cr(kel_handle *handle);

/*
 * Initialises the memory at `object` as an empty st_corner.
 * Arguments: `descriptor` is _st_corner_type_info_internal; if `log_writes` is not 0, each store is
 * announced; if `quiet` is not 0, the usage counters are unchanged; `flags` are the initial OBJ_...
 * flags; `sttr_base` is the object's share of its parent's state block if they contain OBJ_NESTED.
 * Errors: EINVAL in a tracking handle, `sttr_base` of a nested object is null.
 */
TARNBASE_API void st_corner_initialize(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                       const kel_type_info *descriptor, uint32_t log_writes,
                                       uint32_t quiet, uint8_t flags, void *sttr_base,
                                       uint32_t *err);

/* Marks the object and the objects inside it as part of a record. */
TARNBASE_API void st_corner_set_instance_embedded(kel_handle *handle, uint32_t tx_id,
                                                  st_corner *object);

/*
 * Records that the state block of the object, and of the objects inside it, starts at `sttr_base`.
 */
TARNBASE_API void st_corner_offset_update(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                          void *sttr_base, uint32_t *err);

/* Removes what st_corner_offset_update recorded. */
TARNBASE_API void st_corner_offset_remove(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                          uint32_t *err);

/* Returns: the number of object references that the object holds. */
TARNBASE_API uint32_t st_corner_get_oid_count(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                              uint32_t *err);

/*
 * Stores the object references that the object holds in `references`, an array of `count` entries.
 */
TARNBASE_API void st_corner_get_object_references(kel_handle *handle, uint32_t tx_id,
                                                  st_corner *object, uint64_t *references,
                                                  uint32_t count, uint32_t *err);

/*
 * Returns: the size of an object in bytes: 40, and 2 more for the state block in a tracking handle.
 */
TARNBASE_API uint32_t st_corner_sizeof(kel_handle *handle);

/* Destroys an object that no record owns, with everything that it owns. */
TARNBASE_API void st_corner_destroy(kel_handle *handle, uint32_t tx_id, st_corner *object);

/*
 * As st_corner_destroy; if `release` is 0, the object's memory is not freed, as for an object
 * inside another one.
 */
TARNBASE_API void st_corner_destroy_internal(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                             uint32_t release);

/* As st_corner_destroy, in the handle's own transaction. */
TARNBASE_API void st_corner_destroy_cr(kel_handle *handle, st_corner *object);

/*
 * Makes `destination`, whose bytes were copied from `source`, independent of it: it gets its own
 * texts and its own place for the state block.
 */
TARNBASE_API void st_corner_post_copyout_cleanup(kel_handle *handle, uint32_t tx_id,
                                                 st_corner *destination, const st_corner *source,
                                                 uint32_t *err);

/*
 * Returns: 1 if field number `field_index`, counted from 0, is valid in the handle's variant
 * domain, else 0. `object` is not used.
 */
TARNBASE_API uint32_t st_corner_is_valid_cr(kel_handle *handle, const st_corner *object,
                                            uint32_t field_index);

/* Returns: `variant`, or 0 if it is greater. */
TARNBASE_API int8_t st_corner_variant_data_index_cap(int8_t variant);

/*
 * Changes the object's variant to that of the handle's domain, at most 0.
 * Returns: the object's new variant; 0 for a null object.
 */
TARNBASE_API int32_t st_corner_adjust_variant(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                              uint32_t *err);

/*
 * Tests and clears the modified mark of the object and those of its fields, up to the first field
 * that has one.
 * Returns: 1 if a mark was set, else 0; 0 for a null object.
 */
TARNBASE_API uint32_t st_corner_type_type_backpropagate(kel_handle *handle, uint32_t tx_id,
                                                        st_corner *object, uint32_t *err);

/* Sets the state flag of every field to `flag` if the object has a state block. */
TARNBASE_API void st_corner_set_all_state_tracking_flag(kel_handle *handle, uint32_t tx_id,
                                                        st_corner *object, uint8_t flag);

/* Returns: the object itself. */
TARNBASE_API st_corner *st_corner_get(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                      uint32_t *err);

/*
 * Reads all fields with a plain value, each into its own argument. An object with a negative
 * variant is unchanged, without an error.
 */
TARNBASE_API void st_corner_get_all(kel_handle *handle, uint32_t tx_id, const st_corner *object,
                                    int64_t *x, uint8_t *register_, uint32_t *err);

/*
 * Sets all fields with a plain value, but no state flags. If a value can't be set the others are
 * set nevertheless, and the first error is reported. An object with a negative variant is
 * unchanged, without an error.
 * Errors: ENOENT `object` is null; EIDRM no enumerator has the value, in a field that is an
 * enumeration.
 */
TARNBASE_API void st_corner_set_all(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                    int64_t x, uint8_t register_, uint32_t *err);

/*
 * Copies `source` over `destination`, which keeps the place of its state block and its modified
 * mark, and gets its own texts. A handle that doesn't track state copies the flag OBJ_STATE_TRACKED
 * too: a destination that gets it without having a state block can't be used with a tracking handle
 * any more.
 * Errors: ENOENT one of them is null; ENOMEM no memory for a text, which is empty then; EINVAL the
 * handle tracks state, and one of them has no state block. After EINVAL `destination` has the bytes
 * of `source` and refers to its texts without owning them: destroy it, or set it again.
 */
TARNBASE_API void st_corner_set(kel_handle *handle, uint32_t tx_id, st_corner *destination,
                                const st_corner *source, uint32_t *err);

/*
 * Compares two objects field by field, in field order.
 * Returns: a negative number, 0 or a positive one. Null comes first.
 */
TARNBASE_API int32_t st_corner_compare(const st_corner *a, const st_corner *b);

/* Returns: a hash of all fields, starting from `seed`. */
TARNBASE_API uint32_t st_corner_hash(const st_corner *object, uint32_t seed);

/*
 * Writes the object's wire form.
 * Requires: in a tracking handle `buffer` has one byte more than `buffer_len`: if the form fills
 * the buffer, its last state byte is stored there.
 * Returns: the number of bytes written; undefined after an error other than EIDRM.
 * Errors: ENOMEM `buffer_len` is 0; EIDRM the object's variant is above the domain's, and the form
 * of the domain's variant is written; EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t st_corner_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                        const st_corner *object, uint32_t buffer_len,
                                        uint32_t *err);

/* As st_corner_marshal, whatever the object's variant. */
TARNBASE_API uint32_t st_corner_marshal_for_clone(kel_handle *handle, uint32_t tx_id, void *buffer,
                                                  const st_corner *object, uint32_t buffer_len,
                                                  uint32_t *err);

/*
 * Reads an initialised object from its wire form. `in_place` is passed to every field.
 * Requires: in a tracking handle the object has a state block; otherwise the process ends.
 * Returns: the number of bytes read; undefined after an error.
 * Errors: ENOMEM `buffer_len` is 0; EMSGSIZE the form ends too early.
 */
TARNBASE_API uint32_t st_corner_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                          st_corner *object, uint32_t buffer_len, uint32_t in_place,
                                          uint32_t *err);

/* Returns: the number of bytes that st_corner_marshal needs. */
TARNBASE_API uint32_t st_corner_len(kel_handle *handle, uint32_t tx_id, const st_corner *object);

/* As st_corner_len, in the handle's own transaction; 0 if the handle's last_error is set. */
TARNBASE_API uint32_t st_corner_len_cr(kel_handle *handle, const st_corner *object);

/*
 * Creates a copy of `source`, which the caller owns, and stores its address in `*result`; null on
 * failure.
 * Arguments: `workspace`, a buffer of `workspace_len` bytes, holds the wire form during the call;
 * in a tracking handle it has one byte more.
 * Errors: ENOENT `source`, `result` or `workspace` is null; ENOMEM no memory; EMSGSIZE the
 * workspace is too small.
 */
TARNBASE_API void st_corner_clone(kel_handle *handle, uint32_t tx_id, const st_corner *source,
                                  st_corner **result, void *workspace, uint32_t workspace_len,
                                  uint32_t *err);

/*
 * As st_corner_clone, in the handle's own transaction and workspace.
 * Returns: the copy, which the caller owns; null on failure.
 */
TARNBASE_API st_corner *st_corner_clone_cr(kel_handle *handle, const st_corner *source);

/*
 * Copies `source` into `destination`, an initialised object, through its wire form in the handle's
 * workspace.
 * Errors: in the handle's last_error: ENOENT `source` or `destination` is null, or the handle has
 * no workspace; EMSGSIZE the workspace is too small. If reading the form fails, as with ENOMEM,
 * `destination` is destroyed and its memory freed, even if it is a record's: roll the transaction
 * back.
 */
TARNBASE_API void st_corner_copy_cr(kel_handle *handle, const st_corner *source,
                                    st_corner *destination);

/*
 * Prints the object as text, under `name` and indented by `indent` blanks. A null object prints as
 * one with empty fields.
 * Requires: `buffer` is filled with blanks: the indentation of closing braces is skipped, not
 * written.
 * Returns: the number of characters written, also after an error; 0 if `*err` is set on entry.
 * Errors: EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t st_corner_print(kel_handle *handle, uint32_t tx_id, char *buffer,
                                      uint32_t indent, const char *name, const st_corner *object,
                                      uint32_t buffer_len, uint32_t *err);

/*
 * As st_corner_print, in the handle's own transaction, under the type's name.
 * Returns: the number of characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t st_corner_print_cr(kel_handle *handle, const st_corner *object, char *buffer,
                                         uint32_t buffer_len);

/*
 * Writes the object as an XML element `name`, with `state_flag` as an attribute unless that is 0. A
 * null object is written as one with empty fields.
 * Returns: the number of characters written, also after an error; 0 if `*err` is set on entry.
 * Errors: EINVAL the object has no state block in a tracking handle, or XML can't represent a
 * string; EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t st_corner_to_xml(kel_handle *handle, uint32_t tx_id, const char *name,
                                       char *buffer, const st_corner *object, uint32_t buffer_len,
                                       uint8_t state_flag, uint32_t *err);

/*
 * As st_corner_to_xml, in the handle's own transaction, as an element of the type's name.
 * Returns: the number of characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t st_corner_toxml_cr(kel_handle *handle, const st_corner *object, char *buffer,
                                         uint32_t buffer_len);

/*
 * Reads the object from the element at `path` in a parsed document of the XML service. An absent
 * field keeps its value.
 * Arguments: if the XML service fails at an enumeration, `message`, a buffer of `message_len`
 * bytes, gets a description; it may be null.
 * Errors: ENOENT there is no element at `path`; ENOMEM no memory; EINVAL an element's text is not
 * of its field's type. The fields before it have their new values.
 */
TARNBASE_API void st_corner_from_xml(kel_handle *handle, uint32_t tx_id, const char *path,
                                     void *document, st_corner *object, uint32_t *err,
                                     char *message, uint32_t message_len);

/*
 * `x`: to the right [millimetres].
 * Returns: the address of the field, inside the object; null on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API int64_t *st_corner_x_get(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                      uint32_t *err);

/*
 * Sets `x` to the value at `source`.
 * Errors: ENOENT `object` or `source` is null; EINVAL the object has no state block in a tracking
 * handle: the field has the new value, but its state flag and modified mark are not set; EIDRM the
 * field is beyond the object's variant.
 */
TARNBASE_API void st_corner_x_set(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                  const int64_t *source, uint32_t *err);

/*
 * Returns: the value of `x`; 0 on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API int64_t st_corner_x_get_value(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                           uint32_t *err);

/*
 * Sets `x` to a plain value.
 * Errors: ENOENT `object` is null; EINVAL the object has no state block in a tracking handle: the
 * field has the new value, but its state flag and modified mark are not set; EIDRM the field is
 * beyond the object's variant.
 */
TARNBASE_API void st_corner_x_set_value(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                        int64_t value, uint32_t *err);

/*
 * Returns: the state flag of `x`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t st_corner_x_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                const st_corner *object, uint32_t *err);

/*
 * Sets the state flag of `x`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_corner_x_state_flag_set(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                             uint8_t flag, uint32_t *err);

/*
 * `register`: its name is a keyword of C.
 * Returns: the address of the field, inside the object; null on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint8_t *st_corner_register_get(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                             uint32_t *err);

/*
 * Sets `register` to the value at `source`.
 * Errors: ENOENT `object` or `source` is null; EINVAL the object has no state block in a tracking
 * handle: the field has the new value, but its state flag and modified mark are not set; EIDRM the
 * field is beyond the object's variant.
 */
TARNBASE_API void st_corner_register_set(kel_handle *handle, uint32_t tx_id, st_corner *object,
                                         const uint8_t *source, uint32_t *err);

/*
 * Returns: the value of `register`; 0 on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint8_t st_corner_register_get_value(kel_handle *handle, uint32_t tx_id,
                                                  st_corner *object, uint32_t *err);

/*
 * Sets `register` to a plain value.
 * Errors: ENOENT `object` is null; EINVAL the object has no state block in a tracking handle: the
 * field has the new value, but its state flag and modified mark are not set; EIDRM the field is
 * beyond the object's variant.
 */
TARNBASE_API void st_corner_register_set_value(kel_handle *handle, uint32_t tx_id,
                                               st_corner *object, uint8_t value, uint32_t *err);

/*
 * Returns: the state flag of `register`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t st_corner_register_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                       const st_corner *object, uint32_t *err);

/*
 * Sets the state flag of `register`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_corner_register_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                    st_corner *object, uint8_t flag, uint32_t *err);

TARNBASE_END

#endif
