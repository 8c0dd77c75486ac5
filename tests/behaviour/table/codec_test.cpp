// SPDX-License-Identifier: Apache-2.0
// Records and keys on the wire, and the modified test.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

constexpr u32 header_size = 27;
constexpr u32 frame_size = 43;
constexpr u8 untouched = 0xa5;

using Bytes = std::vector<u8>;

class Wire : public TableTest {
 protected:
    u32 object_len(const kel_record *record) { return s.object.len(handle, tx, record->object); }
    u32 key_len(const kel_record *record) {
        return s.has_key_object() ? s.key_object.len(handle, tx, record->key_object) : 0;
    }
    Bytes marshalled(const kel_record *record) {
        Bytes bytes(s.plain.len(handle, tx, record));
        EXPECT_EQ(
            s.plain.marshal(handle, tx, bytes.data(), record, static_cast<u32>(bytes.size()), &err),
            bytes.size());
        EXPECT_EQ(err, 0U);
        return bytes;
    }
    std::string empty_text(const char *type) {
        return std::string("(ERR): Failed to marshal ") + s.name + " record: Field " + type +
               " is empty";
    }
    void expect_same(kel_record *a, kel_record *b) {
        EXPECT_EQ(s.object.compare(a->object, b->object), 0);
        if (s.has_key_object()) {
            EXPECT_EQ(s.key_object.compare(a->key_object, b->key_object), 0);
        }
    }
};
TARN_EACH_TABLE_AND_MODE(Wire);

TEST_P(Wire, ARecordIsHeaderIdentityAndObjects) {
    kel_record *record = make(1, 7, 5);
    handle->header_stamp = 0x01020304;
    const u32 whole = frame_size + object_len(record) + key_len(record);
    EXPECT_EQ(s.plain.len(handle, tx, record), whole);
    EXPECT_EQ(s.unsafe.len(handle, tx, record), whole);
    EXPECT_EQ(s.cr.len(handle, record), whole);
    spies.clear();
    const Bytes bytes = marshalled(record);
    EXPECT_EQ(0, std::memcmp(bytes.data() + header_size, s.luid, 16));
    Bytes object(object_len(record));
    s.object.marshal(handle, tx, object.data(), record->object, object_len(record), &err);
    EXPECT_EQ(0, std::memcmp(bytes.data() + frame_size, object.data(), object.size()));
    if (s.has_key_object()) {
        Bytes key(key_len(record));
        s.key_object.marshal(handle, tx, key.data(), record->key_object, key_len(record), &err);
        EXPECT_EQ(0,
                  std::memcmp(bytes.data() + frame_size + object.size(), key.data(), key.size()));
    }
    const kel_message_header &header = spies.last_header;
    EXPECT_EQ(header.marker, 188U);
    for (const u8 filler : header.filler) EXPECT_EQ(filler, 255U);
    EXPECT_EQ(header.state_tracked != 0, GetParam().mode == Mode::tracking);
    EXPECT_EQ(header.stamp, 0x01020304U);
    EXPECT_EQ(header.length, whole);
    EXPECT_EQ(spies.of("_kel_message_header_marshal").at(0).arguments, std::vector<u64>{27});
}

TEST_P(Wire, PlainUnsafeAndCrFormsWriteTheSame) {
    kel_record *record = make(1, 1, 5);
    const Bytes bytes = marshalled(record);
    const u32 length = static_cast<u32>(bytes.size());
    Bytes other(length);
    EXPECT_EQ(s.unsafe.marshal(handle, tx, other.data(), record, length, &err), length);
    EXPECT_EQ(other, bytes);
    Bytes cr(length);
    EXPECT_EQ(s.cr.marshal(handle, record, cr.data(), length), length);
    EXPECT_EQ(cr, bytes);
    EXPECT_EQ(s.cr.marshal(handle, record, cr.data(), 26), 0xffffffffU);
    EXPECT_EQ(handle->last_error, 90U);
    EXPECT_EQ(s.cr.marshal(handle, record, cr.data(), length), 0xffffffffU);
    EXPECT_EQ(s.cr.len(handle, record), 0U);
    EXPECT_EQ(handle->last_error, 90U);
}

