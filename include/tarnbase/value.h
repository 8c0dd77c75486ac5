/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The built-in value types: six integers, kel_boolean, kel_vstring and
 * ip_address. Their operations are services of the runtime.
 *
 * In every operation `field` is the address of a field inside its object, and an
 * operation with `err` does nothing and returns its failure value when `*err` is
 * set on entry.
 *
 *   get          Returns the address of the value, for get_value and as the
 *                source of a set; null for a null value.
 *   get_value    Returns the plain value at the address that get returned.
 *   set          Stores the value at `source`, logged. A kel_vstring gets its
 *                own copy of the text, even when the destination was overwritten
 *                with the source's bytes just before.
 *   set_value    Stores a plain value, logged.
 *   hash         32-bit hash, chained: the result of one field seeds the next.
 *   len          Number of bytes that marshal will write; a null value counts as
 *                empty.
 *   marshal      Writes the wire form to `buffer`, at most `remaining` bytes.
 *                Returns the number of bytes written. EMSGSIZE and 0: the buffer
 *                is too small.
 *   unmarshal    Reads the wire form. Returns the number of bytes consumed.
 *                EMSGSIZE and 0: too few bytes; the value is unchanged.
 *   print        Appends "<indent><name>: <value>\n". Returns the number of
 *                characters.
 *   to_xml       Appends "<name>text</name>\n", with the state flag as an
 *                attribute unless it is 0. Returns the number of characters.
 *   from_xml     Reads the element at `path`. ENOENT: there is none.
 *   backpropagate, type_type_backpropagate
 *                Clears the value's modified mark. Nonzero if it was set.
 *   compare      Negative, zero or positive; null sorts first.
 *   initialize   Initialises the memory as an empty object.
 *   set_instance_embedded
 *                Sets OBJ_EMBEDDED, logged.
 *   destroy_internal
 *                Frees what the value owns; `release` is 0.
 *   get_oid_count, get_object_references
 *                References that the value holds: none of these types has any.
 *   offset_update, offset_remove
 *                Set and clear the value's place in its parent's state block.
 *
 * Wire forms, all numbers little-endian:
 *   integers      1, 2, 4 or 8 bytes
 *   kel_boolean   1 byte, 0 or 1
 *   kel_vstring   4-byte length, then that many bytes
 *   ip_address    family byte (0 none, 4 or 6), then 0, 4 or 16 bytes
 */
#ifndef TARNBASE_VALUE_H
#define TARNBASE_VALUE_H

#include <stdint.h>

#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/object.h"

TARNBASE_BEGIN

/* A truth value: 16 bytes. */
typedef struct kel_boolean {
    KEL_OBJECT_HEADER
    uint32_t value; /* 0 or 1 */
} kel_boolean;

/* Longest text stored inside the kel_vstring itself. */
#define KEL_VSTRING_INLINE 12U

/*
 * A text of any bytes, NUL included: 32 bytes. Up to KEL_VSTRING_INLINE bytes
 * are stored in `text`. Of a longer one `text.outside` has the first four bytes
 * and a pointer to all of it, in the arena. Unused bytes are zero. Read it with
 * kel_vstring_bytes.
 */
typedef struct kel_vstring {
    KEL_OBJECT_HEADER
    uint32_t borrowed; /* nonzero: `text.block` is the caller's memory */
    uint32_t length;   /* bytes of text */
    union {
        char bytes[KEL_VSTRING_INLINE]; /* a text that fits */
        struct {
            char prefix[4]; /* its first four bytes */
            char block[8];  /* the pointer, byte for byte: a pointer member would pad the union */
        } outside;          /* a longer text */
    } text;                 /* the text, or a pointer to it */
} kel_vstring;

/* Address families of an ip_address. */
#define KEL_ADDRESS_NONE 0U
#define KEL_ADDRESS_IPV4 4U
#define KEL_ADDRESS_IPV6 6U

/*
 * A network address: 32 bytes. Ordered by family, then by the bytes in network
 * order. An initialised address that was never set has family KEL_ADDRESS_NONE.
 */
typedef struct ip_address {
    KEL_OBJECT_HEADER
    uint8_t family;      /* KEL_ADDRESS_... */
    uint8_t bytes[16];   /* network order; IPv4 in the first four, the rest zero */
    uint8_t reserved[4]; /* zero */
} ip_address;

/* Descriptors of the value types that are objects. */
extern TARNBASE_API const kel_type_info _kel_boolean_type_info_internal;
extern TARNBASE_API const kel_type_info _kel_vstring_type_info_internal;
extern TARNBASE_API const kel_type_info _ip_address_type_info_internal;

