/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from shapes.tarn; changes belong there. */
/* color: what a shape is painted with. */
#ifndef TARNBASE_ENUMS_color_H
#define TARNBASE_ENUMS_color_H

#include <stdint.h>

#include "tarnbase/descriptor.h"
#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/schema.h"

TARNBASE_BEGIN

/* The user values. */
enum {
    COLOR_RED = 1, /* the color of warnings */
    COLOR_BLUE = 2
};

typedef struct color color;

/* The type's descriptor. */
extern TARNBASE_API const kel_type_info _color_type_info_internal;

/* Returns: `variant`, or 0 if it is greater. */
TARNBASE_API int8_t color_variant_data_index_cap(int8_t variant);

/*
 * Creates an object of value 0, which no enumerator has.
 * Returns: the object, which the caller owns; null if there is no memory.
 */
TARNBASE_API color *color_create(kel_handle *handle, uint32_t tx_id);

/*
 * As color_create. During a `_cr` creation it returns the type's fallback object instead of null.
 */
TARNBASE_API color *color_create_internal(kel_handle *handle, uint32_t tx_id);

/*
 * As color_create, in the handle's own transaction.
 * Returns: the object, never null. If there is no memory, or last_error was set before, the type's
 * fallback object: there is one in the process, shared by all handles and in no store. Don't set
 * it.
 * Errors: in the handle's last_error: ENOMEM. kel_object_is_fallback of the embedded runtime
 * recognises a fallback object.
 */
TARNBASE_API color *color_create_cr(kel_handle *handle);

/*
 * Initialises the memory at `object` as an object; its value and the usage counters are unchanged.
 * Arguments: `descriptor` is _color_type_info_internal; if `log_writes` is not 0, each store is
 * announced; `quiet` and `sttr_base` are not used; `flags` are the initial OBJ_... flags.
 */
TARNBASE_API void color_initialize(kel_handle *handle, uint32_t tx_id, color *object,
                                   const kel_type_info *descriptor, uint32_t log_writes,
                                   uint32_t quiet, uint8_t flags, void *sttr_base, uint32_t *err);

/* Marks the object as part of a record. */
TARNBASE_API void color_set_instance_embedded(kel_handle *handle, uint32_t tx_id, color *object);

/* Returns: 0, the number of object references that the object holds. */
TARNBASE_API uint32_t color_get_oid_count(kel_handle *handle, uint32_t tx_id, color *object,
                                          uint32_t *err);

/* Stores nothing: the object holds no object references. */
TARNBASE_API void color_get_object_references(kel_handle *handle, uint32_t tx_id, color *object,
                                              uint64_t *references, uint32_t count, uint32_t *err);

/* Destroys an object that is not inside another one. */
TARNBASE_API void color_destroy(kel_handle *handle, uint32_t tx_id, color *object);

/* As color_destroy; if `release` is 0, as for an object inside another one, nothing happens. */
TARNBASE_API void color_destroy_internal(kel_handle *handle, uint32_t tx_id, color *object,
                                         uint32_t release);

/* As color_destroy, in the handle's own transaction. */
TARNBASE_API void color_destroy_cr(kel_handle *handle, color *object);

/* Returns: `value`. */
TARNBASE_API uint32_t color_map_to_user_value(uint32_t value);

/*
 * Returns: the internal value of a user value: its position among the enumerators, counted from 0;
 * `value` itself if no enumerator has it.
 */
TARNBASE_API uint32_t color_map_to_internal_value(uint32_t value);

/*
 * Changes the object's variant to that of the handle's domain, at most 0.
 * Returns: the object's new variant; 0 for a null object.
 */
TARNBASE_API int32_t color_adjust_variant(kel_handle *handle, uint32_t tx_id, color *object,
                                          uint32_t *err);

/* Returns: `a`'s value minus `b`'s. Null comes first. */
TARNBASE_API int32_t color_compare(const color *a, const color *b);

/* Returns: a hash of the value, starting from `seed`; `seed` for a null object. */
TARNBASE_API uint32_t color_hash(const color *object, uint32_t seed);

/* Returns: 16, the size of an object in bytes. */
TARNBASE_API uint32_t color_sizeof(kel_handle *handle);

