/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The value types. Their common operations are macros over three small functions a type: print,
 * marshal and unmarshal.
 */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "own_runtime.h"

#define MAGIC_AND(luid_hex, type_name, usage)                                          \
    {                                                                                  \
        .magic = KEL_TYPE_INFO_MAGIC, .luid_text = luid_hex, .name = type_name,        \
        .module_name = "own_runtime", .kind = "type", .type_slot = KEL_TYPE_SLOT_NONE, \
        .variant_info = usage                                                          \
    }

static kel_variant_usage usages[3] = {{.used_length = sizeof(kel_boolean)},
                                      {.used_length = sizeof(kel_vstring)},
                                      {.used_length = sizeof(ip_address)}};
static kel_variant_info variants[3] = {{1, &usages[0]}, {1, &usages[1]}, {1, &usages[2]}};

const kel_type_info _kel_boolean_type_info_internal =
    MAGIC_AND("f586973e7aa62da19cf11b0abf111e89", "kel_boolean", &variants[0]);
const kel_type_info _kel_vstring_type_info_internal =
    MAGIC_AND("1f749f4cb9e4ccff4cd49782830975a4", "kel_vstring", &variants[1]);
const kel_type_info _ip_address_type_info_internal =
    MAGIC_AND("52622b99f3e935c725d7aacbd0ccd846", "ip_address", &variants[2]);

uint32_t SuperFastHash(const char *data, int32_t length, uint32_t seed) {
    uint32_t hash = seed ^ 2166136261U;
    for (int32_t i = 0; i < length; ++i) hash = (hash ^ (uint8_t)data[i]) * 16777619U;
    return hash;
}

/* ---- The values, by type ---- */

typedef struct span {
    const char *bytes;
    uint32_t length;
} span;

static span text_of(const kel_vstring *string) {
    if (string == NULL) return (span){"", 0};
    if (string->length <= KEL_VSTRING_INLINE) return (span){string->text.bytes, string->length};
    const char *block;
    memcpy(&block, string->text.outside.block, sizeof block);
    return (span){block, string->length};
}

static uint32_t address_length(uint8_t family) {
    return family == KEL_ADDRESS_IPV4 ? 4 : family == KEL_ADDRESS_IPV6 ? 16 : 0;
}

/* Texts that don't fit in their string, by the string's address: see set. */
typedef struct text {
    struct text *next;
    const kel_vstring *owner;
    char bytes[];
} text;

static text *texts;

static void drop_text(const kel_vstring *owner) {
    for (text **link = &texts; *link != NULL; link = &(*link)->next) {
        if ((*link)->owner != owner) continue;
        text *const gone = *link;
        *link = gone->next;
        free(gone);
        return;
    }
}

static void point_to(kel_vstring *string, const char *bytes) {
    memcpy(string->text.outside.prefix, bytes, sizeof string->text.outside.prefix);
    memcpy(string->text.outside.block, &bytes, sizeof bytes);
}

/*
 * A structure is copied byte for byte before its strings are set from the source's: the copy then
 * refers to the source's text, so that only the string's address identifies its own text.
 */
static void assign(kel_handle *handle, kel_vstring *string, span source, uint32_t *err) {
    text *own = NULL;
    if (source.length > KEL_VSTRING_INLINE) {
        own = malloc(sizeof *own + source.length);
        if (own == NULL) {
            own_report(handle, err, ENOMEM);
            return;
        }
        own->owner = string;
        memcpy(own->bytes, source.bytes, source.length);
    }
    char inside[KEL_VSTRING_INLINE] = {0};
    if (own == NULL) memcpy(inside, source.bytes, source.length);
    drop_text(string);
    string->borrowed = 0;
    string->length = source.length;
    memcpy(string->text.bytes, inside, sizeof inside);
    if (own == NULL) return;
    own->next = texts;
    texts = own;
    point_to(string, own->bytes);
}

