// SPDX-License-Identifier: Apache-2.0
// What an insert puts in the stream.
#include <cerrno>
#include <cstring>

#include "tarnbase/module.h"
#include "tests/support/snapshot.h"
#include "tests/unit/replication/fixture.h"

namespace tarn::test {
namespace {

class Enqueue : public ReplicationTest {};

class EnqueueInMode : public ModeTest {};
TARN_EACH_MODE(EnqueueInMode);

TEST_P(EnqueueInMode, AnInsertEnqueuesWhatTheTablesMarshalWrites) {
    Numbers numbers(handle);
    kel_record *record = numbers.put(7, "a label that does not fit in the string itself");
    kel_replication_reader reader = open_reader(handle);
    const Read read = read_next(handle, reader);
    ASSERT_EQ(read.status, 0U) << kel_error_text();
    EXPECT_EQ(read.bytes, numbers.marshalled(record));
    EXPECT_EQ(read.frame.position, 0U);
    EXPECT_EQ(read.frame.table, numbers.table);
    EXPECT_EQ(std::memcmp(read.frame.luid, table_tbl_test_number_luid, 16), 0);
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EAGAIN));
}

TEST_P(EnqueueInMode, AFrameUnmarshalsToAnEqualRecord) {
    Numbers numbers(handle);
    kel_record *record = numbers.put(7, "seven");
    const Bytes bytes = read_all(handle).at(0);
    kel_record *copy = nullptr;
    tbl_test_number_table_record_unmarshal(handle, tx, &copy, bytes.data(),
                                           static_cast<std::uint32_t>(bytes.size()), 0, &err);
    ASSERT_EQ(err, 0U);
    EXPECT_EQ(st_every_compare(tbl_test_number_st_every_get_field(handle, tx, copy),
                               tbl_test_number_st_every_get_field(handle, tx, record)),
              0);
    tbl_test_number_destroy_record(handle, tx, copy, &err);
}

TEST_P(EnqueueInMode, AFrameHasTheTraceCorrelationOfItsObject) {
    Numbers numbers(handle);
    kel_record *record = numbers.make(7);
    kellib_update_ra_all(handle, tx, tbl_test_number_st_every_get_field(handle, tx, record),
                         0x1122334455667788U, 3);
    ASSERT_EQ(numbers.insert(record), 0U);
    const Bytes bytes = read_all(handle).at(0);
    EXPECT_EQ(bytes, numbers.marshalled(record));
    EXPECT_GT(bytes.size(), tbl_test_number_table_record_len(handle, tx, record));
}

TEST_P(EnqueueInMode, ARecordWithAKeyObjectIsEnqueuedWithIt) {
    kel_table *pairs = tbl_test_pair_table_open(handle, tx, "pairs", 0, &err);
    ASSERT_EQ(kel_replication_attach(handle, tarnbase_table_get_vft), 0U);
    kel_table_set_replication(handle, tx, pairs, 1, 1);
    kel_record *record = tbl_test_pair_create_record(handle, tx, &err);
    tbl_test_pair_st_pair_set_field(handle, tx, record, st_pair_create(handle, tx));
    tbl_test_pair_pair_key_set_field(handle, tx, record, pair_key_create(handle, tx));
    tbl_test_pair_insert(handle, tx, pairs, record, &err);
    ASSERT_EQ(err, 0U);
    Bytes expected(tbl_test_pair_table_record_len(handle, tx, record));
    tbl_test_pair_table_record_marshal(handle, tx, expected.data(), record,
                                       static_cast<std::uint32_t>(expected.size()), &err);
    EXPECT_EQ(read_all(handle), std::vector<Bytes>{expected});
}

