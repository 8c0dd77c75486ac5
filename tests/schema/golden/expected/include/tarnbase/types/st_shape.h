/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from shapes.tarn; changes belong there. */
/*
 * st_shape: a shape on a plane.
 *
 *   u_int8      sides    sides of the shape
 *   u_int32     number   number of the shape; a key
 *   color       color    named as its type
 *   st_corner   first    the corner to begin at
 *   u_int8[4]   pattern  how the sides are dashed
 *   kel_boolean filled   whether the inside is painted
 */
#ifndef TARNBASE_TYPES_st_shape_H
#define TARNBASE_TYPES_st_shape_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/schema.h"
#include "tarnbase/value.h"
#include "tarnbase/enums/color.h"
#include "tarnbase/types/st_corner.h"

TARNBASE_BEGIN

typedef struct st_shape st_shape;

/* The type's descriptor. */
extern TARNBASE_API const kel_type_info _st_shape_type_info_internal;

/*
 * Creates an empty st_shape. These enumerations start with a value that no enumerator has: `color`.
 * Set each of them; otherwise the object's text and XML can't be read back.
 * Returns: the object, which the caller owns until a record takes it; null if there is no memory.
 */
TARNBASE_API st_shape *st_shape_create(kel_handle *handle, uint32_t tx_id);

/*
 * As st_shape_create, without registering the trace module first. During a `_cr` creation it
 * returns the type's fallback object if there is no memory.
 */
TARNBASE_API st_shape *st_shape_create_internal(kel_handle *handle, uint32_t tx_id);

/*
 * As st_shape_create, in the handle's own transaction.
 * Returns: the object; null, with last_error set, if its fields could not be initialised (in a
 * tracking handle also if there is no memory for the offset of a state block). If there is no
 * memory for the object, or last_error was set before, the type's fallback object: there is one in
 * the process, shared by all handles and in no store. Don't fill it.
 * Errors: in the handle's last_error: ENOMEM. kel_object_is_fallback of the embedded runtime
 * recognises a fallback object.
 */
TARNBASE_API st_shape *st_shape_create_cr(kel_handle *handle);

/*
 * Initialises the memory at `object` as an empty st_shape.
 * Arguments: `descriptor` is _st_shape_type_info_internal; if `log_writes` is not 0, each store is
 * announced; if `quiet` is not 0, the usage counters are unchanged; `flags` are the initial OBJ_...
 * flags; `sttr_base` is the object's share of its parent's state block if they contain OBJ_NESTED.
 * Errors: EINVAL in a tracking handle, `sttr_base` of a nested object is null.
 */
TARNBASE_API void st_shape_initialize(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                      const kel_type_info *descriptor, uint32_t log_writes,
                                      uint32_t quiet, uint8_t flags, void *sttr_base,
                                      uint32_t *err);

/* Marks the object and the objects inside it as part of a record. */
TARNBASE_API void st_shape_set_instance_embedded(kel_handle *handle, uint32_t tx_id,
                                                 st_shape *object);

/*
 * Records that the state block of the object, and of the objects inside it, starts at `sttr_base`.
 */
TARNBASE_API void st_shape_offset_update(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                         void *sttr_base, uint32_t *err);

/* Removes what st_shape_offset_update recorded. */
TARNBASE_API void st_shape_offset_remove(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                         uint32_t *err);

/* Returns: the number of object references that the object holds. */
TARNBASE_API uint32_t st_shape_get_oid_count(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                             uint32_t *err);

/*
 * Stores the object references that the object holds in `references`, an array of `count` entries.
 */
TARNBASE_API void st_shape_get_object_references(kel_handle *handle, uint32_t tx_id,
                                                 st_shape *object, uint64_t *references,
                                                 uint32_t count, uint32_t *err);

/*
 * Returns: the size of an object in bytes: 112, and 12 more for the state block in a tracking
 * handle.
 */
TARNBASE_API uint32_t st_shape_sizeof(kel_handle *handle);

