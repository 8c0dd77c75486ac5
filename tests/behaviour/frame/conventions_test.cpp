// SPDX-License-Identifier: Apache-2.0
// The calling conventions: persistent errors of the `_cr` forms, fallback objects,
// the tracking mode of a handle.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

#include "tarnbase/runtime.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"
#include "tests/support/hooks.h"

namespace {

using tarn::test::Hook;
using tarn::test::HookRecorder;

class Conventions : public tarn::test::PlainTest {};

TEST_F(Conventions, AnErrorOfACrCallSticksUntilItIsCleared) {
    kel_table *table = tbl_ldap_conn_table_open_cr(handle, 0, KEL_OPEN_BY_NAME, "t", 0);
    ASSERT_NE(table, nullptr);
    kel_vstring key;
    kel_vstring_refer(&key, "ldap1", 5);
    EXPECT_EQ(tbl_ldap_conn_st_ldap_conn_sname_search_cr(handle, nullptr, &key, 1, 0), nullptr);
    EXPECT_EQ(handle->last_error, ENOENT);

    // Each further call with an error check returns at once.
    EXPECT_EQ(tbl_ldap_conn_table_open_cr(handle, 0, KEL_OPEN_BY_NAME, "t", 0), nullptr);
    kel_record *record = nullptr;
    EXPECT_EQ(tbl_ldap_conn_insert_cr(handle, table, record), 2U);
    EXPECT_EQ(handle->last_error, ENOENT);

    kel_clear_last_error(handle);
    EXPECT_EQ(tbl_ldap_conn_table_open_cr(handle, 0, KEL_OPEN_BY_NAME, "t", 0), table);
}

TEST_F(Conventions, APlainCallWithoutAnErrorClearsTheStickyOne) {
    handle->last_error = EINVAL;
    kel_table *table = tbl_ldap_conn_table_open(handle, tx, "t", 0, &err);
    EXPECT_NE(table, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_F(Conventions, ACrCreationWithoutMemoryReturnsTheFallbackObject) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    st_ldap_conn *object = st_ldap_conn_create_cr(handle);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);

    // While the error is set the allocator isn't called again.
    const std::size_t allocations = hooks.count(Hook::alloc);
    EXPECT_EQ(st_ldap_conn_create_cr(handle), object);
    EXPECT_EQ(hooks.count(Hook::alloc), allocations);

    hooks.clear();
    st_ldap_conn_destroy_cr(handle, object);
    EXPECT_TRUE(hooks.events.empty());
}

TEST_F(Conventions, ACreationWithoutMemoryReturnsNullAndKeepsTheLastError) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    handle->last_error = 0;
    EXPECT_EQ(st_ldap_conn_create(handle, tx), nullptr);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_F(Conventions, ANullTrackingRecordAndModeOffAreTheSame) {
    kel_handle_set_state_tracking(handle, 0);
    EXPECT_EQ(handle->state_tracking, nullptr);
    const std::uint32_t without = st_ldap_conn_sizeof(handle);
    kel_handle_set_state_tracking(handle, KEL_STATE_TRACKING_OFF);
    ASSERT_NE(handle->state_tracking, nullptr);
    EXPECT_EQ(st_ldap_conn_sizeof(handle), without);
}

using ConventionsDeathTest = Conventions;

TEST_F(ConventionsDeathTest, AnyOtherTrackingModeEndsTheProcess) {
    kel_state_tracking corrupt = {0x1234};
    handle->state_tracking = &corrupt;
    EXPECT_DEATH(st_ldap_conn_create(handle, tx), "\\(FATAL\\): Corrupted KEL Handle");
    handle->state_tracking = nullptr;
}

}  // namespace
