// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/every/tabled.h"

#include <stdexcept>

namespace tarn::test {

namespace {

std::string key_text(u32 number) { return std::string("key ") + static_cast<char>('a' + number); }

ip_address key_address(u32 number) {
    const u8 bytes[4] = {10, 0, 0, static_cast<u8>(number)};
    ip_address address;
    ip_address_refer(&address, KEL_ADDRESS_IPV4, bytes);
    return address;
}

u32 keep(kel_record *record, void *records) {
    static_cast<std::vector<kel_record *> *>(records)->push_back(record);
    return 0;
}

}  // namespace

// The store allocates its permanent data for a table and a tenant.
EveryTable::EveryTable() {
    table = open("first");
    for (const u16 tenant : {u16{1}, u16{2}, u16{0}}) {
        kel_thread_set_tenant(tenant);
        drop(put(0));
    }
    on("table_free", {table, &err});
    blocks = session.blocks();
    table = open("t");
    if (table == nullptr) throw std::runtime_error("the table can't be opened");
}

EveryTable::~EveryTable() { kel_thread_set_tenant(0); }

void EveryTable::TearDown() {
    kel_thread_set_tenant(0);
    for (kel_record *record : walk()) drop(record);
    for (void *each : objects_) on("pkey_destroy", {each});
    EXPECT_EQ(table->record_count, 0U);
    on("table_free", {table, &err});
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(session.blocks(), blocks) << "blocks were leaked";
}

std::string EveryTable::name(const std::string &operation) const {
    return std::string(type.name) + "_" + operation;
}

std::string EveryTable::by_key(const std::string &operation) const {
    const std::string key = composite() ? std::string(type.key_type->name) + "_"
                                        : std::string(type.type->name) + "_" + type.key->name;
    return key + "_" + operation;
}

std::string EveryTable::key_name(const std::string &operation) const {
    return name(by_key(operation));
}

// The first field of a key that can hold any number; those before it are the same in
// all keys.
const Field &EveryTable::ordering_field() const {
    if (!composite()) return *type.key;
    for (const Field &field : fields_of(*type.key_type)) {
        const FieldKind kind = field.kind;
        if (kind < FieldKind::boolean || kind == FieldKind::vstring || kind == FieldKind::address) {
            return field;
        }
    }
    throw std::logic_error("a key without a field that orders");
}

void EveryTable::set_key(void *carrier, u32 number) const {
    const Field &field = ordering_field();
    const Typed typed(key_carrier(), handle);
    const std::string set = std::string(field.name) + "_set";
    u32 error = 0;
    if (composite()) typed.fill(carrier, 1);
    if (field.kind == FieldKind::vstring) {
        const Text value(key_text(number));
        typed(set, {carrier, value.get(), &error});
    } else if (field.kind == FieldKind::address) {
        const ip_address value = key_address(number);
        typed(set, {carrier, &value, &error});
    } else {
        typed(set + "_value", {carrier, number, &error});
    }
    ASSERT_EQ(error, 0U);
}

const void *EveryTable::key(u32 number) {
    if (composite()) return key_object(number);
    switch (type.key->kind) {
        case FieldKind::vstring:
            return texts_.emplace_back(key_text(number)).get();
        case FieldKind::address:
            return &addresses_.emplace_back(key_address(number));
        default:
            return &numbers_.emplace_back(number);
    }
}

void *EveryTable::key_object(u32 number) {
    const std::string &twin = twins[objects_.size() % 2];
    objects_.push_back(on<void *>("pkey_create" + twin, {}));
    set_key(objects_.back(), number);
    return objects_.back();
}

kel_record *EveryTable::make(u32 number, u32 src) {
    auto *record = on<kel_record *>("create_record_w_src", {src, &err});
    void *value = object.create();
    object.fill(value, number);
    if (composite()) {
        void *holder = Typed(*type.key_type, handle).create();
        set_key(holder, number);
        on(slot(*type.key_type, "set_field"), {record, holder});
    } else {
        set_key(value, number);
    }
    on(slot(*type.type, "set_field"), {record, value});
    EXPECT_EQ(err, 0U);
    return record;
}

kel_record *EveryTable::put(u32 number, u32 src) {
    kel_record *record = make(number, src);
    on("insert", {table, record, &err});
    EXPECT_EQ(err, 0U);
    return record;
}

void EveryTable::drop(kel_record *record) {
    on("destroy_record", {record, &err});
    EXPECT_EQ(err, 0U);
}

void EveryTable::check(const kel_record *record, u32 number) const {
    ASSERT_NE(record, nullptr);
    ASSERT_NE(record->object, nullptr);
    for (const Field &field : fields_of(*type.type)) {
        if (&field != type.key) object.check_field(record->object, field, number);
    }
    void *expected = on<void *>("pkey_create", {});
    set_key(expected, number);
    const Typed carrier(key_carrier(), handle);
    if (composite()) {
        EXPECT_EQ(call<std::int32_t>(carrier.name("compare"), {record->key_object, expected}), 0);
    } else {
        // Equal except for the key: if that is equal too, so are the whole objects.
        object.fill(expected, number);
        set_key(expected, number);
        EXPECT_EQ(call<std::int32_t>(carrier.name("compare"), {record->object, expected}), 0);
    }
    on("pkey_destroy", {expected});
}

std::vector<kel_record *> EveryTable::walk() {
    std::vector<kel_record *> records;
    call(key_name("walk"), {table, &keep, &records, &err});
    return records;
}

kel_table *EveryTable::open(const char *table_name) {
    return on<kel_table *>("table_open", {table_name, 0, &err});
}

std::string EveryTable::text(const std::string &operation, const kel_record *record) {
    std::string buffer(256 * 1024, ' ');
    buffer.resize(on<u32>(operation, {buffer.data(), record, buffer.size(), &err}));
    EXPECT_EQ(err, 0U) << operation;
    return buffer;
}

std::vector<u8> EveryTable::frame(const kel_record *record, const std::string &twin) {
    // The last state byte is stored without checking the length.
    std::vector<u8> bytes(on<u32>("table_record_len" + twin, {record}) + 1);
    const std::size_t space = bytes.size() - 1;
    bytes.resize(on<u32>("table_record_marshal" + twin, {bytes.data(), record, space, &err}));
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(bytes.size(), space);
    return bytes;
}

}  // namespace tarn::test
