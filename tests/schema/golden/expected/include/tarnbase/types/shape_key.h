/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from shapes.tarn; changes belong there. */
/*
 * shape_key: names a shape among its layer's.
 *
 *   kel_vstring layer  the layer's name
 *   ip_address  owner  the machine that draws it
 */
#ifndef TARNBASE_TYPES_shape_key_H
#define TARNBASE_TYPES_shape_key_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/schema.h"
#include "tarnbase/value.h"

TARNBASE_BEGIN

typedef struct shape_key shape_key;

/* The type's descriptor. */
extern TARNBASE_API const kel_type_info _shape_key_type_info_internal;

/*
 * Creates an empty shape_key.
 * Returns: the object, which the caller owns until a record takes it; null if there is no memory.
 */
TARNBASE_API shape_key *shape_key_create(kel_handle *handle, uint32_t tx_id);

/*
 * As shape_key_create, without registering the trace module first. During a `_cr` creation it
 * returns the type's fallback object if there is no memory.
 */
TARNBASE_API shape_key *shape_key_create_internal(kel_handle *handle, uint32_t tx_id);

/*
 * As shape_key_create, in the handle's own transaction.
 * Returns: the object; null, with last_error set, if its fields could not be initialised (in a
 * tracking handle also if there is no memory for the offset of a state block). If there is no
 * memory for the object, or last_error was set before, the type's fallback object: there is one in
 * the process, shared by all handles and in no store. Don't fill it.
 * Errors: in the handle's last_error: ENOMEM. kel_object_is_fallback of the embedded runtime
 * recognises a fallback object.
 */
TARNBASE_API shape_key *shape_key_create_cr(kel_handle *handle);

/*
 * Initialises the memory at `object` as an empty shape_key.
 * Arguments: `descriptor` is _shape_key_type_info_internal; if `log_writes` is not 0, each store is
 * announced; if `quiet` is not 0, the usage counters are unchanged; `flags` are the initial OBJ_...
 * flags; `sttr_base` is the object's share of its parent's state block if they contain OBJ_NESTED.
 * Errors: EINVAL in a tracking handle, `sttr_base` of a nested object is null.
 */
TARNBASE_API void shape_key_initialize(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                       const kel_type_info *descriptor, uint32_t log_writes,
                                       uint32_t quiet, uint8_t flags, void *sttr_base,
                                       uint32_t *err);

/* Marks the object and the objects inside it as part of a record. */
TARNBASE_API void shape_key_set_instance_embedded(kel_handle *handle, uint32_t tx_id,
                                                  shape_key *object);

/*
 * Records that the state block of the object, and of the objects inside it, starts at `sttr_base`.
 */
TARNBASE_API void shape_key_offset_update(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                          void *sttr_base, uint32_t *err);

/* Removes what shape_key_offset_update recorded. */
TARNBASE_API void shape_key_offset_remove(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                          uint32_t *err);

/* Returns: the number of object references that the object holds. */
TARNBASE_API uint32_t shape_key_get_oid_count(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                              uint32_t *err);

/*
 * Stores the object references that the object holds in `references`, an array of `count` entries.
 */
TARNBASE_API void shape_key_get_object_references(kel_handle *handle, uint32_t tx_id,
                                                  shape_key *object, uint64_t *references,
                                                  uint32_t count, uint32_t *err);

/*
 * Returns: the size of an object in bytes: 96, and 10 more for the state block in a tracking
 * handle.
 */
TARNBASE_API uint32_t shape_key_sizeof(kel_handle *handle);

/* Destroys an object that no record owns, with everything that it owns. */
TARNBASE_API void shape_key_destroy(kel_handle *handle, uint32_t tx_id, shape_key *object);

/*
 * As shape_key_destroy; if `release` is 0, the object's memory is not freed, as for an object
 * inside another one.
 */
TARNBASE_API void shape_key_destroy_internal(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                             uint32_t release);

/* As shape_key_destroy, in the handle's own transaction. */
TARNBASE_API void shape_key_destroy_cr(kel_handle *handle, shape_key *object);

/*
 * Makes `destination`, whose bytes were copied from `source`, independent of it: it gets its own
 * texts and its own place for the state block.
 */
TARNBASE_API void shape_key_post_copyout_cleanup(kel_handle *handle, uint32_t tx_id,
                                                 shape_key *destination, const shape_key *source,
                                                 uint32_t *err);

/*
 * Returns: 1 if field number `field_index`, counted from 0, is valid in the handle's variant
 * domain, else 0. `object` is not used.
 */
TARNBASE_API uint32_t shape_key_is_valid_cr(kel_handle *handle, const shape_key *object,
                                            uint32_t field_index);

/* Returns: `variant`, or 0 if it is greater. */
TARNBASE_API int8_t shape_key_variant_data_index_cap(int8_t variant);

