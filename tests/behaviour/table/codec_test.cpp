// SPDX-License-Identifier: Apache-2.0
// Records written to the wire.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/table/wire_fixture.h"

namespace tarn::test {
namespace {

class Wire : public WireTest {};
TARN_EACH_TABLE_AND_MODE(Wire);

TEST_P(Wire, ARecordIsHeaderIdentityAndObjects) {
    kel_record *record = make(1, 7, 5);
    handle->header_stamp = 0x01020304;
    const u32 whole = frame_size + object_len(record) + key_len(record);
    EXPECT_EQ(s.plain.len(handle, tx, record), whole);
    EXPECT_EQ(s.unsafe.len(handle, tx, record), whole);
    EXPECT_EQ(s.cr.len(handle, record), whole);
    kel_message_header header;
    note_header(header);
    services.clear();
    const Bytes bytes = marshalled(record);
    EXPECT_EQ(0, std::memcmp(bytes.data() + header_size, s.entry.luid, 16));
    Bytes object(object_len(record));
    s.object.type->marshal(handle, tx, object.data(), record->object, object_len(record), &err);
    EXPECT_EQ(0, std::memcmp(bytes.data() + frame_size, object.data(), object.size()));
    if (s.has_key_object()) {
        Bytes key(key_len(record));
        s.key_object.type->marshal(handle, tx, key.data(), record->key_object, key_len(record),
                                   &err);
        EXPECT_EQ(0,
                  std::memcmp(bytes.data() + frame_size + object.size(), key.data(), key.size()));
    }
    EXPECT_EQ(header.marker, 188U);
    for (const u8 filler : header.filler) EXPECT_EQ(filler, 255U);
    EXPECT_EQ(header.state_tracked != 0, GetParam().mode == Mode::tracking);
    EXPECT_EQ(header.stamp, 0x01020304U);
    EXPECT_EQ(header.length, whole);
    EXPECT_EQ(services.calls("_kel_message_header_marshal").at(0).arguments_in(4, 5),
              std::vector<u64>{27});
}

TEST_P(Wire, PlainUnsafeAndCrFormsWriteTheSameBytes) {
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
    EXPECT_EQ(handle->last_error, EMSGSIZE);
    EXPECT_EQ(s.cr.marshal(handle, record, cr.data(), length), 0xffffffffU);
    EXPECT_EQ(s.cr.len(handle, record), 0U);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
}

TEST_P(Wire, ABufferTooShortForTheFrameFailsWithEmsgsize) {
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
        EXPECT_EQ(err, EMSGSIZE) << c.length;
        EXPECT_EQ(handle->last_error, EMSGSIZE);
        for (u32 i = 0; i < 64; ++i) EXPECT_EQ(buffer[i], i < c.zeroed ? 0 : untouched);
    }
    EXPECT_EQ(services.count("_kel_message_header_marshal"), 0U);
}

TEST_P(Wire, AFailedFrameHasNoHeader) {
    kel_record *record = make(1);
    // No space for the object, or not enough for its first fields.
    const struct {
        u32 length, error;
    } cases[] = {{frame_size, ENOMEM}, {frame_size + 7, EMSGSIZE}};
    for (const auto &c : cases) {
        Bytes buffer(c.length + 1, untouched);  // a state byte may be stored after the end
        err = 0;
        EXPECT_GE(s.plain.marshal(handle, tx, buffer.data(), record, c.length, &err), frame_size);
        EXPECT_EQ(err, c.error);
        EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + header_size), Bytes(header_size, 0));
        EXPECT_EQ(0, std::memcmp(buffer.data() + header_size, s.entry.luid, 16));
        EXPECT_EQ(services.count("_kel_message_header_marshal"), 0U);
    }
}

TEST_P(Wire, ARecordWithoutAnObjectFailsWithEnoent) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    Bytes buffer(64, untouched);
    services.clear();
    TraceCapture trace;
    EXPECT_EQ(s.plain.marshal(handle, tx, buffer.data(), record, 64, &err), frame_size);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(handle->last_error, ENOENT);
    EXPECT_EQ(services.order({"kel_clear_last_error", "kel_store_err"}),
              "kel_clear_last_error kel_store_err");
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, empty_text(s.object.type->name.data())), 1U)
        << trace.all();
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + header_size), Bytes(header_size, 0));
    EXPECT_EQ(0, std::memcmp(buffer.data() + header_size, s.entry.luid, 16));

    // The error of the missing object replaces that of the short buffer.
    err = 0;
    EXPECT_EQ(s.plain.marshal(handle, tx, buffer.data(), record, 10, &err), 0U);
    EXPECT_EQ(err, ENOENT);
}

