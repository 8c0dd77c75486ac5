// SPDX-License-Identifier: Apache-2.0
// Each table's records: made, filled, referred to, inserted, deleted, destroyed.
#include <cerrno>

#include "tests/behaviour/every/tabled.h"

namespace tarn::test {
namespace {

class TableRecords : public EveryTable {};
TARN_EVERY_TABLE(TableRecords);

TEST_P(TableRecords, AreCreatedAndDestroyedInEveryForm) {
    for (const std::string &twin : twins) {
        auto *record = on<kel_record *>("create_record" + twin, {&err});
        EXPECT_STREQ(record->descriptor->name, (std::string(type.name) + "_record").c_str());
        EXPECT_EQ(record->src, KEL_SOURCE_DEFAULT);
        EXPECT_EQ(record->ref_count, 1U);
        EXPECT_EQ(record->object, nullptr);
        EXPECT_EQ(on<u32>("record_add_ref" + twin, {record, &err}), 1U);
        on("destroy_record" + twin, {record, &err});
        EXPECT_EQ(record->ref_count, 1U);
        on("destroy_record" + twin, {record, &err});
    }
    auto *whole = cr<kel_record *>("record_create_cr", {1});
    EXPECT_NE(whole->object, nullptr);
    EXPECT_EQ(composite() && whole->key_object != nullptr, composite());
    cr("record_destroy_cr", {whole});
    auto *other = on<kel_record *>("create_record_w_src", {0x107, &err});
    EXPECT_EQ(other->src, 7);
    drop(other);
    EXPECT_EQ(err, 0U);
}

TEST_P(TableRecords, OwnTheObjectsThatAreAttached) {
    kel_record *record = make(1);
    for (const Structure *of : {type.type, type.key_type}) {
        if (of == nullptr) continue;
        const Typed typed(*of, handle);
        void *first = on<void *>(slot(*of, "get_field"), {record});
        ASSERT_NE(first, nullptr);
        EXPECT_NE(head(first)->flags & OBJ_EMBEDDED, 0);
        on(slot(*of, "set_field"), {record, first});
        EXPECT_EQ(handle->last_error, EINVAL) << "an attached object was taken";
        kel_clear_last_error(handle);
        EXPECT_EQ(on<void *>(slot(*of, "get_field_detach"), {record}), first);
        EXPECT_EQ(on<void *>(slot(*of, "get_field"), {record}), nullptr);
        typed.destroy(first);
        on(slot(*of, "set_field"), {record, typed.create()});
        void *second = typed.create();
        typed.fill(second, 5);
        on(slot(*of, "free_and_set_field"), {record, second});
        EXPECT_EQ(on<void *>(slot(*of, "get_field"), {record}), second);
        typed.check(second, 5);
    }
    drop(record);
}

TEST_P(TableRecords, AreInsertedAndDeletedInEveryForm) {
    for (const std::string &twin : twins) {
        kel_record *one = make(1), *two = make(2), *same = make(1);
        on("insert" + twin, {table, one, &err});
        on("pkey_insert" + twin, {table, two, &err});
        EXPECT_NE(two->flags & KEL_RECORD_PKEY_INSERTED, 0);
        EXPECT_EQ(err, 0U);
        on("insert" + twin, {table, same, &err});
        expect_error(EEXIST);
        EXPECT_EQ(walk(), (std::vector<kel_record *>{one, two}));
        on("delete" + twin, {table, one, &err});
        EXPECT_EQ(err, 0U);
        on("delete" + twin, {table, one, &err});
        expect_error(ENOENT);
        EXPECT_EQ(walk(), std::vector<kel_record *>{two});
        for (kel_record *record : {one, two, same}) drop(record);
    }
    kel_record *record = make(3);
    EXPECT_EQ(cr<u32>("insert_cr", {table, record}), 0U);
    EXPECT_EQ(cr<u32>("delete_cr", {table, record, 0}), 0U);
    EXPECT_EQ(cr<u32>("insert_cr", {table, record}), 0U);
    EXPECT_EQ(cr<u32>("delete_cr", {table, record, 1}), 0U);
    EXPECT_EQ(table->record_count, 0U);
}

TEST_P(TableRecords, AreOrderedByTenantKeyAndSource) {
    kel_record *records[] = {put(1), put(1, 2), put(2), nullptr};
    kel_thread_set_tenant(1);
    records[3] = put(0);
    const auto compare = [this](const kel_record *a, const kel_record *b) {
        return call<u32>(key_name("avl_compare"), {&a->index_node, &b->index_node});
    };
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            EXPECT_EQ(compare(records[i], records[j]), i < j ? 0U : i == j ? 1U : 2U);
        }
    }
    EXPECT_EQ(walk(), std::vector<kel_record *>(records, records + 4));
}

TEST_P(TableRecords, OfAReplicatedTableAreDeletedOnlyByTheEngine) {
    kel_record *record = put(1);
    for (const std::string &twin : twins) {
        on("request_record_destroy" + twin, {table, record, &err});
        expect_error(EINVAL);
    }
    kel_table_set_replication(handle, tx, table, 1, 0);
    for (const std::string &twin : twins) {
        on("delete" + twin, {table, record, &err});
        expect_error(EINVAL);
        EXPECT_EQ(walk(), std::vector<kel_record *>{record});
        on("request_record_destroy" + twin, {table, record, &err});
        EXPECT_EQ(err, 0U);
        EXPECT_NE(record->flags & KEL_RECORD_PENDING_DESTROY, 0);
    }
    EXPECT_EQ(find(by_key("search"), {table, key(1)}), record);
    EXPECT_EQ(find(by_key("search_not_pending_destroy"), {table, key(1), 0}), nullptr);
    kel_handle *engine = session.second_handle(GetParam().mode);
    engine->replication_engine_active = 1;
    call(name("delete"), {engine, tx, table, record, &err});
    call(name("destroy_record"), {engine, tx, record, &err});
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(table->record_count, 0U);
}

TEST_P(TableRecords, ARollbackRestoresTheTable) {
    kel_record *kept = put(1);
    u32 transaction = 0;
    ASSERT_EQ(kel_transaction_begin(handle, &transaction), 0U);
    kel_record *record = make(2);
    call(name("insert"), {handle, transaction, table, record, &err});
    call(name("delete"), {handle, transaction, table, kept, &err});
    EXPECT_EQ(walk(), std::vector<kel_record *>{record});
    ASSERT_EQ(kel_transaction_rollback(handle, transaction), 0U);
    EXPECT_EQ(walk(), std::vector<kel_record *>{kept});
    check(kept, 1);
    drop(record);
}

}  // namespace
}  // namespace tarn::test
