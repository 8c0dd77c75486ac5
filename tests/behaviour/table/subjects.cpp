// SPDX-License-Identifier: Apache-2.0
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/table/subject.h"

namespace tarn::test {

using catalogue::Field;
using catalogue::Kind;

namespace {

std::string numbered(const char *format, u32 number) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

// Texts stored outside their strings, which differ in their last bytes.
std::string server_text(u32 number) { return numbered("server-%08u", number); }

// The number at the end of a key's text.
u32 number_in(const kel_vstring *string) {
    u32 length = 0;
    const char *bytes = kel_vstring_bytes(string, &length);
    const std::string text(bytes, length);
    return static_cast<u32>(
        std::strtoul(text.c_str() + text.find_first_of("0123456789"), nullptr, 10));
}

void refer(KeyValue &key, std::string text) {
    key.text = std::move(text);
    kel_vstring_refer(&key.string, key.text.data(), static_cast<u32>(key.text.size()));
    key.value = &key.string;
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

// The members of the key structure take turns in distinguishing neighbours.
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
    auto *key = static_cast<pair_key *>(const_cast<void *>(holder));
    u32 err = 0;
    u32 length = 0;
    const kel_vstring *name = pair_key_name_get(h, KEL_TX_NONE, key, &err);
    kel_vstring_bytes(name, &length);
    const ip_address *peer = pair_key_peer_get(h, KEL_TX_NONE, key, &err);
    return pair_key_port_get_value(h, KEL_TX_NONE, key, &err) << 3 | (length == 2 ? 4U : 0U) |
           static_cast<u32>(peer->bytes[3] << 1) |
           pair_key_kind_get_value(h, KEL_TX_NONE, key, &err);
}

const catalogue::Table &entry_of(const char *name) {
    const catalogue::Table *found = catalogue::schema.table(name);
    if (found == nullptr) throw std::logic_error(std::string("no table ") + name);
    return *found;
}

const char *key_name_of(const catalogue::Table &table) {
    return table.key_field != nullptr ? table.key_field->name.data() : "";
}

}  // namespace

// The first eight are stored inside their strings, the others outside.
std::string label_text(u32 number) {
    return number < 8 ? numbered("k%02u", number) : numbered("label-number-%05u", number);
}

Subject::Subject(const char *table, u32 key_count, const char *value_field,
                 std::string (*key_text)(u32))
    : TableOperations(catalogue::operations_of(entry_of(table))),
      entry(entry_of(table)),
      name(table),
      key_name(key_name_of(entry)),
      key_label(std::string(entry.key_carrier().name) + " " + key_name),
      keys(key_count),
      value_(*entry.type->find(value_field)),
      key_text_(key_text) {}

void Subject::make_key(KeyValue &key, u32 number) const {
    switch (entry.key_field->kind) {
        case Kind::vstring:
            refer(key, key_text_(number));
            break;
        case Kind::address:
            refer_address(&key.address, number);
            key.value = &key.address;
            break;
        default:
            key.number = spread(number);
            key.value = &key.number;
    }
}

void Subject::set_key(kel_handle *handle, u32 tx, void *holder, u32 number, u32 *err) const {
    if (has_key_object()) return set_pair_key(handle, tx, holder, number, err);
    const Field &field = *entry.key_field;
    KeyValue key;
    make_key(key, number);
    if (field.call.set_value != nullptr) {
        field.call.set_value(handle, tx, holder, 0, key.number, err);
    } else {
        field.call.set(handle, tx, holder, key.value, err);
    }
}

u32 Subject::get_key(kel_handle *handle, const void *holder) const {
    if (has_key_object()) return get_pair_key(handle, holder);
    const Field &field = *entry.key_field;
    void *const carrier = const_cast<void *>(holder);
    u32 err = 0;
    if (field.call.get_value != nullptr) {
        const u64 value = field.call.get_value(handle, KEL_TX_NONE, carrier, 0, &err);
        return static_cast<u32>(value) & 0x7fffffffU;
    }
    const void *value = field.call.get(handle, KEL_TX_NONE, carrier, 0, &err);
    return field.kind == Kind::address ? address_number(static_cast<const ip_address *>(value))
                                       : number_in(static_cast<const kel_vstring *>(value));
}

// A new door is at 0, which is not one of its enumerators, so it has neither a wire nor an XML
// form. Setting it leaves modified marks, which are cleared.
void Subject::prepare(kel_handle *handle, u32 tx, void *value_object, u32 *err) const {
    const Field *door = entry.type->find("door");
    if (door == nullptr) return;
    door->call.set_value(handle, tx, value_object, 0, 2, err);
    while (st_every_type_type_backpropagate(handle, tx, static_cast<st_every *>(value_object),
                                            err) != 0) {
    }
}

void Subject::set_value(kel_handle *handle, u32 tx, void *value_object, u32 value, u32 *err) const {
    value_.call.set_value(handle, tx, value_object, 0, value, err);
}

u32 Subject::get_value(kel_handle *handle, const void *value_object) const {
    u32 err = 0;
    return static_cast<u32>(
        value_.call.get_value(handle, KEL_TX_NONE, const_cast<void *>(value_object), 0, &err));
}

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

constexpr u32 many_keys = 64;

const Subject ldap_conn("tbl_ldap_conn", many_keys, "num_conns", server_text);
const Subject test_grown("tbl_test_grown", many_keys, "total");
const Subject test_label("tbl_test_label", many_keys, "a64");
const Subject test_number("tbl_test_number", many_keys, "a64");
const Subject test_address("tbl_test_address", many_keys, "a64");
const Subject test_lamp("tbl_test_lamp", 3, "a64");
const Subject test_pair("tbl_test_pair", many_keys, "count");
const Subject test_single("tbl_test_single", 3, "configured");

const Subject *const all_subjects[7] = {&ldap_conn,    &test_grown, &test_label, &test_number,
                                        &test_address, &test_lamp,  &test_pair};

}  // namespace tarn::test
