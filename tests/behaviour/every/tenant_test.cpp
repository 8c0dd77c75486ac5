// SPDX-License-Identifier: Apache-2.0
// When every table reports tenants and replication to the runtime: at insert and
// delete, and at each read through the index.
#include <algorithm>
#include <cerrno>
#include <map>
#include <string>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/prototypes.h"
#include "tests/behaviour/every/tabled.h"
#include "tests/support/services.h"

namespace tarn::test {
namespace {

const std::string counter = "keldb_update_tenant_counter";
const std::string count = "keldb_get_tenant_counter";
const std::string cursor = "keldb_enq_rec_move_write_cursor_internal";
const std::string request = "keldb_request_record_destroy";
const std::string read = "kelrepl_add_to_cache";

class EveryTenancy : public EveryTable {
 protected:
    // The calls of the services above, in order.
    std::string reports() const { return services.order({counter, count, cursor, request, read}); }
    // Inserts with an insert form, and deletes again.
    void insert_and_delete(const std::string &operation, u16 tenant, const std::string &expected) {
        SCOPED_TRACE(operation);
        kel_record *record = make(3, 7);
        u32 records = 1;
        services.clear();
        services.at_each = [&](const ServiceCall &call) {
            if (call.name != counter && call.name != cursor) return;
            EXPECT_EQ(table->record_count, records) << "the table's own counts come first";
            if (call.name == cursor) {
                EXPECT_EQ(record->flags & KEL_RECORD_IN_INDEX, KEL_RECORD_IN_INDEX);
            }
        };
        on(operation, {table, record, &err});
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(reports(), expected);
        for (const ServiceCall &call : services.calls(counter)) {
            EXPECT_EQ(call.arguments, words(handle, tx, table, 1, tenant, 7, &err));
        }
        for (const ServiceCall &call : services.calls(cursor)) {
            EXPECT_EQ(call.arguments, words(handle, tx, table, record, &err));
        }
        services.clear();
        records = 0;
        on("delete", {table, record, &err});
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(reports(), tenant == 0 ? "" : counter);
        for (const ServiceCall &call : services.calls(counter)) {
            EXPECT_EQ(call.arguments, words(handle, tx, table, 0, tenant, 7, &err));
        }
        services.at_each = nullptr;
        drop(record);
    }

    ServiceRecorder services{handle};
};
INSTANTIATE_TEST_SUITE_P(Every, EveryTenancy,
                         ::testing::ValuesIn(in_mode(all_tables(), Mode::plain)),
                         name_in_mode<Table>);

TEST_P(EveryTenancy, InsertAndDeleteUpdateTheCounterOfAnotherTenantThanTheDefault) {
    for (const char *operation : {"insert", "insert_unsafe", "pkey_insert", "pkey_insert_unsafe"}) {
        insert_and_delete(operation, 0, "");
        kel_thread_set_tenant(5);
        insert_and_delete(operation, 5, counter);
        kel_thread_set_tenant(0);
    }
}

TEST_P(EveryTenancy, TheCallersTenantIsCountedNotTheRecords) {
    kel_thread_set_tenant(5);
    kel_record *record = make(3);
    kel_thread_set_tenant(6);
    services.clear();
    on("insert", {table, record, &err});
    EXPECT_EQ(services.calls(counter).at(0).arguments_in(3, 6), words(1, 6, 1));
    EXPECT_EQ(record->tenant_id, 5U);
    kel_thread_set_tenant(0);
    services.clear();
    on("delete", {table, record, &err});
    EXPECT_EQ(reports(), "");
    drop(record);
}

TEST_P(EveryTenancy, CountsOfTheDefaultTenantAreTheTablesAndOthersTheCounters) {
    kel_record *of_default = put(1);
    kel_thread_set_tenant(5);
    kel_record *of_five = put(1, 7);
    std::vector<std::string> counted;
    services.at_each = [&counted](const ServiceCall &call) {
        if (call.name != count) return;
        const auto *src = call.pointer<const u8>(5);
        counted.push_back(std::to_string(call.arguments.at(4)) + " of " +
                          (src == nullptr ? "all" : std::to_string(*src)));
    };
    for (const std::string &twin : twins) {
        services.clear();
        counted.clear();
        EXPECT_EQ(on<u32>("table_get_count" + twin, {table}), 1U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 7}), 1U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 1}), 0U);
        EXPECT_EQ(counted, (std::vector<std::string>{"5 of all", "5 of 7", "5 of 1"}));
        EXPECT_EQ(reports(), count + " " + count + " " + count);
        kel_thread_set_tenant(0);
        services.clear();
        EXPECT_EQ(on<u32>("table_get_count" + twin, {table}), 2U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 7}), 1U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 1}), 1U);
        EXPECT_EQ(reports(), "");
        kel_thread_set_tenant(5);
    }
    EXPECT_EQ(find(by_key("get_first"), {table}), nullptr) << "its record is of source 7";
    EXPECT_EQ(find(by_key("get_first_ignore_src"), {table}), of_five);
    kel_thread_set_tenant(0);
    EXPECT_EQ(find(by_key("get_first_ignore_src"), {table}), of_default);
    EXPECT_EQ(find(by_key("get_next_ignore_src"), {table, of_default}), nullptr);
}