/* Destroys an object that no record owns, with everything that it owns. */
TARNBASE_API void st_shape_destroy(kel_handle *handle, uint32_t tx_id, st_shape *object);

/*
 * As st_shape_destroy; if `release` is 0, the object's memory is not freed, as for an object inside
 * another one.
 */
TARNBASE_API void st_shape_destroy_internal(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                            uint32_t release);

/* As st_shape_destroy, in the handle's own transaction. */
TARNBASE_API void st_shape_destroy_cr(kel_handle *handle, st_shape *object);

/*
 * Makes `destination`, whose bytes were copied from `source`, independent of it: it gets its own
 * texts and its own place for the state block.
 */
TARNBASE_API void st_shape_post_copyout_cleanup(kel_handle *handle, uint32_t tx_id,
                                                st_shape *destination, const st_shape *source,
                                                uint32_t *err);

/*
 * Returns: 1 if field number `field_index`, counted from 0, is valid in the handle's variant
 * domain, else 0. `object` is not used.
 */
TARNBASE_API uint32_t st_shape_is_valid_cr(kel_handle *handle, const st_shape *object,
                                           uint32_t field_index);

/* Returns: `variant`, or 1 if it is greater. */
TARNBASE_API int8_t st_shape_variant_data_index_cap(int8_t variant);

/*
 * Changes the object's variant to that of the handle's domain, at most 1.
 * Returns: the object's new variant; 0 for a null object.
 */
TARNBASE_API int32_t st_shape_adjust_variant(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                             uint32_t *err);

/*
 * Tests and clears the modified mark of the object and those of its fields, up to the first field
 * that has one.
 * Returns: 1 if a mark was set, else 0; 0 for a null object.
 */
TARNBASE_API uint32_t st_shape_type_type_backpropagate(kel_handle *handle, uint32_t tx_id,
                                                       st_shape *object, uint32_t *err);

/* Sets the state flag of every field to `flag` if the object has a state block. */
TARNBASE_API void st_shape_set_all_state_tracking_flag(kel_handle *handle, uint32_t tx_id,
                                                       st_shape *object, uint8_t flag);

/* Returns: the object itself. */
TARNBASE_API st_shape *st_shape_get(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                    uint32_t *err);

/*
 * Reads all fields with a plain value, each into its own argument. An object with a negative
 * variant is unchanged, without an error.
 */
TARNBASE_API void st_shape_get_all(kel_handle *handle, uint32_t tx_id, const st_shape *object,
                                   uint8_t *sides, uint32_t *number, uint32_t *color_,
                                   uint32_t *filled, uint32_t *err);

/*
 * Sets all fields with a plain value, but no state flags. If a value can't be set the others are
 * set nevertheless, and the first error is reported. An object with a negative variant is
 * unchanged, without an error.
 * Errors: ENOENT `object` is null; EIDRM no enumerator has the value, in a field that is an
 * enumeration.
 */
TARNBASE_API void st_shape_set_all(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                   uint8_t sides, uint32_t number, uint32_t color_, uint32_t filled,
                                   uint32_t *err);

/*
 * Copies `source` over `destination`, which keeps the place of its state block and its modified
 * mark, and gets its own texts. A handle that doesn't track state copies the flag OBJ_STATE_TRACKED
 * too: a destination that gets it without having a state block can't be used with a tracking handle
 * any more.
 * Errors: ENOENT one of them is null; ENOMEM no memory for a text, which is empty then; EINVAL the
 * handle tracks state, and one of them has no state block. After EINVAL `destination` has the bytes
 * of `source` and refers to its texts without owning them: destroy it, or set it again.
 */
TARNBASE_API void st_shape_set(kel_handle *handle, uint32_t tx_id, st_shape *destination,
                               const st_shape *source, uint32_t *err);

/*
 * Compares two objects field by field, in field order.
 * Returns: a negative number, 0 or a positive one. Null comes first.
 */
TARNBASE_API int32_t st_shape_compare(const st_shape *a, const st_shape *b);

