// SPDX-License-Identifier: Apache-2.0
// Handles: the members of a new one, its errors, its workspace, its tracking record.
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

class HandleTest : public SmallStoreTest {
 protected:
    kel_handle *handle = store.handle;
    void *workspace = nullptr;
    std::uint32_t length = 0;
};

TEST_F(HandleTest, ANewOneIsOnItsStoreWithTrackingOffAndNoTransaction) {
    EXPECT_EQ(kel_handle_store(handle), store.store);
    EXPECT_EQ(handle->state_tracking, nullptr);
    EXPECT_EQ(handle->cr_tx_id, KEL_TX_NONE);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    EXPECT_EQ(handle->store_types_enabled, 0U);
    EXPECT_EQ(handle->replication_engine_active, 0U);
    EXPECT_NE(handle->hd_mapping_enabled, 0U);
}

TEST_F(HandleTest, ItsTrackingRecordHasTheModeAndIsRemovedWithMode0) {
    for (const std::uint32_t mode : {KEL_STATE_TRACKING_ON, KEL_STATE_TRACKING_OFF}) {
        kel_handle_set_state_tracking(handle, mode);
        ASSERT_NE(handle->state_tracking, nullptr);
        EXPECT_EQ(handle->state_tracking->state_tracking_mode, mode);
    }
    kel_handle_set_state_tracking(handle, 0);
    EXPECT_EQ(handle->state_tracking, nullptr);
}

TEST_F(HandleTest, TheWorkspaceIsAMebibyteThatStaysWhereItIs) {
    kellib_get_handle_ws(handle, &workspace, &length);
    ASSERT_NE(workspace, nullptr);
    EXPECT_EQ(length, 1U << 20);
    std::memset(workspace, 1, length);
    void *again = nullptr;
    kellib_get_handle_ws(handle, &again, &length);
    EXPECT_EQ(again, workspace);
}

TEST_F(HandleTest, TheWorkspaceTakesTheSizeThatIsSetAnd0IsNone) {
    ASSERT_EQ(kel_handle_set_workspace(handle, 100), 0U);
    kellib_get_handle_ws(handle, &workspace, &length);
    ASSERT_NE(workspace, nullptr);
    EXPECT_EQ(length, 100U);
    std::memset(workspace, 1, length);
    ASSERT_EQ(kel_handle_set_workspace(handle, 0), 0U);
    kellib_get_handle_ws(handle, &workspace, &length);
    EXPECT_EQ(workspace, nullptr);
    EXPECT_EQ(length, 0U);
}

TEST_F(HandleTest, AnErrorIsKeptUntilItIsCleared) {
    kel_store_err(handle, 17);
    EXPECT_EQ(handle->last_error, 17U);
    kel_store_err(handle, 2);
    EXPECT_EQ(handle->last_error, 2U);
    kel_clear_last_error(handle);
    EXPECT_EQ(handle->last_error, 0U);
}

TEST_F(HandleTest, AnEpochErrorIsReportedThroughErrToo) {
    std::uint32_t err = 0;
    kel_store_epoch_err(handle, 43, &err);
    EXPECT_EQ(err, 43U);
    EXPECT_EQ(handle->last_error, 43U);
}

TEST_F(HandleTest, TheTableListIsTheStoresAndEmptyAtFirst) {
    std::uint32_t err = 0;
    kel_table_list *tables = kellib_database_table_toc_create(handle, KEL_TX_NONE, &err);
    ASSERT_NE(tables, nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(tables->first, nullptr);
    EXPECT_EQ(tables->last, &tables->first);
    EXPECT_EQ(kellib_database_table_toc_create(handle, KEL_TX_NONE, &err), tables);
    err = 22;
    EXPECT_EQ(kellib_database_table_toc_create(handle, KEL_TX_NONE, &err), nullptr);
    EXPECT_EQ(err, 22U);
}

TEST_F(HandleTest, DestroyingNoneIsAccepted) {
    kel_handle_destroy(nullptr);
    kel_store_close(nullptr);
    EXPECT_EQ(store.describe().blocks, 0U);
}

}  // namespace
}  // namespace tarn::test
