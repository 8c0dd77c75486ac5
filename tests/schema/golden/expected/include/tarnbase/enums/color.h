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
 * Makes an object of value 0, which is no enumerator's.
 * Returns: the object, the caller's; null if there is no memory.
 */
TARNBASE_API color *color_create(kel_handle *handle, uint32_t tx_id);

/*
 * As color_create. While a `_cr` creation runs it returns the type's fallback object instead of
 * null.
 */
TARNBASE_API color *color_create_internal(kel_handle *handle, uint32_t tx_id);

/*
 * As color_create, in the handle's own transaction.
 * Returns: the object, never null: without memory, or with an error in last_error before, it is the
 * type's fallback object, one in the process, shared by all handles and in no store. Don't set it.
 * Errors: 12 in the handle's last_error: no memory. kel_object_is_fallback of the embedded runtime
 * tells a fallback object from others.
 */
TARNBASE_API color *color_create_cr(kel_handle *handle);

/*
 * Makes the memory at `object` a live object; its value isn't touched, nor are the counters.
 * Arguments: `descriptor` is _color_type_info_internal; `log_writes` nonzero announces each store;
 * `quiet` and `sttr_base` are not used; `flags` are the first OBJ_... flags.
 */
TARNBASE_API void color_initialize(kel_handle *handle, uint32_t tx_id, color *object,
                                   const kel_type_info *descriptor, uint32_t log_writes,
                                   uint32_t quiet, uint8_t flags, void *sttr_base, uint32_t *err);

/* Marks the object as belonging to a record. */
TARNBASE_API void color_set_instance_embedded(kel_handle *handle, uint32_t tx_id, color *object);

/* Returns: 0, the object references that the object holds. */
TARNBASE_API uint32_t color_get_oid_count(kel_handle *handle, uint32_t tx_id, color *object,
                                          uint32_t *err);

/* Fills nothing: the object holds no object references. */
TARNBASE_API void color_get_object_references(kel_handle *handle, uint32_t tx_id, color *object,
                                              uint64_t *references, uint32_t count, uint32_t *err);

/* Destroys a free-standing object. */
TARNBASE_API void color_destroy(kel_handle *handle, uint32_t tx_id, color *object);

/* As color_destroy; with `release` 0, as for an object inside another, nothing happens. */
TARNBASE_API void color_destroy_internal(kel_handle *handle, uint32_t tx_id, color *object,
                                         uint32_t release);

/* As color_destroy, in the handle's own transaction. */
TARNBASE_API void color_destroy_cr(kel_handle *handle, color *object);

/* Returns: `value`. */
TARNBASE_API uint32_t color_map_to_user_value(uint32_t value);

/*
 * Returns: the internal value of a user value, its place among the enumerators counted from 0; a
 * value that is no enumerator's stays as it is.
 */
TARNBASE_API uint32_t color_map_to_internal_value(uint32_t value);

/*
 * Brings the object's variant in line with the handle's domain, 0 at most.
 * Returns: the object's variant then; 0 for a null object.
 */
TARNBASE_API int32_t color_adjust_variant(kel_handle *handle, uint32_t tx_id, color *object,
                                          uint32_t *err);

/* Returns: `a`'s value minus `b`'s. Null comes first. */
TARNBASE_API int32_t color_compare(const color *a, const color *b);

/* Returns: a hash of the value, started from `seed`; `seed` for a null object. */
TARNBASE_API uint32_t color_hash(const color *object, uint32_t seed);

/* Returns: 16, the bytes that an object takes. */
TARNBASE_API uint32_t color_sizeof(kel_handle *handle);

/* Returns: 5, the bytes that color_marshal writes. */
TARNBASE_API uint32_t color_len(kel_handle *handle, uint32_t tx_id, const color *object);

/* As color_len; 0 if the handle's last_error is set. */
TARNBASE_API uint32_t color_len_cr(kel_handle *handle);