TEST_F(Enqueue, AFrameHasTheRecordsTenantAndSource) {
    kel_thread_set_tenant(5);
    kel_record *record = numbers.make(1);
    kel_thread_set_tenant(0);
    record->src = 9;
    ASSERT_EQ(numbers.insert(record), 0U);
    kel_replication_reader reader = open_reader(handle);
    const Read read = read_next(handle, reader);
    EXPECT_EQ(read.frame.tenant, 5U);
    EXPECT_EQ(read.frame.src, 9U);
}

TEST_F(Enqueue, ATableThatIsMarkedButNotArmedEnqueuesNothing) {
    kel_table_set_replication(handle, tx, numbers.table, 1, 0);
    numbers.put(1);
    EXPECT_TRUE(read_all(handle).empty());
    EXPECT_EQ(numbers.table->write_cursor, 0U);
}

TEST_F(Enqueue, ATableThatIsArmedButNotMarkedEnqueuesNothing) {
    kel_table_set_replication(handle, tx, numbers.table, 0, 1);
    numbers.put(1);
    EXPECT_TRUE(read_all(handle).empty());
    EXPECT_EQ(numbers.table->write_cursor, 0U);
}

TEST_F(Enqueue, AWriteCursorIsAfterItsTablesNewestFrame) {
    Numbers others(handle, "others");
    numbers.put(1);
    numbers.put(2);
    others.put(1);
    EXPECT_EQ(numbers.table->write_cursor, 2U);
    EXPECT_EQ(others.table->write_cursor, 3U);
}

TEST_F(Enqueue, AFailedInsertEnqueuesNothing) {
    numbers.put(1);
    EXPECT_EQ(numbers.insert(numbers.make(1)), static_cast<std::uint32_t>(EEXIST));
    EXPECT_EQ(read_all(handle).size(), 1U);
    EXPECT_EQ(numbers.table->write_cursor, 1U);
}

TEST_F(Enqueue, ARollbackOfAnInsertRestoresRingAndCursor) {
    numbers.put(1);
    const StoreSnapshot before(session.store());
    numbers.begin();
    numbers.put(2, std::string(5000, 'x'));
    numbers.put(3);
    numbers.rollback();
    EXPECT_TRUE(before.lasting_changes().empty()) << to_text(before.lasting_changes());
    EXPECT_EQ(numbers.table->write_cursor, 1U);
    EXPECT_EQ(read_all(handle).size(), 1U);
}

TEST_F(Enqueue, ARollbackRestoresFramesThatNewOnesHadReplaced) {
    ASSERT_EQ(kel_replication_configure(handle, 3, 0), 0U);
    for (std::uint32_t key = 1; key <= 3; ++key) numbers.put(key);
    const std::vector<Bytes> frames = read_all(handle);
    const StoreSnapshot before(session.store());
    numbers.begin();
    for (std::uint32_t key = 4; key <= 8; ++key) numbers.put(key);
    numbers.rollback();
    EXPECT_TRUE(before.lasting_changes().empty()) << to_text(before.lasting_changes());
    EXPECT_EQ(read_all(handle), frames);
}

TEST_F(Enqueue, WithoutMemoryTheInsertSucceedsWithEnomem) {
    kel_record *record = numbers.make(1);
    kel_store_fail_allocation(session.store(), 1);
    EXPECT_EQ(numbers.insert(record), static_cast<std::uint32_t>(ENOMEM));
    EXPECT_EQ(handle->last_error, static_cast<std::uint32_t>(ENOMEM));
    EXPECT_EQ(numbers.find(1), record);
    EXPECT_EQ(numbers.table->write_cursor, 0U);
}

TEST_F(Enqueue, AReaderGetsAMissingFrameForARecordWithoutMemory) {
    kel_record *record = numbers.make(1);
    kel_store_fail_allocation(session.store(), 1);
    EXPECT_EQ(numbers.insert(record), static_cast<std::uint32_t>(ENOMEM));
    numbers.put(2);
    kel_replication_reader reader = open_reader(handle);
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EOVERFLOW));
    EXPECT_EQ(reader.missed, 1U);
    const Read read = read_next(handle, reader);
    EXPECT_EQ(read.status, 0U);
    EXPECT_EQ(read.frame.position, 1U);
}

