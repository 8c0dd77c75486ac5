// SPDX-License-Identifier: Apache-2.0
// The Table Directory: a table's vector by its LUID.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include "tarnbase/runtime.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"
#include "tests/support/services.h"

namespace {

class Directory : public tarn::test::PlainTest {
 protected:
    tarn::test::ServiceRecorder services{handle};
};

const std::uint8_t *luid_of(const kel_type_info *item) { return item->luid; }

bool is_table(const kel_type_info *item) { return std::string(item->kind) == "table"; }

TEST_F(Directory, IndexesTablesInAscendingOrderOfLuid) {
    std::int32_t tables = 0;
    for (const kel_type_info *const *item = tarnbase_type_list; *item != nullptr; ++item) {
        if (!is_table(*item)) continue;
        std::int32_t smaller = 0;
        for (const kel_type_info *const *other = tarnbase_type_list; *other != nullptr; ++other) {
            if (is_table(*other) && std::memcmp(luid_of(*other), luid_of(*item), 16) < 0) {
                ++smaller;
            }
        }
        EXPECT_EQ(tarnbase_table_mrst_lookup(luid_of(*item)), smaller) << (*item)->name;
        ++tables;
    }
    EXPECT_GT(tables, 0);
}

TEST_F(Directory, HasNoTableForOtherIdentities) {
    std::uint8_t luid[16] = {};
    EXPECT_EQ(tarnbase_table_mrst_lookup(luid), -1);
    std::memcpy(luid, table_tbl_ldap_conn_luid, 16);
    luid[15] ^= 1;
    EXPECT_EQ(tarnbase_table_mrst_lookup(luid), -1);
    std::memset(luid, 0xff, 16);
    EXPECT_EQ(tarnbase_table_mrst_lookup(luid), -1);
}

TEST_F(Directory, IsFilledOnceAndReturnsTheVectorOfATable) {
    const void *const *vector = nullptr;
    tarnbase_table_get_vft(handle, tx, table_tbl_ldap_conn_luid, &vector, &err);
    EXPECT_EQ(err, 0U);
    ASSERT_NE(vector, nullptr);
    EXPECT_EQ(vector, tarnbase_table_lut[tarnbase_table_mrst_lookup(table_tbl_ldap_conn_luid)]);
    EXPECT_EQ(0,
              std::memcmp(vector, tbl_ldap_conn_table_vft, sizeof(void *) * KEL_TABLE_VFT_SLOTS));
    EXPECT_EQ(vector[KEL_SLOT_TABLE_OPEN],
              reinterpret_cast<const void *>(&tbl_ldap_conn_table_open_unsafe));
    EXPECT_EQ(services.count("table_vft_cpy"), 1U);
    EXPECT_EQ(tarnbase_table_vft_init(), 0U);
    EXPECT_EQ(services.count("table_vft_cpy"), 1U);
}

TEST_F(Directory, ReportsEnoentAndNoVectorForAnUnknownIdentity) {
    const std::uint8_t luid[16] = {};
    const void *const *vector = tbl_ldap_conn_table_vft;
    tarnbase_table_get_vft(handle, tx, luid, &vector, &err);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(handle->last_error, ENOENT);
    EXPECT_EQ(vector, nullptr);
}

TEST_F(Directory, ChangesNothingWithAnErrorSet) {
    const void *const *vector = tbl_ldap_conn_table_vft;
    err = EEXIST;
    handle->last_error = EIO;
    tarnbase_table_get_vft(handle, tx, table_tbl_ldap_conn_luid, &vector, &err);
    EXPECT_EQ(err, EEXIST);
    EXPECT_EQ(handle->last_error, EIO);
    EXPECT_EQ(vector, tbl_ldap_conn_table_vft);
}

}  // namespace
