/* SPDX-License-Identifier: Apache-2.0 */
/* The parts of the text, XML and wire form of an object. */
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "own_runtime.h"

/* ---- Text and XML ---- */

static uint32_t put(kel_handle *handle, char *buffer, uint32_t remaining, uint32_t *err,
                    const char *format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(NULL, 0, format, again);
    va_end(again);
    if (length < 0 || !own_enter(handle, (uint64_t)length, remaining, err)) return 0;
    /* The bytes after the text are the caller's: no NUL may overwrite them. */
    char *const text = malloc((size_t)length + 1);
    if (text == NULL) {
        own_report(handle, err, ENOMEM);
        return 0;
    }
    vsnprintf(text, (size_t)length + 1, format, arguments);
    memcpy(buffer, text, (size_t)length);
    free(text);
    return (uint32_t)length;
}

uint32_t own_put(kel_handle *handle, char *buffer, uint32_t remaining, uint32_t *err,
                 const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const uint32_t length = put(handle, buffer, remaining, err, format, arguments);
    va_end(arguments);
    return length;
}

uint32_t kel_snprintf(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t remaining,
                      uint32_t *err, const char *format, ...) {
    (void)tx_id;
    va_list arguments;
    va_start(arguments, format);
    const uint32_t length = put(handle, buffer, remaining, err, format, arguments);
    va_end(arguments);
    return length;
}

uint32_t kel_print_space(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                         uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    return own_put(handle, buffer, remaining, err, "%*s", (int)indent, "");
}

uint32_t start_tag(kel_handle *handle, uint32_t tx_id, char *buffer, const char *element,
                   uint32_t remaining, uint8_t state_flag, uint32_t *err) {
    (void)tx_id, (void)state_flag;
    return own_put(handle, buffer, remaining, err, "<%s>\n", element);
}

uint32_t end_tag(kel_handle *handle, uint32_t tx_id, char *buffer, const char *element,
                 uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    return own_put(handle, buffer, remaining, err, "</%s>\n", element);
}

uint32_t xml_enum_print(kel_handle *handle, uint32_t tx_id, char *buffer, const char *text,
                        uint32_t remaining, uint32_t text_len, uint32_t *err) {
    (void)tx_id;
    return own_put(handle, buffer, remaining, err, "%.*s", (int)text_len, text);
}

/* XML isn't read here: every document is empty. */
uint32_t xml_get_element_nodecount(void *document, const char *path, uint32_t *count) {
    (void)document, (void)path;
    *count = 0;
    return 0;
}

uint32_t xml_get_element_value(void *document, const char *path, char *area, uint32_t area_len,
                               uint32_t zero) {
    (void)document, (void)path, (void)area, (void)area_len, (void)zero;
    return ENOENT;
}

/* ---- Wire: little-endian, as the machines that this example is for ---- */

static uint32_t store(kel_handle *handle, void *buffer, const void *item, uint32_t length,
                      uint32_t remaining, uint32_t *err) {
    if (!own_enter(handle, length, remaining, err)) return 0;
    memcpy(buffer, item, length);
    return length;
}

uint32_t _kel_instance_variant_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                       const int8_t *variant, uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    return store(handle, buffer, variant, sizeof *variant, remaining, err);
}

uint32_t _kel_instance_variant_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                         int8_t *variant, uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    return store(handle, variant, buffer, sizeof *variant, remaining, err);
}

uint32_t _kel_instance_obj_flag_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                        const uint8_t *flags, uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    return store(handle, buffer, flags, sizeof *flags, remaining, err);
}

uint32_t _kel_instance_obj_flag_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                          uint8_t *flags, uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    return store(handle, flags, buffer, sizeof *flags, remaining, err);
}

uint32_t _kel_variant_jump_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                   const int32_t *jump, uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    return store(handle, buffer, jump, sizeof *jump, remaining, err);
}

uint32_t _kel_variant_jump_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                     int32_t *jump, uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    return store(handle, jump, buffer, sizeof *jump, remaining, err);
}

uint32_t _kel_instance_ra_data_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                       const uint64_t *ra_word, const uint8_t *ra_byte,
                                       uint32_t remaining, uint32_t *err) {
    (void)tx_id;
    if (!own_enter(handle, 9, remaining, err)) return 0;
    memcpy(buffer, ra_word, 8);
    memcpy((char *)buffer + 8, ra_byte, 1);
    return 9;
}

uint32_t _kel_instance_ra_data_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                         uint64_t *ra_word, uint8_t *ra_byte, uint32_t remaining,
                                         uint32_t *err) {
    (void)tx_id;
    if (!own_enter(handle, 9, remaining, err)) return 0;
    memcpy(ra_word, buffer, 8);
    memcpy(ra_byte, (const char *)buffer + 8, 1);
    return 9;
}

uint32_t kellib_type_header_get_state_tracking_flag(const void *first_byte) {
    return (((const uint8_t *)first_byte)[1] & OBJ_STATE_TRACKED) != 0;
}

/* The header has the same layout in memory and on the wire, where 11 zero bytes follow it. */
uint32_t _kel_message_header_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                     const kel_message_header *header, uint32_t remaining,
                                     uint32_t *err) {
    (void)tx_id;
    if (!own_enter(handle, KEL_MESSAGE_HEADER_SIZE, remaining, err)) return 0;
    memset(buffer, 0, KEL_MESSAGE_HEADER_SIZE);
    memcpy(buffer, header, sizeof *header);
    return KEL_MESSAGE_HEADER_SIZE;
}

uint32_t _kel_message_header_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                                       kel_message_header *header, uint32_t remaining,
                                       uint32_t *err) {
    (void)tx_id;
    if (!own_enter(handle, KEL_MESSAGE_HEADER_SIZE, remaining, err)) return 0;
    memcpy(header, buffer, sizeof *header);
    return KEL_MESSAGE_HEADER_SIZE;
}
