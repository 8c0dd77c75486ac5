// SPDX-License-Identifier: Apache-2.0
// Events in a program that defines the handlers of all tables and links the library.
#include <gtest/gtest.h>

#include <cerrno>
#include <iterator>
#include <string>
#include <vector>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"
#include "tarnbase/tarnbase.h"

#define TARN_TABLES(X)                           \
    X(tbl_aaa_client_stats)                      \
    X(tbl_aaa_command_handler)                   \
    X(tbl_aaa_dead_stats)                        \
    X(tbl_aaa_local_stats)                       \
    X(tbl_aaa_memory_stats)                      \
    X(tbl_aaa_servers)                           \
    X(tbl_aaa_test_result)                       \
    X(tbl_dot1xAuthConfigEntry_op)               \
    X(tbl_dot1xAuthStatsEntry_op)                \
    X(tbl_dot1xPaePortEntryInit_op)              \
    X(tbl_dot1xPaePortEntryReauth_op)            \
    X(tbl_dot1xPaePortEntry_op)                  \
    X(tbl_ldap_conn)                             \
    X(tbl_ldap_stats)                            \
    X(tbl_ldap_summary)                          \
    X(tbl_lumEnvSecurityGroupNameEntry_new_op)   \
    X(tbl_lumEnvSecurityGroupNameEntry_op)       \
    X(tbl_lumEnvironmentDataObjects_op)          \
    X(tbl_lumKeystorePacRecordEntry_op)          \
    X(tbl_lumKeystorePasswordRecordEntry_new_op) \
    X(tbl_lumKeystorePasswordRecordEntry_op)     \
    X(tbl_lumPacInfoEntry_new_op)                \
    X(tbl_lumPacInfoEntry_op)                    \
    X(tbl_lum_credentials)                       \
    X(tbl_lumiAuthorizationEntry_op)             \
    X(tbl_lumiEventsStatsObjects_op)             \
    X(tbl_lumiIfDot1xEntry_op)                   \
    X(tbl_lumiIfModeStatsObjects_op)             \
    X(tbl_lumiIfStatsEntry_op)                   \
    X(tbl_lumiIfStatusEntry_op)                  \
    X(tbl_lumiIfcStatsEntry_new_op)              \
    X(tbl_lumiIfcStatsEntry_op)                  \
    X(tbl_lumvDownloadServerEntry_op)            \
    X(tbl_lumvDownloadServerListEntry_new_op)    \
    X(tbl_lumvDownloadServerListEntry_op)        \
    X(tbl_lumvProvisionedServerEntry_new_op)     \
    X(tbl_lumvProvisionedServerEntry_op)         \
    X(tbl_orvanAuthFrameworkSystem_op)           \
    X(tbl_pexAuthMethodRegEntry_op)              \
    X(tbl_pexSessionEntry_op)                    \
    X(tbl_pmap_sessn_info)                       \
    X(tbl_radius_server_group)                   \
    X(tbl_radius_stats)                          \
    X(tbl_ravoClientInfoEntry_op)                \
    X(tbl_service_type_info)

namespace {

struct Event {
    std::string handler;  // table and event
    kel_handle *handle = nullptr;
    std::uint32_t tx_id = 0;
    std::vector<void *> arguments;
};
std::vector<Event> events;

void note(const char *handler, kel_handle *handle, std::uint32_t tx_id,
          std::vector<void *> arguments, std::uint32_t *err) {
    events.push_back({handler, handle, tx_id, std::move(arguments)});
    *err = 77;
}

}  // namespace