/* Returns: 5, the number of bytes that color_marshal writes. */
TARNBASE_API uint32_t color_len(kel_handle *handle, uint32_t tx_id, const color *object);

/* As color_len; 0 if the handle's last_error is set. */
TARNBASE_API uint32_t color_len_cr(kel_handle *handle);

/* Returns: the object itself. */
TARNBASE_API color *color_get(kel_handle *handle, uint32_t tx_id, color *object, uint32_t *err);

/*
 * Returns: the user value; 0 on failure.
 * Errors: EINVAL `object` is null.
 */
TARNBASE_API uint32_t color_get_value(kel_handle *handle, uint32_t tx_id, const color *object,
                                      uint32_t *err);

/*
 * Copies the whole object `source`, header included.
 * Errors: EIDRM no enumerator has its value; nothing is changed.
 */
TARNBASE_API void color_set(kel_handle *handle, uint32_t tx_id, color *object, const color *source,
                            uint32_t *err);

/*
 * Sets the user value.
 * Errors: EIDRM no enumerator has the value; nothing is changed.
 */
TARNBASE_API void color_set_value(kel_handle *handle, uint32_t tx_id, color *object, uint32_t value,
                                  uint32_t *err);

/*
 * Writes the wire form: the variant and the internal value.
 * Returns: the number of bytes written.
 * Errors: ENOMEM `remaining` is 0; EIDRM the object's variant is above the domain's, and the form
 * of the domain's variant is written; EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t color_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                    const color *object, uint32_t remaining, uint32_t *err);

/*
 * Reads the wire form. `in_place` is not used.
 * Returns: the number of bytes read.
 * Errors: ENOMEM `remaining` is 0; EMSGSIZE the form ends too early.
 */
TARNBASE_API uint32_t color_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                      color *object, uint32_t remaining, uint32_t in_place,
                                      uint32_t *err);

/*
 * Tests and clears the object's modified mark.
 * Returns: 1 if it was set, else 0.
 */
TARNBASE_API uint32_t color_backpropagate(kel_handle *handle, uint32_t tx_id, color *object,
                                          uint32_t *err);

/*
 * Prints the enumerator under `name`, indented by `indent` blanks. If no enumerator has the value,
 * it prints "Enum value out of range" without a line end.
 * Returns: the number of characters written, also after an error; 0 if `*err` is set on entry.
 * Errors: EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t color_print(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                                  const char *name, const color *object, uint32_t remaining,
                                  uint32_t *err);

/*
 * As color_print, in the handle's own transaction, under the enumeration's name.
 * Returns: the number of characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t color_print_cr(kel_handle *handle, const color *object, char *buffer,
                                     uint32_t length);

/*
 * Writes the enumerator as an empty element inside an element `name`. `state_flag` is not used. If
 * no enumerator has the value, it writes "<color value out of range/>": this is not XML, so that
 * the document can't be read back.
 * Returns: the number of characters written, also after an error; 0 if `*err` is set on entry.
 * Errors: EMSGSIZE the buffer is too small.
 */
TARNBASE_API uint32_t color_to_xml(kel_handle *handle, uint32_t tx_id, const char *name,
                                   char *buffer, const color *object, uint32_t remaining,
                                   uint8_t state_flag, uint32_t *err);

/*
 * As color_to_xml, in the handle's own transaction, as an element of the enumeration's name.
 * Returns: the number of characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t color_toxml_cr(kel_handle *handle, const color *object, char *buffer,
                                     uint32_t length);

/*
 * Sets the value to that of the first enumerator with an element in the element at `path`; if there
 * is none, the value is unchanged.
 * Arguments: if the XML service fails, `message`, a buffer of `message_len` bytes, gets a
 * description; it may be null.
 */
TARNBASE_API void color_from_xml(kel_handle *handle, uint32_t tx_id, const char *path,
                                 void *document, color *object, uint32_t *err, char *message,
                                 uint32_t message_len);

/* Returns: 1 if an enumerator has `value` in the handle's variant domain, else 0. */
TARNBASE_API uint32_t color_is_valid_cr(kel_handle *handle, uint32_t value);

TARNBASE_END

#endif
