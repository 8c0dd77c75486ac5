// SPDX-License-Identifier: Apache-2.0
// When every table reports tenants and replication to the runtime: at insert and
// delete, and at each read through the index.
#include <dlfcn.h>

#include <algorithm>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/prototypes.h"
#include "tests/behaviour/every/tabled.h"

namespace {

// A call of one of the services below, and the state at that time.
struct Report {
    std::string service;
    std::uint32_t tx_id;
    const kel_table *table;
    const kel_record *record;
    std::vector<std::uint64_t> arguments;
    const void *vector = nullptr;
    std::uint32_t record_count = 0;
    std::uint8_t flags = 0;
};
std::vector<Report> reports;

template <typename Service>
Service *next(Service *, const char *name) {
    return reinterpret_cast<Service *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void keldb_update_tenant_counter(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                 uint32_t direction, uint16_t tenant, uint8_t src, uint32_t *err) {
    reports.push_back(
        {"counter", tx_id, table, nullptr, {direction, tenant, src}, nullptr, table->record_count});
    next(&keldb_update_tenant_counter, "keldb_update_tenant_counter")(handle, tx_id, table,
                                                                      direction, tenant, src, err);
}

void keldb_get_tenant_counter(kel_handle *handle, uint32_t tx_id, kel_table *table, uint32_t *count,
                              uint16_t tenant, const uint8_t *src) {
    const std::uint64_t source = src == nullptr ? 999U : *src;
    reports.push_back({"count", tx_id, table, nullptr, {tenant, source}});
    next(&keldb_get_tenant_counter, "keldb_get_tenant_counter")(handle, tx_id, table, count, tenant,
                                                                src);
}

void keldb_enq_rec_move_write_cursor_internal(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                              kel_record *record, uint32_t *err) {
    reports.push_back(
        {"cursor", tx_id, table, record, {}, nullptr, table->record_count, record->flags});
    next(&keldb_enq_rec_move_write_cursor_internal, "keldb_enq_rec_move_write_cursor_internal")(
        handle, tx_id, table, record, err);
}

void keldb_request_record_destroy(kel_handle *handle, uint32_t tx_id, kel_record *record,
                                  uint32_t *err) {
    reports.push_back({"request", tx_id, nullptr, record, {}});
    next(&keldb_request_record_destroy, "keldb_request_record_destroy")(handle, tx_id, record, err);
}

void kelrepl_add_to_cache(kel_handle *handle, uint32_t tx_id, kel_table *table, kel_record *record,
                          const void *const *vector, uint32_t *err) {
    reports.push_back({"read", tx_id, table, record, {}, vector});
    next(&kelrepl_add_to_cache, "kelrepl_add_to_cache")(handle, tx_id, table, record, vector, err);
}

namespace tarn::test {
namespace {

using Names = std::vector<std::string>;

class EveryTenancy : public EveryTable {
 protected:
    static Names services() {
        Names names;
        for (const Report &each : reports) names.push_back(each.service);
        return names;
    }
    // Inserts with each insert form, and deletes again.
    void insert_and_delete(const std::string &operation, u16 tenant, const Names &expected) {
        SCOPED_TRACE(operation);
        kel_record *record = make(3, 7);
        reports.clear();
        on(operation, {table, record, &err});
        EXPECT_EQ(err, 0U);
        ASSERT_EQ(services(), expected);
        for (const Report &each : reports) {
            EXPECT_EQ(each.table, table);
            EXPECT_EQ(each.tx_id, tx);
            EXPECT_EQ(each.record_count, 1U) << "the table's own counts come first";
        }
        if (tenant != 0) {
            EXPECT_EQ(reports.at(0).arguments, (std::vector<u64>{1, tenant, 7}));
        }
        if (expected.size() > 0 && expected.back() == "cursor") {
            EXPECT_EQ(reports.back().record, record);
            EXPECT_EQ(reports.back().flags & KEL_RECORD_IN_INDEX, KEL_RECORD_IN_INDEX);
        }
        reports.clear();
        on("delete", {table, record, &err});
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(services(), tenant == 0 ? Names{} : Names{"counter"});
        if (tenant != 0) {
            EXPECT_EQ(reports.at(0).arguments, (std::vector<u64>{0, tenant, 7}));
            EXPECT_EQ(reports.at(0).record_count, 0U);
        }
        drop(record);
    }
};
INSTANTIATE_TEST_SUITE_P(Every, EveryTenancy, ::testing::ValuesIn([] {
                             std::vector<InMode<Table>> cases;
                             for (const Table *each : all_tables()) {
                                 cases.push_back({each, Mode::plain});
                             }
                             return cases;
                         }()),
                         name_in_mode<Table>);

TEST_P(EveryTenancy, InsertAndDeleteTellTheCounterOfATenantThatIsNotTheDefaultOne) {
    for (const char *operation : {"insert", "insert_unsafe", "pkey_insert", "pkey_insert_unsafe"}) {
        insert_and_delete(operation, 0, {});
        kel_thread_set_tenant(5);
        insert_and_delete(operation, 5, {"counter"});
        kel_thread_set_tenant(0);
    }
}

TEST_P(EveryTenancy, TheCallersTenantIsCountedAndNotTheRecords) {
    kel_thread_set_tenant(5);
    kel_record *record = make(3);
    kel_thread_set_tenant(6);
    reports.clear();
    on("insert", {table, record, &err});
    EXPECT_EQ(reports.at(0).arguments, (std::vector<u64>{1, 6, 1}));
    EXPECT_EQ(record->tenant_id, 5U);
    kel_thread_set_tenant(0);
    reports.clear();
    on("delete", {table, record, &err});
    EXPECT_TRUE(reports.empty());
    drop(record);
}

TEST_P(EveryTenancy, CountsAreTheTablesForTheDefaultTenantAndTheCountersForAnother) {
    kel_record *of_default = put(1);
    kel_thread_set_tenant(5);
    kel_record *of_five = put(1, 7);
    for (const std::string &twin : twins) {
        reports.clear();
        EXPECT_EQ(on<u32>("table_get_count" + twin, {table}), 1U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 7}), 1U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 1}), 0U);
        ASSERT_EQ(services(), (Names{"count", "count", "count"}));
        EXPECT_EQ(reports[0].arguments, (std::vector<u64>{5, 999}));
        EXPECT_EQ(reports[1].arguments, (std::vector<u64>{5, 7}));
        kel_thread_set_tenant(0);
        reports.clear();
        EXPECT_EQ(on<u32>("table_get_count" + twin, {table}), 2U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 7}), 1U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 1}), 1U);
        EXPECT_TRUE(reports.empty());
        kel_thread_set_tenant(5);
    }
    EXPECT_EQ(find(by_key("get_first"), {table}), nullptr) << "its record is of source 7";
    EXPECT_EQ(find(by_key("get_first_ignore_src"), {table}), of_five);
    kel_thread_set_tenant(0);
    EXPECT_EQ(find(by_key("get_first_ignore_src"), {table}), of_default);
    EXPECT_EQ(find(by_key("get_next_ignore_src"), {table, of_default}), nullptr);
}