/* Returns: a hash of all fields, starting from `seed`. */
TARNBASE_API uint32_t st_shape_hash(const st_shape *object, uint32_t seed);

/*
 * Writes the object's wire form.
 * Requires: in a tracking handle `buffer` has one byte more than `buffer_len`: if the form fills
 * the buffer, its last state byte is stored there.
 * Returns: the number of bytes written; undefined after an error other than EIDRM.
 * Errors: ENOMEM `buffer_len` is 0; EIDRM the object's variant is above the domain's, and the form
 * of the domain's variant is written; EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t st_shape_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                       const st_shape *object, uint32_t buffer_len, uint32_t *err);

/* As st_shape_marshal, whatever the object's variant. */
TARNBASE_API uint32_t st_shape_marshal_for_clone(kel_handle *handle, uint32_t tx_id, void *buffer,
                                                 const st_shape *object, uint32_t buffer_len,
                                                 uint32_t *err);

/*
 * Reads an initialised object from its wire form. `in_place` is passed to every field.
 * Requires: in a tracking handle the object has a state block; otherwise the process ends.
 * Returns: the number of bytes read; undefined after an error.
 * Errors: ENOMEM `buffer_len` is 0; EMSGSIZE the form ends too early.
 */
TARNBASE_API uint32_t st_shape_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                         st_shape *object, uint32_t buffer_len, uint32_t in_place,
                                         uint32_t *err);

/* Returns: the number of bytes that st_shape_marshal needs. */
TARNBASE_API uint32_t st_shape_len(kel_handle *handle, uint32_t tx_id, const st_shape *object);

/* As st_shape_len, in the handle's own transaction; 0 if the handle's last_error is set. */
TARNBASE_API uint32_t st_shape_len_cr(kel_handle *handle, const st_shape *object);

/*
 * Creates a copy of `source`, which the caller owns, and stores its address in `*result`; null on
 * failure.
 * Arguments: `workspace`, a buffer of `workspace_len` bytes, holds the wire form during the call;
 * in a tracking handle it has one byte more.
 * Errors: ENOENT `source`, `result` or `workspace` is null; ENOMEM no memory; EMSGSIZE the
 * workspace is too small.
 */
TARNBASE_API void st_shape_clone(kel_handle *handle, uint32_t tx_id, const st_shape *source,
                                 st_shape **result, void *workspace, uint32_t workspace_len,
                                 uint32_t *err);

/*
 * As st_shape_clone, in the handle's own transaction and workspace.
 * Returns: the copy, which the caller owns; null on failure.
 */
TARNBASE_API st_shape *st_shape_clone_cr(kel_handle *handle, const st_shape *source);

/*
 * Copies `source` into `destination`, an initialised object, through its wire form in the handle's
 * workspace.
 * Errors: in the handle's last_error: ENOENT `source` or `destination` is null, or the handle has
 * no workspace; EMSGSIZE the workspace is too small. If reading the form fails, as with ENOMEM,
 * `destination` is destroyed and its memory freed, even if it is a record's: roll the transaction
 * back.
 */
TARNBASE_API void st_shape_copy_cr(kel_handle *handle, const st_shape *source,
                                   st_shape *destination);