TEST_P(EveryTenancy, AnInsertMovesTheCursorOfAMarkedAndArmedTable) {
    for (const char *operation : {"insert", "insert_unsafe", "pkey_insert", "pkey_insert_unsafe"}) {
        for (const u32 marks : {0U, 1U, 2U, 3U}) {
            kel_table_set_replication(handle, tx, table, marks & 1, marks >> 1);
            handle->replication_engine_active = 1;
            insert_and_delete(operation, 0, marks == 3 ? cursor : "");
            kel_thread_set_tenant(5);
            insert_and_delete(operation, 5, marks == 3 ? counter + " " + cursor : counter);
            kel_thread_set_tenant(0);
        }
    }
    handle->replication_engine_active = 0;
    kel_table_set_replication(handle, tx, table, 0, 0);
}

TEST_P(EveryTenancy, OnlyTheEngineDeletesFromAMarkedTable) {
    kel_record *record = put(3);
    for (const std::string &twin : twins) {
        kel_table_set_replication(handle, tx, table, 1, 0);
        TraceCapture lines;
        on("delete" + twin, {table, record, &err});
        expect_error(EINVAL);
        EXPECT_EQ(handle->last_error, EINVAL);
        EXPECT_TRUE(lines.has(KEL_TRACE_ERROR,
                              "(ERR): " + std::string(type.name) +
                                  "_delete() cannot be direclty used when the table is marked "
                                  "for replication"))
            << lines.all();
        EXPECT_EQ(table->record_count, 1U);
        EXPECT_EQ(table->src_counts[1], 1U);
        EXPECT_EQ(record->table, table);
        services.clear();
        on("request_record_destroy" + twin, {table, record, &err});
        EXPECT_EQ(reports(), request);
        EXPECT_NE(record->flags & KEL_RECORD_PENDING_DESTROY, 0);
        kel_table_set_replication(handle, tx, table, 0, 0);
        on("request_record_destroy" + twin, {table, record, &err});
        expect_error(EINVAL);
    }
    handle->replication_engine_active = 1;
    kel_table_set_replication(handle, tx, table, 1, 0);
    on("delete", {table, record, &err});
    expect_error(0);
    EXPECT_EQ(table->record_count, 0U);
    handle->replication_engine_active = 0;
    kel_table_set_replication(handle, tx, table, 0, 0);
    drop(record);
}

// Reads that skip records but report them.
bool reports_skipped_records(const Prototype &function) {
    return function.name.find("_shadow") != std::string::npos ||
           function.name.find("_search") != std::string::npos ||
           function.name.find("_by_key") != std::string::npos;
}

class EveryRead : public EveryTenancy {
 protected:
    static bool is_read(const Prototype &function) {
        return function.result == "kel_record *" && !function.ends_with("_from_xml") &&
               !function.ends_with("_from_xml_unsafe") &&
               function.name.find("create") == std::string::npos;
    }
    std::vector<Word> arguments(const Prototype &function, kel_record *position, u32 src,
                                u32 selector) {
        const std::map<std::string, Word> values = {
            {"handle", handle},     {"tx_id", tx},    {"table", table},   {"record", position},
            {"src", src},           {"err", &err},    {"key", key_value}, {"object", key_holder},
            {"selector", selector}, {"match_src", 1}, {"nearest", 1}};
        std::vector<Word> words;
        for (const Parameter &each : function.parameters) {
            const auto found = values.find(each.name);
            words.push_back(found == values.end() ? Word(0) : found->second);
        }
        return words;
    }
    void expect_report(const Prototype &function, const kel_record *found) {
        const auto reads = services.calls(read);
        for (const ServiceCall &call : reads) {
            EXPECT_NE(call.pointer<kel_record>(3)->src, KEL_SOURCE_SHADOW);
            EXPECT_EQ(call.arguments_in(1, 3), words(tx, table));
            EXPECT_EQ(call.pointer<void>(4), symbol(name("table_vft")));
        }
        EXPECT_EQ(services.order({counter, count, cursor, request}), "");
        const bool is_reported = found != nullptr && found->src != KEL_SOURCE_SHADOW;
        EXPECT_EQ(!reads.empty() && reads.back().pointer<kel_record>(3) == found, is_reported);
        const std::size_t once = is_reported ? 1 : 0;
        EXPECT_TRUE(reports_skipped_records(function) || reads.size() == once) << reads.size();
    }

    // Of key 1.
    const void *const key_value = key(1);
    void *const key_holder = key_object(1);
};
INSTANTIATE_TEST_SUITE_P(Every, EveryRead, ::testing::ValuesIn(in_mode(all_tables(), Mode::plain)),
                         name_in_mode<Table>);

TEST_P(EveryRead, ReportsTheReturnedRecordUnlessItIsAShadow) {
    kel_record *const positions[] = {put(1), put(1, 2), put(1, 255), put(2), put(3, 2)};
    std::vector<const kel_record *> found_records;
    u32 reads = 0;
    for (const Prototype &each : prototypes_of(type.name)) {
        if (!is_read(each)) continue;
        ++reads;
        for (kel_record *position : positions) {
            for (const u32 src : {1U, 2U, 255U}) {
                const auto words = arguments(each, position, src, src % 4);
                services.clear();
                auto *found =
                    reinterpret_cast<kel_record *>(call_address(symbol(each.name), words));
                SCOPED_TRACE(each.name);
                EXPECT_EQ(err, 0U);
                err = 0;
                handle->last_error = 0;
                expect_report(each, found);
                found_records.push_back(found);
            }
        }
    }
    EXPECT_GT(reads, 60U);
    for (const kel_record *each : positions) {
        EXPECT_NE(std::count(found_records.begin(), found_records.end(), each), 0);
    }
}

}  // namespace
}  // namespace tarn::test