TEST_P(Wire, ARecordWithoutItsKeyObjectFailsWithEnoentAfterTheObject) {
    if (!s.has_key_object()) return;
    kel_record *record = make(1);
    void *key = s.key_object.detach(handle, tx, record);
    const u32 length = frame_size + object_len(record);
    Bytes buffer(length + 64);
    TraceCapture trace;
    EXPECT_EQ(s.plain.marshal(handle, tx, buffer.data(), record, length + 64, &err), length);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, empty_text(s.key_object.type->name.data())), 1U)
        << trace.all();
    EXPECT_EQ(services.count("_kel_message_header_marshal"), 0U);
    s.key_object.type->destroy(handle, tx, key);
}

TEST_P(Wire, EnteredWithAnErrorOnlyTraceIt) {
    kel_record *record = make(1);
    Bytes buffer(4096, untouched);
    const std::string name = s.name;
    const std::string error = std::strerror(5);
    handle->last_error = EINVAL;
    err = EIO;
    services.clear();
    HookRecorder hooks(handle);
    kel_record *read = nullptr;
    void *pkey = nullptr;
    const struct {
        std::function<u32()> call;
        std::string text;
    } cases[] = {
        {[&] { return s.plain.marshal(handle, tx, buffer.data(), record, 4096, &err); },
         "table marshal: " + error},
        {[&] { return s.plain.pkey_marshal(handle, tx, buffer.data(), record, 4096, &err); },
         "table marshal: " + error},
        {[&] { return s.plain.unmarshal(handle, tx, &read, buffer.data(), 4096, 0, &err); },
         name + " unmarshal: " + error},
        {[&] { return s.plain.pkey_unmarshal(handle, tx, &pkey, buffer.data(), 4096, &err); },
         name + " pkey unmarshal: " + error},
        {[&] { return s.plain.is_modified(handle, tx, record, &err); },
         "table is modified: " + error + " for " + name},
    };
    for (const auto &c : cases) {
        TraceCapture trace;
        EXPECT_EQ(c.call(), 0U) << c.text;
        EXPECT_EQ(trace.count(KEL_TRACE_DEBUG, "(debug): Error present in call to " + c.text), 1U)
            << trace.all();
    }
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(read, nullptr);
    EXPECT_EQ(pkey, nullptr);
    EXPECT_EQ(buffer, Bytes(4096, untouched));
    EXPECT_EQ(services.count("ptrail_wrapper"), services.calls().size()) << services.order();
    EXPECT_TRUE(hooks.events.empty());
}

TEST_P(Wire, TheHeaderIsWrittenLast) {
    kel_record *record = make(1, 1, 5);
    Bytes bytes(s.plain.len(handle, tx, record), untouched), before;
    services.at_each = [&](const ServiceCall &call) {
        if (call.name == "_kel_message_header_marshal") before = bytes;
    };
    const u32 length = static_cast<u32>(bytes.size());
    s.plain.marshal(handle, tx, bytes.data(), record, length, &err);
    ASSERT_EQ(before.size(), bytes.size());
    EXPECT_EQ(Bytes(before.begin(), before.begin() + header_size), Bytes(header_size, 0));
    EXPECT_TRUE(
        std::equal(before.begin() + header_size, before.end(), bytes.begin() + header_size));
}

TEST_P(Wire, AMissingKeyObjectReplacesTheErrorOfAValueThatDoesNotFit) {
    if (!s.has_key_object()) return;
    kel_record *record = make(1);
    void *key = s.key_object.detach(handle, tx, record);
    Bytes buffer(frame_size + 8, untouched);
    TraceCapture trace;
    s.plain.marshal(handle, tx, buffer.data(), record, frame_size + 7, &err);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR, empty_text(s.key_object.type->name.data())), 1U);
    s.key_object.type->destroy(handle, tx, key);
}

TEST_P(Wire, SourceTenantFlagsAndReferencesAreNotWritten) {
    kel_record *record = make(1, 1, 5);
    const Bytes bytes = marshalled(record);
    record->src = 7;
    record->tenant_id = 9;
    record->flags = KEL_RECORD_IN_INDEX | KEL_RECORD_PKEY_INSERTED;
    record->ref_count = 3;
    EXPECT_EQ(marshalled(record), bytes);
    kel_record *read = nullptr;
    kel_thread_set_tenant(4);
    unmarshal(read, bytes);
    EXPECT_EQ(read->src, KEL_SOURCE_DEFAULT);
    EXPECT_EQ(read->tenant_id, 4U);
    EXPECT_EQ(read->flags, 0U);
    EXPECT_EQ(read->ref_count, 1U);
}