/* Returns: the object itself. */
TARNBASE_API color *color_get(kel_handle *handle, uint32_t tx_id, color *object, uint32_t *err);

/*
 * Returns: the user value; 0 on failure.
 * Errors: 22 `object` is null.
 */
TARNBASE_API uint32_t color_get_value(kel_handle *handle, uint32_t tx_id, const color *object,
                                      uint32_t *err);

/*
 * Copies the whole object `source`, header included.
 * Errors: 43 its value is no enumerator's; nothing is changed.
 */
TARNBASE_API void color_set(kel_handle *handle, uint32_t tx_id, color *object, const color *source,
                            uint32_t *err);

/*
 * Sets the user value.
 * Errors: 43 the value is no enumerator's; nothing is changed.
 */
TARNBASE_API void color_set_value(kel_handle *handle, uint32_t tx_id, color *object, uint32_t value,
                                  uint32_t *err);

/*
 * Writes the wire form: the variant and the internal value.
 * Returns: the bytes written.
 * Errors: 12 no byte of room; 43 the object's variant is above the domain's, whose form is written
 * then; 90 too little room.
 */
TARNBASE_API uint32_t color_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                    const color *object, uint32_t remaining, uint32_t *err);

/*
 * Reads the wire form. `in_place` is not used.
 * Returns: the bytes read.
 * Errors: 12 no byte to read; 90 too few bytes.
 */
TARNBASE_API uint32_t color_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                      color *object, uint32_t remaining, uint32_t in_place,
                                      uint32_t *err);

/*
 * Asks for the object's modified mark, and clears it.
 * Returns: 1 if it was set, else 0.
 */
TARNBASE_API uint32_t color_backpropagate(kel_handle *handle, uint32_t tx_id, color *object,
                                          uint32_t *err);

/*
 * Prints the enumerator under `name`, indented by `indent` blanks. A value that is no enumerator's
 * gives "Enum value out of range" and no line end.
 * Returns: the characters written, also after an error; 0 with an error in `*err` on entry.
 * Errors: 90 too little room.
 */
TARNBASE_API uint32_t color_print(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                                  const char *name, const color *object, uint32_t remaining,
                                  uint32_t *err);

/*
 * As color_print, in the handle's own transaction, under the enumeration's name.
 * Returns: the characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t color_print_cr(kel_handle *handle, const color *object, char *buffer,
                                     uint32_t length);

/*
 * Writes the enumerator as an empty element inside an element `name`. `state_flag` is not used. A
 * value that is no enumerator's gives "<color value out of range/>", which is no XML, so that
 * nothing reads the document back.
 * Returns: the characters written, also after an error; 0 with an error in `*err` on entry.
 * Errors: 90 too little room.
 */
TARNBASE_API uint32_t color_to_xml(kel_handle *handle, uint32_t tx_id, const char *name,
                                   char *buffer, const color *object, uint32_t remaining,
                                   uint8_t state_flag, uint32_t *err);

/*
 * As color_to_xml, in the handle's own transaction, as an element of the enumeration's name.
 * Returns: the characters written; 0xFFFFFFFF if the handle's last_error is set.
 */
TARNBASE_API uint32_t color_toxml_cr(kel_handle *handle, const color *object, char *buffer,
                                     uint32_t length);

/*
 * Takes the value of the first enumerator that the element at `path` holds; without any the value
 * stays.
 * Arguments: a failure of the XML service is told in `message`, of `message_len` bytes, unless that
 * is null.
 */
TARNBASE_API void color_from_xml(kel_handle *handle, uint32_t tx_id, const char *path,
                                 void *document, color *object, uint32_t *err, char *message,
                                 uint32_t message_len);

/* Returns: 1 if `value` is an enumerator's in the handle's variant domain, else 0. */
TARNBASE_API uint32_t color_is_valid_cr(kel_handle *handle, uint32_t value);

TARNBASE_END

#endif