/*
 * Changes the object's variant to that of the handle's domain, at most 0.
 * Returns: the object's new variant; 0 for a null object.
 */
TARNBASE_API int32_t shape_key_adjust_variant(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                              uint32_t *err);

/*
 * Tests and clears the modified mark of the object and those of its fields, up to the first field
 * that has one.
 * Returns: 1 if a mark was set, else 0; 0 for a null object.
 */
TARNBASE_API uint32_t shape_key_type_type_backpropagate(kel_handle *handle, uint32_t tx_id,
                                                        shape_key *object, uint32_t *err);

/* Sets the state flag of every field to `flag` if the object has a state block. */
TARNBASE_API void shape_key_set_all_state_tracking_flag(kel_handle *handle, uint32_t tx_id,
                                                        shape_key *object, uint8_t flag);

/* Returns: the object itself. */
TARNBASE_API shape_key *shape_key_get(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                      uint32_t *err);

/*
 * Reads nothing: no field has a plain value. An object with a negative variant is unchanged,
 * without an error.
 */
TARNBASE_API void shape_key_get_all(kel_handle *handle, uint32_t tx_id, const shape_key *object,
                                    uint32_t *err);

/*
 * Sets nothing: no field has a plain value. An object with a negative variant is unchanged, without
 * an error.
 * Errors: ENOENT `object` is null.
 */
TARNBASE_API void shape_key_set_all(kel_handle *handle, uint32_t tx_id, shape_key *object,
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
TARNBASE_API void shape_key_set(kel_handle *handle, uint32_t tx_id, shape_key *destination,
                                const shape_key *source, uint32_t *err);

/*
 * Compares two objects field by field, in field order.
 * Returns: a negative number, 0 or a positive one. Null comes first.
 */
TARNBASE_API int32_t shape_key_compare(const shape_key *a, const shape_key *b);

/* Returns: a hash of all fields, starting from `seed`. */
TARNBASE_API uint32_t shape_key_hash(const shape_key *object, uint32_t seed);

/*
 * Writes the object's wire form.
 * Requires: in a tracking handle `buffer` has one byte more than `buffer_len`: if the form fills
 * the buffer, its last state byte is stored there.
 * Returns: the number of bytes written; undefined after an error other than EIDRM.
 * Errors: ENOMEM `buffer_len` is 0; EIDRM the object's variant is above the domain's, and the form
 * of the domain's variant is written; EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t shape_key_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                        const shape_key *object, uint32_t buffer_len,
                                        uint32_t *err);

/* As shape_key_marshal, whatever the object's variant. */
TARNBASE_API uint32_t shape_key_marshal_for_clone(kel_handle *handle, uint32_t tx_id, void *buffer,
                                                  const shape_key *object, uint32_t buffer_len,
                                                  uint32_t *err);

/*
 * Reads an initialised object from its wire form. `in_place` is passed to every field.
 * Requires: in a tracking handle the object has a state block; otherwise the process ends.
 * Returns: the number of bytes read; undefined after an error.
 * Errors: ENOMEM `buffer_len` is 0; EMSGSIZE the form ends too early.
 */
TARNBASE_API uint32_t shape_key_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                          shape_key *object, uint32_t buffer_len, uint32_t in_place,
                                          uint32_t *err);

/* Returns: the number of bytes that shape_key_marshal needs. */
TARNBASE_API uint32_t shape_key_len(kel_handle *handle, uint32_t tx_id, const shape_key *object);

/* As shape_key_len, in the handle's own transaction; 0 if the handle's last_error is set. */
TARNBASE_API uint32_t shape_key_len_cr(kel_handle *handle, const shape_key *object);

/*
 * Creates a copy of `source`, which the caller owns, and stores its address in `*result`; null on
 * failure.
 * Arguments: `workspace`, a buffer of `workspace_len` bytes, holds the wire form during the call;
 * in a tracking handle it has one byte more.
 * Errors: ENOENT `source`, `result` or `workspace` is null; ENOMEM no memory; EMSGSIZE the
 * workspace is too small.
 */
TARNBASE_API void shape_key_clone(kel_handle *handle, uint32_t tx_id, const shape_key *source,
                                  shape_key **result, void *workspace, uint32_t workspace_len,
                                  uint32_t *err);

/*
 * As shape_key_clone, in the handle's own transaction and workspace.
 * Returns: the copy, which the caller owns; null on failure.
 */
TARNBASE_API shape_key *shape_key_clone_cr(kel_handle *handle, const shape_key *source);

