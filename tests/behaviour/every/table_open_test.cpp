// SPDX-License-Identifier: Apache-2.0
// Each table opened and freed in every way, its counts and its events.
#include "tests/behaviour/every/tabled.h"

namespace tarn::test {
namespace {

class TableOpen : public EveryTable {};
TARN_EVERY_TABLE(TableOpen);

TEST_P(TableOpen, IsFoundByItsNameInEveryForm) {
    for (const std::string &twin : twins) {
        const auto form = [&](const char *operation) { return operation + twin; };
        EXPECT_EQ(on<kel_table *>(form("table_open"), {"t", 1, &err}), table);
        EXPECT_EQ(on<kel_table *>(form("table_open_by_ior_with_name"), {"t", u64{7}, 1, &err}),
                  table);
        EXPECT_EQ(on<kel_table *>(form("table_open"), {"absent", 1, &err}), nullptr);
        auto *made = on<kel_table *>(form("table_open_by_ior_with_name"), {"u", u64{7}, 0, &err});
        ASSERT_NE(made, nullptr);
        EXPECT_STREQ(made->descriptor->name, type.name);
        on(form("table_close"), {made, &err});
        on(form("table_free"), {made, &err});
        EXPECT_EQ(on<kel_table *>(form("table_open"), {"u", 1, &err}), nullptr);
    }
    EXPECT_EQ(cr<kel_table *>("table_open_cr", {1, KEL_OPEN_BY_NAME, "t", u64{0}}), table);
    cr("table_close_cr", {table});
}

TEST_P(TableOpen, CountsItsRecordsByTenantAndSource) {
    put(1);
    put(2, 7);
    kel_thread_set_tenant(1);
    put(1);
    for (const std::string &twin : twins) {
        EXPECT_EQ(on<u32>("table_get_count" + twin, {table}), 1U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 7}), 0U);
    }
    kel_thread_set_tenant(0);
    for (const std::string &twin : twins) {
        EXPECT_EQ(on<u32>("table_get_count" + twin, {table}), 3U);
        EXPECT_EQ(on<u32>("table_get_count_by_src" + twin, {table, 7}), 1U);
    }
    EXPECT_EQ(cr<u32>("table_get_count_cr", {table}), 3U);
}

TEST_P(TableOpen, ItsEventsCallTheHandlersOfTheProgramOrTheDefaultOnes) {
    const std::string handler = std::string("tarnbase_") + type.name + "_table_record_";
    for (const char *event : {"create", "modify", "delete"}) {
        const std::string callback = std::string("table_record_") + event + "_cb";
        for (const std::string &twin : twins) on(callback + twin, {table, nullptr, &err});
        call(handler + event + "_handler", {handle, tx, table, nullptr, &err});
    }
    for (const char *event : {"create_dm", "delete_dm"}) {
        const std::string callback = std::string("table_record_") + event + "_cb";
        for (const std::string &twin : twins) on(callback + twin, {nullptr, &err});
        call(handler + event + "_handler", {handle, tx, nullptr, &err});
    }
    for (const std::string &twin : twins) {
        on("table_record_grouping_cb" + twin, {nullptr, &err, nullptr, nullptr});
        on("table_record_free_cb" + twin, {nullptr, &err, nullptr});
    }
    call(handler + "grouping_handler", {handle, tx, nullptr, &err, nullptr, nullptr});
    call(handler + "free_handler", {handle, tx, nullptr, &err, nullptr});
    // Each of the seven handlers ran three times, and those of the two events of one record
    // called the main ones.
    const std::string began = std::string("(info): weak default handler tarnbase_") + type.name;
    u32 ran = 0;
    for (const TraceLine &line : trace.lines) ran += line.text.compare(0, began.size(), began) == 0;
    EXPECT_EQ(ran, 3U * 7 + 3U * 2);
    EXPECT_EQ(err, 0U);
}

// A process can open a table by id in one store only: all of these share it.
TEST_P(TableOpen, IsFoundByItsIdInEveryForm) {
    static Session shared;
    kel_handle *own = make_handle(shared.store(), GetParam().mode);
    const auto open = [&](const std::string &operation, std::vector<Word> arguments) {
        arguments.insert(arguments.begin(), {Word(own), Word(tx)});
        arguments.emplace_back(&err);
        return call<kel_table *>(name(operation), arguments);
    };
    for (const std::string &twin : twins) {
        kel_table *one = open("table_open_by_id" + twin, {u64{1000}, 0});
        ASSERT_NE(one, nullptr);
        EXPECT_EQ(one->table_id, 1000U);
        EXPECT_EQ(open("table_open_by_id" + twin, {u64{1000}, 1}), one);
        EXPECT_EQ(open("table_open_by_ior_with_id" + twin, {u64{1000}, u64{9}, 1}), one);
        EXPECT_EQ(
            call<kel_table *>(name("table_open_cr"), {own, 1, KEL_OPEN_BY_ID, nullptr, u64{1000}}),
            one);
        kel_table *next = open("table_open_auto_id" + twin, {0});
        kel_table *dynamic = open("dynamic_table_open_auto_id" + twin, {0});
        ASSERT_NE(next, nullptr);
        ASSERT_NE(dynamic, nullptr);
        EXPECT_EQ(dynamic->table_id, next->table_id + 1);
        for (kel_table *each : {one, next, dynamic}) {
            call(name("table_free" + twin), {own, tx, each, &err});
        }
        EXPECT_EQ(open("table_open_by_id" + twin, {u64{1000}, 1}), nullptr);
    }
    EXPECT_EQ(err, 0U);
    kel_handle_destroy(own);
}

}  // namespace
}  // namespace tarn::test
