// SPDX-License-Identifier: Apache-2.0
// Events in a program that defines some handlers: for tbl_ldap_conn all but those of DM
// events, for tbl_ldap_stats those of DM events.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tarnbase/runtime.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"
#include "tests/support/trace.h"

namespace {

struct Event {
    std::string handler;
    kel_handle *handle;
    std::uint32_t tx_id;
    std::vector<void *> arguments;
};
std::vector<Event> events;
std::uint32_t handler_error = 0;

void note(const char *handler, kel_handle *handle, std::uint32_t tx_id,
          std::vector<void *> arguments, std::uint32_t *err) {
    events.push_back({handler, handle, tx_id, std::move(arguments)});
    *err = handler_error;
}

}  // namespace

void tarnbase_tbl_ldap_conn_table_record_create_handler(kel_handle *h, uint32_t tx, void *table,
                                                        void *record, uint32_t *err) {
    note("create", h, tx, {table, record}, err);
}
void tarnbase_tbl_ldap_conn_table_record_modify_handler(kel_handle *h, uint32_t tx, void *table,
                                                        void *record, uint32_t *err) {
    note("modify", h, tx, {table, record}, err);
}
void tarnbase_tbl_ldap_conn_table_record_delete_handler(kel_handle *h, uint32_t tx, void *table,
                                                        void *record, uint32_t *err) {
    note("delete", h, tx, {table, record}, err);
}
void tarnbase_tbl_ldap_conn_table_record_grouping_handler(kel_handle *h, uint32_t tx, void *item,
                                                          uint32_t *err, void *arg1, void *arg2) {
    note("grouping", h, tx, {item, arg1, arg2}, err);
}
void tarnbase_tbl_ldap_conn_table_record_free_handler(kel_handle *h, uint32_t tx, void *item,
                                                      uint32_t *err, void *arg1) {
    note("free", h, tx, {item, arg1}, err);
}
void tarnbase_tbl_ldap_stats_table_record_create_dm_handler(kel_handle *h, uint32_t tx,
                                                            void *record, uint32_t *err) {
    note("create dm", h, tx, {record}, err);
}
void tarnbase_tbl_ldap_stats_table_record_delete_dm_handler(kel_handle *h, uint32_t tx,
                                                            void *record, uint32_t *err) {
    note("delete dm", h, tx, {record}, err);
}

namespace {

using tarn::test::TraceCapture;
using Arguments = std::vector<void *>;

class StrongHandlers : public tarn::test::PlainTest {
 protected:
    void SetUp() override {
        events.clear();
        handler_error = 0;
    }
    void expect(const char *handler, const Arguments &arguments) {
        ASSERT_EQ(events.size(), 1U);
        EXPECT_EQ(events[0].handler, handler);
        EXPECT_EQ(events[0].handle, handle);
        EXPECT_EQ(events[0].tx_id, 42U);
        EXPECT_EQ(events[0].arguments, arguments);
        events.clear();
    }
    int words[4] = {};
    void *const a = &words[0];
    void *const b = &words[1];
    void *const c = &words[2];
};

TEST_F(StrongHandlers, ReplaceTheWeakHandlersInEveryCall) {
    TraceCapture trace;
    tbl_ldap_conn_table_record_create_cb(handle, 42, a, b, &err);
    expect("create", {a, b});
    tbl_ldap_conn_table_record_create_cb_unsafe(handle, 42, a, b, &err);
    expect("create", {a, b});
    tbl_ldap_conn_table_record_modify_cb(handle, 42, a, b, &err);
    expect("modify", {a, b});
    tbl_ldap_conn_table_record_delete_cb_unsafe(handle, 42, a, b, &err);
    expect("delete", {a, b});
    tbl_ldap_conn_table_record_grouping_cb(handle, 42, a, &err, b, c);
    expect("grouping", {a, b, c});
    tbl_ldap_conn_table_record_free_cb(handle, 42, a, &err, b);
    expect("free", {a, b});
    tbl_ldap_stats_table_record_create_dm_cb(handle, 42, a, &err);
    expect("create dm", {a});
    tbl_ldap_stats_table_record_delete_dm_cb_unsafe(handle, 42, a, &err);
    expect("delete dm", {a});
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
}

TEST_F(StrongHandlers, AreCalledThroughTheVectorToo) {
    using Callback = void (*)(kel_handle *, std::uint32_t, void *, void *, std::uint32_t *);
    reinterpret_cast<Callback>(const_cast<void *>(tbl_ldap_conn_table_vft[8]))(handle, 42, a, b,
                                                                               &err);
    expect("create", {a, b});
}

TEST_F(StrongHandlers, GetANullTableInDmEvents) {
    TraceCapture trace;
    tbl_ldap_conn_table_record_create_dm_cb(handle, 42, b, &err);
    expect("create", {nullptr, b});
    tbl_ldap_conn_table_record_delete_dm_cb(handle, 42, b, &err);
    expect("delete", {nullptr, b});
    ASSERT_EQ(trace.lines.size(), 2U) << trace.all();
    EXPECT_EQ(
        trace.lines[0].text,
        "(info): weak default handler tarnbase_tbl_ldap_conn_record create DM handler called");
    EXPECT_EQ(
        trace.lines[1].text,
        "(info): weak default handler tarnbase_tbl_ldap_conn_record delete DM handler called");
}

TEST_F(StrongHandlers, ReturnTheirErrorToTheCaller) {
    handler_error = ENOMEM;
    tbl_ldap_conn_table_record_create_cb(handle, 42, a, b, &err);
    EXPECT_EQ(err, ENOMEM);
    events.clear();
    handle->last_error = EINVAL;
    tbl_ldap_conn_table_record_create_cb(handle, 42, a, b, &err);
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(handle->last_error, EINVAL);
}

TEST_F(StrongHandlers, DoNotReplaceThoseOfOtherTables) {
    TraceCapture trace;
    tbl_ldap_summary_table_record_create_cb(handle, 42, a, b, &err);
    EXPECT_TRUE(events.empty());
    EXPECT_TRUE(trace.has(
        KEL_TRACE_INFO,
        "(info): weak default handler tarnbase_tbl_ldap_summary_record create handler called"));
}

// A weak handler that is called directly clears an error. A callback is not called with one.
TEST_F(StrongHandlers, AWeakHandlerCalledDirectlyClearsTheError) {
    TraceCapture trace;
    err = EIO;
    tarnbase_tbl_ldap_summary_table_record_modify_handler(handle, 42, a, b, &err);
    EXPECT_EQ(err, 0U);
    err = EIO;
    tarnbase_tbl_ldap_conn_table_record_create_dm_handler(handle, 42, b, &err);
    EXPECT_EQ(err, 0U);
}

}  // namespace