void own_string_refer(kel_vstring *string, const char *bytes) {
    memset(string, 0, sizeof *string);
    string->descriptor = &_kel_vstring_type_info_internal;
    string->length = (uint32_t)strlen(bytes);
    if (string->length <= KEL_VSTRING_INLINE) {
        memcpy(string->text.bytes, bytes, string->length);
    } else {
        string->borrowed = 1;
        point_to(string, bytes);
    }
}

/* ---- Operations of every type, with a format for the value as text ---- */

#define SHOWN(value, type, format, ...)                                                            \
    type *value##_get(kel_handle *handle, uint32_t tx_id, type *field, uint32_t *err) {            \
        (void)handle, (void)tx_id;                                                                 \
        return *err == 0 ? field : NULL;                                                           \
    }                                                                                              \
    uint32_t value##_print(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,      \
                           const char *name, const type *field, uint32_t remaining,                \
                           uint32_t *err) {                                                        \
        (void)tx_id;                                                                               \
        return own_put(handle, buffer, remaining, err, "%*s%s: " format "\n", (int)indent, "",     \
                       name, __VA_ARGS__);                                                         \
    }                                                                                              \
    uint32_t value##_to_xml(kel_handle *handle, uint32_t tx_id, const char *name, char *buffer,    \
                            const type *field, uint32_t remaining, uint8_t state_flag,             \
                            uint32_t *err) {                                                       \
        (void)tx_id, (void)state_flag;                                                             \
        return own_put(handle, buffer, remaining, err, "<%s>" format "</%s>\n", name, __VA_ARGS__, \
                       name);                                                                      \
    }                                                                                              \
    void value##_from_xml(kel_handle *handle, uint32_t tx_id, const char *path, void *document,    \
                          type *field, uint32_t *err, char *message, uint32_t message_len) {       \
        (void)tx_id, (void)path, (void)document, (void)field, (void)message, (void)message_len;    \
        if (*err == 0) own_report(handle, err, ENOENT);                                            \
    }

/* An integer: no header, and the same bytes on the wire as in memory. */
#define SCALAR(value, type, format, wide)                                                         \
    SHOWN(value, type, format, (wide)(field != NULL ? *field : 0))                                \
    type value##_get_value(kel_handle *handle, uint32_t tx_id, const type *access,                \
                           uint32_t *err) {                                                       \
        (void)handle, (void)tx_id;                                                                \
        return *err == 0 && access != NULL ? *access : (type)0;                                   \
    }                                                                                             \
    void value##_set_value(kel_handle *handle, uint32_t tx_id, type *field, type new_value,       \
                           uint32_t *err) {                                                       \
        if (*err != 0) return;                                                                    \
        if (field == NULL) {                                                                      \
            own_report(handle, err, ENOENT);                                                      \
            return;                                                                               \
        }                                                                                         \
        handle->write_log_hook(handle->arena, field, sizeof *field, tx_id);                       \
        *field = new_value;                                                                       \
    }                                                                                             \
    void value##_set(kel_handle *handle, uint32_t tx_id, type *field, const type *source,         \
                     uint32_t *err) {                                                             \
        value##_set_value(handle, tx_id, source != NULL ? field : NULL,                           \
                          source != NULL ? *source : (type)0, err);                               \
    }                                                                                             \
    uint32_t value##_hash(const type *field, uint32_t seed) {                                     \
        return field != NULL ? SuperFastHash((const char *)field, sizeof *field, seed) : seed;    \
    }                                                                                             \
    uint32_t value##_len(kel_handle *handle, uint32_t tx_id, const type *field) {                 \
        (void)handle, (void)tx_id;                                                                \
        return sizeof *field;                                                                     \
    }                                                                                             \
    uint32_t value##_marshal(kel_handle *handle, uint32_t tx_id, void *buffer, const type *field, \
                             uint32_t remaining, uint32_t *err) {                                 \
        (void)tx_id;                                                                              \
        if (!own_enter(handle, sizeof *field, remaining, err)) return 0;                          \
        const type plain = field != NULL ? *field : (type)0;                                      \
        memcpy(buffer, &plain, sizeof plain);                                                     \
        return sizeof plain;                                                                      \
    }                                                                                             \
    uint32_t value##_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,            \
                               type *field, uint32_t remaining, uint32_t in_place,                \
                               uint32_t *err) {                                                   \
        (void)in_place;                                                                           \
        if (!own_enter(handle, sizeof *field, remaining, err)) return 0;                          \
        type plain;                                                                               \
        memcpy(&plain, buffer, sizeof plain);                                                     \
        value##_set_value(handle, tx_id, field, plain, err);                                      \
        return *err == 0 ? (uint32_t)sizeof plain : 0;                                            \
    }                                                                                             \
    uint32_t value##_backpropagate(kel_handle *handle, uint32_t tx_id, type *field,               \
                                   uint32_t *err) {                                               \
        (void)handle, (void)tx_id, (void)field, (void)err;                                        \
        return 0;                                                                                 \
    }

