// SPDX-License-Identifier: Apache-2.0
// Keys on the wire, which have no frame.
#include <algorithm>
#include <cerrno>
#include <vector>

#include "tests/behaviour/table/wire_fixture.h"

namespace tarn::test {
namespace {

class KeyWire : public WireTest {};
TARN_EACH_TABLE_AND_MODE(KeyWire);

TEST_P(KeyWire, AKeyHasNoFrame) {
    kel_record *record = make(9 % s.keys);
    const u32 length = s.plain.pkey_len(handle, tx, record);
    EXPECT_EQ(s.unsafe.pkey_len(handle, tx, record), length);
    if (s.has_key_object()) {
        EXPECT_EQ(length, key_len(record));
    }
    Bytes bytes(length + 1, untouched);
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        std::fill(bytes.begin(), bytes.end(), untouched);
        EXPECT_EQ(form->pkey_marshal(handle, tx, bytes.data(), record, length, &err), length);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(bytes[length], untouched);
        void *pkey = nullptr;
        EXPECT_EQ(form->pkey_unmarshal(handle, tx, &pkey, bytes.data(), length, &err), length);
        EXPECT_EQ(err, 0U);
        ASSERT_NE(pkey, nullptr);
        EXPECT_EQ(s.get_key(handle, pkey), 9 % s.keys);
        form->pkey_destroy(handle, tx, pkey);
    }
    std::fill(bytes.begin(), bytes.end(), untouched);
    EXPECT_EQ(s.plain.pkey_marshal(handle, tx, bytes.data(), record, length - 1, &err), 0U);
    EXPECT_EQ(err, EMSGSIZE);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
    EXPECT_EQ(bytes, Bytes(length + 1, untouched));
}

TEST_P(KeyWire, AKeyIsNotReadInPlace) {
    kel_record *record = make(1);
    Bytes bytes(s.plain.pkey_len(handle, tx, record) + 1);
    const u32 length = static_cast<u32>(bytes.size()) - 1;
    s.plain.pkey_marshal(handle, tx, bytes.data(), record, length, &err);
    void *pkey = nullptr;
    services.clear();
    s.plain.pkey_unmarshal(handle, tx, &pkey, bytes.data(), length, &err);
    std::size_t reads = 0;
    for (const char *service :
         {"u_int32_unmarshal", "kel_vstring_unmarshal", "ip_address_unmarshal"}) {
        for (const ServiceCall &call : services.calls(service)) {
            EXPECT_EQ(call.arguments.at(5), 0U) << "in_place of " << service;
            ++reads;
        }
    }
    EXPECT_GE(reads, 1U);
    s.plain.pkey_destroy(handle, tx, pkey);
}

TEST_P(KeyWire, AReadNeedsAnAddress) {
    const u8 bytes[64] = {};
    EXPECT_EQ(s.plain.pkey_unmarshal(handle, tx, nullptr, bytes, 64, &err), 0U);
    EXPECT_EQ(err, EFAULT);
    EXPECT_EQ(handle->last_error, EFAULT);
}

TEST_P(KeyWire, AReadWithoutMemoryFailsWithEnomem) {
    const u8 bytes[64] = {};
    void *pkey = nullptr;
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    EXPECT_EQ(s.plain.pkey_unmarshal(handle, tx, &pkey, bytes, 64, &err), 0U);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(pkey, nullptr);
}

TEST_P(KeyWire, AKeyIsStoredEvenIfItsReadFails) {
    const u8 bytes[64] = {};
    void *pkey = nullptr;
    s.plain.pkey_unmarshal(handle, tx, &pkey, bytes, 0, &err);
    EXPECT_NE(err, 0U);
    EXPECT_NE(pkey, nullptr);
    s.plain.pkey_destroy(handle, tx, pkey);
}

TEST_P(KeyWire, AReadChangesOnlyTheKey) {
    kel_record *record = make(1, 1, 5);
    Bytes bytes(s.plain.pkey_len(handle, tx, record) + 1);
    const u32 length = static_cast<u32>(bytes.size()) - 1;
    s.plain.pkey_marshal(handle, tx, bytes.data(), record, length, &err);
    void *pkey = nullptr;
    s.plain.pkey_unmarshal(handle, tx, &pkey, bytes.data(), length, &err);
    ASSERT_EQ(err, 0U);
    const Key expected(s, handle, 1);
    const Slot &carrier = s.has_key_object() ? s.key_object : s.object;
    EXPECT_EQ(carrier.type->compare(pkey, expected.object()), 0);
    EXPECT_EQ(static_cast<kel_object *>(pkey)->flags & OBJ_EMBEDDED, 0);
    s.plain.pkey_destroy(handle, tx, pkey);
}

}  // namespace
}  // namespace tarn::test
