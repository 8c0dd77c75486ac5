// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "tests/behaviour/table/subject_macros.h"

namespace tarn::test {

namespace {

void refer(KeyValue &key, std::string text) {
    key.text = std::move(text);
    kel_vstring_refer(&key.string, key.text.data(), static_cast<u32>(key.text.size()));
    key.value = &key.string;
}

std::string numbered(const char *format, u32 number) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

u32 number_at(const kel_vstring *string, std::size_t skip) {
    u32 length = 0;
    const char *bytes = kel_vstring_bytes(string, &length);
    return static_cast<u32>(
        std::strtoul(std::string(bytes, length).substr(skip).c_str(), nullptr, 10));
}

// Texts that lie outside their strings and differ in their last bytes.
std::string server_text(u32 number) { return numbered("server-%08u", number); }
// The first eight lie inside their strings, the others don't.
std::string label_text(u32 number) {
    return number < 8 ? numbered("k%02u", number) : numbered("label-number-%05u", number);
}
u32 label_number(const kel_vstring *string) {
    u32 length = 0;
    kel_vstring_bytes(string, &length);
    return number_at(string, length == 3 ? 1 : 13);
}

// The first eight have the high bit clear: the order is unsigned.
u32 spread(u32 number) { return number < 8 ? number : 0x80000000U + number; }

// The first eight are IPv4 addresses, the others IPv6 ones.
void refer_address(ip_address *address, u32 number) {
    u8 bytes[16] = {};
    if (number < 8) {
        bytes[0] = 10;
        bytes[3] = static_cast<u8>(number);
        ip_address_refer(address, KEL_ADDRESS_IPV4, bytes);
    } else {
        bytes[0] = 0x20;
        bytes[14] = static_cast<u8>(number >> 8);
        bytes[15] = static_cast<u8>(number);
        ip_address_refer(address, KEL_ADDRESS_IPV6, bytes);
    }
}
u32 address_number(const ip_address *address) {
    if (address->family == KEL_ADDRESS_IPV4) return address->bytes[3];
    return static_cast<u32>(address->bytes[14] << 8 | address->bytes[15]);
}

// Every member of the key structure tells neighbours apart in turn.
void set_pair_key(kel_handle *h, u32 tx, void *holder, u32 number, u32 *err) {
    auto *key = static_cast<pair_key *>(holder);
    KeyValue name;
    refer(name, (number & 4U) != 0 ? "bb" : "a");
    const u8 peer[4] = {192, 0, 2, static_cast<u8>(number >> 1 & 1U)};
    ip_address address = {};
    ip_address_refer(&address, KEL_ADDRESS_IPV4, peer);
    pair_key_port_set_value(h, tx, key, number >> 3, err);
    pair_key_name_set(h, tx, key, &name.string, err);
    pair_key_peer_set(h, tx, key, &address, err);
    pair_key_kind_set_value(h, tx, key, static_cast<u8>(number & 1U), err);
}

u32 get_pair_key(kel_handle *h, const void *holder) {
    pair_key *key = Any{holder};
    u32 err = 0;
    u32 length = 0;
    const kel_vstring *name = pair_key_name_get(h, KEL_TX_NONE, key, &err);
    kel_vstring_bytes(name, &length);
    const ip_address *peer = pair_key_peer_get(h, KEL_TX_NONE, key, &err);
    return pair_key_port_get_value(h, KEL_TX_NONE, key, &err) << 3 | (length == 2 ? 4U : 0U) |
           static_cast<u32>(peer->bytes[3] << 1) |
           pair_key_kind_get_value(h, KEL_TX_NONE, key, &err);
}

void set_every_value(kel_handle *h, u32 tx, void *object, u32 value, u32 *err) {
    st_every_a64_set_value(h, tx, Any{object}, value, err);
}
// A new door is at 0, which is none of its enumerators and so has neither wire nor
// XML form. Setting it leaves marks, which are taken back.
void prepare_every(kel_handle *h, u32 tx, void *object, u32 *err) {
    st_every_door_set_value(h, tx, Any{object}, 2, err);
    while (st_every_type_type_backpropagate(h, tx, Any{object}, err) != 0) {
    }
}
u32 get_every_value(kel_handle *h, const void *object) {
    u32 err = 0;
    return static_cast<u32>(st_every_a64_get_value(h, KEL_TX_NONE, Any{object}, &err));
}

constexpr u32 many_keys = 64;

}  // namespace

Key::Key(const Subject &subject, kel_handle *handle, u32 number)
    : subject_(subject), handle_(handle), holder_(subject.plain.pkey_create(handle, KEL_TX_NONE)) {
    u32 err = 0;
    subject.set_key(handle, KEL_TX_NONE, holder_, number, &err);
    if (err != 0) throw std::runtime_error("can't make a key");
    if (subject.has_key_object()) {
        value_.value = holder_;
    } else {
        subject.make_key(value_, number);
    }
}

Key::~Key() { subject_.plain.pkey_destroy(handle_, KEL_TX_NONE, holder_); }

const Subject ldap_conn = {
    TARN_TABLE(tbl_ldap_conn, st_ldap_conn, st_ldap_conn_sname, "sname", "st_ldap_conn sname",
               many_keys),
    .key_object = {},
    .set_key =
        [](kel_handle *h, u32 tx, void *holder, u32 number, u32 *err) {
            KeyValue key;
            refer(key, server_text(number));
            st_ldap_conn_sname_set(h, tx, Any{holder}, &key.string, err);
        },
    .get_key =
        [](kel_handle *h, const void *holder) {
            u32 err = 0;
            return number_at(st_ldap_conn_sname_get(h, KEL_TX_NONE, Any{holder}, &err), 7);
        },
    .make_key = [](KeyValue &key, u32 number) { refer(key, server_text(number)); },
    .prepare = nullptr,
    .set_value = [](kel_handle *h, u32 tx, void *object, u32 value,
                    u32 *err) { st_ldap_conn_num_conns_set_value(h, tx, Any{object}, value, err); },
    .get_value =
        [](kel_handle *h, const void *object) {
            u32 err = 0;
            return st_ldap_conn_num_conns_get_value(h, KEL_TX_NONE, Any{object}, &err);
        },
};

const Subject test_grown = {
    TARN_TABLE(tbl_test_grown, st_grown, st_grown_name, "name", "st_grown name", many_keys),
    .key_object = {},
    .set_key =
        [](kel_handle *h, u32 tx, void *holder, u32 number, u32 *err) {
            KeyValue key;
            refer(key, label_text(number));
            st_grown_name_set(h, tx, Any{holder}, &key.string, err);
        },
    .get_key =
        [](kel_handle *h, const void *holder) {
            u32 err = 0;
            return label_number(st_grown_name_get(h, KEL_TX_NONE, Any{holder}, &err));
        },
    .make_key = [](KeyValue &key, u32 number) { refer(key, label_text(number)); },
    .prepare = nullptr,
    .set_value = [](kel_handle *h, u32 tx, void *object, u32 value,
                    u32 *err) { st_grown_total_set_value(h, tx, Any{object}, value, err); },
    .get_value =
        [](kel_handle *h, const void *object) {
            u32 err = 0;
            return st_grown_total_get_value(h, KEL_TX_NONE, Any{object}, &err);
        },
};

const Subject test_label = {
    TARN_TABLE(tbl_test_label, st_every, st_every_label, "label", "st_every label", many_keys),
    .key_object = {},
    .set_key =
        [](kel_handle *h, u32 tx, void *holder, u32 number, u32 *err) {
            KeyValue key;
            refer(key, label_text(number));
            st_every_label_set(h, tx, Any{holder}, &key.string, err);
        },
    .get_key =
        [](kel_handle *h, const void *holder) {
            u32 err = 0;
            return label_number(st_every_label_get(h, KEL_TX_NONE, Any{holder}, &err));
        },
    .make_key = [](KeyValue &key, u32 number) { refer(key, label_text(number)); },
    .prepare = prepare_every,
    .set_value = set_every_value,
    .get_value = get_every_value,
};

const Subject test_number = {
    TARN_TABLE(tbl_test_number, st_every, st_every_a32, "a32", "st_every a32", many_keys),
    .key_object = {},
    .set_key = [](kel_handle *h, u32 tx, void *holder, u32 number,
                  u32 *err) { st_every_a32_set_value(h, tx, Any{holder}, spread(number), err); },
    .get_key =
        [](kel_handle *h, const void *holder) {
            u32 err = 0;
            return st_every_a32_get_value(h, KEL_TX_NONE, Any{holder}, &err) & 0x7fffffffU;
        },
    .make_key =
        [](KeyValue &key, u32 number) {
            key.number = spread(number);
            key.value = &key.number;
        },
    .prepare = prepare_every,
    .set_value = set_every_value,
    .get_value = get_every_value,
};

const Subject test_address = {
    TARN_TABLE(tbl_test_address, st_every, st_every_addr, "addr", "st_every addr", many_keys),
    .key_object = {},
    .set_key =
        [](kel_handle *h, u32 tx, void *holder, u32 number, u32 *err) {
            ip_address address = {};
            refer_address(&address, number);
            st_every_addr_set(h, tx, Any{holder}, &address, err);
        },
    .get_key =
        [](kel_handle *h, const void *holder) {
            u32 err = 0;
            return address_number(st_every_addr_get(h, KEL_TX_NONE, Any{holder}, &err));
        },
    .make_key =
        [](KeyValue &key, u32 number) {
            refer_address(&key.address, number);
            key.value = &key.address;
        },
    .prepare = prepare_every,
    .set_value = set_every_value,
    .get_value = get_every_value,
};

const Subject test_lamp = {
    TARN_TABLE(tbl_test_lamp, st_every, st_every_lamp, "lamp", "st_every lamp", 3),
    .key_object = {},
    .set_key = [](kel_handle *h, u32 tx, void *holder, u32 number,
                  u32 *err) { st_every_lamp_set_value(h, tx, Any{holder}, number, err); },
    .get_key =
        [](kel_handle *h, const void *holder) {
            u32 err = 0;
            return st_every_lamp_get_value(h, KEL_TX_NONE, Any{holder}, &err);
        },
    .make_key =
        [](KeyValue &key, u32 number) {
            key.number = number;
            key.value = &key.number;
        },
    .prepare = prepare_every,
    .set_value = set_every_value,
    .get_value = get_every_value,
};

const Subject test_pair = {
    TARN_TABLE(tbl_test_pair, st_pair, pair_key_, "", "pair_key ", many_keys),
    .key_object = TARN_SLOT(tbl_test_pair, pair_key),
    .set_key = set_pair_key,
    .get_key = get_pair_key,
    .make_key = nullptr,
    .prepare = nullptr,
    .set_value = [](kel_handle *h, u32 tx, void *object, u32 value,
                    u32 *err) { st_pair_count_set_value(h, tx, Any{object}, value, err); },
    .get_value =
        [](kel_handle *h, const void *object) {
            u32 err = 0;
            return st_pair_count_get_value(h, KEL_TX_NONE, Any{object}, &err);
        },
};

const Subject test_single = {
    TARN_TABLE(tbl_test_single, st_single, st_single_singleton_id, "singleton_id",
               "st_single singleton_id", 3),
    .key_object = {},
    .set_key = [](kel_handle *h, u32 tx, void *holder, u32 number,
                  u32 *err) { st_single_singleton_id_set_value(h, tx, Any{holder}, number, err); },
    .get_key =
        [](kel_handle *h, const void *holder) {
            u32 err = 0;
            return st_single_singleton_id_get_value(h, KEL_TX_NONE, Any{holder}, &err);
        },
    .make_key =
        [](KeyValue &key, u32 number) {
            key.number = number;
            key.value = &key.number;
        },
    .prepare = nullptr,
    .set_value = [](kel_handle *h, u32 tx, void *object, u32 value,
                    u32 *err) { st_single_configured_set_value(h, tx, Any{object}, value, err); },
    .get_value =
        [](kel_handle *h, const void *object) {
            u32 err = 0;
            return u32{st_single_configured_get_value(h, KEL_TX_NONE, Any{object}, &err)};
        },
};

const Subject *const all_subjects[7] = {&ldap_conn,    &test_grown, &test_label, &test_number,
                                        &test_address, &test_lamp,  &test_pair};

}  // namespace tarn::test