SCALAR(u_int8, uint8_t, "%u", unsigned)
SCALAR(u_int16, uint16_t, "%u", unsigned)
SCALAR(u_int32, uint32_t, "%u", unsigned)
SCALAR(u_int64, uint64_t, "%llu", unsigned long long)
SCALAR(int32, int32_t, "%d", int)
SCALAR(int64, int64_t, "%lld", long long)

/* ---- Types with an Object Header ---- */

#define HEADED(value, type)                                                                       \
    void value##_initialize(kel_handle *handle, uint32_t tx_id, type *field,                      \
                            const kel_type_info *descriptor, uint32_t log_writes, uint32_t quiet, \
                            uint8_t flags, void *sttr_base, uint32_t *err) {                      \
        (void)handle, (void)tx_id, (void)log_writes, (void)quiet, (void)sttr_base;                \
        if (*err != 0) return;                                                                    \
        field->descriptor = descriptor;                                                           \
        field->variant = 0;                                                                       \
        field->created_variant = 0;                                                               \
        field->flags = flags;                                                                     \
    }                                                                                             \
    void value##_set_instance_embedded(kel_handle *handle, uint32_t tx_id, type *field) {         \
        (void)handle, (void)tx_id;                                                                \
        if (field != NULL) field->flags |= OBJ_EMBEDDED;                                          \
    }                                                                                             \
    static uint32_t take_mark_of_##value(type *field, const uint32_t *err) {                      \
        if (*err != 0 || kel_get_instance_modified(field, 0, 0) == 0) return 0;                   \
        kel_set_instance_modified(field, 0, 0, 0);                                                \
        return 1;                                                                                 \
    }

#define OWNING(value, type, drop)                                                                \
    HEADED(value, type)                                                                          \
    uint32_t value##_type_type_backpropagate(kel_handle *handle, uint32_t tx_id, type *field,    \
                                             uint32_t *err) {                                    \
        (void)handle, (void)tx_id;                                                               \
        return take_mark_of_##value(field, err);                                                 \
    }                                                                                            \
    void value##_destroy_internal(kel_handle *handle, uint32_t tx_id, type *field,               \
                                  uint32_t release) {                                            \
        (void)handle, (void)tx_id, (void)release;                                                \
        drop(field);                                                                             \
    }                                                                                            \
    uint32_t value##_get_oid_count(kel_handle *handle, uint32_t tx_id, type *field,              \
                                   uint32_t *err) {                                              \
        (void)handle, (void)tx_id, (void)field, (void)err;                                       \
        return 0;                                                                                \
    }                                                                                            \
    void value##_get_object_references(kel_handle *handle, uint32_t tx_id, type *field,          \
                                       uint64_t *references, uint32_t count, uint32_t *err) {    \
        (void)handle, (void)tx_id, (void)field, (void)references, (void)count, (void)err;        \
    }                                                                                            \
    void value##_offset_update(kel_handle *handle, uint32_t tx_id, type *field, void *sttr_base, \
                               uint32_t *err) {                                                  \
        (void)handle, (void)tx_id, (void)field, (void)sttr_base, (void)err;                      \
    }                                                                                            \
    void value##_offset_remove(kel_handle *handle, uint32_t tx_id, type *field, uint32_t *err) { \
        (void)handle, (void)tx_id, (void)field, (void)err;                                       \
    }