TEST_F(Enqueue, AnInsertWithoutMemoryIsUndoneByARollback) {
    const StoreSnapshot before(session.store());
    numbers.begin();
    kel_record *record = numbers.make(1);
    kel_store_fail_allocation(session.store(), 1);
    EXPECT_EQ(numbers.insert(record), static_cast<std::uint32_t>(ENOMEM));
    numbers.rollback();
    EXPECT_TRUE(before.lasting_changes().empty()) << to_text(before.lasting_changes());
}

TEST_F(Enqueue, AnUnattachedHandleInsertsWithEnoentAndAMissingFrame) {
    ASSERT_EQ(kel_replication_attach(handle, nullptr), 0U);
    kel_record *record = numbers.make(1);
    EXPECT_EQ(numbers.insert(record), static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(numbers.find(1), record);
    kel_replication_reader reader = open_reader(handle);
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(EOVERFLOW));
    EXPECT_EQ(reader.missed, 1U);
}

TEST_F(Enqueue, AnErrorOfTheLookupIsReturnedToTheCaller) {
    const auto lookup = [](kel_handle *, std::uint32_t, const std::uint8_t *,
                           const void *const **vector, std::uint32_t *error) {
        *vector = nullptr;
        *error = EINVAL;
    };
    ASSERT_EQ(kel_replication_attach(handle, lookup), 0U);
    EXPECT_EQ(numbers.insert(numbers.make(1)), static_cast<std::uint32_t>(EINVAL));
}

// While no engine is attached, only the cursor moves.
class Unattached : public PlainTest {
 protected:
    Unattached() {
        table = tbl_test_number_table_open(handle, tx, "numbers", 0, &err);
        kel_table_set_replication(handle, tx, table, 1, 1);
    }
    void put(std::uint32_t key) {
        kel_record *record = tbl_test_number_create_record(handle, tx, &err);
        st_every *object = st_every_create(handle, tx);
        st_every_a32_set_value(handle, tx, object, key, &err);
        tbl_test_number_st_every_set_field(handle, tx, record, object);
        tbl_test_number_insert(handle, tx, table, record, &err);
        EXPECT_EQ(err, 0U);
    }
    kel_table *table;
};

TEST_F(Unattached, AnInsertAdvancesTheCursorByOne) {
    put(1);
    put(2);
    EXPECT_EQ(table->write_cursor, 2U);
    kel_replication_reader reader = {};
    EXPECT_EQ(kel_replication_reader_open(handle, KEL_REPLICATION_OLDEST, &reader),
              static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(read_next(handle, reader).status, static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(kel_replication_lag(handle, &reader), 0U);
}

TEST_F(Unattached, TheFirstRingStartsAfterTheCursors) {
    put(1);
    put(2);
    ASSERT_EQ(kel_replication_attach(handle, tarnbase_table_get_vft), 0U);
    put(3);
    kel_replication_reader reader = open_reader(handle);
    EXPECT_EQ(read_next(handle, reader).frame.position, 2U);
    EXPECT_EQ(table->write_cursor, 3U);
}

TEST_F(Unattached, WithoutMemoryForTheRingTheHandleStaysUnattached) {
    kel_store_fail_allocation(session.store(), 1);
    EXPECT_EQ(kel_replication_attach(handle, tarnbase_table_get_vft),
              static_cast<std::uint32_t>(ENOMEM));
    put(1);
    EXPECT_EQ(table->write_cursor, 1U);
    kel_store_fail_allocation(session.store(), 2);  // the ring's key
    EXPECT_EQ(kel_replication_attach(handle, tarnbase_table_get_vft),
              static_cast<std::uint32_t>(ENOMEM));
    put(2);
    EXPECT_EQ(table->write_cursor, 2U);
}

}  // namespace
}  // namespace tarn::test