/*
 * Prints the object as text, under `name` and indented by `indent` blanks. A null object prints as
 * one with empty fields.
 * Requires: `buffer` is filled with blanks: the indentation of closing braces is skipped, not
 * written.
 * Returns: the number of characters written, also after an error; 0 if `*err` is set on entry.
 * Errors: EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t st_shape_print(kel_handle *handle, uint32_t tx_id, char *buffer,
                                     uint32_t indent, const char *name, const st_shape *object,
                                     uint32_t buffer_len, uint32_t *err);

/*
 * As st_shape_print, in the handle's own transaction, under the type's name.
 * Returns: the number of characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t st_shape_print_cr(kel_handle *handle, const st_shape *object, char *buffer,
                                        uint32_t buffer_len);

/*
 * Writes the object as an XML element `name`, with `state_flag` as an attribute unless that is 0. A
 * null object is written as one with empty fields.
 * Returns: the number of characters written, also after an error; 0 if `*err` is set on entry.
 * Errors: EINVAL the object has no state block in a tracking handle, or XML can't represent a
 * string; EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t st_shape_to_xml(kel_handle *handle, uint32_t tx_id, const char *name,
                                      char *buffer, const st_shape *object, uint32_t buffer_len,
                                      uint8_t state_flag, uint32_t *err);

/*
 * As st_shape_to_xml, in the handle's own transaction, as an element of the type's name.
 * Returns: the number of characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t st_shape_toxml_cr(kel_handle *handle, const st_shape *object, char *buffer,
                                        uint32_t buffer_len);

/*
 * Reads the object from the element at `path` in a parsed document of the XML service. An absent
 * field keeps its value.
 * Arguments: if the XML service fails at an enumeration, `message`, a buffer of `message_len`
 * bytes, gets a description; it may be null.
 * Errors: ENOENT there is no element at `path`; ENOMEM no memory; EINVAL an element's text is not
 * of its field's type. The fields before it have their new values.
 */
TARNBASE_API void st_shape_from_xml(kel_handle *handle, uint32_t tx_id, const char *path,
                                    void *document, st_shape *object, uint32_t *err, char *message,
                                    uint32_t message_len);

/*
 * `sides`: sides of the shape.
 * Returns: the address of the field, inside the object; null on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint8_t *st_shape_sides_get(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                         uint32_t *err);

/*
 * Sets `sides` to the value at `source`.
 * Errors: ENOENT `object` or `source` is null; EINVAL the object has no state block in a tracking
 * handle: the field has the new value, but its state flag and modified mark are not set; EIDRM the
 * field is beyond the object's variant.
 */
TARNBASE_API void st_shape_sides_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                     const uint8_t *source, uint32_t *err);

/*
 * Returns: the value of `sides`; 0 on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint8_t st_shape_sides_get_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                              uint32_t *err);

/*
 * Sets `sides` to a plain value.
 * Errors: ENOENT `object` is null; EINVAL the object has no state block in a tracking handle: the
 * field has the new value, but its state flag and modified mark are not set; EIDRM the field is
 * beyond the object's variant.
 */
TARNBASE_API void st_shape_sides_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                           uint8_t value, uint32_t *err);

/*
 * Returns: the state flag of `sides`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t st_shape_sides_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                   const st_shape *object, uint32_t *err);

/*
 * Sets the state flag of `sides`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_shape_sides_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                st_shape *object, uint8_t flag, uint32_t *err);

/*
 * `number`: number of the shape; a key.
 * Returns: the address of the field, inside the object; null on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint32_t *st_shape_number_get(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                           uint32_t *err);

/*
 * Sets `number` to the value at `source`.
 * Errors: ENOENT `object` or `source` is null; EINVAL the object has no state block in a tracking
 * handle: the field has the new value, but its state flag and modified mark are not set; EIDRM the
 * field is beyond the object's variant.
 */
TARNBASE_API void st_shape_number_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                      const uint32_t *source, uint32_t *err);

/*
 * Returns: the value of `number`; 0 on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint32_t st_shape_number_get_value(kel_handle *handle, uint32_t tx_id,
                                                st_shape *object, uint32_t *err);

/*
 * Sets `number` to a plain value.
 * Errors: ENOENT `object` is null; EINVAL the object has no state block in a tracking handle: the
 * field has the new value, but its state flag and modified mark are not set; EIDRM the field is
 * beyond the object's variant.
 */
TARNBASE_API void st_shape_number_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                            uint32_t value, uint32_t *err);