/* Operations of every value type. */
#define KEL_VALUE_OPERATIONS(value, type)                                                         \
    TARNBASE_API type *value##_get(kel_handle *handle, uint32_t tx_id, type *field,               \
                                   uint32_t *err);                                                \
    TARNBASE_API void value##_set(kel_handle *handle, uint32_t tx_id, type *field,                \
                                  const type *source, uint32_t *err);                             \
    TARNBASE_API uint32_t value##_hash(const type *field, uint32_t seed);                         \
    TARNBASE_API uint32_t value##_len(kel_handle *handle, uint32_t tx_id, const type *field);     \
    TARNBASE_API uint32_t value##_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,       \
                                          const type *field, uint32_t remaining, uint32_t *err);  \
    TARNBASE_API uint32_t value##_unmarshal(kel_handle *handle, uint32_t tx_id,                   \
                                            const void *buffer, type *field, uint32_t remaining,  \
                                            uint32_t in_place, uint32_t *err);                    \
    TARNBASE_API uint32_t value##_print(kel_handle *handle, uint32_t tx_id, char *buffer,         \
                                        uint32_t indent, const char *name, const type *field,     \
                                        uint32_t remaining, uint32_t *err);                       \
    TARNBASE_API uint32_t value##_to_xml(kel_handle *handle, uint32_t tx_id, const char *name,    \
                                         char *buffer, const type *field, uint32_t remaining,     \
                                         uint8_t state_flag, uint32_t *err);                      \
    TARNBASE_API void value##_from_xml(kel_handle *handle, uint32_t tx_id, const char *path,      \
                                       void *document, type *field, uint32_t *err, char *message, \
                                       uint32_t message_len);

/* Operations of a value type with a plain value. */
#define KEL_PLAIN_OPERATIONS(value, type, plain)                                                 \
    TARNBASE_API plain value##_get_value(kel_handle *handle, uint32_t tx_id, const type *access, \
                                         uint32_t *err);                                         \
    TARNBASE_API void value##_set_value(kel_handle *handle, uint32_t tx_id, type *field,         \
                                        plain new_value, uint32_t *err);                         \
    TARNBASE_API uint32_t value##_backpropagate(kel_handle *handle, uint32_t tx_id, type *field, \
                                                uint32_t *err);

/* Operations of a value type with an Object Header. */
#define KEL_HEADED_OPERATIONS(value, type)                                                   \
    TARNBASE_API int32_t value##_compare(const type *a, const type *b);                      \
    TARNBASE_API void value##_initialize(                                                    \
        kel_handle *handle, uint32_t tx_id, type *field, const kel_type_info *descriptor,    \
        uint32_t log_writes, uint32_t quiet, uint8_t flags, void *sttr_base, uint32_t *err); \
    TARNBASE_API void value##_set_instance_embedded(kel_handle *handle, uint32_t tx_id,      \
                                                    type *field);

/* Operations of the value types that own memory outside themselves. */
#define KEL_OWNING_OPERATIONS(value, type)                                                       \
    TARNBASE_API uint32_t value##_type_type_backpropagate(kel_handle *handle, uint32_t tx_id,    \
                                                          type *field, uint32_t *err);           \
    TARNBASE_API void value##_destroy_internal(kel_handle *handle, uint32_t tx_id, type *field,  \
                                               uint32_t release);                                \
    TARNBASE_API uint32_t value##_get_oid_count(kel_handle *handle, uint32_t tx_id, type *field, \
                                                uint32_t *err);                                  \
    TARNBASE_API void value##_get_object_references(kel_handle *handle, uint32_t tx_id,          \
                                                    type *field, uint64_t *references,           \
                                                    uint32_t count, uint32_t *err);              \
    TARNBASE_API void value##_offset_update(kel_handle *handle, uint32_t tx_id, type *field,     \
                                            void *sttr_base, uint32_t *err);                     \
    TARNBASE_API void value##_offset_remove(kel_handle *handle, uint32_t tx_id, type *field,     \
                                            uint32_t *err);

/* Operations of an integer. */
#define KEL_SCALAR_OPERATIONS(value, type) \
    KEL_VALUE_OPERATIONS(value, type)      \
    KEL_PLAIN_OPERATIONS(value, type, type)

KEL_SCALAR_OPERATIONS(u_int8, uint8_t)
KEL_SCALAR_OPERATIONS(u_int16, uint16_t)
KEL_SCALAR_OPERATIONS(u_int32, uint32_t)
KEL_SCALAR_OPERATIONS(u_int64, uint64_t)
KEL_SCALAR_OPERATIONS(int32, int32_t)
KEL_SCALAR_OPERATIONS(int64, int64_t)

KEL_VALUE_OPERATIONS(kel_boolean, kel_boolean)
KEL_PLAIN_OPERATIONS(kel_boolean, kel_boolean, uint32_t)
KEL_HEADED_OPERATIONS(kel_boolean, kel_boolean)

KEL_VALUE_OPERATIONS(kel_vstring, kel_vstring)
KEL_HEADED_OPERATIONS(kel_vstring, kel_vstring)
KEL_OWNING_OPERATIONS(kel_vstring, kel_vstring)

KEL_VALUE_OPERATIONS(ip_address, ip_address)
KEL_HEADED_OPERATIONS(ip_address, ip_address)
KEL_OWNING_OPERATIONS(ip_address, ip_address)

/*
 * Returns the hash of `length` bytes at `data`, started from `seed`. It depends on
 * the bytes and the seed only.
 */
TARNBASE_API uint32_t SuperFastHash(const char *data, int32_t length, uint32_t seed);

TARNBASE_END

#endif