/* The order of pointers of which one is null: null comes first. */
#define ORDER_OF_NULLS(a, b) \
    if ((a) == NULL || (b) == NULL) return ((a) != NULL) - ((b) != NULL)

/* ---- Truth values ---- */

static int is_true(const kel_boolean *field) { return field != NULL && field->value != 0; }

HEADED(kel_boolean, kel_boolean)
SHOWN(kel_boolean, kel_boolean, "%s", is_true(field) ? "true" : "false")

uint32_t kel_boolean_get_value(kel_handle *handle, uint32_t tx_id, const kel_boolean *access,
                               uint32_t *err) {
    (void)handle, (void)tx_id;
    return *err == 0 && is_true(access);
}

void kel_boolean_set_value(kel_handle *handle, uint32_t tx_id, kel_boolean *field,
                           uint32_t new_value, uint32_t *err) {
    u_int32_set_value(handle, tx_id, field != NULL ? &field->value : NULL, new_value != 0, err);
}

void kel_boolean_set(kel_handle *handle, uint32_t tx_id, kel_boolean *field,
                     const kel_boolean *source, uint32_t *err) {
    kel_boolean_set_value(handle, tx_id, source != NULL ? field : NULL, (uint32_t)is_true(source),
                          err);
}

uint32_t kel_boolean_hash(const kel_boolean *field, uint32_t seed) {
    return u_int32_hash(field != NULL ? &field->value : NULL, seed);
}

uint32_t kel_boolean_len(kel_handle *handle, uint32_t tx_id, const kel_boolean *field) {
    (void)handle, (void)tx_id, (void)field;
    return 1;
}

uint32_t kel_boolean_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                             const kel_boolean *field, uint32_t remaining, uint32_t *err) {
    const uint8_t plain = (uint8_t)is_true(field);
    return u_int8_marshal(handle, tx_id, buffer, &plain, remaining, err);
}

uint32_t kel_boolean_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                               kel_boolean *field, uint32_t remaining, uint32_t in_place,
                               uint32_t *err) {
    (void)in_place;
    if (!own_enter(handle, 1, remaining, err)) return 0;
    kel_boolean_set_value(handle, tx_id, field, *(const uint8_t *)buffer, err);
    return *err == 0;
}

uint32_t kel_boolean_backpropagate(kel_handle *handle, uint32_t tx_id, kel_boolean *field,
                                   uint32_t *err) {
    (void)handle, (void)tx_id;
    return take_mark_of_kel_boolean(field, err);
}

int32_t kel_boolean_compare(const kel_boolean *a, const kel_boolean *b) {
    ORDER_OF_NULLS(a, b);
    return is_true(a) - is_true(b);
}

/* ---- Strings: printed as they are ---- */

OWNING(kel_vstring, kel_vstring, drop_text)
SHOWN(kel_vstring, kel_vstring, "\"%.*s\"", (int)text_of(field).length, text_of(field).bytes)

void kel_vstring_set(kel_handle *handle, uint32_t tx_id, kel_vstring *field,
                     const kel_vstring *source, uint32_t *err) {
    if (*err != 0) return;
    if (field == NULL || source == NULL) {
        own_report(handle, err, ENOENT);
        return;
    }
    handle->write_log_hook(handle->arena, field, sizeof *field, tx_id);
    if (field != source) assign(handle, field, text_of(source), err);
}

uint32_t kel_vstring_hash(const kel_vstring *field, uint32_t seed) {
    return SuperFastHash(text_of(field).bytes, (int32_t)text_of(field).length, seed);
}

uint32_t kel_vstring_len(kel_handle *handle, uint32_t tx_id, const kel_vstring *field) {
    (void)handle, (void)tx_id;
    return 4 + text_of(field).length;
}

uint32_t kel_vstring_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                             const kel_vstring *field, uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    const span content = text_of(field);
    if (!own_enter(handle, 4ULL + content.length, remaining, err)) return 0;
    memcpy(buffer, &content.length, 4);
    memcpy((char *)buffer + 4, content.bytes, content.length);
    return 4 + content.length;
}