/*
 * Copies `source` into `destination`, an initialised object, through its wire form in the handle's
 * workspace.
 * Errors: in the handle's last_error: ENOENT `source` or `destination` is null, or the handle has
 * no workspace; EMSGSIZE the workspace is too small. If reading the form fails, as with ENOMEM,
 * `destination` is destroyed and its memory freed, even if it is a record's: roll the transaction
 * back.
 */
TARNBASE_API void shape_key_copy_cr(kel_handle *handle, const shape_key *source,
                                    shape_key *destination);

/*
 * Prints the object as text, under `name` and indented by `indent` blanks. A null object prints as
 * one with empty fields.
 * Requires: `buffer` is filled with blanks: the indentation of closing braces is skipped, not
 * written.
 * Returns: the number of characters written, also after an error; 0 if `*err` is set on entry.
 * Errors: EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t shape_key_print(kel_handle *handle, uint32_t tx_id, char *buffer,
                                      uint32_t indent, const char *name, const shape_key *object,
                                      uint32_t buffer_len, uint32_t *err);

/*
 * As shape_key_print, in the handle's own transaction, under the type's name.
 * Returns: the number of characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t shape_key_print_cr(kel_handle *handle, const shape_key *object, char *buffer,
                                         uint32_t buffer_len);

/*
 * Writes the object as an XML element `name`, with `state_flag` as an attribute unless that is 0. A
 * null object is written as one with empty fields.
 * Returns: the number of characters written, also after an error; 0 if `*err` is set on entry.
 * Errors: EINVAL the object has no state block in a tracking handle, or XML can't represent a
 * string; EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t shape_key_to_xml(kel_handle *handle, uint32_t tx_id, const char *name,
                                       char *buffer, const shape_key *object, uint32_t buffer_len,
                                       uint8_t state_flag, uint32_t *err);

/*
 * As shape_key_to_xml, in the handle's own transaction, as an element of the type's name.
 * Returns: the number of characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t shape_key_toxml_cr(kel_handle *handle, const shape_key *object, char *buffer,
                                         uint32_t buffer_len);

/*
 * Reads the object from the element at `path` in a parsed document of the XML service. An absent
 * field keeps its value.
 * Arguments: if the XML service fails at an enumeration, `message`, a buffer of `message_len`
 * bytes, gets a description; it may be null.
 * Errors: ENOENT there is no element at `path`; ENOMEM no memory; EINVAL an element's text is not
 * of its field's type. The fields before it have their new values.
 */
TARNBASE_API void shape_key_from_xml(kel_handle *handle, uint32_t tx_id, const char *path,
                                     void *document, shape_key *object, uint32_t *err,
                                     char *message, uint32_t message_len);

/*
 * `layer`: the layer's name.
 * Returns: the address of the field, inside the object; null on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API kel_vstring *shape_key_layer_get(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                              uint32_t *err);

/*
 * Sets `layer` to the value at `source`.
 * Errors: ENOENT `object` or `source` is null; ENOMEM no memory for a text; EINVAL the object has
 * no state block in a tracking handle: the field has the new value, but its state flag and modified
 * mark are not set; EIDRM the field is beyond the object's variant.
 */
TARNBASE_API void shape_key_layer_set(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                      const kel_vstring *source, uint32_t *err);

/*
 * Returns: the state flag of `layer`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t shape_key_layer_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                    const shape_key *object, uint32_t *err);

/*
 * Sets the state flag of `layer`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void shape_key_layer_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                 shape_key *object, uint8_t flag, uint32_t *err);

/*
 * `owner`: the machine that draws it.
 * Returns: the address of the field, inside the object; null on failure.
 * Errors: EIDRM the field is beyond the object's variant.
 */
TARNBASE_API ip_address *shape_key_owner_get(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                             uint32_t *err);

/*
 * Sets `owner` to the value at `source`.
 * Errors: ENOENT `object` or `source` is null; EINVAL the object has no state block in a tracking
 * handle: the field has the new value, but its state flag and modified mark are not set; EIDRM the
 * field is beyond the object's variant.
 */
TARNBASE_API void shape_key_owner_set(kel_handle *handle, uint32_t tx_id, shape_key *object,
                                      const ip_address *source, uint32_t *err);

/*
 * Returns: the state flag of `owner`; 0 on failure.
 * Errors: EINVAL the object or the handle doesn't track state.
 */
TARNBASE_API uint8_t shape_key_owner_state_flag_get(kel_handle *handle, uint32_t tx_id,
                                                    const shape_key *object, uint32_t *err);

/*
 * Sets the state flag of `owner`.
 * Errors: EINVAL the object or the handle doesn't track state; EIDRM the field is beyond the
 * object's variant.
 */
TARNBASE_API void shape_key_owner_state_flag_set(kel_handle *handle, uint32_t tx_id,
                                                 shape_key *object, uint8_t flag, uint32_t *err);

TARNBASE_END

#endif