TEST_P(Wire, ABufferTooShortForTheFrameIsErrorNinety) {
    kel_record *record = make(1);
    const struct {
        u32 length, result, zeroed;
    } cases[] = {{0, 0, 0},    {26, 0, 0},   {0x80000000U, 0, 0},
                 {27, 27, 27}, {30, 27, 27}, {42, 27, 27}};
    for (const auto &c : cases) {
        Bytes buffer(64, untouched);
        err = 0;
        EXPECT_EQ(s.plain.marshal(handle, tx, buffer.data(), record, c.length, &err), c.result)
            << c.length;
        EXPECT_EQ(err, 90U) << c.length;
        EXPECT_EQ(handle->last_error, 90U);
        for (u32 i = 0; i < 64; ++i) EXPECT_EQ(buffer[i], i < c.zeroed ? 0 : untouched);
    }
    EXPECT_EQ(spies.count("_kel_message_header_marshal"), 0U);
}

TEST_P(Wire, AFrameWithAFailureInItHasNoHeader) {
    kel_record *record = make(1);
    const u32 length = frame_size + 7;    // the object's first fields don't fit
    Bytes buffer(length + 1, untouched);  // a state byte may land behind the end
    s.plain.marshal(handle, tx, buffer.data(), record, length, &err);
    EXPECT_EQ(err, 90U);
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + header_size), Bytes(header_size, 0));
    EXPECT_EQ(spies.count("_kel_message_header_marshal"), 0U);
}

TEST_P(Wire, ARecordWithoutAnObjectIsErrorTwo) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    Bytes buffer(64, untouched);
    TraceCapture trace;
    EXPECT_EQ(s.plain.marshal(handle, tx, buffer.data(), record, 64, &err), frame_size);
    EXPECT_EQ(err, 2U);
    EXPECT_EQ(handle->last_error, 2U);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, empty_text(s.object.type_name)), 1U) << trace.all();
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + header_size), Bytes(header_size, 0));
    EXPECT_EQ(0, std::memcmp(buffer.data() + header_size, s.luid, 16));

    // The missing object has the last word over a missing room.
    err = 0;
    EXPECT_EQ(s.plain.marshal(handle, tx, buffer.data(), record, 10, &err), 0U);
    EXPECT_EQ(err, 2U);
}

TEST_P(Wire, ARecordWithoutItsKeyObjectIsErrorTwoBehindTheObject) {
    if (!s.has_key_object()) return;
    kel_record *record = make(1);
    void *key = s.key_object.detach(handle, tx, record);
    const u32 length = frame_size + object_len(record);
    Bytes buffer(length + 64);
    TraceCapture trace;
    EXPECT_EQ(s.plain.marshal(handle, tx, buffer.data(), record, length + 64, &err), length);
    EXPECT_EQ(err, 2U);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, empty_text(s.key_object.type_name)), 1U) << trace.all();
    EXPECT_EQ(spies.count("_kel_message_header_marshal"), 0U);
    s.key_object.destroy(handle, tx, key);
}

TEST_P(Wire, ARecordIsReadBackWithSourceOne) {
    kel_record *record = make(1, 7, 5);
    const Bytes bytes = marshalled(record);
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        kel_record *read = nullptr;
        EXPECT_EQ(form->unmarshal(handle, tx, &read, bytes.data(), static_cast<u32>(bytes.size()),
                                  0, &err),
                  bytes.size());
        ASSERT_EQ(err, 0U);
        ASSERT_NE(read, nullptr);
        expect_same(read, record);
        EXPECT_EQ(key_of(read), 1U);
        EXPECT_EQ(s.get_value(handle, read->object), 5U);
        EXPECT_EQ(read->src, KEL_SOURCE_DEFAULT);
        EXPECT_EQ(read->ref_count, 1U);
        EXPECT_EQ(read->flags, 0U);
        insert(read);
        destroy(read);
    }
}