uint32_t kel_vstring_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                               kel_vstring *field, uint32_t remaining, uint32_t in_place,
                               uint32_t *err) {
    (void)tx_id, (void)in_place;
    uint32_t length = 0;
    if (!own_enter(handle, 4, remaining, err)) return 0;
    memcpy(&length, buffer, 4);
    if (!own_enter(handle, 4ULL + length, remaining, err)) return 0;
    assign(handle, field, (span){(const char *)buffer + 4, length}, err);
    return *err == 0 ? 4 + length : 0;
}

int32_t kel_vstring_compare(const kel_vstring *a, const kel_vstring *b) {
    ORDER_OF_NULLS(a, b);
    if (a->length != b->length) return a->length < b->length ? -1 : 1;
    return memcmp(text_of(a).bytes, text_of(b).bytes, a->length);
}

/* ---- Addresses: printed as hexadecimal digits ---- */

static void keep(const ip_address *field) { (void)field; }

typedef struct digits {
    char text[33];
} digits;

static digits digits_of(const ip_address *field) {
    digits shown = {"none"};
    const uint32_t length = field != NULL ? address_length(field->family) : 0;
    for (uint32_t i = 0; i < length; ++i) snprintf(shown.text + 2 * i, 3, "%02x", field->bytes[i]);
    return shown;
}

OWNING(ip_address, ip_address, keep)
SHOWN(ip_address, ip_address, "%s", digits_of(field).text)

static void assign_address(kel_handle *handle, uint32_t tx_id, ip_address *field, uint8_t family,
                           const uint8_t *bytes, uint32_t *err) {
    if (*err != 0) return;
    if (field == NULL || bytes == NULL) {
        own_report(handle, err, ENOENT);
        return;
    }
    uint8_t content[16] = {0};
    memcpy(content, bytes, address_length(family));
    handle->write_log_hook(handle->arena, &field->family, 1 + sizeof content, tx_id);
    field->family = family;
    memcpy(field->bytes, content, sizeof content);
}

void ip_address_set(kel_handle *handle, uint32_t tx_id, ip_address *field, const ip_address *source,
                    uint32_t *err) {
    assign_address(handle, tx_id, field, source != NULL ? source->family : 0,
                   source != NULL ? source->bytes : NULL, err);
}

uint32_t ip_address_hash(const ip_address *field, uint32_t seed) {
    if (field == NULL) return seed;
    return SuperFastHash((const char *)field->bytes, sizeof field->bytes, seed ^ field->family);
}

uint32_t ip_address_len(kel_handle *handle, uint32_t tx_id, const ip_address *field) {
    (void)handle, (void)tx_id;
    return 1 + (field != NULL ? address_length(field->family) : 0);
}

uint32_t ip_address_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                            const ip_address *field, uint32_t remaining, uint32_t *err) {
    const uint32_t length = ip_address_len(handle, tx_id, field);
    if (!own_enter(handle, length, remaining, err)) return 0;
    *(uint8_t *)buffer = field != NULL ? field->family : KEL_ADDRESS_NONE;
    if (length > 1) memcpy((uint8_t *)buffer + 1, field->bytes, length - 1);
    return length;
}

uint32_t ip_address_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                              ip_address *field, uint32_t remaining, uint32_t in_place,
                              uint32_t *err) {
    (void)in_place;
    const uint8_t *const bytes = buffer;
    if (!own_enter(handle, 1, remaining, err)) return 0;
    const uint32_t length = 1 + address_length(bytes[0]);
    if (!own_enter(handle, length, remaining, err)) return 0;
    assign_address(handle, tx_id, field, bytes[0], bytes + 1, err);
    return *err == 0 ? length : 0;
}

int32_t ip_address_compare(const ip_address *a, const ip_address *b) {
    ORDER_OF_NULLS(a, b);
    if (a->family != b->family) return a->family < b->family ? -1 : 1;
    return memcmp(a->bytes, b->bytes, sizeof a->bytes);
}