/*
 * Returns: the state flag of `number`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t st_shape_number_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                    const st_shape *object, uint32_t *err);

/*
 * Sets the state flag of `number`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_shape_number_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                 st_shape *object, uint8_t flag, uint32_t *err);

/*
 * `color`: named as its type.
 * Returns: the address of the field, inside the object; null on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API color *st_shape_color_get(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                       uint32_t *err);

/*
 * Sets `color` to the value at `source`.
 * Errors: ENOENT `object` or `source` is null; EINVAL the object has no state block in a tracking
 * handle: the field has the new value, but its state flag and modified mark are not set; EIDRM the
 * field is beyond the object's variant, or no enumerator has the value.
 */
TARNBASE_API void st_shape_color_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                     const color *source, uint32_t *err);

/*
 * Returns: the value of `color`; 0 on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint32_t st_shape_color_get_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                               uint32_t *err);

/*
 * Sets `color` to a plain value.
 * Errors: ENOENT `object` is null; EINVAL the object has no state block in a tracking handle: the
 * field has the new value, but its state flag and modified mark are not set; EIDRM the field is
 * beyond the object's variant, or no enumerator has the value.
 */
TARNBASE_API void st_shape_color_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                           uint32_t value, uint32_t *err);

/*
 * Returns: the state flag of `color`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t st_shape_color_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                   const st_shape *object, uint32_t *err);

/*
 * Sets the state flag of `color`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_shape_color_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                st_shape *object, uint8_t flag, uint32_t *err);

/*
 * `first`: the corner to begin at.
 * Returns: the address of the field, inside the object; null on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API st_corner *st_shape_first_get(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                           uint32_t *err);

/*
 * Sets `first` to the value at `source`.
 * Errors: ENOENT `object` or `source` is null; EINVAL the object has no state block in a tracking
 * handle: the field has the new value, but its state flag and modified mark are not set; EIDRM the
 * field is beyond the object's variant.
 */
TARNBASE_API void st_shape_first_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                     const st_corner *source, uint32_t *err);

/*
 * Returns: the state flag of `first`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t st_shape_first_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                   const st_shape *object, uint32_t *err);

/*
 * Sets the state flag of `first`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_shape_first_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                st_shape *object, uint8_t flag, uint32_t *err);

/*
 * `pattern`: how the sides are dashed.
 * Returns: the address of element `index`, of 4, inside the object; null on failure.
 * Errors: ENOENT `index` is too large; EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint8_t *st_shape_pattern_get(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                           uint32_t index, uint32_t *err);

/*
 * Returns: element `index` of `pattern`; 0 on failure.
 * Errors: ENOENT `index` is too large; EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint8_t st_shape_pattern_get_value(kel_handle *handle, uint32_t tx_id,
                                                st_shape *object, uint32_t index, uint32_t *err);

/*
 * Copies the first `length` elements of `pattern` to `out`.
 * Requires: `length` is not negative.
 * Errors: EINVAL `length` is above 4; EIDRM the field is beyond the object's variant.
 */
TARNBASE_API void st_shape_pattern_get_mem(kel_handle *handle, uint32_t tx_id,
                                           const st_shape *object, void *out, int32_t length,
                                           uint32_t *err);

/*
 * Sets element `index` of `pattern` to the value at `source`; if `source` is null, nothing happens.
 * No modified mark is set.
 * Requires: `index` is below 4; this is not checked.
 * Errors: ENOENT `object` is null; EINVAL the object has no state block in a tracking handle: the
 * element has the new value, but its state flag is not set; EIDRM the field is beyond the object's
 * variant.
 */
TARNBASE_API void st_shape_pattern_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                       uint32_t index, const uint8_t *source, uint32_t *err);

/*
 * Sets element `index` of `pattern` to a plain value.
 * Errors: ENOENT `object` is null or `index` is too large; EINVAL the object has no state block in
 * a tracking handle: the element has the new value, but its state flag and the modified mark are
 * not set; EIDRM the field is beyond the object's variant.
 */
TARNBASE_API void st_shape_pattern_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                             uint32_t index, uint8_t value, uint32_t *err);

