/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Moves a record between stores, in C: written as XML and as a wire frame, read back into a
 * second store, and compared as text.
 */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tarnbase/embedded.h"
#include "tarnbase/tables/tbl_service_type_info.h"

/* Large enough for any form of this record; there is no call that returns a text's length. */
enum { form_size = 2048 };

struct place {
    kel_store *store;
    kel_handle *handle;
};

static void need(uint32_t err, const char *what) {
    if (err == 0) return;
    fprintf(stderr, "exchange: %s: %s\n", what, strerror((int)err));
    exit(EXIT_FAILURE);
}

static void need_status(uint32_t status) {
    if (status == 0) return;
    fprintf(stderr, "exchange: %s\n", kel_error_text());
    exit(EXIT_FAILURE);
}

static struct place open_place(void) {
    struct place place;
    need_status(kel_store_create_private(NULL, &place.store));
    need_status(kel_handle_create(place.store, 0, &place.handle));
    return place;
}

static void close_place(const struct place *place) {
    kel_handle_destroy(place->handle);
    kel_store_close(place->store);
}

static kel_table *open_services(kel_handle *handle, const char *name) {
    uint32_t err = 0;
    kel_table *table = tbl_service_type_info_table_open(handle, KEL_TX_NONE, name, 0, &err);
    need(err, "opening a table");
    return table;
}

/* A record has two objects, its data and its key, and owns both once they are attached. */
static kel_record *insert_service(kel_handle *handle, kel_table *table, const char *name) {
    const uint32_t tx_id = KEL_TX_NONE;
    uint32_t err = 0;
    kel_record *record = tbl_service_type_info_create_record(handle, tx_id, &err);
    st_service_type_info *info = st_service_type_info_create(handle, tx_id);
    service_type_info_key *key = service_type_info_key_create(handle, tx_id);
    need(record == NULL || info == NULL || key == NULL ? ENOMEM : 0, "making a record");

    kel_vstring text;
    kel_vstring_refer(&text, name, (uint32_t)strlen(name));
    service_type_info_key_serv_type_set_value(handle, tx_id, key, 2, &err);
    service_type_info_key_serv_name_set(handle, tx_id, key, &text, &err);
    st_service_type_info_enabled_set_value(handle, tx_id, info, 1, &err);
    st_service_type_info_flags_set_value(handle, tx_id, info, 6, &err);
    tbl_service_type_info_st_service_type_info_set_field(handle, tx_id, record, info);
    tbl_service_type_info_service_type_info_key_set_field(handle, tx_id, record, key);
    tbl_service_type_info_insert(handle, tx_id, table, record, &err);
    need(err, "inserting");
    return record;
}

static uint32_t print_record(kel_handle *handle, const kel_record *record, char *text) {
    uint32_t err = 0;
    memset(text, ' ', form_size); /* print skips the indentation of closing braces */
    uint32_t length = tbl_service_type_info_table_record_print(handle, KEL_TX_NONE, text, record,
                                                               form_size, &err);
    need(err, "printing");
    return length;
}

static int has_text(kel_handle *handle, const kel_record *record, const char *text,
                    uint32_t length) {
    char own[form_size];
    return print_record(handle, record, own) == length && memcmp(own, text, length) == 0;
}

/* Reads each form into a table, in one transaction. */
static void receive(const struct place *place, const char *xml, uint32_t xml_length,
                    const void *wire, uint32_t wire_length) {
    uint32_t tx_id;
    uint32_t err = 0;
    char message[256] = "";
    kel_handle *handle = place->handle;
    kel_table *from_xml = open_services(handle, "from xml");
    kel_table *from_wire = open_services(handle, "from wire");
    kel_xml_document *document = kel_xml_parse(xml, xml_length);
    need_status(document == NULL ? EINVAL : 0);

    need_status(kel_transaction_begin(handle, &tx_id));
    kel_record *record = tbl_service_type_info_table_record_from_xml(handle, tx_id, document, &err,
                                                                     message, sizeof message);
    need(err, "reading XML");
    tbl_service_type_info_insert(handle, tx_id, from_xml, record, &err);
    tbl_service_type_info_table_record_unmarshal(handle, tx_id, &record, wire, wire_length, 0,
                                                 &err);
    need(err, "reading a wire frame");
    tbl_service_type_info_insert(handle, tx_id, from_wire, record, &err);
    need(err, "inserting");
    need_status(kel_transaction_commit(handle, tx_id));
    kel_xml_free(document);
}

/* Searches by a key object, which is made in the store for the search. */
static kel_record *find_service(kel_handle *handle, kel_table *table, const char *name) {
    uint32_t err = 0;
    kel_vstring text;
    kel_vstring_refer(&text, name, (uint32_t)strlen(name));
    service_type_info_key *key = tbl_service_type_info_pkey_create(handle, KEL_TX_NONE);
    need(key == NULL ? ENOMEM : 0, "making a key");
    service_type_info_key_serv_type_set_value(handle, KEL_TX_NONE, key, 2, &err);
    service_type_info_key_serv_name_set(handle, KEL_TX_NONE, key, &text, &err);
    kel_record *found = tbl_service_type_info_search(handle, KEL_TX_NONE, table, key, 0, &err);
    tbl_service_type_info_pkey_destroy(handle, KEL_TX_NONE, key);
    need(found == NULL && err == 0 ? ENOENT : err, "searching");
    return found;
}

int main(void) {
    const char *name = "framed <ppp>";
    char xml[form_size];
    char text[form_size];
    unsigned char wire[form_size];
    uint32_t err = 0;
    struct place here = open_place();
    kel_record *record = insert_service(here.handle, open_services(here.handle, "services"), name);
    uint32_t xml_length = tbl_service_type_info_table_record_to_xml(here.handle, KEL_TX_NONE, xml,
                                                                    record, sizeof xml, &err);
    uint32_t wire_length = tbl_service_type_info_table_record_marshal(
        here.handle, KEL_TX_NONE, wire, record, sizeof wire, &err);
    need(err, "writing the forms");
    uint32_t length = print_record(here.handle, record, text);
    printf("%.*s%u bytes on the wire\n", (int)xml_length, xml, (unsigned)wire_length);

    struct place there = open_place();
    receive(&there, xml, xml_length, wire, wire_length);
    kel_table *from_xml = open_services(there.handle, "from xml");
    kel_table *from_wire = open_services(there.handle, "from wire");
    kel_record *first = find_service(there.handle, from_xml, name);
    kel_record *second = find_service(there.handle, from_wire, name);
    char read[form_size];
    printf("%.*s", (int)print_record(there.handle, first, read), read);
    int same =
        has_text(there.handle, first, text, length) && has_text(there.handle, second, text, length);
    puts(same ? "the same record three times" : "the records differ");

    close_place(&there);
    close_place(&here);
    return same ? EXIT_SUCCESS : EXIT_FAILURE;
}