TEST_P(Wire, ARecordIsReadIntoOneThatIsThere) {
    const Bytes bytes = marshalled(make(1, 1, 5));
    kel_record *target = make(2, 7, 6);
    kel_record *const same = target;
    void *const object = target->object;
    EXPECT_EQ(s.plain.unmarshal(handle, tx, &target, bytes.data(), static_cast<u32>(bytes.size()),
                                1, &err),
              bytes.size());
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(target, same);
    EXPECT_EQ(target->object, object);
    EXPECT_EQ(target->src, 7U);
    EXPECT_EQ(key_of(target), 1U);
    EXPECT_EQ(s.get_value(handle, target->object), 5U);
}

TEST_P(Wire, ReadingInPlaceNeedsARecordWithItsObjects) {
    const Bytes bytes = marshalled(make(1));
    const u32 length = static_cast<u32>(bytes.size());
    kel_record *target = nullptr;
    EXPECT_EQ(s.plain.unmarshal(handle, tx, &target, bytes.data(), length, 1, &err), 0U);
    EXPECT_EQ(err, 2U);
    EXPECT_EQ(handle->last_error, 2U);
    EXPECT_EQ(target, nullptr);

    err = 0;
    target = s.plain.create_record(handle, tx, &err);
    kel_record *const same = target;
    EXPECT_EQ(s.plain.unmarshal(handle, tx, &target, bytes.data(), length, 1, &err), frame_size);
    EXPECT_EQ(err, 2U);
    EXPECT_EQ(target, same);
    EXPECT_EQ(target->object, nullptr);
    err = 0;
    destroy(target);
}

TEST_P(Wire, ReadingWithoutMemoryIsErrorTwelve) {
    const Bytes bytes = marshalled(make(1));
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_record *read = nullptr;
    EXPECT_EQ(
        s.plain.unmarshal(handle, tx, &read, bytes.data(), static_cast<u32>(bytes.size()), 0, &err),
        0U);
    EXPECT_EQ(err, 12U);
    EXPECT_EQ(handle->last_error, 12U);
    EXPECT_EQ(read, nullptr);
}

TEST_P(Wire, ARecordWhoseObjectCannotBeMadeIsStoredAllTheSame) {
    const Bytes bytes = marshalled(make(1));
    kel_record *read = nullptr;
    kel_store_fail_allocation(session.store(), 2);
    EXPECT_EQ(
        s.plain.unmarshal(handle, tx, &read, bytes.data(), static_cast<u32>(bytes.size()), 0, &err),
        frame_size);
    kel_store_fail_allocation(session.store(), 0);
    EXPECT_EQ(err, 12U);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->object, nullptr);
    err = 0;
    destroy(read);
}

TEST_P(Wire, AFrameThatEndsEarlyLeavesTheRecordWithTheError) {
    const Bytes bytes = marshalled(make(1));
    kel_record *read = nullptr;
    EXPECT_EQ(s.plain.unmarshal(handle, tx, &read, bytes.data(), 20, 0, &err), 16U);
    EXPECT_EQ(err, 90U);
    ASSERT_NE(read, nullptr);
    EXPECT_NE(read->object, nullptr);
    err = 0;
    destroy(read);

    read = nullptr;
    s.plain.unmarshal(handle, tx, &read, bytes.data(), frame_size + 8, 0, &err);
    EXPECT_EQ(err, 90U);
    ASSERT_NE(read, nullptr);
    err = 0;
    destroy(read);
}

TEST_P(Wire, IdentityAndHeaderAreNotLookedAt) {
    kel_record *record = make(1, 1, 5);
    Bytes bytes = marshalled(record);
    std::memset(bytes.data(), untouched, frame_size);
    kel_record *read = nullptr;
    EXPECT_EQ(
        s.plain.unmarshal(handle, tx, &read, bytes.data(), static_cast<u32>(bytes.size()), 0, &err),
        bytes.size());
    EXPECT_EQ(err, 0U);
    expect_same(read, record);
    destroy(read);
}