/*
 * Sets the first `length` elements of `pattern` to those at `source`.
 * Requires: `length` is not negative.
 * Errors: ENOENT `object` is null; EINVAL `length` is above 4, or the object has no state block in
 * a tracking handle, and no element is changed; EIDRM the field is beyond the object's variant.
 */
TARNBASE_API void st_shape_pattern_set_mem(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                           const void *source, int32_t length, uint32_t *err);

/*
 * As st_shape_pattern_set_mem, in the handle's own transaction.
 * Returns: the handle's last_error.
 */
TARNBASE_API uint32_t st_shape_pattern_set_mem_cr(kel_handle *handle, st_shape *object,
                                                  const void *source, int32_t length);

/*
 * Returns: the state flag of the whole array `pattern`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t st_shape_pattern_state_flag_whole_get(kel_handle *handle, uint32_t tx_id,
                                                           const st_shape *object, uint32_t *err);

/*
 * Sets the state flag of the whole array `pattern`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_shape_pattern_state_flag_whole_set(kel_handle *handle, uint32_t tx_id,
                                                        st_shape *object, uint8_t flag,
                                                        uint32_t *err);

/*
 * Returns: the state flag of element `index` of `pattern`; 0 on failure.
 * Errors: ENOENT `index` is too large; EINVAL the object or the handle tracks no state.
 */
TARNBASE_API uint8_t st_shape_pattern_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                     const st_shape *object, uint32_t index,
                                                     uint32_t *err);

/*
 * Stores the address of the element flags of `pattern`, inside the object's state block, in `*out`.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API void st_shape_pattern_state_flag_get_arr(kel_handle *handle, uint32_t tx_id,
                                                      st_shape *object, uint8_t **out,
                                                      uint32_t *err);

/*
 * Sets the state flag of element `index` of `pattern`.
 * Errors: ENOENT `index` is too large; EINVAL the object or the handle doesn't track state; EIDRM
 * the field is beyond the object's variant.
 */
TARNBASE_API void st_shape_pattern_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                  st_shape *object, uint32_t index, uint8_t flag,
                                                  uint32_t *err);

/*
 * Copies 4 flags from `source` to the start of the object's state block.
 * Errors: ENOENT `length` is not 4; EINVAL the object or the handle doesn't track state; EIDRM the
 * field is beyond the object's variant.
 */
TARNBASE_API void st_shape_pattern_state_flag_set_arr(kel_handle *handle, uint32_t tx_id,
                                                      st_shape *object, const void *source,
                                                      uint32_t length, uint32_t *err);

/*
 * `filled`: whether the inside is painted. From variant 1 on.
 * Returns: the address of the field, inside the object; null on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API kel_boolean *st_shape_filled_get(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                              uint32_t *err);

/*
 * Sets `filled` to the value at `source`.
 * Errors: ENOENT `object` or `source` is null; EINVAL the object has no state block in a tracking
 * handle: the field has the new value, but its state flag and modified mark are not set; EIDRM the
 * field is beyond the object's variant.
 */
TARNBASE_API void st_shape_filled_set(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                      const kel_boolean *source, uint32_t *err);

/*
 * Returns: the value of `filled`; 0 on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API uint32_t st_shape_filled_get_value(kel_handle *handle, uint32_t tx_id,
                                                st_shape *object, uint32_t *err);

/*
 * Sets `filled` to a plain value.
 * Errors: ENOENT `object` is null; EINVAL the object has no state block in a tracking handle: the
 * field has the new value, but its state flag and modified mark are not set; EIDRM the field is
 * beyond the object's variant.
 */
TARNBASE_API void st_shape_filled_set_value(kel_handle *handle, uint32_t tx_id, st_shape *object,
                                            uint32_t value, uint32_t *err);

/*
 * Returns: the state flag of `filled`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t st_shape_filled_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                    const st_shape *object, uint32_t *err);

/*
 * Sets the state flag of `filled`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void st_shape_filled_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                 st_shape *object, uint8_t flag, uint32_t *err);

TARNBASE_END

#endif
