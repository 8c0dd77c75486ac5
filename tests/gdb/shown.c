/* SPDX-License-Identifier: Apache-2.0 */
/* A program to stop in: values of every kind, in records, outside them and destroyed. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tarnbase/embedded.h"
#include "tarnbase/tarnbase.h"

static void require(uint32_t err, const char *what) {
    if (err == 0) return;
    fprintf(stderr, "%s: %s\n", what, strerror((int)err));
    exit(EXIT_FAILURE);
}

/* Where the debugger stops. */
static void stop_here(void) {}

static st_every *make_every(kel_handle *handle, uint32_t tx_id, const kel_vstring *label,
                            const ip_address *addr) {
    uint32_t err = 0;
    st_every *every = st_every_create(handle, tx_id);
    st_every_set_all(handle, tx_id, every, 8, 1600, 320000, 64000000000U, -32, -64000000000, 1, 2,
                     3, &err);
    st_every_label_set(handle, tx_id, every, label, &err);
    st_every_addr_set(handle, tx_id, every, addr, &err);
    require(err, "st_every");
    return every;
}

static st_grown *make_grown(kel_handle *handle, int8_t variant) {
    uint32_t err = 0;
    require(kel_handle_set_variant(handle, &_st_grown_type_info_internal, variant), "variant");
    st_grown *grown = st_grown_create(handle, KEL_TX_NONE);
    st_grown_total_set_value(handle, KEL_TX_NONE, grown, 5, &err);
    st_grown_minute_set_value(handle, KEL_TX_NONE, grown, 0, 1, &err);
    st_grown_minute_set_value(handle, KEL_TX_NONE, grown, 1439, 2, &err);
    require(err, "st_grown");
    return grown;
}

static kel_record *make_pair(kel_handle *handle, uint32_t tx_id, const kel_vstring *name,
                             const ip_address *peer) {
    uint32_t err = 0;
    kel_record *record = tbl_test_pair_create_record(handle, tx_id, &err);
    pair_key *key = tbl_test_pair_pkey_create(handle, tx_id);
    st_pair *pair = st_pair_create(handle, tx_id);
    pair_key_set_all(handle, tx_id, key, 443, 7, &err);
    pair_key_name_set(handle, tx_id, key, name, &err);
    pair_key_peer_set(handle, tx_id, key, peer, &err);
    st_pair_count_set_value(handle, tx_id, pair, 9, &err);
    tbl_test_pair_pair_key_set_field(handle, tx_id, record, key);
    tbl_test_pair_st_pair_set_field(handle, tx_id, record, pair);
    require(err, "pair");
    return record;
}

static void refer_texts(kel_vstring *short_text, kel_vstring *long_text, kel_vstring *empty_text) {
    static const char words[] = "a text\twith \"quotes\", a\0nul and \xff";
    kel_vstring_refer(short_text, "twelve bytes", 12);
    kel_vstring_refer(long_text, words, sizeof words - 1);
    kel_vstring_refer(empty_text, "", 0);
}

static void refer_addresses(ip_address *ipv4, ip_address *ipv6, ip_address *no_address) {
    static const unsigned char four[] = {192, 0, 2, 1};
    static const unsigned char six[16] = {0x20, 1, 0xd, 0xb8, [15] = 1};
    ip_address_refer(ipv4, KEL_ADDRESS_IPV4, four);
    ip_address_refer(ipv6, KEL_ADDRESS_IPV6, six);
    ip_address_refer(no_address, KEL_ADDRESS_NONE, NULL);
}

int main(void) {
    kel_store *store;
    kel_handle *handle;
    uint32_t tx_id;
    uint32_t err = 0;
    require(kel_store_create_private(NULL, &store), "store");
    require(kel_handle_create(store, 0, &handle), "handle");
    kel_table *numbers = tbl_test_number_table_open(handle, KEL_TX_NONE, "numbers", 0, &err);
    kel_table *pairs = tbl_test_pair_table_open_by_id(handle, KEL_TX_NONE, 77, 0, &err);
    require(err, "tables");

    kel_vstring short_text, long_text, empty_text;
    refer_texts(&short_text, &long_text, &empty_text);
    ip_address ipv4, ipv6, no_address;
    refer_addresses(&ipv4, &ipv6, &no_address);

    require(kel_transaction_begin(handle, &tx_id), "begin");
    st_every *every = make_every(handle, tx_id, &long_text, &ipv6);
    kel_record *number = tbl_test_number_create_record(handle, tx_id, &err);
    tbl_test_number_st_every_set_field(handle, tx_id, number, every);
    tbl_test_number_insert(handle, tx_id, numbers, number, &err);
    kel_record *pair = make_pair(handle, tx_id, &short_text, &ipv4);
    tbl_test_pair_insert(handle, tx_id, pairs, pair, &err);
    require(err, "insert");
    require(kel_transaction_commit(handle, tx_id), "commit");

    st_grown *small = make_grown(handle, 0);
    st_grown *grown = make_grown(handle, 1);
    door_state *door = door_state_create(handle, KEL_TX_NONE);
    door_state_set_value(handle, KEL_TX_NONE, door, DOOR_LOCKED, &err);
    kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_ON);
    const st_point *tracked = st_point_create(handle, KEL_TX_NONE);
    lamp_state *no_lamp = NULL;
    kel_boolean *flag = st_every_flag_get(handle, KEL_TX_NONE, every, &err);
    kel_object *any = (kel_object *)every;
    void *anything = every;
    st_every_label_set(handle, KEL_TX_NONE, every, NULL, &handle->last_error);
    stop_here();

    printf("%p %p %p %p %p %p %p %p\n", (void *)small, (void *)grown, (const void *)tracked,
           (void *)no_lamp, (void *)flag, (void *)any, anything, (void *)&empty_text);
    kel_handle_destroy(handle);
    kel_store_close(store);
    return EXIT_SUCCESS;
}