TEST_P(EveryTenancy, AnInsertMovesTheCursorOfATableThatIsMarkedAndArmed) {
    for (const char *operation : {"insert", "insert_unsafe", "pkey_insert", "pkey_insert_unsafe"}) {
        for (const u32 marks : {0U, 1U, 2U, 3U}) {
            kel_table_set_replication(handle, tx, table, marks & 1, marks >> 1);
            handle->replication_engine_active = 1;
            insert_and_delete(operation, 0, marks == 3 ? Names{"cursor"} : Names{});
            kel_thread_set_tenant(5);
            insert_and_delete(operation, 5,
                              marks == 3 ? Names{"counter", "cursor"} : Names{"counter"});
            kel_thread_set_tenant(0);
        }
    }
    handle->replication_engine_active = 0;
    kel_table_set_replication(handle, tx, table, 0, 0);
}

TEST_P(EveryTenancy, AMarkedTableLeavesDeletionToTheEngine) {
    kel_record *record = put(3);
    for (const std::string &twin : twins) {
        kel_table_set_replication(handle, tx, table, 1, 0);
        TraceCapture lines;
        on("delete" + twin, {table, record, &err});
        expect_error(22);
        EXPECT_EQ(handle->last_error, 22U);
        EXPECT_TRUE(lines.has(3, "(ERR): " + std::string(type.name) +
                                     "_delete() cannot be direclty used when the table is marked "
                                     "for replication"))
            << lines.all();
        EXPECT_EQ(table->record_count, 1U);
        EXPECT_EQ(table->src_counts[1], 1U);
        EXPECT_EQ(record->table, table);
        reports.clear();
        on("request_record_destroy" + twin, {table, record, &err});
        EXPECT_EQ(services(), Names{"request"});
        EXPECT_NE(record->flags & KEL_RECORD_PENDING_DESTROY, 0);
        kel_table_set_replication(handle, tx, table, 0, 0);
        on("request_record_destroy" + twin, {table, record, &err});
        expect_error(22);
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
bool reports_on_its_way(const Prototype &function) {
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
        std::vector<Word> words;
        for (const Parameter &each : function.parameters) {
            if (each.name == "handle") words.emplace_back(handle);
            else if (each.name == "tx_id") words.emplace_back(tx);
            else if (each.name == "table") words.emplace_back(table);
            else if (each.name == "record") words.emplace_back(position);
            else if (each.name == "src") words.emplace_back(src);
            else if (each.name == "err") words.emplace_back(&err);
            else if (each.name == "key") words.emplace_back(key(1));
            else if (each.name == "object") words.emplace_back(key_object(1));
            else if (each.name == "selector") words.emplace_back(selector);
            else words.emplace_back(each.name == "match_src" || each.name == "nearest");
        }
        return words;
    }
    void expect_report(const Prototype &function, const kel_record *found) {
        for (const Report &each : reports) {
            EXPECT_EQ(each.service, "read");
            EXPECT_NE(each.record->src, KEL_SOURCE_SHADOW);
            EXPECT_EQ(each.table, table);
            EXPECT_EQ(each.tx_id, tx);
            EXPECT_EQ(each.vector, symbol(name("table_vft")));
        }
        const bool is_reported = found != nullptr && found->src != KEL_SOURCE_SHADOW;
        EXPECT_EQ(!reports.empty() && reports.back().record == found, is_reported);
        const std::size_t once = is_reported ? 1 : 0;
        EXPECT_TRUE(reports_on_its_way(function) || reports.size() == once) << reports.size();
    }
};
INSTANTIATE_TEST_SUITE_P(Every, EveryRead, ::testing::ValuesIn([] {
                             std::vector<InMode<Table>> cases;
                             for (const Table *each : all_tables()) {
                                 cases.push_back({each, Mode::plain});
                             }
                             return cases;
                         }()),
                         name_in_mode<Table>);

TEST_P(EveryRead, TellsTheEngineOfWhatItAnswersUnlessThatIsAShadow) {
    kel_record *const positions[] = {put(1), put(1, 2), put(1, 255), put(2), put(3, 2)};
    std::vector<const kel_record *> found_records;
    u32 reads = 0;
    for (const Prototype &each : prototypes_of(type.name)) {
        if (!is_read(each)) continue;
        ++reads;
        for (kel_record *position : positions) {
            for (const u32 src : {1U, 2U, 255U}) {
                const auto words = arguments(each, position, src, src % 4);
                reports.clear();
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