TEST_P(Wire, EnteredWithAnErrorOnlyTraceIt) {
    kel_record *record = make(1);
    Bytes buffer(4096, untouched);
    const Bytes before = buffer;
    const std::string name = s.name;
    const std::string error = std::strerror(5);
    handle->last_error = 22;
    err = 5;
    spies.clear();
    HookRecorder hooks(handle);
    TraceCapture trace;
    kel_record *read = nullptr;
    void *pkey = nullptr;
    EXPECT_EQ(s.plain.marshal(handle, tx, buffer.data(), record, 4096, &err), 0U);
    EXPECT_EQ(s.plain.pkey_marshal(handle, tx, buffer.data(), record, 4096, &err), 0U);
    EXPECT_EQ(
        trace.count(KEL_TRACE_DEBUG, "(debug): Error present in call to table marshal: " + error),
        2U)
        << trace.all();
    EXPECT_EQ(s.plain.unmarshal(handle, tx, &read, buffer.data(), 4096, 0, &err), 0U);
    EXPECT_EQ(trace.count(KEL_TRACE_DEBUG,
                          "(debug): Error present in call to " + name + " unmarshal: " + error),
              1U)
        << trace.all();
    EXPECT_EQ(s.plain.pkey_unmarshal(handle, tx, &pkey, buffer.data(), 4096, &err), 0U);
    EXPECT_EQ(trace.count(KEL_TRACE_DEBUG, "(debug): Error present in call to " + name +
                                               " pkey unmarshal: " + error),
              1U)
        << trace.all();
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 0U);
    EXPECT_EQ(trace.count(KEL_TRACE_DEBUG, "(debug): Error present in call to table is modified: " +
                                               error + " for " + name),
              1U)
        << trace.all();
    EXPECT_EQ(err, 5U);
    EXPECT_EQ(handle->last_error, 22U);
    EXPECT_EQ(read, nullptr);
    EXPECT_EQ(pkey, nullptr);
    EXPECT_EQ(buffer, before);
    EXPECT_TRUE(spies.calls.empty());
    EXPECT_TRUE(hooks.events.empty());
}

TEST_P(Wire, AKeyTravelsWithoutAFrame) {
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
    EXPECT_EQ(err, 90U);
    EXPECT_EQ(handle->last_error, 90U);
    EXPECT_EQ(bytes, Bytes(length + 1, untouched));
}

TEST_P(Wire, AKeyIsReadToAnAddressOnly) {
    const u8 bytes[64] = {};
    EXPECT_EQ(s.plain.pkey_unmarshal(handle, tx, nullptr, bytes, 64, &err), 0U);
    EXPECT_EQ(err, 14U);
    EXPECT_EQ(handle->last_error, 14U);
}

TEST_P(Wire, AKeyReadWithoutMemoryIsErrorTwelve) {
    const u8 bytes[64] = {};
    void *pkey = nullptr;
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    EXPECT_EQ(s.plain.pkey_unmarshal(handle, tx, &pkey, bytes, 64, &err), 0U);
    EXPECT_EQ(err, 12U);
    EXPECT_EQ(handle->last_error, 12U);
    EXPECT_EQ(pkey, nullptr);
}

TEST_P(Wire, AKeyIsStoredAlsoWhenItsReadFails) {
    const u8 bytes[64] = {};
    void *pkey = nullptr;
    s.plain.pkey_unmarshal(handle, tx, &pkey, bytes, 0, &err);
    EXPECT_NE(err, 0U);
    EXPECT_NE(pkey, nullptr);
    s.plain.pkey_destroy(handle, tx, pkey);
}