TEST_P(Wire, AnObjectWithRaDataNeedsMoreThanItsLength) {
    kel_record *record = make(1);
    const u32 length = s.plain.len(handle, tx, record);
    kellib_update_ra_all(handle, tx, record->object, 77, 1);
    EXPECT_EQ(s.plain.len(handle, tx, record), length);
    Bytes bytes(length + 64);
    s.plain.marshal(handle, tx, bytes.data(), record, length, &err);
    EXPECT_EQ(err, EMSGSIZE);
    err = 0;
    EXPECT_GT(s.plain.marshal(handle, tx, bytes.data(), record, length + 64, &err), length);
    EXPECT_EQ(err, 0U);
}

TEST_P(Wire, OnlyAReadAllocates) {
    kel_record *record = put(1, 1, 5);
    std::vector<char> area(1U << 20, ' ');
    const u32 space = 1U << 20;
    HookRecorder hooks(handle);
    s.plain.len(handle, tx, record);
    s.plain.marshal(handle, tx, area.data(), record, space, &err);
    s.plain.pkey_len(handle, tx, record);
    s.plain.pkey_marshal(handle, tx, area.data(), record, space, &err);
    std::fill(area.begin(), area.end(), ' ');
    s.plain.print(handle, tx, area.data(), record, space, &err);
    s.plain.pkey_print(handle, tx, table, record, area.data(), space, &err);
    s.plain.to_xml(handle, tx, area.data(), record, space, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(hooks.count(Hook::alloc), 0U);
    EXPECT_EQ(hooks.count(Hook::write_log), 0U);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
}

TEST_P(Wire, EachFormClearsTheLastErrorFirst) {
    kel_record *record = make(1);
    const Bytes bytes = marshalled(record);
    const u32 length = static_cast<u32>(bytes.size());
    Bytes buffer(length + 64);
    kel_record *read = nullptr;
    void *pkey = nullptr;
    const auto expect_cleared = [&](const auto &form) {
        handle->last_error = EINVAL;
        services.clear();
        form();
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(handle->last_error, 0U);
        EXPECT_EQ(services.calls().at(0).name, "kel_clear_last_error");
    };
    expect_cleared([&] { s.plain.marshal(handle, tx, buffer.data(), record, length + 64, &err); });
    expect_cleared([&] { unmarshal(read, bytes); });
    u32 written = 0;
    expect_cleared([&] {
        written = s.plain.pkey_marshal(handle, tx, buffer.data(), record, length + 64, &err);
    });
    expect_cleared(
        [&] { s.plain.pkey_unmarshal(handle, tx, &pkey, buffer.data(), written, &err); });
    expect_cleared([&] { s.plain.is_modified(handle, tx, record, &err); });
    destroy(read);
    s.plain.pkey_destroy(handle, tx, pkey);
}

TEST_P(Wire, TheCrFormTracesAnErrorOnEntryLikeThePlainOne) {
    kel_record *record = make(1);
    Bytes buffer(64, untouched);
    handle->last_error = EINVAL;
    TraceCapture trace;
    EXPECT_EQ(s.cr.marshal(handle, record, buffer.data(), 64), 0xffffffffU);
    EXPECT_EQ(trace.count(KEL_TRACE_DEBUG, std::string("(debug): Error present in call to table "
                                                       "marshal: ") +
                                               std::strerror(EINVAL)),
              1U)
        << trace.all();
    EXPECT_EQ(s.cr.len(handle, record), 0U);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(buffer, Bytes(64, untouched));
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

TEST_F(LdapWire, ReadsTheFrameOfAnotherTableWhoseObjectFits) {
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

TEST_F(LdapWire, ARecordIsExchangedBetweenTrackingAndPlainHandles) {
    kel_record *record = make(1, 1, 5);
    kel_handle *tracking = session.second_handle(Mode::tracking);
    kel_message_header header;
    note_header(header);
    Bytes bytes(s.plain.len(tracking, tx, record));
    const u32 length = static_cast<u32>(bytes.size());
    EXPECT_EQ(length, s.plain.len(handle, tx, record) + 2);
    EXPECT_EQ(s.plain.marshal(tracking, tx, bytes.data(), record, length, &err), length);
    EXPECT_NE(header.state_tracked, 0U);
    kel_record *read = nullptr;
    EXPECT_EQ(s.plain.unmarshal(handle, tx, &read, bytes.data(), length, 0, &err), length);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(s.object.type->compare(read->object, record->object), 0);
}

}  // namespace
}  // namespace tarn::test