#define TARN_RECORD_HANDLER(T, event)                                                           \
    void tarnbase_##T##_table_record_##event##_handler(kel_handle *h, uint32_t tx, void *table, \
                                                       void *record, uint32_t *err) {           \
        note(#T " " #event, h, tx, {table, record}, err);                                       \
    }
#define TARN_DM_HANDLER(T, event)                                                                \
    void tarnbase_##T##_table_record_##event##_handler(kel_handle *h, uint32_t tx, void *record, \
                                                       uint32_t *err) {                          \
        note(#T " " #event, h, tx, {record}, err);                                               \
    }
#define TARN_HANDLERS(T)                                                                      \
    TARN_RECORD_HANDLER(T, create)                                                            \
    TARN_RECORD_HANDLER(T, modify)                                                            \
    TARN_RECORD_HANDLER(T, delete)                                                            \
    TARN_DM_HANDLER(T, create_dm)                                                             \
    TARN_DM_HANDLER(T, delete_dm)                                                             \
    void tarnbase_##T##_table_record_grouping_handler(kel_handle *h, uint32_t tx, void *item, \
                                                      uint32_t *err, void *a, void *b) {      \
        note(#T " grouping", h, tx, {item, a, b}, err);                                       \
    }                                                                                         \
    void tarnbase_##T##_table_record_free_handler(kel_handle *h, uint32_t tx, void *item,     \
                                                  uint32_t *err, void *a) {                   \
        note(#T " free", h, tx, {item, a}, err);                                              \
    }
TARN_TABLES(TARN_HANDLERS)

namespace {

using RecordCallback = decltype(&tbl_ldap_conn_table_record_create_cb);
using DmCallback = decltype(&tbl_ldap_conn_table_record_create_dm_cb);

// A table's callbacks in one form.
struct Callbacks {
    const char *table;
    RecordCallback create, modify, remove;
    DmCallback create_dm, delete_dm;
    decltype(&tbl_ldap_conn_table_record_grouping_cb) grouping;
    decltype(&tbl_ldap_conn_table_record_free_cb) free;
};
#define TARN_FORM(T, unsafe)                \
    {#T,                                    \
     T##_table_record_create_cb##unsafe,    \
     T##_table_record_modify_cb##unsafe,    \
     T##_table_record_delete_cb##unsafe,    \
     T##_table_record_create_dm_cb##unsafe, \
     T##_table_record_delete_dm_cb##unsafe, \
     T##_table_record_grouping_cb##unsafe,  \
     T##_table_record_free_cb##unsafe},
#define TARN_FORMS(T) TARN_FORM(T, ) TARN_FORM(T, _unsafe)
const Callbacks all_callbacks[] = {TARN_TABLES(TARN_FORMS)};
static_assert(std::size(all_callbacks) == 90);

class AllHandlers : public ::testing::Test {
 protected:
    void SetUp() override {
        ASSERT_EQ(kel_store_create_private(nullptr, &store), 0U) << kel_error_text();
        ASSERT_EQ(kel_handle_create(store, 0, &handle), 0U);
        events.clear();
    }
    void TearDown() override {
        kel_handle_destroy(handle);
        kel_store_close(store);
    }
    void expect(const std::string &handler, const std::vector<void *> &arguments) {
        ASSERT_EQ(events.size(), 1U) << handler;
        EXPECT_EQ(events[0].handler, handler);
        EXPECT_EQ(events[0].handle, handle);
        EXPECT_EQ(events[0].tx_id, 42U);
        EXPECT_EQ(events[0].arguments, arguments) << handler;
        EXPECT_EQ(err, 77U) << "the handler's error is returned";
        err = 0;
        events.clear();
    }

    kel_store *store = nullptr;
    kel_handle *handle = nullptr;
    std::uint32_t err = 0;
    int words[3] = {};
    void *const a = &words[0];
    void *const b = &words[1];
    void *const c = &words[2];
};

TEST_F(AllHandlers, ReplaceTheWeakOnesOfAllTables) {
    for (const Callbacks &form : all_callbacks) {
        const std::string table = form.table;
        form.create(handle, 42, a, b, &err);
        expect(table + " create", {a, b});
        form.modify(handle, 42, a, b, &err);
        expect(table + " modify", {a, b});
        form.remove(handle, 42, a, b, &err);
        expect(table + " delete", {a, b});
        form.create_dm(handle, 42, a, &err);
        expect(table + " create_dm", {a});
        form.delete_dm(handle, 42, a, &err);
        expect(table + " delete_dm", {a});
        form.grouping(handle, 42, a, &err, b, c);
        expect(table + " grouping", {a, b, c});
        form.free(handle, 42, a, &err, b);
        expect(table + " free", {a, b});
    }
}

TEST_F(AllHandlers, AreNotCalledWithAnErrorSet) {
    handle->last_error = EINVAL;
    err = EIO;
    for (const Callbacks &form : all_callbacks) {
        form.create(handle, 42, a, b, &err);
        form.create_dm(handle, 42, a, &err);
        form.grouping(handle, 42, a, &err, b, c);
        form.free(handle, 42, a, &err, b);
    }
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
}

}  // namespace