TEST_P(Wire, AModifiedRecordSaysSoOnce) {
    kel_record *record = put(1);
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 0U);
    s.set_value(handle, tx, record->object, 6, &err);
    TraceCapture trace;
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 1U);
    EXPECT_EQ(trace.count(KEL_TRACE_INFO, "(info): Record was modified"), 1U) << trace.all();
    EXPECT_EQ(s.unsafe.is_modified(handle, tx, record, &err), 0U);
    s.set_value(handle, tx, record->object, 6, &err);
    EXPECT_EQ(s.unsafe.is_modified(handle, tx, record, &err), 1U);
    EXPECT_EQ(err, 0U);
}

TEST_P(Wire, AModifiedKeyObjectCountsToo) {
    if (!s.has_key_object()) return;
    kel_record *record = put(1);
    s.set_key(handle, tx, record->key_object, 1, &err);
    EXPECT_EQ(s.plain.is_modified(handle, tx, record, &err), 1U);
}

class LdapWire : public LdapTest {};

TEST_F(LdapWire, HasTheDocumentedOffsets) {
    kel_record *record = make(1, 1, 0x01020304);
    const std::string name = "server-00000001";
    const u32 string_len = 4 + static_cast<u32>(name.size());
    EXPECT_EQ(s.plain.len(handle, tx, record), 53 + string_len);
    Bytes bytes(53 + string_len);
    EXPECT_EQ(
        s.plain.marshal(handle, tx, bytes.data(), record, static_cast<u32>(bytes.size()), &err),
        bytes.size());
    EXPECT_EQ(bytes[0], 188U);
    EXPECT_EQ(bytes[43], 0U);
    EXPECT_EQ(bytes[44], 0U);
    EXPECT_EQ(bytes[45], 8 + string_len);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(&bytes[53]), name.size()), name);
    EXPECT_EQ(Bytes(bytes.end() - 4, bytes.end()), (Bytes{4, 3, 2, 1}));
    EXPECT_EQ(s.plain.pkey_len(handle, tx, record), string_len);
}

TEST_F(LdapWire, TakesTheFrameOfAnotherTableWhoseObjectFits) {
    kel_record *record = tbl_ldap_summary_create_record(handle, tx, &err);
    st_ldap_summary *summary = st_ldap_summary_create(handle, tx);
    const Key name(s, handle, 3);
    st_ldap_summary_sname_set(handle, tx, summary, static_cast<const kel_vstring *>(name.value()),
                              &err);
    st_ldap_summary_req_timeout_set_value(handle, tx, summary, 5, &err);
    tbl_ldap_summary_st_ldap_summary_set_field(handle, tx, record, summary);
    Bytes bytes(tbl_ldap_summary_table_record_len(handle, tx, record));
    const u32 length = static_cast<u32>(bytes.size());
    tbl_ldap_summary_table_record_marshal(handle, tx, bytes.data(), record, length, &err);
    kel_record *read = nullptr;
    EXPECT_EQ(s.plain.unmarshal(handle, tx, &read, bytes.data(), length, 0, &err), length);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(key_of(read), 3U);
    EXPECT_EQ(s.get_value(handle, read->object), 5U);
}

TEST_F(LdapWire, ARecordTravelsBetweenTrackingAndPlainHandles) {
    kel_record *record = make(1, 1, 5);
    kel_handle *tracking = session.second_handle(Mode::tracking);
    Bytes bytes(s.plain.len(tracking, tx, record));
    const u32 length = static_cast<u32>(bytes.size());
    EXPECT_EQ(length, s.plain.len(handle, tx, record) + 2);
    EXPECT_EQ(s.plain.marshal(tracking, tx, bytes.data(), record, length, &err), length);
    EXPECT_NE(spies.last_header.state_tracked, 0U);
    kel_record *read = nullptr;
    EXPECT_EQ(s.plain.unmarshal(handle, tx, &read, bytes.data(), length, 0, &err), length);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(s.object.compare(read->object, record->object), 0);
}

}  // namespace
}  // namespace tarn::test
