// SPDX-License-Identifier: Apache-2.0
// Freeing a table: the conditions, the order of the steps, what remains.
#include <cerrno>
#include <cstring>
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

class Free : public TableTest {
 protected:
    std::string stored_name(const std::string &name) { return name + "/" + s.luid_text; }
    u64 destroyed() { return usage_of(table).destroyed; }
};
TARN_EACH_TABLE_AND_MODE(Free);

TEST_P(Free, RemovesTheBlockFromStoreAndListAndReleasesIt) {
    kel_table *second = s.plain.open(handle, tx, "second", 0, &err);
    kel_table *third = s.plain.open(handle, tx, "third", 0, &err);
    const u64 before = destroyed();
    TraceCapture trace;
    HookRecorder hooks(handle);
    services.clear();
    s.plain.free(handle, tx, second, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(destroyed(), before + 1);
    EXPECT_EQ(table->toc_next, third);
    EXPECT_EQ(third->toc_prev, &table->toc_next);
    EXPECT_EQ(services.calls("loam_delete_key").at(0).text, stored_name("second"));
    EXPECT_EQ(services.calls("kellib_database_table_toc_create").at(0).tx_id(), KEL_TX_NONE);
    EXPECT_EQ(hooks.count(Hook::write_log), 0U);
    EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
    EXPECT_EQ(hooks.of(Hook::free).at(0).address, second);
    const std::string name = s.name;
    EXPECT_EQ(trace.count(
                  KEL_TRACE_DEBUG,
                  "(debug): " + name + " table free: Successfully removed OID mapping for " + name),
              1U)
        << trace.all();
    EXPECT_EQ(s.plain.open(handle, tx, "second", 1, &err), nullptr);

    s.unsafe.free(handle, tx, third, &err);
    EXPECT_EQ(table->toc_next, nullptr);
    kel_table_list *list = kellib_database_table_toc_create(handle, tx, &err);
    EXPECT_EQ(list->last, &table->toc_next);
    s.plain.free(handle, tx, table, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(list->first, nullptr);
    EXPECT_EQ(list->last, &list->first);
}

TEST_P(Free, ReportsAFailedUnmappingAndChangesNothing) {
    TraceCapture trace;
    services.always_fail("kel_request_oid_mapping_destroy");
    s.plain.free(handle, tx, table, &err);
    EXPECT_EQ(err, EINVAL);
    EXPECT_EQ(trace.count(KEL_TRACE_ERROR,
                          std::string("(ERR): ") + s.name +
                              " table free: Failed to request oid mapping destroy for table. "
                              "Error " +
                              std::strerror(EINVAL)),
              1U)
        << trace.all();
    services.stop_failing();
    err = 0;
    EXPECT_EQ(s.plain.open(handle, tx, "t", 1, &err), table);
}

TEST_P(Free, ATableThatIsStillReferencedStaysUsable) {
    put(1);
    services.always_return("kel_request_oid_mapping_destroy", 0);
    const kel_table before = *table;
    s.plain.free(handle, tx, table, &err);
    EXPECT_EQ(err, EAGAIN);
    EXPECT_EQ(handle->last_error, EAGAIN);
    EXPECT_EQ(0, std::memcmp(&before, table, sizeof before));
    err = 0;
    services.stop_failing();
    EXPECT_EQ(s.plain.open(handle, tx, "t", 1, &err), table);
    EXPECT_NE(find(1), nullptr);
    put(2);
}

TEST_P(Free, StopsWithoutTheTableList) {
    const u64 before = destroyed();
    HookRecorder hooks(handle);
    services.always_fail("kellib_database_table_toc_create");
    s.plain.free(handle, tx, table, &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    EXPECT_EQ(destroyed(), before);
    EXPECT_EQ(services.count("loam_delete_key"), 1U);
    EXPECT_EQ(kel_store_first_table(session.store()), table);
}

TEST_P(Free, ClearsTheErrorUnmapsDeletesTheKeyAndFetchesTheList) {
    begin();
    handle->last_error = EINVAL;
    services.clear();
    s.plain.free(handle, tx, table, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(services.order(),
              "kel_clear_last_error kel_request_oid_mapping_destroy ptrail_wrapper "
              "loam_delete_key kellib_database_table_toc_create free_hook");
    EXPECT_EQ(services.calls("kel_request_oid_mapping_destroy").at(0).arguments_in(1, 3),
              (std::vector<u64>{tx, word(table)}));
    EXPECT_EQ(services.calls("kellib_database_table_toc_create").at(0).tx_id(), KEL_TX_NONE);
    EXPECT_EQ(services.calls("free_hook").at(0).arguments_in(1, 3),
              (std::vector<u64>{tx, word(table)}));
    commit();
}

TEST_P(Free, OfTheFirstTableMovesTheHeadOfTheList) {
    kel_table *second = s.plain.open(handle, tx, "second", 0, &err);
    s.plain.free(handle, tx, table, &err);
    kel_table_list *list = kellib_database_table_toc_create(handle, tx, &err);
    EXPECT_EQ(list->first, second);
    EXPECT_EQ(second->toc_prev, &list->first);
    EXPECT_EQ(list->last, &second->toc_next);
}

TEST_P(Free, DestroysNoRecord) {
    kel_record *record = put(1);
    const kel_record before = *record;
    void *const object = record->object;
    services.clear();
    HookRecorder hooks(handle);
    s.plain.free(handle, tx, table, &err);
    EXPECT_EQ(err, 0U);
    ASSERT_EQ(hooks.events.size(), 1U);
    EXPECT_EQ(hooks.events[0].hook, Hook::free);
    EXPECT_EQ(services.count("e_avl_delete"), 0U);
    EXPECT_EQ(0, std::memcmp(&before, record, s.record_size()));
    EXPECT_EQ(s.get_value(handle, object), 0U);
    EXPECT_EQ(key_of(record), 1U);
}

}  // namespace
}  // namespace tarn::test
