// SPDX-License-Identifier: Apache-2.0
// Each table's messages, which contain its own names.
#include <cerrno>
#include <cstring>

#include "tests/behaviour/every/tabled.h"
#include "tests/support/services.h"

namespace tarn::test {
namespace {

class TableMessages : public EveryTable {
 protected:
    void expect_once(u32 level, const std::string &text) {
        EXPECT_EQ(trace.count(level, text), 1U) << text << "\n" << trace.all();
    }
    ServiceRecorder services{handle};
    const std::string table_name = type.name;
    const std::string error = std::strerror(EINVAL);
};
TARN_EVERY_TABLE(TableMessages);

TEST_P(TableMessages, AnOpenWithoutAMappingIsTraced) {
    services.always_return("kel_oid_mapping_create", 0);
    kel_table *made = open("unmapped");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(err, 0U);
    expect_once(KEL_TRACE_ERROR, "(ERR): Failed to create mapping for " + table_name + " table");
    services.stop_failing();
    services.always_return("kel_request_oid_mapping_destroy", 1);
    on("table_free", {made, &err});
    EXPECT_EQ(err, 0U);
    services.stop_failing();
}

TEST_P(TableMessages, ARefusedFreeAndASuccessfulOneAreTraced) {
    kel_table *made = open("other");
    services.always_fail("kel_request_oid_mapping_destroy");
    on("table_free", {made, &err});
    expect_error(EINVAL);
    expect_once(KEL_TRACE_ERROR, "(ERR): " + table_name +
                                     " table free: Failed to request oid mapping destroy for "
                                     "table. Error " +
                                     error);
    services.stop_failing();
    const std::string removed = "(debug): " + table_name +
                                " table free: Successfully removed OID mapping for " + table_name;
    const std::size_t before = trace.count(KEL_TRACE_DEBUG, removed);
    on("table_free", {made, &err});
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(trace.count(KEL_TRACE_DEBUG, removed), before + 1) << trace.all();
}

TEST_P(TableMessages, ADestructionWhoseDeleteIsRefusedIsTraced) {
    kel_record *record = put(1);
    err = EIO;
    on("destroy_record", {record, &err});
    EXPECT_EQ(err, 0U);
    expect_once(KEL_TRACE_ERROR,
                "(ERR): Error 5 deleting " + table_name + " record when destroying");
    // The index has a node in a block that was freed: clear it.
    table->index_root = nullptr;
    table->record_count = 0;
    table->src_counts[KEL_SOURCE_DEFAULT] = 0;
}

TEST_P(TableMessages, ARecordThatCannotBeUnmappedIsTraced) {
    auto *record = on<kel_record *>("create_record", {&err});
    record->flags |= KEL_RECORD_HD_MAPPED;
    const auto enabled = handle->hd_mapping_enabled;
    handle->hd_mapping_enabled = 1;
    services.always_fail("kel_hd_mapping_destroy");
    on("destroy_record", {record, &err});
    expect_error(EINVAL);
    expect_once(KEL_TRACE_ERROR, "(ERR): " + table_name +
                                     " destroy: Failed to remove oid mapping for object. Error " +
                                     error);
    services.stop_failing();
    record->flags = 0;
    record->ref_count = 1;
    handle->hd_mapping_enabled = enabled;
    drop(record);
}

TEST_P(TableMessages, ARequestForDestructionThatFailsIsTraced) {
    kel_record *record = put(1);
    kel_table_set_replication(handle, tx, table, 1, 0);
    services.always_fail("keldb_request_record_destroy");
    on("request_record_destroy", {table, record, &err});
    expect_error(EINVAL);
    expect_once(KEL_TRACE_ERROR, "(ERR): " + table_name + " request destroy record failed");
    services.stop_failing();
    kel_table_set_replication(handle, tx, table, 0, 0);
}

TEST_P(TableMessages, AnObjectThatAFieldRefusesIsTraced) {
    for (const Structure *of : {type.type, type.key_type}) {
        if (of == nullptr) continue;
        auto *record = on<kel_record *>("create_record", {&err});
        const Typed typed(*of, handle);
        void *object_of = typed.create();
        services.always_fail("kellib_validate_object_flags", 77);
        const std::size_t from = trace.lines.size();
        on(slot(*of, "set_field"), {record, object_of});
        EXPECT_EQ(handle->last_error, 77U);
        kel_clear_last_error(handle);
        on(slot(*of, "free_and_set_field"), {record, object_of});
        EXPECT_EQ(handle->last_error, 77U);
        services.stop_failing();
        kel_clear_last_error(handle);
        ASSERT_EQ(trace.lines.size(), from + 2) << trace.all();
        EXPECT_EQ(trace.lines[from].text,
                  "(ERR): Object is either nested or already embedded. Cannot set such objects "
                  "into the record");
        EXPECT_EQ(trace.lines[from + 1].text,
                  "(ERR): Object is either nested or already embedded in a record. Cannot set such "
                  "objects into the record");
        EXPECT_EQ(on<void *>(slot(*of, "get_field"), {record}), nullptr);
        typed.destroy(object_of);
        drop(record);
    }
}

TEST_P(TableMessages, MarshallingARecordWithoutItsObjectsIsTraced) {
    u8 bytes[43] = {};
    auto *record = on<kel_record *>("create_record", {&err});
    const std::string begin = "(ERR): Failed to marshal " + table_name + " record: Field ";
    EXPECT_EQ(on<u32>("table_record_marshal", {bytes, record, sizeof bytes, &err}), 43U);
    expect_error(ENOENT);
    expect_once(KEL_TRACE_ERROR, begin + type.type->name + " is empty");
    drop(record);
    if (!composite()) return;
    record = make(1);
    const Typed carrier(key_carrier(), handle);
    carrier.destroy(on<void *>(slot(key_carrier(), "get_field_detach"), {record}));
    const u32 length = 43 + object.operator()<u32>("len", {record->object});
    std::vector<u8> buffer(length + 64);
    EXPECT_EQ(on<u32>("table_record_marshal", {buffer.data(), record, length + 64, &err}), length);
    expect_error(ENOENT);
    expect_once(KEL_TRACE_ERROR, begin + type.key_type->name + " is empty");
    drop(record);
}

TEST_P(TableMessages, AFormEnteredWithAnErrorTracesIt) {
    kel_record *record = make(1);
    kel_record *read = nullptr;
    void *pkey = nullptr;
    u8 bytes[64] = {};
    for (const std::string &twin : twins) {
        const std::size_t from = trace.lines.size();
        err = EINVAL;
        EXPECT_EQ(on<u32>("table_record_marshal" + twin, {bytes, record, 64, &err}), 0U);
        EXPECT_EQ(on<u32>("table_pkey_marshal" + twin, {bytes, record, 64, &err}), 0U);
        EXPECT_EQ(on<u32>("table_record_unmarshal" + twin, {&read, bytes, 64, 0, &err}), 0U);
        EXPECT_EQ(on<u32>("table_pkey_unmarshal" + twin, {&pkey, bytes, 64, &err}), 0U);
        EXPECT_EQ(on<u32>("table_record_is_modified" + twin, {record, &err}), 0U);
        EXPECT_EQ(on<u32>("pkey_print" + twin, {table, record, bytes, 64, &err}), 0U);
        EXPECT_EQ(on<u32>("table_record_to_xml" + twin, {bytes, record, 64, &err}), 0U);
        expect_error(EINVAL);
        const std::string present = "(debug): Error present in call to ";
        const std::string expected[] = {
            present + "table marshal: " + error,
            present + "table marshal: " + error,
            present + table_name + " unmarshal: " + error,
            present + table_name + " pkey unmarshal: " + error,
            present + "table is modified: " + error + " for " + table_name,
        };
        ASSERT_EQ(trace.lines.size(), from + std::size(expected)) << trace.all();
        for (std::size_t i = 0; i < std::size(expected); ++i) {
            EXPECT_EQ(trace.lines[from + i].text, expected[i]);
            EXPECT_EQ(trace.lines[from + i].level, KEL_TRACE_DEBUG);
        }
    }
    drop(record);
}

}  // namespace
}  // namespace tarn::test
